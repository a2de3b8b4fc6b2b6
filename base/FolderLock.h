// FolderLock: keeps other processes of this program out of a folder's files for a moment.
//
// Advisory, and patient only for a while: a process that is stopped while it holds the lock, or a
// file system without locks, must not stop everybody else. Thread rule: each lock belongs to one
// thread; two locks of one process exclude each other too.
#pragma once

#include <chrono>
#include <string>

namespace reelsweep {

class FolderLock {
public:
    /// Waits for the lock as long as the patience lasts, and then goes on without it.
    FolderLock(const std::string& folder, std::chrono::milliseconds patience);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int descriptor_ = -1;
};

}  // namespace reelsweep
