#include "app/MarkerKindBoxes.h"

#include "app/Text.h"
#include "platform/Platform.h"
#include "services/QVLog.h"
#include "tidy/FCPXPasses.h"

#include <QCheckBox>
#include <QHBoxLayout>

#include <algorithm>

namespace reelsweep {

namespace {

constexpr const char* defaultsKey = "fcpxMarkerKinds";

QString titleOf(std::string_view kind) {
    if (kind == "marker") return MarkerKindBoxes::tr("Markers");
    if (kind == "chapter-marker") return MarkerKindBoxes::tr("Chapters");
    if (kind == "analysis-marker") return MarkerKindBoxes::tr("Analysis markers");
    if (kind == "keyword") return MarkerKindBoxes::tr("Keywords");
    if (kind == "rating") return MarkerKindBoxes::tr("Ratings");
    return toQString(kind);
}

std::vector<std::string> storedKinds() {
    const UserDefaults& defaults = *Platform::current().userDefaults;
    // None is a choice too.
    return defaults.objectForKey(defaultsKey) ? defaults.stringArrayForKey(defaultsKey)
                                              : usualFCPXMarkerKinds();
}

}  // namespace

MarkerKindBoxes::MarkerKindBoxes(QWidget* parent) : QWidget(parent) {
    auto* const row = new QHBoxLayout(this);
    const int line = fontMetrics().height();
    row->setContentsMargins(line * 3 / 2, 0, 0, line / 4);
    const std::vector<std::string> chosen = storedKinds();
    for (const std::string_view kind : fcpxMarkerKinds()) {
        auto* const box = new QCheckBox(titleOf(kind));
        box->setObjectName(toQString(kind) + QStringLiteral("KindBox"));
        box->setChecked(std::find(chosen.begin(), chosen.end(), kind) != chosen.end());
        connect(box, &QCheckBox::toggled, this, &MarkerKindBoxes::keep);
        row->addWidget(box);
        boxes_.emplace_back(kind, box);
    }
    row->addStretch();
}

std::vector<std::string> MarkerKindBoxes::kinds() const {
    std::vector<std::string> chosen;
    for (const auto& [kind, box] : boxes_)
        if (box->isChecked()) chosen.emplace_back(kind);
    return chosen;
}

void MarkerKindBoxes::keep() {
    const std::vector<std::string> chosen = kinds();
    if (const auto error = Platform::current().userDefaults->setObject(
            defaultsKey, PropertyList::Array(chosen.begin(), chosen.end())))
        QVLog::appendLog("Unable to store the kinds of markers - %@", error.message());
    emit changed();
}

}  // namespace reelsweep
