// CMainDlg: the source and destination lists, their folder choices, the
// register-file annotation, the count lines and the overlap warning.
#include "app/main_dlg.h"
#include "app/resources.h"
#include "base/text.h"
#include "fmfiles/register_file.h"
#include "platform/files.h"
#include "run/messages.h"
#include "names/naming.h"

namespace fmconv {

int CMainDlg::ListFilesByExtension(int listId, const std::string& folder,
                                   const std::string& extension) {
    int added = 0;
    for (std::string& name : platform::ListDirectory(folder, extension)) {
        surface_.ListAdd(listId, std::move(name));
        ++added;
    }
    return added;
}

void CMainDlg::AnnotateRegisterItems(int listId, const std::string& folder) {
    const int count = surface_.ListCount(listId);
    surface_.SetVisible(kIdProgress, true);
    surface_.ProgressSetPos(kIdProgress, 0);
    surface_.ProgressSetRange(kIdProgress, 0, count);
    for (int i = 0; i < count; ++i) {
        const std::string text = surface_.ListText(listId, i);
        const TrailerRead read =
            ReadRegisterTrailer(JoinPath(folder, text), TrailerOpenMode::kReadWrite);
        // A file that cannot be opened or is shorter than its trailer stays
        // as it was listed.
        if (read.status == TrailerReadStatus::kOk) {
            surface_.ListDelete(listId, i);
            surface_.ListInsert(listId, i, RegisterListItem(text, TrailerInnerName(read.trailer)));
        }
        surface_.ProgressSetPos(kIdProgress, i + 1);
    }
    surface_.ProgressSetPos(kIdProgress, 0);
}

std::string CMainDlg::BrowseForFolder(bool newFolderButton, std::string& memory) {
    std::string path = services_.host->BrowseForFolder(kSelectFolderTitle, memory, newFolderButton);
    if (!path.empty()) memory = path.substr(0, 4);
    return path;
}

std::string CMainDlg::FindOverlappingNames() {
    const std::vector<std::string> items = surface_.ListItems(kIdSourceList);
    if (items.size() < 2) return {};
    // The key of an item: its text up to the last "." cut to 9 characters
    // for frame files (the letter and up to 8 name characters), 5 for
    // register files, 8 for anything else.
    const auto cutFor = [](std::string_view item) -> std::size_t {
        const std::string_view ext = ExtensionOf(item);
        if (EqualsIgnoreCase(ext, "sfm") || EqualsIgnoreCase(ext, "sfa")) return 9;
        if (EqualsIgnoreCase(ext, "sf1") || EqualsIgnoreCase(ext, "sf3")) return 5;
        return 8;
    };
    for (std::size_t i = 0; i + 1 < items.size(); ++i) {
        std::string_view keyA = FirstChars(StemOf(items[i]), cutFor(items[i]));
        for (std::size_t j = i + 1; j < items.size(); ++j) {
            std::string_view keyB = StemOf(items[j]);
            // For a register file B the 5-character cut falls on A's key
            // (and stays there for the rest of the pass), never on B's own.
            if (cutFor(items[j]) == 5) {
                keyA = FirstChars(keyA, 5);
            } else {
                keyB = FirstChars(keyB, cutFor(items[j]));
            }
            if (EqualsIgnoreCase(keyA, keyB)) return items[i] + " and " + items[j];
        }
    }
    return {};
}

void CMainDlg::WarnOverlappingNames() {
    const std::string overlap = FindOverlappingNames();
    if (overlap.empty()) return;
    services_.host->ShowMessageBox({kCaptionWarning, Format(kOverlapFormat, overlap.c_str()),
                                    platform::BoxIcon::kExclamation});
}

void CMainDlg::EnableExecWhenBothFoldersSet() {
    if (!Text(kIdSourcePath).empty() && !Text(kIdDestPath).empty()) Enable(kIdExec, true);
}

void CMainDlg::OnSourceSelectDirectory() {
    const std::string path = BrowseForFolder(true, sourceMemory_);
    if (path.empty()) return;
    surface_.ListReset(kIdSourceList);
    int listed = 0;
    bool annotate = true;
    if (IsChecked(kIdSourceSfm)) {
        listed = ListFilesByExtension(kIdSourceList, path, "sfm");
        annotate = false;
    } else if (IsChecked(kIdSourceSf1)) {
        listed = ListFilesByExtension(kIdSourceList, path, "sf1");
    } else if (IsChecked(kIdSourceSfa)) {
        listed = ListFilesByExtension(kIdSourceList, path, "sfa");
        annotate = false;
    } else if (IsChecked(kIdSourceSf3)) {
        listed = ListFilesByExtension(kIdSourceList, path, "sf3");
    } else if (IsChecked(kIdSourceImage)) {
        for (const char* ext : {"tga", "bmp", "tif", "tiff"}) {
            listed += ListFilesByExtension(kIdSourceList, path, ext);
        }
        annotate = false;
    } else if (IsChecked(kIdSortSf1Sf3)) {
        listed = ListFilesByExtension(kIdSourceList, path, "sf1");
        listed += ListFilesByExtension(kIdSourceList, path, "sf3");
    } else {
        annotate = false;
    }
    if (annotate) AnnotateRegisterItems(kIdSourceList, path);
    if (!IsChecked(kIdSourceImage)) WarnOverlappingNames();
    SetText(kIdSourcePath, path);
    ShowSourceCount(listed);
    EnableExecWhenBothFoldersSet();
}

void CMainDlg::OnDestSelectDirectory() {
    const std::string path = BrowseForFolder(true, destMemory_);
    if (path.empty()) return;
    SetText(kIdDestPath, path);
    surface_.ListReset(kIdDestList);
    int listed = 0;
    if (IsChecked(kIdSortSf1Sf3)) {
        listed = ListFilesByExtension(kIdDestList, path, "sf1");
        listed += ListFilesByExtension(kIdDestList, path, "sf3");
        AnnotateRegisterItems(kIdDestList, path);
    } else if (IsChecked(kIdDestSfm)) {
        listed = ListFilesByExtension(kIdDestList, path, "sfm");
    } else if (IsChecked(kIdDestSf1)) {
        listed = ListFilesByExtension(kIdDestList, path, "sf1");
        AnnotateRegisterItems(kIdDestList, path);
    } else if (IsChecked(kIdDestSfa)) {
        listed = ListFilesByExtension(kIdDestList, path, "sfa");
    } else if (IsChecked(kIdDestSf3)) {
        listed = ListFilesByExtension(kIdDestList, path, "sf3");
        AnnotateRegisterItems(kIdDestList, path);
    }
    SetText(kIdDestCount, listed > 0 ? Format(kFilesFormat, listed) : std::string(kNotFound));
    EnableExecWhenBothFoldersSet();
}

void CMainDlg::RefreshDestList(const char* extension, bool annotate) {
    const std::string path = Text(kIdDestPath);
    int listed = 0;
    if (!path.empty()) {
        surface_.ListReset(kIdDestList);
        listed = ListFilesByExtension(kIdDestList, path, extension);
        if (annotate) AnnotateRegisterItems(kIdDestList, path);
    }
    SetText(kIdDestCount, listed > 0 ? Format(kFilesFormat, listed) : std::string(kNotFound));
}

void CMainDlg::RefreshDestSfm() {
    RefreshDestList("sfm", false);
}
void CMainDlg::RefreshDestSfa() {
    RefreshDestList("sfa", false);
}
void CMainDlg::RefreshDestSf1() {
    RefreshDestList("sf1", true);
}
void CMainDlg::RefreshDestSf3() {
    RefreshDestList("sf3", true);
}

void CMainDlg::RefreshSourceForSort() {
    const std::string path = Text(kIdSourcePath);
    int listed = 0;
    if (!path.empty()) {
        surface_.ListReset(kIdSourceList);
        listed = ListFilesByExtension(kIdSourceList, path, "sf1");
        listed += ListFilesByExtension(kIdSourceList, path, "sf3");
        AnnotateRegisterItems(kIdSourceList, path);
    }
    ShowSourceCount(listed);
}

void CMainDlg::OnAll() {
    const int count = surface_.ListCount(kIdSourceList);
    surface_.ListSetSelected(kIdSourceList, -1, surface_.ListSelCount(kIdSourceList) != count);
    SetText(kIdSourceCount, Format(kFilesFormat, surface_.ListSelCount(kIdSourceList)));
}

void CMainDlg::OnSourceListSelChange() {
    SetText(kIdSourceCount, Format(kFilesFormat, surface_.ListSelCount(kIdSourceList)));
}

}  // namespace fmconv
