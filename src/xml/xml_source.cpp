#include "xml/xml_source.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "xml/xml_progress.h"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the UTF-8 decoder takes the lowest byte of a word as the first");

namespace tarn::xml {

// ---- Source ----

Source::Source() : reporting_(progress_wanted()) {}

bool Source::set_window(const unsigned char *chars, size_t count, int64_t inputAfter) {
    if (const void *zero = std::memchr(chars, 0, count)) {
        count = size_t(static_cast<const unsigned char *>(zero) - chars);
        ended_ = true;
        owed_ = false;
    } else {
        windowEnd_ = inputAfter;
        owed_ = inputAfter > 0 && inputAfter % 1024 == 0;
    }
    cur = chars;
    end = chars + count;
    return count > 0;
}

bool Source::advance() {
    if (owed_) {
        owed_ = false;
        if (progress_wanted()) report_progress(windowEnd_, total_);
    }
    if (ended_) return false;
    if (fill()) return true;
    ended_ = true;
    cur = end;
    return false;
}

void Source::finish() {
    if (cur == end && owed_) {
        owed_ = false;
        if (progress_wanted()) report_progress(windowEnd_, total_);
    }
}

// ---- CharCache ----

unsigned char CharCache::get(uint32_t codePoint) {
    // Converted as one UTF-16 unit: a code point beyond 16 bits keeps its low 16 bits only.
    codePoint &= 0xFFFF;
    const uint32_t slot = (codePoint ^ (codePoint >> 8)) & 0xFF;
    if (key_[slot] != codePoint + 1) {
        key_[slot] = codePoint + 1;
        value_[slot] = static_cast<unsigned char>(koCHARfromUNC(TARN_WCHAR(codePoint), codePage_));
    }
    return value_[slot];
}

// ---- AnsiStringSource ----

AnsiStringSource::AnsiStringSource(const char *text, int32_t length)
    : text_(reinterpret_cast<const unsigned char *>(text)) {
    // A length of 0 or below reads up to the terminating zero.
    length_ = length > 0 ? length : int64_t(std::strlen(text));
    total_ = length_;
    keepWhite_ = true;
}

bool AnsiStringSource::fill() {
    if (position_ >= length_) return false;
    int64_t n = window_room(position_);
    if (n > length_ - position_) n = length_ - position_;
    const unsigned char *from = text_ + position_;
    position_ += n;
    return set_window(from, size_t(n), position_);
}

// ---- UnicodeSource ----

UnicodeSource::UnicodeSource(const TARN_WCHAR *text) : text_(text), chars_(koGetACP()) {
    while (text_[length_] != 0) ++length_;
    total_ = length_;
    keepWhite_ = true;
}

bool UnicodeSource::fill() {
    if (position_ >= length_) return false;
    int64_t n = std::min<int64_t>(window_room(position_), int64_t(sizeof window_));
    if (n > length_ - position_) n = length_ - position_;
    for (int64_t i = 0; i < n; ++i) window_[i] = chars_.get(uint16_t(text_[position_ + i]));
    position_ += n;
    return set_window(window_, size_t(n), position_);
}

// ---- FileSource ----

namespace {

constexpr char kDeclaration[] = "<?xml version=";
constexpr size_t kDeclarationLength = sizeof kDeclaration - 1;  // 14

// Read with the quotes: a name in single quotes matches none of them.
constexpr const char *kLatinNames[] = {
    "\"WINDOWS-1252\"", "\"ISO-8859-1\"",  "\"ISO_8859-1\"", "\"IBM819\"",
    "\"LATIN1\"",       "\"CSISOLATIN1\"", "\"CP1252\"",     "\"CP819\"",
};
constexpr char kUtf8Name[] = "\"UTF-8\"";

// How many of the first `count` bytes are below 0x80, eight at a time where it can.
int32_t ascii_prefix(const unsigned char *p, int32_t count) {
    int32_t i = 0;
    for (; i + 8 <= count; i += 8) {
        uint64_t word;
        std::memcpy(&word, p + i, 8);
        if (word & 0x8080808080808080ull) break;
    }
    while (i < count && p[i] < 0x80) ++i;
    return i;
}

bool starts_with(const char *text, const char *prefix) {
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

}  // namespace

FileSource::FileSource() : chars_(koGetACP()) {}

FileSource::~FileSource() {
    close();
    delete[] raw_;
    delete[] decoded_;
}

void FileSource::close() {
    if (!file_) return;
    file_->lpVtbl->Close(file_);
    file_->lpVtbl->Release(file_);
    file_ = nullptr;
}

bool FileSource::open(const char *name, int32_t flag) {
    file_ = CreateIXFileCached();
    if (!file_) return false;
    if (!file_->lpVtbl->Open(file_, name, 0)) {
        file_->lpVtbl->Release(file_);
        file_ = nullptr;
        return false;
    }
    total_ = file_->lpVtbl->GetSize(file_);
    keepWhite_ = flag != 0;

    int32_t start = 0;
    unsigned char mark[3];
    if (file_->lpVtbl->Read(file_, mark, 3) == 3 && mark[0] == 0xEF && mark[1] == 0xBB &&
        mark[2] == 0xBF) {
        utf8_ = true;
        start = 3;
    } else {
        file_->lpVtbl->Seek(file_, 0);
    }

    char head[200] = {};
    const int32_t got = file_->lpVtbl->Read(file_, head, 180);
    if (got < int32_t(kDeclarationLength) ||
        std::memcmp(head, kDeclaration, kDeclarationLength) != 0) {
        close();
        return false;
    }

    if (flag != 0) {
        utf8_ = true;
        if (const char *named = std::strstr(head, "encoding=")) {
            char upper[200] = {};
            const char *from = named + 9;
            for (size_t i = 0; from[i] != 0 && i + 1 < sizeof upper; ++i)
                upper[i] = char(koUpperCase(static_cast<unsigned char>(from[i])));
            bool latin = false;
            for (const char *n : kLatinNames) latin = latin || starts_with(upper, n);
            if (latin || !starts_with(upper, kUtf8Name)) utf8_ = false;
        }
    }

    file_->lpVtbl->Seek(file_, start);
    position_ = start;
    raw_ = new (std::nothrow) unsigned char[kRawSize];
    if (utf8_) decoded_ = new (std::nothrow) unsigned char[kDecodedSize];
    if (!raw_ || (utf8_ && !decoded_)) {
        close();
        return false;
    }
    return true;
}

bool FileSource::refill_raw() {
    if (!file_) return false;
    const int32_t got = file_->lpVtbl->Read(file_, raw_, kRawSize);
    rawUsed_ = 0;
    rawCount_ = got > 0 ? got : 0;
    return rawCount_ > 0;
}

unsigned char FileSource::raw_byte() {
    if (rawUsed_ == rawCount_ && !refill_raw()) return 0;
    ++position_;
    return raw_[rawUsed_++];
}

namespace {

// The code point of the UTF-8 sequence that begins with b1 (from 0x80), its continuation bytes
// taken from `next` unchecked.
template <class Next>
uint32_t sequence_code(unsigned char b1, Next next) {
    if ((b1 & 0xE0) == 0xC0) return uint32_t(b1 & 31) << 6 | (next() & 63);
    if ((b1 & 0xF0) == 0xE0) {
        const uint32_t b2 = next() & 63;
        return (uint32_t(b1 & 15) << 6 | b2) << 6 | (next() & 63);
    }
    if ((b1 & 0xF8) == 0xF0) {
        // The first byte's own bits are not used: kept as the format has always been read.
        const uint32_t b2 = next() & 63;
        const uint32_t b3 = next() & 63;
        return (b2 << 6 | b3) << 6 | (next() & 63);
    }
    return 0x20AC;  // a stray continuation byte or 0xF8 and above: the euro sign
}

}  // namespace

// Decodes from the raw buffer into decoded_ from `n` on while every sequence begun lies wholly in
// the raw buffer, a sequence starting before `boundary`; the new count. Stops early near the raw
// buffer's end, where the byte-wise steps of fill() take over.
size_t FileSource::decode_inside(size_t n, int64_t boundary) {
    const unsigned char *r = raw_ + rawUsed_;
    const unsigned char *const begin = r;
    // Sequences start only where a 4-byte one still fits, and before the boundary.
    const int64_t room = std::min<int64_t>(int64_t(rawCount_ - rawUsed_) - 3, boundary - position_);
    if (room <= 0) return n;
    const unsigned char *const stop = r + room;
    unsigned char *o = decoded_ + n;
    unsigned char *const oEnd = decoded_ + kDecodedSize;
    while (r < stop && o < oEnd) {
        if (stop - r >= 8 && oEnd - o >= 8) {
            // The ASCII bytes before the first one from 0x80 go over as they are, all eight
            // stored and as many kept.
            uint64_t word;
            std::memcpy(&word, r, 8);
            std::memcpy(o, &word, 8);
            const uint64_t high = word & 0x8080808080808080ull;
            const unsigned ascii = high ? unsigned(__builtin_ctzll(high)) >> 3 : 8;
            r += ascii;
            o += ascii;
            if (ascii == 8) continue;
        }
        const unsigned char b1 = *r;
        if (b1 < 0x80) {
            *o++ = b1;
            ++r;
            continue;
        }
        ++r;
        *o++ = chars_.get(sequence_code(b1, [&r] { return *r++; }));
    }
    rawUsed_ += int32_t(r - begin);
    position_ += r - begin;
    return size_t(o - decoded_);
}

bool FileSource::fill() {
    if (rawUsed_ == rawCount_ && !refill_raw()) return false;
    if (!utf8_) {
        int64_t n = window_room(position_);
        if (n > rawCount_ - rawUsed_) n = rawCount_ - rawUsed_;
        const unsigned char *from = raw_ + rawUsed_;
        rawUsed_ += int32_t(n);
        position_ += n;
        return set_window(from, size_t(n), position_);
    }

    // Plain ASCII up to the window's end is the common case: the raw bytes serve as the window.
    const int32_t limit = int32_t(std::min<int64_t>(rawCount_ - rawUsed_, window_room(position_)));
    const unsigned char *raw = raw_ + rawUsed_;
    const int32_t ascii = ascii_prefix(raw, limit);
    if (ascii == limit) {
        rawUsed_ += limit;
        position_ += limit;
        return set_window(raw, size_t(limit), position_);
    }
    // Otherwise runs of ASCII are copied whole and only the sequences between them decoded.
    const int64_t boundary = position_ + window_room(position_);
    size_t n = 0;
    while (n < kDecodedSize && position_ < boundary) {
        if (rawUsed_ == rawCount_ && !refill_raw()) break;
        n = decode_inside(n, boundary);
        if (n == kDecodedSize || position_ >= boundary) break;
        if (rawUsed_ == rawCount_ && !refill_raw()) break;
        int64_t run = std::min<int64_t>(rawCount_ - rawUsed_, boundary - position_);
        run = std::min<int64_t>(run, int64_t(kDecodedSize - n));
        const int32_t plain = ascii_prefix(raw_ + rawUsed_, int32_t(run));
        std::memcpy(decoded_ + n, raw_ + rawUsed_, size_t(plain));
        n += size_t(plain);
        rawUsed_ += plain;
        position_ += plain;
        if (plain == run) continue;
        const unsigned char b1 = raw_byte();
        decoded_[n++] = chars_.get(sequence_code(b1, [this] { return raw_byte(); }));
    }
    if (n == 0) return false;
    return set_window(decoded_, n, position_);
}

}  // namespace tarn::xml
