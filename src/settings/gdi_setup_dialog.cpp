// The library's settings dialog: screen zoom and profile type, kept in the public profile.
#include <cstdio>

#include "export.h"
#include "lib/ui.h"
#include "settings/settings_state.h"

namespace {

using namespace tarn::ui;

constexpr int32_t kZoomEdit = 101;
constexpr int32_t kTypeEdit = 102;

const ControlLayout kControls[] = {
    {100, TARN_UI_LABEL, "Bildschirm-Zoom (0 aus, 1 = 80 %, 2 = 112,5 %, 3 = 131,25 %):"},
    {kZoomEdit, TARN_UI_EDIT, ""},
    {103, TARN_UI_LABEL, "Ablage der Einstellungen (0-3):"},
    {kTypeEdit, TARN_UI_EDIT, ""},
    {kIdOk, TARN_UI_BUTTON, "OK"},
    {kIdCancel, TARN_UI_BUTTON, "Abbrechen"},
};
const DialogLayout kDialog = {"DlgGdiSetup", "Einstellungen", kControls, 6, kZoomEdit};

void show_number(HWND dialog, int32_t id, int32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "%d", int(value));
    set_item_text(dialog, id, text);
}

// A field holds one digit in the range it offers; anything else keeps the stored value.
bool read_digit(HWND dialog, int32_t id, int32_t lowest, int32_t highest, int32_t *value) {
    char text[16] = "";
    get_item_text(dialog, id, text, sizeof text);
    llstrtrim(lstrtrim(text));
    if (text[0] < '0' || text[0] > '9' || text[1] != '\0') return false;
    const int32_t v = text[0] - '0';
    if (v < lowest || v > highest) return false;
    *value = v;
    return true;
}

intptr_t TARN_CALL gdi_setup_proc(HWND dialog, uint32_t msg, uintptr_t wParam, intptr_t) {
    if (msg == kInitDialog) {
        limit_item_text(dialog, kZoomEdit, 1);
        limit_item_text(dialog, kTypeEdit, 1);
        show_number(dialog, kZoomEdit, koGetPublicLong("TARNGDI", "Zoom", 0));
        show_number(dialog, kTypeEdit,
                    koGetPublicLong("TARNGDI", "RegProfileType", tarn::settings::profile_type()));
        return 1;
    }
    if (msg != kCommand) return 0;
    const int32_t id = command_id(wParam);
    if (id == kIdOk) {
        int32_t zoom = 0, type = 0;
        if (read_digit(dialog, kZoomEdit, 0, 3, &zoom)) koWritePublicLong("TARNGDI", "Zoom", zoom);
        if (read_digit(dialog, kTypeEdit, Is_Longhorn() ? 1 : 0, 3, &type))
            koWritePublicLong("TARNGDI", "RegProfileType", type);
        end_dialog(dialog, 1);
        return 1;
    }
    if (id == kIdCancel) {
        end_dialog(dialog, 0);
        return 1;
    }
    return 0;
}

}  // namespace

TARN_API intptr_t TARN_CALL tarnGdiSetup(HWND parent) {
    const int32_t previous = koSetProfileType(-1);
    const intptr_t result = run_dialog(parent, kDialog, gdi_setup_proc, 0);
    tarn::settings::set_profile_type(previous);
    return result;
}
