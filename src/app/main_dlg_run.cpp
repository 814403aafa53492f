// CMainDlg: the window's side of a run (Exec/Cancel and the end-of-run reset).
#include "app/main_dlg.h"
#include "app/resources.h"
#include "base/text.h"
#include "platform/thread_priority.h"
#include "run/driver.h"

namespace fmconv {

namespace {

// The window as the run sees it.
class MainDlgRunWindow final : public RunWindow {
  public:
    explicit MainDlgRunWindow(CMainDlg& dlg) : dlg_(dlg), s_(dlg.Surface()) {}

    std::string SourceFolder() override { return s_.Text(kIdSourcePath); }
    std::string DestinationFolder() override { return s_.Text(kIdDestPath); }
    std::string ChannelPath(int channel) override {
        const ChannelControls& ch = kChannels[static_cast<std::size_t>(channel - 1)];
        return dlg_.ChannelPage(ch.page).Surface().Text(ch.edit);
    }
    bool IsChecked(RunControl control) override {
        // The controls in RunControl's order: ids 1016 to 1036.
        return s_.Checked(kIdSourceSf1 + static_cast<int>(control));
    }
    std::vector<int> SelectedSourceItems(std::size_t maxCount) override {
        return s_.ListSelection(kIdSourceList, maxCount);
    }
    std::string SourceItem(int index) override { return s_.ListText(kIdSourceList, index); }
    void StartProgress(int count) override {
        s_.SetVisible(kIdProgress, true);
        s_.ProgressSetPos(kIdProgress, 0);
        s_.ProgressSetRange(kIdProgress, 0, count);
    }
    void SetProgress(int position) override { s_.ProgressSetPos(kIdProgress, position); }
    void AddEntry(const std::string& entry) override { s_.ListInsert(kIdDestList, -1, entry); }
    std::vector<std::string> Entries() override { return s_.ListItems(kIdDestList); }
    void SelectEntry(const std::string& prefix) override { s_.ListSelectString(kIdDestList, prefix); }
    void FilesWritten(const std::vector<std::string>& paths) override {
        if (dlg_.Services().filesWritten) dlg_.Services().filesWritten(paths);
    }
    void ShowDestinationCount(int count) override {
        s_.SetText(kIdDestCount, count != 0 ? Format(kFilesFormat, count) : kNotFound);
    }
    void ShowBox(const platform::MessageBoxRequest& box) override { dlg_.Host().ShowMessageBox(box); }
    bool CancelRequested() override { return dlg_.CancelRequested(); }
    void RestoreAfterRun() override { dlg_.RestoreAfterRun(); }
    void AfterFile(int filesDone) override {
        if (dlg_.Services().afterFile) dlg_.Services().afterFile(filesDone);
    }
    ConversionContext& Context() override { return dlg_.RunContext(); }
    PictureImport* Import() override { return dlg_.Services().import; }

  private:
    CMainDlg& dlg_;
    platform::ControlSurface& s_;
};

static_assert(kIdSourceSf1 + static_cast<int>(RunControl::kSfa480i5994) == kIdSfa480i5994);
static_assert(kIdSourceSf1 + static_cast<int>(RunControl::kDestSfm) == kIdDestSfm);
static_assert(kIdSourceSf1 + static_cast<int>(RunControl::kSfm1080) == kIdSfm1080);

}  // namespace

void CMainDlg::OnExec() {
    if (Text(kIdExec) == kCaptionExec) {
        WaitForRun();  // the previous worker has passed its reset already
        converting_ = true;
        cancelRequested_ = false;
        SetText(kIdExec, kCaptionCancel);
        Enable(kIdClose, false);
        surface_.ListReset(kIdDestList);
        std::lock_guard lock(runMutex_);
        worker_ = std::thread([this] {
            platform::LowerCurrentThreadPriority();
            MainDlgRunWindow window(*this);
            exitCode_ = ConvertThreadProc(window);
        });
        return;
    }
    Enable(kIdExec, false);
    cancelRequested_ = true;
}

void CMainDlg::RequestCancel() {
    if (!converting_) return;
    Enable(kIdExec, false);
    cancelRequested_ = true;
}

void CMainDlg::RestoreAfterRun() {
    surface_.SetVisible(kIdProgress, false);
    SetText(kIdExec, kCaptionExec);
    Enable(kIdExec, true);
    Enable(kIdClose, true);
    converting_ = false;
    cancelRequested_ = false;
    services_.host->NudgePointer();
}

int CMainDlg::WaitForRun() {
    std::thread worker;
    {
        std::lock_guard lock(runMutex_);
        worker.swap(worker_);
    }
    if (worker.joinable()) worker.join();
    return exitCode_;
}

}  // namespace fmconv
