// A role's device settings, edited from the setup dialog: the printer driver's own dialog where
// the system has one and no UI provider is installed, else the library's dialog
// "DlgDeviceSettings" with the four settings every printer understands (paper, orientation,
// copies, two-sided). Whatever the user accepts is stored for the role.
#include "print/device_settings_dialog.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "lib/ui.h"
#include "platform/printer.h"
#include "print/printer_store.h"

namespace tarn::print {
namespace {

using namespace tarn::ui;

constexpr int32_t kPrinterLabel = 201;
constexpr int32_t kPaperList = 203;
constexpr int32_t kOrientationList = 205;
constexpr int32_t kCopiesEdit = 207;
constexpr int32_t kDuplexCheck = 208;
constexpr int kMostCopies = 999;

const ControlLayout kControls[] = {
    {200, TARN_UI_LABEL, "Drucker:"},
    {kPrinterLabel, TARN_UI_LABEL, ""},
    {202, TARN_UI_LABEL, "Papier:"},
    {kPaperList, TARN_UI_LIST, ""},
    {204, TARN_UI_LABEL, "Ausrichtung:"},
    {kOrientationList, TARN_UI_LIST, ""},
    {206, TARN_UI_LABEL, "Exemplare:"},
    {kCopiesEdit, TARN_UI_EDIT, ""},
    {kDuplexCheck, TARN_UI_CHECK, "Beidseitig drucken"},
    {kIdOk, TARN_UI_BUTTON, "OK"},
    {kIdCancel, TARN_UI_BUTTON, "Abbrechen"},
};
const DialogLayout kDialog = {"DlgDeviceSettings", "Druckereinstellungen", kControls, 11,
                              kPaperList};

struct Paper {
    int16_t number;
    const char *name;
};
const Paper kPapers[] = {{DMPAPER_A4, "A4"},
                         {DMPAPER_A3, "A3"},
                         {DMPAPER_A5, "A5"},
                         {DMPAPER_LETTER, "Letter"},
                         {DMPAPER_LEGAL, "Legal"}};
const char *const kOrientations[] = {"Hochformat", "Querformat"};

struct Editing {
    std::string printer;
    std::vector<uint8_t> mode;  // fixed part and driver bytes; the dialog's answer on OK
};
thread_local Editing *tEditing = nullptr;  // the one settings dialog open on this thread

DEVMODEA *fixed_part(std::vector<uint8_t> &mode) { return reinterpret_cast<DEVMODEA *>(mode.data()); }

// The stored settings, or fresh ones naming the printer (paper and the rest the printer's own).
std::vector<uint8_t> starting_mode(const DEVMODEA *stored, const std::string &printer) {
    if (stored)
        return std::vector<uint8_t>(reinterpret_cast<const uint8_t *>(stored),
                                    reinterpret_cast<const uint8_t *>(stored) + kDevmodeBytes +
                                        stored->dmDriverExtra);
    std::vector<uint8_t> mode(kDevmodeBytes, 0);
    DEVMODEA *m = fixed_part(mode);
    std::memcpy(m->dmDeviceName, printer.data(),
                std::min(printer.size(), sizeof m->dmDeviceName - 1));
    m->dmSpecVersion = 0x0401;
    m->dmSize = uint16_t(kDevmodeBytes);
    return mode;
}

void show_settings(HWND dialog, const DEVMODEA &m) {
    for (const Paper &p : kPapers) add_list_item(dialog, kPaperList, p.name);
    for (const char *o : kOrientations) add_list_item(dialog, kOrientationList, o);
    const bool paper = (m.dmFields & DM_PAPERSIZE) != 0;
    for (const Paper &p : kPapers)
        if (paper && p.number == m.dmPaperSize) select_list_item(dialog, kPaperList, p.name);
    const bool landscape = (m.dmFields & DM_ORIENTATION) && m.dmOrientation == DMORIENT_LANDSCAPE;
    select_list_index(dialog, kOrientationList, landscape ? 1 : 0);
    const int copies = (m.dmFields & DM_COPIES) && m.dmCopies > 0 ? m.dmCopies : 1;
    set_item_text(dialog, kCopiesEdit, std::to_string(copies).c_str());
    set_check(dialog, kDuplexCheck,
              (m.dmFields & DM_DUPLEX) && m.dmDuplex != DMDUP_SIMPLEX && m.dmDuplex != 0);
}

// A paper left unselected keeps the sheet the settings had, even one of its own size; copies
// that are no whole number from 1 to 999 keep the number they had.
void take_settings(HWND dialog, DEVMODEA *m) {
    char text[32] = "";
    if (list_selection(dialog, kPaperList, text, sizeof text) > 0)
        for (const Paper &p : kPapers)
            if (std::strcmp(p.name, text) == 0) {
                m->dmPaperSize = p.number;
                m->dmFields = (m->dmFields | DM_PAPERSIZE) & ~uint32_t(DM_PAPERLENGTH | DM_PAPERWIDTH);
            }
    list_selection(dialog, kOrientationList, text, sizeof text);
    m->dmOrientation = std::strcmp(text, kOrientations[1]) == 0 ? DMORIENT_LANDSCAPE : DMORIENT_PORTRAIT;
    m->dmFields |= DM_ORIENTATION;
    get_item_text(dialog, kCopiesEdit, text, sizeof text);
    char *end = nullptr;
    const long copies = std::strtol(text, &end, 10);
    if (end != text && *end == '\0' && copies >= 1 && copies <= kMostCopies) {
        m->dmCopies = int16_t(copies);
        m->dmFields |= DM_COPIES;
    }
    const bool twoSided = get_check(dialog, kDuplexCheck);
    const bool wasTwoSided = (m->dmFields & DM_DUPLEX) && m->dmDuplex > DMDUP_SIMPLEX;
    // Two-sided keeps the edge it was bound at; newly switched on, it binds at the long edge.
    if (!twoSided) m->dmDuplex = DMDUP_SIMPLEX;
    else if (!wasTwoSided) m->dmDuplex = DMDUP_VERTICAL;
    m->dmFields |= DM_DUPLEX;
}

intptr_t TARN_CALL settings_proc(HWND dialog, uint32_t msg, uintptr_t wParam, intptr_t lParam) {
    if (msg == kInitDialog) {
        tEditing = reinterpret_cast<Editing *>(lParam);
        set_item_text(dialog, kPrinterLabel, tEditing->printer.c_str());
        limit_item_text(dialog, kCopiesEdit, 3);
        show_settings(dialog, *fixed_part(tEditing->mode));
        return 1;
    }
    if (msg != kCommand) return 0;
    const int32_t id = command_id(wParam);
    if (id == kIdOk) {
        take_settings(dialog, fixed_part(tEditing->mode));
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

bool edit_role_settings(HWND parent, const std::string &role) {
    char mapped[kNameChars + 1] = "";
    koGetPrinterNameFromLogName(role.c_str(), mapped, sizeof mapped);
    const std::string printer =
        mapped[0] ? std::string(mapped) : plat::default_printer().substr(0, size_t(kNameChars));
    DEVMODEA *stored = koPrinterLoadDevmodeData(role.c_str());
    Editing editing{printer, starting_mode(stored, printer)};
    int result = -1;
    if (!provider()) {
        std::vector<uint8_t> chosen;
        result = plat::edit_device_settings(parent, printer.c_str(), stored, &chosen);
        if (result == 1) editing.mode.swap(chosen);
    }
    FreeGlobal(stored);
    if (result < 0) {
        Editing *outer = tEditing;
        result = int(run_dialog(parent, kDialog, settings_proc, reinterpret_cast<intptr_t>(&editing)));
        tEditing = outer;
    }
    if (result != 1) return false;
    return koPrinterSaveDevmodeData(role.c_str(), fixed_part(editing.mode)) != 0;
}

}  // namespace tarn::print
