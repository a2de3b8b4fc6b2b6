// The files in a folder that can be tidied.
//
// Thread rule: plain functions.
#pragma once

#include "base/AtomicFile.h"
#include "base/Failure.h"

#include <string>
#include <vector>

namespace reelsweep {

struct FoundFile {
    std::string path;
    std::string subfolder;  ///< from the folder that was searched; empty for the folder itself
};

/// Whether an input is a folder of files. A bundle, whose name has an extension of its own, is
/// none.
bool isInputFolder(const std::string& path);

/// The XML files of a folder by name, with those of its folders when `recursive`: what ends in
/// ".xml" or ".fcpxml", and bundles with a document in them. Results of earlier runs
/// ("NAME-Tidied.xml"), hidden files and the folder `except` are left out. Fails with
/// inputUnreadable.
Result<std::vector<FoundFile>> filesIn(const std::string& folder, bool recursive,
                                       const std::string& except);

/// Whether a file, or a bundle, of that name is one that filesIn answers.
bool isTidiable(const std::string& name);

/// What a document looks like now: that of a bundle is another one when any file in the bundle is.
/// Unknown when there is none, or nothing in the bundle to read yet.
FileIdentity identityOfDocument(const std::string& path);

}  // namespace reelsweep
