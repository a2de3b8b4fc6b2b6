// Any bytes as an FCPXML file: opened, tidied with both passes, saved and loaded again.

#include "fuzz/Quiet.h"
#include "shell/QVFCPXDoc.h"

#include <cstddef>
#include <cstdint>

using namespace reelsweep;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    installQuietPlatform();
    static const std::string input = temporaryPath("input.fcpxml");
    {
        AtomicFile file(input, Overwrite::always);
        require(file.open().ok());
        file.write({reinterpret_cast<const char*>(data), size});
        require(file.commit().ok());
    }
    SilentView view;
    QVFCPXDoc document(view);
    if (!document.readFromURL(input)) return 0;
    document.startProcessing({"removeFilters", "removeMarkers"});
    require(document.runResult().delivered);
    static const std::string output = temporaryPath("output.fcpxml");
    require(document.writeToURL(output).ok());
    const Result<XMLDocument> again = XMLDocument::load(output);
    require(again.ok());
    require(again->serialise(XMLFormat::pretty) == document.xmlDoc()->serialise(XMLFormat::pretty));
    return 0;
}
