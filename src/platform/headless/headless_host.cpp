#include "platform/headless/headless_host.h"

namespace fmconv::platform {

HeadlessHost::HeadlessHost(EventSink sink) : sink_(std::move(sink)) {}

void HeadlessHost::ScriptFolder(std::string path) {
    std::lock_guard lock(mutex_);
    folders_.push_back(std::move(path));
}

void HeadlessHost::ScriptFile(std::string path) {
    std::lock_guard lock(mutex_);
    files_.push_back(std::move(path));
}

void HeadlessHost::ClearScript() {
    std::lock_guard lock(mutex_);
    folders_.clear();
    files_.clear();
}

std::vector<HostEvent> HeadlessHost::Events() const {
    std::lock_guard lock(mutex_);
    return events_;
}

std::vector<MessageBoxRequest> HeadlessHost::Boxes() const {
    std::lock_guard lock(mutex_);
    std::vector<MessageBoxRequest> boxes;
    for (const HostEvent& e : events_) {
        if (const auto* box = std::get_if<MessageBoxRequest>(&e)) boxes.push_back(*box);
    }
    return boxes;
}

bool HeadlessHost::Ended() const {
    std::lock_guard lock(mutex_);
    return ended_;
}

std::string HeadlessHost::LastFolderSelection() const {
    std::lock_guard lock(mutex_);
    return lastFolderSelection_;
}

void HeadlessHost::Record(HostEvent event) {
    {
        std::lock_guard lock(mutex_);
        events_.push_back(event);
    }
    if (sink_) sink_(event);
}

void HeadlessHost::ShowMessageBox(const MessageBoxRequest& box) {
    Record(box);
}

std::string HeadlessHost::BrowseForFolder(const std::string&, const std::string& initialSelection,
                                          bool) {
    std::lock_guard lock(mutex_);
    lastFolderSelection_ = initialSelection;
    if (folders_.empty()) return {};
    std::string answer = std::move(folders_.front());
    folders_.pop_front();
    return answer;
}

std::string HeadlessHost::ChooseFileToOpen(const std::string&) {
    std::lock_guard lock(mutex_);
    if (files_.empty()) return {};
    std::string answer = std::move(files_.front());
    files_.pop_front();
    return answer;
}

void HeadlessHost::ShowModalDialog(const ModalDialogContent& dialog) {
    Record(dialog);
}

void HeadlessHost::Launch(const std::string& commandLine) {
    Record(LaunchRequest{commandLine});
}

void HeadlessHost::EndDialog(int) {
    std::lock_guard lock(mutex_);
    ended_ = true;
}

}  // namespace fmconv::platform
