#include "gui/surface_view.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QResizeEvent>
#include <QSignalBlocker>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTabBar>
#include <algorithm>

namespace fmconv::gui {

using platform::ControlKind;

namespace {

// The usual height of a radio or check box line, in dialog units.
constexpr int kButtonLineHeight = 10;
// The least gap, in dialog units, between a grown button and its parent's edge.
constexpr int kEdgeMargin = 2;

QString Text(const std::string& text) {
    return QString::fromLocal8Bit(text);
}

int TemplateHeight(const platform::DialogTemplate& t, int id) {
    for (const platform::ControlSpec& line : t.controls) {
        if (line.id == id) return line.height;
    }
    return 0;
}

// The width a push button needs to show its caption inside its frame with
// the style's margins (what the style asks, without its minimum width).
int CaptionWidth(const QPushButton& button) {
    QStyleOptionButton option;
    option.initFrom(&button);
    const QStyle* style = button.style();
    return button.fontMetrics().horizontalAdvance(button.text()) +
           style->pixelMetric(QStyle::PM_ButtonMargin, &option, &button) +
           2 * style->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, &button);
}

// A static text that does not fit its width is shortened in the middle, so
// that a path keeps its beginning and its last folder; the whole text is
// then its tooltip.
class ElidingLabel : public QLabel {
  public:
    explicit ElidingLabel(QWidget* parent) : QLabel(parent) { setTextFormat(Qt::PlainText); }

    void SetFullText(const QString& text) {
        if (text == full_) return;
        full_ = text;
        Elide();
    }

  protected:
    void resizeEvent(QResizeEvent* event) override {
        QLabel::resizeEvent(event);
        Elide();
    }
    void changeEvent(QEvent* event) override {
        QLabel::changeEvent(event);
        if (event->type() == QEvent::FontChange) Elide();
    }

  private:
    void Elide() {
        const int room = contentsRect().width() - 2 * margin() - std::max(indent(), 0);
        const QString shown = fontMetrics().elidedText(full_, Qt::ElideMiddle, room);
        setText(shown);
        setToolTip(shown == full_ ? QString() : full_);
    }

    QString full_;
};

}  // namespace

SurfaceView::SurfaceView(platform::ControlSurface& surface, QWidget* parent,
                         const DialogUnits& units, const QFont& font, Handlers handlers)
    : QObject(parent), surface_(surface), parent_(parent), handlers_(std::move(handlers)) {
    for (const platform::ControlSpec& line : surface.Template().controls) Build(line);
    LayOut(units, font);
    // Changes may come from the run's worker: redraw on the GUI thread.
    token_ = surface_.Subscribe([this](int id) {
        QMetaObject::invokeMethod(
            this, [this, id] { Refresh(id); }, Qt::QueuedConnection);
    });
    RefreshAll();
}

SurfaceView::~SurfaceView() {
    surface_.Unsubscribe(token_);
}

QWidget* SurfaceView::Widget(int id) const {
    const auto it = widgets_.find(id);
    return it == widgets_.end() ? nullptr : it->second;
}

