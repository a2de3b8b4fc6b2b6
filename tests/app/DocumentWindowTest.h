// What the tests of a document's window have in common: films, and the ways of a user.
#pragma once

#include "tests/app/AppTest.h"
#include "tests/cli/Program.h"
#include "tests/timeline/Timeline.h"

#include <QAbstractItemModel>

namespace reelsweep::test {

inline const char* const timeline = "V1: A[0,100) !B[100,150) V2: C[150,200)";
inline const char* const completed =
    "Processing complete: Please save the XML file.\n\n3 changes in 1 sequence.";

inline std::string film() { return projectXML({sequenceXML(timeline), sequenceXML(timeline)}); }

/// The texts of a row of the changes, or of the list of sequences.
inline std::string rowText(const QAbstractItemModel* model, const QModelIndex& row) {
    QStringList texts;
    for (int column = 0; column < model->columnCount(); ++column)
        texts += row.siblingAtColumn(column).data().toString();
    return toText(texts.join(" | "));
}

inline QDialog* progressSheet(const DocumentWindow* window) {
    return child<QDialog>(window, "windowProgress");
}

inline void startLongRun(DocumentWindow* window) {
    window->selectAllSequences(true);
    window->process();
    ASSERT_TRUE(comesTrue([&] { return progressSheet(window)->isVisible(); }));
}

/// Answers the panel on the screen with a file.
inline void choose(const DocumentWindow* window, const std::string& path) {
    auto* const panel = window->findChild<QFileDialog*>();
    ASSERT_TRUE(panel);
    panel->selectFile(toQString(path));
    QMetaObject::invokeMethod(panel, "accept");
    QTest::qWait(0);  // it goes when events are handled
}

inline std::size_t timesIn(const std::string& text, const std::string& part) {
    std::size_t times = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++times;
    return times;
}

inline std::string cut(const std::string& notation = timeline) {
    return "<xmeml version=\"5\">" + sequenceXML(notation) + "</xmeml>";
}

}  // namespace reelsweep::test
