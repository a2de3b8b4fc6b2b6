// Mutations that keep a file well-formed: bytes changed at random are mostly refused by the loader,
// and the passes would hardly ever see anything new.

#include "xml/XMLDocument.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace reelsweep {

namespace {

using Engine = std::minstd_rand;

std::size_t below(Engine& engine, std::size_t n) { return engine() % n; }

const char* someText(Engine& engine) {
    static constexpr std::array texts = {
        "-1",     "0",          "10",  "50",  "100",   "105",  "200",     "9223372036854775807",
        "-7",     "",           "12x", " 30", "100.5", "1e2",  "TRUE",    "FALSE",
        "normal", "screen",     "a",   "b",   "Text",  "Crop", "Opacity", "opacity",
        "Slug",   "audiolevels"};
    return texts[below(engine, texts.size())];
}

std::string someItem(Engine& engine) {
    static constexpr std::array names = {"clipitem", "generatoritem", "transitionitem"};
    const std::string name = names[below(engine, names.size())];
    const std::size_t start = below(engine, 40) * 10;
    const std::size_t end = start + below(engine, 20) * 10;
    const auto edge = [&](std::size_t frame) {
        return below(engine, 4) == 0 ? std::string("-1") : std::to_string(frame);
    };
    return "<" + name + "><start>" + edge(start) + "</start><end>" + edge(end) +
           "</end><in>0</in><out>" + std::to_string(end - start) + "</out></" + name + ">";
}

bool isWithin(XMLNode node, XMLNode ancestor) {
    while (node && node != ancestor) node = node.parent();
    return bool(node);
}

void mutate(XMLDocument& document, Engine& engine) {
    std::vector<XMLNode> elements;
    std::vector<XMLNode> leaves;  // with a text or nothing in them
    std::vector<XMLNode> tracks;
    document.rootElement().forEachDescendant({}, [&](XMLNode element) {
        elements.push_back(element);
        if (element.childCount() < 2 && !element.nextElement(element, {}))
            leaves.push_back(element);
        if (element.isElement("track")) tracks.push_back(element);
    });
    if (elements.empty()) return;
    XMLNode element = elements[below(engine, elements.size())];
    XMLNode other = elements[below(engine, elements.size())];
    switch (below(engine, 6)) {
        case 0:
        case 1:
            if (!leaves.empty()) leaves[below(engine, leaves.size())].setText(someText(engine));
            break;
        case 2: element.parent().insertAfter(element.copy(), element); break;
        case 3: element.detach(); break;
        case 4:
            if (!isWithin(other, element)) other.parent().insertBefore(element, other);
            break;
        default:
            if (tracks.empty()) break;
            XMLNode track = tracks[below(engine, tracks.size())];
            if (Result<XMLNode> item = track.parseDetached(someItem(engine)))
                track.insertChildAtIndex(*item, below(engine, track.childCount() + 1));
    }
}

}  // namespace

}  // namespace reelsweep

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
    using namespace reelsweep;
    Engine engine(seed);
    // Now and then plain bytes, for the loader.
    if (below(engine, 8) == 0) return LLVMFuzzerMutate(data, size, maxSize);
    Result<XMLDocument> document =
        XMLDocument::parse({reinterpret_cast<const char*>(data), size}, "input");
    if (!document) return LLVMFuzzerMutate(data, size, maxSize);
    for (std::size_t i = 0, count = 1 + below(engine, 3); i < count; ++i) mutate(*document, engine);
    const std::string text = document->serialise(XMLFormat::compact);
    if (text.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
    std::memcpy(data, text.data(), text.size());
    return text.size();
}
