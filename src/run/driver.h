// The conversion run that Exec starts.
#pragma once

#include "run/run_window.h"

namespace fmconv {

// The worker: converts the window's selection and returns 0 when the run
// reached its end, -1 when it stopped early.
int ConvertThreadProc(RunWindow& window);

}  // namespace fmconv
