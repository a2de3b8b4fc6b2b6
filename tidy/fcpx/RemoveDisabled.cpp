// Takes disabled clips out of storylines, lanes and auditions.
//
//   storyline   [aa][!b][cc]     ->   [aa][--][cc]      a gap of the same length
//   connected    |   |t                 |   |t          what hangs on the clip hangs on the gap
#include "tidy/FCPXPasses.h"
#include "tidy/fcpx/FCPXVocabulary.h"

#include <algorithm>
#include <array>

namespace reelsweep::fcpx {

namespace {

constexpr const char* why = "disabled";

std::vector<XMLNode> connectedTo(XMLNode clip) {
    std::vector<XMLNode> found;
    for (XMLNode node = clip.firstChild(); node; node = node.nextSibling())
        if (node.isElement() && isConnected(node)) found.push_back(node);
    return found;
}

// The choices of an audition; the first one shows.
std::vector<XMLNode> choicesOf(XMLNode audition) {
    std::vector<XMLNode> choices;
    for (XMLNode node = audition.firstChild(); node; node = node.nextSibling())
        if (isStoryItem(node)) choices.push_back(node);
    return choices;
}

class Remover {
public:
    explicit Remover(FCPXRun& run) : run_(run), resources_(run.document()) {}

    void remove(XMLNode clip) {
        if (isInStoryline(clip))
            replaceByGap(clip, clip);
        else if (isConnected(clip))
            removeConnected(clip);
    }

    // An audition with an enabled choice stays: a choice that is off and shows stays with it, since
    // another one would show in its place.
    void removeFrom(XMLNode audition) {
        const std::vector<XMLNode> choices = choicesOf(audition);
        if (choices.empty() || std::none_of(choices.begin(), choices.end(), isDisabled)) return;
        if (std::all_of(choices.begin(), choices.end(), isDisabled)) {
            if (isInStoryline(audition))
                replaceByGap(audition, choices.front());
            else if (isConnected(audition))
                removeConnected(audition);
            return;
        }
        if (isDisabled(choices.front()))
            run_.edit.noteKept(choices.front(),
                               "it is what its audition shows, and other choices are enabled");
        for (std::size_t i = 1; i < choices.size(); ++i)
            if (isDisabled(choices[i])) run_.edit.detach(choices[i], why);
    }

private:
    void removeConnected(XMLNode clip) {
        for (const XMLNode other : connectedTo(clip))
            if (!isDisabled(other)) {
                run_.edit.noteKept(clip, "what is connected to it is enabled");
                return;
            }
        run_.edit.detach(clip, why);
    }

    // `timed` says how long the gap is: the clip itself, or the choice of an audition that shows.
    void replaceByGap(XMLNode clip, XMLNode timed) {
        const std::string duration = durationOf(timed);
        if (duration.empty()) {
            run_.edit.noteKept(clip, "nothing says how long it is");
            return;
        }
        const auto gap = run_.document().parseDetached("<gap name=\"Gap\"/>");
        if (!gap) return;
        XMLNode made = *gap;
        if (const auto offset = clip.attribute("offset")) made.setAttribute("offset", *offset);
        if (const std::string start = startOf(timed); !start.empty())
            made.setAttribute("start", start);
        made.setAttribute("duration", duration);
        // They count their places in the time of what they hang on, which the gap has taken over.
        for (const XMLNode connected : connectedTo(timed)) made.appendChild(connected);
        run_.edit.replace(clip, made, why);
    }

    // What a clip plays, when that says how long the clip is without a duration of its own.
    XMLNode mediaOf(XMLNode clip) const {
        const XMLNode resource = resources_.find(clip.attribute("ref").value_or(""));
        if (resource.isElement("asset")) return resource;
        return resource.isElement("media") ? resource.child("sequence") : XMLNode();
    }

    std::string durationOf(XMLNode clip) const {
        if (clip.attribute("duration")) return std::string(*clip.attribute("duration"));
        return std::string(mediaOf(clip).attribute("duration").value_or(""));
    }

    std::string startOf(XMLNode clip) const {
        if (clip.attribute("start")) return std::string(*clip.attribute("start"));
        const XMLNode media = mediaOf(clip);
        return std::string(
            media.attribute(media.isElement("asset") ? "start" : "tcStart").value_or(""));
    }

    FCPXRun& run_;
    Resources resources_;
};

}  // namespace

Outcome fcpxRemoveDisabled(FCPXRun& run) {
    Remover remover(run);
    std::vector<XMLNode> items;
    run.document().forEachDescendant({}, [&](XMLNode element) {
        if (element.isElement("audition") || (isStoryItem(element) && isDisabled(element)))
            items.push_back(element);
    });
    // From the inside out: a clip that loses all that hangs on it may go then.
    std::reverse(items.begin(), items.end());
    for (const XMLNode item : items) {
        if (run.stop.stop_requested()) return stopped();
        if (!item.parent()) continue;
        if (item.isElement("audition"))
            remover.removeFrom(item);
        else if (!item.parent().isElement("audition"))
            remover.remove(item);
    }
    return Done{};
}

}  // namespace reelsweep::fcpx
