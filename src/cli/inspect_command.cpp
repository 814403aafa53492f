#include "cli/inspect_command.h"

#include <optional>

#include "audio/frame_contents.h"
#include "base/text.h"
#include "cli/json.h"

namespace fmconv::cli {

namespace {

constexpr char kHelp[] =
    "usage: fmconv inspect [--json] FILE ...\n"
    "\n"
    "Reads frame files without changing them and tells for each what it is and whether\n"
    "it is whole: SFM (a still frame), SFA (a frame with embedded audio), SF1 and SF3\n"
    "(an SFM or SFA in a register file, with the trailer that names it). Files are\n"
    "recognised by their content, whatever their names. Checked: the size against\n"
    "header bytes 40-43, the plane sizes, the format, the checksum, and the trailer's\n"
    "\"SFM1\" and \"VVVV\" marks. Frames with audio also list the groups (1-4) and\n"
    "channels (1-16) that carry audio packets and the samples per channel they hold.\n"
    "\n"
    "options:\n"
    "  --json       one JSON object a line per file, instead of a text block:\n"
    "               file, kind (\"SFM\", \"SFA\", \"SF1\", \"SF3\" or null), ok, problems,\n"
    "               bytes, format, checksum {stored, computed, ok, rule}, inner_name\n"
    "               (SF1/SF3), audio {groups, channels, samples} (SFA/SF3)\n"
    "  -h, --help   this help\n"
    "\n"
    "Formats are named as the converter's radios name them: 1080i/1080PsF, 720P, 576i/50,\n"
    "480i/59.94 for SFM frames; 1080i/59.94, 1080i/50, 1080PsF/24, 720P/59.94, 720P/50,\n"
    "576i/50, 480i/59.94 for frames with audio. A frame written from a picture carries\n"
    "the word-XOR checksum; a frame with audio, and an SFM cut out of one, the byte-lane\n"
    "sum; an SFM passes with either, and the rule that matched is named.\n"
    "\n"
    "Names: a frame file is called M (fill) or S (key), a base name of 1 to 8 characters,\n"
    "then FMEM_nnn for registers below 1000 or FMEMnnnn from 1000, as in\n"
    "MLOGO.FMEM_007.SFM; a register file is called Fnnnn.SF1 or Fnnnn.SF3 and carries\n"
    "the frame's name in its trailer.\n"
    "\n"
    "Exit code: 0 every file is whole and consistent, 1 otherwise, 2 a usage error.\n"
    "\n"
    "examples:\n"
    "  fmconv inspect demo-out/sfm/MDEMOLOGO.FMEM_001.SFM\n"
    "  fmconv inspect --json demo-out/sf3/F0001.SF3 demo-out/sf1/F0001.SF1\n"
    "  fmconv inspect --json *.SFA > report.jsonl\n";

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
            out << kHelp;
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
