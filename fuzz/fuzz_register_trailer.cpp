// Fuzzes every path that takes a name from a register trailer: the scans of
// the destination, unpacking (by trailer and by list item), renumbering,
// the SFA writers from an SF1 frame and the audio-extracting conversions
// from an SF3 frame. Whatever the trailer says, nothing may be written
// outside the destination folder, and every file written there must carry a
// plain name of that folder.
//
// Byte 0: bit 0 valid marks, bit 1 the raw input is the whole file (else a
// small frame followed by a trailer whose 32 name bytes are the input's
// next bytes), bits 2 and 3 both set: also the slower frame-building paths.
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "audio/extracting_conversions.h"
#include "audio/sfa_file.h"
#include "audio/signal_format.h"
#include "fmfiles/containers.h"
#include "fmfiles/register_file.h"
#include "fuzz_work_folder.h"
#include "names/confinement.h"
#include "platform/output_files.h"
#include "run/numbering.h"

namespace {

using namespace fmconv;
namespace fs = std::filesystem;

class Silent : public ErrorReporter {
  public:
    void ReportError(const std::string&) override {}
};

const std::string& Jail() {
    static const fuzz::WorkFolder folder("trailer");
    return folder.path();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t flags = data[0];
    std::vector<uint8_t> file;
    if (flags & 2) {
        file.assign(data + 1, data + size);
    } else {
        file.assign(1000, 0x40);
        RegisterTrailer trailer{};
        if (flags & 1) trailer = BuildRegisterTrailer("");
        for (std::size_t i = 0; i < 32 && i + 1 < size; ++i) trailer[264 + i] = data[1 + i];
        file.insert(file.end(), trailer.begin(), trailer.end());
    }
    std::error_code error;
    fs::remove_all(Jail() + "/src", error);
    fs::remove_all(Jail() + "/dst", error);
    const std::string src = Jail() + "/src", dst = Jail() + "/dst";
    fs::create_directories(src);
    fs::create_directories(dst);
    for (const char* name : {"F0001.SF1", "F0001.SF3"}) {
        platform::WriteWholeFile(platform::SystemOutputFiles(), src + "/" + name, file.data(),
                                 file.size());
    }

    // The scans read every trailer of a folder.
    Silent silent;
    const std::vector<std::string> selected = {"LOGO.tga", "MLOGO.FMEM_001.SFM"};
    NextInnerRegisterNumber(src, RegisterKind::kSf1, selected, silent);
    CheckRegisterFileNames(src, RegisterKind::kSf3, selected, silent);

    platform::FixedFreeSpaceProbe plenty(int64_t{1} << 40);
    ConversionContext ctx;
    ctx.freeSpace = &plenty;
    const TrailerRead read = ReadRegisterTrailer(src + "/F0001.SF3", TrailerOpenMode::kRead);
    const std::string item = "F0001.SF3(" + TrailerInnerName(read.trailer) + ")";
    UnpackRegisterFile(src, "F0001.SF1", dst, UnpackVariant::kTrailer, ctx);
    UnpackRegisterFile(src, item, dst, UnpackVariant::kListItem, ctx);
    RenumberRegisterFile(src, item, dst, 12, ctx);
    if ((flags & 12) == 12) {
        AudioChannelSet set;
        ResetAudioChannelSet(set);
        set.frameCount = 1;
        WriteSfaFromSf1(src, "F0001.SF1", dst, set, kSignal480i5994, ctx);
        WriteSf3FromSf1(src, "F0001.SF1", dst, set, kSignal480i5994, ctx);
        ConvertSf3ToSfm(src, "F0001.SF3", dst, set, ctx);
        ConvertSf3ToSf1(src, "F0001.SF3", dst, set, ctx);
    }

    // Nothing outside dst but the two sources; only plain names inside it.
    for (const auto& entry : fs::recursive_directory_iterator(Jail())) {
        const std::string parent = entry.path().parent_path().string();
        const std::string name = entry.path().filename().string();
        if (parent == Jail() && (name == "src" || name == "dst")) continue;
        if (parent == src && (name == "F0001.SF1" || name == "F0001.SF3")) continue;
        if (parent == dst && IsConfinedName(name) && entry.is_regular_file()) continue;
        __builtin_trap();
    }
    return 0;
}
