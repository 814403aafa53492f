// The scans that find the next free numbers of a destination folder and
// refuse a run whose pictures would clash with names already there. Each
// shows its own message through the reporter before it returns a negative
// value; the caller then stops without a further message.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "run/messages.h"
#include "names/naming.h"

namespace fmconv {

// At most this many selected items are fetched from the source list.
constexpr std::size_t kMaxSelectedItems = 9999;

// The highest register number of the folder's SFM or SFA files + 1 (1 when
// none), or -4 after "Already exist name [%s] in [%s]" when a file's name
// equals the base of a selected item.
int32_t NextFrameMemoryNumber(const std::string& folder, FrameFileKind kind,
                              const std::vector<std::string>& selectedItems,
                              ErrorReporter& reporter);

// The highest FNumber of the folder's SF1 or SF3 files + 1 (1 when none).
int32_t NextRegisterFileNumber(const std::string& folder, RegisterKind kind);

// The highest inner register number of the folder's register files + 1 (only
// the last three digits count, so an inner number 1012 counts as 12), or -1
// (a file cannot be opened), -2 (short trailer), -3 (markers wrong), -4 (name
// clash), each after its message.
int32_t NextInnerRegisterNumber(const std::string& folder, RegisterKind kind,
                                const std::vector<std::string>& selectedItems,
                                ErrorReporter& reporter);

// The check made before a renumbering copy: 0, or -1, -2, -3, -4 after its
// message. Markers are reported as a read error, a clash as a write error,
// and the clash compares each selected item from its second character up to
// its first "." without the 8-character cut: these are how the renumbering
// run has always refused.
int32_t CheckRegisterFileNames(const std::string& folder, RegisterKind kind,
                               const std::vector<std::string>& selectedItems,
                               ErrorReporter& reporter);

}  // namespace fmconv
