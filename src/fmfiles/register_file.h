// The register file (SF1 holding an SFM, SF3 holding an SFA): the embedded
// per-name file byte for byte, then a fixed 304-byte trailer that carries the
// embedded file's frame-memory name.
//
//   trailer offset   0  256 zero bytes
//                  256  "SFM1" (in SF1 and SF3 alike)
//                  260  4 zero bytes
//                  264  inner name, zero-filled to 32 bytes (no terminator at 32)
//                  296  4 zero bytes
//                  300  "VVVV"
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace fmconv {

constexpr std::size_t kRegisterTrailerSize = 304;
constexpr std::size_t kTrailerMarkerOffset = 256;
constexpr std::size_t kTrailerNameOffset = 264;
constexpr std::size_t kTrailerNameSize = 32;
constexpr std::size_t kTrailerEndMarkerOffset = 300;

using RegisterTrailer = std::array<uint8_t, kRegisterTrailerSize>;

// A trailer holding innerName (cut to 32 bytes when longer).
RegisterTrailer BuildRegisterTrailer(std::string_view innerName);

// The inner name: the bytes from offset 264 up to the first zero, at most 32.
std::string TrailerInnerName(const RegisterTrailer& trailer);

// Valid when bytes 256..259 read "SFM1" and bytes 300..303 read "VVVV".
bool IsValidRegisterTrailer(const RegisterTrailer& trailer);

enum class TrailerReadStatus {
    kOk,
    kOpenFailed,  // the file could not be opened in the mode asked for
    kShort,       // fewer than 304 bytes could be read from 304 before the end
};

struct TrailerRead {
    TrailerReadStatus status = TrailerReadStatus::kOpenFailed;
    // The bytes read; what could not be read stays zero.
    RegisterTrailer trailer{};
};

enum class TrailerOpenMode {
    kRead,       // plain read access
    kReadWrite,  // the scans and the list annotation open register files read-write
};

// Reads the last 304 bytes of path.
TrailerRead ReadRegisterTrailer(const std::string& path, TrailerOpenMode mode);

}  // namespace fmconv
