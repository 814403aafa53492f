#include "app/converter_app.h"

namespace fmconv {

CConverterApp::CConverterApp(std::string lockName) : lockName_(std::move(lockName)) {}

bool CConverterApp::InitInstance(const std::function<void()>& runMainWindow) {
    platform::InstanceLock::Result guard = platform::InstanceLock::Create(lockName_);
    if (guard.alreadyExists) {
        secondInstance_ = true;
        return false;
    }
    lock_ = std::move(guard.lock);
    runMainWindow();
    return false;
}

int CConverterApp::ExitInstance() {
    lock_.reset();
    return 0;
}

}  // namespace fmconv
