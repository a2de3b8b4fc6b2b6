#include "platform/posix/CurlHttpClient.h"
#include "services/QVOSDetect.h"
#include "services/QVQC.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/LoopbackServer.h"
#include "tests/platform/Matching.h"
#include "tests/support/FakePresenter.h"
#include "tests/support/ServiceTest.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <set>

namespace reelsweep {
namespace {

using namespace std::chrono_literals;
using Behaviour = test::LoopbackServer::Behaviour;
using test::contentsOf;
using test::pumpUntil;
using test::writeFile;

class Usage : public test::ServiceTest {
protected:
    Usage() {
        Platform& platform = Platform::current();
        auto somebody = std::make_unique<test::FakePresenter>();
        person = somebody.get();
        platform.alertPresenter = std::move(somebody);
        auto screen = std::make_unique<test::NotingWorkspace>();
        desktop = screen.get();
        platform.workspace = std::move(screen);
    }

    std::string preferenceFile() const {
        return home / "Library/Preferences/com.quorvane.qc.plist";
    }
    std::string cacheFile() const {
        return home / "Library/Caches/Quorvane/QC/com.quorvane.Reelsweep";
    }
    void setPreference(const std::string& key, const PropertyList& value) const {
        auto file = readPropertyList(preferenceFile()).value_or(PropertyList());
        (*file.as<PropertyList::Dictionary>())[key] = value;
        ASSERT_FALSE(writePropertyList(preferenceFile(), file));
    }
    std::optional<PropertyList> preference(std::string_view key) const {
        const auto file = readPropertyList(preferenceFile());
        const PropertyList* const value = file ? file->find(key) : nullptr;
        return value ? std::optional(*value) : std::nullopt;
    }
    static UserDefaults& defaults() { return *Platform::current().userDefaults; }
    static PropertyList::Date ago(std::chrono::seconds age) {
        return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now()) -
               age;
    }
    static std::int64_t secondsNow() { return ago(0s).time_since_epoch() / 1s; }
    static std::vector<std::string> eventNames(const QVQC& usage) {
        std::vector<std::string> names;
        for (const PropertyList& event : usage.cache())
            names.push_back(*event.find("event")->as<std::string>());
        return names;
    }
    /// As many starts of the program.
    static void launch(int times) {
        while (times-- > 0) const QVQC another;
    }
    void logSays(std::string_view text) const {
        EXPECT_TRUE(pumpUntil([&] {
            const auto lines = logged();
            return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
                return line.find(text) != std::string::npos;
            });
        })) << text;
    }

    test::EnvironmentVariable noProxy{"no_proxy", "*"};
    test::FakePresenter* person = nullptr;
    test::NotingWorkspace* desktop = nullptr;
    const std::vector<std::string> both{"launch", "specs"};
};

TEST_F(Usage, NothingIsCollectedWithoutConsent) {
    QVQC usage;
    usage.loadQC({});
    usage.setupInitialLogging();
    usage.logQCEvent({{"event", "other"}});
    usage.logSystemSpecsEvent();
    usage.writeCache();
    usage.uploadData();
    usage.willTerminate();
    EXPECT_TRUE(usage.cache().empty());
    EXPECT_FALSE(std::filesystem::exists(cacheFile()));
    EXPECT_FALSE(defaults().objectForKey("lastOSVersion"));
    EXPECT_FALSE(preference("uid"));
}

TEST_F(Usage, AsksFromTheThirdStartOnAndFiveSecondsLater) {
    // These would ask at once, long before the third, whose question is the only one in the end.
    QVQC first(0ms);
    first.loadQC({});
    QVQC second(0ms);
    second.loadQC({});
    person->answerAtOnce = alertOtherReturn;
    QVQC usage;
    const auto before = std::chrono::steady_clock::now();
    usage.loadQC(WindowRef{7});
    EXPECT_TRUE(pumpUntil([&] { return preference("logQC").has_value(); }));
    EXPECT_GE(std::chrono::steady_clock::now() - before, 5s);
    ASSERT_EQ(person->shown.size(), 1U);
    const AlertRequest& asked = person->shown[0]->request;
    EXPECT_EQ(asked.messageText,
              "Help improve Quorvane software by submitting analytics and usage data");
    EXPECT_EQ(asked.informativeText,
              "This information helps us find problems and improve our software. It is anonymous "
              "and cannot be used to identify you.");
    EXPECT_EQ(asked.defaultButtonTitle, "Allow");
    EXPECT_EQ(asked.alternateButtonTitle, "More Info");
    EXPECT_EQ(asked.otherButtonTitle, "Don't Allow");
    EXPECT_EQ(person->shown[0]->window, WindowRef{7});
    EXPECT_EQ(preference("logQC"), PropertyList(false));
    EXPECT_FALSE(usage.shouldLog());
}

