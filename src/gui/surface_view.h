// Widgets for the controls of one dialog template, kept in step with its
// control surface: a change on the surface (from any thread) is redrawn on
// the GUI thread; a user's action on a widget is handed to the dialog as a
// click or a selection change, and the dialog changes the surface.
#pragma once

#include <QObject>
#include <QWidget>
#include <functional>
#include <map>
#include <mutex>
#include <set>

#include "gui/dialog_units.h"
#include "platform/control_surface.h"

namespace fmconv::gui {

class SurfaceView : public QObject {
    Q_OBJECT
  public:
    struct Handlers {
        std::function<void(int id)> click;              // buttons, radios, check boxes
        std::function<void(int id)> selectionChanged;   // list boxes, after the surface took it
        std::function<void(int id, int tab)> tabClick;  // tab strips
    };

    SurfaceView(platform::ControlSurface& surface, QWidget* parent, const DialogUnits& units,
                const QFont& font, Handlers handlers);
    ~SurfaceView() override;

    QWidget* Widget(int id) const;
    // Redraws one control (or all) from the surface.
    void Refresh(int id);
    void RefreshAll();

  private:
    void Build(const platform::ControlSpec& line, const DialogUnits& units, const QFont& font);

    // Redraws the controls that changed since the last pass, each once.
    void FlushPending();

    platform::ControlSurface& surface_;
    QWidget* parent_;
    std::mutex pendingMutex_;
    std::set<int> pending_;  // ids changed and not yet redrawn
    bool flushQueued_ = false;
    Handlers handlers_;
    std::map<int, QWidget*> widgets_;
    int token_ = 0;
};

}  // namespace fmconv::gui
