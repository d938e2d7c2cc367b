// XML node trees and the atom table: links, the lock count, the sorted atoms, values inline and in
// scratch-file slots (the reuse test as it stands), name and path lookups, the traversal flags.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "harness.h"

namespace {

// The tree below `node` as "name(child,child(...))"; checks every link on the way.
std::string shape(XML_Node *node) {
    std::string out = koXML_GetName(node);
    XML_Node *prev = nullptr;
    for (XML_Node *c = koXML_GetFirstChild(node); c != nullptr; prev = c, c = koXML_GetNext(c)) {
        EXPECT_EQ(koXML_GetParent(c), node) << out;
        EXPECT_EQ(koXML_GetPrev(c), prev) << out;
        out += (prev ? "," : "(") + shape(c);
    }
    EXPECT_EQ(koXML_GetLastChild(node), prev) << out;
    return prev ? out + ")" : out;
}

bool atoms_empty() { return koXML_GetAtomByID(0) == nullptr; }

std::string text_of(size_t n, char first) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = char(first + i % 26);
    return s;
}

// The value read into a buffer of `size` bytes that holds 0x7F everywhere else.
std::string value(XML_Node *node, int32_t size = 8192) {
    std::string buffer(size_t(std::max(size, 1)), '\x7F');
    const char *got = koXML_GetValue(node, &buffer[0], size);
    return got != nullptr ? std::string(got) : std::string("<null>");
}

// Every test starts and ends with an empty atom table. `tree()` makes a tree that is released
// after the test; `store()` one with a scratch file of its own, for values over 24 bytes.
class XmlTree : public testing::Test {
protected:
    void SetUp() override { koXML_FreeAtoms(); }
    void TearDown() override {
        for (XML_Node *t : trees) koXML_ReleaseTree(t);
        koXML_ReleaseTreeEx(stored);
        koXML_FreeAtoms();
    }
    XML_Node *tree() { return trees.emplace_back(koXML_CreateTree("R", nullptr)); }
    XML_Node *store() {
        cell = static_cast<HANDLE *>(AllocGlobal(sizeof(HANDLE)));
        *cell = X_CreatTmp();
        return stored = koXML_CreateTree(nullptr, cell);
    }
    int32_t file_size() { return X_Seek(*cell, 0, 2); }
    std::vector<XML_Node *> trees;
    HANDLE *cell = nullptr;
    XML_Node *stored = nullptr;
};

TEST_F(XmlTree, AddsAndReleasesLinkInPlace) {
    enum { First, Last, Next, Prev, Release };
    XML_Node *(TARN_CALL *const adds[])(XML_Node *, const char *) = {koXML_AddChildFirst, koXML_AddChildLast,
                                                                     koXML_AddNext, koXML_AddPrev};
    XML_Node *root = tree();
    const struct {
        int op;
        const char *target, *name, *shape;
    } steps[] = {
        {Last, "", "b", "R(b)"},
        {First, "", "a", "R(a,b)"},
        {Last, "", "d", "R(a,b,d)"},
        {Next, "b", "c", "R(a,b,c,d)"},
        {Prev, "a", "0", "R(0,a,b,c,d)"},              // before the first child
        {Next, "d", "e", "R(0,a,b,c,d,e)"},            // after the last child
        {Prev, "c", nullptr, "R(0,a,b,c,c,d,e)"},      // a sibling takes the neighbour's name
        {First, "b", nullptr, "R(0,a,b(b),c,c,d,e)"},  // a child takes the parent's name
        {Last, "d", "x", "R(0,a,b(b),c,c,d(x),e)"},
        {Release, "0", nullptr, "R(a,b(b),c,c,d(x),e)"},  // the first child
        {Release, "d", nullptr, "R(a,b(b),c,c,e)"},       // with its subtree
        {Release, "e", nullptr, "R(a,b(b),c,c)"},         // the last child
        {Release, "b/b", nullptr, "R(a,b,c,c)"},          // an only child
        {Last, "", "f", "R(a,b,c,c,f)"},                  // the freed nodes are taken again without harm
    };
    for (const auto &s : steps) {
        XML_Node *target = koXML_GetChildByNameEx(root, s.target);
        ASSERT_NE(target, nullptr) << s.target;
        if (s.op == Release) {
            koXML_ReleaseItem(target);
        } else {
            XML_Node *made = adds[s.op](target, s.name);
            ASSERT_NE(made, nullptr) << s.shape;
            EXPECT_EQ(koXML_GetName(made), koXML_MakeAtom(koXML_GetName(made))) << "names are atoms";
        }
        EXPECT_EQ(shape(root), s.shape);
    }
    koXML_ReleaseTree(nullptr);
    koXML_ReleaseItem(nullptr);
    EXPECT_FALSE(atoms_empty()) << "neither a child's release nor a null one moves the lock count";
}

