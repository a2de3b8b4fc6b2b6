// sampleFiles: real files to try things on, the bundled sample and a folder of exports.
//
// Thread rule: any thread.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <vector>

namespace reelsweep::test {

/// Those with an extension, ".xml" for XMEML. The folder of exports, REELSWEEP_SAMPLES or one
/// beside the project, need not be there.
inline std::vector<std::filesystem::path> sampleFiles(std::string_view extension = ".xml") {
    namespace fs = std::filesystem;
    const char* const variable = std::getenv("REELSWEEP_SAMPLES");
    const fs::path source = REELSWEEP_SOURCE_FOLDER;
    const fs::path exports =
        variable ? fs::path(variable) : source.parent_path() / "shared/samples";
    std::vector<fs::path> files;
    for (const fs::path& folder : {source / "resources/sample", exports}) {
        std::error_code error;
        for (const auto& entry : fs::directory_iterator(folder, error))
            if (entry.path().extension() == extension) files.push_back(entry.path());
    }
    return files;
}

}  // namespace reelsweep::test
