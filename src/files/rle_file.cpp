// koFileCompress and koFileExpand: the run-length engine between two X_ file handles.
//
// The source is read in blocks of 1024 bytes from the position it had when the call began; the
// destination is written in blocks of 1024 bytes from its own position. Writes are not checked:
// a full disk goes unnoticed here, as it always did.
#include "export.h"
#include "files/rle_engine.h"

namespace tarn::rle {
namespace {

constexpr uint16_t kBlock = 1024;

// Lives in a tracked global block, as callers that watch GetGlobalUsage expect.
struct FileContext {
    HANDLE src;
    HANDLE dst;
    uint32_t length;  // source bytes to read
    int32_t start;    // source position at the call
    uint32_t read;
    uint16_t index;  // next byte of `in`; 0 when a block has to be read first
    uint16_t fill;   // bytes waiting in `out`
    Byte in[kBlock];
    Byte out[kBlock];
};

class FileIo : public ByteStream<FileIo> {
public:
    explicit FileIo(FileContext &c) : c_(c) {}

    bool restart(Byte &b) {
        X_Seek(c_.src, c_.start, 0);
        c_.index = 0;
        c_.read = 0;
        return next(b);
    }
    bool next(Byte &b) {
        if (c_.read >= c_.length) return false;
        if (c_.index == 0) {
            const uint32_t left = c_.length - c_.read;
            const uint16_t want = uint16_t(left < kBlock ? left : kBlock);
            if (uint16_t(X_Read(c_.src, c_.in, want)) != want) return false;
        }
        b = c_.in[c_.index];
        c_.index = uint16_t((c_.index + 1) % kBlock);
        ++c_.read;
        return true;
    }
    bool put(Byte b) {
        c_.out[c_.fill++] = b;
        if (c_.fill == kBlock) {
            X_Write(c_.dst, c_.out, kBlock);
            c_.fill = 0;
        }
        return true;
    }
    int32_t finish() {
        if (c_.fill) X_Write(c_.dst, c_.out, c_.fill);
        c_.fill = 0;
        return 1;
    }

private:
    FileContext &c_;
};

template <int32_t (*Engine)(FileIo &)>
int32_t run_between(HANDLE src, HANDLE dst, uint32_t length) {
    auto *context = static_cast<FileContext *>(AllocGlobal(sizeof(FileContext)));
    if (!context) return 0;
    context->src = src;
    context->dst = dst;
    context->length = length;
    context->start = X_Seek(src, 0, 1);
    FileIo io(*context);
    const int32_t result = Engine(io);
    FreeGlobal(context);
    return result;
}

}  // namespace
}  // namespace tarn::rle

TARN_API int32_t TARN_CALL koFileCompress(HANDLE src, HANDLE dst, uint32_t length) {
    return tarn::rle::run_between<tarn::rle::compress<tarn::rle::FileIo>>(src, dst, length);
}

TARN_API int32_t TARN_CALL koFileExpand(HANDLE src, HANDLE dst, uint32_t length) {
    return tarn::rle::run_between<tarn::rle::expand<tarn::rle::FileIo>>(src, dst, length);
}
