#include "cli/demo.h"

#include <filesystem>

#include "base/bytes.h"
#include "base/file_io.h"
#include "base/text.h"
#include "fmfiles/sfm_file.h"

namespace fmconv::cli {

int RunDemo(const std::string& folder, std::ostream& out, std::ostream& err) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        err << "fmconv demo: cannot create folder " << folder << ": " << error.message() << '\n';
        return 1;
    }
    out << "Uncovered frames (Y 64, Cb/Cr 512), one per picture format:\n";
    const char* names[] = {"BLK480I", "BLK576I", "BLK1080", "BLK720P"};
    for (int format = kFrameFormat480i; format <= kFrameFormat720p; ++format) {
        const FrameLayout& layout = *GetFrameLayout(format);
        const std::string name = Format("M%s.FMEM_%03d.SFM", names[format - 1], format);
        const std::string path = JoinPath(folder, name);
        SfmHeader header;
        if (!BuildSfmHeader(path, header, layout.lengthFrom48(), layout.planeBytes)) {
            err << "fmconv demo: " << name << " is not a frame-memory name\n";
            return 1;
        }
        const std::vector<uint8_t> file = BuildSfmFile(header, layout, MakeUncoveredFrame(layout));
        if (!WriteWholeFile(path, file)) {
            err << "fmconv demo: cannot write " << path << '\n';
            return 1;
        }
        out << Format("  %-26s %8zu bytes  %-14s checksum 0x%08X\n", path.c_str(), file.size(),
                      layout.selection, ReadBe32(&file[36]));
    }
    return 0;
}

}  // namespace fmconv::cli