// A root's siblings are trees of their own, and a root is released as a tree: one step of the lock
// count. Only the step from 1 to 0 empties the table; FreeAtoms empties it but keeps the count.
TEST_F(XmlTree, LockCountEmptiesTheTableOnlyFromOneToZero) {
    koXML_LockAtoms(1);
    XML_Node *root = koXML_CreateTree("R", nullptr);
    XML_Node *after = koXML_AddNext(root, "s"), *before = koXML_AddPrev(root, "p");
    koXML_AddChildLast(after, "s1");
    EXPECT_EQ(koXML_GetParent(after), nullptr);
    koXML_ReleaseItem(root);  // 2 -> 1
    EXPECT_FALSE(atoms_empty());
    EXPECT_TRUE(koXML_GetNext(before) == after && koXML_GetPrev(after) == before) << "relinked";
    EXPECT_EQ(shape(after), "s(s1)");
    koXML_ReleaseItem(after);
    EXPECT_TRUE(atoms_empty()) << "the lock count fell from 1 to 0";
    koXML_MakeAtom("a");
    koXML_ReleaseItem(before);  // 0 -> -1
    koXML_LockAtoms(1);         // -1 -> 0
    EXPECT_FALSE(atoms_empty()) << "never passed from 1 to 0";
    koXML_LockAtoms(1);
    koXML_FreeAtoms();
    const char *x = koXML_MakeAtom("x");
    EXPECT_TRUE(koXML_GetAtomByID(0) == x && koXML_GetAtomByID(1) == nullptr) << "an emptied table forgets its atoms";
    koXML_LockAtoms(0);
    EXPECT_TRUE(atoms_empty()) << "the kept count went from 1 to 0";
}

// Letters before case, lower case first (not the byte order "A B a b"); the table grows past 512
// and 1024 entries without moving the atoms it gave out.
TEST_F(XmlTree, AtomsSortAsTheSystemComparesAndStayWhereTheyAre) {
    std::vector<std::string> names = {"a", "A", "b", "B"};
    for (int i = 0; i < 1300; ++i) names.push_back("n" + std::to_string(10000 + i));
    std::vector<std::string> shuffled = names;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
    std::vector<const char *> atoms;
    for (const auto &n : shuffled) atoms.push_back(koXML_MakeAtom(n.c_str()));
    for (size_t i = 0; i < names.size(); ++i) ASSERT_STREQ(koXML_GetAtomByID(uint32_t(i)), names[i].c_str()) << i;
    EXPECT_EQ(koXML_GetAtomByID(uint32_t(names.size())), nullptr);
    for (size_t i = 0; i < shuffled.size(); ++i) EXPECT_STREQ(atoms[i], shuffled[i].c_str()) << "moved by a growth";
    char copy[] = "b";
    EXPECT_EQ(koXML_MakeAtom(copy), koXML_GetAtomByID(2)) << "equal texts give the same pointer";
    EXPECT_EQ(koXML_MakeAtom(nullptr), nullptr);
}