TEST_F(Usage, AnAllowedSessionCollectsAndMoreInfoLeavesTheQuestionOpen) {
    launch(2);
    setPreference("informationSite", "https://example.org/");
    person->answerAtOnce = alertAlternateReturn;
    {
        QVQC usage(0ms);
        usage.loadQC({});
        EXPECT_TRUE(pumpUntil([&] { return !desktop->opened.empty(); }));
    }
    EXPECT_EQ(
        desktop->opened,
        std::vector<std::string>{"https://example.org/support/posts/app_analytics_and_usage_data"});
    EXPECT_FALSE(preference("logQC"));
    person->answerAtOnce = alertDefaultReturn;
    {
        QVQC usage(0ms);
        usage.loadQC({});
        EXPECT_TRUE(pumpUntil([&] { return usage.cache().size() == 2; }));
        EXPECT_EQ(eventNames(usage), both);
        EXPECT_EQ(*usage.cache()[1].find("data"), PropertyList(QVOSDetect::osVersionString()));
        usage.willTerminate();
    }
    EXPECT_EQ(preference("logQC"), PropertyList(true));
    // Later sessions only remember the answer: they record and ask nothing.
    QVQC later(0ms);
    later.loadQC({});
    EXPECT_TRUE(later.shouldLog());
    EXPECT_EQ(later.cache().size(), 2U);
    EXPECT_EQ(person->shown.size(), 2U);
    later.setQCLogging(false);
    later.setupInitialLogging();
    EXPECT_EQ(later.cache().size(), 2U) << "refused";
    EXPECT_TRUE(std::filesystem::exists(cacheFile())) << "stays until something is sent";
}

TEST_F(Usage, RecordsAStartOnceAMinuteAndANewSystemOnce) {
    struct Row {
        std::int64_t age;
        std::size_t launches;
    };
    for (const Row& row : {Row{0, 1}, Row{50, 1}, Row{61, 2}}) {
        ASSERT_FALSE(writePropertyList(
            cacheFile(), PropertyList::Array{PropertyList::Dictionary{
                             {"event", "launch"}, {"date", secondsNow() - row.age}}}));
        setPreference("logQC", true);
        QVQC usage;
        usage.logLoadEvent();
        EXPECT_EQ(usage.cache().size(), row.launches) << row.age;
    }
    QVQC usage;
    const std::size_t before = usage.cache().size();
    usage.logSystemSpecsEvent();
    usage.logSystemSpecsEvent();
    EXPECT_EQ(usage.cache().size(), before + 1);
    ASSERT_FALSE(defaults().setObject("lastOSVersion", "1.0.0"));
    usage.logSystemSpecsEvent();
    EXPECT_EQ(usage.cache().size(), before + 2);
}

TEST_F(Usage, SendsTheRecordAsAFormByteForByte) {
    const test::LoopbackServer server;
    launch(3);
    setPreference("logQC", true);
    setPreference("collectionSite", server.address());
    QVQC usage;
    usage.setupInitialLogging();
    usage.finishQueued();
    ASSERT_TRUE(pumpUntil([&] { return !server.requests().empty(); }));
    const auto request = server.requests()[0];
    EXPECT_TRUE(request.head.starts_with("POST /appdata/qc/qc.php HTTP/1.1\r\n")) << request.head;
    constexpr std::string_view type = "Content-Type: multipart/form-data; boundary=";
    const std::size_t at = request.head.find(type);
    ASSERT_NE(at, std::string::npos) << request.head;
    const std::string boundary = request.head.substr(at + type.size(), 36);
    const std::string uid = *preference("uid")->as<std::string>();
    EXPECT_TRUE(test::Pattern("[a-zA-Z0-9]{12}").matches(uid)) << uid;
    const auto part = [&](const std::string& name, const std::string& value) {
        return "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name +
               "\"\r\n\r\n" + value + "\r\n";
    };
    // Nothing follows the last part: the collecting site has never been sent a closing boundary.
    const auto version = Platform::current().bundle->infoValue("CFBundleVersion");
    const std::string head = part("uid", uid) + part("app", "com.quorvane.Reelsweep") +
                             part("version", version.value_or("?"));
    ASSERT_EQ(request.body.substr(0, head.size()), head);
    EXPECT_TRUE(test::Pattern("--" + boundary +
                              "\r\nContent-Disposition: form-data; name=\"events\"\r\n\r\n"
                              "\\[\\{\"date\":[0-9]{10},\"event\":\"launch\"\\},\\{\"data\":\"" +
                              QVOSDetect::osVersionString() +
                              "\",\"date\":[0-9]{10},\"event\":\"specs\"\\}\\]\r\n")
                    .matches(request.body.substr(head.size())))
        << request.body;
    EXPECT_TRUE(usage.cache().empty());
    EXPECT_FALSE(std::filesystem::exists(cacheFile()));
    EXPECT_TRUE(defaults().objectForKey("lastSubmission"));
    logSays("Sending QC log to Quorvane...");
}

