// What every run keeps safe, tried on the program as a separate process:
// files are whole under their final names whatever happens to the run (a
// kill, an interrupt, a full disk), two runs never share a destination, and
// the JSON of `fmconv ui` is valid whatever bytes a name holds.
#include <gtest/gtest.h>
#include <pwd.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <thread>

#include "base/bytes.h"
#include "base/text.h"
#include "image/picture_files.h"
#include "run_fmconv.h"
#include "support/temp_dir.h"

namespace fmconv::testing {
namespace {

namespace fs = std::filesystem;
constexpr uint64_t kFrame1080 = 5188864;

// True when the file is a whole frame of the 1080 formats: its size, the
// trailer marks of a register file, and the checksum of header bytes 36-39
// by either rule a writer uses (the XOR of the words from offset 48, or the
// sum of every fourth byte from offset 48 on, lane by lane).
bool IsWholeFrame(const std::string& path) {
    const std::vector<uint8_t> bytes = ReadBytes(path);
    const bool registerFile = path.ends_with(".SF1");
    const std::size_t frame = path.ends_with(".SFA") ? 6197568 : kFrame1080;
    if (bytes.size() != frame + (registerFile ? 304 : 0)) return false;
    if (registerFile && (std::string(&bytes[frame + 256], &bytes[frame + 260]) != "SFM1" ||
                         std::string(&bytes[frame + 300], &bytes[frame + 304]) != "VVVV")) {
        return false;
    }
    uint8_t xors[4] = {}, sums[4] = {};
    for (const uint8_t *p = bytes.data() + 48, *end = bytes.data() + frame; p < end; p += 4) {
        for (int lane = 0; lane < 4; ++lane) {
            xors[lane] ^= p[lane];
            sums[lane] = static_cast<uint8_t>(sums[lane] + p[lane]);
        }
    }
    return std::equal(xors, xors + 4, &bytes[36]) || std::equal(sums, sums + 4, &bytes[36]);
}

// The files of a folder that a user sees (the hidden temporaries left out),
// with the number of hidden ones.
std::vector<std::string> VisibleFiles(const std::string& folder, int* hidden = nullptr) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        if (name.front() == '.') {
            if (hidden) ++*hidden;
            continue;
        }
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string Pictures(const TempDir& dir, const std::string& name, int count) {
    const std::string folder = dir.MakeDir(name);
    for (int i = 0; i < count; ++i) {
        WriteBytes(folder + "/" + Format("P%02d.tga", i), TgaFile(Numbered(8, 8)));
    }
    return folder;
}

TEST(Safety, AKilledRunLeavesNoTornFileUnderAFinalName) {
    TempDir dir;
    const std::string in = Pictures(dir, "in", 12);
    std::mt19937 random(7);
    int cut = 0;  // runs killed before their end
    for (int round = 0; round < 8; ++round) {
        const std::string to = round % 2 ? "sf1" : "sfm";
        const std::string out = dir.MakeDir("out" + std::to_string(round));
        RunningFmconv run(dir.path(), {"convert", "--quiet", "--from", "image", "--to", to, in, out});
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 600));
        run.Signal(SIGKILL);
        const ProcessResult r = run.Wait();
        const std::vector<std::string> files = VisibleFiles(out);
        cut += r.exitCode != 0 && files.size() < 24;
        for (const std::string& name : files) {
            EXPECT_TRUE(IsWholeFrame(out + "/" + name)) << name << " of round " << round;
        }
    }
    EXPECT_GT(cut, 0) << "no run was killed in the middle";
}

