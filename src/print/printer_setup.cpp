// The dialog "DlgLogPrinters": roles on the left, printers on the right, the copy switch below.
// A printer chosen for the selected role, its device settings and the switch are stored at once.
#include "export.h"

#include <string>
#include <vector>

#include "lib/ui.h"
#include "print/device_settings_dialog.h"
#include "print/printer_store.h"

namespace {

using namespace tarn::ui;
using namespace tarn::print;

constexpr int32_t kRoleList = 101;
constexpr int32_t kPrinterList = 102;
constexpr int32_t kCopyCheck = 103;
constexpr int32_t kSettingsButton = 105;
constexpr const char *kDefaultPrinterItem = "(Standarddrucker)";

const char *const kDefaultRoles[] = {"Service",   "Angebot1", "Angebot2",    "Rechnung1",
                                     "Rechnung2", "Listen",   "Buchhaltung", "Durchschlag"};

const ControlLayout kControls[] = {
    {100, TARN_UI_LABEL, "Logische Drucker:"},
    {kRoleList, TARN_UI_LIST, ""},
    {104, TARN_UI_LABEL, "Drucker:"},
    {kPrinterList, TARN_UI_LIST, ""},
    {kCopyCheck, TARN_UI_CHECK, "Kopien auf den Drucker \"Durchschlag\""},
    {kSettingsButton, TARN_UI_BUTTON, "Einstellungen..."},
    {kIdOk, TARN_UI_BUTTON, "OK"},
    {kIdCancel, TARN_UI_BUTTON, "Abbrechen"},
};
const DialogLayout kDialog = {"DlgLogPrinters", "Drucker einrichten", kControls, 8, kRoleList};

// The names of a NUL-separated list ended by an empty name.
std::vector<std::string> split_list(const char *list) {
    std::vector<std::string> names;
    for (const char *p = list; *p; p += names.back().size() + 1) names.emplace_back(p);
    return names;
}

std::vector<std::string> roles() {
    std::vector<char> buffer(32768, '\0');
    koEnumPrinterLogNames(buffer.data(), int32_t(buffer.size()));
    return split_list(buffer.data());
}

std::vector<std::string> system_printers() {
    std::vector<char> buffer(32768, '\0');
    koGetPrinterNameList(buffer.data(), int32_t(buffer.size()));
    return split_list(buffer.data());
}

// Shows the selected role's printer; one that is no longer there selects nothing.
void show_mapping(HWND dialog) {
    char role[kNameChars + 1] = "", printer[kNameChars + 1] = "";
    if (list_selection(dialog, kRoleList, role, sizeof role) == 0) return;
    koGetPrinterNameFromLogName(role, printer, sizeof printer);
    select_list_item(dialog, kPrinterList, printer[0] ? printer : kDefaultPrinterItem);
}

intptr_t TARN_CALL log_printers_proc(HWND dialog, uint32_t msg, uintptr_t wParam, intptr_t) {
    if (msg == kInitDialog) {
        for (const std::string &r : roles()) add_list_item(dialog, kRoleList, r.c_str());
        add_list_item(dialog, kPrinterList, kDefaultPrinterItem);
        for (const std::string &p : system_printers())
            add_list_item(dialog, kPrinterList, p.c_str());
        set_check(dialog, kCopyCheck, koPrinterGetUseCopyDrv() != 0);
        select_list_index(dialog, kRoleList, 0);
        show_mapping(dialog);
        return 1;
    }
    if (msg != kCommand) return 0;
    const int32_t id = command_id(wParam);
    const uint32_t code = command_code(wParam);
    if (id == kRoleList && code == kListSelectionChanged) {
        show_mapping(dialog);
        return 1;
    }
    if (id == kPrinterList && code == kListSelectionChanged) {
        char role[kNameChars + 1] = "", printer[kNameChars + 1] = "";
        if (list_selection(dialog, kRoleList, role, sizeof role) == 0) return 1;
        list_selection(dialog, kPrinterList, printer, sizeof printer);
        const bool standard = std::string(printer) == kDefaultPrinterItem;
        koSetPrinterNameForLogName(role, standard ? "" : printer);
        return 1;
    }
    if (id == kSettingsButton && code == kButtonClicked) {
        char role[kNameChars + 1] = "";
        if (list_selection(dialog, kRoleList, role, sizeof role) > 0)
            edit_role_settings(dialog, role);
        return 1;
    }
    if (id == kCopyCheck && code == kButtonClicked) {
        koPrinterSetUseCopyDrv(get_check(dialog, kCopyCheck) ? 1 : 0);
        return 1;
    }
    if (id == kIdOk || id == kIdCancel) {
        end_dialog(dialog, id == kIdOk ? 1 : 0);
        return 1;
    }
    return 0;
}

}  // namespace

TARN_API int32_t TARN_CALL koPrinterSetupDlg(HWND parent) {
    // A store without roles gets the eight the applications print to, each on the default printer.
    if (roles().empty())
        for (const char *role : kDefaultRoles) koSetPrinterNameForLogName(role, "");
    return int32_t(run_dialog(parent, kDialog, log_printers_proc, 0));
}
