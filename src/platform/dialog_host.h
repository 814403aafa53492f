// What a dialog asks of its host beyond its own controls: message boxes,
// the folder and file pickers, other modal dialogs, starting programs and
// the pointer. The desktop window answers through its toolkit; the headless
// window records and answers at once. Any thread may ask; a box blocks the
// asking thread until it has been answered.
#pragma once

#include <string>
#include <vector>

namespace fmconv::platform {

enum class BoxIcon { kNone, kStop, kExclamation };

struct MessageBoxRequest {
    std::string caption;
    std::string text;
    BoxIcon icon = BoxIcon::kNone;
};

// A modal dialog other than a message box (the About box): its title and
// the texts it shows, in order.
struct ModalDialogContent {
    std::string title;
    std::vector<std::string> texts;
};

class DialogHost {
  public:
    virtual ~DialogHost() = default;

    // Shows the box modally and returns once it was closed (OK).
    virtual void ShowMessageBox(const MessageBoxRequest& box) = 0;
    // The folder picker, opened at initialSelection; "" when cancelled.
    virtual std::string BrowseForFolder(const std::string& title,
                                        const std::string& initialSelection,
                                        bool newFolderButton) = 0;
    // The open-file chooser with a filter such as
    // "Audio Files (*.wav)|*.wav|All Files (*.*)|*.*||"; "" when cancelled.
    virtual std::string ChooseFileToOpen(const std::string& filter) = 0;
    // Shows a modal dialog and returns when it was closed with OK.
    virtual void ShowModalDialog(const ModalDialogContent& dialog) = 0;
    // Starts a program without waiting for it; failures are silent.
    virtual void Launch(const std::string& commandLine) = 0;
    // Moves the pointer one pixel to the right, so that the cursor is asked
    // for again; nothing where there is no pointer. Returns without waiting
    // for the window's thread.
    virtual void NudgePointer() = 0;
    // The dialog has ended (its modal loop returns).
    virtual void EndDialog(int result) = 0;
};

}  // namespace fmconv::platform
