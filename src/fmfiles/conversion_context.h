// What every converter of a run shares: where its trace lines go, the
// free-space probe it asks before writing, the writer every output goes
// through, and the run's current signal format. The run owns one and hands
// it down; converters run one at a time on the run's worker.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/trace.h"
#include "platform/free_space.h"
#include "platform/output_files.h"

namespace fmconv {

struct ConversionContext {
    TraceSink trace;                                      // "fseek RGB = 18" and the like
    const platform::FreeSpaceProbe* freeSpace = nullptr;  // asked before every write
    // Every file a converter writes (whole-file copies included) goes
    // through it: written under a hidden temporary name, renamed when whole.
    platform::OutputFiles* files = &platform::SystemOutputFiles();
    uint32_t signalFormat = 0;  // the current SignalFormat code
    // Set from SFA header byte 48 (0x80, 0x81, 0x8F) as the readers pass;
    // nothing reads it, it is kept for what a later reader may want.
    bool embeddedAudioFlag = false;
    // Buffers the converters reuse from file to file, so that a run does not
    // allocate (and fault in) megabytes anew for every frame.
    struct Buffers {
        std::vector<uint8_t> source, frame;
    } buffers;
};

}  // namespace fmconv
