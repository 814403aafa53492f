// The controls of one dialog, held in memory: what the dialog framework kept
// in its windows. A dialog's rules read and set its controls here by id, from
// the window's thread or from the run's worker; every call is served whole
// under one lock, as the framework served each request synchronously. Views
// (the desktop window) subscribe and redraw what changed; the surface stays
// the source of truth.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace fmconv::platform {

enum class ControlKind {
    kPushButton,
    kRadio,
    kCheckBox,
    kStatic,
    kEdit,
    kListBox,
    kProgress,
    kTab,
    kGroupBox,
};

// Style bits of a template line.
enum ControlStyle : unsigned {
    kStyleGroup = 1u << 0,        // starts a group (radio groups run to the next one)
    kStyleHidden = 1u << 1,       // created hidden
    kStyleSorted = 1u << 2,       // list box keeps its items sorted
    kStyleExtendedSel = 1u << 3,  // list box with extended multiple selection
    kStyleNoSel = 1u << 4,        // list box without selection
    kStyleRight = 1u << 5,        // right-aligned text
    kStyleSunken = 1u << 6,       // sunken frame
    kStyleNoPrefix = 1u << 7,     // "&" shown as it is
    kStyleCenterV = 1u << 8,      // text centred vertically
    kStyleReadOnly = 1u << 9,     // read-only edit
    kStyleSmooth = 1u << 10,      // smooth progress bar
    kStyleDefault = 1u << 11,     // default push button
    kStyleBorder = 1u << 12,      // bordered
    kStyleIcon = 1u << 13,        // a static showing the application icon
};

// One line of a dialog template; id -1 for frames and notes without an id.
struct ControlSpec {
    int id;
    ControlKind kind;
    std::string caption;
    int x, y, width, height;  // dialog units
    unsigned style = 0;
};

struct DialogTemplate {
    int resourceId = 0;
    std::string caption;
    int width = 0, height = 0;  // dialog units
    std::string fontName;
    int fontPoints = 8;
    std::vector<ControlSpec> controls;
};

struct MenuItem {
    int id;            // 0 for a separator
    std::string text;  // "" for a separator
};

// A copy of one control's state.
struct ControlState {
    int id = 0;
    ControlKind kind = ControlKind::kStatic;
    std::string text;
    bool checked = false;
    bool enabled = true;
    bool visible = true;
    // list boxes
    std::vector<std::string> items;
    std::vector<bool> selected;
    // progress bars
    int lower = 0, upper = 100, position = 0;
    // tab controls
    std::vector<std::string> tabs;
    int currentTab = -1;
};

class ControlSurface {
  public:
    explicit ControlSurface(DialogTemplate dialogTemplate);
    ControlSurface(const ControlSurface&) = delete;
    ControlSurface& operator=(const ControlSurface&) = delete;

    const DialogTemplate& Template() const { return template_; }
    bool Has(int id) const;
    ControlKind Kind(int id) const;
    // Ids of every control with an id, ascending.
    std::vector<int> Ids() const;
    ControlState State(int id) const;

    std::string Text(int id) const;
    void SetText(int id, std::string text);
    bool Checked(int id) const;
    // The check message alone: other radios of the group are left as they are.
    void SetChecked(int id, bool checked);
    bool Enabled(int id) const;
    void SetEnabled(int id, bool enabled);
    bool Visible(int id) const;
    void SetVisible(int id, bool visible);

    // What a user's click does to the check state: a radio becomes checked
    // and the other radios of its group unchecked, a check box toggles.
    // Nothing for other kinds. The caller runs the handler afterwards.
    void ApplyClick(int id);
    // The radios of the group id belongs to, in template order.
    std::vector<int> RadioGroup(int id) const;

    // List boxes. Sorted lists insert by CompareListText; inserting at an
    // index keeps the index even in a sorted list. Index results are -1 when
    // nothing was done.
    int ListAdd(int id, std::string text);
    int ListInsert(int id, int index, std::string text);
    bool ListDelete(int id, int index);
    void ListReset(int id);
    int ListCount(int id) const;
    std::string ListText(int id, int index) const;
    std::vector<std::string> ListItems(int id) const;
    // index -1 sets every item.
    void ListSetSelected(int id, int index, bool selected);
    void ListSetSelection(int id, const std::vector<int>& indexes);
    int ListSelCount(int id) const;
    // Selected indexes ascending, at most maxCount of them.
    std::vector<int> ListSelection(int id,
                                   std::size_t maxCount = static_cast<std::size_t>(-1)) const;
    // Index of the first item from the top whose text begins with prefix
    // (ASCII letters ignoring case); a list with selection also selects it.
    int ListSelectString(int id, std::string_view prefix);

    // Progress bars.
    void ProgressSetRange(int id, int lower, int upper);
    void ProgressSetPos(int id, int position);

    // Tab controls.
    void TabInsert(int id, int index, std::string label);
    void TabSetCurrent(int id, int index);
    int TabCurrent(int id) const;

    // The system menu's extra items (the framework's own items are implied).
    void AppendSystemMenuItem(MenuItem item);
    std::vector<MenuItem> SystemMenu() const;

    // Change notification: called after a control changed, outside the lock,
    // on the thread that made the change. Id 0 announces the system menu.
    using Listener = std::function<void(int id)>;
    int Subscribe(Listener listener);
    void Unsubscribe(int token);

  private:
    struct Control {
        ControlState state;
        unsigned style = 0;
        std::size_t order = 0;  // position in the template
    };
    Control* Find(int id);
    const Control* Find(int id) const;
    void Announce(int id);
    // Runs change(control) under the lock; announces the id when it returns true.
    template <typename Change>
    void Mutate(int id, Change change) {
        bool changed = false;
        {
            std::lock_guard lock(mutex_);
            if (Control* c = Find(id)) changed = change(c);
        }
        if (changed) Announce(id);
    }

    DialogTemplate template_;
    mutable std::mutex mutex_;
    std::map<int, Control> controls_;
    std::vector<MenuItem> systemMenu_;
    std::mutex listenerMutex_;
    std::map<int, Listener> listeners_;
    int nextToken_ = 1;
};

}  // namespace fmconv::platform
