// OptionBoxes: the check boxes of a run's options, one for each pass, with their stored states.
//
// A box is called after its option, "removeFiltersCheckBox". Its state is kept in the user
// defaults, so that the next window starts with it.
// Owner: the window. Thread rule: main thread.
#pragma once

#include "tidy/PassTable.h"

#include <string>
#include <string_view>
#include <vector>

class QCheckBox;
class QLayout;

namespace reelsweep {

class OptionBoxes {
public:
    enum class For { xmeml, fcpxml };

    /// Puts the boxes into the layout, in the order of a run.
    OptionBoxes(QLayout& layout, For format);

    /// The options whose boxes are on, in the order of a run.
    OptionList checkedOptions() const;

    /// The user-defaults key that keeps the state of an option's box.
    static std::string defaultsKey(std::string_view option);
    /// Registers the states of a new installation.
    static void registerDefaults();

private:
    struct Box {
        std::string_view option;
        QCheckBox* box;
    };
    std::vector<Box> boxes_;
};

}  // namespace reelsweep
