// Every window as a screen reader has it: what can be used has a name.
#include "app/PreferencesWindow.h"
#include "app/StartWindow.h"
#include "app/UnsavedDialog.h"
#include "tests/app/AppTest.h"
#include "tests/timeline/Timeline.h"

#include <QAccessible>

#include <set>

namespace reelsweep::test {
namespace {

bool isControl(QAccessible::Role role) {
    static const std::set<QAccessible::Role> controls = {
        QAccessible::PushButton, QAccessible::CheckBox,     QAccessible::RadioButton,
        QAccessible::ComboBox,   QAccessible::EditableText, QAccessible::List,
        QAccessible::Table,      QAccessible::Tree,         QAccessible::PageTab,
        QAccessible::MenuItem,   QAccessible::ProgressBar,  QAccessible::ButtonMenu,
        QAccessible::SpinBox,    QAccessible::Slider};
    return controls.contains(role);
}

/// The paths of the controls below that have no name; `controls` counts all of them.
void findNameless(QAccessibleInterface* item, const QString& path, QStringList& nameless,
                  int& controls) {
    if (!item || !item->isValid() || item->state().invisible) return;
    const QString name = item->text(QAccessible::Name);
    const QString here =
        path + '/' + (name.isEmpty() ? QString::number(item->role(), 16) : name.left(20));
    if (isControl(item->role())) {
        ++controls;
        if (name.isEmpty())
            nameless += here + (item->object() ? ' ' + item->object()->objectName() + ' ' +
                                                     item->object()->metaObject()->className()
                                               : QString());
    }
    // A text field is one control, whatever Qt puts into it.
    if (item->role() == QAccessible::EditableText) return;
    for (int i = 0; i < item->childCount(); ++i)
        findNameless(item->child(i), here, nameless, controls);
}

void expectNames(QWidget* window, int least = 1) {
    ASSERT_TRUE(window);
    QStringList nameless;
    int controls = 0;
    findNameless(QAccessible::queryAccessibleInterface(window), window->windowTitle(), nameless,
                 controls);
    EXPECT_GE(controls, least) << toText(window->windowTitle());
    EXPECT_EQ(toText(nameless.join('\n')), "") << toText(window->windowTitle());
}

TEST_F(AppTest, NamesEveryControlOfEveryWindow) {
    controller.applicationDidFinishLaunching({});
    expectNames(shown<StartWindow>());
    DocumentWindow* const window =
        open("film.xml", "<xmeml version=\"5\">" +
                             sequenceXML("V1: A[0,100) !B[100,150) V2: C[150,200)") + "</xmeml>");
    ASSERT_TRUE(window);
    expectNames(window);
    auto* const progress = window->findChild<ProgressSheet*>("windowProgress");
    progress->begin();
    expectNames(progress);
    progress->end();
    process(window);
    expectNames(shownAlert());
    EXPECT_TRUE(answerAlert("Not Now"));
    ASSERT_TRUE(ends(window));
    expectNames(window);
    menuItem(window, "terminate:")->trigger();
    auto* const unsaved = shown<UnsavedDialog>();
    expectNames(unsaved);
    unsaved->reject();
    DocumentWindow* const fcpx =
        open("film.fcpxml", "<fcpxml><project><sequence/></project></fcpxml>");
    expectNames(fcpx);
    controller.showPreferences();
    expectNames(shown<PreferencesWindow>());
    controller.showAboutDialog();
    expectNames(shown<QWidget>("QVAbout"), 0);
    controller.openFCPProject();
    expectNames(shown<QDialog>("QVFCPProjectLoader"));
}

}  // namespace
}  // namespace reelsweep::test
