#include "app/OptionBoxes.h"

#include "app/MarkerKindBoxes.h"
#include "app/Text.h"
#include "platform/Platform.h"
#include "services/QVLog.h"
#include "shell/TidyPresets.h"
#include "tidy/FCPXPasses.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <span>

namespace reelsweep {

namespace {

constexpr const char* keepPictureKey = "keepPicture";
constexpr const char* importSafeKey = "importSafe";

struct Sentence {
    std::string_view option;
    const char* text;
};

// What a pass does, for people who edit.
constexpr auto sentences = std::to_array<Sentence>({
    {"removeDisabledVideoClips",
     QT_TRANSLATE_NOOP("OptionBoxes", "Takes out video clips that are switched off.")},
    {"removeDisabledAudioClips",
     QT_TRANSLATE_NOOP("OptionBoxes", "Takes out audio clips that are switched off.")},
    {"removeSilentAudio",
     QT_TRANSLATE_NOOP("OptionBoxes", "Takes out audio clips whose level is all the way down.")},
    {"removeUnusedTracks",
     QT_TRANSLATE_NOOP("OptionBoxes", "Takes out video tracks without clips.")},
    {"collapseTracks",
     QT_TRANSLATE_NOOP("OptionBoxes", "Moves video clips down to the lowest track with room.")},
    {"collapseUncompositedClips",
     QT_TRANSLATE_NOOP("OptionBoxes", "Also cuts away what full-frame clips above hide.")},
    {"collapseMultiClips",
     QT_TRANSLATE_NOOP("OptionBoxes", "Only flags multiclips as collapsed; no angle is changed.")},
    {"replaceGaps",
     QT_TRANSLATE_NOOP("OptionBoxes", "Fills holes on the first video track with slugs.")},
    {"removeFilters",
     QT_TRANSLATE_NOOP("OptionBoxes", "Takes out all filters, and audio levels with them.")},
    {"removeMarkers", QT_TRANSLATE_NOOP("OptionBoxes", "Takes out all markers.")},
    {"removeVideoTransitions",
     QT_TRANSLATE_NOOP("OptionBoxes", "Makes video dissolves and wipes plain cuts.")},
    {"removeAudioTransitions", QT_TRANSLATE_NOOP("OptionBoxes", "Makes audio fades plain cuts.")},
    {"fcpxFlattenMulticam",
     QT_TRANSLATE_NOOP("OptionBoxes",
                       "Puts the clip of the active angle in the place of a multicam clip, where "
                       "that looks and sounds the same.")},
    {"fcpxRemoveDisabled",
     QT_TRANSLATE_NOOP("OptionBoxes",
                       "Takes out clips that are switched off; in a storyline a gap holds their "
                       "place.")},
    {"fcpxRemoveVideoFilters",
     QT_TRANSLATE_NOOP("OptionBoxes",
                       "Takes video effects and their masks off clips; transitions stay.")},
    {"fcpxRemoveAudioFilters",
     QT_TRANSLATE_NOOP("OptionBoxes", "Takes audio effects off clips; volume and fades stay.")},
    {"fcpxRemoveMarkers",
     QT_TRANSLATE_NOOP("OptionBoxes", "Takes out what is ticked here and leaves the rest.")},
    {"fcpxRemoveUnusedResources",
     QT_TRANSLATE_NOOP("OptionBoxes",
                       "Takes media, formats and effects that nothing uses out of the file's "
                       "list.")},
});

// In FCPXML these two are what they always were.
constexpr auto sentencesOfFCPXML = std::to_array<Sentence>({
    {"removeFilters",
     QT_TRANSLATE_NOOP("OptionBoxes",
                       "Takes out filters as the first versions of the format wrote them.")},
    {"removeMarkers",
     QT_TRANSLATE_NOOP("OptionBoxes", "Takes out its markers; chapters and keywords stay.")},
});

// Null for none.
const char* find(std::span<const Sentence> among, std::string_view option) {
    const auto found = std::find_if(among.begin(), among.end(),
                                    [&](const Sentence& each) { return each.option == option; });
    return found == among.end() ? nullptr : found->text;
}

QString sentenceOf(const PassRow& pass, OptionBoxes::For format) {
    const char* text =
        format == OptionBoxes::For::fcpxml ? find(sentencesOfFCPXML, pass.option) : nullptr;
    if (!text) text = find(sentences, pass.option);
    return text ? OptionBoxes::tr(text) : toQString(pass.summary);
}

// In the order of a run, of both formats.
std::size_t placeInRun(std::string_view option) {
    const auto rows = reportedRows();
    const auto found = std::find_if(rows.begin(), rows.end(),
                                    [&](const PassRow& row) { return row.option == option; });
    return static_cast<std::size_t>(found - rows.begin());
}

// The built-in presets have names in the user's language.
QString titleOf(const TidyPreset& preset) {
    if (preset.isOwn) return toQString(preset.name);
    return QCoreApplication::translate("OptionBoxes", preset.name.c_str());
}

}  // namespace

OptionBoxes::OptionBoxes(For format, QWidget* parent) : QWidget(parent), format_(format) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    if (format == For::xmeml)
        addGroupsOfXMEML(*layout);
    else
        addGroupsOfFCPXML(*layout);
    addTheOthers(*layout);
    // The order of the groups is for the eye, that of the table for the run.
    std::sort(boxes_.begin(), boxes_.end(), [](const Box& a, const Box& b) {
        return placeInRun(a.option) < placeInRun(b.option);
    });
    boxToggled();
}

