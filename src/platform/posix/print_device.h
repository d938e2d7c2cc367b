// The library's own print device on Linux, behind an HDC of the printer calls.
#pragma once
#include <string>

#include "tarn_types.h"

namespace plat {

constexpr int kPrintDpi = 600;

struct PrintDevice {
    std::string printer;    // the system printer's name
    bool toFile = false;    // the built-in "PDF": the document stays a file
    bool infoOnly = false;  // an information context: answers questions, writes nothing
    bool hasMode = false;
    DEVMODEA mode = {};         // the device settings it was opened with (fixed part)
    int width = 0, height = 0;  // the sheet in dots
};

// The device behind dc; null for anything not made by create_printer_dc.
PrintDevice *print_device(HDC dc);

}  // namespace plat
