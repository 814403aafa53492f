// The headless host: every message box and dialog is recorded and answered
// with OK at once; the pickers answer what the caller scripted (an empty
// answer is a cancelled picker); launches are recorded, nothing is started.
#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

#include "platform/dialog_host.h"

namespace fmconv::platform {

struct LaunchRequest {
    std::string commandLine;
};

// One thing the window showed or did, in order.
using HostEvent = std::variant<MessageBoxRequest, ModalDialogContent, LaunchRequest>;

class HeadlessHost final : public DialogHost {
  public:
    // Called for every event as it happens, on the thread that caused it.
    using EventSink = std::function<void(const HostEvent&)>;
    explicit HeadlessHost(EventSink sink = nullptr);

    // The next folder picker answers path (empty: cancelled).
    void ScriptFolder(std::string path);
    // The next file chooser answers path (empty: cancelled).
    void ScriptFile(std::string path);
    // Forgets answers that no picker asked for.
    void ClearScript();

    std::vector<HostEvent> Events() const;
    std::vector<MessageBoxRequest> Boxes() const;
    bool Ended() const;
    // What the last folder picker was opened at.
    std::string LastFolderSelection() const;

    void ShowMessageBox(const MessageBoxRequest& box) override;
    std::string BrowseForFolder(const std::string& title, const std::string& initialSelection,
                                bool newFolderButton) override;
    std::string ChooseFileToOpen(const std::string& filter) override;
    void ShowModalDialog(const ModalDialogContent& dialog) override;
    void Launch(const std::string& commandLine) override;
    void NudgePointer() override {}
    void EndDialog(int result) override;

  private:
    void Record(HostEvent event);

    EventSink sink_;
    mutable std::mutex mutex_;
    std::vector<HostEvent> events_;
    std::deque<std::string> folders_;
    std::deque<std::string> files_;
    std::string lastFolderSelection_;
    bool ended_ = false;
};

}  // namespace fmconv::platform
