// The code book of the run-length format, and the two engine exports over the caller's callback.
#include "export.h"
#include "files/rle_engine.h"

namespace tarn::rle {

CodeBook::CodeBook(const uint32_t counts[256]) {
    // The order a bubble sort leaves over all 256 values in ascending order, exchanging
    // neighbours only when the left count is strictly smaller. Values never seen do not move
    // past each other and every seen value passes all of them, so only the seen ones are
    // sorted, the rest appended. And they are sorted by insertion under the same rule: that
    // makes the very exchanges the bubble sort makes, each out-of-order pair once, in another
    // order and with far fewer comparisons.
    uint32_t seen = 0;
    for (unsigned v = 0; v < 256; ++v)
        if (counts[v]) order[seen++] = Byte(v);
    uint32_t unseen = seen;
    for (unsigned v = 0; v < 256; ++v)
        if (!counts[v]) order[unseen++] = Byte(v);
    for (uint32_t i = 1; i < seen; ++i) {
        const Byte v = order[i];
        uint32_t j = i;
        for (; j > 0 && counts[order[j - 1]] < counts[v]; --j) order[j] = order[j - 1];
        order[j] = v;
    }
    tableSize = seen < kMaxTable ? seen : kMaxTable;

    for (unsigned r = 0; r < 256; ++r) {
        const Byte v = order[r];
        rank[v] = Byte(r);
        if (r < kSingleRanks) {
            code[v] = uint16_t(r);
            nibbles[v] = 1;
        } else if (r < kMaxTable) {
            code[v] = uint16_t(kSingleRanks | (r - kSingleRanks) << 4);
            nibbles[v] = 2;
        } else {
            code[v] = uint16_t(kEscapeNibble | unsigned(v) << 4);
            nibbles[v] = 3;
        }
    }
}

void write_header(Byte out[kHeaderSize], uint32_t tableSize, uint32_t length) {
    out[0] = kMagicLow;
    out[1] = kMagicHigh;
    out[2] = Byte(tableSize);
    out[3] = Byte(tableSize >> 8);
    for (unsigned i = 0; i < 4; ++i) out[4 + i] = Byte(length >> (8 * i));
}

}  // namespace tarn::rle

TARN_API int32_t TARN_CALL koExRleCompress(koRleIoProc io, void *context) {
    // Without a callback there is nothing to read or write to: a failure.
    if (!io) return 0;
    tarn::rle::CallbackIo stream(io, context);
    return tarn::rle::compress(stream);
}

TARN_API int32_t TARN_CALL koExRleExpand(koRleIoProc io, void *context) {
    if (!io) return 0;
    tarn::rle::CallbackIo stream(io, context);
    return tarn::rle::expand(stream);
}
