// Node records, their links, the name and path lookups and the traversal. The nodes of one tree
// come from a pool of chunks with a free list; the pool goes back to the system with the tree's
// last node, so releasing a subtree gives its nodes back while the rest of the tree lives on.
#include "export.h"
#include "platform/collate.h"
#include "platform/memory.h"
#include "xml/xml_tree.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace {

using Ref = uint32_t;

// A reference is a chunk entry number above kIndexBits and the node's place in the chunk below.
constexpr uint32_t kIndexBits = 11;
constexpr uint32_t kMaxChunkNodes = 1u << kIndexBits;
constexpr uint32_t kFirstChunkNodes = 16;  // doubling up to kMaxChunkNodes: small trees stay small
constexpr uint32_t kMaxEntries = 1u << (32 - kIndexBits);
constexpr uint32_t kSegmentBits = 10;
constexpr uint32_t kSegmentSize = 1u << kSegmentBits;
constexpr uint32_t kSegments = kMaxEntries / kSegmentSize;

struct NodePool;

struct ChunkEntry {
    XML_Node *base;
    NodePool *pool;
    uint32_t next;  // the pool's next chunk while in use, the next free entry once given back
};

// Entries live in segments that never move, so a tree can be read on one thread while another
// thread builds a different one; the lock covers only taking and giving back entries.
struct NodeArena {
    ChunkEntry *segments[kSegments] = {};
    uint32_t used = 0;  // highest entry handed out; entry 0 stays unused, so reference 0 is none
    uint32_t freeEntry = 0;  // entries given back, linked through `next`
    std::mutex lock;
};

NodeArena gArena;

struct NodePool {
    HANDLE *store = nullptr;
    uint32_t chunks = 0;  // first chunk entry of this pool
    Ref freeList = 0;     // linked through the freed nodes' value bytes
    Ref bump = 0;         // next unused node of the newest chunk
    uint32_t bumpLeft = 0;
    uint32_t chunkNodes = kFirstChunkNodes;
    size_t live = 0;  // nodes not yet released
};

ChunkEntry &entry(uint32_t number) {
    return gArena.segments[number >> kSegmentBits][number & (kSegmentSize - 1)];
}

XML_Node *at(Ref ref) {
    return ref != 0 ? entry(ref >> kIndexBits).base + (ref & (kMaxChunkNodes - 1)) : nullptr;
}

NodePool *pool_of(const XML_Node *node) { return entry(node->self >> kIndexBits).pool; }

uint32_t take_entry(XML_Node *base, NodePool *pool) {
    std::lock_guard<std::mutex> hold(gArena.lock);
    uint32_t number = gArena.freeEntry;
    if (number != 0) {
        gArena.freeEntry = entry(number).next;
    } else {
        number = gArena.used + 1;
        if (number >= kMaxEntries) return 0;
        ChunkEntry *&segment = gArena.segments[number >> kSegmentBits];
        if (segment == nullptr) {
            segment = static_cast<ChunkEntry *>(std::calloc(kSegmentSize, sizeof(ChunkEntry)));
            if (segment == nullptr) return 0;
        }
        gArena.used = number;
    }
    entry(number) = ChunkEntry{base, pool, pool->chunks};
    pool->chunks = number;
    return number;
}

void give_back_entry(uint32_t number) {
    std::lock_guard<std::mutex> hold(gArena.lock);
    entry(number) = ChunkEntry{nullptr, nullptr, gArena.freeEntry};
    gArena.freeEntry = number;
}

XML_Node *new_node(NodePool *pool) {
    Ref ref = pool->freeList;
    if (ref != 0) {
        std::memcpy(&pool->freeList, at(ref)->data, sizeof pool->freeList);
    } else {
        if (pool->bumpLeft == 0) {
            const uint32_t count = pool->chunkNodes;
            auto *base = static_cast<XML_Node *>(plat::heap_alloc(count * sizeof(XML_Node)));
            if (base == nullptr) return nullptr;
            const uint32_t number = take_entry(base, pool);
            if (number == 0) {
                plat::heap_free(base);
                return nullptr;
            }
            pool->bump = number << kIndexBits;
            pool->bumpLeft = count;
            if (count < kMaxChunkNodes) pool->chunkNodes = count * 2;
        }
        ref = pool->bump++;
        --pool->bumpLeft;
    }
    auto *node = new (at(ref)) XML_Node{};
    node->self = ref;
    node->offset = -1;
    ++pool->live;
    return node;
}

