// CMainDlg: the converter's one window. Every rule of the window works on the
// control surface (platform/control_surface.h); a view (the desktop window,
// or none at all) only mirrors it.
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "app/channel_pages.h"
#include "base/trace.h"
#include "fmfiles/conversion_context.h"
#include "platform/control_surface.h"
#include "platform/dialog_host.h"
#include "platform/free_space.h"
#include "run/picture_import.h"

namespace fmconv {

// What the window is given by the program that shows it.
struct MainDlgServices {
    platform::DialogHost* host = nullptr;
    // The free-space probe of the runs (the window's legacy probe unless the
    // front end asks for the real one).
    const platform::FreeSpaceProbe* freeSpace = nullptr;
    // Where the converters' trace lines go (standard output in the window).
    TraceSink trace;
    // The current directory, asked for again whenever the settings file is
    // read or written.
    std::function<std::string()> currentDirectory;
    // Where every file of a run is written (the system's, written safely,
    // when not given; tests give a writer that fails on purpose).
    platform::OutputFiles* files = nullptr;
    // Where the four selections are restored from at start-up: the settings
    // file when empty; the command line gives its own (key, default) -> value.
    std::function<std::string(const std::string& key, const std::string& defaultValue)> readSetting;
    // Called by the run after each file it finished (k from 1), before the
    // next cancel test; automation uses it to press Cancel at a known point.
    std::function<void(int filesDone)> afterFile;
    // Told of the files a run writes without an entry (the WAV files of an
    // extraction).
    std::function<void(const std::vector<std::string>& paths)> filesWritten;
    // Pictures a run converts instead of the source list's selection.
    PictureImport* import = nullptr;
};

class CMainDlg {
  public:
    explicit CMainDlg(MainDlgServices services);
    ~CMainDlg();
    CMainDlg(const CMainDlg&) = delete;
    CMainDlg& operator=(const CMainDlg&) = delete;

    platform::ControlSurface& Surface() { return surface_; }
    CPageTabCtrl& TabCtrl() { return tabCtrl_; }
    CChannelPageDlg& ChannelPage(int page) { return *pages_[static_cast<std::size_t>(page)]; }
    platform::DialogHost& Host() { return *services_.host; }
    const MainDlgServices& Services() const { return services_; }

    // Dialog framework entry points.
    bool OnInitDialog();
    // The cancel operation (Close, Escape, the title bar's close): writes the
    // settings, then ends the dialog.
    void OnCancel();
    // A user's click on a main-window control: the check state changes as a
    // click changes it, then the control's handler runs. A click on a
    // disabled or hidden control does nothing.
    void Click(int id);
    // The handler behind a control or a menu command.
    void OnCommand(int id);
    void OnSysCommand(unsigned id);
    // Selection change notification of the source list.
    void OnSourceListSelChange();
    // A click on tab `tab` of the channel-page tab strip.
    void OnTabClick(int tab);
    // OnSetCursor: the wait cursor is shown while a run is under way.
    bool WantsWaitCursor() const { return converting_; }

    // Source and destination type handlers.
    void OnSourceImage();
    void OnSourceSfm();
    void OnSourceSfa();
    void OnSourceSf1();
    void OnSourceSf3();
    void OnSortSf1Sf3();
    void OnDestSfm();
    void OnDestSfa();
    void OnDestSf1();
    void OnDestSf3();

    // Settings restore steps and the settings file's path.
    void RestoreSourceType(const std::string& value);
    void RestoreDestType(const std::string& value);
    void RestoreSfmFormat(const std::string& value);
    void RestoreSfaFormat(const std::string& value);
    std::string SettingsPath() const;

    // Folder choices and file lists.
    void OnSourceSelectDirectory();
    void OnDestSelectDirectory();
    void OnAll();
    int ListFilesByExtension(int listId, const std::string& folder, const std::string& extension);
    void AnnotateRegisterItems(int listId, const std::string& folder);
    std::string BrowseForFolder(bool newFolderButton, std::string& memory);
    std::string FindOverlappingNames();
    void RefreshDestSfm();
    void RefreshDestSfa();
    void RefreshDestSf1();
    void RefreshDestSf3();
    void RefreshSourceForSort();
    const std::string& SourceFolderMemory() const { return sourceMemory_; }
    const std::string& DestFolderMemory() const { return destMemory_; }

    // Tool and Help.
    void OnShowDiskManagement();
    void OnAbout();
    void OnGuideDocument();

    // Runs.
    void OnExec();
    void RestoreAfterRun();
    // What the Cancel button does, asked for from outside the window (an
    // interrupt of the command line); nothing when no run is under way.
    void RequestCancel();
    // Waits until the worker of the last run has ended; its exit code (0 the
    // run reached its end, -1 it stopped early), or 0 when none ran.
    int WaitForRun();
    bool Converting() const { return converting_; }
    bool CancelRequested() const { return cancelRequested_; }
    // The run's shared converter state (current signal format and friends).
    ConversionContext& RunContext() { return runContext_; }

  private:
    enum class SourceType { kImage, kSfm, kSfa, kSf1, kSf3 };

    bool IsChecked(int id) const { return surface_.Checked(id); }
    void Check(int id, bool checked) { surface_.SetChecked(id, checked); }
    void Enable(int id, bool enabled) { surface_.SetEnabled(id, enabled); }
    void SetText(int id, const std::string& text) { surface_.SetText(id, text); }
    std::string Text(int id) const { return surface_.Text(id); }

    void AudioControls(bool on);
    void PictureFormats(bool on);
    void EnableDestRadios(bool sfm, bool sfa, bool sf1, bool sf3);
    // Steps 1 and 2 of every source handler, then the allowed destinations.
    void BeginSourceHandler(SourceType type);
    void EndSourceHandler();
    void ShowSourceCount(int listed);
    void RefreshDestList(const char* extension, bool annotate);
    void EnableExecWhenBothFoldersSet();
    void WarnOverlappingNames();

    MainDlgServices services_;
    platform::ControlSurface surface_;
    std::array<std::unique_ptr<CChannelPageDlg>, 4> pages_;
    CPageTabCtrl tabCtrl_;
    std::string sourceMemory_;
    std::string destMemory_;

    std::atomic<bool> converting_{false};
    std::atomic<bool> cancelRequested_{false};
    ConversionContext runContext_;
    std::mutex runMutex_;
    std::thread worker_;
    std::atomic<int> exitCode_{0};
};

}  // namespace fmconv
