// Node values: up to 24 bytes inside the node, longer ones in slots of the tree's scratch file.
// Slots are only ever appended; a value that still passes the reuse test is written over its old
// slot, even past the slot's end, as the files of existing trees were always written.
#include "export.h"
#include "xml/xml_tree.h"

#include <cstdint>
#include <cstring>

namespace {

using tarn::xml::kInlineBytes;
using tarn::xml::slot_size;

// Values up to this slot size go out with their padding in one write.
constexpr int32_t kJoinedWrite = 4096;

bool seek_to(HANDLE file, int32_t position) { return X_Seek(file, position, 0) == position; }

bool read_slot(const XML_Node *node, void *out, int32_t count) {
    HANDLE *cell = tarn::xml::node_store(node);
    if (cell == nullptr) return false;
    return seek_to(*cell, node->offset) && X_lRead(*cell, out, count) == count;
}

// A new slot is reserved at the file's end once that end is known; when writing the value and its
// zero padding there fails, the node still takes the slot and the result is 0, as when a value
// written over its old slot fails.
int32_t store_long(XML_Node *node, HANDLE *cell, const void *data, int32_t length) {
    if (length > INT32_MAX - 32) return 0;
    const HANDLE file = *cell;
    if (node->offset >= 0 && slot_size(node->length) >= length) {
        const bool written = seek_to(file, node->offset) && X_lWrite(file, data, length) == length;
        node->length = length;
        return written ? 1 : 0;
    }
    const int32_t slot = slot_size(length);
    const int32_t at = X_Seek(file, 0, 2);
    if (at < 0) return 0;
    static const char zeros[32] = {};
    bool written;
    if (slot <= kJoinedWrite) {
        char joined[kJoinedWrite];
        std::memcpy(joined, data, size_t(length));
        std::memset(joined + length, 0, size_t(slot - length));
        written = X_lWrite(file, joined, slot) == slot;
    } else {
        written = X_lWrite(file, data, length) == length &&
                  X_lWrite(file, zeros, slot - length) == slot - length;
    }
    node->offset = at;
    node->length = length;
    return written ? 1 : 0;
}

}  // namespace

namespace tarn::xml {

int32_t set_value(XML_Node *node, const char *text, int32_t length) {
    if (text == nullptr || length <= 0) {
        node->length = 0;
        return 1;
    }
    if (length <= kInlineBytes) {
        std::memcpy(node->data, text, size_t(length));
        node->length = length;
        return 1;
    }
    HANDLE *cell = node_store(node);
    if (cell == nullptr) {
        std::memcpy(node->data, text, kInlineBytes);
        node->length = kInlineBytes;
        return 0;
    }
    return store_long(node, cell, text, length);
}

int32_t read_value(const XML_Node *node, void *out, int32_t count) {
    const int32_t n = count < node->length ? count : node->length;
    if (n <= 0) return 0;
    if (node->length <= kInlineBytes) {
        std::memcpy(out, node->data, size_t(n));
        return n;
    }
    return read_slot(node, out, n) ? n : -1;
}

HANDLE *new_store_cell() {
    auto *cell = static_cast<HANDLE *>(AllocGlobal(sizeof(HANDLE)));
    if (cell == nullptr) return nullptr;
    *cell = X_CreatTmp();
    if (*cell == TARN_INVALID_HANDLE) {
        FreeGlobal(cell);
        return nullptr;
    }
    return cell;
}

void free_store_cell(HANDLE *cell) {
    if (cell == nullptr) return;
    if (*cell != TARN_INVALID_HANDLE) X_Close(*cell);
    *cell = TARN_INVALID_HANDLE;
    FreeGlobal(cell);
}

}  // namespace tarn::xml

TARN_API char *TARN_CALL koXML_GetValue(XML_Node *node, char *buffer, int32_t size) {
    if (buffer == nullptr || size < 2) return nullptr;
    const int32_t n = tarn::xml::read_value(node, buffer, size - 1);
    if (n < 0) return nullptr;
    buffer[n] = '\0';
    return buffer;
}

TARN_API int32_t TARN_CALL koXML_SetValue(XML_Node *node, const char *text) {
    if (text == nullptr) return tarn::xml::set_value(node, nullptr, 0);
    const size_t length = std::strlen(text);
    if (length > size_t(INT32_MAX)) return 0;
    return tarn::xml::set_value(node, text, int32_t(length));
}

TARN_API int32_t TARN_CALL koXML_GetBinValue(XML_Node *node, void *buffer, int32_t size) {
    if (buffer == nullptr || size < 1 || size != node->length) return 0;
    return tarn::xml::read_value(node, buffer, size) == size ? 1 : 0;
}

TARN_API int32_t TARN_CALL koXML_SetBinValue(XML_Node *node, const void *data, int32_t size) {
    if (data == nullptr || size < 1) {
        node->length = 0;
        return 1;
    }
    if (size <= kInlineBytes) {
        std::memcpy(node->data, data, size_t(size));
        node->length = size;
        return 1;
    }
    HANDLE *cell = tarn::xml::node_store(node);
    if (cell == nullptr) return 0;
    return store_long(node, cell, data, size);
}

// The buffer is emptied only where it has room for the zero.
TARN_API int32_t TARN_CALL koXML_GetValueByName(XML_Node *node, const char *name, char *buffer,
                                                int32_t size) {
    if (buffer != nullptr && size > 0) buffer[0] = '\0';
    XML_Node *child = koXML_GetChildByName(node, name);
    if (child == nullptr) return 0;
    return koXML_GetValue(child, buffer, size) != nullptr ? 1 : 0;
}

TARN_API int32_t TARN_CALL koXML_SetValueByName(XML_Node *node, const char *name,
                                                const char *text) {
    XML_Node *child = koXML_GetChildByName(node, name);
    if (child == nullptr) child = koXML_AddChildLast(node, name);
    if (child == nullptr) return 0;
    koXML_SetValue(child, text);
    return 1;
}
