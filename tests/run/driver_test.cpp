// The conversion run in the headless window: the failure paths that need an
// injected free-space figure, a window state the command line cannot make,
// or Cancel at a known point.
#include "app/window_fixture.h"
#include "audio/audio_test_files.h"
#include "base/text.h"
#include "fmfiles/register_file.h"
#include "image/picture_files.h"
#include "support/full_disk_files.h"

#include <filesystem>
#include <map>

namespace fmconv::testing {
namespace {

class DriverTest : public WindowTest {
  protected:
    std::string src, dst;

    void SetUp() override {
        src = dir.MakeDir("src");
        dst = dir.MakeDir("dst");
    }
    void Picture(const std::string& name, unsigned depth = 32) {
        TgaOptions o;
        o.depth = depth;
        WriteBytes(src + "/" + name, TgaFile(Numbered(8, 4), o));
    }
    void OpenWithFolders(const std::vector<std::string>& settings) {
        Open(settings);
        PickSource(src);
        PickDest(dst);
    }
    int Exec() {
        dlg->Click(kIdExec);
        return dlg->WaitForRun();
    }
};

TEST_F(DriverTest, ARunEndsWithTheFinishBoxAndTheResetWindow) {
    Picture("A.tga");
    OpenWithFolders({"Image File", "SFM", "720P", "1080i/59.94"});
    S().SetText(kIdDestCount, "old");
    EXPECT_EQ(Exec(), 0);
    EXPECT_EQ(Items(kIdDestList), (std::vector<std::string>{"MA.FMEM_001.SFM", "SA.FMEM_002.SFM"}));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{"Finish: Convert finished successfully"}));
    EXPECT_EQ(host.Boxes().back().icon, platform::BoxIcon::kNone);
    EXPECT_EQ(Text(kIdDestCount), "2 files");
    EXPECT_EQ(Text(kIdExec), "Exec");
    EXPECT_TRUE(Enabled(kIdExec));
    EXPECT_TRUE(Enabled(kIdClose));
    EXPECT_FALSE(S().Visible(kIdProgress));
    EXPECT_EQ(S().State(kIdProgress).position, 1);
    EXPECT_FALSE(dlg->Converting());
    EXPECT_EQ(ReadBytes(dst + "/MA.FMEM_001.SFM").size(), 2307264u);  // 720P
}

TEST_F(DriverTest, FourGibFreeReadsZeroAndRefusesTheRun) {
    WriteBytes(src + "/MA.FMEM_001.SFM", std::vector<uint8_t>(100, 1));
    platform::LegacyFreeSpaceProbe legacy(
        [](const std::string&) { return std::optional<uint64_t>(4ull << 30); });
    OpenWithFolders({"SFM", "SF1", "1080i/1080PsF", "1080i/59.94"});
    MainDlgServices services = dlg->Services();
    services.freeSpace = &legacy;
    dlg = std::make_unique<CMainDlg>(services);
    dlg->OnInitDialog();
    PickSource(src);
    PickDest(dst);
    EXPECT_EQ(Exec(), -1);
    EXPECT_EQ(BoxTexts().back(), "Error: HDD memory is not sufficient!");
    EXPECT_EQ(host.Boxes().back().icon, platform::BoxIcon::kStop);
    EXPECT_FALSE(FileExists(dst + "/F0001.SF1"));
}

