// The conversion run: what the Exec button starts on the worker thread. It
// reads the window's controls, picks the branch of the source/destination
// pair, takes the start numbers, reads or collects the audio, converts the
// selected files one after another and ends with "Convert finished
// successfully", or stops at the first failure with its box.
#include "run/driver.h"

#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "app/main_dlg.h"
#include "app/resources.h"
#include "audio/audio_channel_set.h"
#include "audio/sfa_file.h"
#include "audio/signal_format.h"
#include "audio/wav.h"
#include "base/text.h"
#include "platform/folder_lock.h"
#include "platform/output_files.h"
#include "fmfiles/containers.h"
#include "audio/extracting_conversions.h"
#include "image/picture_convert.h"
#include "names/disk_space.h"
#include "run/messages.h"
#include "names/naming.h"
#include "run/numbering.h"

namespace fmconv {

namespace {

enum class Source { kSfm, kImage, kSf1, kSfa, kSf3 };
enum class Dest { kSfm, kSf1, kSfa, kSf3 };

int DestRadio(Dest d) {
    switch (d) {
        case Dest::kSfm:
            return kIdDestSfm;
        case Dest::kSf1:
            return kIdDestSf1;
        case Dest::kSfa:
            return kIdDestSfa;
        case Dest::kSf3:
            return kIdDestSf3;
    }
    return kIdDestSfm;
}

// The "SFA Format / Audio Source" radios and their signal-format codes.
constexpr std::pair<int, uint32_t> kSfaCodes[] = {
    {kIdSfa1080i5994, kSignal1080i5994}, {kIdSfa1080i50, kSignal1080i50},
    {kIdSfa1080PsF24, kSignal1080PsF24}, {kIdSfa720p5994, kSignal720p5994},
    {kIdSfa720p50, kSignal720p50},       {kIdSfa576i50, kSignal576i50},
    {kIdSfa480i5994, kSignal480i5994},
};

// The picture format radios of both groups, in id order, and the
// FrameFormat each selects.
constexpr std::pair<int, int> kFrameFormats[] = {
    {kIdSfm1080, kFrameFormat1080},      {kIdSfm720p, kFrameFormat720p},
    {kIdSfm576i, kFrameFormat576i},      {kIdSfm480i, kFrameFormat480i},
    {kIdSfa1080i5994, kFrameFormat1080}, {kIdSfa1080i50, kFrameFormat1080},
    {kIdSfa1080PsF24, kFrameFormat1080}, {kIdSfa720p5994, kFrameFormat720p},
    {kIdSfa720p50, kFrameFormat720p},    {kIdSfa576i50, kFrameFormat576i},
    {kIdSfa480i5994, kFrameFormat480i},
};

// Channel fields in channel order 1 to 16.
constexpr int kWavSlots = 16;

// The most audio samples a frame can carry (48 000 / 23, the slowest audio
// timing, rounded up with room for the samples a frame's first lines take
// over from the one before) and a margin: the WAV reader keeps no more than
// the run can embed.
constexpr uint64_t kSamplesPerFrameBound = 2100;
constexpr uint64_t kSampleMargin = 1024;

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
constexpr std::size_t kPathLimit = 259;  // the 260-character slots keep 259 and a terminator

class Run final : public ErrorReporter {
  public:
    explicit Run(CMainDlg& window) : w_(window), s_(window.Surface()), ctx_(window.RunContext()) {}

    int Execute();

    // ErrorReporter: the scans' messages.
    void ReportError(const std::string& text) override { Box(text); }

