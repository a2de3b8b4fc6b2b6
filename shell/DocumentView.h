// DocumentView: what a document needs of its window. The command line has one without a window.
//
// Owner: the program; it outlives the document. Thread rule: the document calls every function on
// the main thread.
#pragma once

#include "platform/AlertPresenter.h"

#include <cstddef>
#include <string>

namespace reelsweep {

class DocumentView {
public:
    virtual ~DocumentView() = default;

    /// Shows the progress sheet unless it is up already.
    virtual void startProgress() = 0;
    virtual void endProgress() = 0;
    virtual void setProgressLabelText(const std::string& text) = 0;
    /// The sequence of that title is begun; the position counts from 1.
    virtual void setProgressSequence(const std::string& title, std::size_t position,
                                     std::size_t count) {
        (void)title, (void)position, (void)count;
    }
    /// The list of sequences was replaced.
    virtual void reloadTable() = 0;
    virtual void enableProcessButton(bool enabled) = 0;
    /// The document has changes to save.
    virtual void markChanged() = 0;
    /// The window that alerts attach to; may be null.
    virtual WindowRef window() = 0;

    /// An alert of the run is about to be shown. The view may add to its informative text and name
    /// its buttons; the message stays.
    virtual void prepareAlert(AlertRequest&) {}
    /// That alert was answered with the return code of a button. The run goes on after this.
    virtual void alertAnswered(long) {}
};

}  // namespace reelsweep
