// The system printers, device contexts for a printer or a role, and centimetres in device units.
#include "export.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "platform/printer.h"
#include "print/print_state.h"
#include "print/printer_store.h"

namespace {

std::vector<plat::PrinterInfo> printers() {
    std::vector<plat::PrinterInfo> list;
    if (!plat::list_printers(&list)) list.clear();
    return list;
}

void copy_cut(char *buffer, int32_t size, const std::string &text) {
    if (!buffer || size < 1) return;
    const size_t n = std::min(text.size(), size_t(size) - 1);
    std::memcpy(buffer, text.data(), n);
    buffer[n] = '\0';
}

// A name of at most 128 characters, as the store's readers take them.
std::string cut_name(const std::string &name) {
    return name.substr(0, size_t(tarn::print::kNameChars));
}

// Opens printer `name` ("" the default) with the system's driver and port for it, when `list`
// has it, and device settings `mode`.
HDC open_printer(const std::string &name, const DEVMODEA *mode, bool infoOnly,
                 const std::vector<plat::PrinterInfo> &list = printers()) {
    const std::string printer = name.empty() ? cut_name(plat::default_printer()) : name;
    const plat::PrinterInfo *found = nullptr;
    for (const plat::PrinterInfo &p : list)
        if (p.name == printer) {
            found = &p;
            break;
        }
    const std::string driver = found ? cut_name(found->driver) : "",
                      port = found ? cut_name(found->port) : "";
    return plat::create_printer_dc(found ? driver.c_str() : nullptr, printer.c_str(),
                                   found ? port.c_str() : nullptr, mode, infoOnly);
}

}  // namespace

using namespace tarn::print;

TARN_API int32_t TARN_CALL koGetPrinterCount(void) { return int32_t(printers().size()); }

TARN_API void TARN_CALL koGetPrinterName(int32_t index, char *buffer, int32_t size) {
    const std::vector<plat::PrinterInfo> list = printers();
    copy_cut(buffer, size,
             index >= 0 && size_t(index) < list.size() ? list[size_t(index)].name : "");
}

// Names that do not fit whole are cut; the list always ends with its two zero bytes.
TARN_API void TARN_CALL koGetPrinterNameList(char *buffer, int32_t size) {
    if (!buffer || size < 1) return;
    if (size == 1) {
        buffer[0] = '\0';
        return;
    }
    size_t at = 0;
    const size_t room = size_t(size) - 1;  // the list's final zero
    for (const plat::PrinterInfo &p : printers()) {
        if (at + 1 >= room) break;
        const size_t n = std::min(p.name.size(), room - at - 1);
        std::memcpy(buffer + at, p.name.data(), n);
        at += n;
        buffer[at++] = '\0';
    }
    buffer[at] = '\0';
    if (at == 0) buffer[1] = '\0';
}

TARN_API HDC TARN_CALL koGetPrinterDC(const char *printerName, BOOL infoOnly) {
    return open_printer(printerName ? printerName : "", nullptr, infoOnly != 0);
}

TARN_API HDC TARN_CALL koGetPrinterDCByLogName(const char *logName, BOOL infoOnly) {
    const std::string role = logName ? logName : "";
    char mapped[kNameChars + 1] = "";
    koGetPrinterNameFromLogName(role.c_str(), mapped, sizeof mapped);
    if (mapped[0]) {
        DEVMODEA *mode = koPrinterLoadDevmodeData(role.c_str());
        HDC dc = open_printer(mapped, mode, infoOnly != 0);
        FreeGlobal(mode);
        return dc;
    }
    // "Standard" is the default printer, whatever a system printer may be called.
    const std::vector<plat::PrinterInfo> list = printers();
    if (!role.empty() && role != "Standard") {
        for (const plat::PrinterInfo &p : list)
            if (p.name == role) return open_printer(role, nullptr, infoOnly != 0, list);
    }
    return open_printer("", nullptr, infoOnly != 0, list);
}

TARN_API int32_t TARN_CALL koGetPixelHorz(HDC dc, double centimetres) {
    return centimetres_to_dots(centimetres, plat::device_caps(dc, plat::kCapDpiX));
}

TARN_API int32_t TARN_CALL koGetPixelVert(HDC dc, double centimetres) {
    return centimetres_to_dots(centimetres, plat::device_caps(dc, plat::kCapDpiY));
}
