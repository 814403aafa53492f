// The conversion run: what the Exec button starts on the worker thread. It
// reads the window's controls, picks the branch of the source/destination
// pair, takes the start numbers, reads or collects the audio, converts the
// selected files one after another and ends with "Convert finished
// successfully", or stops at the first failure with its box.
//
// Files whose conversion is mostly work on their own bytes (pictures, and
// the SFA frames made from SFM and SF1 frames) are prepared ahead on worker
// threads and committed here in list order; whatever a user sees stays one
// file after another.
#include "run/driver.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "audio/audio_channel_set.h"
#include "audio/extracting_conversions.h"
#include "audio/sfa_file.h"
#include "audio/signal_format.h"
#include "audio/wav.h"
#include "base/text.h"
#include "fmfiles/containers.h"
#include "image/picture_convert.h"
#include "names/disk_space.h"
#include "names/naming.h"
#include "platform/folder_lock.h"
#include "platform/output_files.h"
#include "platform/thread_priority.h"
#include "run/messages.h"
#include "run/numbering.h"
#include "run/pipeline.h"

namespace fmconv {

namespace {

enum class Source { kSfm, kImage, kSf1, kSfa, kSf3 };
enum class Dest { kSfm, kSf1, kSfa, kSf3 };

RunControl DestRadio(Dest d) {
    switch (d) {
        case Dest::kSfm:
            return RunControl::kDestSfm;
        case Dest::kSf1:
            return RunControl::kDestSf1;
        case Dest::kSfa:
            return RunControl::kDestSfa;
        case Dest::kSf3:
            return RunControl::kDestSf3;
    }
    return RunControl::kDestSfm;
}

// The "SFA Format / Audio Source" radios and their signal-format codes.
constexpr std::pair<RunControl, uint32_t> kSfaCodes[] = {
    {RunControl::kSfa1080i5994, kSignal1080i5994}, {RunControl::kSfa1080i50, kSignal1080i50},
    {RunControl::kSfa1080PsF24, kSignal1080PsF24}, {RunControl::kSfa720p5994, kSignal720p5994},
    {RunControl::kSfa720p50, kSignal720p50},       {RunControl::kSfa576i50, kSignal576i50},
    {RunControl::kSfa480i5994, kSignal480i5994},
};

// The picture format radios of both groups, in id order, and the
// FrameFormat each selects.
constexpr std::pair<RunControl, int> kSfmFrameFormats[] = {
    {RunControl::kSfm1080, kFrameFormat1080},
    {RunControl::kSfm720p, kFrameFormat720p},
    {RunControl::kSfm576i, kFrameFormat576i},
    {RunControl::kSfm480i, kFrameFormat480i},
};
constexpr std::pair<RunControl, int> kSfaFrameFormats[] = {
    {RunControl::kSfa1080i5994, kFrameFormat1080}, {RunControl::kSfa1080i50, kFrameFormat1080},
    {RunControl::kSfa1080PsF24, kFrameFormat1080}, {RunControl::kSfa720p5994, kFrameFormat720p},
    {RunControl::kSfa720p50, kFrameFormat720p},    {RunControl::kSfa576i50, kFrameFormat576i},
    {RunControl::kSfa480i5994, kFrameFormat480i},
};

constexpr int kWavSlots = 16;
constexpr std::size_t kPathLimit = 259;  // the 260-character slots keep 259 and a terminator

// The most audio samples a frame can carry (48 000 / 23, the slowest audio
// timing, rounded up with room for the samples a frame's first lines take
// over from the one before) and a margin: the WAV reader keeps no more than
// the run can embed.
constexpr uint64_t kSamplesPerFrameBound = 2100;
constexpr uint64_t kSampleMargin = 1024;

// The memory the files prepared ahead may take in all.
constexpr std::size_t kPreparedBudget = 48u << 20;

// A converter's call, with memory that cannot be had turned into that
// converter's failure (the run then stops with its message) instead of the
// end of the program.
template <typename Convert, typename Failure>
auto Guarded(Convert convert, Failure failure) -> decltype(convert()) {
    try {
        return convert();
    } catch (const std::bad_alloc&) {
        return failure;
    }
}

// A picture prepared ahead: the list text it was prepared for and its frames.
struct PictureJob {
    std::string item;
    std::optional<PictureKind> kind;  // none: an extension no converter takes
    bool outOfMemory = false;
    PreparedPicture picture;
};

// An SFA frame prepared ahead from an SFM or SF1 frame.
struct SfaJob {
    std::string name;
    bool outOfMemory = false;
    PreparedSfa sfa;
};

class Run final : public ErrorReporter {
  public:
    explicit Run(RunWindow& window) : w_(window), ctx_(window.Context()) {}

