// RulesPage: what runs leave alone, as sentences with blanks to fill in.
//
// The rules are kept in the preferences, so that every window begins with them.
// Owner: the window. Thread rule: main thread.
#pragma once

#include "tidy/TidyRules.h"

#include <QWidget>

#include <array>
#include <string_view>
#include <vector>

class QGridLayout;
class QLineEdit;
class QVBoxLayout;

namespace reelsweep {

class RulesPage final : public QWidget {
    Q_OBJECT

public:
    explicit RulesPage(QWidget* parent = nullptr);
    /// Keeps what was typed last.
    ~RulesPage() override;

    TidyRules rules() const;
    /// Fills the blanks in, and keeps the rules.
    void setRules(const TidyRules& rules);

signals:
    void changed();

private:
    struct Blank {
        const RuleRow* row;
        QLineEdit* edit;
    };

    QGridLayout* addGroup(QVBoxLayout& layout, const QString& title);
    void addSentence(QGridLayout& group, std::string_view key, const QString& before,
                     const QString& after, const QString& example);
    void keep();

    enum Column { beforeColumn, editColumn, afterColumn, columns };

    std::vector<Blank> blanks_;
    std::vector<QGridLayout*> groups_;
    std::array<int, columns> widths_{};  ///< of the widest text in each
    TidyRules kept_;
};

}  // namespace reelsweep
