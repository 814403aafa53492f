#include "gui/main_window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QScreen>
#include <QStyle>
#include <QTabBar>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>

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

namespace {

// The controls of the Exec row, which stays in sight when the rest scrolls.
constexpr int kFooterIds[] = {kIdExec, kIdClose, kIdProgress};
// The row begins this many dialog units above its controls.
constexpr int kFooterGap = 4;
// The dialog is never drawn at a font whose lines are lower than this, in
// the screen's own pixels: below it the text stops being readable, and the
// window scrolls instead.
constexpr int kSmallestLineHeight = 11;
// Radios of the template stand at least 12 dialog units apart; a font at
// which the style's radio circle (its size is the style's, not the font's)
// no longer fits in 11 units would make neighbouring circles touch.
constexpr int kRadioRoom = 11;
// Fonts are tried from the template's size down in steps of this many points.
constexpr qreal kFontStep = 0.25;

const platform::ControlSpec& TemplateLine(const platform::DialogTemplate& t, int id) {
    for (const platform::ControlSpec& line : t.controls) {
        if (line.id == id) return line;
    }
    static const platform::ControlSpec none{};
    return none;
}

// The top of the Exec row, in dialog units.
int FooterTop(const platform::DialogTemplate& t) {
    int top = t.height;
    for (int id : kFooterIds) top = std::min(top, TemplateLine(t, id).y);
    return top - kFooterGap;
}

bool Fits(const QFont& font, const QSize& room) {
    const platform::DialogTemplate& t = MainDialogTemplate();
    const QSize size = DialogUnits(font).Size(t.width, t.height);
    return size.width() <= room.width() && size.height() <= room.height();
}

}  // namespace

MainWindow::MainWindow(CMainDlg& dlg, QtDialogHost& host) : dlg_(dlg) {
    const platform::DialogTemplate& t = MainDialogTemplate();
    setWindowTitle(QString::fromLocal8Bit(t.caption));
    setWindowIcon(ApplicationIcon());
    host.SetOwner(this);

    auto* central = new QWidget(this);
    setCentralWidget(central);
    auto* column = new QVBoxLayout(central);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    scroll_ = new QScrollArea(central);
    scroll_->setFrameShape(QFrame::NoFrame);
    body_ = new QWidget;
    scroll_->setWidget(body_);
    footer_ = new QWidget(central);
    column->addWidget(scroll_);
    column->addWidget(footer_);

    font_ = DialogFont(t);
    const DialogUnits units(font_);
    body_->resize(units.Size(t.width, t.height));

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
    controls_ = std::make_unique<SurfaceView>(dlg_.Surface(), body_, units, font_, main);
    for (int id : kFooterIds) {
        controls_->Widget(id)->setParent(footer_);
        controls_->Refresh(id);  // a new parent hides a widget; the surface says whether it shows
    }

    for (int p = 0; p < kPageCount; ++p) {
        const platform::DialogTemplate& pageTemplate = ChannelPageTemplate(p);
        auto* page = new QWidget(body_);
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
    FitTo(screen()->availableGeometry());
}

void MainWindow::LayOut(const QFont& font) {
    font_ = font;
    const platform::DialogTemplate& t = MainDialogTemplate();
    const DialogUnits units(font);
    const QSize whole = units.Size(t.width, t.height);
    const int footerTop = units.Y(FooterTop(t));
    body_->setFixedSize(whole.width(), footerTop);
    footer_->setFixedHeight(whole.height() - footerTop);
    footer_->resize(whole.width(), whole.height() - footerTop);
    controls_->LayOut(units, font);
    for (int id : kFooterIds) {
        QWidget* widget = controls_->Widget(id);
        widget->move(widget->x(), widget->y() - footerTop);
    }

    // The pages sit under the tab strip, inside the tab control's frame.
    const platform::ControlSpec& tab = TemplateLine(t, kIdTab);
    const QRect tabArea = units.Rect(tab.x, tab.y, tab.width, tab.height);
    const int top = controls_->Widget(kIdTab)->geometry().bottom() + 2;
    const qreal scale = font.pointSizeF() / DialogFont(t).pointSizeF();
    for (int p = 0; p < kPageCount; ++p) {
        pages_[static_cast<std::size_t>(p)]->setGeometry(tabArea.x() + 2, top, tabArea.width() - 4,
                                                         tabArea.bottom() - top - 2);
        QFont pageFont = DialogFont(ChannelPageTemplate(p));
        pageFont.setPointSizeF(pageFont.pointSizeF() * scale);
        pageViews_[static_cast<std::size_t>(p)]->LayOut(DialogUnits(pageFont), pageFont);
    }
}

QMargins MainWindow::FrameMargins() const {
    // The real frame once the window manager has framed the window; until
    // then, what the style draws as a title bar and border.
    if (const QWindow* window = windowHandle()) {
        const QMargins real = window->frameMargins();
        if (!real.isNull()) return real;
    }
    const int border = style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth);
    const int title = style()->pixelMetric(QStyle::PM_TitleBarHeight);
    return QMargins(border, border + title, border, border);
}

