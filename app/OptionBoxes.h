// OptionBoxes: the check boxes of a run in groups, one for each pass, and presets of them.
//
// A box is called after its option, "removeFiltersCheckBox". Its state is kept in the user
// defaults, so that the next window starts with it. So are the presets that the user made.
// Owner: the window. Thread rule: main thread.
#pragma once

#include "tidy/PassTable.h"
#include "tidy/TidyRules.h"

#include <QWidget>

#include <map>
#include <string>
#include <string_view>
#include <vector>

class QCheckBox;
class QComboBox;
class QPushButton;
class QVBoxLayout;

namespace reelsweep {

class MarkerKindBoxes;

class OptionBoxes final : public QWidget {
    Q_OBJECT

public:
    enum class For { xmeml, fcpxml };

    explicit OptionBoxes(For format, QWidget* parent = nullptr);

    /// The options whose boxes are on, in the order of a run.
    OptionList checkedOptions() const;
    /// Ticks "Keep the picture".
    void keepPicture();
    /// Whether a run keeps back what would change the picture, and makes its copies import.
    bool keepsPicture() const;
    bool importsSafely() const;
    /// The kinds of markers that fcpxRemoveMarkers is to take out.
    std::vector<std::string> markerKinds() const;
    /// Shows beside each ticked option how many changes it makes; nothing for null.
    void showCounts(const std::map<std::string_view, std::size_t>* counts);
    void setCheckedOptions(const OptionList& options);
    /// Greys an option that cannot do anything here; it does not count as ticked then.
    void setAvailable(std::string_view option, bool available);

    /// Keeps the choice of the moment under a name; one of that name that the user made is
    /// replaced. The names of the built-in ones are refused.
    bool savePreset(const QString& name);
    void removePreset(const QString& name);
    /// The rules that a preset is saved with.
    void setRules(const TidyRules& rules);

    /// The user-defaults key that keeps the state of an option's box.
    static std::string defaultsKey(std::string_view option);
    /// Registers the states of a new installation.
    static void registerDefaults();

signals:
    void changed();
    /// A preset with rules of its own was chosen.
    void rulesChosen(const reelsweep::TidyRules& rules);

private:
    struct Box {
        std::string_view option;
        QString title;
        QCheckBox* box;
        QWidget* sentence;
        bool isAvailable = true;
    };

    void addPresets(QVBoxLayout& layout);
    QVBoxLayout* addFrame(QVBoxLayout& layout, const QString& title);
    void addGroup(QVBoxLayout& layout, const QString& title,
                  const std::vector<std::string_view>& options);
    void addTheOthers(QVBoxLayout& layout);
    void addCare(QVBoxLayout& layout);
    void addGroupsOfXMEML(QVBoxLayout& layout);
    void addGroupsOfFCPXML(QVBoxLayout& layout);
    Box addBox(QVBoxLayout& rows, std::string_view option, const QString& title,
               const QString& sentence);
    void boxToggled();
    void fillPresets();
    void showPreset();
    void askForName();

    For format_;
    std::vector<Box> boxes_;            ///< of the passes
    QCheckBox* keepPicture_ = nullptr;  ///< null where it does not apply
    QCheckBox* importSafe_ = nullptr;
    MarkerKindBoxes* markerKinds_ = nullptr;  ///< the same
    TidyRules rules_;
    QComboBox* presets_ = nullptr;  ///< null where there are too few options for it
    QPushButton* remove_ = nullptr;
};

}  // namespace reelsweep
