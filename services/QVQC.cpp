#include "services/QVQC.h"

#include "base/Format.h"
#include "platform/Platform.h"
#include "services/QVAlert.h"
#include "services/QVLocalPaths.h"
#include "services/QVLog.h"
#include "services/QVOSDetect.h"

#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>

#include <nlohmann/json.hpp>

namespace reelsweep {

namespace {

namespace fs = std::filesystem;
using Seconds = std::chrono::seconds;

constexpr Seconds submissionInterval{86'400};
constexpr Seconds identifierLife{7'776'000};
constexpr std::int64_t launchInterval = 60;  // seconds
constexpr std::int64_t launchesBeforeQuestion = 3;
constexpr std::int64_t launchesBeforeFirstSubmission = 4;

PropertyList::Date now() {
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
}

std::int64_t nowInSeconds() {
    return std::chrono::floor<Seconds>(now().time_since_epoch()).count();
}

/// The date is one, and lies further back than the interval.
bool isOlder(const PropertyList* value, Seconds interval) {
    const auto* date = value ? value->as<PropertyList::Date>() : nullptr;
    return date && now() - *date > interval;
}

std::optional<std::string> preferenceFile() {
    const auto folder = QVLocalPaths::prefsDirectory(true);
    if (!folder) return {};
    return QVLocalPaths::ensureTrailingSlash(*folder) + "com.quorvane.qc.plist";
}

PropertyList::Dictionary readPreferences() {
    const auto path = preferenceFile();
    const auto file = path ? readPropertyList(*path) : std::nullopt;
    const auto* values = file ? file->as<PropertyList::Dictionary>() : nullptr;
    return values ? *values : PropertyList::Dictionary();
}

void logUnwritten(const std::string& path, const std::error_code& error) {
    QVLog::appendLog("Error: unable to write %@: %@", path, error.message());
}

/// Changes the preference file; the log says when that fails.
void changePreferences(const std::function<void(PropertyList::Dictionary&)>& change) {
    const auto path = preferenceFile();
    PropertyList::Dictionary preferences;
    std::error_code error = path ? dictionaryForChange(*path, preferences)
                                 : std::make_error_code(std::errc::no_such_file_or_directory);
    change(preferences);
    if (!error) error = writePropertyList(*path, preferences);
    if (error) logUnwritten(path.value_or(""), error);
}

/// Writes a property list; the log says when that fails.
bool store(const std::optional<std::string>& path, const PropertyList& value) {
    const std::error_code error = path ? writePropertyList(*path, value)
                                       : std::make_error_code(std::errc::no_such_file_or_directory);
    if (error) logUnwritten(path.value_or(""), error);
    return !error;
}

std::string textOf(const PropertyList::Dictionary& values, std::string_view key) {
    const auto found = values.find(key);
    const auto* text = found == values.end() ? nullptr : found->second.as<std::string>();
    return text ? *text : "";
}

nlohmann::json toJson(const PropertyList& value) {
    if (const auto* flag = value.as<bool>()) return *flag;
    if (const auto* number = value.as<std::int64_t>()) return *number;
    if (const auto* real = value.as<double>()) return *real;
    if (const auto* text = value.as<std::string>()) return *text;
    if (const auto* items = value.as<PropertyList::Array>()) {
        auto array = nlohmann::json::array();
        for (const PropertyList& item : *items) array.push_back(toJson(item));
        return array;
    }
    if (const auto* items = value.as<PropertyList::Dictionary>()) {
        auto object = nlohmann::json::object();
        for (const auto& [key, item] : *items) object[key] = toJson(item);
        return object;
    }
    return nullptr;  // data and dates, which no event has
}

void logNoConnection() {
    constexpr std::string_view text = "Failed to establish a connection. Please try again later.";
    QVLog::appendLog(text);
    Platform::current().console->log(text);
}

void appendFile(std::string& body, std::string_view key, const std::string& path) {
    body += formatText("Content-Disposition: form-data; name=\"%@\"; filename=\"%@\"\r\n", key,
                       fs::path(path).filename().string());
    body += "Content-Type: application/octet-stream\r\n\r\n";
    std::ifstream file(path, std::ios::binary);
    if (!file) QVLog::appendLog("Error: unable to read %@", path);
    body.append(std::istreambuf_iterator<char>(file), {});
}

}  // namespace

QVQC& QVQC::sharedController() {
    static QVQC* const instance = [] {
        QVLog::sharedController();  // so that the log ends after this
        auto* const made = new QVQC;
        (void)std::atexit([] { sharedController().willTerminate(); });
        return made;
    }();
    return *instance;
}

QVQC::QVQC(std::chrono::milliseconds questionDelay)
    : bundleID_(Platform::current().bundle->identifier()), questionDelay_(questionDelay) {
    const auto path = bundleID_ ? cacheFile() : std::nullopt;
    const auto file = path ? readPropertyList(*path) : std::nullopt;
    if (const auto* events = file ? file->as<PropertyList::Array>() : nullptr) cache_ = *events;
    const auto preferences = readPreferences();
    const auto answer = preferences.find("logQC");
    shouldLog_ = answer != preferences.end() && answer->second.integerValue() == 1;
    UserDefaults& defaults = *Platform::current().userDefaults;
    if (const auto error =
            defaults.setObject("launchCount", defaults.integerForKey("launchCount") + 1))
        QVLog::appendLog("Error: unable to count launches: %@", error.message());
}

bool QVQC::reloadAnswer() {
    const auto preferences = readPreferences();
    if (const auto answer = preferences.find("logQC"); answer != preferences.end())
        shouldLog_ = answer->second.boolValue();
    return shouldLog_;
}

QVQC::~QVQC() { opQueue_.cancel(); }

void QVQC::loadQC(WindowRef parentWindow) {
    if (readPreferences().contains("logQC")) {
        reloadAnswer();
        return;
    }
    if (Platform::current().userDefaults->integerForKey("launchCount") < launchesBeforeQuestion)
        return;
    const std::weak_ptr<bool> alive = alive_;
    question_ = std::jthread([this, alive, parentWindow](const std::stop_token& stop) {
        std::mutex mutex;
        std::condition_variable_any stopped;
        std::unique_lock lock(mutex);
        if (stopped.wait_for(lock, stop, questionDelay_, [&] { return stop.stop_requested(); }))
            return;
        Platform::current().mainThread->post([this, alive, parentWindow] {
            if (!alive.expired()) ask(parentWindow);
        });
    });
}

void QVQC::ask(WindowRef parentWindow) {
    // Somebody may have answered in the preferences meanwhile.
    if (readPreferences().contains("logQC")) return;
    const long answer = QVAlert::alertSheet(
        "Help improve Quorvane software by submitting analytics and usage data", "Allow",
        "More Info", "Don't Allow",
        "This information helps us find problems and improve our software. It is anonymous and "
        "cannot be used to identify you.",
        parentWindow, true);
    if (answer == alertOtherReturn) setQCLogging(false);
    if (answer == alertDefaultReturn) {
        setQCLogging(true);
        setupInitialLogging();
    }
    if (answer != alertAlternateReturn) return;
    const auto information = site("informationSite", "QVQCInformationSite");
    const std::string page =
        information ? *information + "/support/posts/app_analytics_and_usage_data" : "";
    if (page.empty() || !Platform::current().workspace->openURL(page))
        QVLog::appendLog("Unable to open the page about analytics \"%@\"", page);
}

void QVQC::setupInitialLogging() {
    if (!shouldLog_) return;
    logLoadEvent();
    logSystemSpecsEvent();
    if (isSubmissionDue()) opQueue_.add([this] { uploadData(); });
}

bool QVQC::isSubmissionDue() const {
    if (cache().empty()) return false;
    const UserDefaults& defaults = *Platform::current().userDefaults;
    const auto last = defaults.objectForKey("lastSubmission");
    // Something else than a date in its place tells of no submission.
    if (last && last->as<PropertyList::Date>()) return isOlder(&*last, submissionInterval);
    return defaults.integerForKey("launchCount") >= launchesBeforeFirstSubmission;
}

void QVQC::logQCEvent(PropertyList::Dictionary event) {
    if (!shouldLog_) return;
    {
        const std::lock_guard lock(mutex_);
        cache_.emplace_back(std::move(event));
        if (lastCacheWrite_ &&
            std::chrono::steady_clock::now() - *lastCacheWrite_ < std::chrono::seconds(1))
            return;
    }
    writeCache();
}

void QVQC::logLoadEvent() {
    const std::int64_t date = nowInSeconds();
    for (const PropertyList& event : cache()) {
        const PropertyList* const name = event.find("event");
        const PropertyList* const launched = event.find("date");
        if (name && *name == PropertyList("launch") && launched &&
            date - launched->integerValue() < launchInterval)
            return;
    }
    logQCEvent({{"event", "launch"}, {"date", date}});
}

void QVQC::logSystemSpecsEvent() {
    if (!shouldLog_) return;
    const std::string version = QVOSDetect::osVersionString();
    UserDefaults& defaults = *Platform::current().userDefaults;
    if (version.empty() || defaults.objectForKey("lastOSVersion") == PropertyList(version)) return;
    logQCEvent({{"event", "specs"}, {"date", nowInSeconds()}, {"data", version}});
    if (const auto error = defaults.setObject("lastOSVersion", version))
        QVLog::appendLog("Error: unable to store the system's version: %@", error.message());
}

void QVQC::writeCache() {
    if (shouldLog_) opQueue_.add([this] { writeCacheOnThread(); });
}

void QVQC::writeCacheOnThread() {
    if (!shouldLog_) return;
    if (!bundleID_) {
        QVLog::appendLog("Error: unable to save QC data. Bundle ID not found.");
        return;
    }
    if (!store(cacheFile(), cache())) return;
    const std::lock_guard lock(mutex_);
    lastCacheWrite_ = std::chrono::steady_clock::now();
}

void QVQC::setQCLogging(bool flag) {
    const std::lock_guard lock(preferencesMutex_);
    // Kept in this run whatever becomes of the file: a refusal holds at once.
    shouldLog_ = flag;
    changePreferences([flag](auto& preferences) { preferences["logQC"] = flag; });
}

void QVQC::uploadData() {
    const std::lock_guard onlyOne(uploadMutex_);
    if (!shouldLog_ || cache().empty()) return;
    const auto collection = site("collectionSite", "QVQCCollectionSite");
    if (!collection) {
        std::call_once(saidUnconfigured_, [] {
            QVLog::appendLog("Usage data is not sent: no collection site is configured.");
        });
        return;
    }
    const std::string uid = identifier();
    PropertyList::Array events;
    {
        const std::lock_guard lock(mutex_);
        events.swap(cache_);
    }
    using nlohmann::json;
    const Bundle& bundle = *Platform::current().bundle;
    postDictionary(
        {{"uid", uid},
         {"app", bundleID_.value_or("Unknown")},
         {"version", bundle.infoValue("CFBundleVersion").value_or("Unknown")},
         {"events", toJson(events).dump(-1, ' ', false, json::error_handler_t::replace)}},
        *collection + "/appdata/qc/qc.php");
    std::error_code error;
    if (const auto path = cacheFile()) fs::remove(*path, error);
    const std::error_code removal = error;
    error = Platform::current().userDefaults->setObject("lastSubmission", now());
    if (!error) error = removal;
    if (error) QVLog::appendLog("Error: unable to note the submission: %@", error.message());
}

/// The user's random name, a new one every 90 days.
std::string QVQC::identifier() {
    const std::lock_guard lock(preferencesMutex_);
    const auto preferences = readPreferences();
    std::string uid = textOf(preferences, "uid");
    const auto assigned = preferences.find("uidAssigned");
    const bool old = assigned != preferences.end() && isOlder(&assigned->second, identifierLife);
    if (!uid.empty() && !old) return uid;
    uid = generateRandomString(12);
    changePreferences([&uid](auto& changed) {
        changed["uid"] = uid;
        changed["uidAssigned"] = now();
    });
    return uid;
}

/// The start of a configured web address; empty when there is none.
std::optional<std::string> QVQC::site(std::string_view key, std::string_view bundleKey) {
    std::string address;
    {
        const std::lock_guard lock(preferencesMutex_);
        address = textOf(readPreferences(), key);
    }
    if (address.empty()) address = Platform::current().bundle->infoValue(bundleKey).value_or("");
    if (address.empty()) return {};
    return QVLocalPaths::stripTrailingSlash(address);
}

void QVQC::postDictionary(const Form& form, const std::string& address) {
    const std::string boundary = QVLocalPaths::uuid();
    HttpRequest request;
    request.address = address;
    request.headers = {"Content-Type: multipart/form-data; boundary=" + boundary};
    request.body = generateFormData(form, boundary);
    QVLog::appendLog("Sending QC log to Quorvane...");
    const bool started =
        Platform::current().httpClient->post(std::move(request), [](const HttpResult& result) {
            // A server that answers, were it with an error of its own, was reached.
            if (result.error) QVLog::appendLog("Connection failed - %@", *result.error);
        });
    if (!started) logNoConnection();
}

std::string QVQC::generateFormData(const Form& form, std::string_view boundary) {
    constexpr std::string_view fileScheme = "file://";
    std::string body;
    for (const auto& [key, value] : form) {
        body += formatText("--%@\r\n", boundary);
        if (const auto* text = std::get_if<std::string>(&value)) {
            body += formatText("Content-Disposition: form-data; name=\"%@\"\r\n\r\n", key) + *text;
        } else if (const std::string& address = std::get<Address>(value).text;
                   address.starts_with(fileScheme)) {
            appendFile(body, key, address.substr(fileScheme.size()));
        }
        body += "\r\n";
    }
    return body;
}

std::string QVQC::generateRandomString(std::size_t length) {
    // XZY, not XYZ: identifiers of this program have always been made from this row.
    constexpr std::string_view alphabet =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXZY0123456789";
    std::random_device random;
    std::string text;
    while (text.size() < length) text += alphabet[random() % alphabet.size()];
    return text;
}

void QVQC::willTerminate() {
    question_.request_stop();
    opQueue_.cancel();
    opQueue_.finish();
    writeCacheOnThread();
}

PropertyList::Array QVQC::cache() const {
    const std::lock_guard lock(mutex_);
    return cache_;
}

void QVQC::finishQueued() { opQueue_.finish(); }

std::optional<std::string> QVQC::cacheFile() const {
    const auto folder = QVLocalPaths::cacheDirectory(true);
    if (!folder) return {};
    return QVLocalPaths::ensureTrailingSlash(*folder) + "Quorvane/QC/" +
           bundleID_.value_or("Unknown");
}

}  // namespace reelsweep