void destroy_pool(NodePool *pool) {
    for (uint32_t number = pool->chunks; number != 0;) {
        const uint32_t next = entry(number).next;
        plat::heap_free(entry(number).base);
        give_back_entry(number);
        number = next;
    }
    delete pool;
}

// The freed node keeps its links, so a traversal whose callback released the node it was given
// still finds the node's next sibling.
void free_node(NodePool *pool, XML_Node *node) {
    std::memcpy(node->data, &pool->freeList, sizeof pool->freeList);
    pool->freeList = node->self;
    if (--pool->live == 0) destroy_pool(pool);
}

// ---- links ----

// Children of a parent: the first child's prev is the last child. Parentless chains are plain.

XML_Node *prev_sibling(const XML_Node *node) {
    const XML_Node *parent = at(node->parent);
    if (parent != nullptr && parent->first == node->self) return nullptr;
    return at(node->prev);
}

void link_first_child(XML_Node *parent, XML_Node *node) {
    const Ref old = parent->first;
    node->parent = parent->self;
    node->next = old;
    if (old != 0) {
        node->prev = at(old)->prev;
        at(old)->prev = node->self;
    } else {
        node->prev = node->self;
    }
    parent->first = node->self;
}

void link_after(XML_Node *where, XML_Node *node) {
    XML_Node *parent = at(where->parent);
    node->parent = where->parent;
    node->prev = where->self;
    node->next = where->next;
    where->next = node->self;
    if (node->next != 0) at(node->next)->prev = node->self;
    else if (parent != nullptr) at(parent->first)->prev = node->self;
}

void link_before(XML_Node *where, XML_Node *node) {
    XML_Node *parent = at(where->parent);
    node->parent = where->parent;
    node->next = where->self;
    node->prev = where->prev;
    if (parent != nullptr && parent->first == where->self) {
        parent->first = node->self;  // node->prev took the last child
    } else if (where->prev != 0) {
        at(where->prev)->next = node->self;
    }
    where->prev = node->self;
}

void link_last_child(XML_Node *parent, XML_Node *node) {
    if (parent->first == 0) link_first_child(parent, node);
    else link_after(at(at(parent->first)->prev), node);
}

void unlink(XML_Node *node) {
    XML_Node *parent = at(node->parent);
    if (parent == nullptr) {
        if (node->next != 0) at(node->next)->prev = node->prev;
        if (node->prev != 0) at(node->prev)->next = node->next;
    } else if (parent->first == node->self) {
        parent->first = node->next;
        if (node->next != 0) at(node->next)->prev = node->prev;
    } else {
        at(node->prev)->next = node->next;
        if (node->next != 0) at(node->next)->prev = node->prev;
        else at(parent->first)->prev = node->prev;
    }
}

// Frees the node and everything below it without recursion, so that deep documents do not
// exhaust the stack; only the node itself needs unlinking, its descendants go all together.
void release_subtree(XML_Node *node) {
    NodePool *pool = pool_of(node);
    Ref ref = node->first;
    node->first = 0;
    while (ref != 0) {
        XML_Node *below = at(ref);
        if (below->first != 0) {
            ref = below->first;
            below->first = 0;
            continue;
        }
        const Ref next = below->next, up = below->parent;
        free_node(pool, below);
        ref = next != 0 ? next : (up == node->self ? 0 : up);
    }
    unlink(node);
    free_node(pool, node);
}

enum class Place { FirstChild, LastChild, After, Before };

XML_Node *add_node(XML_Node *where, const char *name, Place place) {
    const char *atom = name != nullptr ? koXML_MakeAtom(name) : where->name;
    if (atom == nullptr) return nullptr;
    XML_Node *node = new_node(pool_of(where));
    if (node == nullptr) return nullptr;
    node->name = atom;
    switch (place) {
    case Place::FirstChild: link_first_child(where, node); break;
    case Place::LastChild: link_last_child(where, node); break;
    case Place::After: link_after(where, node); break;
    case Place::Before: link_before(where, node); break;
    }
    return node;
}

// ---- lookups ----

bool same_name(const char *a, const char *b) {
    if (a == b) return true;
    return a != nullptr && b != nullptr && plat::compare_text(a, b) == 0;
}

XML_Node *child_by_name(XML_Node *node, const char *name) {
    if (name == nullptr) return nullptr;
    if (name[0] == '.' && name[1] == '\0') return at(node->first);
    // ".." is the first child's parent; without children there is none, so NULL.
    if (name[0] == '.' && name[1] == '.' && name[2] == '\0')
        return node->first != 0 ? node : nullptr;
    for (XML_Node *child = at(node->first); child != nullptr; child = at(child->next)) {
        if (same_name(child->name, name)) return child;
    }
    return nullptr;
}