    int Execute();

    // ErrorReporter: the scans' messages.
    void ReportError(const std::string& text) override { Box(text); }

  private:
    // --- the window ---
    bool Checked(RunControl control) const { return w_.IsChecked(control); }
    void Box(const std::string& text) {
        w_.ShowBox({kCaptionError, text, platform::BoxIcon::kStop});
    }
    // Ends the run early: the reset, and the worker's exit code.
    int Stop() {
        w_.RestoreAfterRun();
        return -1;
    }
    int StopWith(const std::string& text) {
        Box(text);
        return Stop();
    }
    std::vector<std::string> SelectedItems() const {
        if (import_) return import_->Items();
        std::vector<std::string> items;
        for (int index : w_.SelectedSourceItems(kMaxSelectedItems)) {
            items.push_back(w_.SourceItem(index));
        }
        return items;
    }
    std::string ItemAt(int k) const {
        if (import_) return import_->Items()[static_cast<std::size_t>(k)];
        return w_.SourceItem(selection_[static_cast<std::size_t>(k)]);
    }
    void FileDone(int k) {
        w_.SetProgress(k + 1);
        w_.AfterFile(k + 1);
    }
    std::optional<uint32_t> ChosenSignalFormat() const {
        for (auto [control, code] : kSfaCodes) {
            if (Checked(control)) return code;
        }
        return std::nullopt;
    }

    // --- the parts of a run ---
    int Finish();
    // Takes the destination folder for this run; false (after the box and
    // the reset) when another run holds it.
    bool HoldDestination();
    // frames: how many frames the run can write, which bounds the audio kept.
    bool ReadWav(uint64_t frames);  // false after its box and the reset
    void ReleaseAudio() {
        for (auto& samples : set_.channelSamples) std::vector<uint8_t>().swap(samples);
    }
    // The result of a converter: true to go on; false after the box and reset.
    bool Accept(const std::string& result, const std::string& failedName);
    bool Accept(const ContainerResult& result, const std::string& failedName);

    template <typename Convert, typename Entry>
    int PerFileLoop(Convert convert, Entry entry, bool nameBeforeParen);
    int SfaLoop(SfaSource from, SfaDestination to, bool nameBeforeParen);
    int RunBranch(Source source, Dest dest);
    int RunPictures(Dest dest);
    int RunRenumbering();

    // How many files are prepared ahead, and on how many threads, for files
    // of about `bytes` each.
    static int Slots(std::size_t bytes) {
        return static_cast<int>(
            std::clamp<std::size_t>(kPreparedBudget / std::max<std::size_t>(bytes, 1), 2,
                                    static_cast<std::size_t>(Workers()) + 1));
    }
    static int Workers() { return static_cast<int>(std::max(1u, std::thread::hardware_concurrency())); }

