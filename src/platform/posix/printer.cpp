// Printers on Linux: the CUPS destinations (when a CUPS server answers) followed by the built-in
// "PDF". A device context is one of the library's print devices: the printer it belongs to,
// 600 dots per inch and the sheet its device settings ask for (A4 portrait without any).
#include "platform/printer.h"

#include <cups/cups.h>

#include <cmath>
#include <cstring>
#include <mutex>
#include <set>

#include "platform/paper.h"
#include "platform/posix/print_device.h"
#include "platform/syscall.h"

namespace plat {
namespace {

constexpr const char *kPdfPrinter = "PDF";

struct Devices {
    std::mutex lock;
    std::set<PrintDevice *> live;
};
// Never destroyed: contexts may be closed by the library's destructor after static objects.
Devices &devices() {
    static Devices *d = new Devices;
    return *d;
}

// The destination's name as Windows programs see a printer: "queue" or "queue/instance".
std::string dest_name(const cups_dest_t &d) {
    return d.instance ? std::string(d.name) + "/" + d.instance : std::string(d.name);
}

}  // namespace

// A CUPS queue that calls itself "PDF" is not listed: the name is the built-in printer's.
bool list_printers(std::vector<PrinterInfo> *out) {
    out->clear();
    if (fail_now(kCallEnumPrinters)) return false;
    cups_dest_t *dests = nullptr;
    const int n = cupsGetDests2(CUPS_HTTP_DEFAULT, &dests);
    for (int i = 0; i < n; ++i) {
        const std::string name = dest_name(dests[i]);
        if (name != kPdfPrinter) out->push_back({name, "CUPS", dests[i].name});
    }
    cupsFreeDests(n, dests);
    out->push_back({kPdfPrinter, kPdfPrinter, "FILE:"});
    return true;
}

std::string default_printer() {
    cups_dest_t *dests = nullptr;
    const int n = cupsGetDests2(CUPS_HTTP_DEFAULT, &dests);
    std::string name = kPdfPrinter;
    for (int i = 0; i < n; ++i)
        if (dests[i].is_default) name = dest_name(dests[i]);
    cupsFreeDests(n, dests);
    return name;
}

// Only a listed printer has a driver: a name without one is no printer of this system.
HDC create_printer_dc(const char *driver, const char *name, const char *, const DEVMODEA *mode,
                      bool infoOnly) {
    if (fail_now(kCallCreateDC)) return nullptr;
    if (!driver || !name) return nullptr;
    const std::string printer = name;
    auto *device = new PrintDevice;
    device->printer = printer;
    device->toFile = printer == kPdfPrinter;
    device->infoOnly = infoOnly;
    if (mode && mode->dmSize != 0) {
        device->hasMode = true;
        std::memcpy(&device->mode, mode, sizeof device->mode);
    }
    sheet_dots(device->hasMode ? &device->mode : nullptr, kPrintDpi, &device->width, &device->height);
    return register_device(device);
}

// CUPS drivers bring no dialog of their own: the library's settings dialog serves every printer.
int edit_device_settings(HWND, const char *, const DEVMODEA *, std::vector<uint8_t> *out) {
    out->clear();
    return -1;
}

HDC create_pdf_dc(const DEVMODEA *mode) {
    return create_printer_dc(kPdfPrinter, kPdfPrinter, "FILE:", mode, false);
}

HDC register_device(PrintDevice *device) {
    std::lock_guard<std::mutex> hold(devices().lock);
    devices().live.insert(device);
    return reinterpret_cast<HDC>(device);
}

PrintDevice *print_device(HDC dc) {
    auto *device = reinterpret_cast<PrintDevice *>(dc);
    std::lock_guard<std::mutex> hold(devices().lock);
    return devices().live.count(device) ? device : nullptr;
}

bool delete_dc(HDC dc) {
    auto *device = reinterpret_cast<PrintDevice *>(dc);
    {
        std::lock_guard<std::mutex> hold(devices().lock);
        if (!devices().live.erase(device)) return false;
    }
    delete device;
    return true;
}

int device_caps(HDC dc, DeviceCap cap) {
    const PrintDevice *d = print_device(dc);
    if (!d) return 0;
    switch (cap) {
    case kCapDpiX:
    case kCapDpiY: return d->dpi;
    case kCapWidth:
    case kCapPhysicalWidth: return d->width;
    case kCapHeight:
    case kCapPhysicalHeight: return d->height;
    default: return 0;  // a PDF page has no margin the device cannot print on
    }
}

}  // namespace plat
