#include "cli/inspect_command.h"

#include <optional>

#include "audio/frame_contents.h"
#include "base/text.h"
#include "cli/help.h"
#include "cli/json.h"

namespace fmconv::cli {

namespace {


constexpr char kHint[] = " (see 'fmconv inspect --help')";

// "1-4, 9-12": the channels of each group as a range.
std::string ChannelRanges(const std::vector<int>& groups) {
    std::string text;
    for (int g : groups) {
        if (!text.empty()) text += ", ";
        text += Format("%d-%d", g * 4 - 3, g * 4);
    }
    return text;
}

std::string Joined(const std::vector<int>& items) {
    std::string text;
    for (int i : items) text += (text.empty() ? "" : ", ") + std::to_string(i);
    return text;
}

std::string Json(const std::string& file, const FrameFile& f,
                 const std::optional<AudioCensus>& audio) {
    const auto optionalString = [](const std::optional<std::string>& s) {
        return s ? JsonString(*s) : std::string("null");
    };
    std::string line = "{\"file\": " + JsonString(file);
    line +=
        ", \"kind\": " + (f.kind == FrameFileKind::kNone ? std::string("null")
                                                         : JsonString(FrameFileKindName(f.kind)));
    line += ", \"ok\": " + JsonBool(f.ok());
    line += ", \"problems\": " + JsonStringArray(f.problems);
    line += ", \"bytes\": " + (f.fileBytes ? std::to_string(*f.fileBytes) : "null");
    line += ", \"format\": " + optionalString(f.format);
    line += ", \"checksum\": ";
    if (f.checksum) {
        line +=
            Format("{\"stored\": \"%08x\", \"computed\": \"%08x\", \"ok\": %s, \"rule\": \"%s\"}",
                   f.checksum->stored, f.checksum->computed, JsonBool(f.checksum->ok).c_str(),
                   ChecksumRuleName(f.checksum->rule));
    } else {
        line += "null";
    }
    if (f.kind == FrameFileKind::kSf1 || f.kind == FrameFileKind::kSf3) {
        line += ", \"inner_name\": " + optionalString(f.innerName);
    }
    if (f.hasAudio()) {
        line += ", \"audio\": ";
        line += audio ? "{\"groups\": " + JsonIntArray(audio->groups) +
                            ", \"channels\": " + JsonIntArray(audio->channels) +
                            ", \"samples\": " + std::to_string(audio->samples) + "}"
                      : "null";
    }
    return line + "}";
}

std::string TextBlock(const std::string& file, const FrameFile& f,
                      const std::optional<AudioCensus>& audio) {
    static const char* const kKindText[] = {
        "not a frame file", "SFM, a picture frame", "SFA, a frame with audio",
        "SF1, a picture frame in a register file", "SF3, a frame with audio in a register file"};
    std::string block = file + "\n";
    const auto row = [&block](const char* label, const std::string& value) {
        block += Format("  %-11s %s\n", label, value.c_str());
    };
    row("kind", kKindText[static_cast<int>(f.kind)]);
    row("ok", f.ok() ? "yes" : "no");
    for (const std::string& problem : f.problems) row("problem", problem);
    if (f.fileBytes) row("bytes", std::to_string(*f.fileBytes));
    if (f.kind == FrameFileKind::kNone) return block;
    row("format", f.format.value_or("unknown"));
    if (f.checksum) {
        row("checksum",
            Format("stored %08x, computed %08x (%s): %s", f.checksum->stored, f.checksum->computed,
                   f.checksum->rule == ChecksumRule::kWordXor ? "word XOR" : "byte-lane sum",
                   f.checksum->ok ? "ok" : "wrong"));
    }
    if (f.innerName) row("inner name", *f.innerName);
    if (f.hasAudio()) {
        if (!audio) {
            row("audio", "unknown (unknown signal format)");
        } else if (audio->groups.empty()) {
            row("audio", "none");
        } else {
            row("audio", Format("group%s %s, channels %s, %u samples per channel",
                                audio->groups.size() > 1 ? "s" : "", Joined(audio->groups).c_str(),
                                ChannelRanges(audio->groups).c_str(), audio->samples));
        }
    }
    return block;
}

}  // namespace

int RunInspect(const std::vector<std::string>& files, bool json, std::ostream& out) {
    bool allOk = true;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const FrameFile f = ReadFrame(files[i]);
        const std::optional<AudioCensus> audio = TakeAudioCensus(f);
        allOk = allOk && f.ok();
        if (json) {
            out << Json(files[i], f, audio) << "\n";
        } else {
            out << (i > 0 ? "\n" : "") << TextBlock(files[i], f, audio);
        }
    }
    out.flush();
    return allOk ? 0 : 1;
}

int InspectMain(int argc, char** argv, std::ostream& out, std::ostream& err) {
    bool json = false;
    bool onlyFiles = false;
    std::vector<std::string> files;
    for (int i = 0; i < argc; ++i) {
        const std::string arg = argv[i];
        if (onlyFiles || arg == "-" || arg.empty() || arg[0] != '-') {
            files.push_back(arg);
        } else if (arg == "--") {
            onlyFiles = true;
        } else if (arg == "--help" || arg == "-h") {
            out << HelpText("inspect");
            return 0;
        } else if (arg == "--json") {
            json = true;
        } else {
            err << "fmconv inspect: unknown option '" << arg << "'" << kHint << "\n";
            return 2;
        }
    }
    if (files.empty()) {
        err << "fmconv inspect: no FILE given" << kHint << "\n";
        return 2;
    }
    return RunInspect(files, json, out);
}

}  // namespace fmconv::cli
