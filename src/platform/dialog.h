// The system's own dialogs and message boxes.
#pragma once
#include <cstdint>
#include "tarn_types.h"

namespace plat {

using DialogProc = intptr_t(TARN_CALL *)(HWND, uint32_t, uintptr_t, intptr_t);

// Runs the dialog resource `name` of `module` modally; -1 when the system has no such dialogs.
intptr_t run_resource_dialog(HINSTANCE module, const char *name, HWND parent, DialogProc proc,
                             intptr_t param);
// Whether this system shows the resource dialogs itself (Windows) or has none (elsewhere).
bool system_dialogs();
// Posts WM_COMMAND id to the dialog; false when it cannot be queued.
bool post_dialog_command(HWND dialog, int32_t id);
int dialog_item_text(HWND dialog, int32_t id, char *text, int size);
bool set_dialog_item_text(HWND dialog, int32_t id, const char *text);
void limit_dialog_item_text(HWND dialog, int32_t id, int chars);
void dialog_focus_next(HWND dialog);
void end_dialog(HWND dialog, intptr_t result);
// List boxes: append an item, select one by index (-1: none; no notification), find an item's
// index by its exact text (-1 when missing), the selected item's text ("" and 0 when none).
void dialog_list_add(HWND dialog, int32_t id, const char *text);
void dialog_list_select(HWND dialog, int32_t id, int index);
int dialog_list_find(HWND dialog, int32_t id, const char *text);
int dialog_list_selected(HWND dialog, int32_t id, char *text, int size);
// Check boxes.
bool dialog_checked(HWND dialog, int32_t id);
void dialog_check(HWND dialog, int32_t id, bool on);
// A message box; -1 when the system has none to show.
int32_t message_box(HWND parent, const char *text, const char *caption, uint32_t type);

}  // namespace plat
