// A script's pages into a file instead of onto a printer: one PDF, or one PNG image a page.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <string>
#include <vector>

#include "export.h"
#include "lib/ui.h"
#include "platform/draw.h"
#include "platform/paper.h"
#include "platform/printer.h"
#include "print/print_state.h"

namespace {

using namespace tarn::print;

constexpr int32_t kDefaultDpi = 150, kLowestDpi = 10, kHighestDpi = 1200;

std::string value_of(XML_Node *node, const char *name) {
    char buffer[1024] = "";
    if (!node || !koXML_GetValueByName(node, name, buffer, sizeof buffer)) return std::string();
    return buffer;
}

bool is_png_name(const std::string &name) {
    if (name.size() < 4) return false;
    std::string tail = name.substr(name.size() - 4);
    for (char &c : tail) c = char(std::tolower(static_cast<unsigned char>(c)));
    return tail == ".png";
}

std::vector<XML_Node *> pages_in_range(XML_Node *index, int32_t first, int32_t last) {
    std::vector<XML_Node *> pages;
    XML_Node *list = koXML_GetChildByName(index, "Pages");
    for (XML_Node *p = list ? koXML_GetFirstChild(list) : nullptr; p; p = koXML_GetNext(p)) {
        const long nr = std::atol(value_of(p, "Nr").c_str());
        if (nr >= first && (last < 0 || nr <= last)) pages.push_back(p);
    }
    return pages;
}

void report(size_t done, size_t total) {
    const std::string text = "Seite " + std::to_string(done) + " von " + std::to_string(total);
    tarn::ui::progress(text.c_str(), int32_t(done * 100 / (total ? total : 1)));
}

// Each page an image of the sheet at `dpi`, named after the page's number: OUT-3.png.
int32_t to_png(HANDLE file, XML_Node *index, const std::vector<XML_Node *> &pages,
               const std::string &output, const DEVMODEA *mode, int32_t dpi) {
    int width = 0, height = 0;
    plat::sheet_dots(mode, dpi, &width, &height);
    const std::string stem = output.substr(0, output.size() - 4);
    int32_t written = 0;
    for (XML_Node *page : pages) {
        HDC dc = plat::create_memory_dc(width, height, dpi);
        if (!dc) return 0;
        koPrinterPageToDevice(dc, file, index, page);
        const std::string name = stem + "-" + value_of(page, "Nr") + ".png";
        const bool saved = plat::save_png(dc, name.c_str());
        plat::delete_dc(dc);
        if (!saved) return 0;
        report(size_t(++written), pages.size());
    }
    return written;
}

int32_t to_pdf(HANDLE file, XML_Node *index, const std::vector<XML_Node *> &pages,
               const std::string &output, const DEVMODEA *mode) {
    HDC dc = plat::create_pdf_dc(mode);
    if (!dc) return 0;
    if (!plat::start_document(dc, job_name(index).c_str(), output.c_str())) {
        plat::delete_dc(dc);
        return 0;
    }
    int32_t written = 0;
    for (XML_Node *page : pages) {
        if (!plat::start_page(dc)) break;
        koPrinterPageToDevice(dc, file, index, page);
        if (!plat::end_page(dc)) break;
        report(size_t(++written), pages.size());
    }
    const bool ended = plat::end_document(dc);
    plat::delete_dc(dc);
    return ended && written == int32_t(pages.size()) ? written : 0;
}

}  // namespace

// The sheet is that of the first page's role: a list set up for landscape stays landscape.
TARN_API int32_t TARN_CALL tarnPrintScriptToFile(const char *script, int32_t first, int32_t last,
                                                 const char *output, int32_t dpi) {
    if (!script || !output || !*output) return 0;
    HANDLE file = X_Open(script, 0);
    if (file == TARN_INVALID_HANDLE) return 0;
    XML_Node *index = koPrinterOpenXML(file);
    int32_t written = 0;
    const std::vector<XML_Node *> pages =
        index ? pages_in_range(index, first, last) : std::vector<XML_Node *>();
    if (!pages.empty()) {
        DEVMODEA *mode = koPrinterLoadDevmodeData(value_of(pages[0], "Drucker").c_str());
        written = is_png_name(output)
                      ? to_png(file, index, pages, output, mode,
                               dpi <= 0 ? kDefaultDpi : std::clamp(dpi, kLowestDpi, kHighestDpi))
                      : to_pdf(file, index, pages, output, mode);
        FreeGlobal(mode);
    }
    koXML_ReleaseTree(index);
    X_Close(file);
    return written;
}
