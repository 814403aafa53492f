// The texts a conversion run shows, in one place so that tests can name them.
#pragma once

#include <string>

namespace fmconv {

inline constexpr char kCaptionError[] = "Error";
inline constexpr char kCaptionWarning[] = "Warning";
inline constexpr char kCaptionFinish[] = "Finish";

inline constexpr char kMsgAlreadyExistName[] = "Already exist name [%s] in [%s]";
inline constexpr char kMsgSourceReadError[] = "Source file read error [%s]";
inline constexpr char kMsgSourceFormatError[] = "Source file format error [%s]";
inline constexpr char kMsgDestinationWriteError[] = "Destination file write error [%s]";
inline constexpr char kMsgCannotCreateRegisterNumber[] = "Cannot create register number.";
inline constexpr char kMsgConvertFailed[] = "Convert failed [%s]";
inline constexpr char kMsgConvertFinished[] = "Convert finished successfully";
// Another run (this program in another window or on the command line)
// writes into the destination folder; a run holds its folder for itself.
inline constexpr char kMsgFolderInUse[] = "Destination folder is in use by another conversion [%s]";

// Where the scans and converters send the messages they show themselves: the
// driver turns each into an "Error" box with the stop icon owned by the main
// window; tests record them.
class ErrorReporter {
  public:
    virtual ~ErrorReporter() = default;
    virtual void ReportError(const std::string& text) = 0;
};

}  // namespace fmconv
