#include "platform/printer.h"

#include <windows.h>
#include <winspool.h>

#include "platform/syscall.h"

namespace plat {

bool list_printers(std::vector<PrinterInfo> *out) {
    out->clear();
    if (fail_now(kCallEnumPrinters)) return false;
    const DWORD flags = PRINTER_ENUM_LOCAL | PRINTER_ENUM_CONNECTIONS;
    DWORD needed = 0, count = 0;
    std::vector<BYTE> buffer;
    // The list may grow between asking its size and reading it.
    for (int attempt = 0;; ++attempt) {
        buffer.resize(needed);
        if (EnumPrintersA(flags, nullptr, 2, needed ? buffer.data() : nullptr, needed, &needed,
                          &count))
            break;
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER || attempt == 3) return false;
    }
    const auto *info = reinterpret_cast<const PRINTER_INFO_2A *>(buffer.data());
    for (DWORD i = 0; i < count; ++i)
        out->push_back({info[i].pPrinterName ? info[i].pPrinterName : "",
                        info[i].pDriverName ? info[i].pDriverName : "",
                        info[i].pPortName ? info[i].pPortName : ""});
    return true;
}

std::string default_printer() {
    DWORD size = 0;
    GetDefaultPrinterA(nullptr, &size);
    if (size == 0) return std::string();
    std::string name(size, '\0');
    if (!GetDefaultPrinterA(&name[0], &size)) return std::string();
    name.resize(lstrlenA(name.c_str()));
    return name;
}

// Stored settings go through the printer's driver first, which fills in what it keeps of its own
// and drops what it no longer understands; a printer that cannot be asked takes them as they are.
std::vector<BYTE> merged_mode(const char *name, const DEVMODEA *mode) {
    std::vector<BYTE> out;
    HANDLE printer = nullptr;
    if (!mode || !name || !OpenPrinterA(const_cast<char *>(name), &printer, nullptr)) return out;
    const LONG size =
        DocumentPropertiesA(nullptr, printer, const_cast<char *>(name), nullptr, nullptr, 0);
    if (size > 0) {
        out.resize(size_t(size));
        if (DocumentPropertiesA(nullptr, printer, const_cast<char *>(name),
                                reinterpret_cast<DEVMODEA *>(out.data()),
                                const_cast<DEVMODEA *>(mode), DM_IN_BUFFER | DM_OUT_BUFFER) != IDOK)
            out.clear();
    }
    ClosePrinter(printer);
    return out;
}

HDC create_printer_dc(const char *driver, const char *name, const char *port, const DEVMODEA *mode,
                      bool infoOnly) {
    if (fail_now(kCallCreateDC)) return nullptr;
    const std::vector<BYTE> merged = merged_mode(name, mode);
    if (!merged.empty()) mode = reinterpret_cast<const DEVMODEA *>(merged.data());
    return infoOnly ? CreateICA(driver, name, port, mode) : CreateDCA(driver, name, port, mode);
}

int edit_device_settings(HWND parent, const char *name, const DEVMODEA *mode,
                         std::vector<uint8_t> *out) {
    out->clear();
    HANDLE printer = nullptr;
    if (!name || !OpenPrinterA(const_cast<char *>(name), &printer, nullptr)) return -1;
    char *device = const_cast<char *>(name);
    int result = -1;
    const LONG size = DocumentPropertiesA(parent, printer, device, nullptr, nullptr, 0);
    if (size > 0) {
        out->resize(size_t(size));
        const DWORD how = DM_IN_PROMPT | DM_OUT_BUFFER | (mode ? DM_IN_BUFFER : 0);
        const LONG r = DocumentPropertiesA(parent, printer, device,
                                           reinterpret_cast<DEVMODEA *>(out->data()),
                                           const_cast<DEVMODEA *>(mode), how);
        result = r == IDOK ? 1 : r == IDCANCEL ? 0 : -1;
    }
    ClosePrinter(printer);
    if (result != 1) out->clear();
    return result;
}

HDC create_pdf_dc(const DEVMODEA *mode) {
    std::vector<PrinterInfo> list;
    if (!list_printers(&list)) return nullptr;
    for (const PrinterInfo &p : list)
        if (p.name == "Microsoft Print to PDF")
            return create_printer_dc(p.driver.c_str(), p.name.c_str(), p.port.c_str(), mode, false);
    return nullptr;
}

// Defined with the memory devices (draw.cpp): gives a memory device's bitmap back.
bool release_memory_dc(HDC dc);

bool delete_dc(HDC dc) {
    if (!dc) return false;
    release_memory_dc(dc);
    return DeleteDC(dc) != FALSE;
}

// Defined with the memory devices (draw.cpp): a memory device's image size and the dots per
// inch it was made for; false for any other device.
bool memory_dc_info(HDC dc, int *width, int *height, int *dpi);

// A memory device is a page of its own size and resolution, not the screen it is compatible with.
int device_caps(HDC dc, DeviceCap cap) {
    if (!dc) return 0;
    int width = 0, height = 0, dpi = 0;
    if (memory_dc_info(dc, &width, &height, &dpi)) switch (cap) {
        case kCapDpiX:
        case kCapDpiY: return dpi;
        case kCapWidth:
        case kCapPhysicalWidth: return width;
        case kCapHeight:
        case kCapPhysicalHeight: return height;
        default: return 0;
        }
    static const int kIndex[] = {LOGPIXELSX,    LOGPIXELSY,     HORZRES,         VERTRES,
                                 PHYSICALWIDTH, PHYSICALHEIGHT, PHYSICALOFFSETX, PHYSICALOFFSETY};
    return GetDeviceCaps(dc, kIndex[cap]);
}

}  // namespace plat
