#include "base/Log.h"
#include "base/UniqueDescriptor.h"
#include "platform/PropertyList.h"
#include "platform/posix/CommandLinePlatform.h"
#include "platform/posix/PropertyListDefaults.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <list>

#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace reelsweep {
namespace {

TEST(PropertyList, ComesBackFromAFileAsItWas) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "sub/folder/a.plist";
    const PropertyList::Dictionary values{
        {"yes", true},
        {"no", false},
        {"zero", 0},
        {"negative", -5},
        {"largest", std::numeric_limits<std::int64_t>::max()},
        {"smallest", std::numeric_limits<std::int64_t>::min()},
        {"real", 2.5},
        {"text", "<Größe> & \"Maß\"\n\t"},
        {"empty text", ""},
        {"data", PropertyList::Data{0, 255, 10}},
        {"date", PropertyList::Date(std::chrono::seconds(1'769'868'309))},
        {"list", PropertyList::Array{"a", 1, PropertyList::Array{}, PropertyList::Dictionary{}}},
    };
    ASSERT_FALSE(writePropertyList(path, values));
    const auto read = readPropertyList(path);
    ASSERT_TRUE(read);
    for (const auto& [key, value] : values) {
        const PropertyList* const found = read->find(key);
        EXPECT_TRUE(found && *found == value) << key;
    }
    EXPECT_EQ(*read, PropertyList(values));
}

TEST(PropertyList, ReadsTextAndBinaryFilesAndRefusesWhatIsNone) {
    const test::TemporaryFolder folder;
    using namespace std::string_view_literals;
    const struct {
        std::string_view contents;
        bool valid;
    } rows[] = {
        {"<?xml version=\"1.0\"?><plist version=\"1.0\"><string>x</string></plist>", true},
        {"bplist00\x51x\x08\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x0a"sv,
         true},
        {"", false},
        {"not a list", false},
        {"<?xml version=\"1.0\"?><plist><dict><key>a</key>", false},
        {"bplist00", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.contents);
        test::writeFile(folder / "a.plist", row.contents);
        const auto read = readPropertyList(folder / "a.plist");
        EXPECT_EQ(read.has_value(), row.valid);
        EXPECT_EQ(read.value_or("x"), PropertyList("x"));
    }
    EXPECT_FALSE(readPropertyList(folder / "missing.plist"));
    EXPECT_FALSE(readPropertyList(folder.path()));
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) all += text;
    return all;
}

/// A binary list of lists, each of which names the next twice, around one text.
std::string doubledBinaryList(unsigned levels) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (unsigned level = 0; level < levels; ++level) {
        offsets += static_cast<char>(bytes.size());
        bytes += '\xA2';
        bytes += static_cast<char>(level + 1);
        bytes += static_cast<char>(level + 1);
    }
    offsets += static_cast<char>(bytes.size());
    bytes += "\x51x";
    const auto table = static_cast<char>(bytes.size());
    bytes += offsets + std::string(6, '\0') + "\1\1" + std::string(7, '\0');
    bytes += static_cast<char>(levels + 1);
    return bytes + std::string(15, '\0') + table;
}

TEST(PropertyList, RefusesWhatWouldTakeTheMemoryOrTheStack) {
    const auto lists = [](std::size_t depth, std::string_view inside = {}) {
        return "<plist>" + repeated("<array>", depth) + std::string(inside) +
               repeated("</array>", depth) + "</plist>";
    };
    const std::string closers = repeated("</array>", 600);
    const std::string deep = repeated("<array>", 600);
    const struct {
        std::string contents;
        const char* problem;  ///< null: it is read
    } rows[] = {
        {lists(512), nullptr},
        {lists(513), "nests deeper than 512 levels"},
        {lists(50'000), "nests deeper than 512 levels"},
        // Ends of lists that the parser does not see as such.
        {"<plist>" + deep + "<!--" + closers + "-->", "nests deeper than 512 levels"},
        {"<plist>" + deep + "<string><![CDATA[" + closers, "nests deeper than 512 levels"},
        {"<plist>" + deep + "<array a=\">" + closers + "\">", "nests deeper than 512 levels"},
        {"<plist>" + deep + "<!DOCTYPE \">" + closers + "\">", "nests deeper than 512 levels"},
        {"<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><true/></plist>",
         "declares a document type of its own"},
        {lists(1, repeated("<true/>", 99'999)), nullptr},
        {lists(1, repeated("<true/>", 100'000)), "holds more than 100000 values"},
        {lists(1, "<string>" + std::string(16U << 20U, 'x') + "</string>"),
         "is larger than 16777216 bytes"},
        {doubledBinaryList(15), nullptr},
        {doubledBinaryList(24), "holds more than 100000 values"},
        // The parser would end the process.
        {"<plist><dict><key>a&#0;b</key><true/></dict></plist>",
         "holds a null character in a text"},
        {"<plist><dict><key>a&#x00;b</key><true/></dict></plist>",
         "holds a null character in a text"},
        {std::string("<plist><dict><key>a\0b</key><true/></dict></plist>", 49),
         "holds a null character in a text"},
        {"<plist><dict><key>a&#10;&#x0a;b</key><true/></dict></plist>", nullptr},
        {"bplist00\xA1" + std::string(1, '\0') + "\x08" + std::string(6, '\0') + "\1\1" +
             std::string(7, '\0') + "\1" + std::string(15, '\0') + "\x0a",
         "holds itself"},
    };
    const test::TemporaryFolder folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.contents.substr(0, 40) + " of " + std::to_string(row.contents.size()));
        test::writeFile(folder / "a.plist", row.contents);
        const PropertyListFile file = loadPropertyList(folder / "a.plist");
        EXPECT_EQ(file.state,
                  row.problem ? PropertyListFile::State::damaged : PropertyListFile::State::read);
        EXPECT_EQ(file.problem, row.problem ? row.problem : "");
    }
}

TEST(PropertyList, ABrokenOneIsToldInTheLogOnce) {
    struct Lines final : LogSink {
        void append(std::string_view format, std::span<const FormatArgument> arguments,
                    Urgency) override {
            TextBuffer text;
            formatInto(text, format, arguments);
            (all += text.view()) += "\n";
        }
        std::string all;
    } lines;
    const test::TemporaryFolder folder;
    const std::string path = folder / "a.plist";
    test::writeFile(path, "no list");
    EXPECT_FALSE(readPropertyList(path));  // nobody listens yet
    Log::setSink(&lines);
    EXPECT_FALSE(readPropertyList(path));
    EXPECT_FALSE(readPropertyList(path));
    EXPECT_FALSE(readPropertyList(folder / "missing.plist"));
    Log::setSink(nullptr);
    EXPECT_EQ(lines.all, "The property list " + path + " is broken: it is not a property list\n");
}

TEST(PropertyList, ReplacesAFileWholeAndKeepsItsPermissions) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "a.plist";
    test::writeFile(path, "old");
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    ASSERT_FALSE(writePropertyList(path, 1));
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    // A folder in the way is an error, and nothing else is left behind.
    std::filesystem::create_directories(folder / "b.plist/x");
    EXPECT_TRUE(writePropertyList(folder / "b.plist", 1));
    test::writeFile(folder / "file", "");
    EXPECT_TRUE(writePropertyList(folder / "file/c.plist", 1));
    std::size_t files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder.path()))
        ++files;
    EXPECT_EQ(files, 3u);
}

TEST(PropertyList, ReadsNumbersAndBooleansOutOfWhatIsThere) {
    const struct {
        PropertyList value;
        std::int64_t number;
        bool truth;
    } rows[] = {
        {true, 1, true},   {false, 0, false}, {7, 7, true},      {0, 0, false},
        {-2.9, -2, true},  {0.5, 0, true},    {1e300, 0, true},  {" 12x", 12, true},
        {"YES", 0, true},  {"no", 0, false},  {"-03", -3, true}, {"00", 0, false},
        {"true", 0, true}, {"", 0, false},    {"x1", 0, false},  {PropertyList::Array{1}, 0, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(row.value.integerValue(), row.number);
        EXPECT_EQ(row.value.boolValue(), row.truth);
    }
}

TEST(UserDefaults, ASetValueHidesTheRegisteredOneUntilItIsRemoved) {
    const test::TemporaryFolder folder;
    {
        PropertyListDefaults defaults("com.example.one", folder / "Preferences");
        defaults.registerDefaults({{"collapse", 1}, {"list", PropertyList::Array{"a", "b"}}});
        EXPECT_EQ(defaults.integerForKey("collapse"), 1);
        EXPECT_FALSE(defaults.setObject("collapse", 0));
        EXPECT_FALSE(defaults.setObject("name", "x"));
    }
    PropertyListDefaults again("com.example.one", folder / "Preferences");
    EXPECT_EQ(again.integerForKey("collapse"), 0);
    EXPECT_FALSE(again.objectForKey("list"));
    again.registerDefaults({{"collapse", 1}, {"list", PropertyList::Array{"a", "b"}}});
    EXPECT_EQ(again.integerForKey("collapse"), 0);
    EXPECT_FALSE(again.removeObject("collapse"));
    EXPECT_EQ(again.integerForKey("collapse"), 1);
    EXPECT_EQ(again.stringArrayForKey("list"), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(again.domain("com.example.one").size(), 1u);
    EXPECT_TRUE(again.domain("com.example.two").empty());
    EXPECT_TRUE(PropertyListDefaults("com.example.one", "").setObject("a", 1));
}

TEST(UserDefaults, SettingsThatCannotBeReadAreSetAside) {
    const test::TemporaryFolder folder;
    const std::string broken = "<plist><dict><key>a&b</key><string>mine</string></dict></plist>";
    test::writeFile(folder / "app.plist", broken);
    PropertyListDefaults defaults("app", folder.path());
    EXPECT_FALSE(defaults.setObject("count", 1));
    EXPECT_EQ(defaults.integerForKey("count"), 1);
    EXPECT_EQ(test::contentsOf(folder / "app.plist.broken"), broken);
}

TEST(UserDefaults, AnEarlierBrokenFileIsKept) {
    const test::TemporaryFolder folder;
    PropertyListDefaults defaults("app", folder.path());
    for (const char* const contents : {"first", "second", "third"}) {
        test::writeFile(folder / "app.plist", contents);
        EXPECT_FALSE(defaults.setObject("count", 1));
    }
    EXPECT_EQ(test::contentsOf(folder / "app.plist.broken"), "first");
    EXPECT_EQ(test::contentsOf(folder / "app.plist.broken.2"), "second");
    EXPECT_EQ(test::contentsOf(folder / "app.plist.broken.3"), "third");
}

TEST(UserDefaults, SettingsThatCannotBeReadNowStayAsTheyAre) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "app.plist";
    test::writeFile(path, propertyListText(PropertyList::Dictionary{{"mine", 1}}));
    const std::string contents = test::contentsOf(path);
// The sanitizer tells with a pipe whether memory can be read, so it needs descriptors of its own.
#ifndef __SANITIZE_ADDRESS__
    test::ChildProcess outOfDescriptors([&] {
        PropertyListDefaults defaults("app", folder.path());
        // Not 3: a number that the parent has closed would be free.
        const rlimit none{0, 0};
        if (::setrlimit(RLIMIT_NOFILE, &none) != 0) std::_Exit(2);
        std::_Exit(defaults.setObject("mine", 2) ? 0 : 1);
    });
    EXPECT_EQ(outOfDescriptors.wait(), 0);
    EXPECT_NE(outOfDescriptors.standardError().find("stay as they are"), std::string::npos);
    EXPECT_EQ(test::contentsOf(path), contents);
#endif

    std::filesystem::remove(path);
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_TRUE(PropertyListDefaults("app", folder.path()).setObject("mine", 2));
    EXPECT_TRUE(std::filesystem::is_fifo(path));
    EXPECT_FALSE(std::filesystem::exists(path + ".broken"));
}

TEST(UserDefaults, APlatformIsMadeWithoutALookAtThem) {
    const test::TemporaryFolder folder;
    const test::EnvironmentVariable home("HOME", folder.path().c_str());
    const std::string path = folder / "Library/Preferences/com.quorvane.Reelsweep.plist";
    test::writeFile(path, "x");
    const UniqueDescriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(::inotify_add_watch(watch.get(), path.c_str(), IN_OPEN), 0);
    std::array<char, 4096> events{};
    const Platform platform = commandLinePlatform();
    EXPECT_LT(::read(watch.get(), events.data(), events.size()), 0);
    (void)platform.userDefaults->integerForKey("appleEventTimeout");
    EXPECT_GT(::read(watch.get(), events.data(), events.size()), 0);
}

TEST(UserDefaults, ProcessesThatSetValuesAtTheSameTimeLoseNone) {
    const test::TemporaryFolder folder;
    std::list<test::ChildProcess> children;
    constexpr int keys = 20;
    for (const char* name : {"a", "b", "c", "d"})
        children.emplace_back([&folder, name] {
            PropertyListDefaults defaults("com.example.one", folder.path());
            for (int i = 0; i < keys; ++i)
                if (defaults.setObject(name + std::to_string(i), i)) std::exit(1);
        });
    for (auto& child : children) EXPECT_EQ(child.wait(), 0);
    const PropertyListDefaults defaults("com.example.one", folder.path());
    EXPECT_EQ(defaults.domain("com.example.one").size(), children.size() * keys);
}

}  // namespace
}  // namespace reelsweep
