#include "app/QVSiteLinks.h"

#include "base/Format.h"
#include "platform/Platform.h"

#include <QByteArray>

namespace reelsweep {

namespace {

QVSiteLinks::URL below(std::string_view path) {
    const auto root = Platform::current().bundle->infoValue("QVSiteRoot");
    if (!root || root->empty()) return {};
    return *root + std::string(path);
}

std::string percentEscaped(const std::string& text) {
    return QByteArray::fromStdString(text).toPercentEncoding().toStdString();
}

}  // namespace

QVSiteLinks::URL QVSiteLinks::quorvaneURL() { return below({}); }

QVSiteLinks::URL QVSiteLinks::cutbenchURL() { return below("/cutbench"); }

QVSiteLinks::URL QVSiteLinks::supportURLForAppName(std::string_view appName) {
    return below(formatText("/support/%@", appName));
}

QVSiteLinks::URL QVSiteLinks::bugReportURLWithAppName(std::string_view appName,
                                                      const Text& subapp) {
    return bugReportURLWithAppName(
        appName, subapp, Platform::current().bundle->infoValue("CFBundleShortVersionString"));
}

QVSiteLinks::URL QVSiteLinks::bugReportURLWithAppName(std::string_view appName, const Text& subapp,
                                                      const Text& version) {
    std::string path = formatText("/support/%@/bugreport/", appName);
    if (subapp) path += formatText("?app=%@", *subapp);
    if (version) path += std::string(subapp ? "&" : "?") + "version=" + percentEscaped(*version);
    return below(path);
}

QVSiteLinks::URL QVSiteLinks::featureRequestURLWithAppName(std::string_view appName,
                                                           const Text& subapp) {
    std::string path = formatText("/support/%@/featurerequest/", appName);
    if (subapp) path += formatText("?app=%@", *subapp);
    return below(path);
}

}  // namespace reelsweep
