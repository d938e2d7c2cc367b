// Dialogs driven through a UI provider, as an application without the system's dialogs runs
// them: the provider types, leaves fields and presses buttons.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "harness.h"

namespace {

using harness::dialog_text;

// The work date is 15.03.2024 in every test and put back afterwards.
class DateDialogs : public ::testing::Test {
protected:
    void SetUp() override { saved = ld_Today(), ld_SetWorkDate(20240315); }
    void TearDown() override { ld_SetWorkDate(saved); }
    harness::FakeUi ui;
    int32_t saved = 0;
};

// Leaving the field takes the date at once, Cancel puts the old one back, Enter moves to the next
// control instead of closing, and a dialog the provider leaves open is cancelled. The accept
// button normalises what was typed and closes.
TEST_F(DateDialogs, WorkDateDialog) {
    ui.dialog = [](TarnUiDialog *d) {
        EXPECT_EQ(dialog_text(d, 102), "15.03.2024");
        EXPECT_EQ(tarnUiDialogFocus(d), 102);
        tarnUiDialogSetText(d, 102, "+20");
        tarnUiDialogLeave(d, 102);
        EXPECT_EQ(dialog_text(d, 102), "04.04.2024");
        EXPECT_EQ(ld_Today(), 20240404);
        tarnUiDialogSetText(d, 102, "1.4");
        tarnUiDialogPress(d, 1);
        EXPECT_EQ(tarnUiDialogEnded(d, nullptr), 0);
        EXPECT_EQ(tarnUiDialogFocus(d), 103);
        EXPECT_EQ(dialog_text(d, 102), "01.04.2024") << "leaving the field normalised it";
        tarnUiDialogPress(d, 2);
        intptr_t r = -1;
        EXPECT_EQ(tarnUiDialogEnded(d, &r), 1);
        EXPECT_EQ(r, 0);
    };
    EXPECT_EQ(ld_WorkDateSetup(nullptr), 0);
    EXPECT_EQ(ui.dialogs, std::vector<std::string>{"WorkDateDialog"});
    EXPECT_EQ(ld_Today(), 20240315);
    ui.dialog = [](TarnUiDialog *d) { tarnUiDialogSetText(d, 102, "+1"), tarnUiDialogLeave(d, 102); };
    EXPECT_EQ(ld_WorkDateSetup(nullptr), 0);
    EXPECT_EQ(ld_Today(), 20240315);

    const struct { const char *typed; int32_t expect; } cases[] = {
        {"1.1.79", 20790101}, {"31.2", 20240302}, {"12/25", 20251201}, {"", 20240315},
        {"0", 20240315},  // no date: the work date stays
    };
    for (const auto &c : cases) {
        ld_SetWorkDate(20240315);
        ui.dialog = [&](TarnUiDialog *d) { tarnUiDialogSetText(d, 102, c.typed), tarnUiDialogPress(d, 103); };
        EXPECT_EQ(ld_WorkDateSetup(nullptr), 1) << c.typed;
        EXPECT_EQ(ld_Today(), c.expect) << c.typed;
    }
}

TEST_F(DateDialogs, DateFilterListsItsControlsAndFillsBothDatesOnlyWhenAccepted) {
    int32_t from = 20240101, to = 0;
    ui.dialog = [](TarnUiDialog *d) {
        EXPECT_EQ(dialog_text(d, 101), "01.01.2024");
        EXPECT_EQ(dialog_text(d, 102), "00.00.0000");
        ASSERT_EQ(tarnUiDialogControlCount(d), 6);
        int32_t id = 0, kind = 0, edits = 0;
        const char *label = nullptr;
        for (int i = 0; i < 6; ++i) {
            ASSERT_EQ(tarnUiDialogControl(d, i, &id, &kind, &label), 1);
            edits += kind == TARN_UI_EDIT;
        }
        EXPECT_EQ(edits, 2);
        EXPECT_EQ(tarnUiDialogControl(d, 6, &id, &kind, &label), 0);
        EXPECT_EQ(tarnUiDialogSetText(d, 103, "x"), 0) << "buttons take no text";
        EXPECT_EQ(tarnUiDialogSetText(d, 101, "01.02.2024 and more"), 1);
        EXPECT_EQ(dialog_text(d, 101), "01.02.2024") << "typing stops at ten characters";
        tarnUiDialogSetText(d, 101, "5.4");
        tarnUiDialogSetText(d, 102, "h");
        EXPECT_EQ(dialog_text(d, 101), "05.04.2024") << "typing in the next field left the first";
        tarnUiDialogPress(d, 2);
    };
    EXPECT_EQ(ld_GetFilter(nullptr, &from, &to), 0);
    EXPECT_EQ(ui.dialogs, std::vector<std::string>{"DateFiltDlg"});
    EXPECT_EQ(from, 20240101);
    EXPECT_EQ(to, 0);

    ui.dialog = [](TarnUiDialog *d) {
        tarnUiDialogSetText(d, 101, "5.4");
        tarnUiDialogSetText(d, 102, "h");
        tarnUiDialogPress(d, 103);
    };
    EXPECT_EQ(ld_GetFilter(nullptr, &from, &to), 1);
    EXPECT_EQ(from, 20240405);
    EXPECT_EQ(to, 20240315);
}

}  // namespace
