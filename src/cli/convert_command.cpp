#include "cli/convert_command.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "app/main_dlg.h"
#include "app/resources.h"
#include "base/text.h"
#include "cli/help.h"
#include "cli/import_pictures.h"
#include "cli/json.h"
#include "platform/headless/headless_host.h"
#include "run/messages.h"
#include "names/naming.h"

namespace fmconv::cli {

namespace {


// The radio captions the options select.
const std::map<std::string, std::string> kSourceCaptions = {
    {"image", "Image File"}, {"sfm", "SFM"}, {"sfa", "SFA"},
    {"sf1", "SF1"},          {"sf3", "SF3"}, {"sort", "SF1/SF3 Sort"},
};
const std::map<std::string, std::string> kDestCaptions = {
    {"sfm", "SFM"}, {"sfa", "SFA"}, {"sf1", "SF1"}, {"sf3", "SF3"}};
const std::vector<std::string> kSfmFormats = {"1080i/1080PsF", "720P", "576i/50", "480i/59.94"};
const std::vector<std::string> kSfaFormats = {"1080i/59.94", "1080i/50", "1080PsF/24", "720P/59.94",
                                              "720P/50",     "576i/50",  "480i/59.94"};

bool Contains(const std::vector<std::string>& list, const std::string& value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

// Reads the arguments; an error text when they are not usable.
std::optional<std::string> Parse(int argc, char** argv, ConvertRequest& o, bool& quiet,
                                 bool& help, bool import) {
    std::vector<std::string> positional;
    bool onlyNames = false;
    for (int i = 0; i < argc; ++i) {
        std::string arg = argv[i];
        if (!onlyNames && IsHelp(arg)) {
            help = true;
            return std::nullopt;
        }
        if (onlyNames || arg.rfind("--", 0) != 0 || arg == "--") {
            if (arg == "--" && !onlyNames) {
                onlyNames = true;
                continue;
            }
            positional.push_back(arg);
            continue;
        }
        // Options with a value take it after "=" or as the next argument.
        std::string value;
        const std::size_t eq = arg.find('=');
        if (eq != std::string::npos) {
            value = arg.substr(eq + 1);
            arg = arg.substr(0, eq);
        }
        static const std::vector<std::string> kValueOptions = {
            "--from", "--to",    "--sfm-format", "--sfa-format", "--ch",
            "--fit",  "--align", "--aspect",     "--fill",       "--key"};
        if (Contains(kValueOptions, arg) && eq == std::string::npos) {
            if (i + 1 >= argc) return arg + " needs a value";
            value = argv[++i];
        } else if (!Contains(kValueOptions, arg) && eq != std::string::npos) {
            return "option '" + arg + "' takes no value";
        }
        // The fitting and keying of imported pictures.
        static const std::map<std::string, std::pair<std::string ConvertRequest::*,
                                                     std::vector<std::string>>>
            kImportOptions = {
                {"--fit", {&ConvertRequest::fit, {"none", "contain", "cover", "stretch"}}},
                {"--align", {&ConvertRequest::align, {"top-left", "center"}}},
                {"--aspect", {&ConvertRequest::aspect, {"4:3", "16:9"}}},
                {"--fill", {&ConvertRequest::fill, {"straight", "shaped"}}},
                {"--key", {&ConvertRequest::key, {"auto", "never"}}},
            };
        if (const auto it = kImportOptions.find(arg); import && it != kImportOptions.end()) {
            if (!Contains(it->second.second, value)) {
                return "unknown " + arg + " value '" + value + "'";
            }
            o.*(it->second.first) = value;
        } else if (arg == "--from" && !import) {
            if (!kSourceCaptions.count(value)) return "unknown --from value '" + value + "'";
            o.from = value;
        } else if (arg == "--to") {
            if (!kDestCaptions.count(value)) return "unknown --to value '" + value + "'";
            o.to = value;
        } else if (arg == "--sfm-format") {
            if (!Contains(kSfmFormats, value)) return "unknown --sfm-format value '" + value + "'";
            o.sfmFormat = value;
        } else if (arg == "--sfa-format") {
            if (!Contains(kSfaFormats, value)) return "unknown --sfa-format value '" + value + "'";
            o.sfaFormat = value;
        } else if (arg == "--ch") {
            const std::size_t at = value.find('=');
            const int n = at == std::string::npos ? 0 : AtoiLike(value.substr(0, at));
            if (n < 1 || n > 16 || value.substr(0, at) != std::to_string(n)) {
                return "--ch takes N=PATH with N from 1 to 16, not '" + value + "'";
            }
            if (at + 1 >= value.size()) return "--ch " + std::to_string(n) + " has no path";
            o.channels[n] = value.substr(at + 1);
        } else if (arg == "--legacy-space-check") {
            o.legacySpaceCheck = true;
        } else if (arg == "--quiet") {
            quiet = true;
        } else if (arg == "--json") {
            o.json = true;
        } else {
            return "unknown option '" + arg + "'";
        }
    }
    if (import) {
        if (o.to.empty()) return "--to is missing";
        if (positional.size() < 2) return "DST_DIR and a PICTURE are needed";
        o.from = "image";
        o.destDir = positional[0];
        o.pictures.assign(positional.begin() + 1, positional.end());
        std::error_code error;
        if (!std::filesystem::is_directory(o.destDir, error)) return "no folder '" + o.destDir + "'";
        for (const std::string& picture : o.pictures) {
            if (!std::filesystem::is_regular_file(picture, error)) {
                return "no picture file '" + picture + "'";
            }
        }
        return std::nullopt;
    }
    if (o.from.empty()) return "--from is missing";
    if (o.from == "sort" && !o.to.empty()) return "--from sort takes no --to";
    if (o.from != "sort" && o.to.empty()) return "--to is missing";
    if (o.from == o.to) return "there is no conversion from " + o.from + " to " + o.to;
    if (positional.size() < 2) return "SRC_DIR and DST_DIR are needed";
    o.sourceDir = positional[0];
    o.destDir = positional[1];
    o.names.assign(positional.begin() + 2, positional.end());
    for (const std::string& dir : {o.sourceDir, o.destDir}) {
        std::error_code error;
        if (!std::filesystem::is_directory(dir, error)) return "no folder '" + dir + "'";
    }
    return std::nullopt;
}

// Selects the named files in the source list (in the list's order); an
// error text for a name the list does not show.
std::optional<std::string> SelectNames(CMainDlg& dlg, const std::vector<std::string>& names) {
    if (names.empty()) return std::nullopt;
    platform::ControlSurface& s = dlg.Surface();
    const std::vector<std::string> items = s.ListItems(kIdSourceList);
    std::vector<int> selected;
    for (const std::string& name : names) {
        int found = -1;
        for (int pass = 0; pass < 2 && found < 0; ++pass) {
            for (std::size_t i = 0; i < items.size() && found < 0; ++i) {
                const std::string_view file = SplitRegisterListItem(items[i]).file;
                if (pass == 0 ? file == name : EqualsIgnoreCase(file, name))
                    found = static_cast<int>(i);
            }
        }
        if (found < 0) return "the source list does not show '" + name + "'";
        selected.push_back(found);
    }
    s.ListSetSelection(kIdSourceList, selected);
    dlg.OnSourceListSelChange();
    return std::nullopt;
}

// The terminal's progress line: files done of all, the file in hand, the
// rate and the time left; erased before anything else is written.
class Progress {
  public:
    Progress(std::ostream& err, bool shown) : err_(err), enabled_(shown) {}
    void Show(int done, int total, const std::string& name) {
        if (!enabled_ || total <= 0) return;
        const auto now = std::chrono::steady_clock::now();
        if (!started_) started_ = now;
        const double seconds = std::chrono::duration<double>(now - *started_).count();
        constexpr int kWidth = 20;
        const int filled = kWidth * done / total;
        std::string line = "\r[" + std::string(static_cast<std::size_t>(filled), '#') +
                           std::string(static_cast<std::size_t>(kWidth - filled), ' ') + "] " +
                           std::to_string(done) + "/" + std::to_string(total);
        if (!name.empty()) line += " " + (name.size() > 28 ? name.substr(0, 27) + "~" : name);
        if (done > 0 && seconds > 0) {
            const double rate = done / seconds;
            line += Format("  %.1f files/s  %.0f s left", rate, (total - done) / rate);
        }
        err_ << line << "\033[K" << std::flush;
        shown_ = true;
    }
    void Clear() {
        if (shown_) err_ << "\r\033[K" << std::flush;
        shown_ = false;
    }

  private:
    std::ostream& err_;
    bool enabled_;
    bool shown_ = false;
    std::optional<std::chrono::steady_clock::time_point> started_;
};

}  // namespace

namespace {

int RunMain(int argc, char** argv, bool import) {
    const char* command = import ? "import" : "convert";
    // Before any thread starts: SIGINT and SIGTERM are taken as Cancel.
    platform::InterruptWatcher interrupts;
    ConvertRequest request;
    bool quiet = false, help = false;
    const auto error = Parse(argc, argv, request, quiet, help, import);
    if (help) {
        std::cout << HelpText(command);
        return 0;
    }
    if (error) return UsageError(std::cerr, command, *error);
    request.progressBar = !quiet && ::isatty(2);
    if (!import) return RunConvert(request, std::cout, std::cerr, &interrupts);
    std::string why;
    const importing::PictureReaderModule* reader = LoadPictureReader(&why);
    if (!reader) {
        std::cerr << "fmconv import: the picture library cannot be loaded: " << why << std::endl;
        return 1;
    }
    LibraryPictures pictures(request, *reader);
    request.import = &pictures;
    request.explain = [&pictures](const std::string& text) { return pictures.Explain(text); };
    return RunConvert(request, std::cout, std::cerr, &interrupts);
}

}  // namespace

int ConvertMain(int argc, char** argv) {
    return RunMain(argc, argv, false);
}

int ImportMain(int argc, char** argv) {
    return RunMain(argc, argv, true);
}

int RunConvert(const ConvertRequest& o, std::ostream& out, std::ostream& err,
               platform::InterruptWatcher* interrupts) {
    std::mutex outMutex;
    bool finished = false;
    std::optional<platform::MessageBoxRequest> stoppedBy;  // the error box that ended the run
    Progress progress(err, o.progressBar);
    platform::HeadlessHost host([&](const platform::HostEvent& event) {
        const auto* box = std::get_if<platform::MessageBoxRequest>(&event);
        if (!box) return;
        std::lock_guard lock(outMutex);
        if (box->caption == kCaptionFinish && box->text == kMsgConvertFinished) {
            finished = true;
            return;
        }
        if (box->caption == kCaptionError) stoppedBy = *box;
        progress.Clear();
        err << box->caption << ": " << box->text << std::endl;
        if (o.explain) {
            if (const std::string more = o.explain(box->text); !more.empty()) err << more << std::endl;
        }
    });
    platform::RealFreeSpaceProbe realProbe;
    platform::LegacyFreeSpaceProbe legacyProbe;

    MainDlgServices services;
    services.host = &host;
    services.freeSpace = o.legacySpaceCheck
                             ? static_cast<const platform::FreeSpaceProbe*>(&legacyProbe)
                             : &realProbe;
    services.trace = [&](std::string_view line) {
        std::lock_guard lock(outMutex);
        progress.Clear();
        err << line << std::flush;
    };
    services.filesWritten = [&](const std::vector<std::string>& paths) {
        std::lock_guard lock(outMutex);
        if (o.json) out << "{\"written\": " << JsonStringArray(paths) << "}" << std::endl;
    };
    const std::map<std::string, std::string> settings = {
        {"Original_File_Directory_Type", kSourceCaptions.at(o.import ? "image" : o.from)},
        {"Convert_File_Directory_Type", o.to.empty() ? "SFM" : kDestCaptions.at(o.to)},
        {"SFMFormat", o.sfmFormat},
        {"SFAFormat", o.sfaFormat},
    };
    services.readSetting = [&](const std::string& key, const std::string& defaultValue) {
        const auto it = settings.find(key);
        return it == settings.end() ? defaultValue : it->second;
    };
    services.import = o.import;
    CMainDlg dlg(services);
    dlg.OnInitDialog();

    if (o.import) {
        // The pictures stand for the selection; the source folder shows where
        // the first one is.
        const std::string first = o.pictures.empty() ? "." : o.pictures.front();
        const std::size_t slash = first.rfind('/');
        dlg.Surface().SetText(kIdSourcePath, slash == std::string::npos ? "." : first.substr(0, slash));
    } else {
        host.ScriptFolder(o.sourceDir);
        dlg.Click(kIdSourceSelectDir);
    }
    host.ScriptFolder(o.destDir);
    dlg.Click(kIdDestSelectDir);
    if (const auto error = SelectNames(dlg, o.names)) return UsageError(err, "convert", *error);
    for (const auto& [channel, path] : o.channels) {
        const ChannelControls& ch = kChannels[static_cast<std::size_t>(channel - 1)];
        dlg.ChannelPage(ch.page).Surface().SetText(ch.edit, path);
    }

    // Every entry the run lists goes to standard output as it comes; the
    // progress bar names the file in hand.
    platform::ControlSurface& s = dlg.Surface();
    std::vector<std::string> selected = o.import ? o.import->Items() : std::vector<std::string>{};
    if (!o.import) {
        for (int index : s.ListSelection(kIdSourceList)) selected.push_back(s.ListText(kIdSourceList, index));
    }
    std::size_t printed = 0;
    s.Subscribe([&](int id) {
        if (id == kIdDestList) {
            const std::vector<std::string> items = s.ListItems(kIdDestList);
            std::lock_guard lock(outMutex);
            if (items.size() < printed) printed = 0;
            for (; printed < items.size(); ++printed) {
                progress.Clear();
                if (!o.json) {
                    out << items[printed] << std::endl;
                    continue;
                }
                const std::string file(SplitRegisterListItem(items[printed]).file);
                out << "{\"entry\": " << JsonString(items[printed]) << ", \"written\": "
                    << JsonStringArray({JoinPath(o.destDir, file)}) << "}" << std::endl;
            }
        } else if (id == kIdProgress && dlg.Converting()) {
            const platform::ControlState p = s.State(kIdProgress);
            const std::size_t next = static_cast<std::size_t>(p.position);
            std::lock_guard lock(outMutex);
            progress.Show(p.position, p.upper, next < selected.size() ? selected[next] : "");
        }
    });

    if (!s.Enabled(kIdExec)) {
        err << "fmconv convert: the window did not allow a run\n";
        return 1;
    }
    // An interrupt presses Cancel: the file in hand is completed or rolled
    // back, and no further file starts.
    if (interrupts) interrupts->OnFirstSignal([&dlg](int) { dlg.RequestCancel(); });
    dlg.Click(kIdExec);
    if (interrupts && interrupts->Signal() != 0) dlg.RequestCancel();  // one that came before
    const int exitCode = dlg.WaitForRun();
    if (interrupts) interrupts->OnFirstSignal(nullptr);
    std::lock_guard lock(outMutex);
    progress.Clear();
    if (o.json) {
        if (finished) {
            out << "{\"finished\": " << JsonString(kMsgConvertFinished) << "}" << std::endl;
        } else if (exitCode != 0) {
            const platform::MessageBoxRequest box = stoppedBy.value_or(platform::MessageBoxRequest{});
            out << "{\"stopped\": {\"caption\": " << JsonString(box.caption)
                << ", \"text\": " << JsonString(box.text) << "}}" << std::endl;
        }
    } else if (finished) {
        out << kMsgConvertFinished << std::endl;
    }
    if (interrupts && interrupts->Signal() != 0) {
        err << "fmconv convert: interrupted (" << strsignal(interrupts->Signal())
            << "); the files listed above are complete" << std::endl;
        return platform::kInterruptedExitCode;
    }
    return exitCode == 0 ? 0 : 1;
}

}  // namespace fmconv::cli
