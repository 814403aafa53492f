#include "run/numbering.h"

#include <algorithm>

#include "base/text.h"
#include "fmfiles/register_file.h"
#include "platform/files.h"

namespace fmconv {

namespace {

std::size_t SelectedCount(const std::vector<std::string>& items) {
    return std::min(items.size(), kMaxSelectedItems);
}

// Returns true (after the message) when namePart equals the base of a
// selected item.
bool ReportBaseClash(std::string_view namePart, const std::string& fileName,
                     const std::vector<std::string>& selectedItems, ErrorReporter& reporter) {
    for (std::size_t i = 0; i < SelectedCount(selectedItems); ++i) {
        if (EqualsIgnoreCase(namePart, PictureBase(selectedItems[i]))) {
            reporter.ReportError(
                Format(kMsgAlreadyExistName, std::string(namePart).c_str(), fileName.c_str()));
            return true;
        }
    }
    return false;
}

// The last characters of a stem read as an integer; "_" + three digits
// counts as those three digits.
int32_t TailNumber(std::string_view stem) {
    std::string_view tail = LastChars(stem, 4);
    if (!tail.empty() && tail.front() == '_') tail = LastChars(stem, 3);
    return AtoiLike(tail);
}

enum class TrailerScan { kInnerNumbers, kRenumberCheck };

// The loop shared by the two register-file scans.
int32_t ScanRegisterTrailers(const std::string& folder, RegisterKind kind,
                             const std::vector<std::string>& selectedItems, ErrorReporter& reporter,
                             TrailerScan scan) {
    const bool check = scan == TrailerScan::kRenumberCheck;
    int32_t highest = 0;
    for (const std::string& name :
         platform::ListDirectory(folder, ToLowerAscii(ExtensionText(kind)))) {
        const TrailerRead read =
            ReadRegisterTrailer(JoinPath(folder, name), TrailerOpenMode::kReadWrite);
        if (read.status == TrailerReadStatus::kOpenFailed) {
            reporter.ReportError(Format(kMsgSourceReadError, name.c_str()));
            return -1;
        }
        if (read.status == TrailerReadStatus::kShort) {
            reporter.ReportError(Format(kMsgSourceReadError, name.c_str()));
            return -2;
        }
        if (!IsValidRegisterTrailer(read.trailer)) {
            reporter.ReportError(
                Format(check ? kMsgSourceReadError : kMsgSourceFormatError, name.c_str()));
            return -3;
        }
        const std::string inner = TrailerInnerName(read.trailer);
        const std::string_view namePart = NamePartOf(inner);
        if (check) {
            for (std::size_t i = 0; i < SelectedCount(selectedItems); ++i) {
                if (EqualsIgnoreCase(namePart, NamePartOf(selectedItems[i]))) {
                    reporter.ReportError(Format(kMsgDestinationWriteError, name.c_str()));
                    return -4;
                }
            }
            continue;
        }
        highest = std::max(highest, AtoiLike(LastChars(StemOf(inner), 3)));
        if (ReportBaseClash(namePart, name, selectedItems, reporter)) return -4;
    }
    return check ? 0 : highest + 1;
}

}  // namespace

int32_t NextFrameMemoryNumber(const std::string& folder, FrameFileKind kind,
                              const std::vector<std::string>& selectedItems,
                              ErrorReporter& reporter) {
    int32_t highest = 0;
    for (const std::string& name : platform::ListDirectory(folder, ExtensionText(kind))) {
        highest = std::max(highest, TailNumber(StemOf(name)));
        if (ReportBaseClash(NamePartOf(name), name, selectedItems, reporter)) return -4;
    }
    return highest + 1;
}

int32_t NextRegisterFileNumber(const std::string& folder, RegisterKind kind) {
    int32_t highest = 0;
    for (const std::string& name : platform::ListDirectory(folder, ExtensionText(kind))) {
        highest = std::max(highest, AtoiLike(LastChars(StemOf(name), 4)));
    }
    return highest + 1;
}

int32_t NextInnerRegisterNumber(const std::string& folder, RegisterKind kind,
                                const std::vector<std::string>& selectedItems,
                                ErrorReporter& reporter) {
    return ScanRegisterTrailers(folder, kind, selectedItems, reporter, TrailerScan::kInnerNumbers);
}

int32_t CheckRegisterFileNames(const std::string& folder, RegisterKind kind,
                               const std::vector<std::string>& selectedItems,
                               ErrorReporter& reporter) {
    return ScanRegisterTrailers(folder, kind, selectedItems, reporter, TrailerScan::kRenumberCheck);
}

}  // namespace fmconv
