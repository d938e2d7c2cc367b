// tarn print: a print script onto the printers of its roles or one role, or into a PDF file or
// PNG pages; a plain text through the listing writer the same ways.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "commands.h"
#include "progress_bar.h"
#include "tarngdi32.h"

namespace tarn_tool {
namespace {

namespace fs = std::filesystem;

struct PrintArgs {
    std::string script, listing, printer, output, job;
    int32_t first = 1, last = -1, dpi = 0;
};

bool parse_int(const std::string &text, int32_t *value) {
    if (text.empty()) return false;
    char *end = nullptr;
    errno = 0;
    const long v = std::strtol(text.c_str(), &end, 10);
    if (*end || errno || v < 1 || v > 0x7FFFFFFF) return false;
    *value = int32_t(v);
    return true;
}

// "3" one page, "2-5" a range, "2-" from the second page to the end.
bool parse_pages(const std::string &text, int32_t *first, int32_t *last) {
    const size_t dash = text.find('-');
    if (dash == std::string::npos) {
        if (!parse_int(text, first)) return false;
        *last = *first;
        return true;
    }
    if (!parse_int(text.substr(0, dash), first)) return false;
    const std::string to = text.substr(dash + 1);
    if (to.empty()) return *last = -1, true;
    return parse_int(to, last) && *last >= *first;
}

// UTF-8 text in the ANSI code page the listing writer expects; text that is no UTF-8 is taken
// as ANSI already.
std::string to_ansi(const std::string &text) {
    std::vector<TARN_WCHAR> wide;
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const int extra = c < 0x80 ? 0 : (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : (c & 0xF8) == 0xF0 ? 3 : -1;
        if (extra < 0 || i + size_t(extra) >= text.size() + (extra == 0 ? 1 : 0)) return text;
        uint32_t cp = extra == 0 ? c : c & (0x3F >> extra);
        for (int k = 1; k <= extra; ++k) {
            const unsigned char cont = static_cast<unsigned char>(text[i + size_t(k)]);
            if ((cont & 0xC0) != 0x80) return text;
            cp = (cp << 6) | (cont & 0x3F);
        }
        i += size_t(extra) + 1;
        if (cp >= 0x10000) cp = '?';  // no ANSI page has those
        wide.push_back(TARN_WCHAR(cp));
    }
    if (wide.empty()) return std::string();
    std::vector<char> ansi(wide.size() + 1, '\0');
    wide.push_back(0);
    UNC2ANSI(ansi.data(), int32_t(ansi.size()), wide.data(), int32_t(wide.size() - 1));
    return ansi.data();
}

std::string expand_tabs(const std::string &line) {
    std::string out;
    for (const char c : line) {
        if (c != '\t') out += c;
        else out.append(8 - out.size() % 8, ' ');
    }
    return out;
}

// Lays the text out through the listing writer in `work` (its script goes to work's "..\LST");
// the script's path, or "" on failure.
std::string write_listing(const std::string &text, const std::string &job, const fs::path &work) {
    std::error_code ec;
    const fs::path before = fs::current_path(ec);
    fs::create_directories(work, ec);
    fs::current_path(work, ec);
    if (ec) return std::string();
    ISprt_Protokoll *l = Create_Sprt_Protokoll();
    std::string script;
    if (l && l->lpVtbl->Open(l, job.c_str())) {
        const ISprt_ProtokollVtbl *v = l->lpVtbl;
        v->SetOem(l, 0);
        const int32_t perPage = v->GetLinesPerPage(l);
        int32_t onPage = 0;
        size_t from = 0;
        while (from < text.size()) {
            size_t end = text.find('\n', from);
            if (end == std::string::npos) end = text.size();
            std::string line = text.substr(from, end - from);
            from = end + 1;
            if (!line.empty() && line.back() == '\r') line.pop_back();
            // A form feed starts a new page, as printers of plain text do.
            for (size_t ff; (ff = line.find('\f')) != std::string::npos; line.erase(0, ff + 1)) {
                v->Write(l, expand_tabs(line.substr(0, ff)).c_str());
                v->EndPage(l);
                onPage = 0;
            }
            if (onPage == perPage) {
                v->EndPage(l);
                onPage = 0;
            }
            v->Write(l, expand_tabs(line).c_str());
            v->NewLine(l);
            ++onPage;
        }
        v->Close(l);
        for (const auto &entry : fs::directory_iterator(work.parent_path() / "LST", ec))
            if (entry.path().extension() == ".PRT") script = entry.path().string();
    }
    if (l) l->lpVtbl->Release(l);
    fs::current_path(before, ec);
    return script;
}

int print_script(const PrintArgs &a, const std::string &script) {
    ProgressBar bar;
    if (!a.output.empty()) {
        const int32_t pages = tarnPrintScriptToFile(script.c_str(), a.first, a.last, a.output.c_str(), a.dpi);
        if (pages > 0) {
            std::printf("%d page%s written to %s\n", int(pages), pages == 1 ? "" : "s", a.output.c_str());
            return kOk;
        }
        std::fprintf(stderr, "tarn print: nothing written to %s (no page in the range, a script that cannot be read, "
                             "or no PDF printer on this system)\n", a.output.c_str());
        return kFailure;
    }
    if (koPrinterPrint(script.c_str(), a.first, a.last, a.printer.empty() ? nullptr : a.printer.c_str()))
        return kOk;
    std::fprintf(stderr, "tarn print: cannot read the script %s\n", script.c_str());
    return kFailure;
}

}  // namespace

int run_print(const Args &args) {
    const Command &cmd = command("print");
    PrintArgs a;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string &arg = args[i];
        const bool hasValue = i + 1 < args.size();
        if ((arg == "-o" || arg == "--output") && hasValue) {
            a.output = args[++i];
        } else if (arg == "--printer" && hasValue) {
            a.printer = args[++i];
        } else if (arg == "--list" && hasValue) {
            a.listing = args[++i];
        } else if (arg == "--job" && hasValue) {
            a.job = args[++i];
        } else if (arg == "--pages" && hasValue) {
            if (!parse_pages(args[++i], &a.first, &a.last)) return usage_error(cmd, "--pages expects FIRST-LAST, FIRST- or PAGE");
        } else if (arg == "--dpi" && hasValue) {
            if (!parse_int(args[++i], &a.dpi)) return usage_error(cmd, "--dpi expects a number");
        } else if (arg.size() > 1 && arg[0] == '-') {
            return usage_error(cmd, "unknown option \"" + arg + "\"");
        } else if (a.script.empty()) {
            a.script = arg;
        } else {
            return usage_error(cmd, "one script at a time");
        }
    }
    if (a.script.empty() == a.listing.empty()) return usage_error(cmd, "expects a SCRIPT or --list TEXTFILE");
    if (!a.output.empty() && !a.printer.empty()) return usage_error(cmd, "-o and --printer exclude each other");
    if (a.listing.empty()) return print_script(a, a.script);

    std::string text;
    if (!read_input(a.listing, &text)) return kFailure;
    std::error_code ec;
    const fs::path temp = fs::temp_directory_path(ec) / (std::string("tarn-list-") + UniqName() + "-" +
                                                         std::to_string(std::rand()));
    const std::string job = a.job.empty() ? fs::path(a.listing).stem().string() : a.job;
    const std::string script = write_listing(to_ansi(text), job, temp / "work");
    int status = kFailure;
    if (script.empty()) std::fprintf(stderr, "tarn print: cannot write the listing in %s\n", temp.string().c_str());
    else status = print_script(a, script);
    fs::remove_all(temp, ec);
    return status;
}

}  // namespace tarn_tool
