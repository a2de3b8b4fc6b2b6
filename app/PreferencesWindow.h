// PreferencesWindow: the filter exclusion list, the usage-logging switch, what happens at the
// start.
//
// Owner: AppController. Thread rule: main thread.
#pragma once

#include <QStringListModel>
#include <QWidget>

class QCheckBox;
class QListView;
class QPushButton;

namespace reelsweep {

/// The user default "ignoredFilters" as a list whose items can be edited in place.
class FilterExclusions final : public QStringListModel {
    Q_OBJECT

public:
    explicit FilterExclusions(QObject* parent);

    /// Adds an empty exclusion at the end and answers its index.
    QModelIndex add();
    void remove(const QModelIndexList& rows);
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

private:
    void store() const;
};

class PreferencesWindow final : public QWidget {
    Q_OBJECT

public:
    PreferencesWindow();

    /// Adds an empty exclusion and starts editing it.
    void prefsAddFilterExclusion();
    /// Removes the selected exclusions.
    void prefsRemoveFilterExclusion();
    /// Stores whether usage may be logged.
    void prefsToggleQCLogging(bool on);

private:
    QWidget* makeExclusions();

    FilterExclusions* exclusions_;
    QListView* list_;
    QPushButton* removeButton_;
    QCheckBox* logging_;
};

}  // namespace reelsweep
