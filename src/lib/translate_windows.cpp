// Window, control and menu texts through the current translator.
#include <cctype>
#include <cstring>
#include <string>

#include "export.h"
#include "lib/language.h"
#include "lib/ui_windows.h"
#include "platform/window.h"

namespace {

using namespace tarn;

constexpr int kWindowTextBytes = 128;
constexpr int kClassNameBytes = 32;
constexpr int kMenuTextBytes = 80;
constexpr uint32_t kGetText = 13;  // WM_GETTEXT
constexpr const char *kMenuStart = "Translatet";

std::string upper(const char *text) {
    std::string s(text);
    for (char &c : s) c = char(std::toupper(static_cast<unsigned char>(c)));
    return s;
}

// Text statics (left, centred, right: the two low style bits below 3) and buttons that are not
// owner-drawn (style & 11 below 11).
bool has_translatable_text(HWND child) {
    char name[kClassNameBytes] = "";
    ui::window_class(child, name, sizeof name);
    const std::string kind = upper(name);
    const uint32_t style = ui::window_style(child);
    return (kind == "STATIC" && (style & 3) < 3) || (kind == "BUTTON" && (style & 11) < 11);
}

// `result` carries over from item to item: a translator that writes nothing leaves the text of
// the item before (or "Translatet" before the first) in place.
void translate_menu(HMENU menu, char *result) {
    const int count = ui::menu_item_count(menu);
    for (int position = 0; position < count; ++position) {
        char text[kMenuTextBytes] = "";
        ui::menu_item_text(menu, position, text, sizeof text);
        char *tab = std::strchr(text, '\t');
        const std::string shortcut = tab ? std::string(tab + 1) : std::string();
        if (tab) *tab = '\0';
        const int room = kMenuTextBytes - 1 - int(shortcut.size());
        if (room > 0) lang::translate(text, result, room);
        result[kMenuTextBytes - 1] = '\0';
        std::string item = result;
        if (tab) item = item.substr(0, size_t(kMenuTextBytes - 2 - shortcut.size())) + "\t" + shortcut;
        ui::set_menu_item_text(menu, position, item.substr(0, kMenuTextBytes - 1).c_str());
        if (HMENU sub = ui::sub_menu(menu, position)) translate_menu(sub, result);
    }
}

}  // namespace

TARN_API int32_t TARN_CALL koLanguageTranslateWindowText(HWND window) {
    char text[kWindowTextBytes] = "";
    ui::window_text(window, text, sizeof text);
    lang::translate(std::string(text).c_str(), text, sizeof text);
    ui::set_window_text(window, text);
    return 0;
}

TARN_API int32_t TARN_CALL koLanguageTranslateAllStaticChilds(HWND parent) {
    for (int i = 0;; ++i) {
        HWND child = ui::window_child(parent, i);
        if (!child) return 0;
        if (has_translatable_text(child)) koLanguageTranslateWindowText(child);
    }
}

TARN_API int32_t TARN_CALL koLanguageTranslateMenu(HMENU menu) {
    char result[kMenuTextBytes] = "";
    std::strcpy(result, kMenuStart);
    translate_menu(menu, result);
    return 0;
}

TARN_API intptr_t TARN_CALL koLanguageLayerWndProc(HWND window, uint32_t msg, uintptr_t wParam,
                                                   intptr_t lParam) {
    if (msg != kGetText || lParam == 0 || wParam == 0)
        return plat::call_class_proc(window, msg, wParam, lParam);
    char *block = static_cast<char *>(AllocGlobal(uint32_t(wParam)));
    if (!block) return plat::call_class_proc(window, msg, wParam, lParam);
    plat::call_class_proc(window, msg, wParam, reinterpret_cast<intptr_t>(block));
    block[wParam - 1] = '\0';
    char *out = reinterpret_cast<char *>(lParam);
    lang::translate(block, out, int32_t(wParam));
    FreeGlobal(block);
    return intptr_t(std::strlen(out));
}
