// Print scripts from spool files: any bytes are indexed, and the first pages are painted onto
// a small memory page, whatever the lines say.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/draw.h"
#include "platform/printer.h"
#include "tarngdi32.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string path = "/tmp/tarn-fuzz-print-" + std::to_string(getpid()) + ".spl";
    if (FILE *f = std::fopen(path.c_str(), "wb")) {
        if (size) std::fwrite(data, 1, size, f);
        std::fclose(f);
    }
    HANDLE file = X_Open(path.c_str(), 0);
    XML_Node *index = koPrinterOpenXML(file);
    if (index) {
        HDC dc = plat::create_memory_dc(60, 85, 20);
        XML_Node *pages = koXML_GetChildByName(index, "Pages");
        int painted = 0;
        for (XML_Node *p = pages ? koXML_GetFirstChild(pages) : nullptr; p && painted < 3; p = koXML_GetNext(p), ++painted)
            koPrinterPageToDevice(dc, file, index, p);
        plat::delete_dc(dc);
        koXML_ReleaseTree(index);
    }
    X_Close(file);
    std::remove(path.c_str());
    return 0;
}
