#include "cli/InputFolder.h"

#include "documents/DocumentFormat.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>
#include <tuple>

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

// Also one that is being saved, which has a name of its own until it is whole.
bool isBundle(const fs::path& path) {
    return loweredExtension(path).starts_with(".fcp") ||
           path.filename().string().find(".fcpxmld.") != std::string::npos;
}

bool isDocument(const fs::directory_entry& entry) {
    std::error_code none;
    if (!isTidiable(entry.path().filename().string())) return false;
    if (!isFCPXMLBundle(entry.path().string())) return entry.is_regular_file(none);
    return fs::is_regular_file(documentFile(entry.path().string()), none);
}

}  // namespace

bool isInputFolder(const std::string& path) {
    std::error_code error;
    return fs::is_directory(path, error) && !isBundle(path);
}

bool isTidiable(const std::string& name) {
    const fs::path path(name);
    const std::string extension = loweredExtension(path);
    return (extension == ".xml" || extension == ".fcpxml" || extension == ".fcpxmld") &&
           !isHidden(path) && !path.stem().string().ends_with("-Tidied");
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
        }
        if (isDocument(*entry)) {
            const std::string below = path.parent_path().lexically_relative(folder).string();
            files.push_back({path.string(), below == "." ? std::string() : below});
        }
    }
    if (error) return Failure{FailureCode::inputUnreadable, error.message(), folder};
    std::sort(files.begin(), files.end(),
              [](const FoundFile& a, const FoundFile& b) { return a.path < b.path; });
    return files;
}

FileIdentity identityOfDocument(const std::string& path) {
    FileIdentity identity = FileIdentity::ofFile(documentFile(path));
    std::error_code error;
    if (!identity.known() || !isFCPXMLBundle(path)) return identity;
    identity.bytes = 0;
    for (fs::recursive_directory_iterator entry(path, error), end; !error && entry != end;
         entry.increment(error)) {
        const FileIdentity file = FileIdentity::ofFile(entry->path().string());
        identity.bytes += file.bytes;
        if (std::tie(file.modifiedSeconds, file.modifiedNanoseconds) >
            std::tie(identity.modifiedSeconds, identity.modifiedNanoseconds)) {
            identity.modifiedSeconds = file.modifiedSeconds;
            identity.modifiedNanoseconds = file.modifiedNanoseconds;
        }
    }
    return identity;
}

}  // namespace reelsweep