TEST_F(XmlTree, TextAndBinaryValuesInlineOrInScratchSlots) {
    XML_Node *root = store(), *bare = tree();
    const struct {
        size_t length, kept;
        bool store;
        int32_t result, growth;
    } cases[] = {
        {0, 0, true, 1, 0},          {24, 24, true, 1, 0},  {25, 25, true, 1, 32}, {32, 32, true, 1, 64},
        {5000, 5000, true, 1, 5024}, {24, 24, false, 1, 0}, {30, 24, false, 0, 0},  // without store only the first 24 bytes stay
    };
    for (const auto &c : cases) {
        XML_Node *node = koXML_AddChildLast(c.store ? root : bare, "v");
        const std::string text = text_of(c.length, 'a');
        const int32_t before = file_size();
        EXPECT_EQ(koXML_SetValue(node, text.c_str()), c.result) << c.length;
        EXPECT_EQ(value(node), text.substr(0, c.kept)) << c.length;
        EXPECT_EQ(file_size() - before, c.growth) << c.length;
    }
    // Read values are cut to the buffer and terminated; without room for a character, none is.
    XML_Node *inlined = koXML_GetFirstChild(bare), *inStore = koXML_GetLastChild(root);
    const struct {
        XML_Node *node;
        int32_t size;
        std::string expected;
    } cuts[] = {
        {inlined, 25, text_of(24, 'a')}, {inlined, 5, "abcd"},    {inlined, 2, "a"},
        {inlined, 1, "<null>"},          {inlined, -5, "<null>"}, {inStore, 10, "abcdefghi"},
    };
    for (const auto &c : cuts) EXPECT_EQ(value(c.node, c.size), c.expected) << c.size;

    // Binary values are read only with the exact size.
    for (int32_t length : {24, 300}) {
        const std::string bytes = std::string(3, '\0') + text_of(size_t(length - 3), 'a');
        XML_Node *node = koXML_AddChildLast(root, "bin");
        ASSERT_EQ(koXML_SetBinValue(node, bytes.data(), length), 1);
        std::string back(size_t(length) + 1, '#');
        for (int32_t size : {length - 1, length + 1}) EXPECT_EQ(koXML_GetBinValue(node, &back[0], size), 0) << size;
        EXPECT_EQ(koXML_GetBinValue(node, &back[0], length), 1) << length;
        EXPECT_EQ(back, bytes + "#") << "no zero appended";
    }
    for (XML_Node *node : {koXML_AddChildLast(root, "empty"), bare}) koXML_SetValue(node, "abc");
    EXPECT_EQ(koXML_SetBinValue(koXML_GetLastChild(root), nullptr, 5), 1);
    EXPECT_EQ(value(koXML_GetLastChild(root)), "");
    EXPECT_EQ(koXML_SetBinValue(bare, std::string(30, 'z').data(), 30), 0);
    EXPECT_EQ(value(bare), "abc") << "a long binary value without store changes nothing";
}

// The reuse test reads the length stored now, not the size once reserved: a slot can be overrun
// into the next one (kept: trees have always been written so). A new slot whose write fails is
// still the node's: the result is 0, and the next value that passes the reuse test goes there.
TEST_F(XmlTree, SlotsAreReusedByTheStoredLength) {
    XML_Node *a = koXML_AddChildLast(store(), "a"), *b = koXML_AddChildLast(stored, "b"),
             *c = koXML_AddChildLast(stored, "c"), *d = koXML_AddChildLast(stored, "d");
    const struct {
        XML_Node *node;
        size_t length;
        int32_t fileSize;
    } steps[] = {
        {a, 40, 64},   {b, 40, 128}, {a, 64, 128},  // slot of 64 holds 64
        {a, 90, 128},                 // (64 & ~31) + 32 = 96: written over a's slot end into b's (checked below)
        {a, 100, 256},                // (90 & ~31) + 32 = 96 < 100: a new slot of 128
        {c, 40, 320},  {c, 10, 320},  // inline; the slot stays
        {c, 40, 384},                 // (10 & ~31) + 32 = 32 < 40: a new slot although the old one had 64
        {c, 0, 384},   {c, 30, 384},  // stored length 0 passes for 32
    };
    for (const auto &s : steps) {
        const std::string text = text_of(s.length, s.node == a ? 'A' : s.node == b ? 'b' : 'c');
        EXPECT_EQ(koXML_SetValue(s.node, text.c_str()), 1);
        EXPECT_EQ(file_size(), s.fileSize) << s.length;
        EXPECT_EQ(value(s.node), text) << s.length;
    }
    EXPECT_EQ(value(b), text_of(90, 'A').substr(64) + text_of(40, 'b').substr(26)) << "a's 90 bytes ran into b's slot";

    harness::Fault diskFull("WriteFile", 1, harness::kDiskFull);
    EXPECT_EQ(koXML_SetValue(d, text_of(40, 'd').c_str()), 0);
    diskFull.disarm();
    EXPECT_EQ(value(d), "<null>") << "40 bytes stored, none of them written";
    EXPECT_EQ(file_size(), 384);
    const std::string again = text_of(50, 'e');
    EXPECT_EQ(koXML_SetValue(d, again.c_str()), 1);
    EXPECT_EQ(value(d), again);
    EXPECT_EQ(file_size(), 384 + 50) << "written over the slot kept, without a new slot's padding";
}

