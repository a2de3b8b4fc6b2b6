// Windows over very much: they stay usable while it is listed, processed and shown.
#include "app/SequenceModel.h"
#include "tests/app/AppTest.h"
#include "tests/timeline/Timeline.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QLineEdit>

namespace reelsweep::test {
namespace {

TEST_F(AppTest, ListsTenThousandSequencesAndTicksThemAll) {
    constexpr int count = 10'000;
    const std::vector<std::string> sequences(count, sequenceXML("V1: A[0,9)"));
    DocumentWindow* const window = open("many.xml", projectXML(sequences));
    ASSERT_EQ(table(window)->model()->rowCount(), count);
    auto* const model = qobject_cast<SequenceModel*>(table(window)->model());
    ASSERT_TRUE(model);
    press(window, QKeySequence("Ctrl+T"));
    EXPECT_EQ(model->selectedCount(), count);
    table(window)->selectAll();
    QTest::keyClick(table(window), Qt::Key_Space);
    EXPECT_EQ(model->selectedCount(), 0);
    EXPECT_FALSE(processButton(window)->isEnabled());
}

std::string disabledClips(int count) {
    std::string timeline = "V1:";
    for (int i = 0; i < count; ++i)
        timeline += " !C" + std::to_string(i) + "[" + std::to_string(i * 10) + "," +
                    std::to_string(i * 10 + 5) + ")";
    return sequenceXML(timeline);
}

TEST_F(AppTest, ShowsAHundredThousandChangesAndFindsOne) {
    constexpr int count = 100'000;
    DocumentWindow* const window = open("long.xml", projectXML({disabledClips(count)}));
    setOptions(window, {"removeDisabledVideoClips"});
    comesTrue([&] { return processButton(window)->isEnabled(); });
    // Events that are handled while the run is going.
    int handled = 0;
    QTimer pulse;
    QObject::connect(&pulse, &QTimer::timeout, [&] { handled += window->isRunning() ? 1 : 0; });
    pulse.start(0);
    process(window);
    pulse.stop();
    EXPECT_GT(handled, 10);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));

    const QAbstractItemModel* const model = tree(window)->model();
    const QModelIndex sequence = model->index(0, 0);
    EXPECT_EQ(model->rowCount(sequence), count);
    child<QLineEdit>(window, "changesFilter")->setText("c77777");
    ASSERT_TRUE(comesTrue([&] { return model->rowCount(model->index(0, 0)) == 1; }));
    tree(window)->selectAll();
    press(window, QKeySequence::Copy);
    EXPECT_NE(toText(QGuiApplication::clipboard()->text())
                  .find("removed\tC77777\tdisabled\tV1  777770 - 777775"),
              std::string::npos);
}

TEST_F(AppTest, KeepsTheTreeOfChangesInOrderWhileItIsFiltered) {
    DocumentWindow* const window =
        open("film.xml",
             projectXML({sequenceXML("V1: A[0,9) !B[9,20) V2: C[20,30)"), disabledClips(3)}));
    menuItem(window, "tickAll:")->trigger();
    process(window);
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    const QAbstractItemModelTester tester(tree(window)->model(),
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const struct {
        const char* filter;
        const char* totals;
    } rows[] = {{"B", "4 of 6 changes: 4 removed"},
                {"C", "6 changes: 5 removed, 1 moved"},
                {"nothing has this name", "0 of 6 changes"},
                {"COLLAPSE", "1 of 6 changes: 1 moved"}};
    for (const auto& row : rows) {
        child<QLineEdit>(window, "changesFilter")->setText(row.filter);
        const auto totals = [&] { return toText(child<QLabel>(window, "changesTotals")->text()); };
        EXPECT_TRUE(comesTrue([&] { return totals() == row.totals; }))
            << row.filter << ": " << totals();
    }
}

}  // namespace
}  // namespace reelsweep::test
