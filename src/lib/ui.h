// The library's user interface: message boxes, modal dialogs and progress, through the
// application's provider where one is installed, else through the system.
#pragma once
#include <cstdint>
#include "tarngdi32.h"
#include "platform/dialog.h"

namespace tarn::ui {

// Window messages and notifications the dialog procedures handle, as the system numbers them.
constexpr uint32_t kInitDialog = 0x0110;
constexpr uint32_t kCommand = 0x0111;
constexpr uint32_t kEditKillFocus = 0x0200;
constexpr uint32_t kButtonClicked = 0;
constexpr uint32_t kListSelectionChanged = 1;
constexpr int32_t kIdOk = 1;
constexpr int32_t kIdCancel = 2;

// The system's dialog procedure: (dialog, message, wParam, lParam).
using DialogProc = plat::DialogProc;

struct ControlLayout {
    int32_t id;
    int32_t kind;  // TARN_UI_*
    const char *label;
};

// A dialog as a provider sees it; the same dialog is in the DLL's resources under `name`.
struct DialogLayout {
    const char *name;
    const char *title;
    const ControlLayout *controls;
    int count;
    int32_t firstFocus;
};

inline uintptr_t command_param(int32_t id, uint32_t code) {
    return (uintptr_t(code) << 16) | (uint32_t(id) & 0xFFFF);
}
inline int32_t command_id(uintptr_t wParam) { return int32_t(wParam & 0xFFFF); }
inline uint32_t command_code(uintptr_t wParam) { return uint32_t((wParam >> 16) & 0xFFFF); }

// Runs a modal dialog; its result, or 0 (cancelled) when it cannot be shown.
intptr_t run_dialog(HWND parent, const DialogLayout &layout, DialogProc proc, intptr_t param);

// Used by dialog procedures on the dialog they were given.
int get_item_text(HWND dialog, int32_t id, char *text, int size);
bool set_item_text(HWND dialog, int32_t id, const char *text);
void limit_item_text(HWND dialog, int32_t id, int chars);
void focus_next(HWND dialog);
// Ends the dialog with that result; may be called from another thread than the dialog's.
void end_dialog(HWND dialog, intptr_t result);
// Queues command id to a system dialog, which handles it when its loop next runs; false for a
// provider's dialog, which has no queue.
bool post_command(HWND dialog, int32_t id);
// Whether a dialog can be shown at all: a provider is installed or the system has dialogs.
bool dialogs_available();
// Lists: items are appended in order; selecting from here sends no notification.
void add_list_item(HWND dialog, int32_t id, const char *text);
// The selected item's text into text; its length ("" and 0 when nothing is selected).
int list_selection(HWND dialog, int32_t id, char *text, int size);
void select_list_index(HWND dialog, int32_t id, int index);
// Selects the item with exactly this text; nothing is selected when there is none.
void select_list_item(HWND dialog, int32_t id, const char *text);
bool get_check(HWND dialog, int32_t id);
void set_check(HWND dialog, int32_t id, bool on);

// A message box; `unattended` is the answer where nobody can be asked.
int32_t message_box(HWND parent, const char *text, const char *caption, uint32_t type,
                    int32_t unattended);
// Progress of a long operation; percent -1 when unknown.
void progress(const char *text, int32_t percent);

// Shows a print script through the provider's preview; false when there is none.
bool preview(const char *script, HWND parent);

// The provider, or null.
const TarnUiProvider *provider();

}  // namespace tarn::ui
