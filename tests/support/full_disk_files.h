// A writer that works like the system's until a number of bytes has been
// written in all, and then fails every write the way a full disk does: the
// file in hand keeps what fitted, its write reports the failure.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <string>

#include "platform/output_files.h"

namespace fmconv::testing {

class FullDiskFiles final : public platform::OutputFiles {
  public:
    explicit FullDiskFiles(uint64_t room) : room_(room) {}

    std::unique_ptr<platform::OutputFile> Create(const std::string& path) override {
        std::unique_ptr<platform::OutputFile> file = platform::SystemOutputFiles().Create(path);
        if (!file) return nullptr;
        return std::make_unique<File>(std::move(file), room_);
    }
    uint64_t room() const { return room_; }

  private:
    class File final : public platform::OutputFile {
      public:
        File(std::unique_ptr<platform::OutputFile> inner, uint64_t& room)
            : inner_(std::move(inner)), room_(room) {}
        bool Write(const uint8_t* data, std::size_t size) override {
            const bool fits = size <= room_;
            const std::size_t n = fits ? size : static_cast<std::size_t>(room_);
            room_ -= n;
            failed_ = failed_ || !fits || !inner_->Write(data, n);
            return !failed_;
        }
        bool WriteAt(uint64_t offset, const uint8_t* data, std::size_t size) override {
            failed_ = failed_ || !inner_->WriteAt(offset, data, size);
            return !failed_;
        }
        CopyResult CopyFrom(const std::string& sourcePath, uint64_t count) override {
            struct stat info {};
            if (::stat(sourcePath.c_str(), &info) != 0) return CopyResult::kSourceFailed;
            const uint64_t wanted = std::min<uint64_t>(count, static_cast<uint64_t>(info.st_size));
            const bool fits = wanted <= room_;
            const CopyResult r = inner_->CopyFrom(sourcePath, fits ? wanted : room_);
            room_ -= fits ? wanted : room_;
            if (r != CopyResult::kOk) return r;
            failed_ = failed_ || !fits;
            return failed_ ? CopyResult::kWriteFailed : CopyResult::kOk;
        }
        bool Commit() override { return !failed_ && inner_->Commit(); }

      private:
        std::unique_ptr<platform::OutputFile> inner_;
        uint64_t& room_;
        bool failed_ = false;
    };
    uint64_t room_;
};

}  // namespace fmconv::testing
