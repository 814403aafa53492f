#include "app/channel_pages.h"

#include "app/resources.h"

namespace fmconv {

CChannelPageDlg::CChannelPageDlg(int page, platform::DialogHost& host)
    : page_(page), host_(host), surface_(ChannelPageTemplate(page)) {}

void CChannelPageDlg::Click(int id) {
    if (!surface_.Has(id) || !surface_.Enabled(id) || !surface_.Visible(id)) return;
    surface_.ApplyClick(id);
    OnCommand(id);
}

void CChannelPageDlg::OnCommand(int id) {
    for (int channel = 0; channel < kChannelCount; ++channel) {
        const ChannelControls& ch = kChannels[static_cast<std::size_t>(channel)];
        if (ch.page != page_) continue;
        if (id == ch.button) return OnChooseChannel(channel + 1);
        if (id == ch.clear) return OnClearChannel(channel + 1);
    }
}

void CChannelPageDlg::OnChooseChannel(int channel) {
    const std::string path = host_.ChooseFileToOpen(kWavFilter);
    if (!path.empty())
        surface_.SetText(kChannels[static_cast<std::size_t>(channel - 1)].edit, path);
}

void CChannelPageDlg::OnClearChannel(int channel) {
    surface_.SetText(kChannels[static_cast<std::size_t>(channel - 1)].edit, "");
}

void CChannelPageDlg::EnableControls(bool enabled) {
    for (int id : surface_.Ids()) surface_.SetEnabled(id, enabled);
}

CPageTabCtrl::CPageTabCtrl(platform::ControlSurface& dialog, int tabId)
    : dialog_(dialog), tabId_(tabId) {}

int CPageTabCtrl::AddPage(std::string title, CChannelPageDlg* page, int templateId) {
    if (entries_.size() >= kMaxPages) return 0;
    entries_.push_back(Entry{std::move(title), page, templateId});
    return 1;
}

void CPageTabCtrl::CreatePages() {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].page) entries_[i].page->Create();
        dialog_.TabInsert(tabId_, static_cast<int>(i), entries_[i].title);
    }
    shown_ = 0;
    dialog_.TabSetCurrent(tabId_, 0);
}

int CPageTabCtrl::SetCurrentPage(int index) {
    if (index < 0 || index >= PageCount()) return -1;
    if (index == shown_) return shown_;
    const int previous = shown_;
    shown_ = index;
    dialog_.TabSetCurrent(tabId_, index);
    return previous;
}

void CPageTabCtrl::OnLButtonDown(int tab) {
    if (!dialog_.Enabled(tabId_)) return;
    dialog_.TabSetCurrent(tabId_, tab);
    const int selected = dialog_.TabCurrent(tabId_);
    if (selected != shown_) shown_ = selected;
}

void CPageTabCtrl::EnablePageControls(int index, bool enabled) {
    if (CChannelPageDlg* page = Page(index)) page->EnableControls(enabled);
}

CChannelPageDlg* CPageTabCtrl::Page(int index) {
    if (index < 0 || index >= PageCount()) return nullptr;
    return entries_[static_cast<std::size_t>(index)].page;
}

}  // namespace fmconv
