// TestHome: a home folder of a test's own, with a platform that lives in it.
//
// HOME points to the folder, so child processes live in it too. The user is an ordinary one,
// whoever runs the tests. Make it before anything logs, and destroy it when nothing logs any more.
#pragma once

#include "platform/posix/CommandLinePlatform.h"
#include "platform/posix/HomeFolders.h"
#include "tests/platform/TemporaryFolder.h"

#include <memory>
#include <string>

namespace reelsweep::test {

/// The real folders below HOME, for a user of the test's choice and with machine-wide Library and,
/// when one is given, Applications folders that a test may write to.
class TestFolders : public HomeFolders {
public:
    TestFolders(unsigned userIdentifier, std::string localLibrary, std::string applications = {})
        : userIdentifier_(userIdentifier),
          localLibrary_(std::move(localLibrary)),
          applications_(std::move(applications)) {}

    std::optional<std::string> path(StandardDirectory directory,
                                    FolderDomain domain) const override {
        if (domain == FolderDomain::local) {
            if (directory == StandardDirectory::library) return localLibrary_;
            if (applications_.empty()) return HomeFolders::path(directory, domain);
            if (directory == StandardDirectory::applications) return applications_;
            if (directory == StandardDirectory::adminApplications)
                return applications_ + "/Utilities";
        }
        return HomeFolders::path(directory, domain);
    }
    unsigned userIdentifier() const override { return userIdentifier_; }

private:
    unsigned userIdentifier_;
    std::string localLibrary_;
    std::string applications_;
};

class TestHome {
public:
    static constexpr unsigned root = 0;
    static constexpr unsigned ordinaryUser = 1000;

    explicit TestHome(unsigned userIdentifier = ordinaryUser)
        : home_("HOME", folder_.path().c_str()), config_("XDG_CONFIG_HOME", nullptr) {
        Platform platform = commandLinePlatform();
        platform.folders = std::make_unique<TestFolders>(userIdentifier, folder_ / "machine");
        Platform::install(std::move(platform));
    }
    ~TestHome() { Platform::install(commandLinePlatform()); }

    std::string operator/(std::string_view name) const { return folder_ / name; }
    const std::string& path() const { return folder_.path(); }

private:
    TemporaryFolder folder_;
    EnvironmentVariable home_;
    EnvironmentVariable config_;
};

}  // namespace reelsweep::test
