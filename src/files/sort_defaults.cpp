// The access and compare functions the sorters use when the caller passes none.
#include "export.h"

#include <cstddef>
#include <cstring>

namespace {

unsigned char *record_at(void *base, int32_t size, int32_t index) {
    return static_cast<unsigned char *>(base) + static_cast<ptrdiff_t>(index) * size;
}

// The byte offset of a record as the 32-bit file pointer sees it (wraps like the old code).
int32_t record_offset(int32_t size, int32_t index) {
    return static_cast<int32_t>(static_cast<uint32_t>(index) * static_cast<uint32_t>(size));
}

}  // namespace

TARN_API int32_t TARN_CALL koDefShellCompare(void *, int32_t size, const void *a, const void *b) {
    if (size < 1) return 0;
    // memcmp already skips equal words and orders by unsigned bytes; only its sign is ours.
    const int r = std::memcmp(a, b, static_cast<size_t>(size));
    return (r > 0) - (r < 0);
}

// The memory defaults answer with the number of bytes copied.
TARN_API int32_t TARN_CALL koDefShellMemoryGet(void *context, int32_t size, int32_t index,
                                               void *record) {
    if (size < 1) return 0;
    std::memcpy(record, record_at(context, size, index), static_cast<size_t>(size));
    return size;
}

TARN_API int32_t TARN_CALL koDefShellMemorySet(void *context, int32_t size, int32_t index,
                                               const void *record) {
    if (size < 1) return 0;
    std::memcpy(record_at(context, size, index), record, static_cast<size_t>(size));
    return size;
}

// The file defaults answer with the position reached, whether or not the transfer happened:
// the caller learns of a failed move, never of a short read or write. Without a handle there is
// no move to make, which answers -1 as a failed move does.
TARN_API int32_t TARN_CALL koDefShellFileGet(void *context, int32_t size, int32_t index,
                                             void *record) {
    if (!context) return -1;
    HANDLE file = *static_cast<HANDLE *>(context);
    const int32_t offset = record_offset(size, index);
    const int32_t reached = X_Seek(file, offset, 0);
    if (reached != offset) return reached;
    X_Read(file, record, static_cast<uint16_t>(size));
    return reached;
}

TARN_API int32_t TARN_CALL koDefShellFileSet(void *context, int32_t size, int32_t index,
                                             const void *record) {
    if (!context) return -1;
    HANDLE file = *static_cast<HANDLE *>(context);
    const int32_t offset = record_offset(size, index);
    const int32_t reached = X_Seek(file, offset, 0);
    if (reached != offset) return reached;
    X_Write(file, record, static_cast<uint16_t>(size));
    return reached;
}
