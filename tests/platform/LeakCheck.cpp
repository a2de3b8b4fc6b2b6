#include "tests/platform/LeakCheck.h"

namespace reelsweep::test {
namespace {

[[maybe_unused]] const auto* const registered = testing::AddGlobalTestEnvironment(new LeakCheck);

}  // namespace
}  // namespace reelsweep::test
