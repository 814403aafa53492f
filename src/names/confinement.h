// Names read from inside files become file names in the destination folder:
// the inner name of a register trailer, and the names made from it. A file
// may carry any bytes there, so such a name is used only when it stays a
// plain, visible name of that one folder.
#pragma once

#include <string_view>

namespace fmconv {

// False for a name that is empty, "." or "..", starts with "." (a hidden
// file, or one with an empty stem such as ".SFA"), holds a path separator
// ("/" or "\") or a control character (below 0x20, or 0x7F). Converters
// refuse such a name as they refuse a source they cannot read.
bool IsConfinedName(std::string_view name);

}  // namespace fmconv
