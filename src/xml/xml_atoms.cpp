// The process-wide atom table: every name interned once in a tracked block, the blocks kept in an
// array sorted as the system's lstrcmpA orders them. A hash index in front answers names met
// before without comparing texts, which is what a reader interning every tag name needs.
#include "export.h"
#include "platform/collate.h"
#include "xml/xml_tree.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kGrowth = 512;

// Names up to this length are made zero-terminated on the stack.
constexpr size_t kLocalName = 256;

// The index holds only atoms whose text equals the key byte for byte; a name that the system's
// comparison finds equal to a different text is looked up in the array each time.
struct IndexSlot {
    uint32_t hash;
    uint32_t length;
    const char *atom;  // NULL: free slot
};

struct AtomTable {
    uint32_t count = 0;
    uint32_t capacity = 0;       // a multiple of kGrowth
    char **entries = nullptr;    // tracked block of `capacity` text pointers, sorted ascending
    int32_t lockCount = 0;       // trees alive plus explicit locks
    IndexSlot *index = nullptr;  // open addressing, power-of-two size, at most half full
    uint32_t indexSize = 0;
    uint32_t indexUsed = 0;
};

// Unguarded, like all of this family's state: meant for the application's UI thread.
AtomTable gAtoms;

constexpr uint32_t kHashBasis = 2166136261u;

inline uint32_t hash_step(uint32_t h, char c) {
    return (h ^ static_cast<unsigned char>(c)) * 16777619u;
}

uint32_t hash_name(const char *text, size_t length) {
    uint32_t h = kHashBasis;
    for (size_t i = 0; i < length; ++i) h = hash_step(h, text[i]);
    return h;
}

const char *index_find(const char *text, size_t length, uint32_t hash) {
    if (gAtoms.index == nullptr) return nullptr;
    const uint32_t mask = gAtoms.indexSize - 1;
    for (uint32_t i = hash & mask;; i = (i + 1) & mask) {
        const IndexSlot &slot = gAtoms.index[i];
        if (slot.atom == nullptr) return nullptr;
        if (slot.hash == hash && slot.length == length &&
            std::memcmp(slot.atom, text, length) == 0) {
            return slot.atom;
        }
    }
}

void index_put(IndexSlot *index, uint32_t size, const IndexSlot &entry) {
    const uint32_t mask = size - 1;
    uint32_t i = entry.hash & mask;
    while (index[i].atom != nullptr) i = (i + 1) & mask;
    index[i] = entry;
}

// A failed allocation leaves the index as it was: lookups then fall back to the array.
void index_add(const char *atom, size_t length, uint32_t hash) {
    if (length > UINT32_MAX) return;
    if ((gAtoms.indexUsed + 1) * 2 > gAtoms.indexSize) {
        const uint32_t size = gAtoms.indexSize ? gAtoms.indexSize * 2 : 1024;
        if (size == 0) return;
        auto *grown = static_cast<IndexSlot *>(std::calloc(size, sizeof(IndexSlot)));
        if (grown == nullptr) return;
        for (uint32_t i = 0; i < gAtoms.indexSize; ++i) {
            if (gAtoms.index[i].atom != nullptr) index_put(grown, size, gAtoms.index[i]);
        }
        std::free(gAtoms.index);
        gAtoms.index = grown;
        gAtoms.indexSize = size;
    }
    index_put(gAtoms.index, gAtoms.indexSize, IndexSlot{hash, uint32_t(length), atom});
    ++gAtoms.indexUsed;
}

void empty_table() {
    for (uint32_t i = 0; i < gAtoms.count; ++i) FreeGlobal(gAtoms.entries[i]);
    FreeGlobal(gAtoms.entries);
    gAtoms.entries = nullptr;
    gAtoms.count = 0;
    gAtoms.capacity = 0;
    std::free(gAtoms.index);
    gAtoms.index = nullptr;
    gAtoms.indexSize = 0;
    gAtoms.indexUsed = 0;
}

int compare(const char *a, const char *b) {
    const int r = plat::compare_text(a, b);
    return (r > 0) - (r < 0);
}

// `name` is zero-terminated at `length`.
const char *intern_terminated(const char *name, size_t length, uint32_t hash) {
    uint32_t lo = 0, hi = gAtoms.count;
    while (lo < hi) {
        const uint32_t mid = lo + (hi - lo) / 2;
        const int r = compare(name, gAtoms.entries[mid]);
        if (r == 0) {
            const char *atom = gAtoms.entries[mid];
            if (std::strcmp(atom, name) == 0) index_add(atom, length, hash);
            return atom;
        }
        if (r < 0) hi = mid;
        else lo = mid + 1;
    }
    if (gAtoms.count >= gAtoms.capacity) {
        const uint32_t capacity = gAtoms.capacity + kGrowth;
        if (capacity < gAtoms.capacity || capacity > UINT32_MAX / sizeof(char *)) return nullptr;
        auto **grown = static_cast<char **>(AllocGlobal(uint32_t(capacity * sizeof(char *))));
        if (grown == nullptr) return nullptr;
        if (gAtoms.count != 0) std::memcpy(grown, gAtoms.entries, gAtoms.count * sizeof(char *));
        FreeGlobal(gAtoms.entries);
        gAtoms.entries = grown;
        gAtoms.capacity = capacity;
    }
    if (length >= UINT32_MAX) return nullptr;
    auto *text = static_cast<char *>(AllocGlobal(uint32_t(length + 1)));  // zero-filled
    if (text == nullptr) return nullptr;
    std::memcpy(text, name, length);
    // Shifting into the searched place gives the order a full sort would give.
    std::memmove(gAtoms.entries + lo + 1, gAtoms.entries + lo,
                 (gAtoms.count - lo) * sizeof(char *));
    gAtoms.entries[lo] = text;
    ++gAtoms.count;
    index_add(text, length, hash);
    return text;
}

}  // namespace

namespace tarn::xml {

const char *intern(const char *text, size_t length) {
    if (text == nullptr) return nullptr;
    // Hashed and searched for a zero in one pass: names are short, a separate search costs
    // more than the name.
    uint32_t hash = kHashBasis;
    size_t n = 0;
    for (; n < length && text[n] != 0; ++n) hash = hash_step(hash, text[n]);
    length = n;
    if (const char *atom = index_find(text, length, hash)) return atom;
    char local[kLocalName];
    char *name = length < kLocalName ? local : static_cast<char *>(std::malloc(length + 1));
    if (name == nullptr) return nullptr;
    std::memcpy(name, text, length);
    name[length] = '\0';
    const char *atom = intern_terminated(name, length, hash);
    if (name != local) std::free(name);
    return atom;
}

}  // namespace tarn::xml

TARN_API const char *TARN_CALL koXML_MakeAtom(const char *text) {
    if (text == nullptr) return nullptr;
    const size_t length = std::strlen(text);
    const uint32_t hash = hash_name(text, length);
    if (const char *atom = index_find(text, length, hash)) return atom;
    return intern_terminated(text, length, hash);
}

TARN_API const char *TARN_CALL koXML_GetAtomByID(uint32_t index) {
    return index < gAtoms.count ? gAtoms.entries[index] : nullptr;
}

TARN_API void TARN_CALL koXML_LockAtoms(int32_t lock) {
    const int32_t before = gAtoms.lockCount;
    gAtoms.lockCount = int32_t(uint32_t(before) + (lock != 0 ? 1u : ~0u));
    if (lock == 0 && before == 1) empty_table();
}

TARN_API void TARN_CALL koXML_FreeAtoms(void) { empty_table(); }
