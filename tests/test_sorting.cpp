// Bubble, shell and quick sort through callbacks: the calls they make and the order they leave.
#include <gtest/gtest.h>

#include "platform/test_env.h"
#include "tarngdi32.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

// int32 keys behind the test's own callbacks, which count and log every call ("g3 s4 c ").
struct Traced {
    std::vector<int32_t> keys;
    std::string log;
    int gets = 0, sets = 0, compares = 0;
};

int32_t TARN_CALL key_compare(void *, int32_t, const void *a, const void *b) {
    int32_t x, y;
    std::memcpy(&x, a, 4), std::memcpy(&y, b, 4);
    return x < y ? -1 : x > y;
}
int32_t TARN_CALL traced_get(void *context, int32_t, int32_t index, void *record) {
    auto &t = *static_cast<Traced *>(context);
    ++t.gets, t.log += "g" + std::to_string(index) + " ";
    std::memcpy(record, &t.keys.at(size_t(index)), 4);
    return 0;
}
int32_t TARN_CALL traced_set(void *context, int32_t, int32_t index, const void *record) {
    auto &t = *static_cast<Traced *>(context);
    ++t.sets, t.log += "s" + std::to_string(index) + " ";
    std::memcpy(&t.keys.at(size_t(index)), record, 4);
    return 0;
}
int32_t TARN_CALL traced_compare(void *context, int32_t size, const void *a, const void *b) {
    auto &t = *static_cast<Traced *>(context);
    ++t.compares, t.log += "c ";
    return key_compare(nullptr, size, a, b);
}

enum Sorter { kBubble, kShell, kQuick };

Traced sort_traced(Sorter s, std::vector<int32_t> keys, int32_t threshold = 0) {
    Traced t;
    t.keys = std::move(keys);
    const int32_t n = int32_t(t.keys.size());
    if (s == kBubble) koBubbleSort(&t, n, 4, traced_get, traced_set, traced_compare);
    if (s == kShell) koShellSort(&t, n, 4, traced_get, traced_set, traced_compare);
    if (s == kQuick) koQuickSort(&t, n, 4, traced_get, traced_set, traced_compare, threshold);
    return t;
}

// Sorts `n` records of `size` bytes held in `flat` in memory or, with a file, through the file.
void sort_records(Sorter s, std::string &flat, int32_t n, int32_t size, HANDLE *file = nullptr) {
    void *base = &flat[0];
    if (s == kBubble && file) koBubbleSortFileArray(file, n, size, nullptr);
    if (s == kShell && file) koShellSortFileArray(file, n, size, nullptr);
    if (s == kQuick && file) koQuickSortFileArray(file, n, size, nullptr, 0);
    if (s == kBubble && !file) koBubbleSortMemoryArray(base, n, size, nullptr);
    if (s == kShell && !file) koShellSortMemoryArray(base, n, size, nullptr);
    if (s == kQuick && !file) koQuickSortMemoryArray(base, n, size, nullptr, 0);
}

std::vector<std::string> split(const std::string &flat, size_t size) {
    std::vector<std::string> out;
    for (size_t i = 0; i + size <= flat.size(); i += size) out.push_back(flat.substr(i, size));
    return out;
}

// What each sorter promises for a consistent comparison: bubble sort orders everything; the
// shell sort (and the quick sort, which ends in it) may leave the first record behind, unless it
// already was the smallest.
template <class T>
void expect_order(Sorter s, const std::vector<T> &before, const std::vector<T> &after) {
    ASSERT_TRUE(std::is_permutation(before.begin(), before.end(), after.begin(), after.end()));
    const bool minFirst = !before.empty() && *std::min_element(before.begin(), before.end()) == before[0];
    const size_t from = s == kBubble || minFirst || after.empty() ? 0 : 1;
    EXPECT_TRUE(std::is_sorted(after.begin() + ptrdiff_t(from), after.end())) << "sorter " << s;
}

int stores_seen = 0;
int32_t TARN_CALL counting_memory_set(void *base, int32_t size, int32_t index, const void *record) {
    ++stores_seen;
    return koDefShellMemorySet(base, size, index, record);
}

