#include "base/file_window.h"

#include <algorithm>

namespace fmconv {

bool FileWindow::Open(const std::string& path, uint64_t limit) {
    file_ = OpenFile(path, "rb");
    limit_ = limit;
    start_ = 0;
    filled_ = 0;
    if (buffer_.empty()) buffer_.resize(2 * kMostAtOnce);
    return file_ != nullptr;
}

std::span<const uint8_t> FileWindow::From(uint64_t offset, std::size_t count) {
    if (offset >= limit_) return {};
    count = std::min(count, kMostAtOnce);
    const bool inside = offset >= start_ && offset - start_ <= filled_;
    const std::size_t at = inside ? static_cast<std::size_t>(offset - start_) : 0;
    const bool ended = start_ + filled_ == limit_;
    if (!inside || (filled_ - at < count && !ended)) {
        filled_ = 0;
        start_ = offset;
        const std::size_t want =
            static_cast<std::size_t>(std::min<uint64_t>(buffer_.size(), limit_ - offset));
        if (file_ && fseeko(file_.get(), static_cast<off_t>(offset), SEEK_SET) == 0) {
            filled_ = std::fread(buffer_.data(), 1, want, file_.get());
        }
        // A short read is where the file ends.
        if (filled_ < want) limit_ = start_ + filled_;
        return {buffer_.data(), filled_};
    }
    return {buffer_.data() + at, filled_ - at};
}

}  // namespace fmconv
