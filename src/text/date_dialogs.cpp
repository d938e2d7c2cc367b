// The two date dialogs: the work date, and a from-to date range.
#include "export.h"
#include "lib/ui.h"

namespace {

using namespace tarn::ui;

constexpr int32_t kWorkDateEdit = 102;
constexpr int32_t kFromEdit = 101;
constexpr int32_t kToEdit = 102;
constexpr int32_t kAccept = 103;
constexpr int kDateChars = 10;

const ControlLayout kWorkDateControls[] = {
    {100, TARN_UI_LABEL, "Arbeitsdatum:"},
    {kWorkDateEdit, TARN_UI_EDIT, ""},
    {kAccept, TARN_UI_BUTTON, "OK"},
    {kIdCancel, TARN_UI_BUTTON, "Abbrechen"},
};
const DialogLayout kWorkDateDialog = {"WorkDateDialog", "Arbeitsdatum", kWorkDateControls, 4,
                                      kWorkDateEdit};

const ControlLayout kFilterControls[] = {
    {100, TARN_UI_LABEL, "von:"},    {kFromEdit, TARN_UI_EDIT, ""},
    {104, TARN_UI_LABEL, "bis:"},    {kToEdit, TARN_UI_EDIT, ""},
    {kAccept, TARN_UI_BUTTON, "OK"}, {kIdCancel, TARN_UI_BUTTON, "Abbrechen"},
};
const DialogLayout kFilterDialog = {"DateFiltDlg", "Zeitraum", kFilterControls, 6, kFromEdit};

// Rewrites a date field in normal form; returns its date number (0 for no date).
int32_t normalise_field(HWND dialog, int32_t id) {
    char typed[64] = "", normal[32] = "";
    get_item_text(dialog, id, typed, sizeof typed);
    koFormatDateString(normal, typed);
    set_item_text(dialog, id, normal);
    return ld_FromStringEx(normal);
}

void take_work_date(HWND dialog) {
    const int32_t d = normalise_field(dialog, kWorkDateEdit);
    // A field left empty or without a date keeps the work date as it was.
    if (d != 0) ld_SetWorkDate(d);
}

struct FilterRange {
    int32_t *from;
    int32_t *to;
};

void show_date(HWND dialog, int32_t id, int32_t date) {
    char text[32];
    ld_ToStringEx(text, date);
    set_item_text(dialog, id, text);
    normalise_field(dialog, id);
}

// Cancel closes with 0; Enter (the default button) moves to the next control instead of closing.
intptr_t cancel_or_move_on(HWND dialog, int32_t id) {
    if (id == kIdCancel) {
        end_dialog(dialog, 0);
        return 1;
    }
    if (id == kIdOk) {
        focus_next(dialog);
        return 1;
    }
    return 0;
}

intptr_t TARN_CALL filter_dialog_proc(HWND dialog, uint32_t msg, uintptr_t wParam,
                                      intptr_t lParam) {
    static FilterRange *range = nullptr;  // one modal filter dialog at a time
    if (msg == kInitDialog) {
        range = reinterpret_cast<FilterRange *>(lParam);
        limit_item_text(dialog, kFromEdit, kDateChars);
        limit_item_text(dialog, kToEdit, kDateChars);
        show_date(dialog, kFromEdit, range && range->from ? *range->from : 0);
        show_date(dialog, kToEdit, range && range->to ? *range->to : 0);
        return 1;
    }
    if (msg != kCommand) return 0;
    const int32_t id = command_id(wParam);
    const uint32_t code = command_code(wParam);
    if ((id == kFromEdit || id == kToEdit) && code == kEditKillFocus) {
        normalise_field(dialog, id);
        return 1;
    }
    if (id == kAccept && code == kButtonClicked) {
        const int32_t from = normalise_field(dialog, kFromEdit);
        const int32_t to = normalise_field(dialog, kToEdit);
        if (range && range->from) *range->from = from;
        if (range && range->to) *range->to = to;
        end_dialog(dialog, 1);
        return 1;
    }
    return cancel_or_move_on(dialog, id);
}

}  // namespace

TARN_API intptr_t TARN_CALL ld_WorkDateSetupDlgProc(HWND dialog, uint32_t msg, uintptr_t wParam,
                                                    intptr_t lParam) {
    if (msg == kInitDialog) {
        limit_item_text(dialog, kWorkDateEdit, kDateChars);
        char text[32];
        ld_ToStringEx(text, ld_Today());
        set_item_text(dialog, kWorkDateEdit, text);
        normalise_field(dialog, kWorkDateEdit);
        return 1;
    }
    if (msg != kCommand) return 0;
    const int32_t id = command_id(wParam);
    const uint32_t code = command_code(wParam);
    if (id == kWorkDateEdit && code == kEditKillFocus) {
        take_work_date(dialog);
        return 1;
    }
    if (id == kAccept && code == kButtonClicked) {
        take_work_date(dialog);
        end_dialog(dialog, 1);
        return 1;
    }
    return cancel_or_move_on(dialog, id);
}

TARN_API int32_t TARN_CALL ld_WorkDateSetup(HWND parent) {
    const int32_t before = ld_Today();
    const intptr_t r = run_dialog(parent, kWorkDateDialog, ld_WorkDateSetupDlgProc, 0);
    if (r != 1) {
        ld_SetWorkDate(before);
        return 0;
    }
    return 1;
}

TARN_API int32_t TARN_CALL ld_GetFilter(HWND parent, int32_t *from, int32_t *to) {
    FilterRange range{from, to};
    return run_dialog(parent, kFilterDialog, filter_dialog_proc,
                      reinterpret_cast<intptr_t>(&range)) == 1
               ? 1
               : 0;
}
