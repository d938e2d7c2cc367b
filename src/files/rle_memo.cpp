// koMemoCompress and koMemoExpand: the run-length engine between two memory buffers.
//
// The memory context reads the source up to its length and stores output bytes only while they
// fit the capacity, but counts every one: a call with capacity 0 measures. The passes over the
// data run here a word at a time instead of a byte at a time through the context, and leave
// every byte of the destination and every result as the byte-wise engine would.
#include "export.h"
#include "files/rle_engine.h"

#include <cstring>
#include <memory>
#include <new>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "words are taken least significant byte first");

// The decoder's steps must melt into its loop, which GCC does not always see by itself.
#define TARN_ALWAYS_INLINE inline __attribute__((always_inline))

namespace tarn::rle {
namespace {

constexpr uint64_t kOnes = 0x0101010101010101ull;
constexpr uint64_t kHighs = 0x8080808080808080ull;

inline uint64_t load64(const Byte *p) {
    uint64_t v;
    std::memcpy(&v, p, 8);
    return v;
}

inline void store64(Byte *p, uint64_t v) { std::memcpy(p, &v, 8); }

// 0x80 in the lowest zero byte of v; nothing below it.
inline uint64_t zero_bytes(uint64_t v) { return (v - kOnes) & ~v & kHighs; }

// Index of the lowest nonzero byte of a nonzero word.
inline unsigned lowest_byte(uint64_t v) { return unsigned(__builtin_ctzll(v)) >> 3; }

template <unsigned Nibbles>
struct DecodeTable;

class MemoryIo : public ByteStream<MemoryIo> {
public:
    MemoryIo(const Byte *src, uint32_t srcLen, Byte *dst, uint32_t dstCap)
        : src_(src), dst_(dst), srcLen_(srcLen), dstCap_(dstCap) {}

    uint32_t written() const { return written_; }

    bool restart(Byte &b) {
        read_ = 0;
        return next(b);
    }
    bool next(Byte &b) {
        if (read_ >= srcLen_) return false;
        b = src_[read_++];
        return true;
    }
    bool put(Byte b) {
        if (written_ < dstCap_) dst_[written_] = b;
        ++written_;
        return true;
    }
    int32_t finish() { return 1; }

    // put() for n bytes at once.
    void put_block(const Byte *p, uint32_t n) {
        if (written_ < dstCap_) {
            const uint32_t room = dstCap_ - written_;
            std::memcpy(dst_ + written_, p, n < room ? n : room);
        }
        written_ += n;
    }

    uint32_t count_input(uint32_t counts[256]);
    int32_t code_input(const CodeBook &book, uint32_t length);
    int32_t decode_output(const Byte table[kMaxTable], uint32_t length);

private:
    template <unsigned Nibbles>
    void decode_fast(const DecodeTable<Nibbles> &t, uint32_t &length, uint64_t &nibble, Byte &prev);

    const Byte *src_;
    Byte *dst_;
    uint32_t srcLen_;
    uint32_t dstCap_;
    uint32_t read_ = 0;
    uint32_t written_ = 0;
};

uint32_t MemoryIo::count_input(uint32_t counts[256]) {
    // A table per byte of the word, so that runs of one value (the blanks that pad fields) do
    // not queue on a single counter.
    uint32_t c[8][256] = {};
    const Byte *p = src_;
    uint32_t n = srcLen_;
    for (; n >= 8; n -= 8, p += 8) {
        const uint64_t x = load64(p);
        ++c[0][x & 255], ++c[1][x >> 8 & 255], ++c[2][x >> 16 & 255], ++c[3][x >> 24 & 255];
        ++c[4][x >> 32 & 255], ++c[5][x >> 40 & 255], ++c[6][x >> 48 & 255], ++c[7][x >> 56];
    }
    for (; n; --n) ++c[0][*p++];
    for (unsigned v = 0; v < 256; ++v) {
        uint32_t sum = 0;
        for (const auto &table : c) sum += table[v];
        counts[v] = sum;
    }
    read_ = srcLen_;
    return srcLen_;
}

// Nibbles gather in a 64-bit word, low first, and leave it for a stack buffer a few bytes at a
// time with one unconditional store. The buffer reaches the destination through put_block, so
// nothing past the last output byte is touched.
class CodeWriter {
public:
    static constexpr uint32_t kStageSize = 4096;
    static constexpr uint32_t kSlack = 64;
    static constexpr uint32_t kStageBytes = kStageSize + kSlack + 8;