TEST_F(Usage, SendsOnceADayAndFirstAtTheFourthStart) {
    struct Row {
        int launches;
        std::optional<std::chrono::seconds> last;
        bool sends;
    };
    for (const Row& row :
         {Row{3, {}, false}, Row{4, {}, true}, Row{9, 86'000s, false}, Row{1, 86'500s, true}}) {
        const test::LoopbackServer server;
        setPreference("logQC", true);
        setPreference("collectionSite", server.address());
        ASSERT_FALSE(defaults().setObject("launchCount", row.launches - 1));
        ASSERT_FALSE(defaults().removeObject("lastSubmission"));
        if (row.last) {
            ASSERT_FALSE(defaults().setObject("lastSubmission", ago(*row.last)));
        }
        QVQC usage;
        usage.setupInitialLogging();
        usage.finishQueued();
        EXPECT_EQ(usage.cache().empty(), row.sends) << row.launches;
        if (row.sends) {
            EXPECT_TRUE(pumpUntil([&] { return !server.requests().empty(); }));
        }
    }
}

TEST_F(Usage, TheIdentifierChangesAfterNinetyDays) {
    constexpr auto ninetyDays = 7'776'000s;
    struct Row {
        std::optional<std::chrono::seconds> age;
        bool kept;
    };
    for (const Row& row :
         {Row{{}, true}, Row{ninetyDays - 60s, true}, Row{ninetyDays + 60s, false}}) {
        const test::LoopbackServer server;
        std::filesystem::remove(preferenceFile());
        setPreference("collectionSite", server.address());
        setPreference("uid", "abcdefghijkl");
        if (row.age) setPreference("uidAssigned", ago(*row.age));
        QVQC usage;
        usage.enableQCLogging();
        usage.logQCEvent({{"event", "launch"}});
        usage.uploadData();
        EXPECT_EQ(preference("uid") == PropertyList("abcdefghijkl"), row.kept);
        if (!row.kept) {
            EXPECT_GT(*preference("uidAssigned")->as<PropertyList::Date>(), ago(60s));
        }
    }
}

/// The real client, and how many of its requests have come to their ends.
class CountingClient final : public HttpClient {
public:
    bool post(HttpRequest request, Completion completion) override {
        return client_.post(std::move(request), [this, completion](const HttpResult& result) {
            completion(result);
            ++ended;
        });
    }
    std::atomic<int> ended = 0;

private:
    CurlHttpClient client_;
};

TEST_F(Usage, ALostSubmissionIsLoggedAndNotRepeated) {
    auto counting = std::make_unique<CountingClient>();
    const CountingClient& client = *counting;
    Platform::current().httpClient = std::move(counting);
    struct Row {
        std::string address;
        std::string logged;
        bool onConsole;
    };
    const test::LoopbackServer resetting(Behaviour::reset);
    const test::LoopbackServer failing(Behaviour::fail500);
    for (const Row& row :
         {Row{resetting.address(), "Connection failed - ", false},
          Row{"ftp://127.0.0.1", "Failed to establish a connection. Please try again later.", true},
          Row{failing.address(), "", false}}) {
        QVLog::createNewLog("services");
        setPreference("collectionSite", row.address);
        QVQC usage;
        usage.enableQCLogging();
        usage.logQCEvent({{"event", "launch"}});
        usage.uploadData();
        EXPECT_TRUE(usage.cache().empty()) << "lost events stay lost";
        logSays(row.logged);
        EXPECT_EQ(console->take().find(row.logged + "\n") != std::string::npos, row.onConsole);
    }
    // An answer, whatever it says, is no failure of the connection.
    ASSERT_TRUE(pumpUntil([&] { return client.ended == 2; }));
    EXPECT_EQ(failing.requests().size(), 1U);
    for (const std::string& line : logged())
        EXPECT_EQ(line.find("failed"), std::string::npos) << line;
}

