// Fuzzes the settings file: its content is read for the four keys of the
// window, and the four are written back into it. Writing a key must make it
// read back as written, must leave every other key as it read before, and
// writing the same again must change nothing.
#include <cstdint>
#include <string>

#include "platform/profile.h"

namespace {

using namespace fmconv::platform;

constexpr const char* kKeys[] = {"Original_File_Directory_Type", "Convert_File_Directory_Type",
                                 "SFMFormat", "SFAFormat"};
constexpr const char* kValues[] = {"SF1/SF3 Sort", "SF3", "480i/59.94", "1080PsF/24"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string content(reinterpret_cast<const char*>(data), size);
    // Keys the window never writes, in its section and in another one.
    const auto others = [](const std::string& text) {
        return ProfileValue(text, "FILEMANAGER", "Other", "-") + "|" +
               ProfileValue(text, "Client", "SFMFormat", "-");
    };
    std::string written = content;
    for (int k = 0; k < 4; ++k) {
        ProfileValue(content, "FILEMANAGER", kKeys[k], "default");
        written = ProfileWithValue(written, "FILEMANAGER", kKeys[k], kValues[k]);
    }
    for (int k = 0; k < 4; ++k) {
        if (ProfileValue(written, "FILEMANAGER", kKeys[k], "default") != kValues[k]) {
            __builtin_trap();
        }
    }
    if (others(written) != others(content)) __builtin_trap();
    std::string again = written;
    for (int k = 0; k < 4; ++k) again = ProfileWithValue(again, "FILEMANAGER", kKeys[k], kValues[k]);
    if (again != written) __builtin_trap();
    return 0;
}
