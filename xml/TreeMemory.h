// Memory for trees, by the choice of a program: no library code calls this by itself.
//
// A tree of hundreds of megabytes comes from the system in huge pages where it has them: first
// touches of small pages would take longer than parsing does. A program that owns its process and
// loads large files wants this. It replaces the memory functions of pugixml for the whole process,
// so that a program whose other parts use pugixml too decides for them as well. Without it trees
// are in ordinary memory, and everything else is the same.
// Thread rule: main(), before other threads.
#pragma once

namespace reelsweep {

/// Has pugixml take its memory from here. At the start of main(): what pugixml took before could
/// not be given back. Later calls do nothing. Under AddressSanitizer nothing changes, since that
/// watches ordinary memory only.
void useTreeMemory();

}  // namespace reelsweep