void OptionBoxes::addGroupsOfXMEML(QVBoxLayout& layout) {
    addPresets(layout);
    addCare(layout);
    addGroup(layout, tr("Take out"),
             {"removeDisabledVideoClips", "removeDisabledAudioClips", "removeSilentAudio"});
    addGroup(layout, tr("Collapse"),
             {"collapseTracks", "collapseUncompositedClips", "collapseMultiClips",
              "removeUnusedTracks"});
    addGroup(layout, tr("Fill"), {"replaceGaps"});
    addGroup(
        layout, tr("Strip effects"),
        {"removeFilters", "removeMarkers", "removeVideoTransitions", "removeAudioTransitions"});
}

void OptionBoxes::addGroupsOfFCPXML(QVBoxLayout& layout) {
    addGroup(layout, tr("In the first project"), {"removeFilters", "removeMarkers"});
    std::vector<std::string_view> options;
    for (const PassRow& pass : fcpxPassTable()) options.push_back(pass.option);
    addGroup(layout, tr("In every project, event and clip"), options);
}

void OptionBoxes::addPresets(QVBoxLayout& layout) {
    auto* const row = new QHBoxLayout;
    auto* const label = new QLabel(tr("&Options:"));
    presets_ = new QComboBox;
    presets_->setObjectName(QStringLiteral("presetsBox"));
    presets_->setAccessibleName(tr("Preset"));
    label->setBuddy(presets_);
    auto* const save = new QPushButton(tr("Save &As…"));
    save->setObjectName(QStringLiteral("savePresetBtn"));
    save->setToolTip(tr("Keep the ticked options and the rules as a preset of your own"));
    remove_ = new QPushButton(tr("&Delete"));
    remove_->setObjectName(QStringLiteral("removePresetBtn"));
    remove_->setToolTip(tr("Delete this preset of your own"));
    row->addWidget(label);
    row->addWidget(presets_, 1);
    row->addWidget(save);
    row->addWidget(remove_);
    layout.addLayout(row);
    fillPresets();
    connect(presets_, &QComboBox::activated, this, [this] {
        for (const TidyPreset& preset : tidyPresets()) {
            if (titleOf(preset) != presets_->currentText()) continue;
            setCheckedOptions(preset.passes);
            // One without rules says nothing of them.
            if (!preset.rules.isEmpty()) emit rulesChosen(preset.rules);
        }
    });
    connect(save, &QPushButton::clicked, this, &OptionBoxes::askForName);
    connect(remove_, &QPushButton::clicked, this,
            [this] { removePreset(presets_->currentText()); });
}

QVBoxLayout* OptionBoxes::addFrame(QVBoxLayout& layout, const QString& title) {
    auto* const frame = new QGroupBox(title);
    auto* const rows = new QVBoxLayout(frame);
    rows->setSpacing(0);
    const int gap = fontMetrics().height() / 4;
    rows->setContentsMargins(2 * gap, gap, 2 * gap, gap);
    layout.addWidget(frame);
    return rows;
}

