#include "app/PreferencesWindow.h"

#include "app/Text.h"
#include "platform/Platform.h"
#include "services/QVLog.h"
#include "services/QVQC.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QListView>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

#include <algorithm>

namespace reelsweep {

namespace {

constexpr const char* exclusionsKey = "ignoredFilters";
constexpr const char* openPanelKey = "showOpenDialogAtStartup";

}  // namespace

FilterExclusions::FilterExclusions(QObject* parent) : QStringListModel(parent) {
    QStringList names;
    for (const std::string& name :
         Platform::current().userDefaults->stringArrayForKey(exclusionsKey))
        names += toQString(name);
    setStringList(names);
}

QModelIndex FilterExclusions::add() {
    const int row = rowCount();
    insertRow(row);
    // An item without any text has no height, and its editor none either.
    setData(index(row), QStringLiteral(""), Qt::EditRole);
    store();
    return index(row);
}

void FilterExclusions::remove(const QModelIndexList& rows) {
    if (rows.isEmpty()) return;
    std::vector<int> numbers;
    for (const QModelIndex& row : rows) numbers.push_back(row.row());
    std::sort(numbers.rbegin(), numbers.rend());
    for (const int number : numbers) removeRow(number);
    store();
}

bool FilterExclusions::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!QStringListModel::setData(index, value, role)) return false;
    store();
    return true;
}

void FilterExclusions::store() const {
    PropertyList::Array array;
    for (const QString& name : stringList()) array.emplace_back(toText(name));
    if (const auto error = Platform::current().userDefaults->setObject(exclusionsKey, array))
        QVLog::appendLog("Unable to store the filter exclusions - %@", error.message());
}

PreferencesWindow::PreferencesWindow()
    : exclusions_(new FilterExclusions(this)),
      list_(new QListView),
      removeButton_(new QPushButton(tr("&Remove"))),
      logging_(new QCheckBox(tr("Send anonymous &usage data"))) {
    setObjectName(QStringLiteral("preferencesWindow"));
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_QuitOnClose, false);
    setWindowTitle(tr("Preferences"));

    auto* const openPanel = new QCheckBox(tr("Ask for &files when the application starts"));
    openPanel->setObjectName(QStringLiteral("openPanelCheckBox"));
    openPanel->setChecked(Platform::current().userDefaults->integerForKey(openPanelKey) == 1);
    connect(openPanel, &QCheckBox::toggled, this, [](bool on) {
        Platform::current().userDefaults->setObject(openPanelKey, PropertyList(on ? 1 : 0));
    });
    logging_->setObjectName(QStringLiteral("usageLoggingCheckBox"));
    logging_->setChecked(QVQC::sharedController().reloadAnswer());
    connect(logging_, &QCheckBox::toggled, this, &PreferencesWindow::prefsToggleQCLogging);

    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(makeExclusions(), 1);
    layout->addWidget(openPanel);
    layout->addWidget(logging_);
    auto* const escape = new QShortcut(Qt::Key_Escape, this);
    connect(escape, &QShortcut::activated, this, &QWidget::close);
    resize(fontMetrics().averageCharWidth() * 64, fontMetrics().height() * 22);
}

QWidget* PreferencesWindow::makeExclusions() {
    auto* const box = new QGroupBox(tr("Filter exclusions"));
    list_->setObjectName(QStringLiteral("exclusionsList"));
    list_->setAccessibleName(box->title());
    list_->setModel(exclusions_);
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    auto* const addButton = new QPushButton(tr("&Add"));
    addButton->setObjectName(QStringLiteral("addExclusionBtn"));
    removeButton_->setObjectName(QStringLiteral("removeExclusionBtn"));
    removeButton_->setEnabled(false);
    connect(addButton, &QPushButton::clicked, this, &PreferencesWindow::prefsAddFilterExclusion);
    connect(removeButton_, &QPushButton::clicked, this,
            &PreferencesWindow::prefsRemoveFilterExclusion);
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { removeButton_->setEnabled(list_->selectionModel()->hasSelection()); });

    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(addButton);
    buttons->addWidget(removeButton_);
    buttons->addStretch();
    auto* const layout = new QVBoxLayout(box);
    layout->addWidget(list_);
    layout->addLayout(buttons);
    return box;
}

void PreferencesWindow::prefsAddFilterExclusion() {
    const QModelIndex added = exclusions_->add();
    list_->setCurrentIndex(added);
    list_->edit(added);
}

void PreferencesWindow::prefsRemoveFilterExclusion() {
    exclusions_->remove(list_->selectionModel()->selectedRows());
}

void PreferencesWindow::prefsToggleQCLogging(bool on) {
    QVQC::sharedController().toggleQCLogging(on);
}

}  // namespace reelsweep
