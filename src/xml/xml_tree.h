// The node record behind XML_Node and the internal calls the readers and writers may use where
// the exported koXML_ functions cost more than needed (no strlen, no name lookup, no walk to the
// last child). Each helper gives exactly the result of the export it names.
#pragma once
#include <cstddef>
#include <cstdint>

#include "tarngdi32.h"

// Links are 32-bit node references rather than pointers (node_at turns one into the node, 0 is
// none), which keeps a node at 64 bytes on 64-bit systems. Children of a parent form a list whose
// first member's `prev` names the last member, so the last child is found without a walk;
// koXML_GetPrev still answers NULL for a first child. Nodes without parent (a root and siblings
// added beside it) are linked plainly, `prev` of the first being 0. The store cell is kept once
// per tree (see node_store), not in every node.
struct XML_Node {
    uint32_t parent;
    uint32_t first;
    uint32_t prev;
    uint32_t next;
    uint32_t self;  // this node's own reference
    uint32_t type;
    int32_t offset;    // slot in the scratch file, -1 before one is reserved
    int32_t length;    // value length in bytes
    const char *name;  // atom
    char data[24];     // the value when length <= 24; the pool's free-list link once freed
};

namespace tarn::xml {

constexpr int32_t kInlineBytes = 24;

// Size of the scratch-file slot for a value of `length` bytes.
constexpr int32_t slot_size(int32_t length) { return (length & ~31) + 32; }

// ---- atoms ----

// koXML_MakeAtom for the first `length` bytes of `text` (need not be zero-terminated; a zero byte
// inside ends the name there).
const char *intern(const char *text, size_t length);

// ---- nodes ----

// The node a link names; NULL for 0.
XML_Node *node_at(uint32_t ref);

inline XML_Node *parent_of(const XML_Node *node) { return node_at(node->parent); }
inline XML_Node *first_child_of(const XML_Node *node) { return node_at(node->first); }
inline XML_Node *next_sibling_of(const XML_Node *node) { return node_at(node->next); }
// (The previous sibling and the last child: koXML_GetPrev and koXML_GetLastChild.)

// The tree's store cell (NULL when the tree has none).
HANDLE *node_store(const XML_Node *node);

// koXML_AddChildLast(parent, atom) for an atom already interned (not NULL); constant time.
XML_Node *append_child(XML_Node *parent, const char *atom);

// ---- values ----

// koXML_SetValue for `length` bytes of text: the same result as koXML_SetValue(node, text) when
// length is strlen(text).
int32_t set_value(XML_Node *node, const char *text, int32_t length);

// The value's length in bytes (24 at most for values cut for want of a store).
inline int32_t value_length(const XML_Node *node) { return node->length; }

// The inline value; only meaningful while value_length(node) <= 24.
inline const char *inline_value(const XML_Node *node) { return node->data; }

// Copies the first min(count, length) bytes of the value (no zero appended) and answers how many,
// or -1 when a long value cannot be read (no store, or the scratch file fails).
int32_t read_value(const XML_Node *node, void *out, int32_t count);

// ---- store cells ----

// A store cell (tracked block) holding a new temporary file, as koXML_ReleaseTreeEx expects it;
// NULL when the file or the block cannot be made.
HANDLE *new_store_cell();

// Closes the cell's file, sets the cell to the invalid handle and frees it; NULL is ignored.
void free_store_cell(HANDLE *cell);

}  // namespace tarn::xml
