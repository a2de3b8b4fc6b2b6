// White space beside CDATA sections, which is content: whoever takes it for layout hands back
// another text than was encoded.
//
//   <value>
//     <![CDATA[AAAB...]]>
//   </value>
//
// The parser drops blank text beside markup. Keeping all of it for the sake of some would double
// the nodes of a document, so what stands beside sections is noted from the bytes and put back.
// For the sources of xml/ only. Thread rule: plain functions.
#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// What stands around one CDATA section and is nothing but white space; empty where there is none.
struct BlanksAround {
    std::string before, after;
};

/// Of every section of a document, in their order; of UTF-8, UTF-16 or a code that extends ASCII.
/// Empty when there is no blank beside any.
std::vector<BlanksAround> blanksBesideCData(std::string_view bytes);

/// Puts the blanks back as texts, below a node that was parsed of those bytes.
void restoreBlanks(pugi::xml_node top, const std::vector<BlanksAround>& blanks);

}  // namespace reelsweep
