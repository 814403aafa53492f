#include "cli/help.h"

#include <map>

namespace fmconv::cli {

namespace {

constexpr char kNames[] =
    "Names:\n"
    "  A frame file is named by the register it belongs to: M for a fill (S for its key\n"
    "  from the picture's alpha, which takes the next register), the picture's base name\n"
    "  cut to 8 characters, then .FMEM_nnn for registers below 1000 or .FMEMnnnn from\n"
    "  1000, then .SFM (a still frame) or .SFA (a frame with audio): MLOGO.FMEM_007.SFM,\n"
    "  SLOGO.FMEM_008.SFM, MLOGO.FMEM1012.SFA. A register file is Fnnnn.SF1 (holding an\n"
    "  SFM) or Fnnnn.SF3 (holding an SFA) and carries the frame's name in its trailer.\n"
    "  New numbers continue above the highest in the destination folder.\n";

constexpr char kOverview[] =
    "usage: fmconv COMMAND [options] ...\n"
    "\n"
    "Prepares files for the frame memories of the switcher: pictures into 10-bit Y'CbCr\n"
    "frames (SFM, with a key frame from alpha), frames with up to 16 channels of 48 kHz\n"
    "audio embedded (SFA), register containers (SF1, SF3) and back.\n"
    "\n"
    "commands:\n"
    "  convert   one conversion run of the window, from the command line\n"
    "  import    today's pictures (PNG, JPEG, TIFF, ...) into frames, fitted if asked\n"
    "  inspect   tell what a frame file is and whether it is whole\n"
    "  preview   write a frame's picture as a PNG\n"
    "  ui        the window without a display, driven one command a line (JSON out)\n"
    "  demo      make sample inputs and run every kind of conversion on them\n"
    "  help      this help, or a command's: fmconv help COMMAND, fmconv COMMAND --help\n"
    "\n"
    "options: --version (the version), -h, --help (this help)\n"
    "\n"
    "%NAMES%"
    "\n"
    "examples:\n"
    "  fmconv convert --from image --to sfm pictures frames\n"
    "  fmconv inspect frames/MLOGO.FMEM_001.SFM\n"
    "  fmconv help convert\n";

constexpr char kConvert[] =
    "usage: fmconv convert --from SRC_TYPE --to DST_TYPE [options] SRC_DIR DST_DIR [NAME ...]\n"
    "       fmconv convert --from sort [options] SRC_DIR DST_DIR [NAME ...]\n"
    "\n"
    "One conversion run of the window: the folders, types, formats, WAV files and the\n"
    "selection are set as in the window, Exec is pressed, and the run's entries are\n"
    "printed as it lists them. Files are converted in the source list's order.\n"
    "\n"
    "options:\n"
    "  --from TYPE          image (BMP, TGA, TIFF), sfm, sfa, sf1, sf3, or sort (renumber\n"
    "                       SF1/SF3 register files after the destination's highest number)\n"
    "  --to TYPE            sfm, sfa, sf1 or sf3 (not with --from sort)\n"
    "  --sfm-format F       the picture format of SFM/SF1 outputs: 1080i/1080PsF (default),\n"
    "                       720P, 576i/50, 480i/59.94\n"
    "  --sfa-format F       the signal format of SFA/SF3 outputs: 1080i/59.94 (default),\n"
    "                       1080i/50, 1080PsF/24, 720P/59.94, 720P/50, 576i/50, 480i/59.94\n"
    "  --ch N=PATH          the WAV file of channel field N (1 to 16), repeatable; 48 kHz\n"
    "                       PCM of 8, 16 or 24 bits; files fill channels in order\n"
    "  --legacy-space-check test free space as the window does (the low 32 bits of the\n"
    "                       current directory's drive, signed); default: the real free\n"
    "                       space of the destination\n"
    "  --quiet              no progress bar\n"
    "  --json               standard output as one JSON object a line: {\"entry\", \"written\"}\n"
    "                       per entry, {\"written\"} for WAV files, then {\"finished\"} or\n"
    "                       {\"stopped\": {\"caption\", \"text\"}}\n"
    "  -h, --help           this help\n"
    "  NAME ...             the source files to convert (default: all the list shows)\n"
    "\n"
    "Pairs: image to sfm, sf1, sfa or sf3; sfm to sfa, sf3 or sf1; sf1 to sfm, sfa or sf3;\n"
    "sfa to sf3, sfm or sf1 (the audio taken out as Channel_NN.wav); sf3 to sfa, sfm or sf1.\n"
    "\n"
    "%NAMES%"
    "\n"
    "Output: entries on standard output, then \"Convert finished successfully\"; the\n"
    "window's boxes as CAPTION: TEXT on standard error. Exit code 0 the run reached its\n"
    "end, 1 it stopped early, 2 a usage error, 130 interrupted (the file in hand is\n"
    "completed or rolled back).\n"
    "\n"
    "examples:\n"
    "  fmconv convert --from image --to sf1 --sfm-format 720P pictures registers\n"
    "  fmconv convert --from sfm --to sfa --ch 1=left.wav --ch 2=right.wav frames out\n"
    "  fmconv convert --from sf3 --to sfm --json registers back F0001.SF3\n";

constexpr char kImport[] =
    "usage: fmconv import --to sfm|sf1|sfa|sf3 [options] DST_DIR PICTURE ...\n"
    "\n"
    "The picture branch of a run for today's pictures: PNG (8 and 16 bit, grey, palette,\n"
    "alpha), JPEG, TIFF of any compression, BMP of any depth, TGA, PSD, EXR, DPX, WebP and\n"
    "what else the picture library reads. Each picture is read as 8-bit RGBA (deeper\n"
    "samples rounded, no alpha = opaque), placed and fitted as asked, then converted,\n"
    "named and numbered exactly as convert --from image does a TGA: a fill frame, and a\n"
    "key frame from the alpha. The pictures are converted in the order given; each may\n"
    "carry a folder.\n"
    "\n"
    "options:\n"
    "  --to TYPE            sfm, sf1, sfa or sf3\n"
    "  --fit F              none (default: unscaled), contain (scaled to fit inside the\n"
    "                       picture area, keeping its shape), cover (scaled to fill it,\n"
    "                       cropping), stretch (scaled to the area exactly)\n"
    "  --align A            top-left (default) or center: where an unscaled or contained\n"
    "                       picture sits\n"
    "  --aspect R           4:3 (default) or 16:9: the display shape of 576i and 480i,\n"
    "                       whose pixels are not square\n"
    "  --fill F             straight (default) or shaped: colour multiplied by alpha,\n"
    "                       (C x A + 127) / 255, for keyers that expect a shaped fill\n"
    "  --key K              auto (default: a key frame when the picture has alpha) or never\n"
    "  --sfm-format, --sfa-format, --ch N=PATH, --legacy-space-check, --quiet, --json\n"
    "                       as for fmconv convert\n"
    "  -h, --help           this help\n"
    "\n"
    "Scaling filters colour weighted by alpha, so that edges do not fringe. With --fit\n"
    "none a picture of another size than the picture area is converted with a warning.\n"
    "A picture that cannot be read stops the run with \"Source file format error [NAME]\"\n"
    "and the library's reason on the next line.\n"
    "\n"
    "%NAMES%"
    "\n"
    "Output, exit codes and interruption as for fmconv convert.\n"
    "\n"
    "examples:\n"
    "  fmconv import --to sfm logos LOGO.png\n"
    "  fmconv import --to sfm --sfm-format 720P --fit contain --align center out still-4k.jpg\n"
    "  fmconv import --to sf3 --fill shaped --ch 1=music.wav registers a.png b.png\n";

constexpr char kUi[] =
    "usage: fmconv ui [--script FILE] [--real-space-check]\n"
    "\n"
    "The window without a display, for automation: it reads the settings file of the\n"
    "current directory, takes one command a line from FILE or standard input, and prints\n"
    "one JSON object a line (boxes, dialogs, launches, trace lines, states).\n"
    "\n"
    "commands:\n"
    "  folder source PATH | folder dest PATH   the folder pickers (empty PATH: cancelled)\n"
    "  click ID | click PAGE:ID | tab N         a click on a control, a channel page, a tab\n"
    "  check ID on|off                          the check message alone, no handler\n"
    "  select all | select none | select I ...  the source list's selection\n"
    "  wav N PATH | wav N clear                 channel N's WAV file\n"
    "  exec | cancel-after K                    a run (it waits for its end)\n"
    "  menu ID | close | dump                   menu commands, Close, the window's state\n"
    "\n"
    "options:\n"
    "  --script FILE        read the commands from FILE\n"
    "  --real-space-check   test the destination's real free space, not the window's\n"
    "                       reading of the current directory's drive\n"
    "  -h, --help           this help\n"
    "\n"
    "%NAMES%"
    "\n"
    "examples:\n"
    "  printf 'folder source in\\nfolder dest out\\nexec\\nclose\\n' | fmconv ui\n"
    "  fmconv ui --script steps.txt --real-space-check\n";

constexpr char kDemo[] =
    "usage: fmconv demo [FOLDER]\n"
    "\n"
    "Makes a picture with alpha and a stereo tone file, then runs every kind of conversion\n"
    "on them into FOLDER (default demo-out, emptied first): fill and key frames, register\n"
    "files, frames with the tones embedded, their audio taken back out, a renumbering;\n"
    "it ends by inspecting what it wrote and writing a preview of the fill over its key.\n"
    "\n"
    "options:\n"
    "  -h, --help   this help\n"
    "\n"
    "%NAMES%"
    "\n"
    "examples:\n"
    "  fmconv demo\n"
    "  fmconv demo /tmp/fmconv-demo\n";

constexpr char kInspect[] =
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

constexpr char kPreview[] =
    "usage: fmconv preview [--key KEYFILE] -o OUT.png FILE\n"
    "\n"
    "Writes the picture of a frame as an 8-bit RGB PNG, to see it before it goes to air.\n"
    "FILE is an SFM or SFA frame, or an SF1 or SF3 register file holding one (recognised\n"
    "by its content). The PNG has the frame's picture size: 1920x1080 (1080i/1080PsF and\n"
    "the 1080 signal formats), 1280x720 (720P), 720x576 (576i/50), 720x486 (480i/59.94; the\n"
    "487th stored line is not shown), the two fields interleaved. Y, Cb, Cr go back to\n"
    "RGB through the inverse of the matrix that made them, BT.709 for the high-definition\n"
    "formats and BT.601 for 576i and 480i, studio range (Y 64 black, 940 white). A key\n"
    "frame shows as its grey picture.\n"
    "\n"
    "options:\n"
    "  -o, --output OUT.png  the PNG to write (required); replaced when it exists\n"
    "  --key KEYFILE         composite FILE (the fill) over a checkerboard of light grey\n"
    "                        and white 16-pixel squares, with KEYFILE's luminance as\n"
    "                        alpha: Y 64 transparent, Y 940 opaque, linear between. The key\n"
    "                        frame must have the fill's picture size.\n"
    "  -h, --help            this help\n"
    "\n"
    "A picture converted with alpha gives a fill frame (M, such as MLOGO.FMEM_001.SFM) and\n"
    "a key frame (S, the next register: SLOGO.FMEM_002.SFM); register numbers are written\n"
    "FMEM_nnn below 1000 and FMEMnnnn from 1000.\n"
    "\n"
    "Exit code: 0 the PNG was written, 1 a file could not be read as a frame or the PNG\n"
    "could not be written (one line on standard error), 2 a usage error.\n"
    "\n"
    "examples:\n"
    "  fmconv preview -o fill.png demo-out/sfm/MDEMOLOGO.FMEM_001.SFM\n"
    "  fmconv preview --key demo-out/sfm/SDEMOLOGO.FMEM_002.SFM -o over.png \\\n"
    "      demo-out/sfm/MDEMOLOGO.FMEM_001.SFM\n"
    "  fmconv preview -o frame.png demo-out/sf3/F0001.SF3\n";

std::string WithNames(std::string text) {
    const std::string token = "%NAMES%";
    if (const std::size_t at = text.find(token); at != std::string::npos) {
        text.replace(at, token.size(), kNames);
    }
    return text;
}

}  // namespace

std::string VersionLine() {
    return std::string("fmconv ") + FMCONV_VERSION;
}

std::string HelpText(std::string_view command) {
    static const std::map<std::string_view, const char*> kTexts = {
        {"", kOverview}, {"convert", kConvert}, {"ui", kUi},
        {"demo", kDemo}, {"inspect", kInspect}, {"preview", kPreview}, {"import", kImport}};
    const auto it = kTexts.find(command);
    return it == kTexts.end() ? std::string() : WithNames(it->second);
}

int UsageError(std::ostream& err, std::string_view command, std::string_view message) {
    err << "fmconv " << command << ": " << message << " (see 'fmconv " << command << " --help')"
        << std::endl;
    return 2;
}

}  // namespace fmconv::cli