// Callbacks that ignore the context and reach a fixed array of int32 keys.
std::vector<int32_t> loose_keys;
int loose_calls = 0;
int32_t TARN_CALL loose_get(void *, int32_t, int32_t index, void *record) {
    ++loose_calls;
    std::memcpy(record, &loose_keys.at(size_t(index)), 4);
    return 0;
}
int32_t TARN_CALL loose_set(void *, int32_t, int32_t index, const void *record) {
    ++loose_calls;
    std::memcpy(&loose_keys.at(size_t(index)), record, 4);
    return 0;
}

}  // namespace

TEST(Sorting, BubbleSortOverOrderedRecordsMakesOnePassAndNoStore) {
    const Traced t = sort_traced(kBubble, {1, 2, 2, 3, 5, 8, 13, 21, 34, 55});
    EXPECT_EQ(t.gets, 10);
    EXPECT_EQ(t.compares, 9);
    EXPECT_EQ(t.sets, 0);
}

TEST(Sorting, ShellSortLeavesTheFirstRecordBehind) {
    for (Sorter s : {kShell, kQuick}) {
        EXPECT_EQ(sort_traced(s, {2, 3, 1}).keys, (std::vector<int32_t>{2, 1, 3})) << "sorter " << s;
    }
}

// hi - lo at most the threshold (raised to 16) goes straight to the shell sort: the same calls.
TEST(Sorting, QuickSortHandsSmallArraysToTheShellSort) {
    const struct { int32_t n, threshold; bool shellOnly; } cases[] = {
        {17, 0, true}, {17, -7, true}, {17, 16, true}, {18, 17, true}, {18, 0, false}, {18, 16, false},
    };
    std::mt19937 rng(7);
    for (const auto &c : cases) {
        std::vector<int32_t> keys;
        for (int32_t i = 0; i < c.n; ++i) keys.push_back(int32_t(rng() % 50));
        const bool same = sort_traced(kQuick, keys, c.threshold).log == sort_traced(kShell, keys).log;
        EXPECT_EQ(same, c.shellOnly) << c.n << " records, threshold " << c.threshold;
    }
}

// Traced by hand from the steps over 18 records: the median of three (mid 8, quarters 4 and 12)
// and its fix-ups, the partition, then the shell sorts of the left and the right part.
TEST(Sorting, QuickSortFollowsTheStepsOver18Records) {
    std::vector<int32_t> reversed, ordered, crossing, midLargest(18, 1);
    for (int32_t k = 0; k < 18; ++k) reversed.push_back(17 - k), ordered.push_back(k);
    crossing = ordered, crossing[9] = 20, crossing[10] = 3;  // the scans cross: i = j + 1
    midLargest[8] = 9;
    const struct { std::vector<int32_t> keys; const char *start; int gets, compares, sets; } cases[] = {
        {reversed,
         "g8 g4 g12 c s4 s12 g4 g12 c c "
         "g0 g17 c c s0 s17 g1 g16 c c s1 s16 g2 g15 c c s2 s15 g3 g14 c c s3 s14 "
         "g4 g13 c g5 c c s5 s13 g6 g12 c c g11 c s6 s11 g7 g10 c c s7 s10 g8 g9 c g9 c c g7 g0 ",
         -1, -1, -1},
        {ordered, "g8 g4 g12 c c c g0 g17 c g1 c ", 92, 57, 35},
        {crossing, "g8 g4 g12 c c c g0 g17 ", 109, 71, 52},
        {midLargest,
         "g8 g4 g12 c c s12 s8 g8 g0 g17 "
         "c g1 c g2 c g3 c g4 c g5 c g6 c g7 c g8 c g9 c g10 c g11 c g12 c "
         "c g16 c g15 c g14 c g13 c g12 c g7 g0 ",
         -1, -1, -1},
    };
    for (const auto &c : cases) {
        const Traced t = sort_traced(kQuick, c.keys);
        EXPECT_EQ(t.log.substr(0, std::strlen(c.start)), c.start);
        expect_order(kQuick, c.keys, t.keys);
        if (c.gets < 0) continue;
        EXPECT_EQ(t.gets, c.gets) << c.start;
        EXPECT_EQ(t.compares, c.compares) << c.start;
        EXPECT_EQ(t.sets, c.sets) << c.start;
    }
}

