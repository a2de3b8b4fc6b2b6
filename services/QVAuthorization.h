// QVAuthorization: removes, moves, copies and trashes files with the administrator's rights.
//
// The second attempt of the file utilities after a plain one has failed. It runs the system's own
// tools. Folders of the system and the user's standard folders are refused, whatever form their
// path takes (see QVLocalPaths::leadsToSystemDirectory).
//
// A tool acts in the folders that were tested, not in what others put at their paths meanwhile, and
// never through a link.
//
// As root the tools run at once, without asking. Else the system asks the person at the machine,
// which may take as long as the person does, and the call waits for the end of the tool: only that
// tells whether the right was given.
// Owner: the process; the instance is never destroyed. Thread rule: any thread.
#pragma once

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace reelsweep {

class QVAuthorization {
public:
    /// What a privileged run answers when the tool is missing or the right was not given.
    static constexpr int toolMissing = -2;
    static constexpr int notAuthorized = -1;

    /// The one instance. The first call decides whether the user may be asked for a password.
    static QVAuthorization& sharedController(bool hasGUI = true);

    explicit QVAuthorization(bool hasGUI);
    ~QVAuthorization();
    QVAuthorization(const QVAuthorization&) = delete;
    QVAuthorization& operator=(const QVAuthorization&) = delete;

    /// Asks for the right in a dialog of the system. True when it is there.
    bool authStart();
    /// Asks for the right with the credentials; a missing one is false.
    bool authStart(const std::optional<std::string>& user,
                   const std::optional<std::string>& password);
    /// Gives the right back.
    void authEnd();
    bool isAuthorized() const;
    bool canAuthorize() const;
    bool hasGUI() const { return hasGUI_; }

    /// Removes an item and all that is in it. True when it is gone.
    bool authRemoveFile(const std::string& path);

    /// Moves an item to the desktop's Trash of the home, or to the trash folder of the home where
    /// there is none. An item of that name there is not replaced: the new one gets the time in its
    /// name. With the flag, root without a user's home deletes it.
    bool authTrashFile(const std::string& path, bool deleteOnRootAccount = false);
    /// The same with each item in the folder. All are tried; true when none failed.
    bool authTrashFolderContents(const std::string& folder, bool deleteOnRootAccount = false);
    /// Moves each item in the folder into the destination. All are tried; true when none failed.
    bool authMoveFolderContents(const std::string& folder, const std::string& destination);

    /// An item at the destination is replaced. As root these three answer true once the tool runs.
    bool authMoveFile(const std::optional<std::string>& path,
                      const std::optional<std::string>& destination);
    bool authCopyFile(const std::optional<std::string>& path,
                      const std::optional<std::string>& destination);
    /// Makes a folder with those above it.
    bool authCreateDir(const std::string& path);

    /// Runs a tool with the right, asking for it when needed. 0: done; else toolMissing,
    /// notAuthorized or the tool's exit status. Root does not wait when async, and always gets 0.
    int authExecTask(const std::string& tool, const std::vector<std::string>& parameters,
                     bool async = true);

private:
    bool runTool(const std::string& tool, const std::vector<std::string>& parameters);

    const bool hasGUI_;
    /// The user's home; none under root, which acts for no user in particular.
    std::optional<std::string> userDirectory_;
    mutable std::mutex mutex_;
    bool authorized_ = false;
    std::atomic<bool> wasRefused_ = false;
};

}  // namespace reelsweep
