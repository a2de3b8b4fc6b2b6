#include "platform/qt/WindowRefs.h"

#include <QPointer>
#include <QWidget>

#include <map>

namespace reelsweep {

namespace {

std::map<std::uintptr_t, QPointer<QWidget>>& windows() {
    static std::map<std::uintptr_t, QPointer<QWidget>> all;
    return all;
}

}  // namespace

WindowRef windowRef(QWidget* window) {
    static std::uintptr_t last = 0;
    if (!window) return {};
    std::erase_if(windows(), [](const auto& entry) { return entry.second.isNull(); });
    for (const auto& [id, known] : windows())
        if (known == window) return {id};
    windows()[++last] = window;
    return {last};
}

QWidget* windowOf(WindowRef reference) {
    const auto found = windows().find(reference.id);
    return found == windows().end() ? nullptr : found->second.data();
}

}  // namespace reelsweep