OptionBoxes::Box OptionBoxes::addBox(QVBoxLayout& rows, std::string_view option,
                                     const QString& title, const QString& sentence) {
    auto* const box = new QCheckBox(title);
    box->setObjectName(toQString(option) + QStringLiteral("CheckBox"));
    box->setToolTip(sentence);
    box->setAccessibleDescription(sentence);
    const std::string key = defaultsKey(option);
    box->setChecked(Platform::current().userDefaults->integerForKey(key) == 1);
    connect(box, &QCheckBox::toggled, this, [this, key](bool on) {
        // A state that cannot be kept is no reason to bother anybody.
        Platform::current().userDefaults->setObject(key, PropertyList(on ? 1 : 0));
        boxToggled();
    });
    connect(box, &QCheckBox::toggled, box, [box, title] { box->setText(title); });
    auto* const label = new QLabel(sentence);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    label->setFont(font);
    const int gap = fontMetrics().height() / 4;
    label->setContentsMargins(fontMetrics().height() * 3 / 2, 0, 0, gap);
    rows.addWidget(box);
    rows.addWidget(label);
    return {option, title, box, label};
}

void OptionBoxes::addGroup(QVBoxLayout& layout, const QString& title,
                           const std::vector<std::string_view>& options) {
    QVBoxLayout* rows = nullptr;
    for (const std::string_view option : options) {
        const PassRow& pass = reportedRows()[placeInRun(option)];
        if (format_ == For::fcpxml && !pass.appliesToFCPX) continue;
        if (!rows) rows = addFrame(layout, title);
        // The titles are those of the pass table; translations have its name.
        const QString name =
            QCoreApplication::translate("PassTable", std::string(pass.title).c_str());
        boxes_.push_back(addBox(*rows, pass.option, name, sentenceOf(pass, format_)));
        if (option != "fcpxRemoveMarkers") continue;
        markerKinds_ = new MarkerKindBoxes;
        rows->addWidget(markerKinds_);
        connect(markerKinds_, &MarkerKindBoxes::changed, this, &OptionBoxes::changed);
    }
}

// A pass that no group names yet is offered all the same.
void OptionBoxes::addTheOthers(QVBoxLayout& layout) {
    std::vector<std::string_view> others;
    for (const PassRow& pass : passTable())
        if (std::none_of(boxes_.begin(), boxes_.end(),
                         [&](const Box& box) { return box.option == pass.option; }))
            others.push_back(pass.option);
    addGroup(layout, tr("More"), others);
}

void OptionBoxes::addCare(QVBoxLayout& layout) {
    QVBoxLayout* const rows = addFrame(layout, tr("Care"));
    keepPicture_ = addBox(*rows, keepPictureKey, tr("Keep the picture"),
                          tr("Leaves alone what would change picture or sound."))
                       .box;
    importSafe_ = addBox(*rows, importSafeKey, tr("Make it import everywhere"),
                         tr("Mends links, ids and edges of the copies."))
                      .box;
}

void OptionBoxes::keepPicture() {
    if (keepPicture_) keepPicture_->setChecked(true);
}

bool OptionBoxes::keepsPicture() const { return keepPicture_ && keepPicture_->isChecked(); }
bool OptionBoxes::importsSafely() const { return importSafe_ && importSafe_->isChecked(); }

OptionList OptionBoxes::checkedOptions() const {
    OptionList options;
    for (const Box& box : boxes_)
        if (box.isAvailable && box.box->checkState() == Qt::Checked)
            options.emplace_back(box.option);
    return options;
}

std::vector<std::string> OptionBoxes::markerKinds() const {
    return markerKinds_ ? markerKinds_->kinds() : std::vector<std::string>();
}

void OptionBoxes::showCounts(const std::map<std::string_view, std::size_t>* counts) {
    for (const Box& box : boxes_) {
        QString text = box.title;
        if (counts && box.box->isChecked() && box.box->isEnabled()) {
            const auto found = counts->find(box.option);
            text = tr("%1 (%L2)").arg(box.title).arg(found == counts->end() ? 0 : found->second);
        }
        box.box->setText(text);
    }
}

