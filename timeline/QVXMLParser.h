// QVXMLParser: the query helpers that documents, passes and bridges share.
//
// Class operations without state. A query runs with the given node as its context node; unless said
// otherwise it is first passed through escapeQueryString. Results are handles into the same tree.
// Thread rule: any thread; a tree is used from one thread at a time.
#pragma once

#include "time/Frames.h"
#include "xml/XMLNode.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

class QVXMLParser {
public:
    /// The texts of all matches in document order; nothing when there is no match or the query
    /// fails.
    static std::optional<std::vector<std::string>> stringValuesForQuery(std::string_view query,
                                                                        XMLNode node);
    /// The text of the first match; nothing when there is none or the query fails.
    static std::optional<std::string> stringValueForQuery(std::string_view query, XMLNode node);
    /// All matches in document order; nothing when the query fails, which is logged.
    static std::optional<std::vector<XMLNode>> nodesForQuery(std::string_view query, XMLNode node);
    /// The first match, or null.
    static XMLNode nodeForQuery(std::string_view query, XMLNode node);
    /// The matches of several queries, each node once, in order of first appearance. A query that
    /// fails is logged and left out.
    static std::vector<XMLNode> nodesFromQueries(XMLNode node,
                                                 const std::vector<std::string>& queries);
    /// The matches of one query on several nodes, one after the other, duplicates kept.
    static std::vector<XMLNode> queryNodes(const std::vector<XMLNode>& nodes,
                                           std::string_view query);

    /// The `id` attribute with percent escapes replaced.
    static std::optional<std::string> idAttributeForNode(XMLNode node);
    /// The path of a URL; nothing for nothing and for what is no URL.
    static std::optional<std::string> filenameFromPathURLString(
        const std::optional<std::string>& url);

    /// First `name` child; unless only the children count, else the first `name` below, else the
    /// `id` attribute. Percent escapes are replaced, or the whole text left raw when one of them is
    /// bad.
    static std::optional<std::string> nameForNode(XMLNode node, bool immediateChildOnly = false);
    /// The same for `uuid`, without the attribute.
    static std::optional<std::string> uuidForNode(XMLNode node, bool immediateChildOnly = false);

    /// The nearest ancestor of that name; null when an ancestor named in `limits` comes first or at
    /// the same place.
    static XMLNode parentWithName(XMLNode node, std::string_view name,
                                  const std::vector<std::string>& limits = {});
    /// The next node in document order that is not below this one; null at the end.
    static XMLNode nextSiblingForNode(XMLNode node);

    /// The items that move together with a clip: the clip, the transitions that its edges of -1 lie
    /// in and the clips on their far sides, in timeline order.
    ///   A[100,-1) x[240,260) B[-1,400)      group of A and of B: A x B, range [100,400)
    /// `rangeStart` and `rangeEnd` receive the group's outer edges in frames (the end is
    /// exclusive); where a walk runs off the track the value stays -1.
    static std::vector<XMLNode> affectedNodesForClip(XMLNode clip, Frames* rangeStart = nullptr,
                                                     Frames* rangeEnd = nullptr);

    /// Prepares text for use inside a query, in the form that XML text holds.
    /// Throws std::out_of_range for a text of less than four 16-bit units that holds an ampersand.
    static std::string escapeQueryString(std::string_view text);
};

/// Orders item nodes by timeline start: -1, 0 or 1. Both must have a `start` child with text.
int sortXMLArrayByStart(XMLNode first, XMLNode second);

}  // namespace reelsweep
