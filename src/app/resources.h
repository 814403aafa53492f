// The main window's resources: control ids, the dialog templates of the main
// window, the channel pages and the About box, the menu, and the window's
// own texts.
#pragma once

#include <array>

#include "platform/control_surface.h"

namespace fmconv {

// Main window controls.
enum MainControlId : int {
    kIdClose = 2,
    kIdSourceList = 1000,
    kIdSourceSelectDir = 1001,
    kIdDestSelectDir = 1002,
    kIdSourcePath = 1005,
    kIdDestPath = 1006,
    kIdDestList = 1009,
    kIdExec = 1010,
    kIdProgress = 1011,
    kIdSourceCount = 1012,
    kIdDestCount = 1013,
    kIdAll = 1014,
    kIdSourceSf1 = 1016,
    kIdSortSf1Sf3 = 1017,
    kIdSourceSfm = 1018,
    kIdSourceImage = 1019,
    kIdSourceSfa = 1020,
    kIdSourceSf3 = 1021,
    kIdDestSfm = 1022,
    kIdDestSf1 = 1023,
    kIdDestSfa = 1024,
    kIdDestSf3 = 1025,
    kIdSfm1080 = 1026,
    kIdSfm720p = 1027,
    kIdSfm576i = 1028,
    kIdSfm480i = 1029,
    kIdSfa1080i5994 = 1030,
    kIdSfa1080i50 = 1031,
    kIdSfa1080PsF24 = 1032,
    kIdSfa720p5994 = 1033,
    kIdSfa720p50 = 1034,
    kIdSfa576i50 = 1035,
    kIdSfa480i5994 = 1036,
    kIdTab = 1052,
};

// Menu and system-menu commands.
enum CommandId : int {
    kCmdAboutSystemMenu = 16,
    kCmdShowDiskManagement = 32771,
    kCmdAbout = 32772,
    kCmdGuideDocument = 32773,
};

constexpr int kMainDialogResource = 102;
constexpr int kAboutDialogResource = 100;
constexpr int kMenuResource = 129;

inline constexpr char kMainCaption[] = "Tavlo Utility";
inline constexpr char kAboutMenuText[] = "&About Oxbrin...";  // string 101
inline constexpr char kAboutTitle[] = "About Oxbrin";
inline constexpr char kAboutVersion[] = "Tavlo Utility Version 1.05(2009.08.28)";
inline constexpr char kAboutNotice[] = "Copyright (C) 2009 Oxbrin. All rights reserved.";
inline constexpr char kCaptionExec[] = "Exec";
inline constexpr char kCaptionCancel[] = "Cancel";
inline constexpr char kFilesFormat[] = "%d files";
inline constexpr char kNotFound[] = "not found";
inline constexpr char kSelectFolderTitle[] = "Select Folder";
inline constexpr char kOverlapFormat[] = "FM name overlaps\n\n[%s]";
inline constexpr char kWavFilter[] = "Audio Files (*.wav)|*.wav|All Files (*.*)|*.*||";
inline constexpr char kSettingsFileName[] = "ParvoClient.usr";
inline constexpr char kSettingsSection[] = "FILEMANAGER";
inline constexpr char kInstanceName[] =
    "0x7d41a0c3, 0x5e92, 0x11d6, 0xb3, 0x47, 0x0, 0x90, 0x2a, 0x6c, 0x18, 0xd5";

// The channel pages: labels, templates, and per channel its button, edit
// and "clear" ids (ids are local to each page).
constexpr int kPageCount = 4;
constexpr int kChannelCount = 16;
struct ChannelControls {
    int page;
    int button;
    int edit;
    int clear;
};
extern const std::array<ChannelControls, kChannelCount> kChannels;
extern const std::array<const char*, kPageCount> kPageLabels;
extern const std::array<int, kPageCount> kPageTemplates;

struct MenuPopup {
    const char* title;
    std::vector<platform::MenuItem> items;
};

const platform::DialogTemplate& MainDialogTemplate();
const platform::DialogTemplate& ChannelPageTemplate(int page);
const platform::DialogTemplate& AboutDialogTemplate();
const std::vector<MenuPopup>& MainMenu();

}  // namespace fmconv
