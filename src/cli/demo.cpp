#include "cli/demo.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <vector>

#include "base/bytes.h"
#include "platform/output_files.h"
#include "base/text.h"
#include "cli/convert_command.h"
#include "cli/inspect_command.h"
#include "cli/preview_command.h"

namespace fmconv::cli {

namespace {

namespace fs = std::filesystem;

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

// A stereo 48 kHz 16-bit WAV file: a 1 kHz tone on the left, 2 kHz on the
// right, at -12 dBFS, long enough for two frames at 59.94 Hz.
std::vector<uint8_t> DemoTonesWav() {
    constexpr uint32_t kFrames = 4000;
    std::vector<uint8_t> file(44, 0);
    const auto put = [&](std::size_t at, const char* four) {
        std::copy(four, four + 4, &file[at]);
    };
    put(0, "RIFF");
    WriteLe32(&file[4], 36 + kFrames * 4);
    put(8, "WAVE");
    put(12, "fmt ");
    WriteLe32(&file[16], 16);
    WriteLe16(&file[20], 1);
    WriteLe16(&file[22], 2);
    WriteLe32(&file[24], 48000);
    WriteLe32(&file[28], 48000 * 4);
    WriteLe16(&file[32], 4);
    WriteLe16(&file[34], 16);
    put(36, "data");
    WriteLe32(&file[40], kFrames * 4);
    const double pi = std::acos(-1.0);
    for (uint32_t i = 0; i < kFrames; ++i) {
        for (double hz : {1000.0, 2000.0}) {
            const auto s =
                static_cast<int16_t>(std::lround(8192 * std::sin(2 * pi * hz * i / 48000)));
            file.push_back(static_cast<uint8_t>(s & 0xFF));
            file.push_back(static_cast<uint8_t>((s >> 8) & 0xFF));
        }
    }
    return file;
}

struct Step {
    const char* title;
    ConvertRequest request;
};

// Runs one conversion as `fmconv convert` would and prints what it wrote.
bool RunStep(const Step& step, std::ostream& out, std::ostream& err) {
    out << "\n" << step.title << "\n";
    std::ostringstream entries, messages;
    const int code = RunConvert(step.request, entries, messages);
    std::istringstream said(messages.str());
    for (std::string line; std::getline(said, line);) out << "  (" << line << ")\n";
    std::istringstream lines(entries.str());
    for (std::string line; std::getline(lines, line);) {
        if (line == "Convert finished successfully") continue;
        const std::string file = line.substr(0, line.find('('));
        std::error_code error;
        const auto size = fs::file_size(JoinPath(step.request.destDir, file), error);
        out << Format("  %-40s %9llu bytes\n", JoinPath(step.request.destDir, line).c_str(),
                      static_cast<unsigned long long>(error ? 0 : size));
    }
    if (code != 0) err << "fmconv demo: the step above stopped (exit code " << code << ")\n";
    return code == 0;
}

// Inspects every frame the steps wrote, as `fmconv inspect` does, and draws
// the fill over its key as `fmconv preview --key` does.
int CheckAndPreview(const std::string& folder, std::ostream& out, std::ostream& err) {
    std::vector<std::string> frames;
    for (const char* sub : {"sfm", "sf1", "sfa", "sf3", "back"}) {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(JoinPath(folder, sub))) {
            if (entry.path().extension() != ".wav") names.push_back(entry.path().string());
        }
        std::sort(names.begin(), names.end());
        frames.insert(frames.end(), names.begin(), names.end());
    }
    out << "\nEvery frame written, inspected (fmconv inspect):\n\n";
    if (RunInspect(frames, false, out) != 0) {
        err << "fmconv demo: a frame written above is not whole and consistent\n";
        return 1;
    }
    const std::string preview = JoinPath(folder, "preview.png");
    const std::string sfm = JoinPath(folder, "sfm");
    const std::string error = RunPreview(JoinPath(sfm, "MDEMOLOGO.FMEM_001.SFM"),
                                         JoinPath(sfm, "SDEMOLOGO.FMEM_002.SFM"), preview);
    if (!error.empty()) {
        err << "fmconv demo: " << error << '\n';
        return 1;
    }
    out << "\nThe fill over its key on a checkerboard (fmconv preview --key):\n"
        << Format("  %-40s 1920 x 1080 RGB PNG\n", preview.c_str());
    return 0;
}

}  // namespace

