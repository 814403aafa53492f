// `fmconv convert` as a separate process, on inputs the tests build.
#include <gtest/gtest.h>

#include <filesystem>

#include "audio/audio_test_files.h"
#include "fmfiles/sfm_file.h"
#include "image/colour_convert.h"
#include "image/picture_files.h"
#include "run_fmconv.h"
#include "support/temp_dir.h"

namespace fmconv::testing {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> Entries(const ProcessResult& r) {
    std::vector<std::string> lines = r.outLines;
    if (!lines.empty() && lines.back() == "Convert finished successfully") lines.pop_back();
    return lines;
}

// Folders of every kind, made by the program itself from one picture with
// alpha; each test case converts one of them.
class ConvertTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        root_ = new TempDir;
        const auto make = [](const std::string& name) { return root_->MakeDir(name); };
        make("pics");
        WriteBytes(root_->File("pics/LOGO.tga"), TgaFile(Numbered(64, 32)));
        for (auto [from, to, folder] : {std::tuple{"image", "sfm", "sfm"},
                                        {"sfm", "sf1", "sf1"},
                                        {"sfm", "sfa", "sfa"},
                                        {"sfa", "sf3", "sf3"}}) {
            const std::string source = std::string(from) == "image" ? "pics" : from;
            make(folder);
            const ProcessResult r = RunFmconv(
                root_->path(), {"convert", "--quiet", "--from", from, "--to", to, source, folder});
            ASSERT_EQ(r.exitCode, 0) << r.err;
        }
    }
    static void TearDownTestSuite() { delete root_; }

    ProcessResult Convert(const std::vector<std::string>& args) {
        std::vector<std::string> all = {"convert", "--quiet"};
        all.insert(all.end(), args.begin(), args.end());
        return RunFmconv(root_->path(), all);
    }
    static TempDir* root_;
};
TempDir* ConvertTest::root_ = nullptr;

// What every run from LOGO's fill and key lists, by destination type, and
// the size of its first file.
std::pair<std::vector<std::string>, std::size_t> Expected(const std::string& to) {
    if (to == "sfm") return {{"MLOGO.FMEM_001.SFM", "SLOGO.FMEM_002.SFM"}, 5188864};
    if (to == "sfa") return {{"MLOGO.FMEM_001.SFA", "SLOGO.FMEM_002.SFA"}, 6197568};
    if (to == "sf1") {
        return {{"F0001.SF1(MLOGO.FMEM_001.SFM)", "F0002.SF1(SLOGO.FMEM_002.SFM)"}, 5189168};
    }
    return {{"F0001.SF3(MLOGO.FMEM_001.SFA)", "F0002.SF3(SLOGO.FMEM_002.SFA)"}, 6197872};
}

TEST_F(ConvertTest, EveryRowOfTheDispatchMatrix) {
    const std::vector<std::vector<std::string>> rows = {
        {"image", "sfm", "pics"}, {"image", "sf1", "pics"}, {"image", "sfa", "pics"},
        {"image", "sf3", "pics"}, {"sfm", "sfa", "sfm"},    {"sfm", "sf3", "sfm"},
        {"sfm", "sf1", "sfm"},    {"sf1", "sfm", "sf1"},    {"sf1", "sfa", "sf1"},
        {"sf1", "sf3", "sf1"},    {"sfa", "sf3", "sfa"},    {"sfa", "sfm", "sfa"},
        {"sfa", "sf1", "sfa"},    {"sf3", "sfa", "sf3"},    {"sf3", "sfm", "sf3"},
        {"sf3", "sf1", "sf3"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row[0] + " -> " + row[1]);
        TempDir out;
        const ProcessResult r = Convert({"--from", row[0], "--to", row[1], row[2], out.path()});
        const auto [entries, size] = Expected(row[1]);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        EXPECT_EQ(Entries(r), entries);
        EXPECT_EQ(r.outLines.back(), "Convert finished successfully");
        EXPECT_EQ(fs::file_size(out.File(entries[0].substr(0, entries[0].find('(')))), size);
        EXPECT_EQ(std::distance(fs::directory_iterator(out.path()), fs::directory_iterator()), 2)
            << "no temporary frame may stay";
    }
    // Renumbering continues above the highest file of either kind.
    TempDir out;
    fs::copy_file(root_->File("sf3/F0001.SF3"), out.File("F0007.SF3"));
    const ProcessResult r = Convert({"--from", "sort", "sf1", out.path()});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(Entries(r), (std::vector<std::string>{"F0008.SF1(MLOGO.FMEM_008.SFM)",
                                                    "F0009.SF1(SLOGO.FMEM_009.SFM)"}));
}

