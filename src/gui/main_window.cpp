#include "gui/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QTabBar>

#include "app/resources.h"

namespace fmconv::gui {

QIcon ApplicationIcon() {
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::black);
    QPainter painter(&pixmap);
    const QColor bars[] = {Qt::white,   Qt::yellow, Qt::cyan, Qt::green,
                           Qt::magenta, Qt::red,    Qt::blue, Qt::black};
    for (int i = 0; i < 8; ++i) painter.fillRect(i * 4, 4, 4, 18, bars[i]);
    painter.setPen(Qt::white);
    painter.drawRect(0, 0, 31, 31);
    return QIcon(pixmap);
}

MainWindow::MainWindow(CMainDlg& dlg, QtDialogHost& host) : dlg_(dlg) {
    const platform::DialogTemplate& t = MainDialogTemplate();
    setWindowTitle(QString::fromLocal8Bit(t.caption));
    setWindowIcon(ApplicationIcon());
    host.SetOwner(this);

    auto* central = new QWidget(this);
    setCentralWidget(central);
    const QFont font = DialogFont(t);
    const DialogUnits units(font);
    central->setFixedSize(units.Size(t.width, t.height));

    for (const MenuPopup& popup : MainMenu()) {
        QMenu* menu = menuBar()->addMenu(QString::fromLocal8Bit(popup.title));
        for (const platform::MenuItem& item : popup.items) {
            QAction* action = menu->addAction(QString::fromLocal8Bit(item.text));
            const int id = item.id;
            connect(action, &QAction::triggered, this, [this, id] { dlg_.OnCommand(id); });
        }
    }

    SurfaceView::Handlers main;
    main.click = [this](int id) { dlg_.Click(id); };
    main.selectionChanged = [this](int id) {
        if (id == kIdSourceList) dlg_.OnSourceListSelChange();
    };
    main.tabClick = [this](int, int tab) { dlg_.OnTabClick(tab); };
    controls_ = std::make_unique<SurfaceView>(dlg_.Surface(), central, units, font, main);

    // The pages sit under the tab strip, inside the tab control's frame.
    QWidget* strip = controls_->Widget(kIdTab);
    const QRect tabArea = [&] {
        for (const platform::ControlSpec& line : t.controls) {
            if (line.id == kIdTab) return units.Rect(line.x, line.y, line.width, line.height);
        }
        return QRect();
    }();
    const int top = strip->geometry().bottom() + 2;
    for (int p = 0; p < kPageCount; ++p) {
        const platform::DialogTemplate& pageTemplate = ChannelPageTemplate(p);
        auto* page = new QWidget(central);
        page->setGeometry(tabArea.x() + 2, top, tabArea.width() - 4, tabArea.bottom() - top - 2);
        SurfaceView::Handlers handlers;
        handlers.click = [this, p](int id) { dlg_.ChannelPage(p).Click(id); };
        pageViews_[static_cast<std::size_t>(p)] = std::make_unique<SurfaceView>(
            dlg_.ChannelPage(p).Surface(), page, DialogUnits(DialogFont(pageTemplate)),
            DialogFont(pageTemplate), handlers);
        pages_[static_cast<std::size_t>(p)] = page;
    }
    tabToken_ = dlg_.Surface().Subscribe([this](int id) {
        if (id == kIdTab)
            QMetaObject::invokeMethod(
                this, [this] { ShowCurrentPage(); }, Qt::QueuedConnection);
    });
    ShowCurrentPage();

    connect(&cursorTimer_, &QTimer::timeout, this, [this] { UpdateCursor(); });
    cursorTimer_.start(100);
    adjustSize();
    setFixedSize(sizeHint());
}

MainWindow::~MainWindow() {
    dlg_.Surface().Unsubscribe(tabToken_);
    if (waitCursor_) QApplication::restoreOverrideCursor();
}

void MainWindow::ShowCurrentPage() {
    const int current = dlg_.TabCtrl().CurrentPage();
    for (int p = 0; p < kPageCount; ++p)
        pages_[static_cast<std::size_t>(p)]->setVisible(p == current);
}

void MainWindow::UpdateCursor() {
    // OnSetCursor: the wait cursor over the window while a run is under way.
    const bool wanted = dlg_.WantsWaitCursor();
    if (wanted == waitCursor_) return;
    waitCursor_ = wanted;
    if (wanted) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
    } else {
        QApplication::restoreOverrideCursor();
    }
}

void MainWindow::EndDialog() {
    ending_ = true;
    close();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (ending_) {
        event->accept();
        return;
    }
    // The title bar's close is the dialog's cancel operation. While a run
    // is under way the window stays: the run ends first (Close is disabled).
    event->ignore();
    if (!dlg_.Converting()) dlg_.OnCancel();
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        if (!dlg_.Converting()) dlg_.OnCancel();
        return;
    }
    QMainWindow::keyPressEvent(event);
}

void MainWindow::contextMenuEvent(QContextMenuEvent* event) {
    // Where the window manager offers no system menu to add to, its extra
    // items are offered here.
    QMenu menu(this);
    for (const platform::MenuItem& item : dlg_.Surface().SystemMenu()) {
        if (item.id == 0) {
            menu.addSeparator();
            continue;
        }
        QAction* action = menu.addAction(QString::fromLocal8Bit(item.text));
        const unsigned id = static_cast<unsigned>(item.id);
        connect(action, &QAction::triggered, this, [this, id] { dlg_.OnSysCommand(id); });
    }
    menu.exec(event->globalPos());
}

}  // namespace fmconv::gui