TEST_F(XmlTree, LookupsByNameAndPath) {
    // R(a(x,y,x),b,a(z),b)
    XML_Node *root = tree(), *a1 = koXML_AddChildLast(root, "a");
    XML_Node *x1 = koXML_AddChildLast(a1, "x"), *y = koXML_AddChildLast(a1, "y"), *x2 = koXML_AddChildLast(a1, "x");
    XML_Node *b = koXML_AddChildLast(root, "b"), *a2 = koXML_AddChildLast(root, "a");
    XML_Node *z = koXML_AddChildLast(a2, "z");
    koXML_SetValue(b, "first");
    koXML_SetValue(koXML_AddChildLast(root, "b"), "second");
    struct Lookup {
        XML_Node *from;
        const char *name;
        XML_Node *expected;
    };
    const Lookup names[] = {
        {root, "b", b},
        {root, "B", nullptr} /* case counts */,
        {root, ".", a1} /* the first child */,
        {root, "..", root} /* the first child's parent */,
        {z, ".", nullptr},
    };
    for (const auto &c : names) EXPECT_EQ(koXML_GetChildByName(c.from, c.name), c.expected) << c.name;
    const Lookup paths[] = {
        {a1, "x/>", x2},      {a1, "x/>/>", nullptr}, {a1, "x/>/<", x1},
        {a1, "", a1},         {a1, "///", root},      {x1, "/a/x/>", x2},
        {z, "//a///x//", x1}, {z, "/a/>/z", z},       {a1, "+/>", x2},
        {y, "/+/>", a2},      {a2, "<", a1},          {root, "<", nullptr},
        {root, "a/..", a1},   {root, "b/.", nullptr}, {root, "missing/x", nullptr},
    };
    for (const auto &c : paths) EXPECT_EQ(koXML_GetChildByNameEx(c.from, c.name), c.expected) << c.name;

    // The result, then the buffer, which is emptied before the lookup.
    const auto read = [&](const char *name, int32_t size) {
        char buffer[16] = "zzz";
        return std::to_string(koXML_GetValueByName(root, name, buffer, size)) + buffer;
    };
    EXPECT_EQ(read("b", 16), "1first");
    EXPECT_EQ(read("c", 16), "0");
    EXPECT_EQ(read("b", 1), "0") << "no room for a value";
    EXPECT_EQ(koXML_SetValueByName(root, "b", "third"), 1);
    EXPECT_EQ(koXML_SetValueByName(root, "c", "new"), 1);
    EXPECT_EQ(shape(root), "R(a(x,y,x),b,a(z),b,c)");
    EXPECT_EQ(value(b) + value(koXML_GetLastChild(root)), "thirdnew");
}

struct Visits {
    std::string names, stopAt, releaseNamed;
};

int32_t TARN_CALL record(XML_Node *node, intptr_t user) {
    auto *v = reinterpret_cast<Visits *>(user);
    const std::string name = koXML_GetName(node);
    v->names += name + " ";
    if (name == v->releaseNamed) koXML_ReleaseItem(node);
    return name == v->stopAt ? 0 : 1;
}

// The names visited from `from`, each followed by a blank. The callback answers 0 at `stopAt`,
// which ends the walk with 0, and releases the nodes named `release`.
std::string walk(XML_Node *from, uint32_t flags, const char *stopAt = "", const char *release = "") {
    Visits v{"", stopAt, release};
    EXPECT_EQ(koXML_DoReku(from, flags, record, reinterpret_cast<intptr_t>(&v)), *stopAt ? 0 : 1) << std::hex << flags;
    return v.names;
}

