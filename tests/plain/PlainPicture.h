// The plain picture: what a viewer sees and hears at each single frame, worked out by looking at
// every item of every track, frame after frame.
//
// No intervals, no sorting, no sharing: the oracle for the product's run-length coded picture. Slow
// on purpose. Only xml/ and the reading of numbers are shared with the product.
// Thread rule: one tree belongs to one thread at a time.
#pragma once

#include "time/Frames.h"
#include "xml/XMLNode.h"

#include <string>
#include <vector>

namespace reelsweep::test {

/// One text a frame for the frames [first, end): all that is seen from the top down to the first
/// clip that certainly covers, or all that is heard, in alphabetical order. Empty is black, silent.
/// `document` holds the definitions that the sequence refers to.
std::vector<std::string> plainPicture(XMLNode document, XMLNode sequence, int first, int end);
std::vector<std::string> plainSound(XMLNode document, XMLNode sequence, int first, int end);

/// What a clip shows or plays, without its source frame: media, speed, filters and modes.
std::string plainLook(XMLNode document, XMLNode item, bool isVideo);
/// Its source frame, where that matters, and what a nested sequence shows there.
std::string plainSource(XMLNode document, XMLNode item, bool isVideo, bool hasPlace, Frames source);
/// The transition as the two sides know it.
std::string plainTransition(XMLNode transition);
/// One picture that stands still: its source frame does not matter.
bool plainStandsStill(XMLNode document, XMLNode item, bool isVideo);

}  // namespace reelsweep::test