TEST_F(DriverTest, StartNumberRefusals) {
    struct Case {
        const char* what;
        std::vector<std::string> settings;
        std::function<void()> prepare;
        std::vector<std::string> boxes;
    } cases[] = {
        {"pictures into SFM with no SFM format checked",
         {"Image File", "SFM", "1080i", "x"},
         [this] { Picture("A.tga"); },
         {"Error: Cannot create register number."}},
        {"the 1080 ceiling",
         {"Image File", "SFM", "1080i/1080PsF", "x"},
         [this] {
             Picture("A.tga");
             WriteText(dst + "/MZ.FMEM1031.SFM", "x");
         },
         {"Error: Cannot create register number."}},
        {"a full SFA destination ends silently",
         {"SFM", "SFA", "x", "1080i/59.94"},
         [this] {
             WriteText(src + "/MA.FMEM_001.SFM", "x");
             WriteText(dst + "/MZ.FMEM9999.SFA", "x");
         },
         {}},
        {"a name clash shows only the scan's message",
         {"Image File", "SFA", "x", "720P/50"},
         [this] {
             Picture("logo.tga");
             WriteText(dst + "/SLOGO.FMEM_004.SFA", "x");
         },
         {"Error: Already exist name [LOGO] in [SLOGO.FMEM_004.SFA]"}},
        {"SFM into SF1 beyond F9999",
         {"SFM", "SF1", "x", "x"},
         [this] {
             WriteText(src + "/MA.FMEM_001.SFM", "x");
             WriteText(dst + "/F9999.SF1", "x");
         },
         {"Error: Cannot create register number."}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TempDir fresh;
        src = fresh.MakeDir("src");
        dst = fresh.MakeDir("dst");
        c.prepare();
        const std::size_t before = host.Boxes().size();
        OpenWithFolders(c.settings);
        EXPECT_EQ(Exec(), -1);
        const auto all = BoxTexts();
        EXPECT_EQ(
            std::vector<std::string>(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
            c.boxes);
        EXPECT_TRUE(Items(kIdDestList).empty());
        EXPECT_EQ(Text(kIdExec), "Exec");
    }
}

TEST_F(DriverTest, WithNothingSelectedTheWavFilesAreStillReadAndNoBoxEndsTheRun) {
    WriteText(src + "/MA.FMEM_001.SFM", "x");
    OpenWithFolders({"SFM", "SFA", "x", "1080i/59.94"});
    S().ListSetSelected(kIdSourceList, -1, false);
    S().SetText(kIdDestCount, "old");
    EXPECT_EQ(Exec(), 0);
    EXPECT_TRUE(host.Boxes().empty());
    EXPECT_EQ(Text(kIdDestCount), "not found");

    host.ScriptFile(dir.File("missing.wav"));
    dlg->ChannelPage(0).Click(kChannels[0].button);
    EXPECT_EQ(Exec(), -1);
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{"Error: Error reading .WAV file."}));
}

