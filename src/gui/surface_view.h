// Widgets for the controls of one dialog template, kept in step with its
// control surface: a change on the surface (from any thread) is redrawn on
// the GUI thread; a user's action on a widget is handed to the dialog as a
// click or a selection change, and the dialog changes the surface.
#pragma once

#include <QFrame>
#include <QObject>
#include <QWidget>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <vector>

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

    // Places every control from its template line in dialog units of the
    // given font. Where the font's text needs more room than a line gives
    // (a radio's circle, a caption, a framed count), the control grows just
    // enough; the parent must already have its size.
    void LayOut(const DialogUnits& units, const QFont& font);

    QWidget* Widget(int id) const;
    // Redraws one control (or all) from the surface.
    void Refresh(int id);
    void RefreshAll();

  private:
    void Build(const platform::ControlSpec& line);
    // The control's rectangle at these units, grown where its text needs it.
    QRect Place(const platform::ControlSpec& line, QWidget* widget, const DialogUnits& units);

    // Redraws the controls that changed since the last pass, each once.
    void FlushPending();

    platform::ControlSurface& surface_;
    QWidget* parent_;
    std::mutex pendingMutex_;
    std::set<int> pending_;  // ids changed and not yet redrawn
    bool flushQueued_ = false;
    Handlers handlers_;
    std::map<int, QWidget*> widgets_;
    std::vector<QWidget*> lines_;       // one widget per template line, in template order
    std::map<int, QFrame*> tabFrames_;  // the frame under each tab strip
    int token_ = 0;
};

}  // namespace fmconv::gui
