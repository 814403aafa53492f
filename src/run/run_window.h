// What a conversion run needs of the window that starts it: its folders,
// selections and radios, the destination list and progress bar it fills,
// its boxes, Cancel and the end-of-run reset. The run owns this small
// interface; the main window implements it, so the run reaches up to no
// window code of its own.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "fmfiles/conversion_context.h"
#include "platform/dialog_host.h"
#include "run/picture_import.h"

namespace fmconv {

// The radios and the check box a run reads, in the window's id order within
// each group (the order their tests follow).
enum class RunControl {
    kSourceSf1,
    kSortSf1Sf3,
    kSourceSfm,
    kSourceImage,
    kSourceSfa,
    kSourceSf3,
    kDestSfm,
    kDestSf1,
    kDestSfa,
    kDestSf3,
    kSfm1080,
    kSfm720p,
    kSfm576i,
    kSfm480i,
    kSfa1080i5994,
    kSfa1080i50,
    kSfa1080PsF24,
    kSfa720p5994,
    kSfa720p50,
    kSfa576i50,
    kSfa480i5994,
};

class RunWindow {
  public:
    virtual ~RunWindow() = default;

    virtual std::string SourceFolder() = 0;
    virtual std::string DestinationFolder() = 0;
    // The WAV path of channel field 1 to 16 ("" when empty).
    virtual std::string ChannelPath(int channel) = 0;
    virtual bool IsChecked(RunControl control) = 0;
    // The selected source items' indexes, ascending, at most maxCount.
    virtual std::vector<int> SelectedSourceItems(std::size_t maxCount) = 0;
    virtual std::string SourceItem(int index) = 0;

    // The progress bar shown at 0 of 0 .. count; then moved to position.
    virtual void StartProgress(int count) = 0;
    virtual void SetProgress(int position) = 0;
    // The destination list the run fills (emptied by Exec).
    virtual void AddEntry(const std::string& entry) = 0;
    virtual std::vector<std::string> Entries() = 0;
    // Selects the first entry from the top whose text begins with prefix.
    virtual void SelectEntry(const std::string& prefix) = 0;
    // Files the run wrote without an entry of their own (the WAV files of an
    // extraction), once they are whole.
    virtual void FilesWritten(const std::vector<std::string>& paths) = 0;
    // The destination count of a run that reached its end (0: "not found").
    virtual void ShowDestinationCount(int count) = 0;

    // A modal box owned by the window; returns once it was closed.
    virtual void ShowBox(const platform::MessageBoxRequest& box) = 0;
    virtual bool CancelRequested() = 0;
    // The end-of-run reset.
    virtual void RestoreAfterRun() = 0;
    // Called after each file committed (k from 1), before the next cancel test.
    virtual void AfterFile(int filesDone) = 0;
    // The converters' shared state for this run.
    virtual ConversionContext& Context() = 0;
    // Pictures given from outside the source list (`fmconv import`), which
    // the picture branch converts instead of the selection; null for none.
    virtual PictureImport* Import() = 0;
};

}  // namespace fmconv