bool MainWindow::Readable(const QFont& font) const {
    const int circle = style()->pixelMetric(QStyle::PM_ExclusiveIndicatorHeight);
    return QFontMetrics(font).height() * devicePixelRatioF() >= kSmallestLineHeight &&
           DialogUnits(font).Y(kRadioRoom) >= circle;
}

void MainWindow::FitTo(const QRect& available) {
    available_ = available;
    fittedFrame_ = FrameMargins();
    const int menu = menuBar()->sizeHint().height();
    const QSize room = available.marginsRemoved(fittedFrame_).size() - QSize(0, menu);

    // The largest font, from the template's down, at which the dialog fits.
    const platform::DialogTemplate& t = MainDialogTemplate();
    QFont font = DialogFont(t);
    const qreal full = font.pointSizeF();
    for (int step = 1; !Fits(font, room); ++step) {
        QFont smaller = font;
        const qreal points = full - kFontStep * step;
        if (points <= 0) break;
        smaller.setPointSizeF(points);
        if (!Readable(smaller)) break;
        font = smaller;
    }
    LayOut(font);

    // The window takes the dialog's size; where the dialog is larger than
    // the room, the window takes the room and the body scrolls.
    const QSize dialog(body_->width(), body_->height() + footer_->height());
    const int bar = style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, scroll_);
    QSize client = dialog;
    bool vertical = client.height() > room.height();
    if (vertical) client.rwidth() += bar;
    if (client.width() > room.width()) {
        client.rheight() += bar;
        if (!vertical && client.height() > room.height()) client.rwidth() += bar;
    }
    client = client.boundedTo(room);
    // Where the whole dialog fits, no scroll bar shows, not even for the
    // pixel that a fractional screen scale may round away.
    const Qt::ScrollBarPolicy bars =
        client == dialog ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded;
    scroll_->setHorizontalScrollBarPolicy(bars);
    scroll_->setVerticalScrollBarPolicy(bars);
    setFixedSize(client.width(), client.height() + menu);

    // Keep a shown window's frame on the screen.
    if (isVisible()) {
        const QSize frame = size().grownBy(fittedFrame_);
        const QPoint at = frameGeometry().topLeft();
        const QPoint inside(
            std::clamp(at.x(), available.left(),
                       std::max(available.left(), available.right() + 1 - frame.width())),
            std::clamp(at.y(), available.top(),
                       std::max(available.top(), available.bottom() + 1 - frame.height())));
        if (inside != at) move(inside);
    }
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (screenWatched_ || !windowHandle()) return;
    screenWatched_ = true;
    // A window moved to another screen fits that screen.
    connect(windowHandle(), &QWindow::screenChanged, this, [this](QScreen* to) {
        if (to) FitTo(to->availableGeometry());
    });
    FitTo(screen()->availableGeometry());
}

void MainWindow::moveEvent(QMoveEvent* event) {
    QMainWindow::moveEvent(event);
    // The window manager has framed the window: fit again if its frame is
    // not the one the window was fitted with.
    if (screenWatched_ && FrameMargins() != fittedFrame_) FitTo(available_);
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
