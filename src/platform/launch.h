// Starting the programs of the Tool and Help commands.
#pragma once

#include <string>

namespace fmconv::platform {

// The command lines that the Tool and Help commands start on this platform:
// the desktop's disk utility, and the guide document (looked up in the
// current directory) opened through the desktop's launcher.
std::string DiskManagementCommandLine();
std::string GuideDocumentCommandLine();

// Starts the program of commandLine (words separated by blanks) without
// waiting for it, in the current directory with this environment. Returns
// false, silently, when the program is not installed or cannot be started.
bool StartDetached(const std::string& commandLine);

}  // namespace fmconv::platform
