// The alerts that a test program was shown: "MESSAGE: INFORMATIVE TEXT". Each is answered at once.
#pragma once

#include <string>
#include <vector>

namespace reelsweep::test {

/// Filled by the main function of tests/timeline/TestMain.cpp. Thread rule: main thread.
std::vector<std::string>& shownAlerts();

}  // namespace reelsweep::test
