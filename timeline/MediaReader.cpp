#include "timeline/MediaReader.h"

#include "timeline/ElementText.h"
#include "timeline/FilterPool.h"

#include <algorithm>
#include <array>
#include <string>

namespace reelsweep {

namespace {

constexpr std::array<std::string_view, 12> stillsWithAlpha = {
    "png", "psd", "tga", "tif", "tiff", "exr", "gif", "webp", "svg", "ai", "eps", "pct"};
constexpr std::array<std::string_view, 5> stillsWithout = {"jpg", "jpeg", "bmp", "dpx", "cin"};
// What else cannot hold an alpha channel. A format that is not named here may.
constexpr std::array<std::string_view, 17> moviesWithout = {
    "mp4", "m4v", "mpg", "mpeg", "m2v", "m2t", "m2ts", "mts", "ts",
    "dv",  "wmv", "r3d", "braw", "arx", "ari", "vob",  "3gp"};

template <std::size_t count>
bool isOneOf(const std::array<std::string_view, count>& formats, std::string_view format) {
    return std::any_of(formats.begin(), formats.end(),
                       [&](std::string_view known) { return equalInAnyCase(known, format); });
}

std::string_view formatOf(std::string_view name) {
    const std::size_t point = name.find_last_of("./");
    if (point == std::string_view::npos || name[point] == '/') return {};
    return name.substr(point + 1);
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The path of a URL, so that "file://localhost/D%3a/x" and "file:///D:/x" are the same.
void addPath(ContentText& text, std::string_view url) {
    const std::size_t scheme = url.find("://");
    if (scheme != std::string_view::npos)
        url.remove_prefix(std::min(url.find('/', scheme + 3), url.size()));
    for (std::size_t i = 0; i < url.size(); ++i) {
        const int high = url[i] == '%' && i + 2 < url.size() ? hexDigit(url[i + 1]) : -1;
        const int low = high >= 0 ? hexDigit(url[i + 2]) : -1;
        if (low < 0) {
            text.add(url[i]);
        } else {
            text.add(static_cast<char>(high * 16 + low));
            i += 2;
        }
    }
}

// "01:00:00:00" as frames; some systems write no other form. A semicolon is drop-frame time code,
// which leaves out numbers.
Frames framesOfTimecode(std::string_view text, FrameRate rate) {
    std::array<std::int64_t, 4> parts{};
    std::size_t count = 0;
    const bool dropFrame = text.find(';') != std::string_view::npos;
    while (!text.empty() && count < parts.size()) {
        parts[count++] = smallNumber(text);
        text.remove_prefix(std::min(text.find_first_of(":;.") + 1, text.size()));
        if (text.find_first_of(":;.") == std::string_view::npos && count < 3) break;
    }
    if (count < parts.size() || !rate.known()) return {};
    const std::int64_t minutes = parts[0] * 60 + parts[1];
    std::int64_t frames = (minutes * 60 + parts[2]) * rate.timebase + parts[3];
    if (dropFrame) frames -= rate.timebase / 15 * (minutes - minutes / 10);
    return {frames};
}

// The children of a `file` that say something about its media.
struct FileParts {
    std::string_view name, path, source, reel, timecode;
    XMLNode timecodeFrame;
    XMLNode video;
};

FileParts readParts(XMLNode file, Media& media) {
    FileParts parts;
    for (XMLNode child = file.firstChild(); child; child = child.nextSibling()) {
        const ElementName name(child);
        if (name == "name") {
            parts.name = elementText(child);
        } else if (name == "pathurl") {
            parts.path = elementText(child);
        } else if (name == "mediaSource") {
            parts.source = elementText(child);
        } else if (name == "rate") {
            media.rate = readRate(child);
        } else if (name == "duration") {
            media.duration = framesOrZero(child);
        } else if (name == "width") {
            media.size.width = smallNumber(elementText(child));
        } else if (name == "height") {
            media.size.height = smallNumber(elementText(child));
        } else if (name == "timecode") {
            const auto [text, frame, reel, format] =
                child.firstChildren({"string", "frame", "reel", "displayformat"});
            media.dropFrame = elementText(format) == "DF";
            parts.timecode = elementText(text);
            parts.timecodeFrame = frame;
            parts.reel = childText(reel, "name");
        } else if (name == "media") {
            parts.video = child.child("video");
        }
    }
    return parts;
}

void judgeFormat(Media& media, const FileParts& parts) {
    const std::string_view format = formatOf(media.path.empty() ? media.name : media.path);
    const bool isPicture = isOneOf(stillsWithAlpha, format);
    const bool isGraphic = parts.source == "GraphicAndType";
    media.canHoldAlpha = !isOneOf(stillsWithout, format) && !isOneOf(moviesWithout, format);
    media.usuallyHasAlpha = isPicture || isGraphic;
    // A sequence of numbered pictures has the same format and is longer.
    media.isStill = media.duration == Frames{1} && (isPicture || isOneOf(stillsWithout, format));
    // Other generated media call themselves slugs too: bars, leaders, transparent video.
    media.isBlack = parts.source == "Slug" &&
                    (media.name.empty() || media.name == "Slug" || media.name == "Black Video");
}

// What makes it the same media in another document.
ContentText keyOf(const Media& media, const FileParts& parts) {
    ContentText key;
    if (!media.path.empty()) {
        key.add("file ");
        addPath(key, media.path);
    } else if (media.isBlack) {
        key.add("black");
    } else {
        for (const std::string_view part : {parts.source, media.name, media.reel})
            key.addText(part);
        key.addText(media.timecodeStart.text());
        key.addText(media.duration.text());
    }
    return key;
}

}  // namespace

bool isDefinition(XMLNode element) {
    for (XMLNode child = element.firstChild(); child; child = child.nextSibling())
        if (child.isElement()) return true;
    return false;
}

FrameRate readRate(XMLNode rate) {
    FrameRate read;
    for (XMLNode child = rate.firstChild(); child; child = child.nextSibling()) {
        const ElementName name(child);
        if (name == "timebase") read.timebase = framesOrZero(child).count;
        if (name == "ntsc") read.ntsc = isTrue(elementText(child));
    }
    return read;
}

FrameSize readSize(XMLNode characteristics) {
    const auto [width, height] = characteristics.firstChildren({"width", "height"});
    return {smallNumber(elementText(width)), smallNumber(elementText(height))};
}

const Media* readFile(XMLNode file, TextArena& arena) {
    Media media;
    media.kind = Media::Kind::file;
    const FileParts parts = readParts(file, media);
    media.id = arena.keep(elementId(file));
    media.name = arena.keep(parts.name);
    media.path = arena.keep(parts.path);
    media.reel = arena.keep(parts.reel);
    const XMLNode characteristics = parts.video.child("samplecharacteristics");
    if (const FrameSize size = readSize(characteristics); size.known()) media.size = size;
    media.pixelAspect = arena.keep(childText(characteristics, "pixelaspectratio"));
    media.timecodeStart =
        framesIn(parts.timecodeFrame).value_or(framesOfTimecode(parts.timecode, media.rate));
    judgeFormat(media, parts);
    media.key = arena.keep(keyOf(media, parts).view());
    return arena.make<Media>(media);
}

const Media* readNoMedia(std::string_view clipName, TextArena& arena) {
    Media media;
    media.name = clipName;
    media.key = arena.keep("clip " + std::string(clipName));
    return arena.make<Media>(media);
}

const Media* undefinedMedia(std::string_view element, std::string_view id, TextArena& arena) {
    Media media;
    media.kind = Media::Kind::undefined;
    media.id = arena.keep(id);
    media.key = arena.keep("undefined " + std::string(element) + " " + std::string(id));
    return arena.make<Media>(media);
}

const Media* readGenerator(XMLNode generatoritem, TextArena& arena) {
    Media media;
    media.kind = Media::Kind::generator;
    media.canHoldAlpha = false;
    const XMLNode effect = generatoritem.child("effect");
    const auto [name, id] = effect.firstChildren({"name", "effectid"});
    const std::string_view idText = elementText(id);
    media.name = arena.keep(elementText(name));
    media.id = arena.keep(idText);
    media.isBlack = equalInAnyCase(idText.empty() ? media.name : idText, "Slug");
    ContentText key;
    key.add("generator ");
    FilterPool::appendEffect(key, effect);
    media.key = media.isBlack ? std::string_view("black") : arena.keep(key.view());
    return arena.make<Media>(media);
}

XMLNode activeFile(XMLNode multiclip, MediaType type) {
    const char* const active = type == MediaType::video ? "activevideoangle" : "activeaudioangle";
    XMLNode first;
    for (XMLNode angle = multiclip.child("angle"); angle; angle = angle.nextSibling("angle")) {
        const XMLNode file = angle.child("clip").child("file");
        if (isTrue(childText(angle, active))) return file ? file : angle.child("file");
        if (!first) first = file ? file : angle.child("file");
    }
    return first ? first : multiclip.child("file");
}

}  // namespace reelsweep
