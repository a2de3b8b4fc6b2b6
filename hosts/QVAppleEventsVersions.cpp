#include "hosts/QVAppleEvents.h"

#include "base/Utf16.h"
#include "platform/Platform.h"
#include "platform/PropertyList.h"
#include "services/QVLocalPaths.h"
#include "time/Frames.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace reelsweep {

namespace {

int leadingInteger(std::string_view text) { return static_cast<int>(leadingFrames(text).count); }

std::string finalCutProPath() {
    if (const auto path = Platform::current().workspace->applicationPath("com.apple.FinalCutPro"))
        return *path;
    const std::string applications =
        QVLocalPaths::applicationDirectory(false).value_or("/Applications");
    const std::string inStudio = applications + "/Final Cut Studio/Final Cut Pro.app";
    std::error_code ignored;
    return std::filesystem::exists(inStudio, ignored) ? inStudio
                                                      : applications + "/Final Cut Pro.app";
}

std::vector<std::string> partsOf(const std::string& version) {
    std::vector<std::string> parts;
    std::size_t from = 0;
    for (;;) {
        const std::size_t dot = version.find('.', from);
        parts.push_back(version.substr(from, dot - from));
        if (dot == std::string::npos) return parts;
        from = dot + 1;
    }
}

}  // namespace

std::string QVAppleEvents::generateUUID() { return QVLocalPaths::uuid(); }

std::string QVAppleEvents::finalCutProVersionString() {
    const auto info = readPropertyList(finalCutProPath() + "/Contents/Info.plist");
    const PropertyList* version = info ? info->find("CFBundleShortVersionString") : nullptr;
    const std::string* text = version ? version->as<std::string>() : nullptr;
    return text ? *text : "7.0";
}

int QVAppleEvents::finalCutProMajorVersion() {
    const std::string version = finalCutProVersionString();
    if (version.empty()) return 7;
    // Only the first digit is read: Final Cut Pro never had a two-digit major version in this
    // series.
    return leadingInteger(version.substr(0, 1));
}

int QVAppleEvents::maximumXMEMLVersion() {
    std::vector<std::string> parts = partsOf(finalCutProVersionString());
    // Counts what it appended against what is still missing, so a one-part version gains one part
    // only and the third is out of range: such a version never shipped, and callers handle the
    // exception.
    if (parts.size() < 3) {
        std::size_t appended = 0;
        do {
            parts.push_back("0");
            ++appended;
        } while (appended < 3 - std::min<std::size_t>(parts.size(), 3));
    }
    const int major = leadingInteger(parts.at(0));
    const int minor = leadingInteger(parts.at(1));
    const int patch = leadingInteger(parts.at(2));
    if (major < 5) return 1;
    if (major == 5) return minor == 1 && patch < 2 ? 2 : 3;
    return major == 6 ? 4 : 5;
}

std::string QVAppleEvents::escapeCharactersInXMLString(std::string_view text) {
    const auto isPlain = [](char byte) {
        return static_cast<unsigned char>(byte) < 0x80 && byte != '\r';
    };
    std::string escaped;
    escaped.reserve(text.size());
    for (auto at = text.begin(); at != text.end();) {
        // A project is almost all ASCII, and hundreds of megabytes of it.
        const auto plainEnd = std::find_if_not(at, text.end(), isPlain);
        escaped.append(at, plainEnd);
        at = std::find_if(plainEnd, text.end(), isPlain);
        for (const char16_t unit : utf16FromUtf8({plainEnd, at})) {
            if (unit == 13 || unit >= 160)
                escaped += "&#" + std::to_string(static_cast<unsigned>(unit)) + ";";
            else
                appendUtf8(escaped, unit);
        }
    }
    return escaped;
}

QVAppleEvents::Data QVAppleEvents::formatData(Data data) {
    if (data.ends_with('\0')) data.pop_back();
    return data;
}

}  // namespace reelsweep
