// Modal dialogs: shown by the provider as a dialog object it drives, else by the system from
// the DLL's resources. The same dialog procedure serves both; for a provider's dialog the
// window handle it receives is the dialog object.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "export.h"
#include "lib/base_state.h"
#include "lib/language.h"
#include "lib/ui.h"
#include "platform/dialog.h"

struct TarnUiDialog {
    const tarn::ui::DialogLayout *layout;
    tarn::ui::DialogProc proc;
    std::vector<std::string> texts;  // a list's: its selected item; a check box's: "1" or "0"
    std::vector<int> limits;
    std::vector<std::vector<std::string>> items;  // lists only
    std::string title;                            // through the language layer
    std::vector<std::string> labels;
    int focus = 0;                                // index into the controls
    std::atomic<bool> ended{false};  // may be set by a thread of the dialog's own (see end_dialog)
    intptr_t result = 0;
};

namespace tarn::ui {
namespace {

struct OpenDialogs {
    std::mutex lock;
    std::set<TarnUiDialog *> live;
};

OpenDialogs &open_dialogs() {
    static OpenDialogs *d = new OpenDialogs;  // outlives every static destructor
    return *d;
}

TarnUiDialog *provider_dialog(HWND wnd) {
    auto *d = reinterpret_cast<TarnUiDialog *>(wnd);
    std::lock_guard<std::mutex> g(open_dialogs().lock);
    return open_dialogs().live.count(d) ? d : nullptr;
}

HWND handle_of(TarnUiDialog *d) { return reinterpret_cast<HWND>(d); }

int index_of(const TarnUiDialog *d, int32_t id) {
    for (int i = 0; i < d->layout->count; ++i)
        if (d->layout->controls[i].id == id) return i;
    return -1;
}

bool focusable(const TarnUiDialog *d, int i) {
    const int kind = d->layout->controls[i].kind;
    return kind != TARN_UI_LABEL;
}

int kind_of(const TarnUiDialog *d, int32_t id) {
    const int i = index_of(d, id);
    return i < 0 ? 0 : d->layout->controls[i].kind;
}

void send_command(TarnUiDialog *d, int32_t id, uint32_t code) {
    d->proc(handle_of(d), kCommand, command_param(id, code), 0);
}

// Moving the focus away from an edit tells the dialog that the field was left.
void move_focus(TarnUiDialog *d, int to) {
    const int from = d->focus;
    if (from == to) return;
    d->focus = to;
    if (from >= 0 && from < d->layout->count && d->layout->controls[from].kind == TARN_UI_EDIT)
        send_command(d, d->layout->controls[from].id, kEditKillFocus);
}

// A system dialog's own procedure and parameter, handed through WM_INITDIALOG to the procedure
// that translates the dialog's texts once it has set them up.
struct Translated {
    DialogProc proc;
    intptr_t param;
};

struct SystemDialogs {
    std::mutex lock;
    std::vector<std::pair<HWND, Translated>> open;
};
SystemDialogs &system_dialogs() {
    static SystemDialogs *s = new SystemDialogs;
    return *s;
}

intptr_t TARN_CALL translating_proc(HWND dialog, uint32_t msg, uintptr_t wParam, intptr_t lParam) {
    Translated t{nullptr, 0};
    if (msg == kInitDialog) {
        t = *reinterpret_cast<const Translated *>(lParam);
        std::lock_guard<std::mutex> g(system_dialogs().lock);
        system_dialogs().open.emplace_back(dialog, t);
    } else {
        std::lock_guard<std::mutex> g(system_dialogs().lock);
        for (const auto &entry : system_dialogs().open)
            if (entry.first == dialog) t = entry.second;
    }
    if (!t.proc) return 0;  // messages before WM_INITDIALOG
    const intptr_t r = t.proc(dialog, msg, wParam, msg == kInitDialog ? t.param : lParam);
    if (msg == kInitDialog) {
        koLanguageTranslateWindowText(dialog);
        koLanguageTranslateAllStaticChilds(dialog);
    }
    return r;
}

intptr_t run_system_dialog(HWND parent, const DialogLayout &layout, DialogProc proc,
                           intptr_t param) {
    Translated t{proc, param};
    const intptr_t r = plat::run_resource_dialog(module_instance(), layout.name, parent,
                                                 translating_proc, reinterpret_cast<intptr_t>(&t));
    std::lock_guard<std::mutex> g(system_dialogs().lock);
    auto &open = system_dialogs().open;
    for (auto it = open.begin(); it != open.end();)
        it = it->second.proc == proc && it->second.param == param ? open.erase(it) : it + 1;
    return r < 0 ? 0 : r;
}

}  // namespace

intptr_t run_dialog(HWND parent, const DialogLayout &layout, DialogProc proc, intptr_t param) {
    const TarnUiProvider *p = provider();
    if (!p || !p->runDialog) return run_system_dialog(parent, layout, proc, param);
    TarnUiDialog d;
    d.layout = &layout;
    d.proc = proc;
    d.title = lang::translated(layout.title);
    for (int i = 0; i < layout.count; ++i) d.labels.push_back(lang::translated(layout.controls[i].label));
    d.texts.resize(size_t(layout.count));
    d.limits.assign(size_t(layout.count), 0);
    d.items.resize(size_t(layout.count));
    for (int i = 0; i < layout.count; ++i)
        if (layout.controls[i].kind == TARN_UI_CHECK) d.texts[size_t(i)] = "0";
    d.focus = std::max(0, index_of(&d, layout.firstFocus));
    {
        std::lock_guard<std::mutex> g(open_dialogs().lock);
        open_dialogs().live.insert(&d);
    }
    proc(handle_of(&d), kInitDialog, 0, param);
    if (!d.ended) p->runDialog(p->context, &d);
    {
        std::lock_guard<std::mutex> g(open_dialogs().lock);
        open_dialogs().live.erase(&d);
    }
    // A dialog the provider left open was dismissed: cancelled.
    return d.ended ? d.result : 0;
}

int get_item_text(HWND dialog, int32_t id, char *text, int size) {
    TarnUiDialog *d = provider_dialog(dialog);
    if (!d) return plat::dialog_item_text(dialog, id, text, size);
    const int i = index_of(d, id);
    if (!text || size <= 0) return 0;
    const std::string &s = i >= 0 ? d->texts[size_t(i)] : std::string();
    const int n = std::min(int(s.size()), size - 1);
    std::memcpy(text, s.data(), size_t(n));
    text[n] = '\0';
    return n;
}

bool set_item_text(HWND dialog, int32_t id, const char *text) {
    TarnUiDialog *d = provider_dialog(dialog);
    if (!d) return plat::set_dialog_item_text(dialog, id, text);
    const int i = index_of(d, id);
    if (i < 0) return false;
    d->texts[size_t(i)] = text ? text : "";
    return true;
}

void limit_item_text(HWND dialog, int32_t id, int chars) {
    TarnUiDialog *d = provider_dialog(dialog);
    if (!d) return plat::limit_dialog_item_text(dialog, id, chars);
    const int i = index_of(d, id);
    if (i >= 0) d->limits[size_t(i)] = chars;
}

void focus_next(HWND dialog) {
    TarnUiDialog *d = provider_dialog(dialog);
    if (!d) return plat::dialog_focus_next(dialog);
    for (int step = 1; step <= d->layout->count; ++step) {
        const int i = (d->focus + step) % d->layout->count;
        if (focusable(d, i)) return move_focus(d, i);
    }
}

// Safe from any thread: a provider's dialog is ended under the lock that keeps it listed, so a
// dialog that has just gone is left alone.
void end_dialog(HWND dialog, intptr_t result) {
    {
        std::lock_guard<std::mutex> g(open_dialogs().lock);
        auto *d = reinterpret_cast<TarnUiDialog *>(dialog);
        if (open_dialogs().live.count(d)) {
            d->result = result;
            d->ended = true;
            return;
        }
    }
    plat::end_dialog(dialog, result);
}

bool post_command(HWND dialog, int32_t id) {
    if (provider_dialog(dialog)) return false;
    return plat::post_dialog_command(dialog, id);
}

int list_selection(HWND dialog, int32_t id, char *text, int size) {
    if (!provider_dialog(dialog)) return plat::dialog_list_selected(dialog, id, text, size);
    return get_item_text(dialog, id, text, size);
}

void add_list_item(HWND dialog, int32_t id, const char *text) {
    TarnUiDialog *d = provider_dialog(dialog);
    if (!d) return plat::dialog_list_add(dialog, id, text);
    if (kind_of(d, id) == TARN_UI_LIST)
        d->items[size_t(index_of(d, id))].emplace_back(text ? text : "");
}

void select_list_index(HWND dialog, int32_t id, int index) {
    TarnUiDialog *d = provider_dialog(dialog);
    if (!d) return plat::dialog_list_select(dialog, id, index);
    if (kind_of(d, id) != TARN_UI_LIST) return;
    const auto &items = d->items[size_t(index_of(d, id))];
    d->texts[size_t(index_of(d, id))] =
        index >= 0 && size_t(index) < items.size() ? items[size_t(index)] : "";
}

void select_list_item(HWND dialog, int32_t id, const char *text) {
    TarnUiDialog *d = provider_dialog(dialog);
    if (!d) return plat::dialog_list_select(dialog, id, plat::dialog_list_find(dialog, id, text));
    if (kind_of(d, id) != TARN_UI_LIST) return;
    const auto &items = d->items[size_t(index_of(d, id))];
    const auto it = std::find(items.begin(), items.end(), std::string(text ? text : ""));
    select_list_index(dialog, id, it == items.end() ? -1 : int(it - items.begin()));
}

bool get_check(HWND dialog, int32_t id) {
    TarnUiDialog *d = provider_dialog(dialog);
    if (!d) return plat::dialog_checked(dialog, id);
    return kind_of(d, id) == TARN_UI_CHECK && d->texts[size_t(index_of(d, id))] == "1";
}

void set_check(HWND dialog, int32_t id, bool on) {
    TarnUiDialog *d = provider_dialog(dialog);
    if (!d) return plat::dialog_check(dialog, id, on);
    if (kind_of(d, id) == TARN_UI_CHECK) d->texts[size_t(index_of(d, id))] = on ? "1" : "0";
}

}  // namespace tarn::ui