// strtok(s, "/") without the runtime's hidden state: runs of "/" separate, empty tokens vanish.
char *next_token(char **cursor) {
    char *start = *cursor;
    while (*start == '/') ++start;
    if (*start == '\0') {
        *cursor = start;
        return nullptr;
    }
    char *end = start;
    while (*end != '\0' && *end != '/') ++end;
    if (*end != '\0') *end++ = '\0';
    *cursor = end;
    return start;
}

XML_Node *path_step(XML_Node *node, const char *token) {
    if (token[0] == '+' && token[1] == '\0') return at(node->first);
    if (token[0] == '<' && token[1] == '\0') {
        for (XML_Node *sibling = prev_sibling(node); sibling != nullptr;
             sibling = prev_sibling(sibling)) {
            if (same_name(sibling->name, node->name)) return sibling;
        }
        return nullptr;
    }
    if (token[0] == '>' && token[1] == '\0') {
        for (XML_Node *sibling = at(node->next); sibling != nullptr; sibling = at(sibling->next)) {
            if (same_name(sibling->name, node->name)) return sibling;
        }
        return nullptr;
    }
    return child_by_name(node, token);
}

// The traversal keeps its own stack rather than recursing, so deep trees cannot exhaust the
// thread's stack. Each frame is one visit: the call first (0x01), the children with the flags
// masked by 0x27 (0x02), the call after them (0x04), the call before going up (0x08), the parent
// with the flags masked by 0x39 (0x10), the last call (0x20). A callback that answers 0 ends the
// whole traversal with 0, as the visit it ends answers 0 to the one that started it.
struct Visit {
    XML_Node *node;
    XML_Node *child;  // the child being visited, while in Stage::Children
    uint32_t flags;
    enum class Stage : uint8_t { Start, Children, Up, AfterParent } stage;
};

int32_t reku(XML_Node *node, uint32_t flags, koXML_RekuProc proc, intptr_t user) {
    std::vector<Visit> stack;
    stack.push_back(Visit{node, nullptr, flags, Visit::Stage::Start});
    while (!stack.empty()) {
        // Taken by value: pushing a frame may move the stack.
        Visit v = stack.back();
        switch (v.stage) {
        case Visit::Stage::Start:
            if ((v.flags & 0x01) && !proc(v.node, user)) return 0;
            if (v.flags & 0x02) {
                v.child = at(v.node->first);
                v.stage = Visit::Stage::Children;
            } else {
                v.stage = Visit::Stage::Up;
            }
            stack.back() = v;
            continue;
        case Visit::Stage::Children:
            if (v.child != nullptr) {
                stack.push_back(Visit{v.child, nullptr, v.flags & 0x27, Visit::Stage::Start});
                continue;
            }
            if ((v.flags & 0x04) && !proc(v.node, user)) return 0;
            stack.back().stage = Visit::Stage::Up;
            continue;
        case Visit::Stage::Up:
            if (v.flags & 0x10) {
                // The call before going up is made at the top as well, where there is nowhere to go.
                if ((v.flags & 0x08) && !proc(v.node, user)) return 0;
                XML_Node *parent = at(v.node->parent);
                if (parent != nullptr) {
                    stack.back().stage = Visit::Stage::AfterParent;
                    stack.push_back(Visit{parent, nullptr, v.flags & 0x39, Visit::Stage::Start});
                    continue;
                }
            }
            break;
        case Visit::Stage::AfterParent: break;
        }
        // The visit ends with its last call; the visit below it goes on.
        if ((v.flags & 0x20) && !proc(v.node, user)) return 0;
        stack.pop_back();
        if (!stack.empty()) {
            Visit &below = stack.back();
            // The next sibling is looked up only now: a callback may have released the child,
            // whose links stay readable.
            if (below.stage == Visit::Stage::Children) below.child = at(below.child->next);
        }
    }
    return 1;
}

}  // namespace

namespace tarn::xml {

XML_Node *node_at(uint32_t ref) { return at(ref); }

HANDLE *node_store(const XML_Node *node) { return pool_of(node)->store; }

XML_Node *append_child(XML_Node *parent, const char *atom) {
    XML_Node *node = new_node(pool_of(parent));
    if (node == nullptr) return nullptr;
    node->name = atom;
    link_last_child(parent, node);
    return node;
}

}  // namespace tarn::xml

