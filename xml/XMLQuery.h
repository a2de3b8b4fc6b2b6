// XPath queries on a tree: XPath 1.0 with three habits of the queries that this program has always
// used.
//
//  - A parenthesised union of names may stand as a path step: "./track/(clipitem | generatoritem)".
//  - Character references and the predefined entity references inside string literals stand for
//    their characters, so that an escaped query finds the text that it was made from.
//  - A predicate may follow an abbreviated step: "./name/..[value > 0]".
//
// Results are in document order. Compiled queries are kept and used again. The first query in a
// document goes over all of it and gives every text a record of its own (XMLNode::separateText), so
// it counts as an edit, and what is done for each of many clips should do without.
// Thread rule: any thread; the nodes queried belong to one thread at a time.
#pragma once

#include "base/Failure.h"
#include "xml/XMLNode.h"

#include <string_view>
#include <vector>

namespace reelsweep {

/// All matches of the query with `context` as its context node. A leading "/" starts at the
/// document. Fails with usage when the query is not understood or does not select nodes; a null
/// context has no matches.
Result<std::vector<XMLNode>> selectNodes(XMLNode context, std::string_view query);

}  // namespace reelsweep
