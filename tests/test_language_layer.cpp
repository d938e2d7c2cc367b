// The language layer: the default translator, an application's one with its references, and dialog,
// window, control and menu texts through it (an application's own windows through the UI provider).
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "harness.h"

namespace {

int32_t copy_out(const std::string &s, char *out, int32_t size) {
    std::strncpy(out, s.c_str(), size_t(size) - 1);
    out[size - 1] = '\0';
    return int32_t(std::strlen(out));
}

// A translator that writes its texts in upper case, keeps what it was asked and counts its references.
struct Shouting : IkoLanguageLayer {
    int refs = 0;
    std::vector<std::string> asked;
};

int32_t TARN_CALL shout_query(IkoLanguageLayer *self, const GUID *, void **object) {
    *object = self;
    return 0;
}
uint32_t TARN_CALL shout_add(IkoLanguageLayer *self) { return uint32_t(++static_cast<Shouting *>(self)->refs); }
uint32_t TARN_CALL shout_release(IkoLanguageLayer *self) { return uint32_t(--static_cast<Shouting *>(self)->refs); }
int32_t TARN_CALL shout_translate(IkoLanguageLayer *self, int32_t, const char *src, char *dst, int32_t size) {
    static_cast<Shouting *>(self)->asked.emplace_back(src);
    std::string up = src;
    for (char &c : up) c = char(std::toupper(static_cast<unsigned char>(c)));
    copy_out(up, dst, size);
    return 0;
}
int32_t TARN_CALL shout_id(IkoLanguageLayer *, int32_t) { return 0; }
int32_t TARN_CALL shout_get(IkoLanguageLayer *, int32_t *id) { return *id = 0; }
const IkoLanguageLayerVtbl kShouting = {shout_query, shout_add, shout_release, shout_translate, shout_id, shout_get};

// Windows and menus of an application's own toolkit, offered through the provider.
struct FakeWindow {
    std::string cls, text;
    uint32_t style;
    std::vector<HWND> children;
};
struct FakeItem {
    std::string text;
    HMENU sub;
};
std::map<HWND, FakeWindow> gWindows;
std::map<HMENU, std::vector<FakeItem>> gMenus;

int32_t TARN_CALL fake_class(void *, HWND w, char *name, int32_t size) { return copy_out(gWindows[w].cls, name, size); }
uint32_t TARN_CALL fake_style(void *, HWND w) { return gWindows[w].style; }
int32_t TARN_CALL fake_text(void *, HWND w, char *text, int32_t size) { return copy_out(gWindows[w].text, text, size); }
void TARN_CALL fake_set_text(void *, HWND w, const char *text) { gWindows[w].text = text; }
HWND TARN_CALL fake_child(void *, HWND parent, int32_t i) {
    const auto &c = gWindows[parent].children;
    return i < int32_t(c.size()) ? c[size_t(i)] : HWND(nullptr);
}
int32_t TARN_CALL fake_count(void *, HMENU m) { return int32_t(gMenus[m].size()); }
int32_t TARN_CALL fake_item(void *, HMENU m, int32_t i, char *text, int32_t size) {
    return copy_out(gMenus[m][size_t(i)].text, text, size);
}
void TARN_CALL fake_set_item(void *, HMENU m, int32_t i, const char *text) { gMenus[m][size_t(i)].text = text; }
HMENU TARN_CALL fake_sub(void *, HMENU m, int32_t i) { return gMenus[m][size_t(i)].sub; }

// Windows and menus to translate, the system's where there are any, else the toolkit's (its
// provider installed for the scene's life).
struct Scene {
    bool real = false;
    void *top = nullptr, *label = nullptr, *button = nullptr, *icon = nullptr, *owner = nullptr;
    void *menu = nullptr, *sub = nullptr;

    Scene() {
        top = test_env::create_window("STATIC", "Fenster", 0, nullptr);
        real = top != nullptr;
        if (real) {
            label = test_env::create_window("Static", "Kunde", 0x0 /* SS_LEFT */, top);
            button = test_env::create_window("BUTTON", "Sichern", 0x0 /* BS_PUSHBUTTON */, top);
            icon = test_env::create_window("STATIC", "symbol", 0x3 /* SS_ICON */, top);
            owner = test_env::create_window("BUTTON", "eigen", 0xB /* BS_OWNERDRAW */, top);
            sub = test_env::create_menu();
            test_env::append_menu_item(sub, "Einfuegen\tCtrl+V", nullptr);
            menu = test_env::create_menu();
            test_env::append_menu_item(menu, "Kopieren\tCtrl+C", nullptr);
            test_env::append_menu_item(menu, "Bearbeiten", sub);
            return;
        }
        const auto h = [](uintptr_t n) { return reinterpret_cast<HWND>(n); };
        top = h(1), label = h(2), button = h(3), icon = h(4), owner = h(5);
        gWindows = {{h(1), {"Dialog", "Fenster", 0, {h(2), h(3), h(4), h(5)}}},
                    {h(2), {"Static", "Kunde", 0x0, {}}},
                    {h(3), {"BUTTON", "Sichern", 0x0, {}}},
                    {h(4), {"STATIC", "symbol", 0x3, {}}},
                    {h(5), {"BUTTON", "eigen", 0xB, {}}}};
        menu = reinterpret_cast<HMENU>(uintptr_t(10));
        sub = reinterpret_cast<HMENU>(uintptr_t(11));
        gMenus = {{HMENU(menu), {{"Kopieren\tCtrl+C", nullptr}, {"Bearbeiten", HMENU(sub)}}},
                  {HMENU(sub), {{"Einfuegen\tCtrl+V", nullptr}}}};
        TarnUiProvider p = {};
        p.size = sizeof p;
        p.windowClass = fake_class;
        p.windowStyle = fake_style;
        p.windowText = fake_text;
        p.setWindowText = fake_set_text;
        p.windowChild = fake_child;
        p.menuItemCount = fake_count;
        p.menuItemText = fake_item;
        p.setMenuItemText = fake_set_item;
        p.subMenu = fake_sub;
        tarnSetUiProvider(&p);
    }
    ~Scene() {
        if (!real) tarnSetUiProvider(nullptr);
        if (!real) return;
        test_env::destroy_window(top);
        test_env::destroy_menu(menu);
    }
    std::string text(void *w) const { return real ? test_env::window_text(w) : gWindows[HWND(w)].text; }
    std::string item(void *m, int i) const {
        return real ? test_env::menu_item_text(m, i) : gMenus[HMENU(m)][size_t(i)].text;
    }
};

}  // namespace

