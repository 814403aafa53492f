// CMainDlg: set-up, the selection rules of the type radios, command dispatch,
// and the settings restore and write-back.
#include "app/main_dlg.h"

#include "app/resources.h"
#include "base/text.h"
#include "platform/files.h"
#include "platform/profile.h"

namespace fmconv {

namespace {
constexpr int kSourceTypeIds[] = {kIdSourceSf1,   kIdSortSf1Sf3, kIdSourceSfm,
                                  kIdSourceImage, kIdSourceSfa,  kIdSourceSf3};
constexpr int kDestTypeIds[] = {kIdDestSfm, kIdDestSf1, kIdDestSfa, kIdDestSf3};
constexpr int kSfmFormatIds[] = {kIdSfm1080, kIdSfm720p, kIdSfm576i, kIdSfm480i};
constexpr int kSfaFormatIds[] = {kIdSfa1080i5994, kIdSfa1080i50, kIdSfa1080PsF24, kIdSfa720p5994,
                                 kIdSfa720p50,    kIdSfa576i50,  kIdSfa480i5994};

constexpr char kKeySource[] = "Original_File_Directory_Type";
constexpr char kKeyDest[] = "Convert_File_Directory_Type";
constexpr char kKeySfm[] = "SFMFormat";
constexpr char kKeySfa[] = "SFAFormat";
}  // namespace

CMainDlg::CMainDlg(MainDlgServices services)
    : services_(std::move(services)), surface_(MainDialogTemplate()), tabCtrl_(surface_, kIdTab) {
    for (int p = 0; p < kPageCount; ++p) {
        pages_[static_cast<std::size_t>(p)] = std::make_unique<CChannelPageDlg>(p, *services_.host);
    }
    if (!services_.currentDirectory) services_.currentDirectory = platform::CurrentDirectory;
    if (!services_.files) services_.files = &platform::SystemOutputFiles();
    runContext_.trace = services_.trace;
    runContext_.freeSpace = services_.freeSpace;
    runContext_.files = services_.files;
}

CMainDlg::~CMainDlg() {
    WaitForRun();
}

bool CMainDlg::OnInitDialog() {
    // The About item of the system menu, below a separator.
    surface_.AppendSystemMenuItem({0, ""});
    surface_.AppendSystemMenuItem({kCmdAboutSystemMenu, kAboutMenuText});
    for (int p = 0; p < kPageCount; ++p) {
        tabCtrl_.AddPage(kPageLabels[static_cast<std::size_t>(p)],
                         pages_[static_cast<std::size_t>(p)].get(),
                         kPageTemplates[static_cast<std::size_t>(p)]);
    }
    tabCtrl_.CreatePages();

    // Settings restore, source type first: the destination step may
    // correct the source.
    const std::string path = SettingsPath();
    const auto read = [&](const char* key, const char* defaultValue) {
        if (services_.readSetting) return services_.readSetting(key, defaultValue);
        return platform::GetPrivateProfileString(kSettingsSection, key, defaultValue, path);
    };
    const std::string source = read(kKeySource, "Image File");
    const std::string dest = read(kKeyDest, "SFM");
    const std::string sfm = read(kKeySfm, "1080i/1080PsF");
    const std::string sfa = read(kKeySfa, "1080i/59.94");
    RestoreSourceType(source);
    RestoreDestType(dest);
    RestoreSfmFormat(sfm);
    RestoreSfaFormat(sfa);

    surface_.SetVisible(kIdProgress, false);
    Enable(kIdExec, false);
    return true;
}

std::string CMainDlg::SettingsPath() const {
    return JoinPath(services_.currentDirectory(), kSettingsFileName);
}

void CMainDlg::RestoreSourceType(const std::string& value) {
    for (int id : kSourceTypeIds) {
        if (Text(id) == value) {
            Check(id, true);
            OnCommand(id);
            return;
        }
    }
    Check(kIdSourceImage, true);
    OnSourceImage();
}

void CMainDlg::RestoreDestType(const std::string& value) {
    for (int id : kDestTypeIds) {
        if (Text(id) == value) {
            Check(id, true);
            OnCommand(id);
            return;
        }
    }
    Check(kIdDestSfm, true);
    OnDestSfm();
}

void CMainDlg::RestoreSfmFormat(const std::string& value) {
    for (int id : kSfmFormatIds) {
        if (Text(id) == value) Check(id, true);
    }
}

void CMainDlg::RestoreSfaFormat(const std::string& value) {
    for (int id : kSfaFormatIds) {
        if (Text(id) == value) Check(id, true);
    }
}

void CMainDlg::OnCancel() {
    // The last checked control of each group, in id order, is written; an
    // empty group writes its own default (which differs from the read
    // default for the destination and the SFA format).
    std::string values[4] = {"Image File", "SF1", "1080i/1080PsF", "720P/50"};
    const auto last = [&](int first, int lastId, std::string& value) {
        for (int id = first; id <= lastId; ++id) {
            if (IsChecked(id)) value = Text(id);
        }
    };
    last(kIdSourceSf1, kIdSourceSf3, values[0]);
    last(kIdDestSfm, kIdDestSf3, values[1]);
    last(kIdSfm1080, kIdSfm480i, values[2]);
    last(kIdSfa1080i5994, kIdSfa480i5994, values[3]);
    // The four keys in one rewrite of the whole file; a failure leaves the
    // file as it was and is not reported.
    platform::WritePrivateProfileStrings(kSettingsSection,
                                         {{kKeySource, values[0]},
                                          {kKeyDest, values[1]},
                                          {kKeySfm, values[2]},
                                          {kKeySfa, values[3]}},
                                         SettingsPath());
    services_.host->EndDialog(kIdClose);
}

void CMainDlg::Click(int id) {
    if (!surface_.Has(id) || !surface_.Enabled(id) || !surface_.Visible(id)) return;
    surface_.ApplyClick(id);
    OnCommand(id);
}

void CMainDlg::OnCommand(int id) {
    switch (id) {
        case kIdSourceImage:
            return OnSourceImage();
        case kIdSourceSfm:
            return OnSourceSfm();
        case kIdSourceSfa:
            return OnSourceSfa();
        case kIdSourceSf1:
            return OnSourceSf1();
        case kIdSourceSf3:
            return OnSourceSf3();
        case kIdSortSf1Sf3:
            return OnSortSf1Sf3();
        case kIdDestSfm:
            return OnDestSfm();
        case kIdDestSfa:
            return OnDestSfa();
        case kIdDestSf1:
            return OnDestSf1();
        case kIdDestSf3:
            return OnDestSf3();
        case kIdSourceSelectDir:
            return OnSourceSelectDirectory();
        case kIdDestSelectDir:
            return OnDestSelectDirectory();
        case kIdAll:
            return OnAll();
        case kIdExec:
            return OnExec();
        case kIdClose:
            return OnCancel();
        case kCmdShowDiskManagement:
            return OnShowDiskManagement();
        case kCmdAbout:
            return OnAbout();
        case kCmdGuideDocument:
            return OnGuideDocument();
        default:
            return;
    }
}

void CMainDlg::OnSysCommand(unsigned id) {
    if ((id & 0xFFF0u) == kCmdAboutSystemMenu) OnAbout();
    // Every other system command takes the framework's default path.
}

void CMainDlg::OnTabClick(int tab) {
    tabCtrl_.OnLButtonDown(tab);
}

// --- The selection rules -------------------------------------------------

void CMainDlg::AudioControls(bool on) {
    for (int id : kSfaFormatIds) Enable(id, on);
    tabCtrl_.SetCurrentPage(0);
    tabCtrl_.EnablePageControls(0, on);
    Enable(kIdTab, on);
}

void CMainDlg::PictureFormats(bool on) {
    for (int id : kSfmFormatIds) Enable(id, on);
}

void CMainDlg::EnableDestRadios(bool sfm, bool sfa, bool sf1, bool sf3) {
    Enable(kIdDestSfm, sfm);
    Enable(kIdDestSfa, sfa);
    Enable(kIdDestSf1, sf1);
    Enable(kIdDestSf3, sf3);
}

void CMainDlg::ShowSourceCount(int listed) {
    if (listed > 0) {
        surface_.ListSetSelected(kIdSourceList, -1, true);
        SetText(kIdSourceCount, Format(kFilesFormat, listed));
    } else {
        SetText(kIdSourceCount, kNotFound);
    }
}

void CMainDlg::BeginSourceHandler(SourceType type) {
    const std::string path = Text(kIdSourcePath);
    int listed = 0;
    if (!path.empty()) {
        surface_.ListReset(kIdSourceList);
        switch (type) {
            case SourceType::kImage:
                for (const char* ext : {"tga", "bmp", "tif", "tiff"}) {
                    listed += ListFilesByExtension(kIdSourceList, path, ext);
                }
                break;
            case SourceType::kSfm:
                listed = ListFilesByExtension(kIdSourceList, path, "sfm");
                break;
            case SourceType::kSfa:
                listed = ListFilesByExtension(kIdSourceList, path, "sfa");
                break;
            case SourceType::kSf1:
                listed = ListFilesByExtension(kIdSourceList, path, "sf1");
                break;
            case SourceType::kSf3:
                listed = ListFilesByExtension(kIdSourceList, path, "sf3");
                break;
        }
        if (type == SourceType::kSf1 || type == SourceType::kSf3) {
            AnnotateRegisterItems(kIdSourceList, path);
        }
    }
    // The name check runs even when no folder is chosen, on the list as it is.
    if (type == SourceType::kSfm || type == SourceType::kSfa) WarnOverlappingNames();
    ShowSourceCount(listed);
    switch (type) {
        case SourceType::kImage:
            EnableDestRadios(true, true, true, true);
            break;
        case SourceType::kSfm:
            EnableDestRadios(false, true, true, false);
            break;
        case SourceType::kSfa:
            EnableDestRadios(true, false, false, true);
            break;
        case SourceType::kSf1:
            EnableDestRadios(true, false, false, false);
            break;
        case SourceType::kSf3:
            EnableDestRadios(false, true, false, false);
            break;
    }
}

void CMainDlg::EndSourceHandler() {
    if (IsChecked(kIdSortSf1Sf3)) Check(kIdSortSf1Sf3, false);
}

void CMainDlg::OnSourceImage() {
    BeginSourceHandler(SourceType::kImage);
    if (IsChecked(kIdDestSfm) || IsChecked(kIdDestSf1)) {
        PictureFormats(true);
        AudioControls(false);
    } else if (IsChecked(kIdDestSfa) || IsChecked(kIdDestSf3)) {
        PictureFormats(false);
        AudioControls(true);
    }
    EndSourceHandler();
}

void CMainDlg::OnSourceSfm() {
    BeginSourceHandler(SourceType::kSfm);
    PictureFormats(false);
    AudioControls(false);
    if (IsChecked(kIdDestSfm) || IsChecked(kIdDestSf3)) {
        Check(kIdDestSfa, true);
        Check(kIdDestSfm, false);
        Check(kIdDestSf3, false);
        RefreshDestSfa();
    }
    if (IsChecked(kIdDestSf1)) {
        AudioControls(false);
        RefreshDestSf1();
    }
    if (IsChecked(kIdDestSfa)) AudioControls(true);
    EndSourceHandler();
}

void CMainDlg::OnSourceSfa() {
    BeginSourceHandler(SourceType::kSfa);
    PictureFormats(false);
    AudioControls(false);
    if (IsChecked(kIdDestSfa) || IsChecked(kIdDestSf1)) {
        Check(kIdDestSfm, true);
        Check(kIdDestSfa, false);
        Check(kIdDestSf1, false);
        RefreshDestSfm();
    }
    if (IsChecked(kIdDestSf3)) {
        AudioControls(false);
        RefreshDestSf3();
    }
    EndSourceHandler();
}

void CMainDlg::OnSourceSf1() {
    BeginSourceHandler(SourceType::kSf1);
    PictureFormats(false);
    AudioControls(false);
    if (IsChecked(kIdDestSf1)) {
        Check(kIdDestSfm, true);
        Check(kIdDestSf1, false);
        RefreshDestSfm();
    } else if (IsChecked(kIdDestSfm)) {
        RefreshDestSfm();
    } else if (IsChecked(kIdDestSfa) || IsChecked(kIdDestSf3)) {
        Check(kIdDestSfm, true);
        Check(kIdDestSfa, false);
        Check(kIdDestSf3, false);
        RefreshDestSfm();
        AudioControls(false);
    }
    EndSourceHandler();
}

void CMainDlg::OnSourceSf3() {
    BeginSourceHandler(SourceType::kSf3);
    PictureFormats(false);
    AudioControls(false);
    if (IsChecked(kIdDestSf3) || IsChecked(kIdDestSfm) || IsChecked(kIdDestSf1)) {
        Check(kIdDestSfa, true);
        Check(kIdDestSf3, false);
        Check(kIdDestSfm, false);
        Check(kIdDestSf1, false);
        RefreshDestSfa();
    } else if (IsChecked(kIdDestSfa)) {
        RefreshDestSfa();
    }
    EndSourceHandler();
}

void CMainDlg::OnSortSf1Sf3() {
    // Reached only from the settings restore: the box is never shown.
    EnableDestRadios(false, false, false, false);
    PictureFormats(false);
    AudioControls(false);
    for (int id : {kIdSourceSf1, kIdSourceSfm, kIdSourceImage, kIdSourceSfa, kIdSourceSf3}) {
        if (IsChecked(id)) {
            Check(id, false);
            break;
        }
    }
    RefreshSourceForSort();
}

void CMainDlg::OnDestSfm() {
    if (IsChecked(kIdSourceImage)) {
        PictureFormats(true);
        AudioControls(false);
    } else if (IsChecked(kIdSourceSfm)) {
        Check(kIdSourceSfm, false);
        Check(kIdSourceSf1, true);
        OnSourceSf1();
        RefreshDestSfm();
        return;
    } else if (IsChecked(kIdSourceSf1)) {
        AudioControls(false);
    }
    RefreshDestSfm();
}

void CMainDlg::OnDestSf1() {
    if (IsChecked(kIdSourceImage)) {
        PictureFormats(true);
        AudioControls(false);
    } else if (IsChecked(kIdSourceSf1)) {
        Check(kIdSourceSf1, false);
        Check(kIdSourceSfm, true);
        OnSourceSfm();
    }
    if (IsChecked(kIdSourceSfm) || IsChecked(kIdSourceSfa) || IsChecked(kIdSourceSf3)) {
        AudioControls(false);
    }
    RefreshDestSf1();
}

void CMainDlg::OnDestSfa() {
    if (IsChecked(kIdSourceImage)) {
        PictureFormats(false);
        AudioControls(true);
    } else if (IsChecked(kIdSourceSfa)) {
        Check(kIdSourceSfa, false);
        Check(kIdSourceSf3, true);
        OnSourceSf3();
    }
    if (IsChecked(kIdSourceSfm) || IsChecked(kIdSourceSf1)) AudioControls(true);
    RefreshDestSfa();
}

void CMainDlg::OnDestSf3() {
    if (IsChecked(kIdSourceImage)) {
        PictureFormats(false);
        AudioControls(true);
    } else if (IsChecked(kIdSourceSf3)) {
        Check(kIdSourceSf3, false);
        Check(kIdSourceSfa, true);
        OnSourceSfa();
    }
    if (IsChecked(kIdSourceSfa)) AudioControls(false);
    if (IsChecked(kIdSourceSfm) || IsChecked(kIdSourceSf1)) AudioControls(true);
    RefreshDestSf3();
}

}  // namespace fmconv