TEST(Safety, AnInterruptCancelsAfterTheFileInHandAndASecondStopsAtOnce) {
    TempDir dir;
    const std::string in = Pictures(dir, "in", 12);
    for (const bool twice : {false, true}) {
        const std::string out = dir.MakeDir(twice ? "twice" : "once");
        RunningFmconv run(dir.path(), {"convert", "--from", "image", "--to", "sfm", in, out});
        while (run.OutSoFar().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        run.Signal(SIGINT);
        if (twice) run.Signal(SIGTERM);
        const ProcessResult r = run.Wait();
        EXPECT_EQ(r.exitCode, 130);
        int hidden = 0;
        const std::vector<std::string> files = VisibleFiles(out, &hidden);
        EXPECT_EQ(hidden, 0);
        EXPECT_LT(files.size(), 24u);
        for (const std::string& name : files) EXPECT_TRUE(IsWholeFrame(out + "/" + name)) << name;
        if (!twice) {
            // Every file listed is there, and the listing says why it stopped.
            std::vector<std::string> listed = r.outLines;
            std::sort(listed.begin(), listed.end());
            EXPECT_EQ(listed, files);
            EXPECT_TRUE(AnyLineHas(r.errLines, {"interrupted"})) << r.err;
        }
    }
}

TEST(Safety, TwoRunsIntoOneFolderNeverShareANameOrANumber) {
    TempDir dir;
    const std::string a = Pictures(dir, "a", 15), b = Pictures(dir, "b", 15);
    for (int i = 0; i < 15; ++i) fs::rename(b + Format("/P%02d.tga", i), b + Format("/Q%02d.tga", i));
    const std::string out = dir.MakeDir("out");
    RunningFmconv first(dir.path(), {"convert", "--quiet", "--from", "image", "--to", "sf1", a, out});
    RunningFmconv second(dir.path(), {"convert", "--quiet", "--from", "image", "--to", "sf1", b, out});
    const ProcessResult r1 = first.Wait(), r2 = second.Wait();
    int done = 0;
    for (const ProcessResult* r : {&r1, &r2}) {
        if (r->exitCode == 0) {
            ++done;
        } else {
            EXPECT_EQ(r->exitCode, 1);
            EXPECT_EQ(r->errLines,
                      std::vector<std::string>{
                          "Error: Destination folder is in use by another conversion [" + out + "]"});
            EXPECT_TRUE(r->outLines.empty());
        }
    }
    ASSERT_GE(done, 1);
    // F0001 onward, once each, every trailer naming another frame.
    const std::vector<std::string> files = VisibleFiles(out);
    ASSERT_EQ(files.size(), 30u * done);
    std::map<std::string, int> inner;
    for (std::size_t i = 0; i < files.size(); ++i) {
        EXPECT_EQ(files[i], Format("F%04zu.SF1", i + 1));
        EXPECT_TRUE(IsWholeFrame(out + "/" + files[i]));
        const std::vector<uint8_t> bytes = ReadBytes(out + "/" + files[i]);
        ++inner[std::string(reinterpret_cast<const char*>(&bytes[kFrame1080 + 264]))];
    }
    EXPECT_EQ(inner.size(), files.size());
}

// A small file system of its own that fills up in the middle of each kind of
// run (a writer that fails on purpose tries every failure class in the
// driver's tests; this is the real thing, where the test may mount one).
TEST(Safety, AFullFileSystemFailsTheFileAndNeverReportsSuccess) {
    TempDir dir;
    const std::string in = Pictures(dir, "in", 3), small = dir.MakeDir("small");
    if (::geteuid() != 0 || ::mount("tmpfs", small.c_str(), "tmpfs", 0, "size=12m") != 0) {
        GTEST_SKIP() << "no file system of its own can be mounted here";
    }
    ::umount(small.c_str());
    const std::string sfm = dir.MakeDir("sfm"), sfa = dir.MakeDir("sfa");
    for (auto [from, to, source, dest] : {std::tuple{"image", "sfm", in, sfm}, {"sfm", "sfa", sfm, sfa}}) {
        ASSERT_EQ(RunFmconv(dir.path(), {"convert", "--quiet", "--from", from, "--to", to, source, dest})
                      .exitCode,
                  0);
    }
    for (auto [from, to, source] : {std::tuple{"image", "sfm", in}, {"sfm", "sf1", sfm},
                                    {"sfm", "sfa", sfm}, {"sfa", "sfm", sfa}}) {
        SCOPED_TRACE(std::string(from) + " to " + to);
        const std::string out = dir.MakeDir(std::string("out-") + from + to);
        ASSERT_EQ(::mount("tmpfs", out.c_str(), "tmpfs", 0, "size=12m"), 0);
        const ProcessResult r =
            RunFmconv(dir.path(), {"convert", "--quiet", "--from", from, "--to", to, source, out});
        EXPECT_EQ(r.exitCode, 1) << r.out << r.err;
        EXPECT_FALSE(AnyLineHas(r.outLines, {"Convert finished successfully"}));
        EXPECT_TRUE(AnyLineHas(r.errLines, {"Error: "})) << r.err;
        int hidden = 0;
        for (const std::string& name : VisibleFiles(out, &hidden)) {
            // The SFA writers and the extraction leave their destination empty.
            if (fs::file_size(out + "/" + name) == 0 && std::string(from) != "image") continue;
            EXPECT_TRUE(IsWholeFrame(out + "/" + name)) << name;
        }
        EXPECT_EQ(hidden, 0);
        ::umount(out.c_str());
    }
}

TEST(Safety, AReadOnlySourcePacksAsAnOrdinaryUser) {
    TempDir dir;
    std::optional<uid_t> user;
    if (::geteuid() == 0) {
        const passwd* nobody = ::getpwnam("nobody");
        if (!nobody) GTEST_SKIP() << "no ordinary user to run as";
        user = nobody->pw_uid;
        ::chmod(dir.path().c_str(), 0777);
    }
    const std::string in = Pictures(dir, "in", 1), sfm = dir.MakeDir("sfm"), out = dir.MakeDir("out");
    ASSERT_EQ(RunFmconv(dir.path(), {"convert", "--quiet", "--from", "image", "--to", "sfm", in, sfm})
                  .exitCode,
              0);
    for (const std::string& folder : {sfm, out}) ::chmod(folder.c_str(), 0777);
    ::chmod((sfm + "/MP00.FMEM_001.SFM").c_str(), 0444);
    SpawnOptions options;
    options.user = user;
    for (int round = 1; round <= 2; ++round) {  // a second run takes the next number
        const ProcessResult r = RunFmconv(
            dir.path(), {"convert", "--from", "sfm", "--to", "sf1", sfm, out, "MP00.FMEM_001.SFM"},
            "", options);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const std::string packed = out + Format("/F%04d.SF1", round);
        EXPECT_TRUE(IsWholeFrame(packed));
        struct stat info {};
        ::stat(packed.c_str(), &info);
        EXPECT_NE(info.st_mode & 0200, 0u);  // the copy is the user's own, not read-only
    }
}

TEST(Safety, UiWritesValidUtf8JsonWhateverBytesANameHolds) {
    TempDir dir;
    const std::string src = dir.MakeDir("src");
    WriteText(src + "/\xED\xA0\x80.tga", "x");      // an encoded surrogate: not UTF-8
    WriteText(src + "/caf\xC3\xA9\xFF.bmp", "x");  // UTF-8, then a stray byte
    const ProcessResult r = RunFmconv(dir.path(), {"ui"}, "folder source " + src + "\ndump\n");
    ASSERT_EQ(r.outLines.size(), 1u);
    const std::string& line = r.outLines[0];
    EXPECT_NE(line.find("\"\\udced\\udca0\\udc80.tga\""), std::string::npos);
    EXPECT_NE(line.find("\"caf\xC3\xA9\\udcff.bmp\""), std::string::npos);
    // Strict JSON in every other respect: a strict parser takes the line once
    // the escapes of single bytes are read as the code points of those bytes.
    std::string plain = line;
    for (std::size_t at; (at = plain.find("\\udc")) != std::string::npos;) plain.replace(at, 4, "\\u00");
    const nlohmann::json state = nlohmann::json::parse(plain);
    EXPECT_EQ(state["state"]["source_list"]["items"].size(), 2u);
}

}  // namespace
}  // namespace fmconv::testing