// The atoms are locked only once the root exists: a tree that could not be made holds nothing.
TARN_API XML_Node *TARN_CALL koXML_CreateTree(const char *name, HANDLE *store) {
    const char *atom = koXML_MakeAtom(name != nullptr ? name : "Root");
    if (atom == nullptr) return nullptr;
    auto *pool = new (std::nothrow) NodePool{};
    if (pool == nullptr) return nullptr;
    pool->store = store;
    XML_Node *root = new_node(pool);
    if (root == nullptr) {
        destroy_pool(pool);
        return nullptr;
    }
    root->name = atom;
    koXML_LockAtoms(1);
    return root;
}

// NULL releases nothing and leaves the lock count alone.
TARN_API void TARN_CALL koXML_ReleaseTree(XML_Node *node) {
    if (node == nullptr) return;
    release_subtree(node);
    koXML_LockAtoms(0);
}

TARN_API void TARN_CALL koXML_ReleaseTreeEx(XML_Node *root) {
    if (root == nullptr) return;
    HANDLE *cell = tarn::xml::node_store(root);
    koXML_ReleaseTree(root);
    tarn::xml::free_store_cell(cell);
}

TARN_API void TARN_CALL koXML_ReleaseItem(XML_Node *node) {
    if (node == nullptr) return;
    if (node->parent == 0) koXML_ReleaseTree(node);
    else release_subtree(node);
}

TARN_API XML_Node *TARN_CALL koXML_AddChildFirst(XML_Node *node, const char *name) {
    return add_node(node, name, Place::FirstChild);
}

TARN_API XML_Node *TARN_CALL koXML_AddChildLast(XML_Node *node, const char *name) {
    return add_node(node, name, Place::LastChild);
}

TARN_API XML_Node *TARN_CALL koXML_AddNext(XML_Node *node, const char *name) {
    return add_node(node, name, Place::After);
}

TARN_API XML_Node *TARN_CALL koXML_AddPrev(XML_Node *node, const char *name) {
    return add_node(node, name, Place::Before);
}

TARN_API XML_Node *TARN_CALL koXML_GetParent(XML_Node *node) { return at(node->parent); }
TARN_API XML_Node *TARN_CALL koXML_GetFirstChild(XML_Node *node) { return at(node->first); }
TARN_API XML_Node *TARN_CALL koXML_GetNext(XML_Node *node) { return at(node->next); }
TARN_API XML_Node *TARN_CALL koXML_GetPrev(XML_Node *node) { return prev_sibling(node); }

TARN_API XML_Node *TARN_CALL koXML_GetLastChild(XML_Node *node) {
    return node->first != 0 ? at(at(node->first)->prev) : nullptr;
}

TARN_API const char *TARN_CALL koXML_GetName(XML_Node *node) { return node->name; }

TARN_API const char *TARN_CALL koXML_SetName(XML_Node *node, const char *name) {
    node->name = koXML_MakeAtom(name);
    return node->name;
}

TARN_API uint32_t TARN_CALL koXML_GetType(XML_Node *node) { return node->type; }

TARN_API XML_Node *TARN_CALL koXML_SetType(XML_Node *node, uint32_t type) {
    node->type = type;
    return node;
}

TARN_API int32_t TARN_CALL koXML_GetDeept(XML_Node *node) {
    int32_t depth = 0;
    for (const XML_Node *up = at(node->parent); up != nullptr; up = at(up->parent)) ++depth;
    return depth;
}

TARN_API XML_Node *TARN_CALL koXML_GetChildByName(XML_Node *node, const char *name) {
    return child_by_name(node, name);
}

// A NULL path is read as an empty one: the node itself.
TARN_API XML_Node *TARN_CALL koXML_GetChildByNameEx(XML_Node *node, const char *path) {
    if (path == nullptr) return node;
    const size_t length = std::strlen(path);
    char local[256];
    char *copy = length < sizeof local ? local : static_cast<char *>(std::malloc(length + 1));
    if (copy == nullptr) return nullptr;
    std::memcpy(copy, path, length + 1);
    char *cursor = copy;
    XML_Node *current = node;
    if (*cursor == '/') {
        while (current->parent != 0) current = at(current->parent);
        while (*cursor == '/') ++cursor;
    }
    for (const char *token; current != nullptr && (token = next_token(&cursor)) != nullptr;) {
        current = path_step(current, token);
    }
    if (copy != local) std::free(copy);
    return current;
}

// A NULL callback visits nothing; a traversal whose stack cannot grow ends there with 0.
TARN_API int32_t TARN_CALL koXML_DoReku(XML_Node *node, uint32_t flags, koXML_RekuProc proc,
                                        intptr_t user) {
    if (proc == nullptr) return 0;
    try {
        return reku(node, flags, proc, user);
    } catch (const std::bad_alloc &) {
        return 0;
    }
}