void OptionBoxes::setAvailable(std::string_view option, bool available) {
    for (Box& box : boxes_) {
        if (box.option != option) continue;
        box.isAvailable = available;
        box.box->setEnabled(available);
        box.sentence->setEnabled(available);
    }
}

void OptionBoxes::setCheckedOptions(const OptionList& options) {
    for (const Box& box : boxes_) box.box->setChecked(hasOption(options, box.option));
}

// What hides under other clips is only looked for where tracks are collapsed.
void OptionBoxes::boxToggled() {
    const bool collapses = hasOption(checkedOptions(), "collapseTracks");
    for (const Box& box : boxes_)
        if (box.option == "collapseUncompositedClips") {
            box.box->setEnabled(collapses);
            box.sentence->setEnabled(collapses);
        }
    if (markerKinds_) markerKinds_->setEnabled(hasOption(checkedOptions(), "fcpxRemoveMarkers"));
    showPreset();
    emit changed();
}

// Presets

void OptionBoxes::setRules(const TidyRules& rules) {
    rules_ = rules;
    showPreset();
}

void OptionBoxes::fillPresets() {
    presets_->clear();
    presets_->addItem(tr("Custom"));
    for (const TidyPreset& preset : tidyPresets()) presets_->addItem(titleOf(preset));
    showPreset();
}

void OptionBoxes::showPreset() {
    if (!presets_) return;
    int shown = 0;
    bool isOwn = false;
    int row = 0;
    for (const TidyPreset& preset : tidyPresets()) {
        ++row;
        OptionList options = preset.passes;
        std::erase_if(options, [](const std::string& option) { return !passNamed(option); });
        std::sort(options.begin(), options.end(),
                  [](const auto& a, const auto& b) { return passNamed(a) < passNamed(b); });
        if (options != checkedOptions()) continue;
        if (!preset.rules.isEmpty() && preset.rules != rules_) continue;
        shown = row;
        isOwn = preset.isOwn;
    }
    const QSignalBlocker quiet(presets_);
    presets_->setCurrentIndex(shown);
    if (remove_) remove_->setEnabled(isOwn);
}

bool OptionBoxes::savePreset(const QString& name) {
    const std::vector<TidyPreset> builtIn = builtInPresets();
    const QString trimmed = name.trimmed();
    const bool isTaken = std::any_of(builtIn.begin(), builtIn.end(), [&](const TidyPreset& preset) {
        return titleOf(preset) == trimmed || toQString(preset.name) == trimmed;
    });
    if (trimmed.isEmpty() || isTaken || trimmed == tr("Custom")) return false;
    if (const auto error = storePreset({toText(trimmed), checkedOptions(), rules_, true}))
        QVLog::appendLog("Unable to store the presets - %@", error.message());
    fillPresets();
    return true;
}

void OptionBoxes::removePreset(const QString& name) {
    if (const auto error = removeStoredPreset(toText(name)))
        QVLog::appendLog("Unable to store the presets - %@", error.message());
    fillPresets();
}

void OptionBoxes::askForName() {
    auto* const dialog = new QInputDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Save Preset"));
    dialog->setLabelText(tr("&Name of the preset:"));
    dialog->setOkButtonText(tr("Save"));
    connect(dialog, &QInputDialog::textValueSelected, this, &OptionBoxes::savePreset);
    dialog->open();
}

std::string OptionBoxes::defaultsKey(std::string_view option) {
    // These two are stored under older names.
    if (option == "collapseTracks") return "collapseVideoLayers";
    if (option == "removeUnusedTracks") return "removeUnusedVideoTracks";
    return std::string(option);
}

void OptionBoxes::registerDefaults() {
    PropertyList::Dictionary defaults;
    for (const PassRow& pass : passTable())
        if (pass.onByDefault) defaults[defaultsKey(pass.option)] = PropertyList(1);
    for (const char* const key : {keepPictureKey, importSafeKey}) defaults[key] = PropertyList(1);
    Platform::current().userDefaults->registerDefaults(defaults);
}

}  // namespace reelsweep