TEST_F(XmlTree, TraversalFlagsInOrder) {
    // R(A(A1,A2),B)
    XML_Node *root = tree(), *a = koXML_AddChildLast(root, "A"), *a1 = koXML_AddChildLast(a, "A1");
    koXML_AddChildLast(a, "A2");
    koXML_AddChildLast(root, "B");
    const struct {
        XML_Node *from;
        uint32_t flags;
        const char *stopAt, *visits;
    } cases[] = {
        {root, 0x01, "", "R "},
        {root, 0x03, "", "R A A1 A2 B "},
        {root, 0x06, "", "A1 A2 A B R "},
        {root, 0x07, "", "R A A1 A1 A2 A2 A B B R "},
        {root, 0x03, "A2", "R A A1 A2 "},
        {a1, 0x19, "", "A1 A1 A A R R "},
        {a, 0x13, "", "A A1 A2 R "},  // going up does not descend again, nor do the children go up
        {a1, 0x08, "", ""},           // 0x08 only with 0x10
        {a1, 0x04, "", ""},           // 0x04 only with 0x02
        {a, 0x22, "", "A1 A2 A "},    // the children make their own last call
        {a1, 0x30, "", "R A A1 "},    // the last calls come back down
        {a1, 0x31, "R", "A1 A R "},
    };
    for (const auto &c : cases) EXPECT_EQ(walk(c.from, c.flags, c.stopAt), c.visits) << std::hex << c.flags;

    // A released node keeps its links until the callback returns: the walk goes on past it.
    XML_Node *other = tree();
    for (const char *name : {"k", "x", "k", "x", "x", "k"}) koXML_AddChildLast(koXML_AddChildLast(other, name), "in");
    EXPECT_EQ(walk(other, 0x03, "", "x"), "R k in x k in x x k in ");
    EXPECT_EQ(shape(other), "R(k(in),k(in),k(in))");
}

// Walked and released without recursion, so a deep chain cannot exhaust the stack: down (0x27)
// and up (0x39) with all three calls each. The scratch file's cell and the atoms are given back.
TEST_F(XmlTree, DeepAndWideTreesAreWalkedAndReleasedWhole) {
    const auto before = harness::tracked_memory();
    constexpr int kCount = 300000;
    XML_Node *at = store();
    for (int i = 0; i < kCount; ++i) at = koXML_AddChildFirst(at, "d");
    ASSERT_NE(at, nullptr);
    EXPECT_EQ(koXML_GetDeept(at), kCount);
    koXML_SetName(at, "end");
    const auto calls = [](const std::string &names) { return int(std::count(names.begin(), names.end(), ' ')); };
    EXPECT_EQ(calls(walk(stored, 0x27)), 3 * (kCount + 1));
    EXPECT_EQ(calls(walk(at, 0x39)), 3 * (kCount + 1));
    EXPECT_EQ(calls(walk(stored, 0x27, "end")), kCount + 1);
    koXML_SetValue(at, text_of(100, 'a').c_str());
    XML_Node *wide = koXML_AddNext(koXML_GetFirstChild(stored), "w");
    for (int i = 0; i < 100000; ++i) koXML_AddChildLast(wide, "c");
    koXML_ReleaseTreeEx(stored);
    stored = nullptr;
    EXPECT_TRUE(atoms_empty());
    EXPECT_EQ(harness::tracked_memory().first, before.first) << "cell and atoms given back";
}

}  // namespace

// Without memory an atom, a node or a tree is not made (null) and what exists stays as it was:
// the table keeps its atoms, the tree its children, and both grow again once memory is back.
TEST_F(XmlTree, FailedAllocationsLeaveTableAndTreeAsTheyWere) {
    {
        harness::Fault noMemory("GlobalAlloc", 1, harness::kNotEnoughMemory, true);  // the table's first array
        EXPECT_EQ(koXML_MakeAtom("first"), nullptr);
    }
    EXPECT_TRUE(atoms_empty());
    XML_Node *root = tree();
    const char *kept = koXML_MakeAtom("kept");
    {
        harness::Fault noMemory("GlobalAlloc", 1, harness::kNotEnoughMemory, true);  // the new name's block
        EXPECT_EQ(koXML_MakeAtom("new"), nullptr);
        EXPECT_EQ(koXML_MakeAtom("kept"), kept);
    }
    EXPECT_EQ(koXML_GetAtomByID(2), nullptr) << "R and kept only";
    EXPECT_NE(koXML_MakeAtom("new"), nullptr);

    int added = 0;
    {
        harness::Fault noMemory("HeapAlloc", 1, harness::kNotEnoughMemory, true);
        EXPECT_EQ(koXML_CreateTree("T", nullptr), nullptr);
        while (added < 100000 && koXML_AddChildLast(root, "c")) ++added;
        EXPECT_LT(added, 100000) << "no node needed a new block";
    }
    int children = 0;
    for (XML_Node *c = koXML_GetFirstChild(root); c; c = koXML_GetNext(c)) ++children;
    EXPECT_EQ(children, added);
    EXPECT_NE(koXML_AddChildLast(root, "c"), nullptr);
}