// The default translator copies, writes the marker for id -2, and answers its interface only.
TEST(LanguageLayer, TheDefaultTranslator) {
    IkoLanguageLayer *layer = nullptr;
    ASSERT_EQ(koQueryLanguageLayer(&layer), 0);
    ASSERT_NE(layer, nullptr);
    char out[64] = "";
    const struct {
        int32_t current, id;
        const char *want;
    } cases[] = {{0, 0, "Datei"}, {-2, 0, "TranslateTextA(-2,..)"}, {-2, 5, "Datei"}, {0, -2, "TranslateTextA(-2,..)"}};
    for (const auto &c : cases) {
        layer->lpVtbl->SetCurrentId(layer, c.current);
        int32_t id = 99;
        layer->lpVtbl->GetCurrentId(layer, &id);
        EXPECT_EQ(id, c.current);
        EXPECT_EQ(layer->lpVtbl->TranslateTextA(layer, c.id, "Datei", out, sizeof out), 0);
        EXPECT_STREQ(out, c.want);
    }
    layer->lpVtbl->TranslateTextA(layer, 0, "abcdefgh", out, 4);
    layer->lpVtbl->SetCurrentId(layer, 0);
    EXPECT_STREQ(out, "abc") << "cut to the size";
    const GUID other = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    void *object = out;  // not null before the call
    EXPECT_EQ(layer->lpVtbl->QueryInterface(layer, &other, &object), int32_t(0x80004002u));
    EXPECT_EQ(object, nullptr);
}

// An installed translator gets one reference, and null brings back the default, which lets go of
// it; the library's dialogs, windows, controls by class and style, and menus with their shortcuts
// pass through it.
TEST(LanguageLayer, DialogsWindowsControlsAndMenusThroughATranslator) {
    Shouting shouting;
    shouting.lpVtbl = &kShouting;
    ASSERT_EQ(koSetLanguageLayer(&shouting), 0);
    EXPECT_EQ(shouting.refs, 1);
    IkoLanguageLayer *current = nullptr;
    koQueryLanguageLayer(&current);
    EXPECT_EQ(current, &shouting);
    std::string title, label;
    {
        harness::FakeUi ui;
        ui.dialog = [&](TarnUiDialog *d) {
            title = tarnUiDialogTitle(d);
            const char *text = nullptr;
            tarnUiDialogControl(d, 0, nullptr, nullptr, &text);
            label = text;
            tarnUiDialogPress(d, 2);
        };
        koPrinterSetupDlg(nullptr);
    }
    EXPECT_EQ(title, "DRUCKER EINRICHTEN");
    EXPECT_EQ(label, "LOGISCHE DRUCKER:");

    Scene scene;
    EXPECT_EQ(scene.real, !test_env::library_keeps_settings()) << "real windows exactly on Windows";
    HWND top = static_cast<HWND>(scene.top);
    EXPECT_EQ(koLanguageTranslateWindowText(top), 0);
    EXPECT_EQ(koLanguageTranslateAllStaticChilds(top), 0);
    const struct {
        void *window;
        const char *want;
    } windows[] = {{scene.top, "FENSTER"}, {scene.label, "KUNDE"}, {scene.button, "SICHERN"},
                   {scene.icon, "symbol"}, {scene.owner, "eigen"}};
    for (const auto &w : windows) EXPECT_EQ(scene.text(w.window), w.want);

    shouting.asked.clear();
    EXPECT_EQ(koLanguageTranslateMenu(static_cast<HMENU>(scene.menu)), 0);
    EXPECT_EQ(shouting.asked, (std::vector<std::string>{"Kopieren", "Bearbeiten", "Einfuegen"}));
    EXPECT_EQ(scene.item(scene.menu, 0), "KOPIEREN\tCtrl+C");
    EXPECT_EQ(scene.item(scene.menu, 1), "BEARBEITEN");
    EXPECT_EQ(scene.item(scene.sub, 0), "EINFUEGEN\tCtrl+V");

    ASSERT_EQ(koSetLanguageLayer(nullptr), 0);
    EXPECT_EQ(shouting.refs, 0);
    koQueryLanguageLayer(&current);
    EXPECT_NE(current, &shouting);
    koLanguageTranslateWindowText(top);
    EXPECT_EQ(scene.text(scene.top), "FENSTER") << "the default leaves texts as they are";
}
