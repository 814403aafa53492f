// The desktop window: the main dialog's controls laid out from its template
// in dialog units, its menu, the four channel pages under the tab strip, and
// the wait cursor while a run is under way. The rules stay in CMainDlg.
//
// The window fits the screen it is on: the dialog is drawn at its template's
// font where that fits, else at the largest smaller font that fits; where
// not even the smallest readable font fits, the controls above the Exec row
// scroll and the Exec row stays in sight.
#pragma once

#include <QMainWindow>
#include <QMargins>
#include <QScrollArea>
#include <QTimer>
#include <array>
#include <memory>

#include "app/main_dlg.h"
#include "gui/qt_host.h"
#include "gui/surface_view.h"

namespace fmconv::gui {

class MainWindow : public QMainWindow {
    Q_OBJECT
  public:
    MainWindow(CMainDlg& dlg, QtDialogHost& host);
    ~MainWindow() override;

    SurfaceView& Controls() { return *controls_; }
    SurfaceView& PageControls(int page) { return *pageViews_[static_cast<std::size_t>(page)]; }
    QWidget* PageWidget(int page) { return pages_[static_cast<std::size_t>(page)]; }
    // The dialog has ended: the window closes.
    void EndDialog();

    // Sizes the window, frame included, to fit the free area of a screen.
    void FitTo(const QRect& available);
    // The font the dialog is drawn at (the template's, or smaller to fit).
    const QFont& DialogFontInUse() const { return font_; }
    // The scroll area that holds the controls above the Exec row.
    QScrollArea& Body() { return *scroll_; }

  protected:
    void showEvent(QShowEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

  private:
    void ShowCurrentPage();
    void UpdateCursor();
    // Places every control at the given font.
    void LayOut(const QFont& font);
    // The window frame's margins, estimated while the window manager has not
    // yet framed the window.
    QMargins FrameMargins() const;
    // Whether the dialog still reads at this font on this window's screen.
    bool Readable(const QFont& font) const;

    CMainDlg& dlg_;
    QScrollArea* scroll_ = nullptr;
    QWidget* body_ = nullptr;    // every control above the Exec row
    QWidget* footer_ = nullptr;  // the Exec row
    QFont font_;
    QRect available_;       // the free area the window was last fitted to
    QMargins fittedFrame_;  // the frame margins it was fitted with
    bool screenWatched_ = false;
    std::unique_ptr<SurfaceView> controls_;
    std::array<QWidget*, 4> pages_{};
    std::array<std::unique_ptr<SurfaceView>, 4> pageViews_;
    QTimer cursorTimer_;
    bool waitCursor_ = false;
    bool ending_ = false;
    int tabToken_ = 0;
};

// The window's icon, drawn here: the frame memory's colour bars.
QIcon ApplicationIcon();

}  // namespace fmconv::gui
