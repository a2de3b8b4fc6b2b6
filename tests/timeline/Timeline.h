// Timeline: small sequences as readable text, for tests.
//
//   V1: A[0,100) x[90,110) B[-1,200)   V2: # !C[20,40)@5:25 ~T[50,60)=Text
//
// A track starts with V1:, V2: ... or A1: ... (in the order of the file); its contents follow:
//
//   A[0,100)       a clip item named A with start 0 and end 100 (exclusive), in frames
//   ~G[0,100)      a generator item; x[90,110) (any name starting with x): a transition item
//   !A[0,100)      disabled
//   A[0,100)@5:90  with in 5 and out 90; without, clips and generators get in 0 and out end - start
//   #              a comment; e: an enabled element of the track itself; {<xml/>}: XML as it stands
//
// A time is any text, so that malformed ones can be written: "-" is no element at all, "_" a space,
// "3|7" two elements. Switches may follow an item in any number:
//
//   %60 opacity filter   ^screen composite mode   +Curl a filter with that effect   *0 audio level
//   =Text effect of a generator    &FALSE multiclip with that collapsed text    'M marker named M
//   {<xml/>} children as they stand
//
// "S:" starts what stands in the sequence itself before its media: rates, markers, as {<xml/>}.
// "F:" starts what stands in its video before the tracks: the format.
//
// Thread rule: any thread; a Timeline belongs to one thread at a time.
#pragma once

#include "xml/XMLDocument.h"
#include "xml/XMLNode.h"

#include <string>
#include <string_view>
#include <vector>

namespace reelsweep::test {

/// The text split at white space outside braces.
std::vector<std::string> timelineTokens(std::string_view notation);

/// The sequence as XML text. Throws std::invalid_argument for a text that is not in the notation.
std::string sequenceXML(std::string_view notation);
/// A whole interchange document whose project holds these sequences' XML.
std::string projectXML(const std::vector<std::string>& sequences);

/// A sequence in the same notation, with single spaces. An item is called by its id. Left out are
/// default in and out, and an item's name, duration, enabled TRUE, rate, file and sourcetrack.
std::string notation(XMLNode sequence);

/// A document with one sequence.
struct Timeline {
    explicit Timeline(std::string_view notation);

    XMLNode firstVideoTrack() const {
        return sequence.child("media").child("video").child("track");
    }

    XMLDocument document;
    XMLNode sequence;
};

}  // namespace reelsweep::test
