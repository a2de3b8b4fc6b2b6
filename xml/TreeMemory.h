// Memory for trees; for the sources of xml/ only.
//
// A tree of hundreds of megabytes comes from the system in huge pages where it has them: first
// touches of small pages would take longer than parsing does.
// Thread rule: any thread.
#pragma once

namespace reelsweep {

/// Has pugixml take its memory from here. Before the first document is made; later calls do
/// nothing.
void useTreeMemory();

}  // namespace reelsweep
