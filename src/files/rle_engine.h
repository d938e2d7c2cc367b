// The nibble-coded run-length format (magic 0x2649) as one engine over byte streams.
//
// compress() and expand() are written once, against an I/O policy: restart(), next(), put()
// and finish() are the four callback operations. The passes that touch every byte are members
// of the policy too; ByteStream supplies them byte by byte over those four, and a policy with
// direct access to its data may replace them, as long as every byte and result stays the same.
#pragma once
#include <cstdint>

#include "tarngdi32.h"

namespace tarn::rle {

using Byte = unsigned char;

constexpr Byte kMagicLow = 0x49;  // 0x2649, little-endian
constexpr Byte kMagicHigh = 0x26;
constexpr uint32_t kHeaderSize = 8;
constexpr uint32_t kMaxTable = 29;     // ranks with a table entry, so with a code under 14
constexpr uint32_t kSingleRanks = 13;  // ranks whose code is one nibble
constexpr uint32_t kMaxRunChunk = 16;
constexpr unsigned kEscapeNibble = 14;
constexpr unsigned kRunNibble = 15;

// Where every byte value stands after the first pass, and the code that follows from it.
struct CodeBook {
    explicit CodeBook(const uint32_t counts[256]);

    Byte order[256];     // byte values, most frequent first, equal counts in ascending order
    Byte rank[256];      // the place of each value in `order`
    uint32_t tableSize;  // leading values of `order` with a nonzero count, at most kMaxTable
    // Each value's code as the nibbles go out (first nibble in the low bits) and its length
    // in nibbles, 1 to 3.
    uint16_t code[256];
    uint8_t nibbles[256];
};

// The eight header bytes: magic, table size, length.
void write_header(Byte out[kHeaderSize], uint32_t tableSize, uint32_t length);

// The byte-by-byte passes over restart/next/put/finish, for policies that have nothing faster.
template <class Io>
class ByteStream {
public:
    // First pass: counts every input byte; the number of bytes read.
    uint32_t count_input(uint32_t counts[256]) {
        Byte c;
        uint32_t length = 0;
        if (!io().restart(c)) return 0;
        do {
            ++counts[c];
            ++length;
        } while (io().next(c));
        return length;
    }

    // Second pass: codes at most `length` input bytes, pads the last half byte and finishes.
    int32_t code_input(const CodeBook &book, uint32_t length) {
        Byte c;
        if (!io().restart(c)) return 0;
        NibbleOut out{io()};
        int prev = -1;  // no byte yet
        uint32_t run = 0;
        for (uint32_t done = 0; done < length;) {
            if (c == prev) {
                ++run;
            } else {
                if (run && !out.run(book, Byte(prev), run)) return 0;
                run = 0;
                if (!out.code(book, c)) return 0;
                prev = c;
            }
            // Once `length` bytes are coded the input is not asked for another.
            if (++done == length || !io().next(c)) break;
        }
        if (run && !out.run(book, Byte(prev), run)) return 0;
        if (!out.pad()) return 0;
        return io().finish();
    }

    // Decodes the code stream that follows the table until `length` bytes are out; finishes.
    int32_t decode_output(const Byte table[kMaxTable], uint32_t length) {
        return decode_codes(table, length, NibbleIn{io()}, 0);
    }

protected:
    // Nibbles out of bytes, low half first; a byte is read only when its low half is needed.
    struct NibbleIn {
        Io &io;
        Byte current = 0;
        bool high = false;  // the high half of `current` is still to come

        bool take(unsigned &n) {
            if (high) {
                high = false;
                n = current >> 4;
                return true;
            }
            if (!io.next(current)) return false;
            high = true;
            n = current & 15;
            return true;
        }
    };

