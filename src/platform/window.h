// Window classes, windows and menus of the library frame.
#pragma once
#include <cstdint>
#include "tarn_types.h"

namespace plat {

enum ClassStyle : uint32_t {  // the class styles the library uses, as the system numbers them
    kClassVRedraw = 0x0001,
    kClassHRedraw = 0x0002,
    kClassDblClks = 0x0008,
    kClassGlobal = 0x4000,
};
enum StockBrush { kNoBrush = -1, kWhiteBrush = 0, kLightGrayBrush = 1 };

struct WindowClass {
    const char *name;
    uint32_t style;
    int windowExtra;
    HBRUSH brush;  // used when stock is kNoBrush
    StockBrush stock;
};

bool register_window_class(HINSTANCE module, const WindowClass &cls);
bool unregister_window_class(HINSTANCE module, const char *name);
void init_common_controls();
// Loads the rich-edit library from `directory`, failing that by plain name; null when neither loads.
HMODULE load_richedit(const char *directory);
void free_library(HMODULE module);

HWND get_parent(HWND wnd);
HMENU get_menu(HWND wnd);
BOOL set_menu_item_text(HMENU menu, uint32_t commandId, const char *text);

// The window's text (its title for a top-level window).
void set_window_text(HWND wnd, const char *text);
// What the language layer reads and changes of windows and menus. Elsewhere than Windows there
// are no system windows: every answer is 0, "" or null and nothing changes.
int window_text(HWND wnd, char *text, int size);  // GetWindowTextA: the length
int window_class(HWND wnd, char *name, int size);  // GetClassNameA: the length
uint32_t window_style(HWND wnd);
HWND window_child(HWND parent, int index);  // the index-th direct child, null past the last
int menu_item_count(HMENU menu);            // -1 for no menu
int menu_item_text(HMENU menu, int position, char *text, int size);
bool set_menu_item_text_at(HMENU menu, int position, const char *text);
HMENU sub_menu(HMENU menu, int position);
// The window class's own procedure for the message (the class's, not the window's own).
intptr_t call_class_proc(HWND wnd, uint32_t msg, uintptr_t wParam, intptr_t lParam);

// Lets other applications run for a moment: dispatches the messages waiting for this thread.
void yield_to_others();

}  // namespace plat
