// Dialogs driven through a UI provider, as an application without the system's dialogs runs
// them: the provider types, leaves fields and presses buttons.
#include <gtest/gtest.h>

#include "harness.h"

namespace {

using harness::dialog_text;

// The work date is 15.03.2024 in every test and put back afterwards.
struct DateDialogs : ::testing::Test {
    void SetUp() override { saved = ld_Today(), ld_SetWorkDate(20240315); }
    void TearDown() override { ld_SetWorkDate(saved); }
    harness::FakeUi ui;
    int32_t saved = 0;
};

// Leaving the field takes the date at once, Cancel puts the old one back, Enter moves on instead
// of closing, a dialog left open is cancelled; the accept button normalises what was typed.
TEST_F(DateDialogs, WorkDateDialog) {
    ui.dialog = [](TarnUiDialog *d) {
        EXPECT_EQ(dialog_text(d, 102), "15.03.2024");
        tarnUiDialogSetText(d, 102, "+20");
        tarnUiDialogLeave(d, 102);
        EXPECT_EQ(dialog_text(d, 102) + " " + std::to_string(ld_Today()), "04.04.2024 20240404");
        tarnUiDialogSetText(d, 102, "1.4");
        tarnUiDialogPress(d, 1);
        EXPECT_EQ(tarnUiDialogEnded(d, nullptr), 0);
        EXPECT_EQ(tarnUiDialogFocus(d), 103);
        EXPECT_EQ(dialog_text(d, 102), "01.04.2024") << "leaving the field normalised it";
        tarnUiDialogPress(d, 2);
    };
    EXPECT_EQ(ld_WorkDateSetup(nullptr), 0);
    EXPECT_EQ(ui.dialogs, std::vector<std::string>{"WorkDateDialog"});
    EXPECT_EQ(ld_Today(), 20240315);
    ui.dialog = [](TarnUiDialog *d) { tarnUiDialogSetText(d, 102, "+1"), tarnUiDialogLeave(d, 102); };
    EXPECT_EQ(ld_WorkDateSetup(nullptr), 0);
    EXPECT_EQ(ld_Today(), 20240315);
    const struct {
        const char *typed;
        int32_t expect;
    } cases[] = {{"0", 20240315} /* no date */, {"12/25", 20251201}};
    for (const auto &c : cases) {
        ui.dialog = [&](TarnUiDialog *d) { tarnUiDialogSetText(d, 102, c.typed), tarnUiDialogPress(d, 103); };
        EXPECT_EQ(ld_WorkDateSetup(nullptr), 1) << c.typed;
        EXPECT_EQ(ld_Today(), c.expect) << c.typed;
    }
}

// The filter's two dates come back only when accepted; typing stops at ten characters, and typing
// in the next field leaves the first, which normalises it.
TEST_F(DateDialogs, DateFilterFillsBothDatesOnlyWhenAccepted) {
    int32_t from = 20240101, to = 0;
    for (int32_t button : {2, 103}) {
        ui.dialog = [button](TarnUiDialog *d) {
            EXPECT_EQ(dialog_text(d, 101) + "|" + dialog_text(d, 102), "01.01.2024|00.00.0000");
            EXPECT_EQ(tarnUiDialogSetText(d, 103, "x"), 0) << "buttons take no text";
            tarnUiDialogSetText(d, 101, "01.02.2024 and more");
            EXPECT_EQ(dialog_text(d, 101), "01.02.2024");
            tarnUiDialogSetText(d, 101, "5.4");
            tarnUiDialogSetText(d, 102, "h");
            EXPECT_EQ(dialog_text(d, 101), "05.04.2024");
            tarnUiDialogPress(d, button);
        };
        EXPECT_EQ(ld_GetFilter(nullptr, &from, &to), button == 103 ? 1 : 0);
        EXPECT_EQ(std::vector<int32_t>({from, to}),
                  button == 103 ? std::vector<int32_t>({20240405, 20240315}) : std::vector<int32_t>({20240101, 0}));
    }
    EXPECT_EQ(ui.dialogs, std::vector<std::string>({"DateFiltDlg", "DateFiltDlg"}));
}

}  // namespace
