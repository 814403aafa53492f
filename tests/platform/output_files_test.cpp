#include "platform/output_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/file_size_limit.h"
#include "support/temp_dir.h"

namespace fmconv::platform {
namespace {

using fmconv::testing::ReadBytes;
using fmconv::testing::TempDir;
using fmconv::testing::WriteText;
namespace fs = std::filesystem;

std::vector<std::string> Names(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

unsigned ModeOf(const std::string& path) {
    struct stat info {};
    ::stat(path.c_str(), &info);
    return info.st_mode & 07777;
}

TEST(OutputFiles, AFileReachesItsNameOnlyWhole) {
    TempDir dir;
    SafeOutputFiles files;
    const std::string path = dir.File("MA.FMEM_001.SFM");
    const std::vector<uint8_t> bytes(5000, 7);
    {
        auto file = files.Create(path);
        ASSERT_TRUE(file && file->Write(bytes.data(), bytes.size()));
        EXPECT_EQ(Names(dir.path()).size(), 1u);  // a hidden temporary
        EXPECT_TRUE(IsTemporaryName(Names(dir.path())[0]));
        EXPECT_FALSE(fs::exists(path));
    }  // dropped without Commit: nothing stays
    EXPECT_TRUE(Names(dir.path()).empty());

    WriteText(path, "old");
    ::chmod(path.c_str(), 0640);
    ASSERT_TRUE(WriteWholeFile(files, path, bytes.data(), bytes.size()));
    EXPECT_EQ(ReadBytes(path), bytes);
    EXPECT_EQ(ModeOf(path), 0640u);  // a replaced file keeps its permissions
    EXPECT_EQ(Names(dir.path()), (std::vector<std::string>{"MA.FMEM_001.SFM"}));

    {
        // Full disk: the write fails, the old file stays as it was.
        const fmconv::testing::FileSizeLimit limit(1000);
        EXPECT_FALSE(WriteWholeFile(files, path, bytes.data(), 3000));
    }
    EXPECT_EQ(ReadBytes(path), bytes);
    EXPECT_EQ(Names(dir.path()).size(), 1u);
}

TEST(OutputFiles, RefusesWhatAnOpenForWritingRefusesAndNeverWritesThroughALink) {
    TempDir dir;
    SafeOutputFiles files;
    dir.MakeDir("folder");
    WriteText(dir.File("outside"), "keep");
    fs::create_symlink(dir.File("outside"), dir.File("link"));
    EXPECT_EQ(files.Create(dir.File("folder")), nullptr);
    EXPECT_EQ(files.Create(dir.File("missing/x")), nullptr);
    if (::geteuid() != 0) {  // the superuser may write any file
        WriteText(dir.File("readonly"), "x");
        ::chmod(dir.File("readonly").c_str(), 0444);
        EXPECT_EQ(files.Create(dir.File("readonly")), nullptr);
    }
    ASSERT_TRUE(CreateEmptyFile(files, dir.File("link")));
    EXPECT_FALSE(fs::is_symlink(dir.File("link")));
    EXPECT_EQ(ReadBytes(dir.File("outside")).size(), 4u);
}

TEST(OutputFiles, CopiesTakeTheContentNotThePermissions) {
    TempDir dir;
    SafeOutputFiles files;
    std::vector<uint8_t> bytes(300000);
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 13);
    fmconv::testing::WriteBytes(dir.File("source"), bytes);
    ::chmod(dir.File("source").c_str(), 0444);
    struct Case {
        uint64_t count;
        std::size_t expected;
    } cases[] = {{OutputFile::kToEnd, bytes.size()}, {1000, 1000}, {0, 0}, {1u << 30, bytes.size()}};
    for (const Case& c : cases) {
        auto file = files.Create(dir.File("copy"));
        ASSERT_EQ(file->CopyFrom(dir.File("source"), c.count), OutputFile::CopyResult::kOk);
        ASSERT_TRUE(file->Commit());
        EXPECT_EQ(ReadBytes(dir.File("copy")),
                  std::vector<uint8_t>(bytes.begin(), bytes.begin() + c.expected));
        EXPECT_EQ(ModeOf(dir.File("copy")) & 0200, 0200u);
        fs::remove(dir.File("copy"));
    }
    auto file = files.Create(dir.File("copy"));
    EXPECT_EQ(file->CopyFrom(dir.File("missing"), OutputFile::kToEnd),
              OutputFile::CopyResult::kSourceFailed);
    const fmconv::testing::FileSizeLimit limit(1000);
    EXPECT_EQ(file->CopyFrom(dir.File("source"), OutputFile::kToEnd),
              OutputFile::CopyResult::kWriteFailed);
    EXPECT_FALSE(file->Commit());
    EXPECT_EQ(Names(dir.path()), (std::vector<std::string>{"source"}));
}

TEST(OutputFiles, StaleTemporariesOfEndedProcessesAreRemoved) {
    TempDir dir;
    // A process id far above any in use, one that runs (our parent), and a
    // name that only looks similar.
    const std::string running = ".fmconv-" + std::to_string(::getppid()) + "-0.part";
    for (const std::string& name : {std::string(".fmconv-999999999-0.part"), running,
                                    std::string(".fmconv-x.partial")}) {
        WriteText(dir.File(name), "x");
    }
    RemoveStaleTemporaries(dir.path());
    EXPECT_EQ(Names(dir.path()), (std::vector<std::string>{running, ".fmconv-x.partial"}));
}

}  // namespace
}  // namespace fmconv::platform
