#include "gui/qt_host.h"

#include <QApplication>
#include <QCursor>
#include <QDialog>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>
#include <QThread>

#include "app/resources.h"
#include "gui/dialog_units.h"
#include "platform/launch.h"

namespace fmconv::gui {

QtDialogHost::QtDialogHost(QObject* parent) : QObject(parent) {}

void QtDialogHost::OnGuiThread(const std::function<void()>& f) {
    if (QThread::currentThread() == thread()) {
        f();
    } else {
        QMetaObject::invokeMethod(this, f, Qt::BlockingQueuedConnection);
    }
}

void QtDialogHost::ShowMessageBox(const platform::MessageBoxRequest& box) {
    OnGuiThread([&] {
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        if (box.icon == platform::BoxIcon::kStop) icon = QMessageBox::Critical;
        if (box.icon == platform::BoxIcon::kExclamation) icon = QMessageBox::Warning;
        QMessageBox message(icon, QString::fromLocal8Bit(box.caption),
                            QString::fromLocal8Bit(box.text), QMessageBox::Ok, owner_);
        ExecModal(message);
    });
}

std::string QtDialogHost::BrowseForFolder(const std::string& title,
                                          const std::string& initialSelection, bool) {
    std::string path;
    OnGuiThread([&] {
        const QString chosen = QFileDialog::getExistingDirectory(
            owner_, QString::fromLocal8Bit(title), QString::fromLocal8Bit(initialSelection));
        path = chosen.toLocal8Bit().toStdString();
    });
    return path;
}

QString QtDialogHost::QtFilter(const std::string& filter) {
    const QStringList parts = QString::fromLocal8Bit(filter).split('|', Qt::SkipEmptyParts);
    QStringList filters;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QString label = parts[i];
        if (!label.contains('(')) label += " (" + parts[i + 1] + ")";
        filters << label;
    }
    return filters.join(";;");
}

std::string QtDialogHost::ChooseFileToOpen(const std::string& filter) {
    std::string path;
    OnGuiThread([&] {
        const QString chosen =
            QFileDialog::getOpenFileName(nullptr, QString(), QString(), QtFilter(filter));
        path = chosen.toLocal8Bit().toStdString();
    });
    return path;
}

void QtDialogHost::ShowModalDialog(const platform::ModalDialogContent& content) {
    OnGuiThread([&] {
        const platform::DialogTemplate& t = AboutDialogTemplate();
        QDialog dialog(owner_);
        dialog.setWindowTitle(QString::fromLocal8Bit(content.title));
        const DialogUnits units(DialogFont(t));
        dialog.setFixedSize(units.Size(t.width, t.height));
        std::size_t text = 0;
        for (const platform::ControlSpec& line : t.controls) {
            const QRect rect = units.Rect(line.x, line.y, line.width, line.height);
            if (line.style & platform::kStyleIcon) {
                auto* icon = new QLabel(&dialog);
                icon->setPixmap(QApplication::windowIcon().pixmap(rect.size()));
                icon->setGeometry(rect);
            } else if (line.kind == platform::ControlKind::kStatic) {
                auto* label = new QLabel(&dialog);
                label->setText(text < content.texts.size()
                                   ? QString::fromLocal8Bit(content.texts[text++])
                                   : QString());
                label->setTextFormat(Qt::PlainText);
                label->setFont(DialogFont(t));
                label->setGeometry(rect);
            } else if (line.kind == platform::ControlKind::kPushButton) {
                auto* ok = new QPushButton(QString::fromLocal8Bit(line.caption), &dialog);
                ok->setDefault(true);
                ok->setGeometry(rect);
                QObject::connect(ok, &QPushButton::clicked, &dialog, &QDialog::accept);
            }
        }
        ExecModal(dialog);
    });
}

void QtDialogHost::ExecModal(QDialog& dialog) {
    dialog.exec();
}

void QtDialogHost::Launch(const std::string& commandLine) {
    platform::StartDetached(commandLine);
}

void QtDialogHost::NudgePointer() {
    // Not waited for: the run's last act must never wait on the GUI thread,
    // which may by then be waiting for the run's thread to end.
    QMetaObject::invokeMethod(
        this, [] { QCursor::setPos(QCursor::pos() + QPoint(1, 0)); }, Qt::QueuedConnection);
}

void QtDialogHost::EndDialog(int result) {
    OnGuiThread([&] {
        if (endDialog_) endDialog_(result);
    });
}

}  // namespace fmconv::gui
