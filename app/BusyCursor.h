// BusyCursor: long work on the main thread shows itself by the cursor.
//
// Owner: the work. Thread rule: main thread.
#pragma once

#include <QCursor>
#include <QGuiApplication>

namespace reelsweep {

class BusyCursor {
public:
    BusyCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyCursor() { QGuiApplication::restoreOverrideCursor(); }
    BusyCursor(const BusyCursor&) = delete;
    BusyCursor& operator=(const BusyCursor&) = delete;
};

}  // namespace reelsweep
