// QVQC: with the user's consent, a small anonymous record of how the program is used.
//
// Events (the program was started; the system has another version) are kept in a file in the Caches
// folder and sent about once a day, as a form in a POST request. Nothing is collected or sent
// before the user agreed, and nothing is ever sent while no collection site is configured.
//
// The sites are the start of a web address, such as "https://example.org", and empty by default:
//   collectionSite     takes the record, at /appdata/qc/qc.php
//   informationSite    tells people about it, at /support/posts/app_analytics_and_usage_data
// Each is the text of that key in com.quorvane.qc.plist, else what the program was built with (the
// CMake variables REELSWEEP_QC_COLLECTION_SITE and REELSWEEP_QC_INFORMATION_SITE).
// Owner: the process; another object is for tests. Thread rule: any thread, unless said otherwise.
#pragma once

#include "base/BackgroundQueue.h"
#include "platform/AlertPresenter.h"
#include "platform/PropertyList.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace reelsweep {

class QVQC {
public:
    /// The web address of something. That of a file is its path after "file://".
    struct Address {
        std::string text;
    };
    /// The fields of a form in the order in which they are sent.
    using Form = std::vector<std::pair<std::string, std::variant<std::string, Address>>>;

    /// The one instance, made on first call, which also counts this start of the program and
    /// arranges that the cache is written when the process ends. Never destroyed.
    static QVQC& sharedController();

    /// The wait is the time from loadQC to its question.
    explicit QVQC(std::chrono::milliseconds questionDelay = std::chrono::seconds(5));
    ~QVQC();
    QVQC(const QVQC&) = delete;
    QVQC& operator=(const QVQC&) = delete;

    /// Takes up the user's answer. When there is none yet, asks from the third start on: a little
    /// later, in an alert on the window, on the main thread. Call it on the main thread.
    void loadQC(WindowRef parentWindow);
    /// With the user's consent, records this start and the system, and sends what is due.
    void setupInitialLogging();

    /// With the user's consent, records an event and queues writing the cache, at most once a
    /// second.
    void logQCEvent(PropertyList::Dictionary event);
    /// Records the start, unless one was recorded within the last 60 seconds.
    void logLoadEvent();
    /// Records the version of the system when it is not the one reported last.
    void logSystemSpecsEvent();

    /// Queues writing the cache.
    void writeCache();
    /// Writes the cache. Does nothing without consent.
    void writeCacheOnThread();

    void enableQCLogging() { setQCLogging(true); }
    void disableQCLogging() { setQCLogging(false); }
    /// Stores the user's answer.
    void setQCLogging(bool flag);
    /// The check box of the preferences was clicked. It shows shouldLog when its window opens.
    void toggleQCLogging(bool checkBoxOn) { setQCLogging(checkBoxOn); }
    bool shouldLog() const { return shouldLog_; }
    /// Reads the stored answer anew, which other programs of the family may have changed.
    bool reloadAnswer();

    /// Sends the record and empties the cache, without waiting for the server: what is lost on the
    /// way is lost. Blocks for files only.
    void uploadData();
    /// Starts sending the form; the log says what becomes of it.
    void postDictionary(const Form& form, const std::string& address);
    /// The body of a multipart form. It ends with its last part, without a closing boundary, which
    /// is what the collecting site has always been sent.
    static std::string generateFormData(const Form& form, std::string_view boundary);
    /// Random letters and digits that nobody can foretell.
    static std::string generateRandomString(std::size_t length);

    /// Writes the cache as the process ends, in place of whatever is queued. On the thread that
    /// records events, the last thing that it does.
    void willTerminate();

    /// The events that are not sent yet.
    PropertyList::Array cache() const;
    /// Returns when what is queued is done, provided nothing is recorded meanwhile.
    void finishQueued();

private:
    void ask(WindowRef parentWindow);
    bool isSubmissionDue() const;
    std::optional<std::string> cacheFile() const;
    std::string identifier();
    std::optional<std::string> site(std::string_view key, std::string_view bundleKey);

    const std::optional<std::string> bundleID_;
    const std::chrono::milliseconds questionDelay_;
    std::atomic<bool> shouldLog_ = false;

    mutable std::mutex mutex_;
    PropertyList::Array cache_;
    std::optional<std::chrono::steady_clock::time_point> lastCacheWrite_;

    std::mutex preferencesMutex_;  ///< from reading the preference file to writing it
    std::mutex uploadMutex_;
    std::once_flag saidUnconfigured_;

    /// Gone when this object is; what waits on the main thread looks at it.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    std::jthread question_;
    BackgroundQueue opQueue_;  ///< the first to go: its work uses the rest
};

}  // namespace reelsweep
