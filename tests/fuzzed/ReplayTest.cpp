// Runs saved inputs through one fuzz target. A promise that does not hold ends the process.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace reelsweep::test {
namespace {

std::vector<std::string> savedInputs() {
    std::vector<std::string> paths;
    for (const char* folder : {FOUND_INPUTS, SEED_INPUTS}) {
        if (!std::filesystem::exists(folder)) continue;  // nothing was found yet
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            paths.push_back(entry.path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
    std::string name = std::filesystem::path(info.param).stem().string();
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return name;
}

class SavedInput : public testing::TestWithParam<std::string> {};

TEST_P(SavedInput, KeepsTheTargetsPromises) {
    std::ifstream file(GetParam(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    ASSERT_FALSE(bytes.empty()) << GetParam();
    EXPECT_EQ(
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()),
        0);
}

INSTANTIATE_TEST_SUITE_P(Fuzzed, SavedInput, testing::ValuesIn(savedInputs()), testName);

}  // namespace
}  // namespace reelsweep::test
