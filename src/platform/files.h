// File services that the converter takes from its operating system:
// directory enumeration by extension and the current directory. (Whole-file
// copies are made by the writer of platform/output_files.h.)
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fmconv::platform {

// The entries of folder whose text after the last "." equals extension,
// ASCII letters compared ignoring case (so "*.tif" never picks up x.tiff).
// Folders whose names match are listed too. Names only, no folder, in the
// order of a sorted list box (CompareListText) so that runs repeat exactly;
// an unreadable or missing folder gives an empty list.
std::vector<std::string> ListDirectory(const std::string& folder, std::string_view extension);

// The process's current directory; empty when it cannot be read.
std::string CurrentDirectory();

}  // namespace fmconv::platform
