#include "platform/control_surface.h"

#include <gtest/gtest.h>

#include "platform/list_order.h"

namespace fmconv::platform {
namespace {

DialogTemplate Radios() {
    return {1, "t", 100, 100, "f", 8,
            {
                {1, ControlKind::kRadio, "a", 0, 0, 1, 1, kStyleGroup},
                {2, ControlKind::kRadio, "b", 0, 0, 1, 1},
                {3, ControlKind::kCheckBox, "c", 0, 0, 1, 1},
                {4, ControlKind::kListBox, "", 0, 0, 1, 1, kStyleSorted | kStyleExtendedSel},
                {5, ControlKind::kRadio, "d", 0, 0, 1, 1, kStyleGroup},
                {6, ControlKind::kRadio, "e", 0, 0, 1, 1},
                {7, ControlKind::kListBox, "", 0, 0, 1, 1, kStyleNoSel},
                {8, ControlKind::kStatic, "", 0, 0, 1, 1, kStyleHidden},
            }};
}

TEST(ControlSurface, AClickChecksOneRadioOfItsGroupAndTogglesACheckBox) {
    ControlSurface s(Radios());
    EXPECT_EQ(s.RadioGroup(2), (std::vector<int>{1, 2}));
    s.SetChecked(1, true);
    s.SetChecked(5, true);
    s.ApplyClick(2);
    EXPECT_FALSE(s.Checked(1));
    EXPECT_TRUE(s.Checked(2));
    EXPECT_TRUE(s.Checked(5));  // another group
    for (bool checked : {true, false}) {
        s.ApplyClick(3);
        EXPECT_EQ(s.Checked(3), checked);
    }
    // The check message alone leaves the group as it is.
    s.SetChecked(1, true);
    EXPECT_TRUE(s.Checked(2));
    EXPECT_FALSE(s.Visible(8));
}

TEST(ControlSurface, SortedListsInsertInOrderAndKeepAnExplicitIndex) {
    ControlSurface s(Radios());
    for (const char* name : {"c.Bmp", "a.TIF", "b.tiff"}) s.ListAdd(4, name);
    EXPECT_EQ(s.ListItems(4), (std::vector<std::string>{"a.TIF", "b.tiff", "c.Bmp"}));
    s.ListSetSelected(4, 1, true);
    s.ListDelete(4, 0);
    s.ListInsert(4, 0, "zzz");
    EXPECT_EQ(s.ListItems(4), (std::vector<std::string>{"zzz", "b.tiff", "c.Bmp"}));
    EXPECT_EQ(s.ListSelection(4), (std::vector<int>{1}));
    s.ListSetSelected(4, -1, true);
    EXPECT_EQ(s.ListSelCount(4), 3);
    EXPECT_EQ(s.ListSelection(4, 2), (std::vector<int>{0, 1}));
}

TEST(ControlSurface, AListWithoutSelectionNeverSelects) {
    ControlSurface s(Radios());
    for (const char* name : {"F0002.SF1", "F0001.SF1"}) s.ListAdd(7, name);
    EXPECT_EQ(s.ListItems(7), (std::vector<std::string>{"F0002.SF1", "F0001.SF1"}));
    s.ListSetSelected(7, -1, true);
    EXPECT_EQ(s.ListSelCount(7), 0);
    EXPECT_EQ(s.ListSelectString(7, "f0001"), 1);
    EXPECT_EQ(s.ListSelCount(7), 0);
}

TEST(ControlSurface, ChangesAreAnnouncedOnce) {
    ControlSurface s(Radios());
    std::vector<int> seen;
    const int token = s.Subscribe([&](int id) { seen.push_back(id); });
    s.SetText(8, "x");
    s.SetText(8, "x");  // no change, no announcement
    s.SetEnabled(2, false);
    s.Unsubscribe(token);
    s.SetEnabled(2, true);
    EXPECT_EQ(seen, (std::vector<int>{8, 2}));
}

TEST(ListOrder, PunctuationDigitsLettersHighBytes) {
    const std::vector<std::string> sorted = {
        "",   " a", "-a", "1", "10", "9", "A", "a", "a.TIF", "a1", "aB", "ab", "b.tiff",
        "\xE4",
    };
    for (std::size_t i = 0; i + 1 < sorted.size(); ++i) {
        EXPECT_LT(CompareListText(sorted[i], sorted[i + 1]), 0) << sorted[i] << " | " << sorted[i + 1];
        EXPECT_GT(CompareListText(sorted[i + 1], sorted[i]), 0);
    }
    EXPECT_EQ(CompareListText("F0001.SF1", "F0001.SF1"), 0);
    EXPECT_LT(CompareListText("F0001.SF1(MLOGO", "F0001.SF3"), 0);
}

}  // namespace
}  // namespace fmconv::platform