TEST(Sorting, BubbleSortKeepsEqualRecordsInArrivalOrder) {
    std::mt19937 rng(11);
    std::vector<int32_t> records, keyOf;
    for (int32_t i = 0; i < 300; ++i) keyOf.push_back(int32_t(rng() % 8));
    for (int32_t i = 0; i < 300; ++i) records.push_back(keyOf[size_t(i)]), records.push_back(i);
    koBubbleSortMemoryArray(records.data(), 300, 8, key_compare);
    for (size_t i = 2; i < records.size(); i += 2) {
        ASSERT_EQ(records[i], keyOf.at(size_t(records[i + 1]))) << "record " << i / 2 << " came apart";
        const bool ordered = records[i - 2] < records[i] ||
                             (records[i - 2] == records[i] && records[i - 1] < records[i + 1]);
        ASSERT_TRUE(ordered) << "record " << i / 2;
    }
}

// The default comparison over records of 4, 6 (a tail shorter than four bytes) and 16 bytes,
// few distinct or nearly all distinct; std::string orders by unsigned bytes as well.
TEST(Sorting, RandomArraysEndInTheOrderEachSorterPromises) {
    std::mt19937 rng(3);
    for (Sorter s : {kBubble, kShell, kQuick}) {
        for (int32_t n : {0, 1, 2, 5, 17, 18, 40, 333, s == kBubble ? 600 : 3000}) {
            for (uint32_t values : {2u, 256u}) {
                for (int32_t size : {4, 6, 16}) {
                    std::string flat(size_t(n) * size_t(size), '\0');
                    for (char &ch : flat) ch = char(rng() % values);
                    const auto before = split(flat, size_t(size));
                    sort_records(s, flat, n, size);
                    expect_order(s, before, split(flat, size_t(size)));
                }
            }
        }
    }
}

// A null get falls back to the memory default, but the supplied set is still called for every
// store: reversed 5 records take 10 exchanges.
TEST(Sorting, SuppliedCallbackIsCalledBesideADefault) {
    int32_t keys[] = {5, 4, 3, 2, 1};
    stores_seen = 0;
    koBubbleSort(keys, 5, 4, nullptr, counting_memory_set, key_compare);
    EXPECT_EQ(stores_seen, 20);
    EXPECT_EQ(std::vector<int32_t>(keys, keys + 5), (std::vector<int32_t>{1, 2, 3, 4, 5}));
}

TEST(Sorting, DefaultCompareOrdersUnsignedBytes) {
    const struct { const char *a, *b; int32_t size, expected; } cases[] = {
        {"\x80", "\x7f", 1, 1}, {"a", "z", 1, -1}, {"abcdX", "abcdY", 5, -1},
        {"abcdefgz", "abcdefga", 8, 1}, {"same", "same", 4, 0}, {"az", "za", 0, 0},
    };
    for (const auto &c : cases) EXPECT_EQ(koDefShellCompare(nullptr, c.size, c.a, c.b), c.expected) << c.a;
}

// Count -1: as many whole records as the file holds (10 of 8 bytes; the 4-byte tail stays).
TEST(Sorting, FileArraysTakeTheirCountFromTheFile) {
    const std::string path = test_env::join(test_env::temp_folder("sorting"), "records.dat");
    for (Sorter s : {kBubble, kShell, kQuick}) {
        HANDLE h = X_Creat(path.c_str());
        ASSERT_NE(h, TARN_INVALID_HANDLE);
        std::string file;
        for (int i = 10; i-- > 0;) file += "rec-" + std::to_string(1000 + i * 37);
        file += "tail";
        ASSERT_EQ(X_Write(h, file.data(), uint16_t(file.size())), int16_t(file.size()));
        sort_records(s, file, -1, 8, &h);
        std::string back(file.size(), '\0');
        X_Seek(h, 0, 0);
        ASSERT_EQ(X_Read(h, &back[0], uint16_t(back.size())), int16_t(back.size()));
        expect_order(s, split(file, 8), split(back, 8));
        EXPECT_EQ(back.substr(80), "tail");

        // The default get reports a move that did not happen and reads nothing.
        char record[9] = "untouchd";
        EXPECT_EQ(koDefShellFileGet(&h, 8, -1, record), -1);
        EXPECT_STREQ(record, "untouchd");
        EXPECT_EQ(koDefShellFileGet(&h, 8, 9, record), 72);
        EXPECT_EQ(std::string(record), back.substr(72, 8));
        X_Close(h);
    }

    // Too short for one record: nothing to sort, and the file pointer stays put; a record size
    // below 1 is the result.
    HANDLE h = X_Creat(path.c_str());
    ASSERT_NE(h, TARN_INVALID_HANDLE);
    X_Write(h, "short", 5);
    X_Seek(h, 3, 0);
    koQuickSortFileArray(&h, -1, 8, nullptr, 0);
    EXPECT_EQ(X_Seek(h, 0, 1), 3);
    for (int32_t size : {0, -4}) {
        EXPECT_EQ(koBubbleSortFileArray(&h, 2, size, nullptr), size);
        EXPECT_EQ(koShellSortFileArray(&h, 2, size, nullptr), size);
        EXPECT_EQ(koQuickSortFileArray(&h, 2, size, nullptr, 0), size);
    }
    X_Close(h);
}