    // The stage lies outside the writer: stores into it then cannot touch the writer's own
    // fields, which so stay in registers.
    CodeWriter(MemoryIo &io, Byte *stage) : io_(io), stage_(stage) {}

    // At most 56 bits between two flushes: with the 7 a flush may leave they fit the word.
    void add(uint64_t bits, unsigned count) {
        acc_ |= bits << used_;
        used_ += count;
    }
    void flush() {
        store64(stage_ + fill_, acc_);
        fill_ += used_ >> 3;
        acc_ >>= used_ & ~7u;
        used_ &= 7;
    }
    // Between steps that add less than kSlack bytes.
    void make_room() {
        if (fill_ >= kStageSize) drain();
    }
    // A pending half byte goes out with a high nibble of 0.
    void close() {
        flush();
        if (used_) {
            used_ = 8;
            flush();
        }
        drain();
    }

private:
    void drain() {
        io_.put_block(stage_, fill_);
        fill_ = 0;
    }

    MemoryIo &io_;
    uint64_t acc_ = 0;
    unsigned used_ = 0;
    uint32_t fill_ = 0;
    Byte *stage_;
};

// From this input length on the pair table (256 KiB, built in about 0.1 ms) pays for itself.
constexpr uint32_t kPairTableFrom = 1u << 20;

class Coder {
public:
    Coder(const CodeBook &book, CodeWriter &out) : book_(book), out_(out) {
        for (unsigned v = 0; v < 256; ++v)
            entry_[v] = book.code[v] | uint32_t(book.nibbles[v]) * 4 << 16;
    }

    void code(Byte c) { out_.add(entry_[c] & 0xFFFF, entry_[c] >> 16); }

    // Long inputs pay for a table of the codes of every pair of bytes: half the lookups and
    // additions for runs of bytes that do not repeat. Without memory for it, bytes one by one.
    void use_pairs(uint32_t *pairs) {
        pairs_ = pairs;
        for (unsigned a = 0; a < 256; ++a) {
            const uint32_t ea = entry_[a], bitsA = ea >> 16;
            for (unsigned b = 0; b < 256; ++b) {
                const uint32_t eb = entry_[b];
                pairs[a | b << 8] =
                    ((ea & 0xFFFF) | (eb & 0xFFFF) << bitsA) | (bitsA + (eb >> 16)) << 24;
            }
        }
    }

    // The codes of all eight bytes of x, none of them equal to the byte before it.
    void codes8(uint64_t x) {
        if (!pairs_) {
            codes(x, 8);
            return;
        }
        const uint32_t p0 = pairs_[x & 0xFFFF], p1 = pairs_[x >> 16 & 0xFFFF];
        const uint32_t p2 = pairs_[x >> 32 & 0xFFFF], p3 = pairs_[x >> 48];
        out_.add(p0 & 0xFFFFFF, p0 >> 24);
        out_.add(p1 & 0xFFFFFF, p1 >> 24);
        out_.flush();
        out_.add(p2 & 0xFFFFFF, p2 >> 24);
        out_.add(p3 & 0xFFFFFF, p3 >> 24);
        out_.flush();
    }

    // The codes of the low n bytes of x, none of them equal to the byte before it.
    void codes(uint64_t x, unsigned n) {
        for (unsigned i = 0; i < n; ++i, x >>= 8) {
            code(Byte(x));
            if (i == 3) out_.flush();
        }
        out_.flush();
    }

