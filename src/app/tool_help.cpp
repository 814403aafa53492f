// CMainDlg: the Tool and Help commands and the About box.
#include "app/main_dlg.h"
#include "app/resources.h"
#include "platform/launch.h"

namespace fmconv {

void CMainDlg::OnShowDiskManagement() {
    services_.host->Launch(platform::DiskManagementCommandLine());
}

void CMainDlg::OnGuideDocument() {
    services_.host->Launch(platform::GuideDocumentCommandLine());
}

void CMainDlg::OnAbout() {
    services_.host->ShowModalDialog({kAboutTitle, {kAboutVersion, kAboutNotice}});
}

}  // namespace fmconv
