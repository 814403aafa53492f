#include "cli/ui_command.h"

#include <fstream>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "app/main_dlg.h"
#include "app/resources.h"
#include "base/text.h"
#include "cli/help.h"
#include "cli/json.h"
#include "platform/headless/headless_host.h"

namespace fmconv::cli {

namespace {

const char* IconName(platform::BoxIcon icon) {
    switch (icon) {
        case platform::BoxIcon::kStop:
            return "stop";
        case platform::BoxIcon::kExclamation:
            return "exclamation";
        case platform::BoxIcon::kNone:
            break;
    }
    return "none";
}

std::string EventJson(const platform::HostEvent& event) {
    if (const auto* box = std::get_if<platform::MessageBoxRequest>(&event)) {
        return "{\"box\": {\"caption\": " + JsonString(box->caption) +
               ", \"text\": " + JsonString(box->text) + ", \"icon\": \"" + IconName(box->icon) +
               "\"}}";
    }
    if (const auto* dialog = std::get_if<platform::ModalDialogContent>(&event)) {
        return "{\"dialog\": {\"title\": " + JsonString(dialog->title) +
               ", \"texts\": " + JsonStringArray(dialog->texts) + "}}";
    }
    const auto& launch = std::get<platform::LaunchRequest>(event);
    return "{\"launch\": {\"command\": " + JsonString(launch.commandLine) + "}}";
}

std::string ControlJson(const platform::ControlState& c) {
    return "{\"text\": " + JsonString(c.text) + ", \"checked\": " + JsonBool(c.checked) +
           ", \"enabled\": " + JsonBool(c.enabled) + ", \"visible\": " + JsonBool(c.visible) + "}";
}

std::string StateJson(CMainDlg& dlg) {
    platform::ControlSurface& s = dlg.Surface();
    std::string controls;
    for (int id : s.Ids()) {
        if (!controls.empty()) controls += ", ";
        controls += "\"" + std::to_string(id) + "\": " + ControlJson(s.State(id));
    }
    for (int page = 0; page < kPageCount; ++page) {
        platform::ControlSurface& p = dlg.ChannelPage(page).Surface();
        for (int id : p.Ids()) {
            controls += ", \"" + std::to_string(page) + ":" + std::to_string(id) +
                        "\": " + ControlJson(p.State(id));
        }
    }
    const platform::ControlState progress = s.State(kIdProgress);
    return "{\"state\": {\"controls\": {" + controls +
           "}, \"source_list\": {\"items\": " + JsonStringArray(s.ListItems(kIdSourceList)) +
           ", \"selected\": " + JsonIntArray(s.ListSelection(kIdSourceList)) +
           "}, \"dest_list\": {\"items\": " + JsonStringArray(s.ListItems(kIdDestList)) +
           "}, \"page\": " + std::to_string(dlg.TabCtrl().CurrentPage()) +
           ", \"progress\": {\"lower\": " + std::to_string(progress.lower) +
           ", \"upper\": " + std::to_string(progress.upper) +
           ", \"position\": " + std::to_string(progress.position) + "}}}";
}

bool ParseInt(const std::string& text, int& value) {
    if (text.empty()) return false;
    std::size_t used = 0;
    try {
        value = std::stoi(text, &used);
    } catch (...) {
        return false;
    }
    return used == text.size();
}

// The text after the first `words` blank-separated words of line (the rest
// of the line as it stands, so that paths may hold blanks).
std::string RestAfterWords(const std::string& line, int words) {
    std::size_t i = 0;
    for (int w = 0; w < words; ++w) {
        while (i < line.size() && line[i] == ' ') ++i;
        while (i < line.size() && line[i] != ' ') ++i;
    }
    if (i < line.size() && line[i] == ' ') ++i;
    return line.substr(i);
}

class UiSession {
  public:
    UiSession(std::ostream& out, const UiOptions& options)
        : out_(out),
          host_([this](const platform::HostEvent& e) { Print(EventJson(e)); }),
          dlg_(MakeServices(options)) {}

