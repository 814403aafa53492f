// The one way the program writes a file. Every output of every door goes
// through here: frames, register files, whole-file copies, WAV files, the
// ".TMP" intermediates of picture runs and the settings file.
//
// Bytes go to a hidden temporary in the destination folder (named
// ".fmconv-<pid>-<n>.part", which no file list of the program shows). Every
// write and the close are checked, and only a whole file is renamed to its
// final name, replacing a file of that name. A full disk, an I/O error, a
// kill or an interrupt therefore never leaves a torn file under a final name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace fmconv::platform {

// A file being written. Destroyed without a successful Commit(), it leaves
// nothing behind.
class OutputFile {
  public:
    virtual ~OutputFile() = default;

    // Appends the bytes; false once any write has failed (and from then on).
    virtual bool Write(const uint8_t* data, std::size_t size) = 0;
    // Writes the bytes at offset (within what was written: a header filled
    // in last); false as Write.
    virtual bool WriteAt(uint64_t offset, const uint8_t* data, std::size_t size) = 0;

    enum class CopyResult {
        kOk,
        kSourceFailed,  // the source could not be opened or read
        kWriteFailed,   // the output could not take the bytes
    };
    static constexpr uint64_t kToEnd = std::numeric_limits<uint64_t>::max();
    // Appends count bytes of the file at sourcePath from its start (fewer
    // when it is shorter; kToEnd for all of it), copied by the kernel where
    // it can. The content is copied, never the source's permissions.
    virtual CopyResult CopyFrom(const std::string& sourcePath, uint64_t count) = 0;

    // Closes the file and gives it its final name. False when a write, the
    // close or the rename failed; the temporary is then removed.
    virtual bool Commit() = 0;
};

class OutputFiles {
  public:
    virtual ~OutputFiles() = default;
    // Starts the file that will be named path. nullptr when it cannot be
    // written, as an ordinary open for writing would fail: its folder is
    // missing or not writable, or path names a folder, a read-only file or
    // something that is not a regular file.
    virtual std::unique_ptr<OutputFile> Create(const std::string& path) = 0;
};

// Writes the whole file in one go. False when it could not be written whole
// (nothing is then left under path).
bool WriteWholeFile(OutputFiles& files, const std::string& path, const uint8_t* data,
                    std::size_t size);
// The same through the system's writer.
bool WriteWholeFile(const std::string& path, const std::vector<uint8_t>& bytes);
// Makes path an empty file now (replacing a file of that name), for the
// writers that create their destination before a test that can fail.
bool CreateEmptyFile(OutputFiles& files, const std::string& path);

// The files of the operating system, written safely as described above. A
// file replaced keeps its permissions (and, for the superuser, its owner);
// a new file gets the usual permissions of the process (0666 less umask).
class SafeOutputFiles final : public OutputFiles {
  public:
    std::unique_ptr<OutputFile> Create(const std::string& path) override;
};
// The process's one instance.
SafeOutputFiles& SystemOutputFiles();

// Removes every temporary of this process that is still being written and
// refuses new ones from then on: the last step before the process ends on an
// interrupt.
void RemoveTemporariesAndStop();

// Removes the temporaries that processes no longer running left in folder
// (after a kill). Call it only while holding the folder for a run.
void RemoveStaleTemporaries(const std::string& folder);

// True for the names of the temporaries above.
bool IsTemporaryName(const std::string& name);

}  // namespace fmconv::platform
