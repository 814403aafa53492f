// The conversion run that Exec starts.
#pragma once

namespace fmconv {

class CMainDlg;

// The worker: converts the window's selection and returns 0 when the run
// reached its end, -1 when it stopped early.
int ConvertThreadProc(CMainDlg& window);

}  // namespace fmconv
