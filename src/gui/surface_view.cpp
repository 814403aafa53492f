#include "gui/surface_view.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTabBar>

namespace fmconv::gui {

using platform::ControlKind;

namespace {
QString Text(const std::string& text) {
    return QString::fromLocal8Bit(text);
}
}  // namespace

SurfaceView::SurfaceView(platform::ControlSurface& surface, QWidget* parent,
                         const DialogUnits& units, const QFont& font, Handlers handlers)
    : QObject(parent), surface_(surface), parent_(parent), handlers_(std::move(handlers)) {
    for (const platform::ControlSpec& line : surface.Template().controls) Build(line, units, font);
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

void SurfaceView::Build(const platform::ControlSpec& line, const DialogUnits& units,
                        const QFont& font) {
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
            auto* label = new QLabel(Text(line.caption), parent_);
            label->setTextFormat(Qt::PlainText);
            Qt::Alignment align =
                (line.style & platform::kStyleRight) ? Qt::AlignRight : Qt::AlignLeft;
            align |= (line.style & platform::kStyleCenterV) ? Qt::AlignVCenter : Qt::AlignTop;
            label->setAlignment(align);
            if (line.style & platform::kStyleSunken)
                label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
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
            bar->setTextVisible(false);
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
    widget->setFont(font);
    widget->setGeometry(units.Rect(line.x, line.y, line.width, line.height));
    if (line.kind == ControlKind::kTab) {
        // The strip at the top of the control's rectangle, a frame below it.
        auto* frame = new QFrame(parent_);
        frame->setFrameStyle(QFrame::StyledPanel | QFrame::Raised);
        const QRect area = units.Rect(line.x, line.y, line.width, line.height);
        QTabBar probe;  // the strip's height, from a bar that holds a tab
        probe.setFont(font);
        probe.addTab(QStringLiteral("ch1-4"));
        const int strip = probe.sizeHint().height();
        widget->setGeometry(area.x(), area.y(), area.width(), strip);
        frame->setGeometry(area.x(), area.y() + strip, area.width(), area.height() - strip);
        frame->lower();
    }
    if (line.kind == ControlKind::kGroupBox) widget->lower();
    if (id >= 0) widgets_[id] = widget;
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
            static_cast<QLabel*>(widget)->setText(Text(s.text));
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
