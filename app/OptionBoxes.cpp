#include "app/OptionBoxes.h"

#include "app/Text.h"
#include "platform/Platform.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QLayout>

namespace reelsweep {

namespace {

QCheckBox* makeBox(const PassRow& pass) {
    // The titles and summaries are those of the pass table; translations have its name.
    const auto translated = [](std::string_view text) {
        return QCoreApplication::translate("PassTable", std::string(text).c_str());
    };
    auto* const box = new QCheckBox(translated(pass.title));
    const QString summary = translated(pass.summary);
    box->setObjectName(toQString(pass.option) + QStringLiteral("CheckBox"));
    box->setToolTip(summary.left(1).toUpper() + summary.mid(1));
    box->setAccessibleDescription(box->toolTip());
    return box;
}

}  // namespace

OptionBoxes::OptionBoxes(QLayout& layout, For format) {
    for (const PassRow& pass : passTable()) {
        if (format == For::fcpxml && !pass.appliesToFCPX) continue;
        QCheckBox* const box = makeBox(pass);
        const std::string key = defaultsKey(pass.option);
        box->setChecked(Platform::current().userDefaults->integerForKey(key) == 1);
        QObject::connect(box, &QCheckBox::toggled, box, [key](bool on) {
            // A state that cannot be kept is no reason to bother anybody.
            Platform::current().userDefaults->setObject(key, PropertyList(on ? 1 : 0));
        });
        layout.addWidget(box);
        boxes_.push_back({pass.option, box});
    }
}

OptionList OptionBoxes::checkedOptions() const {
    OptionList options;
    for (const Box& box : boxes_)
        if (box.box->checkState() == Qt::Checked) options.emplace_back(box.option);
    return options;
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
    Platform::current().userDefaults->registerDefaults(defaults);
}

}  // namespace reelsweep
