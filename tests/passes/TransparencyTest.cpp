// Whether a clip lets the track below show through. The plain twin must agree.
#include "tests/plain/PlainPasses.h"
#include "tests/platform/Matching.h"
#include "tests/timeline/Timeline.h"
#include "tidy/passes/Passes.h"

#include <gtest/gtest.h>
#include <algorithm>

namespace reelsweep::test {
namespace {

std::string effect(const std::string& name, const std::string& id, const std::string& value) {
    return "{<filter><effect><name>" + name + "</name><parameter><parameterid>" + id +
           "</parameterid><value>" + value + "</value></parameter></effect></filter>}";
}

bool isTransparent(const std::string& switches, const char* opening = "",
                   const std::vector<std::string>& ignoredEffects = {}) {
    const Timeline timeline(std::string("V1: ") + opening + "A[0,9)" + switches);
    const XMLNode clip = timeline.firstVideoTrack().firstChild();
    const bool transparent = passes::isClipTransparent(clip, ignoredEffects);
    EXPECT_EQ(plainIsClipTransparent(clip, ignoredEffects), transparent) << "(plain twin)";
    return transparent;
}

TEST(ClipTransparency, IsDecidedByOpacityModeCropMixAndEffects) {
    // Numbers are read up to the first character that is no digit. A mode without text says
    // nothing, nor does a clip's own effect or an effect behind the first one of a filter.
    std::vector<std::string> opaque = words("%100^normal %100.0 % ^ %100%50 +curl =Text");
    for (const std::string& more :
         {std::string(), effect("Crop", "left", "0"), effect("Crop", "edgefeather", "9"),
          effect("Crop", "left", "+9"), effect("Blur", "mix", "100"),
          effect("Blur", "opacity", "50"),
          std::string("{<filter><effect><name>Blur</name></effect>"
                      "<effect><name>Star</name></effect></filter>}")})
        opaque.push_back(more);
    for (const std::string& switches : opaque) EXPECT_FALSE(isTransparent(switches)) << switches;
    std::vector<std::string> transparent =
        words("%99 %99.9 %x ^screen ^Normal +Curl +Blur+Curl +Color_Key");
    for (const std::string& more :
         {effect("Crop", "left", "1"), effect("Crop", "softness", "0.5"),
          effect("Blur", "mix", "99"),
          std::string("{<filter><effect><parameter><name>Star</name></parameter></effect>"
                      "</filter>}"),
          std::string("{<filter><effect id='Star'/></filter>}")})
        transparent.push_back(more);
    for (const std::string& switches : transparent)
        EXPECT_TRUE(isTransparent(switches)) << switches;
    EXPECT_TRUE(isTransparent("=Text", "~"));
    EXPECT_FALSE(isTransparent("=Slug", "~"));
    for (std::string name : plainTransparentEffects()) {
        std::replace(name.begin(), name.end(), ' ', '_');
        EXPECT_TRUE(isTransparent("+" + name)) << name;
    }
}

TEST(ClipTransparency, CanBeExtendedByEffects) {
    EXPECT_TRUE(isTransparent("+Blur", "", {"Glow", "Blur"}));
    EXPECT_FALSE(isTransparent("+Sharpen", "", {"Glow", "Blur"}));
}

}  // namespace
}  // namespace reelsweep::test
