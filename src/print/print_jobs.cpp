// Print jobs: a document on a role's printer, and a script's pages printed in runs of jobs.
#include <cstdlib>
#include <string>

#include "export.h"
#include "platform/draw.h"
#include "platform/printer.h"
#include "platform/system.h"
#include "print/print_state.h"
#include "print/script_commands.h"

namespace {

using namespace tarn::print;

std::string value_of(XML_Node *node, const char *name) {
    char buffer[1024] = "";
    if (!node || !koXML_GetValueByName(node, name, buffer, sizeof buffer)) return std::string();
    return buffer;
}

// The job under way: its role and device context (null when the role's printer did not open).
struct RunningJob {
    bool started = false;
    std::string role;
    HDC dc = nullptr;

    void end() {
        if (dc) koEndPrintJob(dc);
        dc = nullptr;
        started = false;
    }
    void switch_to(const std::string &newRole, const std::string &document) {
        if (started && newRole == role) return;
        end();
        role = newRole;
        dc = koStartPrintJob(role.c_str(), document.c_str());
        started = true;
    }
};

void print_pages(HANDLE file, XML_Node *index, int32_t first, int32_t last, const char *logName) {
    XML_Node *pages = koXML_GetChildByName(index, "Pages");
    XML_Node *page = pages ? koXML_GetFirstChild(pages) : nullptr;
    if (!page) return;
    const std::string document = job_name(index);
    RunningJob job;
    if (logName) job.switch_to(logName, document);
    for (; page; page = koXML_GetNext(page)) {
        const long nr = std::atol(value_of(page, "Nr").c_str());
        if (nr < first || (last >= 0 && nr > last)) continue;
        if (!logName) {
            const std::string role = value_of(page, "Drucker");
            job.switch_to(role.empty() ? kStandardRole : role, document);
        }
        if (!job.dc || !plat::start_page(job.dc)) continue;
        koPrinterPageToDevice(job.dc, file, index, page);
        plat::end_page(job.dc);
    }
    job.end();
}

}  // namespace

namespace tarn::print {

std::string job_name(XML_Node *index) {
    if (!koXML_GetChildByName(index, "JobName")) {
        const std::string name = koXML_GetName(index) ? koXML_GetName(index) : "";
        koXML_SetValueByName(index, "JobName", name.c_str());
        koXML_SetName(index, kDefaultJobNode);
    }
    return value_of(index, "JobName");
}

}  // namespace tarn::print

TARN_API HDC TARN_CALL koStartPrintJob(const char *logName, const char *docName) {
    HDC dc = koGetPrinterDCByLogName(logName, 0);
    if (!dc) return nullptr;
    if (!plat::start_document(dc, docName ? docName : "", nullptr)) {
        plat::delete_dc(dc);
        return nullptr;
    }
    return dc;
}

TARN_API int32_t TARN_CALL koEndPrintJob(HDC dc) {
    if (!dc) return 0;
    const bool ended = plat::end_document(dc);
    plat::delete_dc(dc);
    return ended ? 1 : 0;
}

TARN_API int32_t TARN_CALL tarnDeleteDC(HDC dc) { return plat::delete_dc(dc) ? 1 : 0; }

TARN_API int32_t TARN_CALL koPrinterPrint(const char *file, int32_t first, int32_t last,
                                          const char *logName) {
    // Printer drivers may move the current folder; the caller finds it where it was.
    const std::string folder = plat::current_directory();
    HANDLE h = file ? X_Open(file, 0) : TARN_INVALID_HANDLE;
    if (h == TARN_INVALID_HANDLE) return 0;
    XML_Node *index = koPrinterOpenXML(h);
    if (index) print_pages(h, index, first, last, logName);
    koXML_ReleaseTree(index);
    X_Close(h);
    if (!folder.empty()) plat::set_current_directory(folder.c_str());
    return index ? 1 : 0;
}
