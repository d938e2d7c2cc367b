// The cached random-access file behind IXFileCached.
//
// Three 8 KiB blocks: block 0 holds the start of the file for the object's whole life, the lower
// and the upper sliding block follow the position. A block reaches the disk only when it is
// replaced or at Close, so byte-wise callers pay one system call per 8 KiB.
//
// ReadLine does not bound the line by its size argument: only a CR counts against it, so a line
// is as long as the data make it and callers pass a buffer that holds their longest line. Kept
// because the applications' readers were written against exactly that.
//
// The object is one block of the tracked allocator that starts with the interface table pointer,
// so C callers go through obj->lpVtbl like any other COM-style object.
#include <algorithm>
#include <cstring>
#include <new>

#include "export.h"
#include "files/xfiles.h"
#include "platform/files.h"

namespace {

constexpr uint32_t kBlockSize = 8192;
constexpr uint32_t kBlockMask = kBlockSize - 1;
constexpr uint32_t kLowerStart = kBlockSize;
constexpr uint32_t kUpperStart = 2 * kBlockSize;

constexpr int32_t kS_OK = 0;
constexpr int32_t kE_NOINTERFACE = int32_t(0x80004002u);

const GUID kIID_IXFileCached = {
    0xEA385ED1, 0x338B, 0x4C27, {0x82, 0x7B, 0xEB, 0xA3, 0x38, 0xD4, 0x92, 0x40}};
const GUID kIID_IUnknown = {
    0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

struct CacheBlock {
    unsigned char data[kBlockSize];
    uint32_t base;  // file position of data[0], a multiple of the block size
    int32_t valid;  // data read from disk, or nothing there to read
    int32_t dirty;  // holds bytes the disk has not seen
};

// The state of the cached file that callers rely on, and everything done with the blocks. Its operations
// work on `position` and `logicalSize` as they stand: XFileC settles its byte cursor first.
class XFBufferC {
public:
    HANDLE handle;
    int32_t readOnly;
    uint32_t sizeOnDisk;   // how far a block may be read back
    uint32_t logicalSize;  // what the user sees, cached bytes included
    uint32_t position;
    CacheBlock blocks[3];
    CacheBlock *lower;
    CacheBlock *upper;

    void start(HANDLE h, bool writable, uint32_t size, bool blocksValid) {
        handle = h;
        readOnly = writable ? 0 : 1;
        sizeOnDisk = logicalSize = size;
        position = 0;
        lower = &blocks[1];
        upper = &blocks[2];
        blocks[0].base = 0;
        lower->base = kLowerStart;
        upper->base = kUpperStart;
        for (CacheBlock &b : blocks) {
            b.valid = blocksValid ? 1 : 0;
            b.dirty = 0;
        }
    }

    int32_t close() {
        if (!handle) return 1;
        const bool written = write_back(blocks[0]) && write_back(*lower) && write_back(*upper);
        if (written) sizeOnDisk = logicalSize;
        plat::file_close(handle);
        handle = nullptr;
        return written ? 1 : 0;
    }

    // GetByte and PutByte by lookup; the block used comes back for the cursor.
    CacheBlock *get_byte(unsigned char *out) {
        const uint32_t p = position;
        if (p >= logicalSize) return nullptr;
        CacheBlock *b = lookup(p);
        if (!b) return nullptr;
        *out = b->data[p - b->base];
        position = p + 1;
        return b;
    }

    CacheBlock *put_byte(unsigned char value) {
        if (readOnly) return nullptr;
        const uint32_t p = position;
        if (p > logicalSize) return nullptr;
        CacheBlock *b = lookup(p);
        if (!b) return nullptr;
        b->data[p - b->base] = value;
        b->dirty = 1;
        position = p + 1;
        if (position > logicalSize) logicalSize = position;
        return b;
    }

    // Reads what GetByte would give one byte at a time, a block's worth per copy.
    int32_t read(unsigned char *dst, int32_t count) {
        int32_t got = 0;
        while (got < count && position < logicalSize) {
            if (const uint32_t n = read_passing(dst + got, uint32_t(count - got))) {
                position += n;
                got += int32_t(n);
                continue;
            }
            CacheBlock *b = lookup(position);
            if (!b) break;
            const uint32_t offset = position - b->base;
            uint32_t n = kBlockSize - offset;
            if (n > uint32_t(count - got)) n = uint32_t(count - got);
            if (n > logicalSize - position) n = logicalSize - position;
            std::memcpy(dst + got, b->data + offset, n);
            position += n;
            got += int32_t(n);
        }
        return got;
    }

    // Puts what PutByte would put one byte at a time; true when all were put.
    bool write(const unsigned char *src, int32_t count) {
        int32_t put = 0;
        while (put < count) {
            if (position > logicalSize) return false;
            CacheBlock *b = lookup(position);
            if (!b) return false;
            const uint32_t offset = position - b->base;
            uint32_t n = kBlockSize - offset;
            if (n > uint32_t(count - put)) n = uint32_t(count - put);
            std::memcpy(b->data + offset, src + put, n);
            b->dirty = 1;
            position += n;
            if (position > logicalSize) logicalSize = position;
            put += int32_t(n);
        }
        return true;
    }

    int32_t truncate() {
        if (readOnly || !handle) return 0;
        if (plat::file_seek(handle, position, 0) != int64_t(position)) return 0;
        if (!plat::file_truncate(handle)) return 0;
        logicalSize = sizeOnDisk = position;
        return 1;
    }

private:
    // A long read forward past the upper block would load each block into the upper block only
    // to replace it with the next: those blocks come straight from the file, in one call, and
    // the block the read ends in is then loaded as before, leaving the blocks as the byte-wise
    // read would. Only while nothing cached is unwritten, so the file holds every byte. The
    // bytes read, 0 when the blocks are to be used (a short read included).
    uint32_t read_passing(unsigned char *dst, uint32_t want) {
        const uint32_t p = position;
        const uint32_t base = p & ~kBlockMask;
        if (!handle || base <= upper->base || sizeOnDisk != logicalSize || blocks[0].dirty ||
            lower->dirty || upper->dirty)
            return 0;
        const uint32_t end = want < logicalSize - p ? p + want : logicalSize;
        const uint32_t lastBase = (end - 1) & ~kBlockMask;
        if (lastBase <= base) return 0;
        const uint32_t n = lastBase - p;
        if (plat::file_seek(handle, p, 0) != int64_t(p)) return 0;
        return plat::file_read(handle, dst, n) == int64_t(n) ? n : 0;
    }

    // The block that caches position p, replacing and loading one when needed.
    CacheBlock *lookup(uint32_t p) {
        // Closed, the blocks hold the last file's bytes and nothing may be read or put.
        if (!handle) return nullptr;
        const uint32_t base = p & ~kBlockMask;
        CacheBlock *b;
        if (base == 0) {
            b = &blocks[0];
        } else if (base == lower->base) {
            b = lower;
        } else if (base == upper->base) {
            b = upper;
        } else {
            b = base > upper->base ? upper : lower;
            if (!write_back(*b)) return nullptr;
            b->base = base;
            b->valid = 0;
            b->dirty = 0;
        }
        if (!b->valid) {
            if (!load(*b)) return nullptr;
            b->valid = 1;
            b->dirty = 0;
        }
        return b;
    }

    bool load(CacheBlock &b) {
        const int64_t want = int64_t(sizeOnDisk) - b.base;
        if (want <= 0) return true;
        const uint32_t n = want < kBlockSize ? uint32_t(want) : kBlockSize;
        if (plat::file_seek(handle, b.base, 0) != int64_t(b.base)) return false;
        // A short read leaves the rest of the block as it was.
        return plat::file_read(handle, b.data, n) >= 0;
    }

    bool write_back(CacheBlock &b) {
        if (!b.dirty || !b.valid) return true;
        const int64_t want = int64_t(logicalSize) - b.base;
        if (want > 0) {
            const uint32_t n = want < kBlockSize ? uint32_t(want) : kBlockSize;
            if (plat::file_seek(handle, b.base, 0) != int64_t(b.base)) return false;
            const int64_t written = plat::file_write(handle, b.data, n);
            if (written < 0) return false;
            if (b.base + uint64_t(written) > sizeOnDisk) sizeOnDisk = b.base + uint32_t(written);
        }
        b.dirty = 0;
        return true;
    }
};

// The object: the interface table pointer, the buffer fields callers read and the reference
// count in that order; the byte cursor, which no caller sees, comes behind them.
class XFileC : public IXFileCached, public XFBufferC {
public:
    int32_t refs;

    // While `current` is set, GetByte and PutByte move `cursor` through that block as stdio
    // moves its buffer pointer: the true position is the cursor's, the true size the larger of
    // logicalSize and that position, and sync() writes both back. Reading goes up to getEnd
    // (the logical size when the cursor was placed, so never too far), writing up to putEnd
    // (the block's end once it is dirty, else its start). All three are null without a block,
    // which stops both fast paths.
    CacheBlock *current;
    unsigned char *cursor;
    unsigned char *getEnd;
    unsigned char *putEnd;

    void start(HANDLE h, bool writable, uint32_t size, bool blocksValid) {
        XFBufferC::start(h, writable, size, blocksValid);
        drop_cursor();
    }

    void sync() {
        if (current) position = current->base + uint32_t(cursor - current->data);
        if (position > logicalSize) logicalSize = position;
    }

    // Everything but the byte operations' fast paths starts from here.
    void settle() {
        sync();
        drop_cursor();
    }

    int32_t close() {
        settle();
        return XFBufferC::close();
    }

    int32_t get_byte(unsigned char *out) {
        unsigned char *const c = cursor;
        if (c < getEnd) {
            *out = *c;
            cursor = c + 1;
            return 1;
        }
        return get_byte_looked_up(out);
    }

    int32_t put_byte(unsigned char value) {
        unsigned char *const c = cursor;
        if (c < putEnd) {
            *c = value;
            cursor = c + 1;
            return 1;
        }
        return put_byte_looked_up(value);
    }

    int32_t read(unsigned char *dst, int32_t count) {
        settle();
        return XFBufferC::read(dst, count);
    }

    bool write(const unsigned char *src, int32_t count) {
        settle();
        return XFBufferC::write(src, count);
    }

    int32_t truncate() {
        settle();
        return XFBufferC::truncate();
    }

private:
    void drop_cursor() {
        current = nullptr;
        cursor = getEnd = putEnd = nullptr;
    }

    void place_cursor(CacheBlock *b) {
        current = b;
        cursor = b->data + (position - b->base);
        getEnd = b->data + std::min(kBlockSize, logicalSize - b->base);
        putEnd = b->dirty && !readOnly ? b->data + kBlockSize : b->data;
    }

    [[gnu::noinline]] int32_t get_byte_looked_up(unsigned char *out) {
        settle();
        CacheBlock *b = XFBufferC::get_byte(out);
        if (!b) return 0;
        place_cursor(b);
        return 1;
    }

    [[gnu::noinline]] int32_t put_byte_looked_up(unsigned char value) {
        if (readOnly) return 0;
        settle();
        CacheBlock *b = XFBufferC::put_byte(value);
        if (!b) return 0;
        place_cursor(b);
        return 1;
    }
};

XFileC *self(IXFileCached *obj) { return static_cast<XFileC *>(obj); }

bool same_guid(const GUID *a, const GUID &b) { return a && std::memcmp(a, &b, sizeof b) == 0; }

int32_t TARN_CALL cf_AddRef(IXFileCached *obj) {
    __atomic_add_fetch(&self(obj)->refs, 1, __ATOMIC_ACQ_REL);
    return 2;
}

int32_t TARN_CALL cf_Release(IXFileCached *obj) {
    XFileC *f = self(obj);
    if (__atomic_sub_fetch(&f->refs, 1, __ATOMIC_ACQ_REL) == 0) {
        f->close();
        FreeGlobal(f);
    }
    return 1;
}

int32_t TARN_CALL cf_QueryInterface(IXFileCached *obj, const GUID *iid, void **object) {
    // With nowhere to store the answer there is nothing to hand out: the one failure the
    // interface knows.
    if (!object) return kE_NOINTERFACE;
    if (same_guid(iid, kIID_IXFileCached) || same_guid(iid, kIID_IUnknown)) {
        *object = obj;
        cf_AddRef(obj);
        return kS_OK;
    }
    *object = nullptr;
    return kE_NOINTERFACE;
}

int32_t TARN_CALL cf_Close(IXFileCached *obj) { return self(obj)->close(); }

// A handle that reads as null cannot be told from a closed object, so it is not kept.
bool usable(HANDLE h) {
    if (h == TARN_INVALID_HANDLE) return false;
    if (!h) plat::file_close(h);
    return h != nullptr;
}

int32_t TARN_CALL cf_Open(IXFileCached *obj, const char *name, int32_t write) {
    XFileC *f = self(obj);
    f->close();
    if (!name) return 0;
    const HANDLE h = plat::file_open(name, tarn::xfiles::open_existing(write != 0));
    if (!usable(h)) return 0;
    const int64_t length = plat::file_length(h);
    // A file whose length cannot be told cannot be cached; it is not kept open.
    if (length < 0) {
        plat::file_close(h);
        return 0;
    }
    f->start(h, write != 0, uint32_t(length), false);
    return 1;
}

int32_t created(XFileC *f, HANDLE h) {
    if (!usable(h)) return 0;
    f->start(h, true, 0, true);
    return 1;
}

int32_t TARN_CALL cf_Create(IXFileCached *obj, const char *name) {
    XFileC *f = self(obj);
    f->close();
    if (!name) return 0;
    return created(f, plat::file_open(name, tarn::xfiles::create_always()));
}

int32_t TARN_CALL cf_CreateTemp(IXFileCached *obj) {
    XFileC *f = self(obj);
    f->close();
    const std::string name = tarn::xfiles::make_cached_temp_name();
    return created(f, plat::file_open(name.c_str(),
                                      tarn::xfiles::create_temporary(plat::kShareReadWrite)));
}

int32_t TARN_CALL cf_IsOpen(IXFileCached *obj) { return self(obj)->handle ? 1 : 0; }

uint32_t TARN_CALL cf_GetPos(IXFileCached *obj) {
    XFileC *f = self(obj);
    f->sync();
    return f->position;
}

uint32_t TARN_CALL cf_GetSize(IXFileCached *obj) {
    XFileC *f = self(obj);
    f->sync();
    return f->logicalSize;
}

int32_t TARN_CALL cf_Seek(IXFileCached *obj, int32_t position) {
    XFileC *f = self(obj);
    f->settle();
    if (position < 0 || uint32_t(position) > f->logicalSize) return 0;
    f->position = uint32_t(position);
    return 1;
}

int32_t TARN_CALL cf_Write(IXFileCached *obj, const void *buffer, int32_t count) {
    XFileC *f = self(obj);
    if (f->readOnly) return 0;
    if (!buffer || count < 1) return count == 0 ? 1 : 0;
    // The first byte that cannot be put ends the write: the position stays on it.
    return f->write(static_cast<const unsigned char *>(buffer), count) ? 1 : 0;
}

int32_t TARN_CALL cf_Read(IXFileCached *obj, void *buffer, int32_t count) {
    if (!buffer || count < 1) return 0;
    return self(obj)->read(static_cast<unsigned char *>(buffer), count);
}

int32_t TARN_CALL cf_ReadAt(IXFileCached *obj, int32_t position, void *buffer, int32_t count) {
    if (!cf_Seek(obj, position)) return 0;
    return cf_Read(obj, buffer, count) == count ? 1 : 0;
}

int32_t TARN_CALL cf_WriteAt(IXFileCached *obj, int32_t position, const void *buffer,
                             int32_t count) {
    if (!cf_Seek(obj, position)) return 0;
    return cf_Write(obj, buffer, count);
}

// Both writes are made whatever the first one answers; the line end's write is the result.
int32_t TARN_CALL cf_WriteLine(IXFileCached *obj, const char *text) {
    // A null text writes an empty line.
    const char *t = text ? text : "";
    cf_Write(obj, t, int32_t(std::strlen(t)));
    return cf_Write(obj, "\r\n", 2);
}

int32_t TARN_CALL cf_ReadLine(IXFileCached *obj, char *buffer, int32_t size) {
    if (!buffer) return 0;
    // Below 2 only the zero byte is stored, whatever the size says: a size of 0 with a real
    // buffer still gets it.
    if (size < 2) {
        buffer[0] = 0;
        return 0;
    }
    XFileC *f = self(obj);
    unsigned char *out = reinterpret_cast<unsigned char *>(buffer);
    int32_t taken = 0;
    while (size > 1) {
        if (!f->get_byte(out)) break;
        taken = 1;
        if (*out == '\n') break;
        if (*out == '\r') {
            --size;  // overwritten by the next byte
            continue;
        }
        ++out;
    }
    *out = 0;
    return taken;
}

// Without a byte to fill or to put nothing happens: the position stays.
int32_t TARN_CALL cf_GetByte(IXFileCached *obj, unsigned char *byte) {
    if (!byte) return 0;
    return self(obj)->get_byte(byte);
}

int32_t TARN_CALL cf_PutByte(IXFileCached *obj, const unsigned char *byte) {
    if (!byte) return 0;
    return self(obj)->put_byte(*byte);
}

int32_t TARN_CALL cf_Truncate(IXFileCached *obj) { return self(obj)->truncate(); }

const IXFileCachedVtbl kVtbl = {
    cf_QueryInterface, cf_AddRef,    cf_Release,  cf_Open,    cf_Create,  cf_CreateTemp, cf_Close,
    cf_IsOpen,         cf_GetPos,    cf_GetSize,  cf_Seek,    cf_Write,   cf_Read,       cf_ReadAt,
    cf_WriteAt,        cf_WriteLine, cf_ReadLine, cf_GetByte, cf_PutByte, cf_Truncate,
};

}  // namespace

TARN_API IXFileCached *TARN_CALL CreateIXFileCached(void) {
    void *memory = AllocGlobal(sizeof(XFileC));
    if (!memory) return nullptr;
    XFileC *f = new (memory) XFileC();
    f->lpVtbl = &kVtbl;
    f->refs = 1;
    return f;
}

TARN_API const GUID *TARN_CALL GetIID_IXFileCached(void) { return &kIID_IXFileCached; }
