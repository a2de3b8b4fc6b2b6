#include <gtest/gtest.h>
#include "tests/value/Values.h"
namespace reelsweep::test {
TEST(X, Y) {
    Timeline t(
        "S: V1: C1[80,-1) x3[92,108) "
        "C2[-1,160){<filter><effect><name>Opacity</name><parameter><parameterid>opacity</"
        "parameterid><value>0</value></parameter><parameter><parameterid></parameterid><value></"
        "value></parameter></effect></filter>}{<sequence "
        "id='N'><name>Scene</name><media><video><track><clipitem><name>a</name><start>0</"
        "start><end>40</end></clipitem><clipitem><name>b</name><start>60</start><end>90</end></"
        "clipitem></track><track><clipitem><name>c</name><start>30</start><end>50</"
        "end><alphatype>straight</alphatype></clipitem></track></video></media></sequence>} "
        "C14[-1,-1) x17[101,120) ~G18[-1,170)@63:80=Slug");
    auto cat = MediaCatalogue::of(t.document.node());
    XMLNode c = t.sequence.copy();
    std::vector<XMLNode> v;
    c.forEachDescendant({"clipitem"}, [&](XMLNode n) { v.push_back(n); });
    for (auto n : v)
        if (n.child("name").stringValue() == "a") {
            n.child("start").setText("1");
            n.child("end").setText("41");
        }
    auto a = reelsweep::Timeline::of(t.sequence, cat), b = reelsweep::Timeline::of(c, cat);
    PictureDifference d(a, b);
    puts(intervalsText(picture(a)).c_str());
    puts(intervalsText(picture(b)).c_str());
    puts(differencesText(d, MediaType::video).c_str());
}
}  // namespace reelsweep::test