// Picture runs: the names and numbers they give, and the refusals with the
// file each names. Pictures: A 32-bit (fill and key), B and P 24-bit, bad a
// colour-mapped TGA; .bmp names give a 24-bit BMP.
TEST_F(ConvertTest, PictureRunsNameNumberAndRefuse) {
    const auto sf1 = [](const std::string& inner) {  // a register file whose trailer names inner
        std::vector<uint8_t> bytes(100, 0);
        const auto trailer = std::string(256, '\0') + "SFM1" + std::string(4, '\0') + inner +
                             std::string(32 - inner.size(), '\0') + std::string(4, '\0') + "VVVV";
        bytes.insert(bytes.end(), trailer.begin(), trailer.end());
        return bytes;
    };
    const struct {
        std::vector<std::string> pictures, to;  // to: the destination type and its one file
        int exitCode;
        std::vector<std::string> out, err;
    } cases[] = {
        {{"A.tga", "B.tga"}, {"sf1", "F0004.SF1"}, 0,
         {"F0005.SF1(MA.FMEM_005.SFM)", "F0006.SF1(SA.FMEM_006.SFM)", "F0007.SF1(MB.FMEM_007.SFM)"},
         {"fseek RGB = 18", "fseek RGB = 18"}},
        {{"P.bmp"}, {"sfm", "MX.FMEM0998.SFM"}, 0, {"MP.FMEM_999.SFM"}, {}},
        {{"P.bmp"}, {"sfm", "MX.FMEM0999.SFM"}, 0, {"MP.FMEM1000.SFM"}, {}},
        // A TGA is handed its key name, FMEM_1000, which is no frame-memory name.
        {{"P.tga"}, {"sfm", "MX.FMEM0998.SFM"}, 1, {},
         {"Error: Destination file write error [SP.FMEM_1000.SFM]"}},
        {{"logo.bmp"}, {"sfm", "MLOGO.FMEM_001.SFM"}, 1, {},
         {"Error: Already exist name [LOGO] in [MLOGO.FMEM_001.SFM]"}},
        {{"bad.tga"}, {"sfm", "MX.FMEM_001.SFM"}, 1, {}, {"Error: Source file format error [bad.tga]"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pictures[0] + " into " + c.to[1]);
        TempDir in, out;
        for (const std::string& name : c.pictures) {
            TgaOptions o;
            o.depth = name == "A.tga" ? 32 : 24;
            std::vector<uint8_t> tga = TgaFile(Numbered(16, 8), o);
            if (name == "bad.tga") tga[2] = 1;  // colour-mapped: not taken
            WriteBytes(in.File(name), name.ends_with(".bmp") ? BmpFile(Numbered(8, 2)) : tga);
        }
        if (c.to[0] == "sf1") {
            WriteBytes(out.File(c.to[1]), sf1("MX.FMEM_004.SFM"));
        } else {
            WriteText(out.File(c.to[1]), "x");
        }
        const ProcessResult r = Convert({"--from", "image", "--to", c.to[0], in.path(), out.path()});
        EXPECT_EQ(r.exitCode, c.exitCode);
        EXPECT_EQ(Entries(r), c.out);
        EXPECT_EQ(r.errLines, c.err);
    }
    TempDir in;
    WriteBytes(in.File("tone.wav"), MakeWav(1, 16, 44100, {1, 2, 3}));
    const ProcessResult r =
        Convert({"--from", "sfm", "--to", "sfa", "--ch", "1=" + in.File("tone.wav"), "sfm", in.path()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.errLines, (std::vector<std::string>{"Error: Audio file sample rate not supported."}));
}

TEST_F(ConvertTest, AWavFileOnChannel9BecomesTheFirstChannel) {
    TempDir in, sfa, back;
    std::vector<uint32_t> samples;
    for (uint32_t i = 0; i < 4000; ++i) samples.push_back((i * 37) & 0xFFFF);
    WriteBytes(in.File("tone.wav"), MakeWav(1, 16, 48000, samples));
    ProcessResult r =
        Convert({"--from", "sfm", "--to", "sfa", "--sfa-format", "720P/50", "--ch",
                 "9=" + in.File("tone.wav"), "sfm", sfa.path(), "MLOGO.FMEM_001.SFM"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    r = Convert({"--from", "sfa", "--to", "sfm", sfa.path(), back.path()});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    // One frame of 720P/50 holds 960 samples; channels 2 to 4 of the group are silent.
    const std::vector<uint32_t> first = ReadMono24Wav(back.File("Channel_01.wav"));
    ASSERT_EQ(first.size(), 960u);
    for (std::size_t i = 0; i < first.size(); ++i) ASSERT_EQ(first[i], samples[i] << 8) << i;
    EXPECT_EQ(ReadMono24Wav(back.File("Channel_02.wav")), std::vector<uint32_t>(960, 0));
    EXPECT_FALSE(fs::exists(back.File("Channel_05.wav")));
}

// A usage error is one line naming what is wrong and where help is, with
// nothing written; help and the version go to standard output.
TEST_F(ConvertTest, UsageErrorsAreOneLineAndHelpExplains) {
    TempDir out;
    const std::string o = out.path();
    const std::vector<std::vector<std::string>> bad = {
        {"convert", "--from", "sfm", "--to", "sfm", "sfm", o},
        {"convert", "--from", "jpeg", "--to", "sfm", "pics", o},
        {"convert", "--from", "image", "pics", o},
        {"convert", "--from", "sort", "--to", "sf1", "sf1", o},
        {"convert", "--from", "image", "--to", "sfm", "--sfm-format", "1080p", "pics", o},
        {"convert", "--from", "image", "--to", "sfm", "--ch", "17=x.wav", "pics", o},
        {"convert", "--from", "image", "--to", "sfm", "--bogus", "pics", o},
        {"convert", "--from", "image", "--to", "sfm", "nowhere", o},
        {"convert", "--from", "image", "--to", "sfm", "pics", o, "missing.tga"},
        {"ui", "--bogus"}, {"demo", "--bogus"}, {"inspect"}, {"preview", "x.SFM"}, {"help", "nope"},
    };
    for (const auto& args : bad) {
        const ProcessResult r = RunFmconv(root_->path(), args);
        EXPECT_EQ(r.exitCode, 2) << r.err;
        EXPECT_TRUE(r.out.empty());
        ASSERT_EQ(r.errLines.size(), 1u) << r.err;
        EXPECT_TRUE(r.errLines[0].ends_with("(see 'fmconv " + args[0] + " --help')")) << r.err;
    }
    EXPECT_TRUE(fs::is_empty(out.path()));
    for (const std::vector<std::string>& ask :
         std::vector<std::vector<std::string>>{{"--help"}, {"help", "convert"}, {"convert", "-h"},
                                               {"convert", "--from", "sfm", "--help"}, {"ui", "-h"},
                                               {"demo", "--help"}, {"inspect", "--help"},
                                               {"preview", "-h"}, {"help", "ui"}}) {
        const ProcessResult r = RunFmconv(out.path(), ask);
        EXPECT_EQ(r.exitCode, 0) << ask.back();
        EXPECT_TRUE(r.err.empty());
        EXPECT_NE(r.out.find("usage: fmconv"), std::string::npos);
        EXPECT_NE(r.out.find("FMEM_nnn"), std::string::npos) << ask.back();
        EXPECT_NE(r.out.find("examples:"), std::string::npos) << ask.back();
    }
    EXPECT_TRUE(fs::is_empty(out.path()));  // demo --help made no folder
    EXPECT_EQ(RunFmconv(o, {"--version"}).outLines, std::vector<std::string>{"fmconv 1.1"});
    // A name matches ignoring case when nothing matches exactly.
    const ProcessResult r = Convert({"--from", "image", "--to", "sfm", "pics", o, "logo.TGA"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
}

// --json: an object a line for each entry with the files it stands for, the
// WAV files of an extraction, and the end of the run.
TEST_F(ConvertTest, JsonLinesNameEveryFileWritten) {
    TempDir in, sfa, back, stopped;
    WriteBytes(in.File("abcdefg\xC3\xBC.tga"), TgaFile(Numbered(8, 2)));  // abcdefgü: cut whole
    WriteBytes(in.File("tone.wav"), MakeWav(1, 16, 48000, std::vector<uint32_t>(2000, 7)));
    ProcessResult r = Convert({"--json", "--from", "image", "--to", "sf3", "--ch",
                               "1=" + in.File("tone.wav"), in.path(), sfa.path()});
    EXPECT_EQ(r.outLines,
              (std::vector<std::string>{
                  "{\"entry\": \"F0001.SF3(Mabcdefg.FMEM_001.SFA)\", \"written\": [\"" +
                      sfa.File("F0001.SF3") + "\"]}",
                  "{\"entry\": \"F0002.SF3(Sabcdefg.FMEM_002.SFA)\", \"written\": [\"" +
                      sfa.File("F0002.SF3") + "\"]}",
                  "{\"finished\": \"Convert finished successfully\"}"}));
    r = Convert({"--json", "--from", "sf3", "--to", "sfm", sfa.path(), back.path()});
    ASSERT_EQ(r.outLines.size(), 4u) << r.err;
    EXPECT_EQ(r.outLines[2], "{\"written\": [\"" + back.File("Channel_01.wav") + "\", \"" +
                                 back.File("Channel_02.wav") + "\", \"" +
                                 back.File("Channel_03.wav") + "\", \"" +
                                 back.File("Channel_04.wav") + "\"]}");
    WriteText(stopped.File("MZ.FMEM9999.SFA"), "x");  // a full destination ends silently
    r = Convert({"--json", "--from", "sfm", "--to", "sfa", "sfm", stopped.path()});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.outLines, std::vector<std::string>{
                              "{\"stopped\": {\"caption\": \"\", \"text\": \"\"}}"});
    WriteText(stopped.File("MLOGO.FMEM_001.SFM"), "x");
    r = Convert({"--json", "--from", "image", "--to", "sfm", "pics", stopped.path()});
    EXPECT_EQ(r.outLines, std::vector<std::string>{
                              "{\"stopped\": {\"caption\": \"Error\", \"text\": \"Already exist "
                              "name [LOGO] in [MLOGO.FMEM_001.SFM]\"}}"});
}

// fmconv import: a picture contained into the frame sits where a person
// expects it; a picture of another size with --fit none is converted with a
// warning; one the library cannot read stops the run with the reason.
TEST_F(ConvertTest, ImportFitsWarnsAndExplains) {
    TempDir in, out;
    const Pixel red{255, 0, 0, 0};
    WriteBytes(in.File("red.bmp"), BmpFile(MakePicture(40, 30, [&](uint32_t, uint32_t) { return red; })));
    ProcessResult r = RunFmconv(in.path(), {"import", "--quiet", "--to", "sfm", "--fit", "contain",
                                            "--align", "center", out.path(), "red.bmp"});
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(Entries(r), std::vector<std::string>{"Mred.FMEM_001.SFM"});
    PictureFrame frame;
    const FrameLayout& layout = *GetFrameLayout(kFrameFormat1080);
    ASSERT_TRUE(DecodeSfmPicture(ReadBytes(out.File("Mred.FMEM_001.SFM")), layout, frame));
    // 40 x 30 scaled by 36 to 1440 x 1080, centred: columns 240 to 1679.
    const uint16_t redY = ToYCbCr(ColourMatrix::kBt709, red).y;  // 250
    for (uint32_t line : {0u, 540u, 1079u}) {
        EXPECT_EQ(frame.lumaLine(line)[237], 64) << line;
        EXPECT_NEAR(frame.lumaLine(line)[243], redY, 2) << line;
        EXPECT_NEAR(frame.lumaLine(line)[1676], redY, 2) << line;
        EXPECT_EQ(frame.lumaLine(line)[1682], 64) << line;
    }
    WriteText(in.File("bad.png"), "not a picture");
    TempDir out2;
    r = RunFmconv(in.path(), {"import", "--quiet", "--to", "sfm", out2.path(), "red.bmp", "bad.png"});
    EXPECT_EQ(r.exitCode, 1);
    ASSERT_EQ(r.errLines.size(), 3u) << r.err;
    EXPECT_EQ(r.errLines[0],
              "fmconv import: warning: red.bmp is 40 x 30, the frame's picture is 1920 x 1080");
    EXPECT_EQ(r.errLines[1], "Error: Source file format error [bad.png]");
    EXPECT_FALSE(r.errLines[2].empty());  // the library's reason
    EXPECT_EQ(Entries(r), std::vector<std::string>{"Mred.FMEM_001.SFM"});
}

}  // namespace
}  // namespace fmconv::testing
