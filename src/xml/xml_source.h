// The character sources of the XML reader: a file, an 8-bit string and a 16-bit string, each
// delivering 8-bit characters of the ANSI code page. The tokenizer takes them in windows and
// scans a window in bulk. While a status window is set, a window never reaches past an input
// position that is a multiple of 1024, which is where progress is reported once the window has
// been read to its end.
#pragma once
#include <cstddef>
#include <cstdint>

#include "tarngdi32.h"

namespace tarn::xml {

class Source {
public:
    Source();
    virtual ~Source() = default;

    // The unread part of the current window; a scan moves `cur` up to `end`, then calls advance().
    const unsigned char *cur = nullptr;
    const unsigned char *end = nullptr;

    // The next character, 0 at the end of the input (a zero character also ends it).
    int get() {
        if (cur == end && !advance()) return 0;
        return *cur++;
    }

    // Moves to the next window, reporting progress owed for the one read to its end; false at
    // the end of the input.
    bool advance();
    // Reports progress owed for a window the reader stopped at the end of.
    void finish();

    // 1 keeps blanks and line breaks in texts, 0 drops them.
    bool keep_white() const { return keepWhite_; }

protected:
    // Produces the next non-empty window with set_window(); false at the end of the input.
    virtual bool fill() = 0;
    // Makes `count` decoded characters at `chars` the window; `inputAfter` is the input position
    // reached once they are read. A zero character ends the input there. False when nothing is left.
    bool set_window(const unsigned char *chars, size_t count, int64_t inputAfter);
    // How many input units may go into the window that starts at `position`.
    int64_t window_room(int64_t position) const {
        return reporting_ ? 1024 - position % 1024 : int64_t(1) << 30;
    }

    int64_t total_ = 0;  // input units, for progress
    bool keepWhite_ = true;

private:
    bool reporting_;
    int64_t windowEnd_ = 0;
    bool owed_ = false;
    bool ended_ = false;
};

// Code points to ANSI characters through koCHARfromUNC, remembered: a document repeats the few
// characters outside ASCII it has, and each conversion is a call into the code-page layer.
class CharCache {
public:
    explicit CharCache(uint32_t codePage) : codePage_(codePage) {}
    unsigned char get(uint32_t codePoint);

private:
    uint32_t codePage_;
    uint32_t key_[256] = {};  // code point + 1; 0 marks a free entry
    unsigned char value_[256] = {};
};

// XML_FileReader_AnsiString: the bytes of the text; white space always kept.
class AnsiStringSource final : public Source {
public:
    AnsiStringSource(const char *text, int32_t length);

private:
    bool fill() override;
    const unsigned char *text_;
    int64_t length_;
    int64_t position_ = 0;
};

// XML_FileReader_Unicode: 16-bit units converted to the ANSI code page taken at construction.
class UnicodeSource final : public Source {
public:
    explicit UnicodeSource(const TARN_WCHAR *text);

private:
    bool fill() override;
    const TARN_WCHAR *text_;
    int64_t length_ = 0;
    int64_t position_ = 0;
    CharCache chars_;
    unsigned char window_[4096];
};

// XML_FileReader_File: a file through the cached file object, read in large blocks; bytes from
// 0x80 decoded as UTF-8 when the byte order mark or the declaration says so.
class FileSource final : public Source {
public:
    FileSource();
    ~FileSource() override;
    // Opens the file and checks its start (byte order mark, declaration, encoding); false when
    // it cannot be opened or is not XML. `flag` is the white-space flag and asks for the
    // declared encoding to be read.
    bool open(const char *name, int32_t flag);
    bool utf8() const { return utf8_; }

private:
    static constexpr int32_t kRawSize = 65536;
    static constexpr size_t kDecodedSize = kRawSize;

    bool fill() override;
    bool refill_raw();
    size_t decode_inside(size_t n, int64_t boundary);
    // The next raw byte, 0 past the end (continuation bytes are taken unchecked).
    unsigned char raw_byte();
    void close();

    IXFileCached *file_ = nullptr;
    bool utf8_ = false;
    unsigned char *raw_ = nullptr;
    int32_t rawUsed_ = 0;
    int32_t rawCount_ = 0;
    int64_t position_ = 0;  // file position of raw_[rawUsed_]
    CharCache chars_;
    unsigned char *decoded_ = nullptr;
};

}  // namespace tarn::xml
