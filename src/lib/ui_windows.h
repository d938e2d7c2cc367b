// Windows and menus as the language layer sees them: the system's on Windows, an application's
// own through its UI provider where the provider offers them.
#pragma once
#include <cstdint>

#include "tarngdi32.h"

namespace tarn::ui {

int window_text(HWND wnd, char *text, int size);
void set_window_text(HWND wnd, const char *text);
int window_class(HWND wnd, char *name, int size);
uint32_t window_style(HWND wnd);
HWND window_child(HWND parent, int index);
int menu_item_count(HMENU menu);
int menu_item_text(HMENU menu, int position, char *text, int size);
void set_menu_item_text(HMENU menu, int position, const char *text);
HMENU sub_menu(HMENU menu, int position);

}  // namespace tarn::ui
