#include "app/resources.h"

#include <string>

namespace fmconv {

using platform::ControlKind;
using platform::ControlSpec;
using platform::DialogTemplate;
using namespace platform;  // style bits

const std::array<ChannelControls, kChannelCount> kChannels = {{
    {0, 1040, 1055, 1051},
    {0, 1046, 1008, 1052},
    {0, 1047, 1041, 1053},
    {0, 1048, 1042, 1054},
    {1, 1049, 1037, 1055},
    {1, 1050, 1043, 1056},
    {1, 1086, 1044, 1088},
    {1, 1087, 1045, 1089},
    {2, 1062, 1066, 1070},
    {2, 1063, 1067, 1071},
    {2, 1064, 1068, 1072},
    {2, 1065, 1069, 1073},
    {3, 1074, 1078, 1082},
    {3, 1075, 1079, 1083},
    {3, 1076, 1080, 1084},
    {3, 1077, 1081, 1085},
}};

const std::array<const char*, kPageCount> kPageLabels = {"ch1-4", "ch5-8", "ch9-12", "ch13-16"};
const std::array<int, kPageCount> kPageTemplates = {130, 131, 132, 133};

const DialogTemplate& MainDialogTemplate() {
    static const DialogTemplate t{
        kMainDialogResource,
        kMainCaption,
        260,
        440,
        "MS Sans Serif",
        8,
        {
            {-1, ControlKind::kGroupBox, "Original file Directory", 7, 5, 246, 135},
            {kIdSourceSelectDir, ControlKind::kPushButton, "Select Directory", 10, 15, 65, 15},
            {kIdSourcePath, ControlKind::kStatic, "", 80, 15, 165, 15,
             kStyleNoPrefix | kStyleCenterV},
            {-1, ControlKind::kGroupBox, "Type", 10, 35, 70, 100},
            {kIdSourceImage, ControlKind::kRadio, "Image File", 15, 50, 47, 10, kStyleGroup},
            {-1, ControlKind::kStatic, "(BMP/TIF/TGA)", 25, 60, 52, 8},
            {kIdSourceSfm, ControlKind::kRadio, "SFM", 15, 80, 30, 10},
            {kIdSourceSfa, ControlKind::kRadio, "SFA", 49, 80, 29, 10},
            {kIdSourceSf1, ControlKind::kRadio, "SF1", 15, 101, 27, 8},
            {kIdSourceSf3, ControlKind::kRadio, "SF3", 49, 101, 29, 10},
            {kIdSortSf1Sf3, ControlKind::kCheckBox, "SF1/SF3 Sort", 15, 119, 60, 10, kStyleHidden},
            {kIdSourceList, ControlKind::kListBox, "", 83, 38, 165, 80,
             kStyleSorted | kStyleExtendedSel | kStyleBorder},
            {kIdAll, ControlKind::kPushButton, "All", 82, 126, 20, 10},
            {kIdSourceCount, ControlKind::kStatic, "", 108, 125, 142, 10,
             kStyleRight | kStyleSunken},
            {-1, ControlKind::kGroupBox, "Convert file Directory", 7, 144, 246, 271},
            {kIdDestSelectDir, ControlKind::kPushButton, "Select Directory", 10, 155, 70, 15},
            {kIdDestPath, ControlKind::kStatic, "", 86, 155, 160, 15,
             kStyleNoPrefix | kStyleCenterV},
            {-1, ControlKind::kGroupBox, "Type", 11, 175, 70, 43},
            {kIdDestSfm, ControlKind::kRadio, "SFM", 16, 189, 30, 10, kStyleGroup},
            {kIdDestSfa, ControlKind::kRadio, "SFA", 48, 189, 29, 10},
            {kIdDestSf1, ControlKind::kRadio, "SF1", 16, 204, 29, 10},
            {kIdDestSf3, ControlKind::kRadio, "SF3", 48, 204, 29, 10},
            {kIdDestList, ControlKind::kListBox, "", 85, 179, 163, 92, kStyleNoSel | kStyleBorder},
            {-1, ControlKind::kGroupBox, "SFM Format", 11, 223, 70, 64},
            {kIdSfm1080, ControlKind::kRadio, "1080i/1080PsF", 15, 235, 65, 10, kStyleGroup},
            {kIdSfm720p, ControlKind::kRadio, "720P", 15, 247, 33, 10},
            {kIdSfm480i, ControlKind::kRadio, "480i/59.94", 15, 259, 56, 10},
            {kIdSfm576i, ControlKind::kRadio, "576i/50", 15, 271, 55, 10},
            {kIdDestCount, ControlKind::kStatic, "", 85, 276, 165, 10, kStyleRight | kStyleSunken},
            {-1, ControlKind::kGroupBox, "SFA Format / Audio Source", 11, 294, 237, 116},
            {kIdSfa1080i5994, ControlKind::kRadio, "1080i/59.94", 15, 309, 55, 10, kStyleGroup},
            {kIdSfa1080i50, ControlKind::kRadio, "1080i/50", 15, 323, 45, 10},
            {kIdSfa1080PsF24, ControlKind::kRadio, "1080PsF/24", 15, 337, 56, 10},
            {kIdSfa720p5994, ControlKind::kRadio, "720P/59.94", 15, 351, 54, 10},
            {kIdSfa720p50, ControlKind::kRadio, "720P/50", 15, 365, 45, 10},
            {kIdSfa480i5994, ControlKind::kRadio, "480i/59.94", 15, 379, 48, 10},
            {kIdSfa576i50, ControlKind::kRadio, "576i/50", 15, 393, 41, 10},
            {kIdTab, ControlKind::kTab, "Tab1", 81, 304, 167, 105},
            {kIdExec, ControlKind::kPushButton, "Exec", 7, 419, 47, 15},
            {kIdClose, ControlKind::kPushButton, "Close", 57, 419, 41, 15},
            {kIdProgress, ControlKind::kProgress, "Progress1", 101, 419, 147, 15, kStyleSmooth},
        },
    };
    return t;
}

const DialogTemplate& ChannelPageTemplate(int page) {
    static const std::array<DialogTemplate, kPageCount> pages = [] {
        std::array<DialogTemplate, kPageCount> out;
        for (int p = 0; p < kPageCount; ++p) {
            DialogTemplate& t = out[static_cast<std::size_t>(p)];
            t.resourceId = kPageTemplates[static_cast<std::size_t>(p)];
            t.width = 160;
            t.height = 86;
            t.fontName = "MS Sans Serif";
            for (int row = 0; row < 4; ++row) {
                const ChannelControls& ch = kChannels[static_cast<std::size_t>(p * 4 + row)];
                const int y = 6 + row * 20;
                const std::string caption = "ch" + std::to_string(p * 4 + row + 1);
                t.controls.push_back({ch.button, ControlKind::kPushButton, caption, 4, y, 28, 14});
                t.controls.push_back({ch.edit, ControlKind::kEdit, "", 36, y, 100, 14,
                                      kStyleReadOnly | kStyleBorder});
                t.controls.push_back({ch.clear, ControlKind::kPushButton, "clear", 139, y, 18, 14});
            }
        }
        return out;
    }();
    return pages[static_cast<std::size_t>(page)];
}

const DialogTemplate& AboutDialogTemplate() {
    static const DialogTemplate t{
        kAboutDialogResource,
        kAboutTitle,
        235,
        55,
        "MS Sans Serif",
        8,
        {
            {-1, ControlKind::kStatic, "", 11, 17, 20, 20, kStyleIcon},
            {-1, ControlKind::kStatic, kAboutVersion, 40, 10, 188, 8, kStyleNoPrefix},
            {-1, ControlKind::kStatic, kAboutNotice, 40, 25, 188, 8},
            {1, ControlKind::kPushButton, "OK", 178, 7, 50, 14, kStyleGroup | kStyleDefault},
        },
    };
    return t;
}

const std::vector<MenuPopup>& MainMenu() {
    static const std::vector<MenuPopup> menu = {
        {"&Tool", {{kCmdShowDiskManagement, "&Show Disk Management"}}},
        {"&Help", {{kCmdAbout, "&About"}}},
    };
    return menu;
}

}  // namespace fmconv
