// The desktop window: the main dialog's controls laid out from its template
// in dialog units, its menu, the four channel pages under the tab strip, and
// the wait cursor while a run is under way. The rules stay in CMainDlg.
#pragma once

#include <QMainWindow>
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

  protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

  private:
    void ShowCurrentPage();
    void UpdateCursor();

    CMainDlg& dlg_;
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
