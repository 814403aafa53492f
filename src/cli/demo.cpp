#include "cli/demo.h"

#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include "base/bytes.h"
#include "base/file_io.h"
#include "base/text.h"
#include "fmfiles/sfm_file.h"
#include "image/picture_convert.h"
#include "run/naming.h"

namespace fmconv::cli {

namespace {

// The demo's own picture: 360 x 180, eight colour bars of 45 pixels (white,
// yellow, cyan, green, magenta, red, blue, black) over 135 rows, opaque, and
// under them 45 rows of a grey ramp from black to white, half transparent
// (alpha 128). Stored as an uncompressed 32-bit TGA with its rows from the top.
std::vector<uint8_t> DemoPictureTga() {
    constexpr uint16_t kWidth = 360, kHeight = 180, kBarRows = 135;
    std::vector<uint8_t> file(18, 0);
    file[2] = 2;
    WriteLe16(&file[12], kWidth);
    WriteLe16(&file[14], kHeight);
    file[16] = 32;
    file[17] = 0x28;
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            if (y >= kBarRows) {
                const auto grey = static_cast<uint8_t>(x * 255 / (kWidth - 1));
                file.insert(file.end(), {grey, grey, grey, 128});
                continue;
            }
            // The bar index's bits switch blue (1), red (2) and green (4) off.
            const int bar = x / 45;
            const auto level = [bar](int bit) { return static_cast<uint8_t>(bar & bit ? 0 : 255); };
            file.insert(file.end(), {level(1), level(4), level(2), 255});
        }
    }
    return file;
}

uint32_t ChecksumOf(const std::string& path) {
    const std::optional<std::vector<uint8_t>> bytes = ReadFilePrefix(path, 40);
    return bytes && bytes->size() == 40 ? ReadBe32(&(*bytes)[36]) : 0;
}

// Writes the demo picture, converts it into a fill and a key frame at 1080
// and prints what it wrote.
int ConvertDemoPicture(const std::string& folder, std::ostream& out, std::ostream& err) {
    const std::string picture = JoinPath(folder, "DEMOLOGO.tga");
    const std::vector<uint8_t> tga = DemoPictureTga();
    if (!WriteWholeFile(picture, tga)) {
        err << "fmconv demo: cannot write " << picture << '\n';
        return 1;
    }
    const PictureNames names = MakePictureNames("DEMOLOGO.tga", 5, false);
    const std::string fill = JoinPath(folder, names.mName);
    const std::string key = JoinPath(folder, names.sName);
    const FrameLayout& layout = *GetFrameLayout(kFrameFormat1080);
    out << Format("\nA picture with alpha, made here, into fill and key at %s (BT.709):\n",
                  layout.selection);
    out << Format(
        "  %-34s %8zu bytes  360 x 180 32-bit TGA: bars over a grey ramp, alpha 255 / 128\n",
        picture.c_str(), tga.size());
    std::string trace;
    const int result = ConvertTgaPicture(picture, fill, key, kFrameFormat1080, 0, 0,
                                         [&trace](std::string_view line) { trace += line; });
    out << "  reader trace: " << trace;
    if (result != kPictureKeyWritten + kFrameFormat1080) {
        err << "fmconv demo: converting " << picture << " answered " << result << '\n';
        return 1;
    }
    for (const auto& [path, what] : {std::pair{fill, "fill"}, std::pair{key, "key "}}) {
        out << Format("  %-34s %8u bytes  %s  checksum 0x%08X\n", path.c_str(), layout.fileSize(),
                      what, ChecksumOf(path));
    }
    out << Format("  result %d: fill and key written\n", result);
    return 0;
}

}  // namespace

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
    return ConvertDemoPicture(folder, out, err);
}

}  // namespace fmconv::cli
