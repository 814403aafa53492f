// The desktop host: message boxes, the folder picker, the WAV chooser and the
// About box on Qt widgets. Any thread may ask; a request from the run's
// worker is carried to the GUI thread and the worker waits for the answer.
#pragma once

#include <QDialog>
#include <QObject>
#include <QPointer>
#include <QWidget>
#include <functional>

#include "platform/dialog_host.h"

namespace fmconv::gui {

class QtDialogHost : public QObject, public platform::DialogHost {
    Q_OBJECT
  public:
    explicit QtDialogHost(QObject* parent = nullptr);

    // The window that owns the boxes.
    void SetOwner(QWidget* owner) { owner_ = owner; }
    // Called when the dialog ends (Close).
    void OnEndDialog(std::function<void(int)> handler) { endDialog_ = std::move(handler); }

    void ShowMessageBox(const platform::MessageBoxRequest& box) override;
    std::string BrowseForFolder(const std::string& title, const std::string& initialSelection,
                                bool newFolderButton) override;
    std::string ChooseFileToOpen(const std::string& filter) override;
    void ShowModalDialog(const platform::ModalDialogContent& dialog) override;
    void Launch(const std::string& commandLine) override;
    void NudgePointer() override;
    void EndDialog(int result) override;

    // The MFC-style filter "A (*.a)|*.a|B|*.b||" as Qt's "A (*.a);;B (*.b)".
    static QString QtFilter(const std::string& filter);

  protected:
    // Runs f on the GUI thread and waits for it.
    void OnGuiThread(const std::function<void()>& f);
    // Shows a modal dialog (a message box, the About box) until it is closed.
    virtual void ExecModal(QDialog& dialog);

  private:
    QPointer<QWidget> owner_;
    std::function<void(int)> endDialog_;
};

}  // namespace fmconv::gui
