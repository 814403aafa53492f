// The conversion run in the headless window: the failure paths that need an
// injected free-space figure, a full disk, a window state the command line
// cannot make, or Cancel at a known point.
#include <filesystem>
#include <map>

#include "app/window_fixture.h"
#include "audio/audio_test_files.h"
#include "base/text.h"
#include "fmfiles/register_file.h"
#include "image/picture_files.h"
#include "support/full_disk_files.h"

namespace fmconv::testing {
namespace {

namespace fs = std::filesystem;
using Adjust = std::function<void(MainDlgServices&)>;

class DriverTest : public WindowTest {
  protected:
    std::unique_ptr<TempDir> folders = std::make_unique<TempDir>();
    std::string src = folders->MakeDir("src"), dst = folders->MakeDir("dst");

    void Fresh(const std::string& destination = "dst") {
        folders = std::make_unique<TempDir>();
        src = folders->MakeDir("src");
        dst = folders->MakeDir(destination);
    }
    void Picture(const std::string& name, unsigned depth = 32, uint8_t idLength = 0) {
        TgaOptions o;
        o.depth = depth;
        o.idLength = idLength;  // traced as "fseek RGB = 18 + idLength"
        WriteBytes(src + "/" + name, TgaFile(Numbered(8, 4), o));
    }
    void Frame(const std::string& name) {
        WriteBytes(src + "/" + name, MakeVariedSfm(*GetFrameLayout(kFrameFormat576i), name, 1));
    }
    int Run(const std::vector<std::string>& settings, const Adjust& adjust = {}) {
        Open(settings, adjust);
        PickSource(src);
        PickDest(dst);
        dlg->Click(kIdExec);
        return dlg->WaitForRun();
    }
    // The text with this case's folders in place of SRC and DST.
    std::string Folders(std::string text) const {
        for (const auto& [token, folder] : {std::pair{"SRC", src}, std::pair{"DST", dst}}) {
            if (const std::size_t at = text.find(token); at != std::string::npos) {
                text.replace(at, 3, folder);
            }
        }
        return text;
    }
    std::map<std::string, uint64_t> DestinationFiles() const {
        std::map<std::string, uint64_t> files;
        for (const auto& entry : fs::directory_iterator(dst)) {
            files[entry.path().filename().string()] = entry.file_size();
        }
        return files;
    }
};

TEST_F(DriverTest, ARunEndsWithTheFinishBoxAndTheResetWindow) {
    Picture("A.tga");
    Open({"Image File", "SFM", "720P"});
    PickSource(src);
    PickDest(dst);
    S().SetText(kIdDestCount, "old");
    dlg->Click(kIdExec);
    EXPECT_EQ(dlg->WaitForRun(), 0);
    EXPECT_EQ(Items(kIdDestList), (std::vector<std::string>{"MA.FMEM_001.SFM", "SA.FMEM_002.SFM"}));
    EXPECT_EQ(BoxTexts(), (std::vector<std::string>{"Finish: Convert finished successfully"}));
    EXPECT_EQ(host.Boxes().back().icon, platform::BoxIcon::kNone);
    EXPECT_EQ(Text(kIdDestCount), "2 files");
    EXPECT_EQ(Text(kIdExec), "Exec");
    EXPECT_TRUE(Enabled(kIdExec) && Enabled(kIdClose));
    EXPECT_FALSE(S().Visible(kIdProgress));
    EXPECT_EQ(S().State(kIdProgress).position, 1);
    EXPECT_FALSE(dlg->Converting());
    EXPECT_EQ(ReadBytes(dst + "/MA.FMEM_001.SFM").size(), 2307264u);  // 720P
}

// Every way a run stops at the start or at a file: the boxes it shows (SRC
// and DST stand for the case's folders), and the files the destination then
// holds with their sizes: nothing torn under a final name, only what the
// failure paths leave by design (a finished fill, a ".TMP" frame whose
// wrapper failed, an SFA writer's or extraction's empty destination).
TEST_F(DriverTest, FailuresStopTheRunWithTheirMessages) {
    constexpr uint64_t k576 = 1111744;  // an SFM frame of 576i
    static platform::LegacyFreeSpaceProbe fourGib(
        [](const std::string&) { return std::optional<uint64_t>(4ull << 30); });
    const auto fullDisk = [](uint64_t room) {
        return [disk = std::make_shared<FullDiskFiles>(room)](MainDlgServices& s) {
            s.files = disk.get();
        };
    };
    struct Case {
        const char* what;
        std::vector<std::string> settings;
        std::function<void()> prepare;
        Adjust adjust;
        std::vector<std::string> boxes;
        std::map<std::string, uint64_t> files;
    } cases[] = {
        {"no SFM format checked", {"Image File", "SFM", "1080i"}, [&] { Picture("A.tga"); }, {},
         {"Cannot create register number."}, {}},
        {"the 1080 ceiling", {"Image File", "SFM"},
         [&] { Picture("A.tga"), WriteText(dst + "/MZ.FMEM1031.SFM", "x"); }, {},
         {"Cannot create register number."}, {{"MZ.FMEM1031.SFM", 1}}},
        {"a full SFA destination ends silently", {"SFM", "SFA"},
         [&] { Frame("MA.FMEM_001.SFM"), WriteText(dst + "/MZ.FMEM9999.SFA", "x"); }, {}, {},
         {{"MZ.FMEM9999.SFA", 1}}},
        {"a name clash shows only the scan's message", {"Image File", "SFA", "", "720P/50"},
         [&] { Picture("logo.tga"), WriteText(dst + "/SLOGO.FMEM_004.SFA", "x"); }, {},
         {"Already exist name [LOGO] in [SLOGO.FMEM_004.SFA]"}, {{"SLOGO.FMEM_004.SFA", 1}}},
        {"SFM into SF1 beyond F9999", {"SFM", "SF1"},
         [&] { Frame("MA.FMEM_001.SFM"), WriteText(dst + "/F9999.SF1", "x"); }, {},
         {"Cannot create register number."}, {{"F9999.SF1", 1}}},
        {"4 GiB free reads as 0", {"SFM", "SF1"}, [&] { Frame("MA.FMEM_001.SFM"); },
         [](MainDlgServices& s) { s.freeSpace = &fourGib; }, {"HDD memory is not sufficient!"}, {}},
        {"a WAV file that is not there", {"SFM", "SFA"}, [&] { Frame("MA.FMEM_001.SFM"); }, {},
         {"Error reading .WAV file."}, {}},
        {"the disk fills with the key", {"Image File", "SFM", "576i/50"}, [&] { Picture("A.tga"); },
         fullDisk(k576 + 10), {"Destination file write error [SA.FMEM_002.SFM]"},
         {{"MA.FMEM_001.SFM", k576}}},
        {"the disk fills with the fill", {"Image File", "SFM", "576i/50"},
         [&] { Picture("A.tga"); }, fullDisk(1000),
         {"Destination file write error [MA.FMEM_001.SFM]"}, {}},
        {"the disk fills with the register file", {"Image File", "SF1", "576i/50"},
         [&] { Picture("A.tga", 24); }, fullDisk(k576 + 100),
         {"Destination file write error [DST/F0001.SF1]"}, {{"MA.FMEM_001.SFM.TMP", k576}}},
        {"the disk fills with an SFA frame", {"SFM", "SFA", "", "576i/50"},
         [&] { Frame("MA.FMEM_001.SFM"); }, fullDisk(1000),
         {"Convert failed [SRC/MA.FMEM_001.SFM]"}, {{"MA.FMEM_001.SFA", 0}}},
        {"the disk fills with an extracted frame", {"SFA", "SFM"},
         [&] { WriteBytes(src + "/MA.FMEM_001.SFA", std::vector<uint8_t>(2000, 0)); },
         fullDisk(1000), {"Convert failed [SRC/MA.FMEM_001.SFA]"}, {{"MA.FMEM_001.SFM", 0}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Fresh();
        c.prepare();
        const std::size_t before = host.Boxes().size();
        Open(c.settings, c.adjust);
        PickSource(src);
        PickDest(dst);
        if (std::string(c.what).starts_with("a WAV")) {
            host.ScriptFile(dir.File("missing.wav"));
            dlg->ChannelPage(0).Click(kChannels[0].button);
        }
        dlg->Click(kIdExec);
        EXPECT_EQ(dlg->WaitForRun(), -1);
        std::vector<std::string> boxes;
        for (std::size_t i = before; i < host.Boxes().size(); ++i) {
            EXPECT_EQ(host.Boxes()[i].caption, "Error");
            boxes.push_back(host.Boxes()[i].text);
        }
        std::vector<std::string> expected;
        for (const std::string& box : c.boxes) expected.push_back(Folders(box));
        EXPECT_EQ(boxes, expected);
        EXPECT_EQ(DestinationFiles(), c.files);
        EXPECT_TRUE(Items(kIdDestList).empty());
        EXPECT_EQ(Text(kIdExec), "Exec");
    }
}

TEST_F(DriverTest, WithNothingSelectedTheWavFilesAreStillReadAndNoBoxEndsTheRun) {
    Frame("MA.FMEM_001.SFM");
    Open({"SFM", "SFA"});
    PickSource(src);
    PickDest(dst);
    S().ListSetSelected(kIdSourceList, -1, false);
    S().SetText(kIdDestCount, "old");
    dlg->Click(kIdExec);
    EXPECT_EQ(dlg->WaitForRun(), 0);
    EXPECT_TRUE(host.Boxes().empty());
    EXPECT_EQ(Text(kIdDestCount), "not found");
}

// Files are prepared ahead of the one being written, yet a run shows them
// one after another: Cancel after file k leaves exactly k files, a failing
// file stops the run before any later file reaches the disk, and the
// pictures' trace lines come out in list order.
TEST_F(DriverTest, FilesPreparedAheadAreCommittedOneAfterAnother) {
    const struct {
        std::vector<std::string> settings;
        int cancelAfter;  // 0: no Cancel
        int broken;       // a picture the TGA reader refuses, or -1
        std::vector<std::string> entries;
    } cases[] = {
        {{"Image File", "SFM", "576i/50"}, 1, -1, {"MP0.FMEM_001.SFM"}},
        {{"Image File", "SFM", "576i/50"}, 3, -1,
         {"MP0.FMEM_001.SFM", "MP1.FMEM_002.SFM", "MP2.FMEM_003.SFM"}},
        {{"Image File", "SFM", "576i/50"}, 0, 2, {"MP0.FMEM_001.SFM", "MP1.FMEM_002.SFM"}},
        {{"SFM", "SFA", "", "576i/50"}, 2, -1, {"MP0.FMEM_001.SFA", "MP1.FMEM_002.SFA"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.entries.size());
        Fresh();
        const bool frames = c.settings[0] == "SFM";
        for (int i = 0; i < 6; ++i) {
            if (frames) {
                Frame(Format("MP%d.FMEM_%03d.SFM", i, i + 1));
            } else {
                Picture(Format("P%d.tga", i), 24, static_cast<uint8_t>(i));
            }
        }
        if (c.broken >= 0) WriteText(src + Format("/P%d.tga", c.broken), "not a TGA");
        std::vector<std::string> traces;
        CMainDlg* window = nullptr;
        const std::size_t before = host.Boxes().size();
        Open(c.settings, [&](MainDlgServices& s) {
            s.trace = [&traces](std::string_view line) { traces.emplace_back(line); };
            s.afterFile = [&window, &c](int done) {
                if (done == c.cancelAfter) window->Click(kIdExec);  // Cancel
            };
        });
        window = dlg.get();
        PickSource(src);
        PickDest(dst);
        dlg->Click(kIdExec);
        EXPECT_EQ(dlg->WaitForRun(), -1);
        EXPECT_EQ(Items(kIdDestList), c.entries);
        std::vector<std::string> onDisk;
        for (const auto& [name, size] : DestinationFiles()) onDisk.push_back(name);
        EXPECT_EQ(onDisk, c.entries);
        EXPECT_EQ(host.Boxes().size(), before + (c.broken < 0 ? 0 : 1));  // Cancel shows nothing
        if (c.broken >= 0) {
            EXPECT_EQ(host.Boxes().back().text, "Source file format error [P2.tga]");
        }
        std::vector<std::string> expected;
        for (std::size_t i = 0; !frames && i < c.entries.size(); ++i) {
            expected.push_back(Format("fseek RGB = %zu\n", 18 + i));
        }
        EXPECT_EQ(traces, expected);
    }
}

// A register file may name anything in its trailer; every path that takes a
// name from a trailer refuses one that would lead out of the destination
// folder, hide the file or carry control characters, as it refuses a source
// it cannot read.
TEST_F(DriverTest, NamesFromTrailersNeverLeadOutOfTheDestination) {
    const std::pair<std::vector<std::string>, const char*> paths[] = {
        {{"SF1", "SFM"}, "F0001.SF1"}, {{"SF1", "SFA", "", "720P/50"}, "F0001.SF1"},
        {{"SF1", "SF3", "", "720P/50"}, "F0001.SF1"}, {{"SF3", "SFA"}, "F0001.SF3"},
        {{"SF3", "SFM"}, "F0001.SF3"}, {{"SF3", "SF1"}, "F0001.SF3"},
        {{"SF1/SF3 Sort", "SFM"}, "F0001.SF1"},
    };
    for (const auto& [settings, file] : paths) {
        for (const std::string name : {"../x.SFM", "/tmp/abs.SFM", "a/b.SFM", "", "..", ".SFM",
                                       "x\n.SFM"}) {
            SCOPED_TRACE(settings[0] + " to " + settings[1] + ", trailer name '" + name + "'");
            Fresh("deep/dst");
            std::vector<uint8_t> bytes =
                MakeVariedSfm(*GetFrameLayout(kFrameFormat720p), "MA.FMEM_001.SFM", 3);
            const RegisterTrailer trailer = BuildRegisterTrailer(name);
            bytes.insert(bytes.end(), trailer.begin(), trailer.end());
            WriteBytes(src + "/" + file, bytes);
            EXPECT_EQ(Run(settings), -1);
            // The renumbering run names the list item whole.
            const std::string item = std::string(file) + (settings[0] == "SF1/SF3 Sort" ? "(" + name + ")" : "");
            EXPECT_EQ(BoxTexts().back(), "Error: Convert failed [" + src + "/" + item + "]");
            EXPECT_TRUE(fs::is_empty(dst));
            EXPECT_EQ(std::distance(fs::recursive_directory_iterator(folders->path()),
                                    fs::recursive_directory_iterator()),
                      4);  // src, its file, deep and dst
        }
    }
}

}  // namespace
}  // namespace fmconv::testing
