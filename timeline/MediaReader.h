// MediaReader: what a `file`, multiclip or generator element says about its media.
//
// Thread rule: the thread that owns the tree.
#pragma once

#include "timeline/Media.h"
#include "timeline/TextArena.h"
#include "timeline/Vocabulary.h"
#include "xml/XMLNode.h"

#include <string_view>

namespace reelsweep {

/// A `file`, `sequence` or `multiclip` with nothing in it refers to one that is defined elsewhere.
bool isDefinition(XMLNode element);

/// From a definition. The texts are kept in the arena, which owns the media.
const Media* readFile(XMLNode file, TextArena& arena);
/// A clip that names no media is known by its own name only.
const Media* readNoMedia(std::string_view clipName, TextArena& arena);
/// A reference to what is defined nowhere.
const Media* undefinedMedia(std::string_view element, std::string_view id, TextArena& arena);
const Media* readGenerator(XMLNode generatoritem, TextArena& arena);
/// The `file` that a multiclip shows or plays: of its active angle, of the first without one; null
/// when it has none.
XMLNode activeFile(XMLNode multiclip, MediaType type);

/// A `rate` element's; unknown without one.
FrameRate readRate(XMLNode rate);
/// A `samplecharacteristics` element's width and height.
FrameSize readSize(XMLNode characteristics);

}  // namespace reelsweep
