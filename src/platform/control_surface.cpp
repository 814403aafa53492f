#include "platform/control_surface.h"

#include <algorithm>

#include "base/text.h"
#include "platform/list_order.h"

namespace fmconv::platform {

ControlSurface::ControlSurface(DialogTemplate dialogTemplate)
    : template_(std::move(dialogTemplate)) {
    std::size_t order = 0;
    for (const ControlSpec& line : template_.controls) {
        ++order;
        if (line.id < 0) continue;
        Control& c = controls_[line.id];
        c.state.id = line.id;
        c.state.kind = line.kind;
        c.state.text = line.caption;
        c.state.visible = (line.style & kStyleHidden) == 0;
        c.style = line.style;
        c.order = order;
    }
}

ControlSurface::Control* ControlSurface::Find(int id) {
    auto it = controls_.find(id);
    return it == controls_.end() ? nullptr : &it->second;
}

const ControlSurface::Control* ControlSurface::Find(int id) const {
    auto it = controls_.find(id);
    return it == controls_.end() ? nullptr : &it->second;
}

void ControlSurface::Announce(int id) {
    std::vector<Listener> listeners;
    {
        std::lock_guard lock(listenerMutex_);
        for (const auto& [token, listener] : listeners_) listeners.push_back(listener);
    }
    for (const Listener& listener : listeners) listener(id);
}

int ControlSurface::Subscribe(Listener listener) {
    std::lock_guard lock(listenerMutex_);
    listeners_[nextToken_] = std::move(listener);
    return nextToken_++;
}

void ControlSurface::Unsubscribe(int token) {
    std::lock_guard lock(listenerMutex_);
    listeners_.erase(token);
}

bool ControlSurface::Has(int id) const {
    std::lock_guard lock(mutex_);
    return Find(id) != nullptr;
}

ControlKind ControlSurface::Kind(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c ? c->state.kind : ControlKind::kStatic;
}

std::vector<int> ControlSurface::Ids() const {
    std::lock_guard lock(mutex_);
    std::vector<int> ids;
    for (const auto& [id, control] : controls_) ids.push_back(id);
    return ids;
}

ControlState ControlSurface::State(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c ? c->state : ControlState{};
}

std::string ControlSurface::Text(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c ? c->state.text : std::string();
}

bool ControlSurface::Checked(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c && c->state.checked;
}

bool ControlSurface::Enabled(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c && c->state.enabled;
}

bool ControlSurface::Visible(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c && c->state.visible;
}

void ControlSurface::SetText(int id, std::string text) {
    Mutate(id, [&](Control* c) {
        const bool changed = c->state.text != text;
        c->state.text = std::move(text);
        return changed;
    });
}

void ControlSurface::SetChecked(int id, bool checked) {
    Mutate(id, [&](Control* c) {
        const bool changed = c->state.checked != checked;
        c->state.checked = checked;
        return changed;
    });
}

void ControlSurface::SetEnabled(int id, bool enabled) {
    Mutate(id, [&](Control* c) {
        const bool changed = c->state.enabled != enabled;
        c->state.enabled = enabled;
        return changed;
    });
}

void ControlSurface::SetVisible(int id, bool visible) {
    Mutate(id, [&](Control* c) {
        const bool changed = c->state.visible != visible;
        c->state.visible = visible;
        return changed;
    });
}

std::vector<int> ControlSurface::RadioGroup(int id) const {
    std::lock_guard lock(mutex_);
    std::vector<int> group;
    const Control* self = Find(id);
    if (!self || self->state.kind != ControlKind::kRadio) return group;
    // The group runs from the nearest line at or before the control that
    // starts a group to the line before the next one that does.
    const auto& lines = template_.controls;
    std::size_t start = self->order - 1;
    while (start > 0 && (lines[start].style & kStyleGroup) == 0) --start;
    for (std::size_t i = start; i < lines.size(); ++i) {
        if (i > start && (lines[i].style & kStyleGroup) != 0) break;
        if (lines[i].kind == ControlKind::kRadio && lines[i].id >= 0) group.push_back(lines[i].id);
    }
    return group;
}

void ControlSurface::ApplyClick(int id) {
    const ControlKind kind = Kind(id);
    if (kind == ControlKind::kRadio) {
        for (int other : RadioGroup(id)) {
            if (other != id) SetChecked(other, false);
        }
        SetChecked(id, true);
    } else if (kind == ControlKind::kCheckBox) {
        SetChecked(id, !Checked(id));
    }
}

int ControlSurface::ListAdd(int id, std::string text) {
    int index = -1;
    Mutate(id, [&](Control* c) {
        bool changed = false;
        auto& items = c->state.items;
        auto& selected = c->state.selected;
        std::size_t at = items.size();
        if (c->style & kStyleSorted) {
            at = static_cast<std::size_t>(
                std::upper_bound(items.begin(), items.end(), text,
                                 [](const std::string& a, const std::string& b) {
                                     return CompareListText(a, b) < 0;
                                 }) -
                items.begin());
        }
        items.insert(items.begin() + static_cast<std::ptrdiff_t>(at), std::move(text));
        selected.insert(selected.begin() + static_cast<std::ptrdiff_t>(at), false);
        index = static_cast<int>(at);
        changed = true;
        return changed;
    });
    return index;
}

int ControlSurface::ListInsert(int id, int index, std::string text) {
    int result = -1;
    Mutate(id, [&](Control* c) {
        bool changed = false;
        auto& items = c->state.items;
        if (index >= -1 && index <= static_cast<int>(items.size())) {
            const std::size_t at = index == -1 ? items.size() : static_cast<std::size_t>(index);
            items.insert(items.begin() + static_cast<std::ptrdiff_t>(at), std::move(text));
            c->state.selected.insert(c->state.selected.begin() + static_cast<std::ptrdiff_t>(at),
                                     false);
            result = static_cast<int>(at);
            changed = true;
        }
        return changed;
    });
    return result;
}

bool ControlSurface::ListDelete(int id, int index) {
    bool deleted = false;
    Mutate(id, [&](Control* c) {
        bool changed = false;
        auto& items = c->state.items;
        if (index >= 0 && index < static_cast<int>(items.size())) {
            items.erase(items.begin() + index);
            c->state.selected.erase(c->state.selected.begin() + index);
            deleted = changed = true;
        }
        return changed;
    });
    return deleted;
}

void ControlSurface::ListReset(int id) {
    Mutate(id, [&](Control* c) {
        const bool changed = !c->state.items.empty();
        c->state.items.clear();
        c->state.selected.clear();
        return changed;
    });
}

int ControlSurface::ListCount(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c ? static_cast<int>(c->state.items.size()) : 0;
}

std::string ControlSurface::ListText(int id, int index) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    if (!c || index < 0 || index >= static_cast<int>(c->state.items.size())) return {};
    return c->state.items[static_cast<std::size_t>(index)];
}

