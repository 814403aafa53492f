// The four audio channel pages ("ch1-4" ... "ch13-16") and the tab control
// that hosts them. A page only holds WAV paths, one read-only edit per
// channel; the run reads them.
#pragma once

#include <string>
#include <vector>

#include "platform/control_surface.h"
#include "platform/dialog_host.h"

namespace fmconv {

class CChannelPageDlg {
  public:
    CChannelPageDlg(int page, platform::DialogHost& host);

    int PageIndex() const { return page_; }
    platform::ControlSurface& Surface() { return surface_; }
    const platform::ControlSurface& Surface() const { return surface_; }

    // A click on one of the page's controls (ids are local to the page).
    // Clicks on disabled controls do nothing.
    void Click(int id);
    // The handler of a page control.
    void OnCommand(int id);
    // Channel button: the file chooser's path (when one was chosen) goes
    // into the channel's edit.
    void OnChooseChannel(int channel);
    // "clear": empties the channel's edit.
    void OnClearChannel(int channel);
    // Enables or disables all twelve controls of the page at once.
    void EnableControls(bool enabled);

    bool Created() const { return created_; }
    void Create() { created_ = true; }

  private:
    int page_;
    platform::DialogHost& host_;
    platform::ControlSurface surface_;
    bool created_ = false;
};

class CPageTabCtrl {
  public:
    static constexpr int kMaxPages = 16;

    CPageTabCtrl(platform::ControlSurface& dialog, int tabId);

    // 0 when 16 pages exist already (nothing changes), else 1.
    int AddPage(std::string title, CChannelPageDlg* page, int templateId);
    // Creates every page and inserts its tab; page 0 is shown, the others hidden.
    void CreatePages();
    // Shows page index; returns the index shown before, or -1 for an index
    // out of range (nothing changes).
    int SetCurrentPage(int index);
    // A left click in the tab strip on tab `tab`: the tab control selects it
    // (when enabled), then the page follows the selection.
    void OnLButtonDown(int tab);
    // The page-1 enabler: the controls of page index (only ever 0).
    void EnablePageControls(int index, bool enabled);

    int CurrentPage() const { return shown_; }
    int PageCount() const { return static_cast<int>(entries_.size()); }
    CChannelPageDlg* Page(int index);

  private:
    struct Entry {
        std::string title;
        CChannelPageDlg* page;
        int templateId;
    };
    platform::ControlSurface& dialog_;
    int tabId_;
    std::vector<Entry> entries_;
    int shown_ = 0;
};

}  // namespace fmconv
