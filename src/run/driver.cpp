#include "run/driver.h"

#include "app/main_dlg.h"
#include "app/resources.h"
#include "base/text.h"
#include "run/messages.h"

namespace fmconv {

namespace {

// The end of a run that reached its end: the count line and the Finish box
// when files were made, "not found" otherwise, then the reset.
int FinishRun(CMainDlg& window) {
    platform::ControlSurface& s = window.Surface();
    const int count = s.ListCount(kIdDestList);
    if (count != 0) {
        s.ListSelectString(kIdDestList, s.ListText(kIdDestList, count - 1));
        s.SetText(kIdDestCount, Format(kFilesFormat, count));
        window.Host().ShowMessageBox(
            {kCaptionFinish, kMsgConvertFinished, platform::BoxIcon::kNone});
    } else {
        s.SetText(kIdDestCount, kNotFound);
    }
    window.RestoreAfterRun();
    return 0;
}

}  // namespace

int ConvertThreadProc(CMainDlg& window) {
    return FinishRun(window);
}

}  // namespace fmconv
