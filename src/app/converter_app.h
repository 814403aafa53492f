// CConverterApp: start-up with the single-instance guard.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/instance.h"

namespace fmconv {

class CConverterApp {
  public:
    // lockName is the instance guard's name; tests give their own.
    explicit CConverterApp(std::string lockName);

    // Takes the instance guard; when another copy holds it, returns false at
    // once, silently. Otherwise runs the main window (runMainWindow returns
    // when the window has closed) and returns false as well, so that the
    // program ends with its window.
    bool InitInstance(const std::function<void()>& runMainWindow);
    // Releases the guard.
    int ExitInstance();

    bool SecondInstance() const { return secondInstance_; }

  private:
    std::string lockName_;
    std::unique_ptr<platform::InstanceLock> lock_;
    bool secondInstance_ = false;
};

}  // namespace fmconv
