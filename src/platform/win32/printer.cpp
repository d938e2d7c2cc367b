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

HDC create_printer_dc(const char *driver, const char *name, const char *port, const DEVMODEA *mode,
                      bool infoOnly) {
    if (fail_now(kCallCreateDC)) return nullptr;
    return infoOnly ? CreateICA(driver, name, port, mode) : CreateDCA(driver, name, port, mode);
}

// Defined with the memory devices (draw.cpp): gives a memory device's bitmap back.
bool release_memory_dc(HDC dc);

bool delete_dc(HDC dc) {
    if (!dc) return false;
    release_memory_dc(dc);
    return DeleteDC(dc) != FALSE;
}

int device_caps(HDC dc, DeviceCap cap) {
    if (!dc) return 0;
    static const int kIndex[] = {LOGPIXELSX,    LOGPIXELSY,     HORZRES,         VERTRES,
                                 PHYSICALWIDTH, PHYSICALHEIGHT, PHYSICALOFFSETX, PHYSICALOFFSETY};
    return GetDeviceCaps(dc, kIndex[cap]);
}

}  // namespace plat
