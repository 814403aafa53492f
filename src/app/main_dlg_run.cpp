// CMainDlg: the window's side of a run (Exec/Cancel and the end-of-run reset).
#include "app/main_dlg.h"
#include "app/resources.h"
#include "platform/thread_priority.h"
#include "run/driver.h"

namespace fmconv {

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
            exitCode_ = ConvertThreadProc(*this);
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
