// Dialogs driven through a UI provider, as an application without the system's dialogs runs
// them: the provider types, leaves fields and presses buttons.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tarngdi32.h"

namespace {

struct Script {
    std::function<void(TarnUiDialog *)> run;
    std::string name;
    std::string boxText;
};

Script *current = nullptr;

void run_dialog(void *, TarnUiDialog *d) {
    current->name = tarnUiDialogName(d);
    current->run(d);
}

int32_t message_box(void *, const char *text, const char *, uint32_t) {
    current->boxText = text;
    return 6;
}

class ProviderTest : public ::testing::Test {
protected:
    void SetUp() override {
        TarnUiProvider p = {};
        p.size = sizeof p;
        p.runDialog = run_dialog;
        p.messageBox = message_box;
        tarnSetUiProvider(&p);
        current = &script;
        saved = ld_Today();
        ld_SetWorkDate(20240315);
    }
    void TearDown() override {
        tarnSetUiProvider(nullptr);
        current = nullptr;
        ld_SetWorkDate(saved);
    }
    Script script;
    int32_t saved = 0;
};

std::string text_of(TarnUiDialog *d, int32_t id) {
    char buf[64];
    tarnUiDialogGetText(d, id, buf, sizeof buf);
    return buf;
}

TEST_F(ProviderTest, WorkDateIsTakenWhenTheFieldIsLeftAndRestoredOnCancel) {
    script.run = [](TarnUiDialog *d) {
        EXPECT_EQ(text_of(d, 102), "15.03.2024");
        EXPECT_EQ(tarnUiDialogFocus(d), 102);
        tarnUiDialogSetText(d, 102, "+20");
        tarnUiDialogLeave(d, 102);
        EXPECT_EQ(text_of(d, 102), "04.04.2024");
        EXPECT_EQ(ld_Today(), 20240404) << "taken at once, before the dialog closes";
        tarnUiDialogPress(d, 2);
        intptr_t r = -1;
        EXPECT_EQ(tarnUiDialogEnded(d, &r), 1);
        EXPECT_EQ(r, 0);
    };
    EXPECT_EQ(ld_WorkDateSetup(nullptr), 0);
    EXPECT_EQ(script.name, "WorkDateDialog");
    EXPECT_EQ(ld_Today(), 20240315);
}

TEST_F(ProviderTest, WorkDateAcceptButtonNormalisesAndCloses) {
    const struct { const char *typed; int32_t expect; } cases[] = {
        {"1.1.79", 20790101}, {"31.2", 20240302}, {"12/25", 20251201}, {"", 20240315},
        {"0", 20240315},  // no date: the work date stays
    };
    for (const auto &c : cases) {
        ld_SetWorkDate(20240315);
        script.run = [&](TarnUiDialog *d) {
            tarnUiDialogSetText(d, 102, c.typed);
            tarnUiDialogPress(d, 103);
        };
        EXPECT_EQ(ld_WorkDateSetup(nullptr), 1) << c.typed;
        EXPECT_EQ(ld_Today(), c.expect) << c.typed;
    }
}

TEST_F(ProviderTest, EnterMovesToTheNextControlInsteadOfClosing) {
    script.run = [](TarnUiDialog *d) {
        tarnUiDialogSetText(d, 102, "g");
        tarnUiDialogPress(d, 1);
        EXPECT_EQ(tarnUiDialogEnded(d, nullptr), 0);
        EXPECT_EQ(tarnUiDialogFocus(d), 103);
        EXPECT_EQ(text_of(d, 102), "14.03.2024") << "leaving the field normalised it";
    };
    EXPECT_EQ(ld_WorkDateSetup(nullptr), 0) << "a dialog the provider leaves open is cancelled";
    EXPECT_EQ(ld_Today(), 20240315);
}

TEST_F(ProviderTest, DateFilterFillsBothDatesOnlyWhenAccepted) {
    int32_t from = 20240101, to = 0;
    script.run = [](TarnUiDialog *d) {
        EXPECT_EQ(text_of(d, 101), "01.01.2024");
        EXPECT_EQ(text_of(d, 102), "00.00.0000");
        tarnUiDialogSetText(d, 101, "5.4");
        tarnUiDialogSetText(d, 102, "h");
        EXPECT_EQ(text_of(d, 101), "05.04.2024") << "typing in the next field left the first";
        tarnUiDialogPress(d, 2);
    };
    EXPECT_EQ(ld_GetFilter(nullptr, &from, &to), 0);
    EXPECT_EQ(script.name, "DateFiltDlg");
    EXPECT_EQ(from, 20240101);
    EXPECT_EQ(to, 0);

    script.run = [](TarnUiDialog *d) {
        tarnUiDialogSetText(d, 101, "5.4");
        tarnUiDialogSetText(d, 102, "h");
        tarnUiDialogPress(d, 103);
    };
    EXPECT_EQ(ld_GetFilter(nullptr, &from, &to), 1);
    EXPECT_EQ(from, 20240405);
    EXPECT_EQ(to, 20240315);
}

TEST_F(ProviderTest, ControlsAreListedForTheProvider) {
    script.run = [](TarnUiDialog *d) {
        ASSERT_EQ(tarnUiDialogControlCount(d), 6);
        int32_t id = 0, kind = 0;
        const char *label = nullptr;
        int edits = 0;
        for (int i = 0; i < tarnUiDialogControlCount(d); ++i) {
            ASSERT_EQ(tarnUiDialogControl(d, i, &id, &kind, &label), 1);
            edits += kind == TARN_UI_EDIT;
        }
        EXPECT_EQ(edits, 2);
        EXPECT_EQ(tarnUiDialogControl(d, 6, &id, &kind, &label), 0);
        EXPECT_EQ(tarnUiDialogSetText(d, 103, "x"), 0) << "buttons take no text";
        EXPECT_EQ(tarnUiDialogSetText(d, 101, "01.02.2024 and more"), 1);
        EXPECT_EQ(text_of(d, 101), "01.02.2024") << "typing stops at ten characters";
    };
    int32_t from = 0, to = 0;
    EXPECT_EQ(ld_GetFilter(nullptr, &from, &to), 0);
}

}  // namespace
