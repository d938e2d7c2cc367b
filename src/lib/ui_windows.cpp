#include "lib/ui_windows.h"

#include "lib/ui.h"
#include "platform/window.h"

namespace tarn::ui {
namespace {

// The provider when it offers the call, else null and the system answers.
template <class Slot>
const TarnUiProvider *offering(Slot TarnUiProvider::*slot) {
    const TarnUiProvider *p = provider();
    return p && p->*slot ? p : nullptr;
}

void terminate(char *text, int size) {
    if (text && size > 0) text[0] = '\0';
}

}  // namespace

int window_text(HWND wnd, char *text, int size) {
    if (const TarnUiProvider *p = offering(&TarnUiProvider::windowText)) {
        terminate(text, size);
        return p->windowText(p->context, wnd, text, size);
    }
    return plat::window_text(wnd, text, size);
}

void set_window_text(HWND wnd, const char *text) {
    if (const TarnUiProvider *p = offering(&TarnUiProvider::setWindowText))
        return p->setWindowText(p->context, wnd, text);
    plat::set_window_text(wnd, text);
}

int window_class(HWND wnd, char *name, int size) {
    if (const TarnUiProvider *p = offering(&TarnUiProvider::windowClass)) {
        terminate(name, size);
        return p->windowClass(p->context, wnd, name, size);
    }
    return plat::window_class(wnd, name, size);
}

uint32_t window_style(HWND wnd) {
    if (const TarnUiProvider *p = offering(&TarnUiProvider::windowStyle))
        return p->windowStyle(p->context, wnd);
    return plat::window_style(wnd);
}

HWND window_child(HWND parent, int index) {
    if (const TarnUiProvider *p = offering(&TarnUiProvider::windowChild))
        return p->windowChild(p->context, parent, index);
    return plat::window_child(parent, index);
}

int menu_item_count(HMENU menu) {
    if (const TarnUiProvider *p = offering(&TarnUiProvider::menuItemCount))
        return p->menuItemCount(p->context, menu);
    return plat::menu_item_count(menu);
}

int menu_item_text(HMENU menu, int position, char *text, int size) {
    if (const TarnUiProvider *p = offering(&TarnUiProvider::menuItemText)) {
        terminate(text, size);
        return p->menuItemText(p->context, menu, position, text, size);
    }
    return plat::menu_item_text(menu, position, text, size);
}

void set_menu_item_text(HMENU menu, int position, const char *text) {
    if (const TarnUiProvider *p = offering(&TarnUiProvider::setMenuItemText))
        return p->setMenuItemText(p->context, menu, position, text);
    plat::set_menu_item_text_at(menu, position, text);
}

HMENU sub_menu(HMENU menu, int position) {
    if (const TarnUiProvider *p = offering(&TarnUiProvider::subMenu))
        return p->subMenu(p->context, menu, position);
    return plat::sub_menu(menu, position);
}

}  // namespace tarn::ui