    // k repeats of p.
    void run(Byte p, uint32_t k) {
        if (k == 1 && book_.rank[p] < kSingleRanks) {
            out_.add(book_.rank[p], 4);
            out_.flush();
            return;
        }
        // A whole chunk of 16 repeats is nibbles 15 and 15, eight set bits; seven to a flush.
        for (uint32_t whole = k / kMaxRunChunk; whole;) {
            const unsigned bytes = whole < 7 ? unsigned(whole) : 7;
            out_.add(~uint64_t(0) >> (64 - 8 * bytes), 8 * bytes);
            out_.flush();
            out_.make_room();
            whole -= bytes;
        }
        if (const uint32_t rest = k % kMaxRunChunk) {
            out_.add(kRunNibble | (rest - 1) << 4, 8);
            out_.flush();
        }
    }

private:
    const CodeBook &book_;
    CodeWriter &out_;
    uint32_t entry_[256];  // code bits, and their number above bit 16
    uint32_t *pairs_ = nullptr;  // per byte pair (first in the low byte): bits, number above 24
};

int32_t MemoryIo::code_input(const CodeBook &book, uint32_t length) {
    if (srcLen_ == 0) return 0;
    const uint32_t n = length < srcLen_ ? length : srcLen_;
    const Byte *s = src_;
    Byte stage[CodeWriter::kStageBytes];
    CodeWriter out(*this, stage);
    Coder coder(book, out);
    std::unique_ptr<uint32_t[]> pairs;
    if (n >= kPairTableFrom) pairs.reset(new (std::nothrow) uint32_t[65536]);
    if (pairs) coder.use_pairs(pairs.get());
    Byte prev = s[0];
    coder.code(prev);
    out.flush();
    uint32_t i = 1;
    while (i < n) {
        out.make_room();
        if (n - i >= 8) {
            // Eight bytes at once while none repeats the one before it.
            const uint64_t x = load64(s + i);
            const uint64_t repeats = zero_bytes(x ^ (x << 8 | prev));
            if (!repeats) {
                coder.codes8(x);
                prev = Byte(x >> 56);
                i += 8;
                continue;
            }
            const unsigned j = lowest_byte(repeats);
            coder.codes(x, j);
            if (j) prev = Byte(x >> (8 * (j - 1)));
            i += j;
        } else if (s[i] != prev) {
            prev = s[i++];
            coder.code(prev);
            out.flush();
            continue;
        }
        // s[i] repeats prev: find the end of the run.
        uint32_t end = i + 1;
        const uint64_t pattern = prev * kOnes;
        for (;;) {
            if (n - end < 8) {
                while (end < n && s[end] == prev) ++end;
                break;
            }
            if (const uint64_t diff = load64(s + end) ^ pattern) {
                end += lowest_byte(diff);
                break;
            }
            end += 8;
        }
        coder.run(prev, end - i);
        i = end;
    }
    out.close();
    read_ = n;
    return finish();
}

// The decoder's tables say what the next 2 or 3 nibbles of the code stream decode to: as many
// whole codes as they hold, at most 3 literal bytes, stopping before a run they cannot express.
// Per entry a 32-bit pattern: the literal bytes, first in the low byte, and the last byte out in
// the top byte (all 0 for a run or an escape; a literal followed by its own run has the literal
// in all four). And a 21-bit meta word:
//   bits 0-5    nibbles taken, times 4: a shift count as it is
//   bit 6       escape: the byte is in the two nibbles after the first (2-nibble tables only)
//   bit 7       run: the bytes out repeat the previous byte
//   bits 8-13   21 times (nibbles taken - 1): where the next entry sits in a word of three
//   bits 16-20  bytes out, 1 to 16
constexpr unsigned kEscapeBit = 6;
constexpr unsigned kRunBit = 7;
constexpr unsigned kSelectShift = 8;
constexpr unsigned kCountShift = 16;
constexpr unsigned kMetaBits = 21;
constexpr uint64_t kTwice = 0x100000001ull;
constexpr uint32_t kFastOutMargin = 4 * 16;  // four steps of at most 16 bytes

template <unsigned Nibbles>
struct DecodeTable {
    static constexpr unsigned kSize = 1u << (4 * Nibbles);
    static constexpr uint64_t kMask = kSize - 1;
    uint32_t pattern[kSize];
    uint32_t meta[kSize];

    explicit DecodeTable(const Byte table[kMaxTable]);