void SurfaceView::Build(const platform::ControlSpec& line) {
    QWidget* widget = nullptr;
    const int id = line.id;
    const auto clicked = [this, id] {
        if (handlers_.click) handlers_.click(id);
        Refresh(id);  // a click that changed nothing on the surface still redraws
    };
    switch (line.kind) {
        case ControlKind::kPushButton: {
            auto* button = new QPushButton(Text(line.caption), parent_);
            button->setDefault(line.style & platform::kStyleDefault);
            connect(button, &QPushButton::clicked, this, clicked);
            widget = button;
            break;
        }
        case ControlKind::kRadio: {
            auto* radio = new QRadioButton(Text(line.caption), parent_);
            radio->setAutoExclusive(false);  // the surface keeps the groups
            connect(radio, &QRadioButton::clicked, this, clicked);
            widget = radio;
            break;
        }
        case ControlKind::kCheckBox: {
            auto* box = new QCheckBox(Text(line.caption), parent_);
            connect(box, &QCheckBox::clicked, this, clicked);
            widget = box;
            break;
        }
        case ControlKind::kStatic: {
            auto* label = new ElidingLabel(parent_);
            label->SetFullText(Text(line.caption));
            Qt::Alignment align =
                (line.style & platform::kStyleRight) ? Qt::AlignRight : Qt::AlignLeft;
            // A framed count sits in the middle of its box, which may have grown.
            const bool centred = line.style & (platform::kStyleCenterV | platform::kStyleSunken);
            align |= centred ? Qt::AlignVCenter : Qt::AlignTop;
            label->setAlignment(align);
            // An etched box: all four edges show, at any screen scale.
            if (line.style & platform::kStyleSunken)
                label->setFrameStyle(QFrame::Box | QFrame::Sunken);
            widget = label;
            break;
        }
        case ControlKind::kEdit: {
            auto* edit = new QLineEdit(Text(line.caption), parent_);
            edit->setReadOnly(line.style & platform::kStyleReadOnly);
            widget = edit;
            break;
        }
        case ControlKind::kListBox: {
            auto* list = new QListWidget(parent_);
            const bool select = !(line.style & platform::kStyleNoSel);
            list->setSelectionMode(select ? QAbstractItemView::ExtendedSelection
                                          : QAbstractItemView::NoSelection);
            list->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
            if (select) {
                connect(list, &QListWidget::itemSelectionChanged, this, [this, list, id] {
                    std::vector<int> indexes;
                    for (int i = 0; i < list->count(); ++i) {
                        if (list->item(i)->isSelected()) indexes.push_back(i);
                    }
                    surface_.ListSetSelection(id, indexes);
                    if (handlers_.selectionChanged) handlers_.selectionChanged(id);
                });
            }
            widget = list;
            break;
        }
        case ControlKind::kProgress: {
            auto* bar = new QProgressBar(parent_);
            bar->setAlignment(Qt::AlignCenter);
            widget = bar;
            break;
        }
        case ControlKind::kTab: {
            auto* tabs = new QTabBar(parent_);
            tabs->setExpanding(false);
            connect(tabs, &QTabBar::tabBarClicked, this, [this, id](int tab) {
                if (tab >= 0 && handlers_.tabClick) handlers_.tabClick(id, tab);
                Refresh(id);
            });
            widget = tabs;
            break;
        }
        case ControlKind::kGroupBox: {
            auto* group = new QGroupBox(Text(line.caption), parent_);
            group->lower();
            widget = group;
            break;
        }
    }
    if (line.kind == ControlKind::kTab) {
        auto* frame = new QFrame(parent_);
        frame->setFrameStyle(QFrame::StyledPanel | QFrame::Raised);
        frame->lower();
        tabFrames_[id] = frame;
    }
    if (line.kind == ControlKind::kGroupBox) widget->lower();
    lines_.push_back(widget);
    if (id >= 0) widgets_[id] = widget;
}

void SurfaceView::LayOut(const DialogUnits& units, const QFont& font) {
    const std::vector<platform::ControlSpec>& lines = surface_.Template().controls;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        lines_[i]->setFont(font);
        lines_[i]->setGeometry(Place(lines[i], lines_[i], units));
    }
    for (const auto& [id, frame] : tabFrames_) {
        const QWidget* strip = Widget(id);
        const QRect area = strip->geometry();
        frame->setGeometry(area.x(), area.bottom() + 1, area.width(),
                           units.Y(TemplateHeight(surface_.Template(), id)) - area.height());
    }
}