using namespace tarn::ui;

namespace {

// Only a dialog that is running answers: a provider may keep a pointer past its dialog's end.
TarnUiDialog *running(TarnUiDialog *d) {
    return d ? provider_dialog(reinterpret_cast<HWND>(d)) : nullptr;
}

}  // namespace

TARN_API const char *TARN_CALL tarnUiDialogName(TarnUiDialog *d) {
    d = running(d);
    return d ? d->layout->name : nullptr;
}

TARN_API const char *TARN_CALL tarnUiDialogTitle(TarnUiDialog *d) {
    d = running(d);
    return d ? d->title.c_str() : nullptr;
}

TARN_API int32_t TARN_CALL tarnUiDialogControlCount(TarnUiDialog *d) {
    d = running(d);
    return d ? d->layout->count : 0;
}

TARN_API int32_t TARN_CALL tarnUiDialogControl(TarnUiDialog *d, int32_t index, int32_t *id,
                                               int32_t *kind, const char **label) {
    d = running(d);
    if (!d || index < 0 || index >= d->layout->count) return 0;
    const ControlLayout &c = d->layout->controls[index];
    if (id) *id = c.id;
    if (kind) *kind = c.kind;
    if (label) *label = d->labels[size_t(index)].c_str();
    return 1;
}

TARN_API int32_t TARN_CALL tarnUiDialogGetText(TarnUiDialog *d, int32_t id, char *text,
                                               int32_t size) {
    d = running(d);
    return d ? get_item_text(reinterpret_cast<HWND>(d), id, text, size) : 0;
}

