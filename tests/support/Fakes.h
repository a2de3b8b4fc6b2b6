// What tests of services put in place of the desktop and of the program itself.
#pragma once

#include "platform/Bundle.h"
#include "platform/Console.h"
#include "platform/posix/SessionBusWorkspace.h"

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace reelsweep::test {

class RecordingConsole : public Console {
public:
    void print(std::string_view text) override { add(text); }
    void log(std::string_view line) override { add(std::string(line) + "\n"); }
    /// Everything since the last call.
    std::string take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(text_, {});
    }

private:
    void add(std::string_view text) {
        const std::lock_guard lock(mutex_);
        text_ += text;
    }
    std::mutex mutex_;
    std::string text_;
};

/// Starts programs by their path, and notes what the desktop is asked to open.
class NotingWorkspace : public SessionBusWorkspace {
public:
    std::vector<std::string> runningApplicationIdentifiers() const override { return {}; }
    std::optional<std::string> applicationPath(std::string_view) const override { return {}; }
    using SessionBusWorkspace::openFile;
    bool openFile(const std::string& path) override {
        opened.push_back(path);
        return true;
    }
    bool openURL(const std::string& address) override { return openFile(address); }
    bool openFileWithIdentifier(const std::string& path, std::string_view identifier,
                                LaunchOption) override {
        return openFile(path + " with " + std::string(identifier));
    }
    std::vector<std::string> opened;
};

/// A program with a folder of its own, and what it says of itself.
class FakeBundle : public Bundle {
public:
    using Info = std::map<std::string, std::string, std::less<>>;
    explicit FakeBundle(std::string folder, Info info = {})
        : folder_(std::move(folder)), info_(std::move(info)) {}
    std::optional<std::string> identifier() const override { return {}; }
    std::optional<std::string> infoValue(std::string_view key) const override {
        const auto found = info_.find(key);
        return found == info_.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<std::string> executablePath() const override { return folder_ + "/program"; }
    std::optional<std::string> bundlePath() const override { return folder_; }
    std::optional<std::string> resourcePath(std::string_view name,
                                            std::string_view type) const override {
        return folder_ + "/Resources/" + std::string(name) + "." + std::string(type);
    }

private:
    const std::string folder_;
    const Info info_;
};

}  // namespace reelsweep::test
