// QVAppleEvents: everything that this program says to Final Cut Pro, and what it knows of it.
//
// Class operations without state over the AppleEventTransport port. An operation sends its events
// and waits for each reply; it never throws. What goes wrong is said on the system console.
//
// A project is named by the path of its file; an empty path is none. A project that no reference
// can be made to, because no file is there, is left out of the event, and with it what else the
// event would carry (an import still carries its XML). "Launch" means that Final Cut Pro may be
// started and the project be opened in it. Data is bytes.
// Thread rule: any thread. The call returns when the replies are there; on the main thread events
// and queued work are handled meanwhile, so a window that calls must be ready for them.
#pragma once

#include "xml/XMLDocument.h"

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace reelsweep {

/// The `sequence` elements that a host listed, and the document that they belong to.
struct SequenceListing {
    std::shared_ptr<XMLDocument> document;
    std::vector<XMLNode> sequences;
};

class QVAppleEvents {
public:
    using Data = std::string;

    static constexpr const char* finalCutProIdentifier = "com.apple.FinalCutPro";

    /// While it lives, a stop that is requested ends the waits of the events that this thread
    /// sends; each operation then fails as if there had been no answer. The innermost one counts.
    /// Owner: the stack of its thread.
    class Stoppable {
    public:
        explicit Stoppable(std::stop_token stop);
        ~Stoppable();
        Stoppable(const Stoppable&) = delete;
        Stoppable& operator=(const Stoppable&) = delete;

    private:
        std::stop_token outer_;
    };

    static bool isFCPRunning();

    /// The paths of the open projects in Final Cut Pro's order. Nothing when it does not run; no
    /// paths when the event failed.
    static std::optional<std::vector<std::string>> listOfOpenFCPProjects();
    /// The same, and a failure when Final Cut Pro does not run or the event failed.
    static Result<std::vector<std::string>> openFCPProjects();
    /// Whether the project is among them, under this name of its file or another.
    static bool isProjectOpen(const std::string& projectPath);
    /// Whether a path is among others, under this name of its file or another.
    static bool isAmong(const std::vector<std::string>& paths, const std::string& path);

    /// Imports interchange XML into the project, or into the one in front without a path. True when
    /// Final Cut Pro took the event. Waits up to 10 minutes.
    static bool sendXMLToFCP(std::string_view xml, const std::string& projectPath);

    /// The whole project as XML. With closeProject, a project that was opened for this is saved and
    /// closed again.
    static std::optional<std::string> getProjectXML(const std::string& projectPath,
                                                    bool launchFCP = false,
                                                    bool closeProject = false);
    static std::optional<Data> getProjectXMLData(const std::string& projectPath, bool launchFCP,
                                                 bool closeProject = false);
    /// One item of the project as XML. The text form never closes the project.
    static std::optional<std::string> getItemXML(const std::string& item,
                                                 const std::string& projectPath,
                                                 bool launchFCP = false, bool closeProject = false);
    static std::optional<Data> getItemXMLData(const std::string& item,
                                              const std::string& projectPath, bool launchFCP,
                                              bool closeProject = false);
    /// The project with its bins and a short form of each item.
    static std::optional<std::string> getTOC(const std::string& projectPath,
                                             bool launchFCP = false);
    static std::optional<Data> getTOCData(const std::string& projectPath, bool launchFCP);

    /// Every sequence of the project that has a name: short forms from Final Cut Pro 7 on, whole
    /// ones before. Nothing when they could not be had.
    static std::optional<SequenceListing> sequencesInProject(const std::string& projectPath,
                                                             bool launchFCP = true);

    /// Opens an item in Final Cut Pro's window.
    static void openItem(const std::string& item, const std::string& projectPath, bool launchFCP);
    static bool saveProject(const std::string& projectPath);
    static void closeProject(const std::string& projectPath, bool saveChanges);

    /// A new UUID in canonical upper-case form.
    static std::string generateUUID();

    /// The version of the installed Final Cut Pro; "7.0" when none is found.
    static std::string finalCutProVersionString();
    /// Its first digit as a number; 7 for an empty version.
    static int finalCutProMajorVersion();
    /// The highest XMEML version that it reads, 1 to 5.
    /// Throws std::out_of_range for a version of one part, such as "7".
    static int maximumXMEMLVersion();

    /// Replaces carriage returns, and every 16-bit unit from 160 on, by character references.
    static std::string escapeCharactersInXMLString(std::string_view text);
    /// The data without the one NUL byte that replies may end with.
    static Data formatData(Data data);
};

}  // namespace reelsweep
