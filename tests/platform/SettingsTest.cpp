#include "platform/PropertyList.h"
#include "platform/posix/PropertyListDefaults.h"
#include "tests/platform/ChildProcess.h"
#include "tests/platform/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <limits>
#include <list>

#include <sys/stat.h>

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
