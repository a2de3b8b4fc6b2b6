// showViewAlert: an alert of a document, as its view wants it.
//
// Thread rule: any thread; the view is asked on the main thread.
#pragma once

#include "platform/AlertPresenter.h"

#include <string>

namespace reelsweep {

class DocumentView;

/// Shows an alert on the view's window and waits until it is answered.
void showViewAlert(DocumentView& view, const std::string& message, const std::string& informative,
                   AlertStyle style);

}  // namespace reelsweep