// Files are prepared ahead of the one being written, yet a run shows them
// one after another: Cancel after file k leaves exactly k files, a failing
// file stops the run before any later file reaches the disk, and the
// pictures' trace lines come out in list order.
TEST_F(DriverTest, FilesPreparedAheadAreCommittedOneAfterAnother) {
    struct Case {
        const char* what;
        std::vector<std::string> settings;
        int cancelAfter;  // 0: no Cancel
        int broken;       // the index of a picture that is not a TGA the reader takes, or -1
        std::vector<std::string> entries;
    } cases[] = {
        {"Cancel after the first", {"Image File", "SFM", "576i/50", "x"}, 1, -1, {"MP0.FMEM_001.SFM"}},
        {"Cancel after the third",
         {"Image File", "SFM", "576i/50", "x"},
         3,
         -1,
         {"MP0.FMEM_001.SFM", "MP1.FMEM_002.SFM", "MP2.FMEM_003.SFM"}},
        {"a broken middle picture",
         {"Image File", "SFM", "576i/50", "x"},
         0,
         2,
         {"MP0.FMEM_001.SFM", "MP1.FMEM_002.SFM"}},
        {"Cancel after the second SFA frame",
         {"SFM", "SFA", "x", "576i/50"},
         2,
         -1,
         {"MP0.FMEM_001.SFA", "MP1.FMEM_002.SFA"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TempDir fresh;
        src = fresh.MakeDir("src");
        dst = fresh.MakeDir("dst");
        const bool frames = c.settings[0] == "SFM";
        for (int i = 0; i < 6; ++i) {
            TgaOptions o;
            o.depth = 24;
            o.idLength = static_cast<uint8_t>(i);  // traced as "fseek RGB = 18 + i"
            std::vector<uint8_t> tga = TgaFile(Numbered(8, 4), o);
            if (i == c.broken) tga[16] = 16;  // a depth the reader refuses
            const std::string name = "P" + std::to_string(i);
            if (frames) {
                WriteBytes(src + "/M" + name + Format(".FMEM_%03d.SFM", i + 1),
                           MakeVariedSfm(*GetFrameLayout(kFrameFormat576i), "M" + name, 1));
            } else {
                WriteBytes(src + "/" + name + ".tga", tga);
            }
        }
        Open(c.settings);
        MainDlgServices services = dlg->Services();
        CMainDlg* window = nullptr;
        std::vector<std::string> traces;
        services.trace = [&traces](std::string_view line) { traces.emplace_back(line); };
        services.afterFile = [&window, &c](int done) {
            if (done == c.cancelAfter) window->Click(kIdExec);  // Cancel
        };
        dlg = std::make_unique<CMainDlg>(services);
        window = dlg.get();
        dlg->OnInitDialog();
        PickSource(src);
        PickDest(dst);
        S().SetText(kIdDestCount, "old");
        const std::size_t boxesBefore = host.Boxes().size();
        EXPECT_EQ(Exec(), -1);
        EXPECT_EQ(Items(kIdDestList), c.entries);
        std::vector<std::string> onDisk;
        for (const auto& entry : std::filesystem::directory_iterator(dst)) {
            onDisk.push_back(entry.path().filename().string());
        }
        std::sort(onDisk.begin(), onDisk.end());
        EXPECT_EQ(onDisk, c.entries);
        if (c.broken < 0) {
            EXPECT_EQ(host.Boxes().size(), boxesBefore);  // Cancel shows nothing
        } else {
            EXPECT_EQ(host.Boxes().back().text, "Source file format error [P2.tga]");
        }
        if (!frames) {
            std::vector<std::string> expected;
            for (std::size_t i = 0; i < c.entries.size(); ++i) {
                expected.push_back(Format("fseek RGB = %zu\n", 18 + i));
            }
            EXPECT_EQ(traces, expected);
        }
        EXPECT_EQ(Text(kIdDestCount), "old");
        EXPECT_EQ(Text(kIdExec), "Exec");
        EXPECT_TRUE(Enabled(kIdExec));
    }
}

// A disk that fills up in the middle of a run: the file in hand fails with
// its converter's message, nothing torn is left under a final name, what the
// failure paths leave by design (a finished fill, a ".TMP" frame whose
// wrapper failed, an SFA writer's empty destination) stays.
TEST_F(DriverTest, AFullDiskFailsTheFileInHandAndLeavesNothingTorn) {
    constexpr uint64_t k576 = 1111744;  // an SFM frame of 576i
    struct Case {
        const char* what;
        std::vector<std::string> settings;
        std::function<void()> prepare;
        uint64_t room;
        std::string box;
        std::map<std::string, uint64_t> files;  // destination files and their sizes
    } cases[] = {
        {"the key of a picture",
         {"Image File", "SFM", "576i/50", "x"},
         [this] { Picture("A.tga"); },
         k576 + 10,
         "Destination file write error [SA.FMEM_002.SFM]",
         {{"MA.FMEM_001.SFM", k576}}},
        {"the fill of a picture",
         {"Image File", "SFM", "576i/50", "x"},
         [this] { Picture("A.tga"); },
         1000,
         "Destination file write error [MA.FMEM_001.SFM]",
         {}},
        {"the register file of a picture",
         {"Image File", "SF1", "576i/50", "x"},
         [this] { Picture("A.tga", 24); },
         k576 + 100,
         "Destination file write error [DST/F0001.SF1]",
         {{"MA.FMEM_001.SFM.TMP", k576}}},
        {"an SFA frame",
         {"SFM", "SFA", "x", "576i/50"},
         [this] {
             WriteBytes(src + "/MA.FMEM_001.SFM",
                        MakeVariedSfm(*GetFrameLayout(kFrameFormat576i), "MA.FMEM_001.SFM", 1));
         },
         1000,
         "Convert failed [SRC/MA.FMEM_001.SFM]",
         {{"MA.FMEM_001.SFA", 0}}},
        {"an extracted frame",
         {"SFA", "SFM", "x", "x"},
         [this] { WriteBytes(src + "/MA.FMEM_001.SFA", std::vector<uint8_t>(2000, 0)); },
         1000,
         "Convert failed [SRC/MA.FMEM_001.SFA]",
         {{"MA.FMEM_001.SFM", 0}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        TempDir fresh;
        src = fresh.MakeDir("src");
        dst = fresh.MakeDir("dst");
        c.prepare();
        FullDiskFiles full(c.room);
        Open(c.settings);
        MainDlgServices services = dlg->Services();
        services.files = &full;
        dlg = std::make_unique<CMainDlg>(services);
        dlg->OnInitDialog();
        PickSource(src);
        PickDest(dst);
        EXPECT_EQ(Exec(), -1);
        std::string box = c.box;  // the folders of this case in place of SRC and DST
        for (const auto& [token, folder] : {std::pair{"SRC", src}, std::pair{"DST", dst}}) {
            if (const std::size_t at = box.find(token); at != std::string::npos)
                box.replace(at, 3, folder);
        }
        EXPECT_EQ(host.Boxes().back().text, box);
        std::map<std::string, uint64_t> left;
        for (const auto& entry : std::filesystem::directory_iterator(dst)) {
            left[entry.path().filename().string()] = entry.file_size();
        }
        EXPECT_EQ(left, c.files);
    }
}

// A register file may name anything in its trailer; every path that takes a
// name from a trailer refuses one that would lead out of the destination
// folder, hide the file or carry control characters, as it refuses a source
// it cannot read.
TEST_F(DriverTest, NamesFromTrailersNeverLeadOutOfTheDestination) {
    const std::vector<std::string> names = {"../x.SFM", "/tmp/abs.SFM", "a/b.SFM", "",
                                            "..",       ".SFM",         "x\n.SFM"};
    struct Path {
        std::vector<std::string> settings;
        const char* file;  // the source register file
    } paths[] = {
        {{"SF1", "SFM", "x", "x"}, "F0001.SF1"},          {{"SF1", "SFA", "x", "720P/50"}, "F0001.SF1"},
        {{"SF1", "SF3", "x", "720P/50"}, "F0001.SF1"},    {{"SF3", "SFA", "x", "x"}, "F0001.SF3"},
        {{"SF3", "SFM", "x", "x"}, "F0001.SF3"},          {{"SF3", "SF1", "x", "x"}, "F0001.SF3"},
        {{"SF1/SF3 Sort", "SFM", "x", "x"}, "F0001.SF1"},
    };
    for (const Path& path : paths) {
        for (const std::string& name : names) {
            SCOPED_TRACE(path.settings[0] + " to " + path.settings[1] + ", trailer name '" +
                         name + "'");
            TempDir fresh;
            src = fresh.MakeDir("src");
            dst = fresh.MakeDir("deep/dst");
            std::vector<uint8_t> bytes =
                MakeVariedSfm(*GetFrameLayout(kFrameFormat720p), "MA.FMEM_001.SFM", 3);
            const RegisterTrailer trailer = BuildRegisterTrailer(name);
            bytes.insert(bytes.end(), trailer.begin(), trailer.end());
            WriteBytes(src + "/" + path.file, bytes);
            OpenWithFolders(path.settings);
            EXPECT_EQ(Exec(), -1);
            // The renumbering run names the list item whole.
            const std::string item = path.settings[0] == "SF1/SF3 Sort"
                                         ? std::string(path.file) + "(" + name + ")"
                                         : path.file;
            EXPECT_EQ(BoxTexts().back(), "Error: Convert failed [" + src + "/" + item + "]");
            EXPECT_TRUE(std::filesystem::is_empty(dst));
            EXPECT_EQ(std::distance(std::filesystem::recursive_directory_iterator(fresh.path()),
                                    std::filesystem::recursive_directory_iterator()),
                      4);  // src, its file, deep and dst
        }
    }
}

}  // namespace
}  // namespace fmconv::testing