// A memory default over no memory reaches nothing: the sort returns at once. Callbacks of the
// caller's own are called with a null context all the same.
TEST(Sorting, NullContextWithAMemoryDefaultSortsNothing) {
    const struct {
        const char *name;
        koSortGetProc get;
        koSortSetProc set;
        int32_t count;
        bool sorted;
    } cases[] = {
        {"both defaults", nullptr, nullptr, 40, false},
        {"default get", nullptr, loose_set, 5, false},
        {"default set", loose_get, nullptr, 5, false},
        {"named defaults", koDefShellMemoryGet, koDefShellMemorySet, 2, false},
        {"own callbacks", loose_get, loose_set, 5, true},
        {"one record", nullptr, nullptr, 1, false},
    };
    for (const auto &c : cases) {
        for (Sorter s : {kBubble, kShell, kQuick}) {
            loose_keys = {5, 1, 4, 2, 3};
            loose_calls = 0;
            int32_t result = -1;
            if (s == kBubble) result = koBubbleSort(nullptr, c.count, 4, c.get, c.set, key_compare);
            if (s == kShell) result = koShellSort(nullptr, c.count, 4, c.get, c.set, key_compare);
            if (s == kQuick) result = koQuickSort(nullptr, c.count, 4, c.get, c.set, key_compare, 0);
            EXPECT_EQ(result, 0) << c.name << " sorter " << s;
            EXPECT_EQ(loose_calls > 0, c.sorted) << c.name << " sorter " << s;
            if (c.sorted) expect_order(s, std::vector<int32_t>{5, 1, 4, 2, 3}, loose_keys);
        }
    }
    for (const int32_t n : {0, 1, 2, 40}) {
        EXPECT_EQ(koBubbleSortMemoryArray(nullptr, n, 4, nullptr), 0) << n;
        EXPECT_EQ(koShellSortMemoryArray(nullptr, n, 4, nullptr), 0) << n;
        EXPECT_EQ(koQuickSortMemoryArray(nullptr, n, 4, nullptr, 0), 0) << n;
    }
}

// Without a handle the file arrays sort nothing; a record size below 1 is still the result.
TEST(Sorting, FileArraysWithoutAHandleSortNothing) {
    const struct { int32_t count, size, result; } cases[] = {
        {3, 8, 0}, {-1, 8, 0}, {0, 8, 0}, {3, 0, 0}, {3, -4, -4},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(koBubbleSortFileArray(nullptr, c.count, c.size, nullptr), c.result) << c.count << " " << c.size;
        EXPECT_EQ(koShellSortFileArray(nullptr, c.count, c.size, nullptr), c.result) << c.count << " " << c.size;
        EXPECT_EQ(koQuickSortFileArray(nullptr, c.count, c.size, nullptr, 0), c.result) << c.count << " " << c.size;
    }
    char record[9] = "untouchd";
    EXPECT_EQ(koDefShellFileGet(nullptr, 8, 0, record), -1);
    EXPECT_STREQ(record, "untouchd");
    EXPECT_EQ(koDefShellFileSet(nullptr, 8, 0, record), -1);
}
