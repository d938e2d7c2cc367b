// The X_ file functions over the system's file handles, the older lreadln/lwriteln over
// old-style handles, and the names of temporary files. Counts of X_Read and X_Write are 16-bit
// and so are their results: callers read them as signed 16-bit numbers.
#include "export.h"
#include "files/xfiles.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include "platform/last_error.h"

namespace {

// The process-wide state of this family; unguarded, meant for the application's UI thread.
struct XFilesState {
    int32_t tempCounter = 0;        // X_CreatTmp; the first file gets 1
    int32_t cachedTempCounter = 0;  // the cached file object's temporary files
    char uniqName[16] = "";         // UniqName's result, overwritten by every call
};

XFilesState gState;

uint64_t now_seconds() { return uint64_t(int64_t(std::time(nullptr))); }

int32_t count_up(int32_t &counter) {
    counter = int32_t(uint32_t(counter) + 1u);
    return counter;
}

// One read or write call with a 16-bit count and result.
int16_t read16(HANDLE h, void *buffer, uint16_t count) {
    return int16_t(plat::file_read(h, buffer, count));
}

int16_t write16(HANDLE h, const void *buffer, uint16_t count) {
    return int16_t(plat::file_write(h, buffer, count));
}

// The line reader of X_Readln and lreadln, over either kind of handle.
struct SystemHandle {
    HANDLE h;
    int64_t read(void *buffer, uint32_t count) const { return plat::file_read(h, buffer, count); }
    int64_t seek(int64_t offset, int origin) const { return plat::file_seek(h, offset, origin); }
};

struct OldHandle {
    int32_t file;
    int64_t read(void *buffer, uint32_t count) const { return plat::old_read(file, buffer, count); }
    int64_t seek(int64_t offset, int origin) const {
        return plat::old_seek(file, int32_t(offset), origin);
    }
};

// CR and LF become zero bytes; the pointer stops behind the first LF. Without an LF the chunk is
// left unterminated and the pointer stays behind it.
template <class File>
int32_t read_line(const File &file, char *buffer, int32_t size) {
    const int64_t start = file.seek(0, 1);
    // A size below 2 leaves no place for a byte: read as nothing read.
    const int64_t got = buffer && size > 1 ? file.read(buffer, uint32_t(size - 1)) : 0;
    if (got <= 0) {
        file.seek(start, 0);
        return 0;
    }
    for (int64_t i = 0; i < got; ++i) {
        if (buffer[i] == '\r') {
            buffer[i] = '\0';
        } else if (buffer[i] == '\n') {
            buffer[i] = '\0';
            file.seek(i + 1 - got, 1);
            return 1;
        }
    }
    return 1;
}

// X_lRead and X_lWrite: 8 KiB calls until the count is done or a call moves less than asked.
template <class Byte, class Transfer>
int32_t transfer_large(Byte *data, int32_t count, Transfer move) {
    constexpr int32_t kChunk = 8192;
    if (count < 1) return 0;
    int32_t total = 0;
    for (int32_t remaining = count;;) {
        const int32_t chunk = remaining < kChunk ? remaining : kChunk;
        const int16_t moved = move(data + total, uint16_t(chunk));
        if (moved < 0) return -1;
        remaining -= chunk;
        if (moved < chunk || remaining == 0) return total + moved;
        total += moved;
    }
}

}  // namespace

namespace tarn::xfiles {

std::string make_temp_name() {
    const int32_t n = count_up(gState.tempCounter);
    return temp_name_in(plat::temp_folder(), now_seconds(), n);
}

std::string make_cached_temp_name() {
    const int32_t n = count_up(gState.cachedTempCounter);
    return cached_temp_name_in(plat::temp_folder(), now_seconds(), n);
}

}  // namespace tarn::xfiles

TARN_API HANDLE TARN_CALL X_Open(const char *name, int32_t write) {
    return plat::file_open(name ? name : "", tarn::xfiles::open_existing(write != 0));
}

TARN_API HANDLE TARN_CALL X_Creat(const char *name) {
    return plat::file_open(name ? name : "", tarn::xfiles::create_always());
}

TARN_API HANDLE TARN_CALL X_CreatTmp(void) {
    const std::string path = tarn::xfiles::make_temp_name();
    HANDLE h = plat::file_open(path.c_str(), tarn::xfiles::create_temporary(plat::kShareNone));
    if (h == TARN_INVALID_HANDLE) {
        // The entry must not hide the reason from a caller that asks the system for it.
        const uint32_t why = plat::last_error();
        koEventLogWrite(1, "tarngdi32::xfiles::X_CreateTmp", path.c_str());
        plat::set_last_error(why);
    }
    return h;
}

TARN_API int32_t TARN_CALL X_Close(HANDLE h) { return plat::file_close(h) ? 1 : 0; }

TARN_API int16_t TARN_CALL X_Read(HANDLE h, void *buffer, uint16_t count) {
    return read16(h, buffer, count);
}

TARN_API int16_t TARN_CALL X_Write(HANDLE h, const void *buffer, uint16_t count) {
    return write16(h, buffer, count);
}

TARN_API int32_t TARN_CALL X_Seek(HANDLE h, int32_t offset, uint16_t origin) {
    if (origin > 2) return -1;
    const int64_t at = plat::file_seek(h, offset, origin);
    return at < 0 ? -1 : int32_t(at);
}

TARN_API int32_t TARN_CALL X_Readln(HANDLE h, char *buffer, int32_t size) {
    return read_line(SystemHandle{h}, buffer, size);
}

// Both writes are judged on their 16-bit results: a failed write (-1) counts as written, and a
// text of 65536 characters, whose count wraps to 0, as failed.
TARN_API int32_t TARN_CALL X_Writeln(HANDLE h, const char *text) {
    if (text && *text && write16(h, text, uint16_t(std::strlen(text))) == 0) return 0;
    return write16(h, "\r\n", 2) != 0 ? 1 : 0;
}

TARN_API int32_t TARN_CALL X_lRead(HANDLE h, void *buffer, int32_t count) {
    return transfer_large(static_cast<char *>(buffer), count,
                          [h](char *at, uint16_t n) { return read16(h, at, n); });
}

TARN_API int32_t TARN_CALL X_lWrite(HANDLE h, const void *buffer, int32_t count) {
    return transfer_large(static_cast<const char *>(buffer), count,
                          [h](const char *at, uint16_t n) { return write16(h, at, n); });
}

TARN_API int32_t TARN_CALL lreadln(int32_t file, char *buffer, int32_t size) {
    return read_line(OldHandle{file}, buffer, size);
}

// An empty text is not written: a write of 0 bytes would cut an old-style file at the pointer.
TARN_API int32_t TARN_CALL lwriteln(int32_t file, const char *text) {
    const size_t length = text ? std::strlen(text) : 0;
    if (length > 0 && plat::old_write(file, text, uint32_t(length)) != int32_t(length)) return 0;
    return plat::old_write(file, "\r\n", 2) == 2 ? 1 : 0;
}

TARN_API const char *TARN_CALL UniqName(void) {
    const uint32_t t = uint32_t(now_seconds());
    std::snprintf(gState.uniqName, sizeof gState.uniqName, "%04X%04X", unsigned(t & 0xFFFFu),
                  unsigned(t >> 16));
    return gState.uniqName;
}
