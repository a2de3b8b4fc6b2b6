#include <gtest/gtest.h>
#include "tests/value/Values.h"
namespace reelsweep::test {
TEST(X, Y) {
    auto a = valueOf(
        "V1: C1[22,32) V2: "
        "C2[0,-1){<sequence><media><video><track><clipitem><start>3</start><end>900</end></"
        "clipitem></track><track/></video></media></sequence>} x4[23,38) ~G5[-1,-1) x15[133,134)");
    auto b = valueOf(
        "V1: C1[22,32) V2: "
        "C2[0,35){<sequence><media><video><track><clipitem><start>3</start><end>900</end></"
        "clipitem></track><track/></video></media></sequence>} ~G5[35,134)");
    PictureDifference d(a, b, {false, true, true});
    puts(intervalsText(picture(a)).c_str());
    puts(intervalsText(picture(a, {.ignoreTransitions = true})).c_str());
    puts(intervalsText(picture(b)).c_str());
    puts(differencesText(d, MediaType::video).c_str());
}
}  // namespace reelsweep::test
