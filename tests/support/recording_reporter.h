#pragma once

#include <string>
#include <vector>

#include "run/messages.h"

namespace fmconv::testing {

// Keeps every error message a scan or converter shows.
class RecordingReporter : public ErrorReporter {
  public:
    void ReportError(const std::string& text) override { messages.push_back(text); }
    std::vector<std::string> messages;
};

}  // namespace fmconv::testing
