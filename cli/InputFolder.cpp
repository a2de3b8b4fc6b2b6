#include "cli/InputFolder.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;

std::string loweredExtension(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

bool isHidden(const fs::path& path) { return path.filename().string().starts_with('.'); }

bool isBundle(const fs::path& path) { return loweredExtension(path).starts_with(".fcp"); }

}  // namespace

bool isInputFolder(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error) && !isBundle(path);
}

bool isTidiable(const std::string& name) {
    const fs::path path(name);
    const std::string extension = loweredExtension(path);
    return (extension == ".xml" || extension == ".fcpxml") && !isHidden(path) &&
           !path.stem().string().ends_with("-Tidied");
}

Result<std::vector<FoundFile>> filesIn(const std::string& folder, bool recursive,
                                       const std::string& except) {
    std::error_code error;
    std::vector<FoundFile> files;
    fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied,
                                           error);
    for (const fs::recursive_directory_iterator end; !error && entry != end;
         entry.increment(error)) {
        const fs::path& path = entry->path();
        std::error_code none;
        if (entry->is_directory(none)) {
            const bool isOutput = !except.empty() && fs::equivalent(path, except, none);
            if (!recursive || isHidden(path) || isBundle(path) || isOutput)
                entry.disable_recursion_pending();
        } else if (entry->is_regular_file(none) && isTidiable(path.filename().string())) {
            const std::string below = path.parent_path().lexically_relative(folder).string();
            files.push_back({path.string(), below == "." ? std::string() : below});
        }
    }
    if (error) return Failure{FailureCode::inputUnreadable, error.message(), folder};
    std::sort(files.begin(), files.end(),
              [](const FoundFile& a, const FoundFile& b) { return a.path < b.path; });
    return files;
}

}  // namespace reelsweep
