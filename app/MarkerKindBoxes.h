// MarkerKindBoxes: which kinds of markers are taken out of FCPXML, a check box each.
//
// The choice is kept in the user defaults, so that the next window starts with it.
// Owner: the option boxes. Thread rule: main thread.
#pragma once

#include <QWidget>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

class QCheckBox;

namespace reelsweep {

class MarkerKindBoxes final : public QWidget {
    Q_OBJECT

public:
    explicit MarkerKindBoxes(QWidget* parent = nullptr);

    /// The names of elements, as `--marker-kinds` has them.
    std::vector<std::string> kinds() const;

signals:
    void changed();

private:
    void keep();

    std::vector<std::pair<std::string_view, QCheckBox*>> boxes_;
};

}  // namespace reelsweep
