// Thread priority of the run's worker.
#pragma once

namespace fmconv::platform {

// Gives the calling thread the lowest scheduling priority the system allows
// it, so that the window stays responsive while the worker converts.
void LowerCurrentThreadPriority();

}  // namespace fmconv::platform
