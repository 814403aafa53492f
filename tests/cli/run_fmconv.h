// Runs the fmconv program as a separate process, in a chosen current
// directory, and collects what it printed.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace fmconv::testing {

struct ProcessResult {
    int exitCode = -1;  // -1 when the process was ended by a signal
    std::vector<std::string> outLines;
    std::vector<std::string> errLines;
    std::string out;
    std::string err;
};

struct SpawnOptions {
    std::optional<uid_t> user;  // run as this user (the test must be the superuser)
};

// One fmconv process; args are passed as they stand (no shell), stdinText is
// fed to it.
class RunningFmconv {
  public:
    RunningFmconv(const std::string& workingDirectory, const std::vector<std::string>& args,
                  const std::string& stdinText = "", const SpawnOptions& options = {});
    RunningFmconv(const RunningFmconv&) = delete;
    RunningFmconv& operator=(const RunningFmconv&) = delete;

    void Signal(int signal) const;
    // What it has written to standard output so far.
    std::string OutSoFar() const;
    // Waits for it to end.
    ProcessResult Wait();

  private:
    TempDir io_;
    pid_t pid_ = -1;
};

ProcessResult RunFmconv(const std::string& workingDirectory, const std::vector<std::string>& args,
                        const std::string& stdinText = "", const SpawnOptions& options = {});

// True when some line contains every one of the fragments.
bool AnyLineHas(const std::vector<std::string>& lines, const std::vector<std::string>& fragments);

}  // namespace fmconv::testing