QRect SurfaceView::Place(const platform::ControlSpec& line, QWidget* widget,
                         const DialogUnits& units) {
    QRect r = units.Rect(line.x, line.y, line.width, line.height);
    switch (line.kind) {
        case ControlKind::kRadio:
        case ControlKind::kCheckBox:
            // A shorter line than the usual 10 units would cut the circle and
            // sit higher than its neighbours: every radio and check box gets
            // the same height from its top, so those of one row line up.
            r.setHeight(
                std::max({r.height(), units.Y(kButtonLineHeight), widget->sizeHint().height()}));
            break;
        case ControlKind::kPushButton: {
            // A caption wider than its button grows the button, to the right
            // as far as the parent leaves room, the rest to the left.
            const int lacking = CaptionWidth(*static_cast<QPushButton*>(widget)) - r.width();
            if (lacking > 0) {
                const int room =
                    widget->parentWidget()->width() - units.X(kEdgeMargin) - (r.right() + 1);
                r.setLeft(r.left() - std::max(0, lacking - std::max(0, room)));
                r.setWidth(r.width() + lacking);
            }
            break;
        }
        case ControlKind::kStatic:
            if (line.style & platform::kStyleSunken) {
                // The text keeps half a character from the box's edge, and
                // the box is at least one line of text high.
                auto* label = static_cast<QLabel*>(widget);
                label->setIndent(label->fontMetrics().averageCharWidth() / 2);
                r.setHeight(
                    std::max(r.height(), label->fontMetrics().height() + 2 * label->frameWidth()));
            }
            break;
        case ControlKind::kTab: {
            // The strip at the top of the control's rectangle, a frame below it.
            QTabBar probe;  // the strip's height, from a bar that holds a tab
            probe.setFont(widget->font());
            probe.addTab(QStringLiteral("ch1-4"));
            r.setHeight(probe.sizeHint().height());
            break;
        }
        default:
            break;
    }
    return r;
}

void SurfaceView::FlushPending() {
    std::set<int> ids;
    {
        std::lock_guard lock(pendingMutex_);
        ids.swap(pending_);
        flushQueued_ = false;
    }
    for (int id : ids) Refresh(id);
}

void SurfaceView::RefreshAll() {
    for (const auto& [id, widget] : widgets_) Refresh(id);
}

void SurfaceView::Refresh(int id) {
    QWidget* widget = Widget(id);
    if (!widget) return;
    const platform::ControlState s = surface_.State(id);
    const QSignalBlocker blocker(widget);
    widget->setEnabled(s.enabled);
    widget->setVisible(s.visible);
    switch (s.kind) {
        case ControlKind::kPushButton:
        case ControlKind::kRadio:
        case ControlKind::kCheckBox: {
            auto* button = static_cast<QAbstractButton*>(widget);
            button->setText(Text(s.text));
            if (s.kind != ControlKind::kPushButton) button->setChecked(s.checked);
            break;
        }
        case ControlKind::kStatic:
            static_cast<ElidingLabel*>(widget)->SetFullText(Text(s.text));
            break;
        case ControlKind::kEdit:
            static_cast<QLineEdit*>(widget)->setText(Text(s.text));
            break;
        case ControlKind::kListBox: {
            auto* list = static_cast<QListWidget*>(widget);
            bool same = list->count() == static_cast<int>(s.items.size());
            for (int i = 0; same && i < list->count(); ++i) {
                same = list->item(i)->text() == Text(s.items[static_cast<std::size_t>(i)]);
            }
            if (!same) {
                list->clear();
                for (const std::string& item : s.items) list->addItem(Text(item));
            }
            for (int i = 0; i < list->count(); ++i) {
                list->item(i)->setSelected(s.selected[static_cast<std::size_t>(i)]);
            }
            break;
        }
        case ControlKind::kProgress: {
            auto* bar = static_cast<QProgressBar*>(widget);
            bar->setRange(s.lower, s.upper > s.lower ? s.upper : s.lower + 1);
            bar->setValue(s.position);
            // "k / n": files done of the run's count, the range as the run set it.
            bar->setFormat(QStringLiteral("%1 / %2").arg(s.position).arg(s.upper));
            break;
        }
        case ControlKind::kTab: {
            auto* tabs = static_cast<QTabBar*>(widget);
            while (tabs->count() > static_cast<int>(s.tabs.size()))
                tabs->removeTab(tabs->count() - 1);
            for (std::size_t i = 0; i < s.tabs.size(); ++i) {
                const int index = static_cast<int>(i);
                if (index < tabs->count()) {
                    tabs->setTabText(index, Text(s.tabs[i]));
                } else {
                    tabs->addTab(Text(s.tabs[i]));
                }
            }
            if (s.currentTab >= 0) tabs->setCurrentIndex(s.currentTab);
            break;
        }
        case ControlKind::kGroupBox:
            break;
    }
}

}  // namespace fmconv::gui