    RunWindow& w_;
    ConversionContext& ctx_;
    std::string sourceDir_, destDir_;
    std::vector<std::string> wavList_;
    std::vector<int> selection_;
    int count_ = 0;
    AudioChannelSet set_;
    std::unique_ptr<platform::FolderLock> destinationLock_;
    PictureImport* import_ = nullptr;
};

bool Run::HoldDestination() {
    platform::FolderLock::Result held = platform::FolderLock::TryLock(destDir_);
    if (held.outcome == platform::FolderLock::Outcome::kInUse) {
        StopWith(Format(kMsgFolderInUse, destDir_.c_str()));
        return false;
    }
    destinationLock_ = std::move(held.lock);
    // What a killed run left half written can go now that no run writes here.
    if (destinationLock_) platform::RemoveStaleTemporaries(destDir_);
    return true;
}

bool Run::ReadWav(uint64_t frames) {
    ResetAudioChannelSet(set_);
    set_.sampleLimit = static_cast<uint32_t>(
        std::min<uint64_t>(frames * kSamplesPerFrameBound + kSampleMargin, UINT32_MAX));
    for (int slot = 0; slot < kWavSlots; ++slot) {
        const std::string& path = wavList_[static_cast<std::size_t>(slot)];
        if (!path.empty()) set_.wavPath[static_cast<std::size_t>(slot)] = path;
    }
    const std::string answer = ReadWavFiles(set_);
    if (answer == kWavOk) return true;
    StopWith(answer);
    return false;
}

bool Run::Accept(const std::string& result, const std::string& failedName) {
    if (result.find(kHddMemoryNotSufficient) != std::string::npos) {
        StopWith(kHddMemoryNotSufficient);
        return false;
    }
    if (result.empty()) {
        StopWith(Format(kMsgConvertFailed, failedName.c_str()));
        return false;
    }
    return true;
}

bool Run::Accept(const ContainerResult& result, const std::string& failedName) {
    if (result.copyFailedTarget) {
        // The copy failed: its own box, and the run ends at once.
        StopWith(Format(kMsgDestinationWriteError, result.copyFailedTarget->c_str()));
        return false;
    }
    if (result.registerNumberRefused) Box(kMsgCannotCreateRegisterNumber);
    return Accept(result.text, failedName);
}

template <typename Convert, typename Entry>
int Run::PerFileLoop(Convert convert, Entry entry, bool nameBeforeParen) {
    for (int k = 0; k < count_; ++k) {
        if (w_.CancelRequested()) return Stop();
        const std::string item = ItemAt(k);
        const std::string name(nameBeforeParen ? SplitRegisterListItem(item).file : item);
        const auto result = Guarded([&] { return convert(k, item, name); },
                                    decltype(convert(k, item, name)){});
        if (!Accept(result, JoinPath(sourceDir_, name))) return -1;
        w_.AddEntry(entry(result, item));
        FileDone(k);
    }
    return 0;
}

// The SFA writers over the selection: each frame read and built ahead, its
// audio embedded and the file written here, in list order.
int Run::SfaLoop(SfaSource from, SfaDestination to, bool nameBeforeParen) {
    const uint32_t startCode = ChosenSignalFormat().value_or(ctx_.signalFormat);
    const auto nameOf = [nameBeforeParen](const std::string& item) {
        return std::string(nameBeforeParen ? SplitRegisterListItem(item).file : item);
    };
    const auto prepare = [&](const std::string& name, SfaJob& job) {
        job.name = name;
        job.outOfMemory = false;
        try {
            PrepareSfa(from, to, sourceDir_, name, ChosenSignalFormat().value_or(startCode),
                       job.sfa);
        } catch (const std::bad_alloc&) {
            job.outOfMemory = true;
        }
    };
    const std::size_t frameBytes = std::size_t{GetFrameByteSize(startCode, kFrameKindSfa)} +
                                   GetFrameByteSize(startCode, kFrameKindSfm) + 64;
    Pipeline<SfaJob> pipeline(
        count_, std::min(Workers(), Slots(frameBytes) - 1), Slots(frameBytes),
        [&](int k, SfaJob& job) { prepare(nameOf(ItemAt(k)), job); },
        platform::LowerCurrentThreadPriority);
    for (int k = 0; k < count_; ++k) {
        if (w_.CancelRequested()) return Stop();
        SfaJob& job = pipeline.Take(k);
        const std::string name = nameOf(ItemAt(k));
        if (job.name != name) prepare(name, job);  // the list changed under the run
        const std::string result =
            job.outOfMemory ? std::string()
                            : Guarded([&] {
                                  return CommitSfa(job.sfa, destDir_, set_, ChosenSignalFormat(),
                                                   ctx_);
                              },
                                      std::string());
        if (!Accept(result, JoinPath(sourceDir_, name))) return -1;
        w_.AddEntry(result);
        FileDone(k);
    }
    return 0;
}

int Run::Execute() {
    sourceDir_ = w_.SourceFolder();
    destDir_ = w_.DestinationFolder();
    for (int channel = 1; channel <= kWavSlots; ++channel) {
        std::string path = w_.ChannelPath(channel);
        if (!path.empty()) wavList_.push_back(path.substr(0, kPathLimit));
    }
    wavList_.resize(kWavSlots);

    import_ = w_.Import();
    selection_ = w_.SelectedSourceItems(kMaxSelectedItems);
    count_ = static_cast<int>(import_ ? std::min(import_->Items().size(), kMaxSelectedItems)
                                      : selection_.size());
    w_.StartProgress(count_);
    if (!HoldDestination()) return -1;

    // The first checked source radio decides; within it the destination
    // radios are tested in the matrix's order.
    static const std::pair<Source, std::vector<Dest>> kMatrix[] = {
        {Source::kSfm, {Dest::kSfa, Dest::kSf3, Dest::kSf1}},
        {Source::kImage, {Dest::kSfm, Dest::kSf1, Dest::kSfa, Dest::kSf3}},
        {Source::kSf1, {Dest::kSfm, Dest::kSfa, Dest::kSf3}},
        {Source::kSfa, {Dest::kSf3, Dest::kSfm, Dest::kSf1}},
        {Source::kSf3, {Dest::kSfa, Dest::kSfm, Dest::kSf1}},
    };
    static const RunControl kSourceRadio[] = {RunControl::kSourceSfm, RunControl::kSourceImage,
                                              RunControl::kSourceSf1, RunControl::kSourceSfa,
                                              RunControl::kSourceSf3};
    for (const auto& [source, dests] : kMatrix) {
        if (!Checked(kSourceRadio[static_cast<int>(source)])) continue;
        for (Dest dest : dests) {
            if (!Checked(DestRadio(dest))) continue;
            if (RunBranch(source, dest) != 0) return -1;
            break;
        }
        break;
    }
    if (Checked(RunControl::kSortSf1Sf3) && RunRenumbering() != 0) return -1;
    return Finish();
}

int Run::Finish() {
    const std::vector<std::string> entries = w_.Entries();
    if (!entries.empty()) {
        w_.SelectEntry(entries.back());
        w_.ShowDestinationCount(static_cast<int>(entries.size()));
        w_.ShowBox({kCaptionFinish, kMsgConvertFinished, platform::BoxIcon::kNone});
    } else {
        w_.ShowDestinationCount(0);
    }
    w_.RestoreAfterRun();
    return 0;
}

int Run::RunBranch(Source source, Dest dest) {
    if (source == Source::kImage) return RunPictures(dest);

    const auto frameMemoryNumberOk = [&](FrameFileKind kind) {
        const int32_t r = NextFrameMemoryNumber(destDir_, kind, SelectedItems(), *this);
        return r >= 1 && r <= 9999;  // a clash has shown its own message
    };
    // "Checked only" register-file numbers: negative stops silently, 0 or
    // above 9999 with the message.
    const auto registerFileNumberOk = [&](RegisterKind kind) {
        const int32_t f = NextRegisterFileNumber(destDir_, kind);
        if (f < 0) return false;
        if (f == 0 || f > 9999) {
            Box(kMsgCannotCreateRegisterNumber);
            return false;
        }
        return true;
    };
    const auto plain = [](const auto& result, const std::string&) { return result; };
    const auto extractor = [&](auto convert) {
        return [this, convert](int, const std::string&, const std::string& name) {
            return convert(sourceDir_, name, destDir_, set_, ctx_);
        };
    };
    // The branches that read the WAV files: read, check, convert, release.
    const auto withAudio = [&](auto numbersOk, bool storeFrameCount, SfaSource from,
                               SfaDestination to, bool nameBeforeParen) {
        if (!ReadWav(static_cast<uint64_t>(count_))) return -1;
        if (!numbersOk()) return Stop();
        if (storeFrameCount) set_.frameCount = static_cast<uint16_t>(count_);
        if (SfaLoop(from, to, nameBeforeParen) != 0) return -1;
        ReleaseAudio();
        return 0;
    };
    // The branches that take the audio out: the set collects it and the
    // WAV files are written after the last file.
    const auto extracting = [&](auto numbersOk, auto convert, bool nameBeforeParen) {
        if (!numbersOk()) return Stop();
        ResetAudioChannelSet(set_);
        set_.frameCount = static_cast<uint16_t>(count_);
        if (PerFileLoop(extractor(convert), plain, nameBeforeParen) != 0) return -1;
        if (set_.sampleCount != 0) {
            std::vector<std::string> written;
            const std::string failed = WriteChannelWavFiles(destDir_, set_, *ctx_.files, &written);
            if (!written.empty()) w_.FilesWritten(written);
            // A WAV file that cannot be written whole ends the run like a
            // failed copy: its box names the file.
            if (!failed.empty()) return StopWith(Format(kMsgDestinationWriteError, failed.c_str()));
        }
        ReleaseAudio();
        return 0;
    };

    switch (source) {
        case Source::kSfm:
            if (dest == Dest::kSfa) {
                return withAudio([&] { return frameMemoryNumberOk(FrameFileKind::kSfa); }, true,
                                 SfaSource::kSfm, SfaDestination::kSfa, false);
            }
            if (dest == Dest::kSf3) {
                return withAudio([&] { return registerFileNumberOk(RegisterKind::kSf3); }, true,
                                 SfaSource::kSfm, SfaDestination::kSf3, false);
            }
            {
                const int32_t f = NextRegisterFileNumber(destDir_, RegisterKind::kSf1);
                if (f < 1 || f > 9999) return StopWith(kMsgCannotCreateRegisterNumber);
                return PerFileLoop(
                    [&](int k, const std::string& item, const std::string&) {
                        return PackRegisterFile(sourceDir_, item, destDir_, f + k,
                                                RegisterKind::kSf1, PackVariant::kPlain, ctx_);
                    },
                    [](const ContainerResult& r, const std::string& item) {
                        return r.text + "(" + item + ")";
                    },
                    false);
            }
        case Source::kSf1:
            if (dest == Dest::kSfm) {
                if (!frameMemoryNumberOk(FrameFileKind::kSfm)) return Stop();
                return PerFileLoop(
                    [&](int, const std::string&, const std::string& name) {
                        return UnpackRegisterFile(sourceDir_, name, destDir_,
                                                  UnpackVariant::kTrailer, ctx_);
                    },
                    [](const ContainerResult& r, const std::string&) { return r.text; }, true);
            }
            if (dest == Dest::kSfa) {
                return withAudio([&] { return frameMemoryNumberOk(FrameFileKind::kSfa); }, false,
                                 SfaSource::kSf1, SfaDestination::kSfa, true);
            }
            return withAudio([&] { return registerFileNumberOk(RegisterKind::kSf3); }, true,
                             SfaSource::kSf1, SfaDestination::kSf3, true);
        case Source::kSfa:
            if (dest == Dest::kSf3) {
                const int32_t f = NextRegisterFileNumber(destDir_, RegisterKind::kSf3);
                if (f < 1 || f > 9999) return StopWith(kMsgCannotCreateRegisterNumber);
                return PerFileLoop(
                    [&](int k, const std::string& item, const std::string&) {
                        return PackRegisterFile(sourceDir_, item, destDir_, f + k,
                                                RegisterKind::kSf3, PackVariant::kPlain, ctx_);
                    },
                    [](const ContainerResult& r, const std::string&) { return r.text; }, false);
            }
            if (dest == Dest::kSfm) {
                return extracting([&] { return frameMemoryNumberOk(FrameFileKind::kSfm); },
                                  ConvertSfaToSfm, false);
            }
            return extracting([&] { return registerFileNumberOk(RegisterKind::kSf1); },
                              ConvertSfaToSf1, false);
        case Source::kSf3:
            if (dest == Dest::kSfa) {
                if (!frameMemoryNumberOk(FrameFileKind::kSfa)) return Stop();
                return PerFileLoop(
                    [&](int, const std::string& item, const std::string&) {
                        return UnpackRegisterFile(sourceDir_, item, destDir_,
                                                  UnpackVariant::kListItem, ctx_);
                    },
                    [](const ContainerResult& r, const std::string&) { return r.text; }, true);
            }
            if (dest == Dest::kSfm) {
                return extracting([&] { return frameMemoryNumberOk(FrameFileKind::kSfm); },
                                  ConvertSf3ToSfm, true);
            }
            return extracting([&] { return registerFileNumberOk(RegisterKind::kSf1); },
                              ConvertSf3ToSf1, true);
        case Source::kImage:
            break;
    }
    return 0;
}

int Run::RunRenumbering() {
    const int32_t f = std::max(NextRegisterFileNumber(destDir_, RegisterKind::kSf1),
                               NextRegisterFileNumber(destDir_, RegisterKind::kSf3));
    if (f < 1 || f > 9999) return StopWith(kMsgCannotCreateRegisterNumber);
    if (CheckRegisterFileNames(destDir_, RegisterKind::kSf1, SelectedItems(), *this) < 0)
        return Stop();
    if (CheckRegisterFileNames(destDir_, RegisterKind::kSf3, SelectedItems(), *this) < 0)
        return Stop();
    return PerFileLoop(
        [&](int k, const std::string& item, const std::string&) {
            return RenumberRegisterFile(sourceDir_, item, destDir_, f + k, ctx_);
        },
        [](const ContainerResult& r, const std::string&) { return r.text; }, false);
}

std::optional<PictureKind> PictureKindOf(const std::string& ext) {
    if (ext == "bmp") return PictureKind::kBmp;
    if (ext == "tif" || ext == "tiff") return PictureKind::kTiff;
    if (ext == "tga") return PictureKind::kTga;
    return std::nullopt;  // any other extension is not converted
}

int Run::RunPictures(Dest dest) {
    // The picture format and the ceiling of the destination's format group,
    // the radios tested in id order.
    const bool sfaGroup = dest == Dest::kSfa || dest == Dest::kSf3;
    int frameFormat = -1;
    const auto pick = [&](const auto& formats) {
        for (auto [control, format] : formats) {
            if (Checked(control)) {
                frameFormat = format;
                return;
            }
        }
    };
    if (sfaGroup) {
        pick(kSfaFrameFormats);
    } else {
        pick(kSfmFrameFormats);
    }
    const int32_t ceiling = RegisterCeiling(frameFormat);

    // A picture gives at most two frames (fill and key).
    if (sfaGroup && !ReadWav(2 * static_cast<uint64_t>(count_))) return -1;
    int32_t R = 0;
    int32_t F = 0;
    if (dest == Dest::kSfm || dest == Dest::kSfa) {
        R = NextFrameMemoryNumber(destDir_,
                                  dest == Dest::kSfm ? FrameFileKind::kSfm : FrameFileKind::kSfa,
                                  SelectedItems(), *this);
        if (R < 0) return Stop();
        if (R < 1 || R > ceiling) return StopWith(kMsgCannotCreateRegisterNumber);
    } else {
        const RegisterKind kind = dest == Dest::kSf1 ? RegisterKind::kSf1 : RegisterKind::kSf3;
        F = NextRegisterFileNumber(destDir_, kind);
        if (F < 0 || F > 9999) return StopWith(kMsgCannotCreateRegisterNumber);
        R = NextInnerRegisterNumber(destDir_, kind, SelectedItems(), *this);
        if (R < 0) return Stop();
    }

    // Each picture is read and its frames built ahead, on worker threads;
    // the names, the files and everything shown happen here, in order.
    const FrameLayout* layout = GetFrameLayout(frameFormat);
    // Imported pictures are converted and named as TGA pictures are.
    const auto prepare = [&](int k, const std::string& item, PictureJob& job) {
        job.item = item;
        job.outOfMemory = false;
        job.kind = import_ ? PictureKind::kTga : PictureKindOf(ToLowerAscii(ExtensionOf(item)));
        if (!job.kind) return;
        try {
            if (!import_) {
                PreparePicture(*job.kind, JoinPath(sourceDir_, item), frameFormat, 0, 0,
                               *job.kind != PictureKind::kBmp, job.picture);
            } else if (layout == nullptr) {
                job.picture.status = kPictureBadFrameFormat;
            } else {
                import_->Prepare(k, *layout, true, job.picture);
            }
        } catch (const std::bad_alloc&) {
            job.outOfMemory = true;
        }
    };
    const std::size_t jobBytes = layout ? 4 * std::size_t{layout->planeBytes} : 1;
    Pipeline<PictureJob> pipeline(
        count_, std::min(Workers(), Slots(jobBytes) - 1), Slots(jobBytes),
        [&](int k, PictureJob& job) { prepare(k, ItemAt(k), job); },
        platform::LowerCurrentThreadPriority);

    for (int k = 0; k < count_; ++k) {
        if (w_.CancelRequested()) return Stop();
        PictureJob& job = pipeline.Take(k);
        const std::string item = ItemAt(k);
        if (job.item != item) prepare(k, item, job);  // the list changed under the run
        const bool temporary =
            Checked(RunControl::kDestSf1) || Checked(RunControl::kDestSfa) || Checked(RunControl::kDestSf3);
        const PictureNames names =
            MakePictureNames(import_ ? std::string(StemOf(item)) + ".tga" : item, R, temporary);
        const std::string fillPath = JoinPath(destDir_, names.mName);
        const std::string keyPath = JoinPath(destDir_, names.sName);
        const std::string& firstName = names.subPicture ? names.sName : names.mName;

        int result = 0;
        if (job.kind && !job.outOfMemory) {
            const bool bmp = *job.kind == PictureKind::kBmp;
            result = Guarded(
                [&] {
                    return CommitPicture(job.picture, *job.kind, frameFormat,
                                         bmp && names.subPicture ? keyPath : fillPath,
                                         bmp ? std::nullopt : std::optional(keyPath), *ctx_.files,
                                         ctx_.trace);
                },
                0);
        }
        if (result <= 0) {
            switch (result) {
                case 0:
                case kPictureBadFrameFormat:
                    return StopWith(Format(kMsgConvertFailed, item.c_str()));
                case kPictureSourceUnreadable:
                    return StopWith(Format(kMsgSourceReadError, item.c_str()));
                case kPictureFillUnwritable:
                    return StopWith(Format(kMsgDestinationWriteError, firstName.c_str()));
                case kPictureNotAccepted:
                    return StopWith(Format(kMsgSourceFormatError, item.c_str()));
                case kPictureKeyUnwritable:
                    return StopWith(Format(kMsgDestinationWriteError, names.sName.c_str()));
                default:
                    return StopWith("");
            }
        }
        const bool twoFiles = result > kPictureKeyWritten;
        std::vector<std::string> written = {firstName};
        if (twoFiles) written.push_back(names.sName);

        // The wrapper of each frame written, by the destination as it is now.
        for (const std::string& name : written) {
            const std::string failed = JoinPath(destDir_, name);
            if (Checked(RunControl::kDestSf1)) {
                const ContainerResult r = Guarded(
                    [&] {
                        return PackRegisterFile(destDir_, name, destDir_, F++, RegisterKind::kSf1,
                                                PackVariant::kTemporary, ctx_);
                    },
                    ContainerResult{});
                if (!Accept(r, failed)) return -1;
                std::remove(failed.c_str());
                w_.AddEntry(r.text + "(" + std::string(StripTempSuffix(name)) + ")");
            } else if (Checked(RunControl::kDestSfa) || Checked(RunControl::kDestSf3)) {
                const auto writer = Checked(RunControl::kDestSfa) ? WriteSfaFromSfm : WriteSf3FromSfm;
                const std::string r = Guarded(
                    [&] { return writer(destDir_, name, destDir_, set_, ChosenSignalFormat(), ctx_); },
                    std::string());
                if (!Accept(r, failed)) return -1;
                std::remove(failed.c_str());
                w_.AddEntry(r);
            } else {
                w_.AddEntry(name);
            }
        }
        FileDone(k);
        R += twoFiles ? 2 : 1;
    }
    if (Checked(RunControl::kDestSfa) || Checked(RunControl::kDestSf3)) ReleaseAudio();
    return 0;
}

}  // namespace

int ConvertThreadProc(RunWindow& window) {
    Run run(window);
    return run.Execute();
}

}  // namespace fmconv