    // The decoding loop proper, from any point of the code stream: `prev` is the last byte out.
    int32_t decode_codes(const Byte table[kMaxTable], uint32_t length, NibbleIn in, Byte prev) {
        while (length) {
            unsigned a, b, c;
            if (!in.take(a)) return 0;
            if (a == kRunNibble) {
                if (!in.take(b)) return 0;
                for (unsigned repeat = b + 1; repeat && length; --repeat, --length)
                    if (!io().put(prev)) return 0;
                continue;
            }
            if (a < kSingleRanks) {
                prev = table[a];
            } else if (a == kSingleRanks) {
                if (!in.take(b)) return 0;
                prev = table[kSingleRanks + b];
            } else {
                if (!in.take(b) || !in.take(c)) return 0;
                prev = Byte(b | c << 4);
            }
            if (!io().put(prev)) return 0;
            --length;
        }
        return io().finish();
    }

private:
    Io &io() { return static_cast<Io &>(*this); }

    // Nibbles into bytes, low half first; a byte goes out as soon as its high half is set.
    struct NibbleOut {
        Io &io;
        unsigned low = 0;
        bool half = false;

        bool nibble(unsigned n) {
            if (!half) {
                low = n;
                half = true;
                return true;
            }
            half = false;
            return io.put(Byte(low | n << 4));
        }
        bool code(const CodeBook &book, Byte c) {
            unsigned bits = book.code[c];
            for (unsigned i = 0; i < book.nibbles[c]; ++i, bits >>= 4)
                if (!nibble(bits & 15)) return false;
            return true;
        }
        bool run(const CodeBook &book, Byte p, uint32_t k) {
            if (k == 1 && book.rank[p] < kSingleRanks) return nibble(book.rank[p]);
            while (k) {
                const uint32_t m = k < kMaxRunChunk ? k : kMaxRunChunk;
                if (!nibble(kRunNibble) || !nibble(m - 1)) return false;
                k -= m;
            }
            return true;
        }
        bool pad() { return !half || nibble(0); }
    };
};

template <class Io>
int32_t compress(Io &io) {
    uint32_t counts[256] = {};
    const uint32_t length = io.count_input(counts);
    const CodeBook book(counts);
    Byte header[kHeaderSize];
    write_header(header, book.tableSize, length);
    // Unchecked: an output that keeps failing is caught at the first byte of the code stream.
    for (Byte b : header) io.put(b);
    for (uint32_t i = 0; i < book.tableSize; ++i) io.put(book.order[i]);
    return io.code_input(book, length);
}

template <class Io>
int32_t expand(Io &io) {
    Byte h[kHeaderSize];
    if (!io.restart(h[0]) || !io.next(h[1]) || !io.next(h[2]) || !io.next(h[3])) return 0;
    const uint32_t tableSize = uint32_t(h[2] | h[3] << 8);
    if (h[0] != kMagicLow || h[1] != kMagicHigh || tableSize > kMaxTable) return 0;
    for (uint32_t i = 4; i < kHeaderSize; ++i)
        if (!io.next(h[i])) return 0;
    // Entries past the table size read as 0, and so does a run before any output: a conforming
    // stream names neither.
    Byte table[kMaxTable] = {};
    for (uint32_t i = 0; i < tableSize; ++i)
        if (!io.next(table[i])) return 0;
    const uint32_t length =
        uint32_t(h[4]) | uint32_t(h[5]) << 8 | uint32_t(h[6]) << 16 | uint32_t(h[7]) << 24;
    return io.decode_output(table, length);
}

// The caller's callback as the policy: koExRleCompress and koExRleExpand.
class CallbackIo : public ByteStream<CallbackIo> {
public:
    CallbackIo(koRleIoProc proc, void *context) : proc_(proc), context_(context) {}
    bool restart(Byte &b) { return proc_(&b, TARN_RLE_RESTART, context_) != 0; }
    bool next(Byte &b) { return proc_(&b, TARN_RLE_NEXT, context_) != 0; }
    bool put(Byte b) { return proc_(&b, TARN_RLE_PUT, context_) != 0; }
    int32_t finish() { return proc_(nullptr, TARN_RLE_FINISH, context_); }

private:
    koRleIoProc proc_;
    void *context_;
};

}  // namespace tarn::rle
