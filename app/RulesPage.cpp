#include "app/RulesPage.h"

#include "app/Text.h"
#include "services/QVLog.h"
#include "shell/TidyPresets.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QStringList>
#include <QVBoxLayout>

#include <algorithm>

namespace reelsweep {

namespace {

constexpr QChar separator = u';';

std::vector<std::string> textsOf(const QString& line) {
    std::vector<std::string> texts;
    for (const QString& part : line.split(separator))
        if (const QString text = part.trimmed(); !text.isEmpty()) texts.push_back(toText(text));
    return texts;
}

QString lineOf(const std::vector<std::string>& texts) {
    QStringList parts;
    for (const std::string& text : texts) parts.append(toQString(text));
    return parts.join(QStringLiteral("; "));
}

}  // namespace

RulesPage::RulesPage(QWidget* parent) : QWidget(parent), kept_(storedRules()) {
    auto* const area = new QScrollArea;
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    auto* const page = new QWidget;
    auto* const layout = new QVBoxLayout(page);
    QGridLayout* group = addGroup(*layout, tr("Left alone by every option"));
    addSentence(*group, "excludeTracks", tr("Tracks"), tr("are left alone, and hide nothing."),
                tr("V3; A1-A4; Titles"));
    addSentence(*group, "excludeClips", tr("Clips named"), tr("are left alone, and hide nothing."),
                tr("Slate*; Temp*"));
    addSentence(*group, "excludeColours", tr("Clips labelled"),
                tr("are left alone, and hide nothing."), tr("Rose"));
    group = addGroup(*layout, tr("When filters are removed"));
    addSentence(*group, "filtersKeep", tr("Filters named"), tr("stay."), tr("Color*"));
    addSentence(*group, "filtersOnly", tr("Only filters named"), tr("are taken out."), tr("*Blur"));
    group = addGroup(*layout, tr("When markers are removed"));
    addSentence(*group, "markersKeep", tr("Markers called"), tr("stay."), tr("VFX*; red"));
    addSentence(*group, "markersOnly", tr("Only markers called"), tr("are taken out."),
                tr("temp*"));
    group = addGroup(*layout, tr("When transitions are removed"));
    addSentence(*group, "transitionsKeep", tr("Transitions named"), tr("stay."),
                tr("Cross Dissolve"));
    addSentence(*group, "transitionsOnly", tr("Only transitions named"), tr("are taken out."),
                tr("*Wipe"));
    // The lines of all groups stand under each other.
    for (QGridLayout* const each : groups_) {
        each->setColumnMinimumWidth(beforeColumn, widths_[beforeColumn]);
        each->setColumnMinimumWidth(afterColumn, widths_[afterColumn]);
    }
    auto* const hint = new QLabel(
        tr("Several names stand with a semicolon between. In a name, * stands for any letters and "
           "? for one; capitals do not matter. An empty line says nothing. A marker is called by "
           "its name, its comment or its colour."));
    hint->setWordWrap(true);
    layout->addWidget(hint);
    layout->addStretch();
    area->setWidget(page);
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(area);
}

RulesPage::~RulesPage() { keep(); }

QGridLayout* RulesPage::addGroup(QVBoxLayout& layout, const QString& title) {
    auto* const box = new QGroupBox(title);
    auto* const grid = new QGridLayout(box);
    grid->setColumnStretch(editColumn, 1);
    groups_.push_back(grid);
    layout.addWidget(box);
    return grid;
}

void RulesPage::addSentence(QGridLayout& group, std::string_view key, const QString& before,
                            const QString& after, const QString& example) {
    const auto rows = ruleTable();
    const RuleRow& row = *std::find_if(rows.begin(), rows.end(),
                                       [&](const RuleRow& each) { return each.key == key; });
    auto* const edit = new QLineEdit(lineOf(row.of(kept_)));
    edit->setObjectName(toQString(key) + QStringLiteral("Edit"));
    edit->setPlaceholderText(tr("none, or for example %1").arg(example));
    edit->setClearButtonEnabled(true);
    auto* const label = new QLabel(before);
    label->setBuddy(edit);
    edit->setAccessibleName(before + QStringLiteral(" … ") + after);
    const int line = group.rowCount();
    auto* const end = new QLabel(after);
    group.addWidget(label, line, beforeColumn);
    group.addWidget(edit, line, editColumn);
    group.addWidget(end, line, afterColumn);
    widths_[beforeColumn] = std::max(widths_[beforeColumn], label->sizeHint().width());
    widths_[afterColumn] = std::max(widths_[afterColumn], end->sizeHint().width());
    connect(edit, &QLineEdit::textChanged, this, &RulesPage::changed);
    connect(edit, &QLineEdit::editingFinished, this, &RulesPage::keep);
    blanks_.push_back({&row, edit});
}

TidyRules RulesPage::rules() const {
    TidyRules rules;
    for (const Blank& blank : blanks_) blank.row->list(rules) = textsOf(blank.edit->text());
    return rules;
}

void RulesPage::setRules(const TidyRules& rules) {
    for (const Blank& blank : blanks_) {
        const QSignalBlocker quiet(blank.edit);
        blank.edit->setText(lineOf(blank.row->of(rules)));
    }
    keep();
    emit changed();
}

void RulesPage::keep() {
    const TidyRules now = rules();
    if (now == kept_) return;
    kept_ = now;
    if (const auto error = storeRules(now))
        QVLog::appendLog("Unable to store the rules - %@", error.message());
}

}  // namespace reelsweep
