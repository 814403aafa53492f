#include "image/byte_source.h"

#include <algorithm>
#include <cstring>

namespace fmconv {

std::size_t ByteSource::Read(uint8_t* out, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        if (cursor_ == limit_ && (atEnd_ || !Refill())) break;
        const std::size_t take = std::min(size - done, static_cast<std::size_t>(limit_ - cursor_));
        std::memcpy(out + done, cursor_, take);
        cursor_ += take;
        done += take;
    }
    return done;
}

void ByteSource::Seek(uint64_t offset) {
    if (window_ != nullptr && offset >= windowStart_ &&
        offset - windowStart_ <= static_cast<uint64_t>(limit_ - window_)) {
        cursor_ = window_ + (offset - windowStart_);
        return;
    }
    windowStart_ = offset;
    window_ = cursor_ = limit_ = nullptr;
    atEnd_ = false;
}

int ByteSource::ReadByteSlow() {
    if (atEnd_ || !Refill()) return kEndOfFile;
    return *cursor_++;
}

bool ByteSource::Refill() {
    const uint64_t at = Tell();
    const std::span<const uint8_t> bytes = Window(at);
    windowStart_ = at;
    window_ = cursor_ = bytes.empty() ? nullptr : bytes.data();
    limit_ = bytes.empty() ? nullptr : bytes.data() + bytes.size();
    atEnd_ = bytes.empty();
    return !atEnd_;
}

std::span<const uint8_t> MemoryByteSource::Window(uint64_t offset) {
    if (offset >= bytes_.size()) return {};
    return bytes_.subspan(static_cast<std::size_t>(offset));
}

std::unique_ptr<FileByteSource> FileByteSource::Open(const std::string& path) {
    FilePtr file = OpenFile(path, "rb");
    if (!file) return nullptr;
    return std::unique_ptr<FileByteSource>(new FileByteSource(std::move(file)));
}

std::span<const uint8_t> FileByteSource::Window(uint64_t offset) {
    if (offset >= end_) return {};
    if (offset != filePosition_) {
        if (offset > static_cast<uint64_t>(std::numeric_limits<off_t>::max()) ||
            ::fseeko(file_.get(), static_cast<off_t>(offset), SEEK_SET) != 0) {
            return {};
        }
        filePosition_ = offset;
    }
    const std::size_t got = std::fread(buffer_.data(), 1, buffer_.size(), file_.get());
    filePosition_ += got;
    // A short read marks the end; the file is not expected to grow while it
    // is converted, so nothing at or beyond it is asked for again.
    if (got < buffer_.size()) end_ = filePosition_;
    return {buffer_.data(), got};
}

}  // namespace fmconv
