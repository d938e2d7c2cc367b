// The library's own print device on Linux, behind an HDC of the printer and drawing calls.
#pragma once
#include <cairo.h>

#include <string>

#include "tarn_types.h"

namespace plat {

constexpr int kPrintDpi = 600;

struct PrintDevice {
    std::string printer;    // the system printer's name; "" for a memory device
    bool toFile = false;    // the built-in "PDF": the document stays a file
    bool infoOnly = false;  // an information context: answers questions, writes nothing
    bool hasMode = false;
    DEVMODEA mode = {};         // the device settings it was opened with (fixed part)
    int width = 0, height = 0;  // the sheet (or image) in dots
    int dpi = kPrintDpi;

    // Painting: a PDF document between start_document and end_document, or a memory image.
    cairo_surface_t *surface = nullptr;
    cairo_t *cr = nullptr;
    std::string path;        // the document's file
    std::string title;       // the document's name, the job's title for CUPS
    bool spoolOnly = false;  // a CUPS printer's document: the file goes once the job is submitted
    bool pageDrawn = false;  // something since the last page ended
    int originX = 0, originY = 0;

    ~PrintDevice();
};

// The device behind dc; null for anything not made here.
PrintDevice *print_device(HDC dc);
// Takes a new device into the list of live ones and answers its handle.
HDC register_device(PrintDevice *device);

}  // namespace plat
