// FolderLock: keeps other processes of this program out of a folder's files for a moment.
//
// Advisory, and patient only for a second: a process that is stopped while it holds the lock, or a
// file system without locks, must not stop everybody else. Thread rule: each lock belongs to one
// thread; two locks of one process exclude each other too.
#pragma once

#include <string>

namespace reelsweep {

class FolderLock {
public:
    explicit FolderLock(const std::string& folder);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int descriptor_ = -1;
};

}  // namespace reelsweep
