#include "export.h"
#include "platform/codepage.h"
#include "platform/profile.h"
#include "text/codepage_state.h"

namespace tarn {
namespace {

CodePageState g_state;

constexpr uint32_t kDefaultOem = 858;
constexpr uint32_t kDefaultAnsi = 1252;

uint32_t valid_or(uint32_t cp, uint32_t (*fallback)()) {
    return plat::is_valid_codepage(cp) ? cp : fallback();
}

void read_settings(CodePageState &s) {
    const char *section = "tarnGDI";
    uint32_t oem = static_cast<uint32_t>(plat::winini_get_int(section, "CodePageOEM", kDefaultOem));
    uint32_t ansi =
        static_cast<uint32_t>(plat::winini_get_int(section, "CodePageANSI", kDefaultAnsi));
    // Compared signed: a negative "UseCodePages" keeps the fixed tables.
    int32_t use = plat::winini_get_int(section, "UseCodePages", 0);
    s.oemCodePage = valid_or(oem, plat::system_oemcp);
    s.ansiCodePage = valid_or(ansi, plat::system_acp);
    s.fixedMode = !(use > 0);
    s.settingsPending = false;
}

// 0 asks, 1 picks the library's default page (or the system's where that page is missing),
// 2 the system's page; anything else is taken only if the system knows it.
uint32_t select_page(uint32_t &field, uint32_t request, uint32_t preferred, uint32_t (*system)()) {
    uint32_t previous = field;
    switch (request) {
    case 0: break;
    case 1: field = valid_or(preferred, system); break;
    case 2: field = system(); break;
    default:
        if (plat::is_valid_codepage(request)) field = request;
        break;
    }
    return previous;
}

}  // namespace

CodePageState &codepages() {
    if (g_state.settingsPending) read_settings(g_state);
    return g_state;
}

}  // namespace tarn

TARN_API uint32_t TARN_CALL koGetACP(void) { return tarn::codepages().ansiCodePage; }

TARN_API uint32_t TARN_CALL koGetOEMCP(void) { return tarn::codepages().oemCodePage; }

TARN_API uint32_t TARN_CALL koSetACP(uint32_t codePage) {
    return tarn::select_page(tarn::codepages().ansiCodePage, codePage, tarn::kDefaultAnsi,
                             plat::system_acp);
}

TARN_API uint32_t TARN_CALL koSetOEMCP(uint32_t codePage) {
    return tarn::select_page(tarn::codepages().oemCodePage, codePage, tarn::kDefaultOem,
                             plat::system_oemcp);
}

TARN_API BOOL TARN_CALL koSetUseCodePages(BOOL use) {
    // Settings are read first so that a later first read cannot undo this choice.
    tarn::CodePageState &s = tarn::codepages();
    BOOL previous = s.fixedMode ? 0 : 1;
    s.fixedMode = !use;
    return previous;
}
