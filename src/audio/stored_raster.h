// Where the lines of a stored SFA frame lie. A plane is two field regions;
// each region is its lines packed back to back (a line of a length that is
// not a multiple of four words ends, and the next one starts, mid-byte),
// rounded up to a whole byte, then its pad bytes. Lines are counted from 0
// here; the second line of a region (index 1) is the one after the vertical
// switching point.
#pragma once

#include <cstdint>

#include "audio/signal_format.h"

namespace fmconv {

struct StoredRaster {
    uint64_t lineBits = 0;         // bits of one stored line
    uint32_t regionLines[2] = {};  // stored lines of each region (the extra line included)
    uint32_t regionStart[2] = {};  // byte offset of each region in its plane
    uint32_t extraLines = 0;       // the extra blanking line at the end of region 2
    uint32_t planeBytes = 0;

    // Bit position of line `index` of region `region` (0 or 1) in its plane.
    uint64_t LineBit(int region, uint32_t index) const {
        return uint64_t{regionStart[region]} * 8 + uint64_t{index} * lineBits;
    }
    // Lines that carry audio: every stored line but the extra one.
    uint32_t AudioLines(int region) const {
        return region == 0 ? regionLines[0] : regionLines[1] - extraLines;
    }
};

inline StoredRaster MakeStoredRaster(const SignalTiming& timing) {
    StoredRaster r;
    r.lineBits = uint64_t{timing.totalSamplesPerLine} * 10;
    r.regionLines[0] = FieldRegionLines(timing, 1);
    r.regionLines[1] = FieldRegionLines(timing, 2);
    r.regionStart[0] = 0;
    r.regionStart[1] = FieldRegionBytes(timing, 1);
    r.extraLines = timing.extraLinesAfterField2;
    r.planeBytes = PlaneBytes(timing);
    return r;
}

}  // namespace fmconv
