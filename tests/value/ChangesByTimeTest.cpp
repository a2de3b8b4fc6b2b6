#include "tidy/ChangesByTime.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <random>

namespace reelsweep::test {
namespace {

TEST(ChangesByTime, FindsWhatASearchThroughAllOfThemFinds) {
    std::mt19937 random(7);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    for (int round = 0; round < 300; ++round) {
        std::vector<ChangesByTime::Touched> touched;
        const int count = below(40);
        for (int i = 0; i < count; ++i) {
            // Short ones, a few that reach over all the others, empty and reversed ones.
            const int start = below(100) - 5;
            const int length = below(8) == 0 ? 200 : below(12) - 2;
            touched.push_back(
                {{Frames{start}, Frames{start + length}}, static_cast<std::size_t>(below(20))});
        }
        const ChangesByTime changes(touched);
        for (int question = 0; question < 20; ++question) {
            const int start = below(110) - 10;
            const FrameRange range{Frames{start}, Frames{start + below(30)}};
            std::vector<std::size_t> expected;
            for (const auto& [touches, change] : touched)
                if (touches.start < range.end && range.start < touches.end)
                    expected.push_back(change);
            std::sort(expected.begin(), expected.end());
            expected.erase(std::unique(expected.begin(), expected.end()), expected.end());
            EXPECT_EQ(changes.in(range), expected);
        }
    }
}

}  // namespace
}  // namespace reelsweep::test