  private:
    // --- the window ---
    bool Checked(int id) const { return s_.Checked(id); }
    void Box(const std::string& text) {
        w_.Host().ShowMessageBox({kCaptionError, text, platform::BoxIcon::kStop});
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
        std::vector<std::string> items;
        for (int index : s_.ListSelection(kIdSourceList, kMaxSelectedItems)) {
            items.push_back(s_.ListText(kIdSourceList, index));
        }
        return items;
    }
    std::string ItemAt(int k) const {
        return s_.ListText(kIdSourceList, selection_[static_cast<std::size_t>(k)]);
    }
    void AddEntry(const std::string& entry) { s_.ListInsert(kIdDestList, -1, entry); }
    void FileDone(int k) {
        s_.ProgressSetPos(kIdProgress, k + 1);
        if (w_.Services().afterFile) w_.Services().afterFile(k + 1);
    }
    std::optional<uint32_t> ChosenSignalFormat() const {
        for (auto [id, code] : kSfaCodes) {
            if (Checked(id)) return code;
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
    int RunBranch(Source source, Dest dest);
    int RunPictures(Dest dest);
    int RunRenumbering();

    CMainDlg& w_;
    platform::ControlSurface& s_;
    ConversionContext& ctx_;
    std::string sourceDir_, destDir_;
    std::vector<std::string> wavList_;
    std::vector<int> selection_;
    int count_ = 0;
    AudioChannelSet set_;
    std::unique_ptr<platform::FolderLock> destinationLock_;
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
        AddEntry(entry(result, item));
        FileDone(k);
    }
    return 0;
}

int Run::Execute() {
    sourceDir_ = s_.Text(kIdSourcePath);
    destDir_ = s_.Text(kIdDestPath);
    for (const ChannelControls& ch : kChannels) {
        std::string path = w_.ChannelPage(ch.page).Surface().Text(ch.edit);
        if (!path.empty()) wavList_.push_back(path.substr(0, kPathLimit));
    }
    wavList_.resize(kWavSlots);

    s_.SetVisible(kIdProgress, true);
    s_.ProgressSetPos(kIdProgress, 0);
    selection_ = s_.ListSelection(kIdSourceList, kMaxSelectedItems);
    count_ = static_cast<int>(selection_.size());
    s_.ProgressSetRange(kIdProgress, 0, count_);
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
    static const int kSourceRadio[] = {kIdSourceSfm, kIdSourceImage, kIdSourceSf1, kIdSourceSfa,
                                       kIdSourceSf3};
    for (const auto& [source, dests] : kMatrix) {
        if (!Checked(kSourceRadio[static_cast<int>(source)])) continue;
        for (Dest dest : dests) {
            if (!Checked(DestRadio(dest))) continue;
            if (RunBranch(source, dest) != 0) return -1;
            break;
        }
        break;
    }
    if (Checked(kIdSortSf1Sf3) && RunRenumbering() != 0) return -1;
    return Finish();
}

int Run::Finish() {
    const int count = s_.ListCount(kIdDestList);
    if (count != 0) {
        s_.ListSelectString(kIdDestList, s_.ListText(kIdDestList, count - 1));
        s_.SetText(kIdDestCount, Format(kFilesFormat, count));
        w_.Host().ShowMessageBox({kCaptionFinish, kMsgConvertFinished, platform::BoxIcon::kNone});
    } else {
        s_.SetText(kIdDestCount, kNotFound);
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
    const auto audioWriter = [&](auto writer) {
        return [this, writer](int, const std::string&, const std::string& name) {
            return writer(sourceDir_, name, destDir_, set_, ChosenSignalFormat(), ctx_);
        };
    };
    const auto extractor = [&](auto convert) {
        return [this, convert](int, const std::string&, const std::string& name) {
            return convert(sourceDir_, name, destDir_, set_, ctx_);
        };
    };
    // The branches that read the WAV files: read, check, convert, release.
    const auto withAudio = [&](auto numbersOk, bool storeFrameCount, auto loop) {
        if (!ReadWav(static_cast<uint64_t>(count_))) return -1;
        if (!numbersOk()) return Stop();
        if (storeFrameCount) set_.frameCount = static_cast<uint16_t>(count_);
        if (loop() != 0) return -1;
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
            const std::string failed = WriteChannelWavFiles(destDir_, set_, *ctx_.files);
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
                return withAudio(
                    [&] { return frameMemoryNumberOk(FrameFileKind::kSfa); }, true,
                    [&] { return PerFileLoop(audioWriter(WriteSfaFromSfm), plain, false); });
            }
            if (dest == Dest::kSf3) {
                return withAudio(
                    [&] { return registerFileNumberOk(RegisterKind::kSf3); }, true,
                    [&] { return PerFileLoop(audioWriter(WriteSf3FromSfm), plain, false); });
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
                return withAudio(
                    [&] { return frameMemoryNumberOk(FrameFileKind::kSfa); }, false,
                    [&] { return PerFileLoop(audioWriter(WriteSfaFromSf1), plain, true); });
            }
            return withAudio(
                [&] { return registerFileNumberOk(RegisterKind::kSf3); }, true,
                [&] { return PerFileLoop(audioWriter(WriteSf3FromSf1), plain, true); });
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

int Run::RunPictures(Dest dest) {
    // The picture format and the ceiling of the destination's format group.
    const bool sfaGroup = dest == Dest::kSfa || dest == Dest::kSf3;
    int frameFormat = -1;
    for (auto [id, format] : kFrameFormats) {
        const bool inGroup = sfaGroup ? id >= kIdSfa1080i5994 : id <= kIdSfm480i;
        if (inGroup && Checked(id)) {
            frameFormat = format;
            break;
        }
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

    for (int k = 0; k < count_; ++k) {
        if (w_.CancelRequested()) return Stop();
        const std::string item = ItemAt(k);
        const bool temporary = Checked(kIdDestSf1) || Checked(kIdDestSfa) || Checked(kIdDestSf3);
        const PictureNames names = MakePictureNames(item, R, temporary);
        const std::string sourcePath = JoinPath(sourceDir_, item);
        const std::string fillPath = JoinPath(destDir_, names.mName);
        const std::string keyPath = JoinPath(destDir_, names.sName);
        const std::string& firstName = names.subPicture ? names.sName : names.mName;

        const int result = Guarded(
            [&] {
                if (names.ext == "bmp") {
                    return ConvertBmpPicture(sourcePath, names.subPicture ? keyPath : fillPath,
                                             std::nullopt, frameFormat, 0, 0, ctx_.trace,
                                             *ctx_.files);
                }
                if (names.ext == "tif" || names.ext == "tiff") {
                    return ConvertTiffPicture(sourcePath, fillPath, keyPath, frameFormat, 0, 0,
                                              ctx_.trace, *ctx_.files);
                }
                if (names.ext == "tga") {
                    return ConvertTgaPicture(sourcePath, fillPath, keyPath, frameFormat, 0, 0,
                                             ctx_.trace, *ctx_.files);
                }
                return 0;
            },
            0);
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
            if (Checked(kIdDestSf1)) {
                const ContainerResult r = Guarded(
                    [&] {
                        return PackRegisterFile(destDir_, name, destDir_, F++, RegisterKind::kSf1,
                                                PackVariant::kTemporary, ctx_);
                    },
                    ContainerResult{});
                if (!Accept(r, failed)) return -1;
                std::remove(failed.c_str());
                AddEntry(r.text + "(" + std::string(StripTempSuffix(name)) + ")");
            } else if (Checked(kIdDestSfa) || Checked(kIdDestSf3)) {
                const auto writer = Checked(kIdDestSfa) ? WriteSfaFromSfm : WriteSf3FromSfm;
                const std::string r = Guarded(
                    [&] { return writer(destDir_, name, destDir_, set_, ChosenSignalFormat(), ctx_); },
                    std::string());
                if (!Accept(r, failed)) return -1;
                std::remove(failed.c_str());
                AddEntry(r);
            } else {
                AddEntry(name);
            }
        }
        FileDone(k);
        R += twoFiles ? 2 : 1;
    }
    if (Checked(kIdDestSfa) || Checked(kIdDestSf3)) ReleaseAudio();
    return 0;
}

}  // namespace

int ConvertThreadProc(CMainDlg& window) {
    Run run(window);
    return run.Execute();
}

}  // namespace fmconv
