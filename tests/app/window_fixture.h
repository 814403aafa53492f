// A main window on the headless host, with its current directory (and so its
// settings file) in a fresh folder.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/main_dlg.h"
#include "app/resources.h"
#include "fmfiles/register_file.h"
#include "platform/headless/headless_host.h"
#include "support/temp_dir.h"

namespace fmconv::testing {

// A register file: a few bytes of frame, then the trailer that names `inner`.
inline void WriteRegister(const std::string& path, const std::string& inner) {
    std::vector<uint8_t> bytes(20, 7);
    const RegisterTrailer t = BuildRegisterTrailer(inner);
    bytes.insert(bytes.end(), t.begin(), t.end());
    WriteBytes(path, bytes);
}

class WindowTest : public ::testing::Test {
protected:
    TempDir dir;
    platform::HeadlessHost host;
    platform::FixedFreeSpaceProbe probe{int64_t{1} << 40};
    std::unique_ptr<CMainDlg> dlg;
    std::string cwd;  // the process's current directory as the window sees it

    std::string Settings() const { return dir.File("ParvoClient.usr"); }

    // The settings file's text for source, destination, SFM and SFA format.
    static std::string SettingsText(const std::vector<std::string>& v) {
        return "[FILEMANAGER]\r\nOriginal_File_Directory_Type=" + v[0] +
               "\r\nConvert_File_Directory_Type=" + v[1] + "\r\nSFMFormat=" + v[2] +
               "\r\nSFAFormat=" + v[3] + "\r\n";
    }
    // Opens the window, with a settings file of these values when given: source
    // and destination, then the SFM and SFA formats (when left out,
    // 1080i/1080PsF and 1080i/59.94).
    // `adjust` changes the services the window is given.
    void Open(std::vector<std::string> settings = {},
              const std::function<void(MainDlgServices&)>& adjust = {}) {
        if (!settings.empty()) {
            settings.resize(4);
            if (settings[2].empty()) settings[2] = "1080i/1080PsF";
            if (settings[3].empty()) settings[3] = "1080i/59.94";
            WriteText(Settings(), SettingsText(settings));
        }
        MainDlgServices services;
        services.host = &host;
        services.freeSpace = &probe;
        cwd = dir.path();
        services.currentDirectory = [this] { return cwd; };
        if (adjust) adjust(services);
        dlg = std::make_unique<CMainDlg>(services);
        dlg->OnInitDialog();
    }

    platform::ControlSurface& S() { return dlg->Surface(); }
    bool Checked(int id) { return S().Checked(id); }
    bool Enabled(int id) { return S().Enabled(id); }
    std::string Text(int id) { return S().Text(id); }
    std::vector<std::string> Items(int id) { return S().ListItems(id); }

    void PickSource(const std::string& path) {
        host.ScriptFolder(path);
        dlg->Click(kIdSourceSelectDir);
    }
    void PickDest(const std::string& path) {
        host.ScriptFolder(path);
        dlg->Click(kIdDestSelectDir);
    }
    // Audio controls as the rules switch them: the SFA formats, the tab
    // control and the first page's controls together.
    bool AudioOn() {
        const bool on = Enabled(kIdSfa1080i5994);
        EXPECT_EQ(Enabled(kIdTab), on);
        EXPECT_EQ(dlg->ChannelPage(0).Surface().Enabled(kChannels[0].button), on);
        return on;
    }
    bool PicturesOn() { return Enabled(kIdSfm1080); }
    std::vector<std::string> BoxTexts() {
        std::vector<std::string> texts;
        for (const auto& box : host.Boxes()) texts.push_back(box.caption + ": " + box.text);
        return texts;
    }
};

}  // namespace fmconv::testing
