#include "fmfiles/register_file.h"

#include <algorithm>
#include <cstring>

#include "base/file_io.h"

namespace fmconv {

namespace {
constexpr char kStartMarker[4] = {'S', 'F', 'M', '1'};
constexpr char kEndMarker[4] = {'V', 'V', 'V', 'V'};
}  // namespace

RegisterTrailer BuildRegisterTrailer(std::string_view innerName) {
    RegisterTrailer trailer{};
    std::memcpy(&trailer[kTrailerMarkerOffset], kStartMarker, 4);
    const std::size_t n = std::min(innerName.size(), kTrailerNameSize);
    std::memcpy(&trailer[kTrailerNameOffset], innerName.data(), n);
    std::memcpy(&trailer[kTrailerEndMarkerOffset], kEndMarker, 4);
    return trailer;
}

std::string TrailerInnerName(const RegisterTrailer& trailer) {
    const auto* begin = trailer.data() + kTrailerNameOffset;
    const auto* end = std::find(begin, begin + kTrailerNameSize, uint8_t{0});
    return std::string(begin, end);
}

bool IsValidRegisterTrailer(const RegisterTrailer& trailer) {
    return std::memcmp(&trailer[kTrailerMarkerOffset], kStartMarker, 4) == 0 &&
           std::memcmp(&trailer[kTrailerEndMarkerOffset], kEndMarker, 4) == 0;
}

TrailerRead ReadRegisterTrailer(const std::string& path, TrailerOpenMode mode) {
    TrailerRead result;
    FilePtr file = OpenFile(path, mode == TrailerOpenMode::kReadWrite ? "r+b" : "rb");
    if (!file) return result;
    result.status = TrailerReadStatus::kShort;
    if (std::fseek(file.get(), -static_cast<long>(kRegisterTrailerSize), SEEK_END) != 0) {
        return result;
    }
    const std::size_t got = std::fread(result.trailer.data(), 1, kRegisterTrailerSize, file.get());
    if (got == kRegisterTrailerSize) result.status = TrailerReadStatus::kOk;
    return result;
}

}  // namespace fmconv