TEST_F(Usage, WithoutACollectionSiteNothingIsSentAndTheLogSaysSoOnce) {
    QVQC usage;
    usage.enableQCLogging();
    usage.logQCEvent({{"event", "launch"}});
    usage.uploadData();
    usage.uploadData();
    EXPECT_EQ(logged(), std::vector<std::string>{
                            "Usage data is not sent: no collection site is configured."});
    EXPECT_EQ(usage.cache().size(), 1U);
    EXPECT_FALSE(preference("uid"));
}

TEST_F(Usage, FormsHoldFilesAndNothingOfOtherAddresses) {
    writeFile(home / "a \"b\".txt", std::string("1\0\r\n2", 5));
    EXPECT_EQ(QVQC::generateFormData({{"f", QVQC::Address{"file://" + home / "a \"b\".txt"}},
                                      {"w", QVQC::Address{"https://example.org/"}},
                                      {"t", "%@ \xC3\xA9"}},
                                     "B"),
              "--B\r\nContent-Disposition: form-data; name=\"f\"; filename=\"a \"b\".txt\"\r\n"
              "Content-Type: application/octet-stream\r\n\r\n" +
                  std::string("1\0\r\n2", 5) +
                  "\r\n--B\r\n\r\n"
                  "--B\r\nContent-Disposition: form-data; name=\"t\"\r\n\r\n%@ \xC3\xA9\r\n");
    EXPECT_EQ(QVQC::generateFormData({}, "B"), "");
    std::set<char> used;
    for (const char letter : QVQC::generateRandomString(20'000)) used.insert(letter);
    EXPECT_EQ(used.size(), 62U) << "a letter is never used";
}

TEST(UsageAtTheEnd, TheProgramWritesItsCache) {
    for (const bool told : {true, false}) {
        const test::TestHome home;
        test::ChildProcess program([told] {
            QVQC& usage = QVQC::sharedController();
            usage.enableQCLogging();
            usage.logQCEvent({{"event", "one"}});
            usage.finishQueued();
            // Within the second in which the first was written.
            usage.logQCEvent({{"event", "two"}});
            if (told) usage.willTerminate();
        });
        EXPECT_EQ(program.wait(), 0) << program.standardError();
        EXPECT_EQ(QVQC().cache().size(), 2U);
    }
}

TEST_F(Usage, TheSystemsVersionIsReadFromItsRelease) {
    using Version = std::optional<OSVersion>;
    const std::pair<const char*, Version> rows[] = {
        {"6.1.0-18-amd64", OSVersion{6, 1, 0}},
        {"10.12.6", OSVersion{10, 12, 6}},
        {"5.15", OSVersion{5, 15, 0}},
        {"6.1.", OSVersion{6, 1, 0}},
        {"7-rc1", OSVersion{7, 0, 0}},
        {"", {}},
        {"unknown", {}},
    };
    for (const auto& [release, version] : rows)
        EXPECT_EQ(QVOSDetect::versionFromRelease(release), version) << release;
    const OSVersion here = QVOSDetect::version();
    EXPECT_TRUE(QVOSDetect::isOSVersionAtLeast(here.major, here.minor, here.bugfix));
    EXPECT_TRUE(QVOSDetect::isOSVersionAtLeast(here.major - 1, here.minor + 1, 999));
    EXPECT_TRUE(QVOSDetect::isOSVersionAtLeast(here.major, here.minor - 1, here.bugfix + 1));
    EXPECT_FALSE(QVOSDetect::isOSVersionAtLeast(here.major, here.minor, here.bugfix + 1));
    EXPECT_FALSE(QVOSDetect::isOSVersionAtLeast(here.major, here.minor + 1, 0));
}

}  // namespace
}  // namespace reelsweep