    void Start() { dlg_.OnInitDialog(); }

    // Returns false once the window has closed.
    bool Execute(const std::string& line);

  private:
    MainDlgServices MakeServices(const UiOptions& options) {
        MainDlgServices s;
        s.host = &host_;
        s.freeSpace = options.realSpaceCheck
                          ? static_cast<const platform::FreeSpaceProbe*>(&realProbe_)
                          : &legacyProbe_;
        s.trace = [this](std::string_view text) {
            Print("{\"stdout\": " + JsonString(text) + "}");
        };
        s.afterFile = [this](int filesDone) {
            if (cancelAfter_ > 0 && filesDone == cancelAfter_) dlg_.Click(kIdExec);
        };
        return s;
    }

    void Print(const std::string& jsonLine) {
        std::lock_guard lock(outMutex_);
        out_ << jsonLine << '\n';
        out_.flush();
    }
    void Error(const std::string& what) { Print("{\"error\": " + JsonString(what) + "}"); }

    void Wav(const std::vector<std::string>& words, const std::string& line);
    void Select(const std::vector<std::string>& words);

    std::ostream& out_;
    std::mutex outMutex_;
    platform::HeadlessHost host_;
    platform::LegacyFreeSpaceProbe legacyProbe_;
    platform::RealFreeSpaceProbe realProbe_;
    CMainDlg dlg_;
    int cancelAfter_ = 0;
    int pendingCancelAfter_ = 0;
};

void UiSession::Select(const std::vector<std::string>& words) {
    platform::ControlSurface& s = dlg_.Surface();
    if (words.size() == 2 && words[1] == "all") {
        s.ListSetSelected(kIdSourceList, -1, true);
    } else if (words.size() == 2 && words[1] == "none") {
        s.ListSetSelected(kIdSourceList, -1, false);
    } else {
        std::vector<int> indexes;
        const int count = s.ListCount(kIdSourceList);
        for (std::size_t i = 1; i < words.size(); ++i) {
            int index = 0;
            if (!ParseInt(words[i], index) || index < 0 || index >= count) {
                return Error("select: no item " + words[i] + " in the source list");
            }
            indexes.push_back(index);
        }
        if (indexes.empty()) return Error("select: give all, none or item indexes");
        s.ListSetSelection(kIdSourceList, indexes);
    }
    dlg_.OnSourceListSelChange();
}

void UiSession::Wav(const std::vector<std::string>& words, const std::string& line) {
    int channel = 0;
    if (words.size() < 2 || !ParseInt(words[1], channel) || channel < 1 ||
        channel > kChannelCount) {
        return Error("wav: channel must be 1 to 16");
    }
    const ChannelControls& ch = kChannels[static_cast<std::size_t>(channel - 1)];
    CChannelPageDlg& page = dlg_.ChannelPage(ch.page);
    // Pages 2 to 4 can be reached only while the tab control is enabled.
    const bool reachable = ch.page == 0 || dlg_.Surface().Enabled(kIdTab);
    if (words.size() == 3 && words[2] == "clear") {
        if (reachable) page.Click(ch.clear);
        return;
    }
    host_.ScriptFile(RestAfterWords(line, 2));
    if (reachable) page.Click(ch.button);
    host_.ClearScript();
}

bool UiSession::Execute(const std::string& rawLine) {
    std::string line = rawLine;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::vector<std::string> words;
    std::istringstream in(line);
    for (std::string w; in >> w;) words.push_back(w);
    if (words.empty() || words[0][0] == '#') return true;
    const std::string& verb = words[0];
    int id = 0;

    if (verb == "folder") {
        if (words.size() < 2 || (words[1] != "source" && words[1] != "dest")) {
            Error("folder: say source or dest");
            return true;
        }
        host_.ScriptFolder(RestAfterWords(line, 2));
        dlg_.Click(words[1] == "source" ? kIdSourceSelectDir : kIdDestSelectDir);
        host_.ClearScript();
    } else if (verb == "click" && words.size() == 2) {
        const std::size_t colon = words[1].find(':');
        int page = 0;
        if (colon != std::string::npos) {
            if (!ParseInt(words[1].substr(0, colon), page) || page < 0 || page >= kPageCount ||
                !ParseInt(words[1].substr(colon + 1), id) ||
                !dlg_.ChannelPage(page).Surface().Has(id)) {
                Error("click: no control " + words[1]);
            } else if (page == 0 || dlg_.Surface().Enabled(kIdTab)) {
                dlg_.ChannelPage(page).Click(id);
            }
        } else if (!ParseInt(words[1], id) || !dlg_.Surface().Has(id)) {
            Error("click: no control " + words[1]);
        } else if (id == kIdExec) {
            return Execute("exec");
        } else {
            dlg_.Click(id);
            if (id == kIdClose && host_.Ended()) return false;
        }
    } else if (verb == "check" && words.size() == 3 && (words[2] == "on" || words[2] == "off")) {
        if (!ParseInt(words[1], id) || !dlg_.Surface().Has(id)) {
            Error("check: no control " + words[1]);
        } else {
            dlg_.Surface().SetChecked(id, words[2] == "on");
        }
    } else if (verb == "select" && words.size() >= 2) {
        Select(words);
    } else if (verb == "wav") {
        Wav(words, line);
    } else if (verb == "exec" && words.size() == 1) {
        cancelAfter_ = pendingCancelAfter_;
        pendingCancelAfter_ = 0;
        dlg_.Click(kIdExec);
        dlg_.WaitForRun();
        cancelAfter_ = 0;
    } else if (verb == "cancel-after" && words.size() == 2) {
        if (!ParseInt(words[1], id) || id < 1) {
            Error("cancel-after: K must be 1 or more");
        } else {
            pendingCancelAfter_ = id;
        }
    } else if (verb == "menu" && words.size() == 2) {
        if (!ParseInt(words[1], id)) {
            Error("menu: no command " + words[1]);
        } else if (id == kCmdAboutSystemMenu) {
            dlg_.OnSysCommand(static_cast<unsigned>(id));
        } else if (id == kCmdShowDiskManagement || id == kCmdAbout || id == kCmdGuideDocument) {
            dlg_.OnCommand(id);
        } else {
            Error("menu: no command " + words[1]);
        }
    } else if (verb == "tab" && words.size() == 2) {
        if (!ParseInt(words[1], id) || id < 0 || id >= kPageCount) {
            Error("tab: page must be 0 to 3");
        } else {
            dlg_.OnTabClick(id);
        }
    } else if (verb == "close" && words.size() == 1) {
        dlg_.OnCancel();
        return false;
    } else if (verb == "dump" && words.size() == 1) {
        Print(StateJson(dlg_));
    } else {
        Error("cannot read: " + line);
    }
    return true;
}

}  // namespace

int RunUi(std::istream& script, std::ostream& out, const UiOptions& options) {
    UiSession session(out, options);
    session.Start();
    for (std::string line; std::getline(script, line);) {
        if (!session.Execute(line)) break;
    }
    return 0;
}

int UiMain(int argc, char** argv) {
    UiOptions options;
    std::string scriptPath;
    for (int i = 0; i < argc; ++i) {
        const std::string arg = argv[i];
        if (IsHelp(arg)) {
            std::cout << HelpText("ui");
            return 0;
        }
        if (arg == "--real-space-check") {
            options.realSpaceCheck = true;
        } else if (arg == "--script" && i + 1 < argc) {
            scriptPath = argv[++i];
        } else if (arg == "--script") {
            return UsageError(std::cerr, "ui", "--script needs a FILE");
        } else {
            return UsageError(std::cerr, "ui", "unknown argument '" + arg + "'");
        }
    }
    if (scriptPath.empty()) return RunUi(std::cin, std::cout, options);
    std::ifstream script(scriptPath);
    if (!script) return UsageError(std::cerr, "ui", "cannot read the script '" + scriptPath + "'");
    return RunUi(script, std::cout, options);
}

}  // namespace fmconv::cli
