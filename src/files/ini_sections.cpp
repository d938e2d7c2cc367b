// Whole sections of an INI-style text file, edited by hand rather than through the profile
// calls, so that a section's text goes in and out exactly as the caller has it.
#include <cstring>
#include <string>

#include "export.h"
#include "platform/files.h"

namespace {

// X_Readln reads at most this many bytes less one; a longer line comes back in pieces.
constexpr int32_t kLineSize = 1024;

bool is_section_line(const char *line) {
    const size_t n = std::strlen(line);
    return n > 0 && line[0] == '[' && line[n - 1] == ']';
}

// The plain ASCII rule (lstrupr): a section file must match the same way whatever code pages
// the machine that reads it is set to.
std::string section_header(const char *section) {
    std::string header = std::string("[") + (section ? section : "") + "]";
    lstrupr(&header[0]);
    return header;
}

// X_Readln leaves a line without its own terminator when no line end was read.
bool read_line(HANDLE h, char *line) {
    std::memset(line, 0, kLineSize);
    return X_Readln(h, line, kLineSize) != 0;
}

class ScopedFile {
public:
    explicit ScopedFile(HANDLE h) : h_(h) {}
    ~ScopedFile() { close(); }
    ScopedFile(const ScopedFile &) = delete;
    ScopedFile &operator=(const ScopedFile &) = delete;
    bool ok() const { return h_ != TARN_INVALID_HANDLE; }
    HANDLE get() const { return h_; }
    void close() {
        if (ok()) X_Close(h_);
        h_ = TARN_INVALID_HANDLE;
    }

private:
    HANDLE h_;
};

}  // namespace

TARN_API int32_t TARN_CALL DelIniAbschnitt(const char *file, const char *section) {
    if (!file) return 0;
    const std::string temp = plat::temp_folder() + UniqName() + ".$$$";
    ScopedFile in(X_Open(file, 0));
    if (!in.ok()) return 0;
    ScopedFile out(X_Creat(temp.c_str()));
    if (!out.ok()) return 0;

    const std::string header = section_header(section);
    char line[kLineSize];
    while (read_line(in.get(), line)) {
        if (is_section_line(line)) {
            lstrupr(line);
            if (header == line) {
                bool more = false;
                while ((more = read_line(in.get(), line)) && !is_section_line(line)) {}
                if (!more) break;
                // The header that ends the dropped section is kept, without being compared.
                lstrupr(line);
            }
        }
        X_Writeln(out.get(), line);
    }
    in.close();
    out.close();

    if (!plat::copy_file(temp.c_str(), file, false)) return 0;
    plat::delete_file(temp.c_str());
    return 1;
}

TARN_API int32_t TARN_CALL AddIniAbschnitt(const char *file, const char *section,
                                           const char *text) {
    if (!file) return 0;
    DelIniAbschnitt(file, section);
    HANDLE h = X_Open(file, 1);
    if (h == TARN_INVALID_HANDLE) h = X_Creat(file);
    ScopedFile f(h);
    if (!f.ok()) return 0;
    const int32_t end = X_Seek(f.get(), 0, 2);
    if (end < 0 || end != plat::file_length(f.get())) return 0;

    const std::string header = section_header(section);
    const std::string headerLine = "\r\n" + header;
    const bool headerWritten = X_Writeln(f.get(), headerLine.c_str()) != 0;
    const char *body = text ? text : "";
    // The length taken as 16 bits and the write's result as signed 16 bits: -1 is a failed
    // write (also for a text of 65535 bytes, whose full count reads as -1), any other result
    // must be the whole length.
    const uint16_t length = uint16_t(std::strlen(body));
    const int16_t written = X_Write(f.get(), body, length);
    const bool bodyWritten = written != -1 && uint16_t(written) == length;
    return headerWritten && bodyWritten ? 1 : 0;
}

TARN_API int32_t TARN_CALL LoadIniAbschnitt(const char *file, const char *section, char *buffer) {
    if (!file) return 0;
    ScopedFile in(X_Open(file, 0));
    if (!in.ok()) return 0;

    const std::string header = section_header(section);
    char line[kLineSize];
    bool found = false;
    while (!found && read_line(in.get(), line))
        found = is_section_line(line) && header == lstrupr(line);
    if (!found) return 0;
    // Without a buffer the call only tells whether the section exists.
    if (!buffer) return 1;

    char *to = buffer;
    while (read_line(in.get(), line) && !is_section_line(line)) {
        const size_t n = std::strlen(line);
        std::memcpy(to, line, n);
        to += n;
        *to++ = '\r';
        *to++ = '\n';
    }
    *to = '\0';
    return 1;
}

TARN_API int32_t TARN_CALL DateiLoeschen(const char *file) {
    return file && plat::delete_file(file) ? 1 : 0;
}