    void set(unsigned index, unsigned nibbles, unsigned out, uint32_t literals, unsigned last,
             uint32_t flags) {
        pattern[index] = literals | uint32_t(last) << 24;
        meta[index] =
            nibbles * 4 | flags | kMetaBits * (nibbles - 1) << kSelectShift | out << kCountShift;
    }
};

// Two nibbles: built straight from the cases, as short memos pay for it on every call.
template <>
DecodeTable<2>::DecodeTable(const Byte table[kMaxTable]) {
    for (unsigned a = 0; a < 16; ++a) {
        for (unsigned b = 0; b < 16; ++b) {
            const unsigned index = a | b << 4;
            if (a < kSingleRanks && b < kSingleRanks)
                set(index, 2, 2, table[a] | table[b] << 8, table[b], 0);
            else if (a < kSingleRanks) set(index, 1, 1, table[a], table[a], 0);
            else if (a == kSingleRanks)
                set(index, 2, 1, table[kSingleRanks + b], table[kSingleRanks + b], 0);
            else if (a == kEscapeNibble) set(index, 3, 1, 0, 0, 1u << kEscapeBit);
            else set(index, 2, b + 1, 0, 0, 1u << kRunBit);
        }
    }
}

// Three nibbles: each index decoded as the stream would be, up to where the entry must stop.
template <>
DecodeTable<3>::DecodeTable(const Byte table[kMaxTable]) {
    for (unsigned index = 0; index < kSize; ++index) {
        const unsigned n[3] = {index & 15, index >> 4 & 15, index >> 8};
        unsigned pos = 0, count = 0, out = 0, last = 0;
        uint32_t bytes = 0, flags = 0;
        while (pos < 3 && count < 3) {
            unsigned byte;
            if (n[pos] < kSingleRanks) {
                byte = table[n[pos]];
                pos += 1;
            } else if (n[pos] == kSingleRanks && pos < 2) {
                byte = table[kSingleRanks + n[pos + 1]];
                pos += 2;
            } else if (n[pos] == kEscapeNibble && pos == 0) {
                byte = n[1] | n[2] << 4;
                pos = 3;
            } else if (n[pos] == kRunNibble && pos < 2 && count == 0) {
                flags = 1u << kRunBit;
                out = n[pos + 1] + 1;
                pos += 2;
                break;
            } else if (n[pos] == kRunNibble && pos < 2 && count == 1 && n[pos + 1] < 15) {
                bytes *= 0x01010101u;
                out = n[pos + 1] + 2;
                pos += 2;
                break;
            } else {
                break;
            }
            bytes |= uint32_t(byte) << (8 * count);
            last = byte;
            out = ++count;
        }
        set(index, pos, out, bytes, last, flags);
    }
}

// Stores the bytes of one entry at o, taken at the word w (next nibble lowest), without a
// branch: the kinds differ only by masks. Writes 16 bytes of which only the first are meant.
// `prev` holds the last byte out in all 8 bytes. Bits of meta above its 21 may be set.
template <unsigned Nibbles>
TARN_ALWAYS_INLINE void put_entry(uint32_t pattern, uint64_t meta, uint64_t w, Byte *&o,
                                  uint64_t &prev) {
    uint64_t last = pattern >> 24, bytes = pattern * kTwice;
    if (Nibbles == 2) {
        const uint64_t escape = (w >> 4 & 0xFF) & (0 - (meta >> kEscapeBit & 1));
        last |= escape;
        bytes |= escape;
    }
    const uint64_t repeat = prev & (0 - (meta >> kRunBit & 1));
    bytes |= repeat;
    prev = last * kOnes | repeat;
    store64(o, bytes);
    store64(o + 8, bytes);
    o += meta >> kCountShift & 31;
}

// Two steps. The second's meta is looked up at all three places the first may end, side by
// side with the first, and picked by a shift the first's meta carries: the longest chain of
// dependent work is one table load and three shifts. Reads at most 6 nibbles of w.
template <unsigned Nibbles>
TARN_ALWAYS_INLINE void decode_two_steps(const DecodeTable<Nibbles> &t, uint64_t &w, Byte *&o,
                                         uint64_t &prev, unsigned &count) {
    const uint64_t i = w & t.kMask;
    const uint32_t first = t.meta[i];
    const uint64_t three = uint64_t(t.meta[w >> 4 & t.kMask]) |
                           uint64_t(t.meta[w >> 8 & t.kMask]) << kMetaBits |
                           uint64_t(t.meta[w >> 12 & t.kMask]) << (2 * kMetaBits);
    const uint64_t w2 = w >> (first & 63);
    const uint64_t second = three >> (first >> kSelectShift & 63);
    put_entry<Nibbles>(t.pattern[i], first, w, o, prev);
    put_entry<Nibbles>(t.pattern[w2 & t.kMask], second, w2, o, prev);
    w = w2 >> (second & 63);
    count -= unsigned(first & 63);
    count -= unsigned(second & 63);
}

template <unsigned Nibbles>
void MemoryIo::decode_fast(const DecodeTable<Nibbles> &t, uint32_t &length, uint64_t &nibble,
                           Byte &prevByte) {
    // Four steps (at most 12 nibbles) between two refills of the bit buffer, each writing 16
    // bytes of which only the first are meant; the rest is overwritten by the steps after it.
    // This runs only while it stays inside the capacity and inside output that the rest of the
    // source is sure to produce: a code takes at most 3 nibbles and gives at least one byte. So
    // a stream cut short later still leaves the destination as the byte-wise engine would.
    constexpr uint32_t kOutMargin = kFastOutMargin;
    constexpr uint32_t kInMargin = 128;  // 255 nibbles: 85 whole codes
    if (length < kOutMargin || dstCap_ - written_ < kOutMargin ||
        srcLen_ - (nibble >> 1) < kInMargin + 8)
        return;
    const Byte *const inEnd = src_ + srcLen_ - kInMargin;
    uint64_t prev = prevByte * kOnes;
    // The bit buffer holds the stream from the next nibble on, lowest bit first: `count` bits
    // up to `next`, and above them either zeros or the bytes at `next` again, so that a refill
    // can OR them in without looking (a refill's load depends on nothing the steps compute).
    const unsigned phase = unsigned(nibble & 1) * 4;
    const Byte *next = src_ + (nibble >> 1);
    uint64_t bits = load64(next) >> phase;
    unsigned count = 56 - phase;
    next += 7;
    Byte *o = dst_ + written_;
    Byte *const outStart = o;
    Byte *const outEnd =
        dst_ + written_ + (length < dstCap_ - written_ ? length : dstCap_ - written_) - kOutMargin;
    while (o <= outEnd && next <= inEnd) {
        decode_two_steps<Nibbles>(t, bits, o, prev, count);
        decode_two_steps<Nibbles>(t, bits, o, prev, count);
        bits |= load64(next) << count;
        next += (63 - count) >> 3;
        count |= 56;
    }
    const uint32_t out = uint32_t(o - outStart);
    written_ += out;
    length -= out;
    nibble = (uint64_t(next - src_) * 8 - count) / 4;
    prevByte = Byte(prev);
}

int32_t MemoryIo::decode_output(const Byte table[kMaxTable], uint32_t length) {
    uint64_t nibble = uint64_t(read_) * 2;
    Byte prev = 0;
    // Three nibbles a step pay for their larger table only on longer data; without room for
    // it, the smaller one does.
    std::unique_ptr<DecodeTable<3>> triples;
    if (length >= 64 * 1024) triples.reset(new (std::nothrow) DecodeTable<3>(table));
    if (triples) {
        decode_fast(*triples, length, nibble, prev);
    } else if (length >= kFastOutMargin) {
        const DecodeTable<2> pairs(table);
        decode_fast(pairs, length, nibble, prev);
    }
    NibbleIn in{*this};
    read_ = uint32_t(nibble >> 1);
    if (nibble & 1) {
        in.current = src_[read_++];
        in.high = true;
    }
    return decode_codes(table, length, in, prev);
}

}  // namespace
}  // namespace tarn::rle

// A null source reads as empty and a null destination as one without room.
TARN_API uint32_t TARN_CALL koMemoCompress(const void *src, uint32_t srcLen, void *dst,
                                           uint32_t dstCap) {
    tarn::rle::MemoryIo io(static_cast<const tarn::rle::Byte *>(src), src ? srcLen : 0,
                           static_cast<tarn::rle::Byte *>(dst), dst ? dstCap : 0);
    return tarn::rle::compress(io) ? io.written() : 0;
}

TARN_API uint32_t TARN_CALL koMemoExpand(const void *src, uint32_t srcLen, void *dst,
                                         uint32_t dstCap) {
    tarn::rle::MemoryIo io(static_cast<const tarn::rle::Byte *>(src), src ? srcLen : 0,
                           static_cast<tarn::rle::Byte *>(dst), dst ? dstCap : 0);
    return tarn::rle::expand(io) ? io.written() : 0;
}
