// The system's printers and their device contexts. Windows has GDI and the print spooler; on
// Linux the printers are the CUPS destinations followed by the built-in "PDF", and a device
// context is the library's own drawing device (600 dots per inch) that writes a PDF file.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "tarn_types.h"

namespace plat {

struct PrinterInfo {
    std::string name, driver, port;
};

// Local and connected printers in the system's order; false when they cannot be listed.
bool list_printers(std::vector<PrinterInfo> *out);
// The default printer's name; "" when there is none.
std::string default_printer();

// A device context (an information context when `infoOnly`) for printer `name` with `driver`
// and `port` (null for a printer that is not listed, which only Windows may still open) and
// device settings `mode` (null: the printer's own); null when the printer cannot be opened.
HDC create_printer_dc(const char *driver, const char *name, const char *port, const DEVMODEA *mode,
                      bool infoOnly);
// The printer driver's own dialog for the device settings of printer `name`, starting from `mode`
// (null: the printer's defaults): 1 with the settings the user chose in *out, 0 when the user
// cancelled, -1 when the system has no such dialog or the printer cannot be asked.
int edit_device_settings(HWND parent, const char *name, const DEVMODEA *mode,
                         std::vector<uint8_t> *out);
// A device context whose documents become PDF files named by start_document's output, with
// device settings `mode` (null: A4 portrait); null where the system has no PDF printer (Windows
// without "Microsoft Print to PDF").
HDC create_pdf_dc(const DEVMODEA *mode);
// Closes it; false for null or a context not made here.
bool delete_dc(HDC dc);

enum DeviceCap {
    kCapDpiX,   // dots per inch, across
    kCapDpiY,   // and down
    kCapWidth,  // printable area in dots
    kCapHeight,
    kCapPhysicalWidth,  // the whole sheet in dots
    kCapPhysicalHeight,
    kCapOffsetX,  // the printable area's distance from the sheet's edge, in dots
    kCapOffsetY,
};
// One property of the device; 0 for a null or unknown context.
int device_caps(HDC dc, DeviceCap cap);

}  // namespace plat
