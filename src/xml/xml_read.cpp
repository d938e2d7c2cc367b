// The XML readers' exports: a file (with or without a scratch file of its own), an 8-bit string
// and a 16-bit string.
#include "export.h"
#include "xml/xml_parse.h"
#include "xml/xml_source.h"
#include "xml/xml_tree.h"

using namespace tarn::xml;

TARN_API XML_Node *TARN_CALL koXML_CreateTreeFromFileEx(const char *file, HANDLE *store,
                                                        int32_t flag) {
    XML_Node *root = koXML_CreateTree(nullptr, store);
    if (!root || !file) return root;
    FileSource source;
    if (!source.open(file, flag)) {
        koXML_ReleaseTree(root);
        return nullptr;
    }
    // A document broken in the middle gives the part read before the fault.
    build_tree(root, source);
    return root;
}

TARN_API XML_Node *TARN_CALL koXML_CreateTreeFromFile(const char *file, HANDLE *store) {
    return koXML_CreateTreeFromFileEx(file, store, 0);
}

namespace {

// The cell is freed but its temporary file stays open: callers have always found it so.
XML_Node *read_with_own_store(const char *file, int32_t flag, bool logFailure) {
    HANDLE *cell = new_store_cell();
    XML_Node *root = cell ? koXML_CreateTreeFromFileEx(file, cell, flag) : nullptr;
    if (!root) {
        if (logFailure)
            koEventLogWrite(1, "tarngdi32::xml_exp::koXML_CreateTreeEx", "lpRet == NULL");
        FreeGlobal(cell);
    }
    return root;
}

// The root is made before the text is looked at: a null text leaves it behind, as it always did.
template <class MakeSource, class Text>
XML_Node *read_string(Text text, MakeSource make) {
    HANDLE *cell = new_store_cell();
    if (!cell) return nullptr;
    XML_Node *root = koXML_CreateTree(nullptr, cell);
    if (!root) {
        free_store_cell(cell);
        return nullptr;
    }
    if (!text) return nullptr;
    auto source = make();
    build_tree(root, source);
    return root;
}

}  // namespace

TARN_API XML_Node *TARN_CALL koXML_CreateTreeEx(const char *file) {
    return read_with_own_store(file, 0, true);
}

TARN_API XML_Node *TARN_CALL koXML_CreateTreeExKompatible(const char *file) {
    return read_with_own_store(file, 1, false);
}

TARN_API XML_Node *TARN_CALL koXML_CreateTreeExAnsiString(const char *text, int32_t length) {
    return read_string(text, [&] { return AnsiStringSource(text, length); });
}

TARN_API XML_Node *TARN_CALL koXML_CreateTreeExUnicodeString(const TARN_WCHAR *text) {
    return read_string(text, [&] { return UnicodeSource(text); });
}
