// Without a window system, classes are names in a table, and every window answers as a
// top-level window without parent or menu does.
#include "platform/window.h"

#include <mutex>
#include <set>
#include <string>

namespace plat {
namespace {

struct ClassTable {
    std::mutex lock;
    std::set<std::string> names;
};

// Never destroyed: the library's destructor may run after the process's static objects are gone.
ClassTable &classes() {
    static ClassTable *t = new ClassTable;
    return *t;
}

std::string folded(const char *name) {
    std::string s(name ? name : "");
    for (char &c : s)
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    return s;
}

}  // namespace

bool register_window_class(HINSTANCE, const WindowClass &cls) {
    if (!cls.name || !*cls.name) return false;
    std::lock_guard<std::mutex> g(classes().lock);
    return classes().names.insert(folded(cls.name)).second;
}

bool unregister_window_class(HINSTANCE, const char *name) {
    std::lock_guard<std::mutex> g(classes().lock);
    return classes().names.erase(folded(name)) != 0;
}

void init_common_controls() {}

HMODULE load_richedit(const char *) { return nullptr; }

void free_library(HMODULE) {}

HWND get_parent(HWND) { return nullptr; }

HMENU get_menu(HWND) { return nullptr; }

BOOL set_menu_item_text(HMENU, uint32_t, const char *) { return 0; }

void set_window_text(HWND, const char *) {}

void yield_to_others() {}

int window_text(HWND, char *text, int size) {
    if (text && size > 0) text[0] = '\0';
    return 0;
}
int window_class(HWND, char *name, int size) {
    if (name && size > 0) name[0] = '\0';
    return 0;
}
uint32_t window_style(HWND) { return 0; }
HWND window_child(HWND, int) { return nullptr; }
int menu_item_count(HMENU) { return -1; }
int menu_item_text(HMENU, int, char *text, int size) {
    if (text && size > 0) text[0] = '\0';
    return 0;
}
bool set_menu_item_text_at(HMENU, int, const char *) { return false; }
HMENU sub_menu(HMENU, int) { return nullptr; }
intptr_t call_class_proc(HWND, uint32_t, uintptr_t, intptr_t) { return 0; }

}  // namespace plat
