// The listing writer: plain text laid out in Courier New columns as a print script, one
// "LTEXT" line per word, 63 lines (six to the inch) a page.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>

#include "export.h"
#include "lib/ui.h"
#include "platform/files.h"
#include "text/number_text.h"

namespace {

constexpr int32_t kLinesPerPage = 63;
constexpr double kLineHeightCm = 0.42333333333333334;  // a sixth of an inch
constexpr double kCmPerInch = 2.54;

const char *const kHeader[] = {
    "VARS LPI=6;",
    "INITPAGESIZE",
};
const char *const kFonts[] = {
    "FONT 1;!Courier New,12,1000,N;", "FONT 2;!Courier New,12,1000,F;",
    "FONT 3;!Courier New,12,1200,N;", "FONT 4;!Courier New,12,1200,F;",
    "FONT 5;!Courier New,12,1636,N;", "FONT 6;!Courier New,12,1636,F;",
};

struct Listing : ISprt_Protokoll {
    std::atomic<int32_t> refs{1};
    HANDLE file = TARN_INVALID_HANDLE;
    std::string path;
    int32_t pitch = 10;  // 10, 12 or 17 characters per inch
    bool bold = false;
    int32_t column = 0, line = 0;
    bool pageOpen = false;
    double leftMarginCm = 2.0;
    bool oem = true;
};

Listing *of(ISprt_Protokoll *self) { return static_cast<Listing *>(self); }

bool is_open(const Listing *l) { return l->file != TARN_INVALID_HANDLE; }

void write_line(Listing *l, const std::string &text) {
    if (is_open(l)) X_Writeln(l->file, text.c_str());
}

// 17 characters per inch are the condensed 16.36 of the printers the fonts were made for.
double pitch_value(int32_t pitch) { return pitch == 17 ? 16.36 : double(pitch); }

void select_font(Listing *l) {
    const int32_t pair = l->pitch == 12 ? 3 : l->pitch == 17 ? 5 : 1;
    write_line(l, "FONT " + std::to_string(pair + (l->bold ? 1 : 0)) + ";");
}

void open_page(Listing *l) {
    if (l->pageOpen) return;
    write_line(l, "STARTPAGE");
    select_font(l);
    l->pageOpen = true;
}

// Written without printf: an application's German LC_NUMERIC would turn the point into a comma.
std::string two_decimals(double value) {
    char text[tarn::kFixedTextSize];
    tarn::fixed_text(text, value, 2, '.');
    return text;
}

void write_word(Listing *l, std::string word) {
    if (word.empty()) return;
    if (l->oem) koOem2Ansi(word.c_str(), &word[0]);
    const double cpi = pitch_value(l->pitch);
    const double x = l->column * kCmPerInch / cpi + l->leftMarginCm;
    const double y = l->line * kLineHeightCm;
    const double w = double(word.size() + 1) * kCmPerInch / cpi;
    write_line(l, "LTEXT " + two_decimals(x) + ";" + two_decimals(y) + ";" + two_decimals(w) +
                      ";" + two_decimals(kLineHeightCm) + ";" + word);
    l->column += int32_t(word.size());
}

// Radix 10 is signed, any other radix shows the value's 32 bits unsigned.
std::string number_text(int32_t value, int32_t radix) {
    if (radix < 2 || radix > 36) radix = 10;
    const bool negative = radix == 10 && value < 0;
    uint32_t v = negative ? 0u - uint32_t(value) : uint32_t(value);
    std::string digits;
    do {
        digits.insert(digits.begin(), "0123456789abcdefghijklmnopqrstuvwxyz"[v % uint32_t(radix)]);
        v /= uint32_t(radix);
    } while (v);
    return negative ? "-" + digits : digits;
}

int32_t TARN_CALL add_ref(ISprt_Protokoll *self) { return ++of(self)->refs; }

int32_t TARN_CALL release(ISprt_Protokoll *self) {
    Listing *l = of(self);
    const int32_t left = --l->refs;
    if (left == 0) {
        if (is_open(l)) X_Close(l->file);
        delete l;
    }
    return left;
}

int32_t TARN_CALL release_all(ISprt_Protokoll *self) {
    while (release(self) > 0) {
    }
    return 0;
}

int32_t TARN_CALL close(ISprt_Protokoll *self);

// A name of the time's digits, counted up past files that exist: two listings opened within
// one second must not share a file. A missing "..\LST" folder is made.
int32_t TARN_CALL open(ISprt_Protokoll *self, const char *jobName) {
    Listing *l = of(self);
    if (is_open(l)) close(self);
    const std::string folder = std::string("..") + plat::path_separator() + "LST";
    if (!plat::file_exists(folder.c_str())) plat::create_directory(folder.c_str());
    uint32_t stamp = uint32_t(std::strtoul(UniqName(), nullptr, 16));
    bool free = false;
    for (int attempt = 0; attempt < 100000 && !free; ++attempt, ++stamp) {
        char name[16];
        std::snprintf(name, sizeof name, "%08X", unsigned(stamp));
        l->path = folder + plat::path_separator() + name + ".PRT";
        free = !plat::file_exists(l->path.c_str());
    }
    // A folder without a free name is no place for a listing: nothing there is overwritten.
    if (!free) {
        l->path.clear();
        return 0;
    }
    l->file = X_Creat(l->path.c_str());
    if (!is_open(l)) return 0;
    l->pitch = 10;
    l->bold = false;
    l->column = l->line = 0;
    l->pageOpen = false;
    for (const char *text : kHeader) write_line(l, text);
    write_line(l, std::string("STARTJOB ") + (jobName ? jobName : ""));
    for (const char *text : kFonts) write_line(l, text);
    return 1;
}

int32_t TARN_CALL end_page(ISprt_Protokoll *self) {
    Listing *l = of(self);
    if (l->pageOpen) write_line(l, "ENDPAGE");
    l->pageOpen = false;
    l->column = l->line = 0;
    return 1;
}

int32_t TARN_CALL close(ISprt_Protokoll *self) {
    Listing *l = of(self);
    if (!is_open(l)) return 0;
    end_page(self);
    write_line(l, "ENDJOB");
    const bool closed = X_Close(l->file) != 0;
    l->file = TARN_INVALID_HANDLE;
    return closed ? 1 : 0;
}

int32_t TARN_CALL lines_per_page(ISprt_Protokoll *) { return kLinesPerPage; }

int32_t TARN_CALL set_pitch(ISprt_Protokoll *self, int32_t pitch, int32_t bold) {
    Listing *l = of(self);
    l->pitch = pitch == 12 || pitch == 17 ? pitch : 10;
    l->bold = bold != 0;
    if (l->pageOpen) select_font(l);
    return 1;
}

int32_t TARN_CALL set_pos(ISprt_Protokoll *self, int32_t column, int32_t line) {
    of(self)->column = column;
    of(self)->line = line;
    return 1;
}

// Text outside a page opens one: words before "STARTPAGE" would belong to no page.
int32_t TARN_CALL write(ISprt_Protokoll *self, const char *text) {
    Listing *l = of(self);
    if (!text || !*text) return 1;
    open_page(l);
    std::string word;
    for (const char *p = text; *p; ++p) {
        if (*p != ' ' && *p != '\r' && *p != '\n') {
            word += *p;
            continue;
        }
        write_word(l, word);
        word.clear();
        if (*p == ' ') ++l->column;
        else if (*p == '\r') l->column = 0;
        else ++l->line;
    }
    write_word(l, word);
    return 1;
}

int32_t TARN_CALL write_number(ISprt_Protokoll *self, int32_t value, int32_t radix) {
    return write(self, number_text(value, radix).c_str());
}

int32_t TARN_CALL new_line(ISprt_Protokoll *self) {
    Listing *l = of(self);
    open_page(l);
    ++l->line;
    l->column = 0;
    return 1;
}

int32_t TARN_CALL write_at(ISprt_Protokoll *self, int32_t column, int32_t line, const char *text) {
    set_pos(self, column, line);
    return write(self, text);
}

int32_t TARN_CALL write_number_at(ISprt_Protokoll *self, int32_t column, int32_t line,
                                  int32_t value, int32_t radix) {
    set_pos(self, column, line);
    return write_number(self, value, radix);
}

// The script is finished first, so that the preview sees all of it; shown or not, it goes.
int32_t TARN_CALL preview(ISprt_Protokoll *self, HWND parent) {
    Listing *l = of(self);
    if (is_open(l)) close(self);
    if (l->path.empty()) return 0;
    const bool shown = tarn::ui::preview(l->path.c_str(), parent);
    plat::delete_file(l->path.c_str());
    l->path.clear();
    return shown ? 1 : 0;
}

int32_t TARN_CALL set_left_margin(ISprt_Protokoll *self, double centimetres) {
    of(self)->leftMarginCm = centimetres;
    return 1;
}

int32_t TARN_CALL set_oem(ISprt_Protokoll *self, int32_t on) {
    of(self)->oem = on != 0;
    return 1;
}

const ISprt_ProtokollVtbl kListingSlots = {
    add_ref,        release,    release_all,     open,        close,         lines_per_page,
    set_pitch,      set_pos,    write,           write_number, new_line,     end_page,
    write_at,       write_number_at, preview,    set_left_margin, set_oem,
};

}  // namespace

TARN_API ISprt_Protokoll *TARN_CALL Create_Sprt_Protokoll(void) {
    Listing *l = new (std::nothrow) Listing;
    if (!l) return nullptr;
    l->lpVtbl = &kListingSlots;
    return l;
}