TARN_API int32_t TARN_CALL tarnUiDialogSetText(TarnUiDialog *d, int32_t id, const char *text) {
    d = running(d);
    if (!d || d->ended) return 0;
    const int i = index_of(d, id);
    if (i < 0 || d->layout->controls[i].kind != TARN_UI_EDIT) return 0;
    std::string s = text ? text : "";
    // Typing stops at the field's limit, as in the system's edit control.
    if (d->limits[size_t(i)] > 0 && int(s.size()) > d->limits[size_t(i)])
        s.resize(size_t(d->limits[size_t(i)]));
    move_focus(d, i);
    d->texts[size_t(i)] = s;
    return 1;
}

TARN_API int32_t TARN_CALL tarnUiDialogFocus(TarnUiDialog *d) {
    d = running(d);
    return d && d->focus < d->layout->count ? d->layout->controls[d->focus].id : 0;
}

TARN_API int32_t TARN_CALL tarnUiDialogLeave(TarnUiDialog *d, int32_t id) {
    d = running(d);
    if (!d || d->ended) return 0;
    const int i = index_of(d, id);
    if (i < 0 || d->layout->controls[i].kind != TARN_UI_EDIT) return 0;
    send_command(d, id, kEditKillFocus);
    return 1;
}

TARN_API int32_t TARN_CALL tarnUiDialogPress(TarnUiDialog *d, int32_t id) {
    d = running(d);
    if (!d || d->ended) return 0;
    const int i = index_of(d, id);
    // Enter and Escape reach the dialog without moving the focus; a button takes it first, and
    // a check box turns over before the dialog hears of the click.
    if (id != kIdOk && id != kIdCancel) {
        const int kind = i < 0 ? 0 : d->layout->controls[i].kind;
        if (kind != TARN_UI_BUTTON && kind != TARN_UI_CHECK) return 0;
        move_focus(d, i);
        if (kind == TARN_UI_CHECK) d->texts[size_t(i)] = d->texts[size_t(i)] == "1" ? "0" : "1";
    }
    if (!d->ended) send_command(d, id, kButtonClicked);
    return 1;
}

TARN_API int32_t TARN_CALL tarnUiDialogEnded(TarnUiDialog *d, intptr_t *result) {
    d = running(d);
    if (!d || !d->ended) return 0;
    if (result) *result = d->result;
    return 1;
}

TARN_API const char *TARN_CALL tarnUiDialogListItem(TarnUiDialog *d, int32_t id, int32_t index) {
    d = running(d);
    if (!d || kind_of(d, id) != TARN_UI_LIST) return nullptr;
    const auto &items = d->items[size_t(index_of(d, id))];
    return index >= 0 && size_t(index) < items.size() ? items[size_t(index)].c_str() : nullptr;
}

TARN_API int32_t TARN_CALL tarnUiDialogSelect(TarnUiDialog *d, int32_t id, int32_t index) {
    d = running(d);
    if (!d || d->ended || !tarnUiDialogListItem(d, id, index)) return 0;
    move_focus(d, index_of(d, id));
    select_list_index(reinterpret_cast<HWND>(d), id, index);
    if (!d->ended) send_command(d, id, kListSelectionChanged);
    return 1;
}