int RunDemo(const std::string& folder, std::ostream& out, std::ostream& err) {
    std::error_code error;
    fs::remove_all(folder, error);  // every run starts afresh, so the numbers repeat
    const std::string in = JoinPath(folder, "input");
    for (const char* sub : {"input", "sfm", "sf1", "sfa", "sf3", "back"}) {
        fs::create_directories(JoinPath(folder, sub), error);
        if (error) {
            err << "fmconv demo: cannot create " << JoinPath(folder, sub) << ": " << error.message()
                << '\n';
            return 1;
        }
    }
    const std::string picture = JoinPath(in, "DEMOLOGO.tga");
    const std::string tones = JoinPath(in, "tones.wav");
    const auto write = [](const std::string& path, const std::vector<uint8_t>& bytes) {
        return platform::WriteWholeFile(platform::SystemOutputFiles(), path, bytes.data(),
                                        bytes.size());
    };
    if (!write(picture, DemoPictureTga()) || !write(tones, DemoTonesWav())) {
        err << "fmconv demo: cannot write the inputs into " << in << '\n';
        return 1;
    }
    out << "Inputs made here:\n"
        << Format("  %-40s 360 x 180 32-bit TGA: colour bars over a grey ramp, alpha 255 / 128\n",
                  picture.c_str())
        << Format("  %-40s stereo 48 kHz 16-bit: 1 kHz left, 2 kHz right\n", tones.c_str());

    const auto request = [&](const char* from, const char* to, const std::string& source,
                             const char* dest) {
        ConvertRequest r;
        r.from = from;
        r.to = to;
        r.sourceDir = source;
        r.destDir = JoinPath(folder, dest);
        return r;
    };
    std::vector<Step> steps = {
        {"The picture into fill and key SFM frames (1080i/1080PsF, BT.709):",
         request("image", "sfm", in, "sfm")},
        {"The picture into SF1 register files:", request("image", "sf1", in, "sf1")},
        {"The SFM frames with the tones embedded (1080i/59.94, channels 1 and 2):",
         request("sfm", "sfa", JoinPath(folder, "sfm"), "sfa")},
        {"The same into SF3 register files; the audio runs on from frame to frame:",
         request("sfm", "sf3", JoinPath(folder, "sfm"), "sf3")},
        {"The SF3 files back to SFM frames, their audio out as WAV files:",
         request("sf3", "sfm", JoinPath(folder, "sf3"), "back")},
        {"The SF1 files renumbered into the SF3 folder, after its highest number:",
         request("sort", "", JoinPath(folder, "sf1"), "sf3")},
    };
    steps[2].request.channels[1] = tones;
    steps[3].request.channels[1] = tones;
    for (const Step& step : steps) {
        if (!RunStep(step, out, err)) return 1;
    }
    out << "\nWAV files written by the extraction (3 203 samples: 1 601 + 1 602 for two frames):\n";
    std::vector<fs::path> wavs;
    for (const auto& entry : fs::directory_iterator(JoinPath(folder, "back"))) {
        if (entry.path().extension() == ".wav") wavs.push_back(entry.path());
    }
    std::sort(wavs.begin(), wavs.end());
    for (const fs::path& wav : wavs) {
        out << Format("  %-40s %9llu bytes\n", wav.string().c_str(),
                      static_cast<unsigned long long>(fs::file_size(wav)));
    }
    return CheckAndPreview(folder, out, err);
}

}  // namespace fmconv::cli
