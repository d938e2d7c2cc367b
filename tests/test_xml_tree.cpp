// XML node trees and the atom table: links after every kind of add and release, the atom lock
// count, the sorted atom table, values inline and in scratch-file slots (with the reuse test as
// it stands), name and path lookups, and the traversal flags.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "harness.h"
#include "tarngdi32.h"

namespace {

// The tree below `node` as "name(child,child(...))"; checks every link on the way.
std::string shape(XML_Node *node) {
    std::string out = koXML_GetName(node);
    std::vector<XML_Node *> children, backwards;
    for (XML_Node *c = koXML_GetFirstChild(node); c != nullptr; c = koXML_GetNext(c)) {
        EXPECT_EQ(koXML_GetParent(c), node) << out;
        children.push_back(c);
    }
    for (XML_Node *c = koXML_GetLastChild(node); c != nullptr && backwards.size() <= children.size();
         c = koXML_GetPrev(c))
        backwards.push_back(c);
    std::reverse(backwards.begin(), backwards.end());
    EXPECT_EQ(backwards, children) << "previous links of " << out;
    if (children.empty()) return out;
    out += '(';
    for (size_t i = 0; i < children.size(); ++i) out += (i ? "," : "") + shape(children[i]);
    return out + ')';
}

bool atoms_empty() { return koXML_GetAtomByID(0) == nullptr; }

// A tree with a scratch file of its own, for values over 24 bytes.
XML_Node *tree_with_store(HANDLE **cell) {
    *cell = static_cast<HANDLE *>(AllocGlobal(sizeof(HANDLE)));
    **cell = X_CreatTmp();
    return koXML_CreateTree(nullptr, *cell);
}

int32_t file_size(HANDLE *cell) { return X_Seek(*cell, 0, 2); }

std::string text_of(size_t n, char first) {
    std::string s(n, '\0');
    for (size_t i = 0; i < n; ++i) s[i] = char(first + i % 26);
    return s;
}

std::string value(XML_Node *node, int32_t size = 8192) {
    std::string buffer(size_t(std::max(size, 1)), '\x7F');
    const char *got = koXML_GetValue(node, &buffer[0], size);
    return got != nullptr ? std::string(got) : std::string("<null>");
}

class XmlTree : public testing::Test {
protected:
    void SetUp() override { koXML_FreeAtoms(); }
    void TearDown() override { koXML_FreeAtoms(); }
};

TEST_F(XmlTree, NewNodesAndAdditionsLinkInPlace) {
    XML_Node *root = koXML_CreateTree(nullptr, nullptr);
    EXPECT_STREQ(koXML_GetName(root), "Root");
    EXPECT_EQ(koXML_GetParent(root), nullptr);
    XML_Node *grandchild = koXML_AddChildLast(koXML_AddChildLast(root, "a"), "b");
    EXPECT_EQ(koXML_GetDeept(grandchild), 2);
    EXPECT_EQ(koXML_GetType(grandchild), 0u);
    EXPECT_EQ(value(grandchild), "");
    EXPECT_EQ(koXML_SetType(grandchild, 0xFFFFFFFFu), grandchild);
    EXPECT_EQ(koXML_GetType(grandchild), 0xFFFFFFFFu);
    EXPECT_EQ(koXML_GetName(grandchild), koXML_MakeAtom("b")) << "names are atoms";
    koXML_ReleaseTree(root);

    enum { First, Last, Next, Prev };
    root = koXML_CreateTree("R", nullptr);
    const struct { int op; const char *target, *name, *shape; } steps[] = {
        {Last, "", "b", "R(b)"},
        {First, "", "a", "R(a,b)"},
        {Last, "", "d", "R(a,b,d)"},
        {Next, "b", "c", "R(a,b,c,d)"},
        {Prev, "a", "0", "R(0,a,b,c,d)"},                 // before the first child
        {Next, "d", "e", "R(0,a,b,c,d,e)"},               // after the last child
        {Prev, "c", nullptr, "R(0,a,b,c,c,d,e)"},         // a sibling takes the neighbour's name
        {First, "b", nullptr, "R(0,a,b(b),c,c,d,e)"},     // a child takes the parent's name
        {Last, "b", "x", "R(0,a,b(b,x),c,c,d,e)"},
        {Prev, "b/b", "w", "R(0,a,b(w,b,x),c,c,d,e)"},
        {Last, "a", "y", "R(0,a(y),b(w,b,x),c,c,d,e)"},
    };
    for (const auto &s : steps) {
        XML_Node *target = koXML_GetChildByNameEx(root, s.target);
        ASSERT_NE(target, nullptr) << s.target;
        XML_Node *made = s.op == First  ? koXML_AddChildFirst(target, s.name)
                         : s.op == Last ? koXML_AddChildLast(target, s.name)
                         : s.op == Next ? koXML_AddNext(target, s.name)
                                        : koXML_AddPrev(target, s.name);
        ASSERT_NE(made, nullptr) << s.shape;
        EXPECT_EQ(shape(root), s.shape);
    }
    koXML_ReleaseTree(root);
}

TEST_F(XmlTree, ReleasingAnItemUnlinksItsSubtree) {
    const struct { const char *path, *shape; } cases[] = {
        {"a", "R(b(b1,b2),c)"}, {"b", "R(a,c)"}, {"c", "R(a,b(b1,b2))"}, {"b/b1", "R(a,b(b2),c)"},
        {"b/b2", "R(a,b(b1),c)"}, {"only", "R"},
    };
    for (const auto &c : cases) {
        XML_Node *root = koXML_CreateTree("R", nullptr);
        if (std::string(c.path) == "only") {
            koXML_AddChildLast(root, "only");
        } else {
            koXML_AddChildLast(root, "a");
            XML_Node *b = koXML_AddChildLast(root, "b");
            koXML_AddChildLast(b, "b1");
            koXML_AddChildLast(b, "b2");
            koXML_AddChildLast(root, "c");
        }
        koXML_ReleaseItem(koXML_GetChildByNameEx(root, c.path));
        EXPECT_EQ(shape(root), c.shape) << c.path;
        EXPECT_FALSE(atoms_empty()) << "a child's release leaves the lock count alone";
        koXML_AddChildLast(root, "new");  // the freed nodes are taken again without harm
        koXML_ReleaseTree(root);
        EXPECT_TRUE(atoms_empty());
    }
}

TEST_F(XmlTree, SiblingsBesideARootAreTreesOfTheirOwn) {
    koXML_LockAtoms(1);
    XML_Node *root = koXML_CreateTree("R", nullptr);
    XML_Node *after = koXML_AddNext(root, "s");
    XML_Node *before = koXML_AddPrev(root, "p");
    EXPECT_EQ(koXML_GetParent(after), nullptr);
    EXPECT_EQ(koXML_GetPrev(after), root);
    EXPECT_EQ(koXML_GetPrev(root), before);
    EXPECT_EQ(koXML_GetPrev(before), nullptr);
    EXPECT_EQ(koXML_GetNext(before), root);
    koXML_AddChildLast(after, "s1");

    koXML_ReleaseItem(root);  // released as a tree: one step of the lock count
    EXPECT_FALSE(atoms_empty());
    EXPECT_EQ(koXML_GetNext(before), after);
    EXPECT_EQ(koXML_GetPrev(after), before);
    EXPECT_EQ(shape(after), "s(s1)");
    koXML_ReleaseItem(after);
    EXPECT_TRUE(atoms_empty()) << "the lock count fell from 1 to 0";
    koXML_ReleaseItem(before);  // to -1: nothing more happens
    koXML_LockAtoms(1);
}

TEST_F(XmlTree, LockCountEmptiesTheTableOnlyFromOneToZero) {
    // C create a tree, R release the newest, L lock, U unlock, A intern, F free the atoms.
    const struct { const char *ops; bool empty; const char *cleanup; } cases[] = {
        {"CR", true, ""}, {"LCR", false, "U"}, {"CCR", false, "R"}, {"A", false, ""}, {"CA", false, "R"},
        {"AUL", false, ""},      // 0 -> -1 -> 0 never passes 1 -> 0
        {"LAFAU", true, ""},     // FreeAtoms empties but keeps the count: U still goes 1 -> 0
        {"LLAU", false, "U"},
    };
    for (const auto &c : cases) {
        std::vector<XML_Node *> trees;
        int names = 0;
        auto run = [&](const char *ops) {
            for (const char *op = ops; *op; ++op) {
                switch (*op) {
                case 'C': trees.push_back(koXML_CreateTree(nullptr, nullptr)); break;
                case 'R': koXML_ReleaseTree(trees.back()); trees.pop_back(); break;
                case 'L': koXML_LockAtoms(1); break;
                case 'U': koXML_LockAtoms(0); break;
                case 'A': koXML_MakeAtom(("n" + std::to_string(names++)).c_str()); break;
                case 'F': koXML_FreeAtoms(); break;
                }
            }
        };
        run(c.ops);
        EXPECT_EQ(atoms_empty(), c.empty) << c.ops;
        run(c.cleanup);
        koXML_FreeAtoms();
    }
}

TEST_F(XmlTree, AtomsSortAsTheSystemComparesAndIdsShift) {
    const char *b = koXML_MakeAtom("b");
    EXPECT_EQ(koXML_GetAtomByID(0), b);
    const char *a = koXML_MakeAtom("a");
    EXPECT_EQ(koXML_GetAtomByID(0), a);
    EXPECT_EQ(koXML_GetAtomByID(1), b) << "b's identifier moved up";
    koXML_MakeAtom("B");
    koXML_MakeAtom("A");
    // lstrcmpA order: letters before case, lower case first (not the byte order "A B a b").
    std::string order;
    for (uint32_t i = 0; const char *atom = koXML_GetAtomByID(i); ++i) order += atom;
    EXPECT_EQ(order, "aAbB");
    char copy[] = "b";
    EXPECT_EQ(koXML_MakeAtom(copy), b) << "equal texts give the same pointer";
    EXPECT_EQ(koXML_MakeAtom(nullptr), nullptr);
    EXPECT_STREQ(koXML_MakeAtom(""), "");

    // An emptied table forgets its atoms, whether freed or emptied by the last tree.
    for (int round = 0; round < 2; ++round) {
        koXML_MakeAtom("x");
        koXML_MakeAtom("y");
        if (round == 0) koXML_FreeAtoms();
        if (round == 1) koXML_ReleaseTree(koXML_CreateTree("z", nullptr));
        EXPECT_TRUE(atoms_empty());
        const char *x = koXML_MakeAtom("x");
        EXPECT_EQ(koXML_GetAtomByID(0), x) << "interned anew, not answered from before";
        EXPECT_EQ(koXML_GetAtomByID(1), nullptr);
        koXML_FreeAtoms();
    }
}

TEST_F(XmlTree, AtomTableGrowsPast512And1024Entries) {
    std::vector<std::string> names;
    for (int i = 0; i < 1300; ++i) names.push_back("n" + std::to_string(10000 + i));
    std::vector<std::string> shuffled = names;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
    std::vector<const char *> atoms;
    for (const auto &n : shuffled) atoms.push_back(koXML_MakeAtom(n.c_str()));
    for (size_t i = 0; i < names.size(); ++i) {
        const char *atom = koXML_GetAtomByID(uint32_t(i));
        ASSERT_NE(atom, nullptr) << i;
        EXPECT_EQ(atom, names[i]) << "sorted";
        EXPECT_EQ(koXML_MakeAtom(names[i].c_str()), atom);
    }
    EXPECT_EQ(koXML_GetAtomByID(1300), nullptr);
    for (size_t i = 0; i < shuffled.size(); ++i) EXPECT_STREQ(atoms[i], shuffled[i].c_str());
}

TEST_F(XmlTree, ValuesInlineOrInScratchSlots) {
    HANDLE *cell;
    XML_Node *root = tree_with_store(&cell);
    ASSERT_NE(*cell, TARN_INVALID_HANDLE);
    XML_Node *bare = koXML_CreateTree(nullptr, nullptr);
    const struct { size_t length; bool store; int32_t result; size_t kept; int32_t growth; } cases[] = {
        {0, true, 1, 0, 0}, {1, true, 1, 1, 0}, {24, true, 1, 24, 0}, {25, true, 1, 25, 32}, {31, true, 1, 31, 32},
        {32, true, 1, 32, 64}, {100, true, 1, 100, 128}, {5000, true, 1, 5000, 5024},
        {24, false, 1, 24, 0},
        {30, false, 0, 24, 0},  // without store only the first 24 bytes stay
    };
    for (const auto &c : cases) {
        XML_Node *node = koXML_AddChildLast(c.store ? root : bare, "v");
        const std::string text = text_of(c.length, 'a');
        const int32_t before = file_size(cell);
        EXPECT_EQ(koXML_SetValue(node, text.c_str()), c.result) << c.length;
        EXPECT_EQ(value(node), text.substr(0, c.kept)) << c.length;
        EXPECT_EQ(file_size(cell) - before, c.growth) << c.length;
    }
    koXML_ReleaseTree(bare);
    koXML_ReleaseTreeEx(root);
}

TEST_F(XmlTree, GetValueCutsToTheBufferAndTerminates) {
    HANDLE *cell;
    XML_Node *root = tree_with_store(&cell);
    XML_Node *shortText = koXML_AddChildLast(root, "s"), *longText = koXML_AddChildLast(root, "l");
    koXML_SetValue(shortText, "abcdefgh");
    koXML_SetValue(longText, text_of(40, 'A').c_str());
    const struct { XML_Node *node; int32_t size; const char *expected; } cases[] = {
        {shortText, 9, "abcdefgh"}, {shortText, 5, "abcd"}, {shortText, 2, "a"}, {shortText, 1, "<null>"},
        {shortText, 0, "<null>"}, {shortText, -5, "<null>"}, {longText, 10, "ABCDEFGHI"},
    };
    for (const auto &c : cases) EXPECT_EQ(value(c.node, c.size), c.expected) << c.size;
    char untouched[4] = "xyz";
    EXPECT_EQ(koXML_GetValue(shortText, untouched, 1), nullptr);
    EXPECT_STREQ(untouched, "xyz");
    koXML_ReleaseTreeEx(root);
}

// The reuse test reads the length stored now, not the size once reserved: a slot can be
// overrun into the next one. Kept: trees have always been written so.
TEST_F(XmlTree, SlotsAreReusedByTheStoredLength) {
    HANDLE *cell;
    XML_Node *root = tree_with_store(&cell);
    XML_Node *a = koXML_AddChildLast(root, "a"), *b = koXML_AddChildLast(root, "b"), *c = koXML_AddChildLast(root, "c");
    const struct { XML_Node *node; size_t length; int32_t fileSize; } steps[] = {
        {a, 40, 64},
        {b, 40, 128},
        {a, 64, 128},    // slot of 64 holds 64
        {a, 90, 128},    // (64 & ~31) + 32 = 96: written over a's slot end into b's
        {a, 100, 256},   // (90 & ~31) + 32 = 96 < 100: a new slot of 128
        {c, 40, 320},
        {c, 10, 320},    // inline; the slot stays
        {c, 40, 384},    // (10 & ~31) + 32 = 32 < 40: a new slot although the old one had 64
        {c, 0, 384},
        {c, 30, 384},    // stored length 0 passes for 32
    };
    const std::string bText = text_of(40, 'b');
    for (const auto &s : steps) {
        const std::string text = text_of(s.length, s.node == a ? 'A' : s.node == b ? 'b' : 'c');
        EXPECT_EQ(koXML_SetValue(s.node, text.c_str()), 1);
        EXPECT_EQ(file_size(cell), s.fileSize) << s.length;
        EXPECT_EQ(value(s.node), text) << s.length;
        if (s.node == a && s.length == 90) {
            EXPECT_EQ(value(b), text.substr(64) + bText.substr(26)) << "b's slot was overrun";
        }
    }
    koXML_ReleaseTreeEx(root);
}

// A new slot whose write fails is still the node's: the result is 0, the node takes the new
// length, and the next value that passes the reuse test goes into that slot.
TEST_F(XmlTree, AFailedWriteToANewSlotKeepsTheSlot) {
    HANDLE *cell;
    XML_Node *root = tree_with_store(&cell);
    XML_Node *a = koXML_AddChildLast(root, "a");
    EXPECT_EQ(koXML_SetValue(a, "short"), 1);
    {
        harness::Fault diskFull("WriteFile", 1, harness::kDiskFull);
        EXPECT_EQ(koXML_SetValue(a, text_of(40, 'a').c_str()), 0);
    }
    EXPECT_EQ(value(a), "<null>") << "40 bytes stored, none of them written";
    EXPECT_EQ(file_size(cell), 0);
    const std::string again = text_of(50, 'b');
    EXPECT_EQ(koXML_SetValue(a, again.c_str()), 1);
    EXPECT_EQ(value(a), again);
    EXPECT_EQ(file_size(cell), 50) << "written over the slot kept, without a new slot's padding";
    koXML_ReleaseTreeEx(root);
}

TEST_F(XmlTree, BinaryValuesNeedTheExactSize) {
    HANDLE *cell;
    XML_Node *root = tree_with_store(&cell);
    for (size_t length : {1u, 24u, 25u, 300u}) {
        std::string bytes(length, '\0');
        for (size_t i = 0; i < length; ++i) bytes[i] = char(i * 37);
        XML_Node *node = koXML_AddChildLast(root, "bin");
        ASSERT_EQ(koXML_SetBinValue(node, bytes.data(), int32_t(length)), 1);
        std::string back(length + 1, '#');
        EXPECT_EQ(koXML_GetBinValue(node, &back[0], int32_t(length) - 1), 0) << length;
        EXPECT_EQ(koXML_GetBinValue(node, &back[0], int32_t(length) + 1), 0) << length;
        EXPECT_EQ(koXML_GetBinValue(node, &back[0], int32_t(length)), 1) << length;
        EXPECT_EQ(back, bytes + "#") << "no zero appended";
    }
    XML_Node *node = koXML_AddChildLast(root, "empty");
    koXML_SetValue(node, "abc");
    EXPECT_EQ(koXML_SetBinValue(node, nullptr, 5), 1);
    char one;
    EXPECT_EQ(koXML_GetBinValue(node, &one, 0), 0);
    EXPECT_EQ(value(node), "");
    koXML_ReleaseTreeEx(root);

    XML_Node *bare = koXML_CreateTree(nullptr, nullptr);
    koXML_SetValue(bare, "abc");
    EXPECT_EQ(koXML_SetBinValue(bare, std::string(30, 'z').data(), 30), 0);
    EXPECT_EQ(value(bare), "abc") << "a long binary value without store changes nothing";
    koXML_ReleaseTree(bare);
}

TEST_F(XmlTree, ChildLookupByName) {
    XML_Node *root = koXML_CreateTree("R", nullptr);
    XML_Node *a = koXML_AddChildLast(root, "a"), *b = koXML_AddChildLast(root, "b");
    koXML_SetValue(b, "first");
    koXML_SetValue(koXML_AddChildLast(root, "b"), "second");
    const struct { XML_Node *from; const char *name; XML_Node *expected; } cases[] = {
        {root, "b", b}, {root, "B", nullptr} /* case counts */, {root, "c", nullptr},
        {root, ".", a} /* the first child */, {root, "..", root} /* the first child's parent */, {a, ".", nullptr},
    };
    for (const auto &c : cases) EXPECT_EQ(koXML_GetChildByName(c.from, c.name), c.expected) << c.name;

    // The buffer is emptied before the lookup.
    const struct { const char *name; int32_t size, result; const char *text; } reads[] = {
        {"b", 16, 1, "first"}, {"c", 16, 0, ""}, {"b", 1, 0, ""} /* no room for a value */,
    };
    for (const auto &r : reads) {
        char buffer[16] = "zzz";
        EXPECT_EQ(koXML_GetValueByName(root, r.name, buffer, r.size), r.result) << r.name << r.size;
        EXPECT_STREQ(buffer, r.text);
    }
    EXPECT_EQ(koXML_SetValueByName(root, "b", "third"), 1);
    EXPECT_EQ(koXML_SetValueByName(root, "c", "new"), 1);
    EXPECT_EQ(shape(root), "R(a,b,b,c)");
    EXPECT_EQ(value(b), "third");
    EXPECT_EQ(value(koXML_GetLastChild(root)), "new");
    koXML_ReleaseTree(root);
}

TEST_F(XmlTree, PathLookup) {
    // R(a(x,y,x),b,a(z))
    XML_Node *root = koXML_CreateTree("R", nullptr);
    XML_Node *a1 = koXML_AddChildLast(root, "a");
    XML_Node *x1 = koXML_AddChildLast(a1, "x"), *y = koXML_AddChildLast(a1, "y"), *x2 = koXML_AddChildLast(a1, "x");
    koXML_AddChildLast(root, "b");
    XML_Node *a2 = koXML_AddChildLast(root, "a");
    XML_Node *z = koXML_AddChildLast(a2, "z");
    const struct { XML_Node *from; const char *path; XML_Node *expected; } cases[] = {
        {a1, "x", x1}, {a1, "x/>", x2}, {a1, "x/>/>", nullptr}, {a1, "x/>/<", x1}, {a1, "x/>/</<", nullptr},
        {a1, "", a1}, {a1, "///", root}, {x1, "/", root}, {x1, "/a/x/>", x2}, {z, "//a///x//", x1},
        {z, "/a/>/z", z}, {a1, "+", x1}, {a1, "+/>", x2}, {y, "/+/>", a2}, {a2, "<", a1}, {a1, "<", nullptr},
        {root, "<", nullptr}, {root, "a/.", x1}, {root, "a/..", a1}, {root, "./..", a1}, {root, "b/.", nullptr},
        {root, "b/./x", nullptr}, {root, "missing/x", nullptr}, {root, "a/y/+", nullptr},
    };
    for (const auto &c : cases) EXPECT_EQ(koXML_GetChildByNameEx(c.from, c.path), c.expected) << c.path;
    koXML_ReleaseTree(root);
}

struct Visits {
    std::string names, stopAt, releaseNamed;  // the callback answers 0 at stopAt
};

int32_t TARN_CALL record(XML_Node *node, intptr_t user) {
    auto *v = reinterpret_cast<Visits *>(user);
    const std::string name = koXML_GetName(node);
    v->names += name + " ";
    if (name == v->releaseNamed) koXML_ReleaseItem(node);
    return name == v->stopAt ? 0 : 1;
}

TEST_F(XmlTree, TraversalFlagsInOrder) {
    // R(A(A1,A2),B)
    XML_Node *root = koXML_CreateTree("R", nullptr);
    XML_Node *a = koXML_AddChildLast(root, "A");
    XML_Node *a1 = koXML_AddChildLast(a, "A1");
    koXML_AddChildLast(a, "A2");
    koXML_AddChildLast(root, "B");
    const struct { XML_Node *from; uint32_t flags; const char *stopAt; int32_t result; const char *visits; } cases[] = {
        {root, 0x01, "", 1, "R "}, {root, 0x02, "", 1, ""}, {root, 0x03, "", 1, "R A A1 A2 B "},
        {root, 0x06, "", 1, "A1 A2 A B R "}, {root, 0x07, "", 1, "R A A1 A1 A2 A2 A B B R "},
        {root, 0x03, "A2", 0, "R A A1 A2 "}, {root, 0x06, "A", 0, "A1 A2 A "},
        {a1, 0x11, "", 1, "A1 A R "}, {a1, 0x18, "", 1, "A1 A R "}, {a1, 0x19, "", 1, "A1 A1 A A R R "},
        {a1, 0x13, "", 1, "A1 A R "},     // going up does not descend again
        {a, 0x13, "", 1, "A A1 A2 R "},   // nor do the children go up
        {a1, 0x10, "", 1, ""},
        {a1, 0x08, "", 1, ""},            // 0x08 only with 0x10
        {a1, 0x04, "", 1, ""},            // 0x04 only with 0x02
        {a, 0x20, "", 1, "A "}, {a, 0x20, "A", 0, "A "},
        {a, 0x22, "", 1, "A1 A2 A "},     // the children make their own last call
        {a, 0x22, "A1", 0, "A1 "},
        {a1, 0x30, "", 1, "R A A1 "},     // the last calls come back down
        {a1, 0x31, "R", 0, "A1 A R "},
    };
    for (const auto &c : cases) {
        Visits v;
        v.stopAt = c.stopAt;
        EXPECT_EQ(koXML_DoReku(c.from, c.flags, record, reinterpret_cast<intptr_t>(&v)), c.result)
            << std::hex << c.flags;
        EXPECT_EQ(v.names, c.visits) << std::hex << c.flags;
    }
    koXML_ReleaseTree(root);
}

// The freed node keeps its links until the callback returns, so releasing the visited node is
// safe and the walk goes on with its next sibling.
TEST_F(XmlTree, TraversalGoesOnPastANodeItsCallbackReleased) {
    XML_Node *root = koXML_CreateTree("R", nullptr);
    for (const char *name : {"k", "x", "k", "x", "x", "k"}) koXML_AddChildLast(koXML_AddChildLast(root, name), "in");
    Visits v;
    v.releaseNamed = "x";
    EXPECT_EQ(koXML_DoReku(root, 0x03, record, reinterpret_cast<intptr_t>(&v)), 1);
    EXPECT_EQ(v.names, "R k in x k in x x k in ");
    EXPECT_EQ(shape(root), "R(k(in),k(in),k(in))");
    koXML_ReleaseTree(root);
}

// Released without recursion: a deep chain must not exhaust the stack. The scratch file's cell
// and the atoms are given back.
TEST_F(XmlTree, DeepAndWideTreesAreReleasedWhole) {
    uint32_t blocks0 = 0, blocks1 = 0;
    GetGlobalUsage(&blocks0, nullptr);
    HANDLE *cell;
    XML_Node *root = tree_with_store(&cell);
    constexpr int kCount = 100000;
    XML_Node *at = root;
    for (int i = 0; i < kCount; ++i) at = koXML_AddChildFirst(at, "d");
    ASSERT_NE(at, nullptr);
    EXPECT_EQ(koXML_GetDeept(at), kCount);
    koXML_SetValue(at, text_of(100, 'a').c_str());
    XML_Node *wide = koXML_AddNext(koXML_GetFirstChild(root), "w");
    XML_Node *last = nullptr;
    for (int i = 0; i < kCount; ++i) last = koXML_AddChildLast(wide, "c");
    EXPECT_EQ(koXML_GetLastChild(wide), last);
    koXML_ReleaseTreeEx(root);
    EXPECT_TRUE(atoms_empty());
    GetGlobalUsage(&blocks1, nullptr);
    EXPECT_EQ(blocks1, blocks0) << "cell and atoms given back";
    koXML_ReleaseTreeEx(nullptr);
    koXML_ReleaseTree(nullptr);
    koXML_ReleaseItem(nullptr);
}

}  // namespace