std::vector<std::string> ControlSurface::ListItems(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c ? c->state.items : std::vector<std::string>{};
}

void ControlSurface::ListSetSelected(int id, int index, bool selected) {
    Mutate(id, [&](Control* c) {
        bool changed = false;
        auto& flags = c->state.selected;
        if ((c->style & kStyleNoSel) == 0) {
            if (index == -1) {
                for (std::size_t i = 0; i < flags.size(); ++i) {
                    changed = changed || flags[i] != selected;
                    flags[i] = selected;
                }
            } else if (index >= 0 && index < static_cast<int>(flags.size())) {
                changed = flags[static_cast<std::size_t>(index)] != selected;
                flags[static_cast<std::size_t>(index)] = selected;
            }
        }
        return changed;
    });
}

void ControlSurface::ListSetSelection(int id, const std::vector<int>& indexes) {
    Mutate(id, [&](Control* c) {
        bool changed = false;
        auto& flags = c->state.selected;
        if ((c->style & kStyleNoSel) == 0) {
            std::vector<bool> wanted(flags.size(), false);
            for (int i : indexes) {
                if (i >= 0 && i < static_cast<int>(wanted.size()))
                    wanted[static_cast<std::size_t>(i)] = true;
            }
            changed = wanted != flags;
            flags = std::move(wanted);
        }
        return changed;
    });
}

int ControlSurface::ListSelCount(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c ? static_cast<int>(
                   std::count(c->state.selected.begin(), c->state.selected.end(), true))
             : 0;
}

std::vector<int> ControlSurface::ListSelection(int id, std::size_t maxCount) const {
    std::lock_guard lock(mutex_);
    std::vector<int> indexes;
    const Control* c = Find(id);
    if (!c) return indexes;
    for (std::size_t i = 0; i < c->state.selected.size() && indexes.size() < maxCount; ++i) {
        if (c->state.selected[i]) indexes.push_back(static_cast<int>(i));
    }
    return indexes;
}

int ControlSurface::ListSelectString(int id, std::string_view prefix) {
    int found = -1;
    Mutate(id, [&](Control* c) {
        bool changed = false;
        const auto& items = c->state.items;
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (items[i].size() >= prefix.size() &&
                EqualsIgnoreCase(std::string_view(items[i]).substr(0, prefix.size()), prefix)) {
                found = static_cast<int>(i);
                break;
            }
        }
        if (found >= 0 && (c->style & kStyleNoSel) == 0) {
            auto& flags = c->state.selected;
            for (std::size_t i = 0; i < flags.size(); ++i)
                flags[i] = i == static_cast<std::size_t>(found);
            changed = true;
        }
        return changed;
    });
    return found;
}

void ControlSurface::ProgressSetRange(int id, int lower, int upper) {
    Mutate(id, [&](Control* c) {
        const bool changed = c->state.lower != lower || c->state.upper != upper;
        c->state.lower = lower;
        c->state.upper = upper;
        return changed;
    });
}

void ControlSurface::ProgressSetPos(int id, int position) {
    Mutate(id, [&](Control* c) {
        const bool changed = c->state.position != position;
        c->state.position = position;
        return changed;
    });
}

void ControlSurface::TabInsert(int id, int index, std::string label) {
    Mutate(id, [&](Control* c) {
        bool changed = false;
        auto& tabs = c->state.tabs;
        const std::size_t at = index < 0 || index > static_cast<int>(tabs.size())
                                   ? tabs.size()
                                   : static_cast<std::size_t>(index);
        tabs.insert(tabs.begin() + static_cast<std::ptrdiff_t>(at), std::move(label));
        if (c->state.currentTab < 0) c->state.currentTab = 0;
        changed = true;
        return changed;
    });
}

void ControlSurface::TabSetCurrent(int id, int index) {
    Mutate(id, [&](Control* c) {
        bool changed = false;
        if (index >= 0 && index < static_cast<int>(c->state.tabs.size())) {
            changed = c->state.currentTab != index;
            c->state.currentTab = index;
        }
        return changed;
    });
}

int ControlSurface::TabCurrent(int id) const {
    std::lock_guard lock(mutex_);
    const Control* c = Find(id);
    return c ? c->state.currentTab : -1;
}

void ControlSurface::AppendSystemMenuItem(MenuItem item) {
    {
        std::lock_guard lock(mutex_);
        systemMenu_.push_back(std::move(item));
    }
    Announce(0);
}

std::vector<MenuItem> ControlSurface::SystemMenu() const {
    std::lock_guard lock(mutex_);
    return systemMenu_;
}

}  // namespace fmconv::platform
