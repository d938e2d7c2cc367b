// Bubble, shell and quick sort through callbacks: the calls they make and the order they leave.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>

#include "harness.h"

namespace {

// int32 keys behind callbacks that count and log every call ("g3 s4 c "); a null context reaches `loose`.
struct Traced {
    std::vector<int32_t> keys;
    std::string log;
    int gets = 0, sets = 0, compares = 0;
};
Traced loose;

std::vector<int32_t> &note(void *context, int Traced::*counter, const std::string &entry) {
    Traced &t = context ? *static_cast<Traced *>(context) : loose;
    ++(t.*counter), t.log += entry + " ";
    return t.keys;
}
int32_t TARN_CALL key_compare(void *, int32_t, const void *a, const void *b) {
    int32_t x, y;
    std::memcpy(&x, a, 4), std::memcpy(&y, b, 4);
    return x < y ? -1 : x > y;
}
int32_t TARN_CALL traced_get(void *context, int32_t, int32_t index, void *record) {
    return std::memcpy(record, &note(context, &Traced::gets, "g" + std::to_string(index)).at(size_t(index)), 4), 0;
}
int32_t TARN_CALL traced_set(void *context, int32_t, int32_t index, const void *record) {
    return std::memcpy(&note(context, &Traced::sets, "s" + std::to_string(index)).at(size_t(index)), record, 4), 0;
}
int32_t TARN_CALL traced_compare(void *context, int32_t size, const void *a, const void *b) {
    return note(context, &Traced::compares, "c"), key_compare(nullptr, size, a, b);
}
int stores_seen = 0;
int32_t TARN_CALL counting_memory_set(void *base, int32_t size, int32_t index, const void *record) {
    return ++stores_seen, koDefShellMemorySet(base, size, index, record);
}

enum Sorter { kBubble, kShell, kQuick };
const Sorter kSorters[] = {kBubble, kShell, kQuick};

int32_t sort_with(Sorter s, void *context, int32_t n, koSortGetProc get, koSortSetProc set, koSortCompareProc cmp) {
    if (s == kBubble) return koBubbleSort(context, n, 4, get, set, cmp);
    if (s == kShell) return koShellSort(context, n, 4, get, set, cmp);
    return koQuickSort(context, n, 4, get, set, cmp, 0);
}
Traced sort_traced(Sorter s, std::vector<int32_t> keys) {
    Traced t{std::move(keys), {}};
    return sort_with(s, &t, int32_t(t.keys.size()), traced_get, traced_set, traced_compare), t;
}
// The memory array form, or with `file` the file array form, `p` being a HANDLE *.
int32_t sort_array(Sorter s, bool file, void *p, int32_t n, int32_t size) {
    HANDLE *h = static_cast<HANDLE *>(p);
    if (s == kBubble)
        return file ? koBubbleSortFileArray(h, n, size, nullptr) : koBubbleSortMemoryArray(p, n, size, nullptr);
    if (s == kShell)
        return file ? koShellSortFileArray(h, n, size, nullptr) : koShellSortMemoryArray(p, n, size, nullptr);
    return file ? koQuickSortFileArray(h, n, size, nullptr, 0) : koQuickSortMemoryArray(p, n, size, nullptr, 0);
}

std::vector<std::string> split(const std::string &flat, size_t size) {
    std::vector<std::string> out;
    for (size_t i = 0; i + size <= flat.size(); i += size) out.push_back(flat.substr(i, size));
    return out;
}

// Bubble sort orders everything; the shell sort (and the quick sort, which ends in it) may leave
// the first record behind unless it already was the smallest.
template <class T>
void expect_order(Sorter s, const std::vector<T> &before, const std::vector<T> &after) {
    ASSERT_TRUE(std::is_permutation(before.begin(), before.end(), after.begin(), after.end()));
    const bool minFirst = !before.empty() && *std::min_element(before.begin(), before.end()) == before[0];
    const size_t from = s == kBubble || minFirst || after.empty() ? 0 : 1;
    EXPECT_TRUE(std::is_sorted(after.begin() + ptrdiff_t(from), after.end())) << "sorter " << s;
}

}  // namespace

// Kept on purpose: bubble sort stops after a pass without exchange, and the shell sort (alone or
// at the end of the quick sort) may leave the first record behind. A null get falls back to the
// memory default while the supplied set is still called for every store; over no memory the sort
// returns at once, but callbacks of the caller's own are called with a null context all the same.
TEST(Sorting, OrderedInputTheFirstRecordAndMixedOrNullCallbacks) {
    const Traced t = sort_traced(kBubble, {1, 2, 2, 3, 5, 8, 13, 21, 34, 55});
    EXPECT_EQ(std::vector<int>({t.gets, t.compares, t.sets}), std::vector<int>({10, 9, 0})) << "one pass, no store";
    for (Sorter s : {kShell, kQuick})
        EXPECT_EQ(sort_traced(s, {2, 3, 1}).keys, (std::vector<int32_t>{2, 1, 3})) << "sorter " << s;
    int32_t keys[] = {5, 4, 3, 2, 1};
    koBubbleSort(keys, 5, 4, nullptr, counting_memory_set, key_compare);
    EXPECT_EQ(stores_seen, 20) << "10 exchanges";
    EXPECT_EQ(std::vector<int32_t>(keys, keys + 5), (std::vector<int32_t>{1, 2, 3, 4, 5}));
    for (koSortGetProc get : {koSortGetProc(nullptr), traced_get})
        for (koSortSetProc set : {koSortSetProc(nullptr), traced_set})
            for (Sorter s : kSorters) {
                loose = Traced{{5, 1, 4, 2, 3}, {}};
                EXPECT_EQ(sort_with(s, nullptr, 5, get, set, key_compare), 0) << "sorter " << s;
                EXPECT_EQ(loose.gets + loose.sets > 0, get && set) << "sorter " << s;
                if (get && set) expect_order(s, std::vector<int32_t>{5, 1, 4, 2, 3}, loose.keys);
            }
}

// Traced by hand from the steps over 18 records: the median of three (mid 8, quarters 4 and 12)
// and its fix-ups, the partition, then the shell sorts of the left and the right part.
TEST(Sorting, QuickSortFollowsTheStepsOver18Records) {
    std::vector<int32_t> reversed, ordered, crossing, midLargest(18, 1);
    for (int32_t k = 0; k < 18; ++k) reversed.push_back(17 - k), ordered.push_back(k);
    crossing = ordered, crossing[9] = 20, crossing[10] = 3;  // the scans cross: i = j + 1
    midLargest[8] = 9;
    const struct {
        std::vector<int32_t> keys;
        const char *start;
        int gets, compares, sets;
    } cases[] = {
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
        EXPECT_EQ(std::vector<int>({t.gets, t.compares, t.sets}), std::vector<int>({c.gets, c.compares, c.sets}));
    }
}

// A memory array is sorted without the get and set calls, comparing records where they lie; the
// same array behind callbacks that copy the same bytes must see the same compare calls, with the
// same answers, and end in the same order, equal records included. The default comparison orders
// unsigned bytes, also in a tail shorter than four bytes (size 6); size 100 exchanges records in
// more than one piece. Bubble sort keeps equal records in their arrival order.
std::string compare_answers;
int32_t TARN_CALL answering_compare(void *context, int32_t size, const void *a, const void *b) {
    const int32_t r = koDefShellCompare(context, size, a, b);
    return compare_answers += char('1' + r), r;
}
int32_t TARN_CALL copying_get(void *base, int32_t size, int32_t index, void *record) {
    return koDefShellMemoryGet(base, size, index, record);
}
int32_t TARN_CALL copying_set(void *base, int32_t size, int32_t index, const void *record) {
    return koDefShellMemorySet(base, size, index, record);
}

TEST(Sorting, RandomArraysEndInTheOrderEachSorterPromises) {
    std::mt19937 rng(3);
    for (Sorter s : kSorters)
        for (int32_t n : {0, 1, 2, 5, 17, 18, 40, 333, s == kBubble ? 600 : 3000})
            for (uint32_t values : {2u, 256u})
                for (int32_t size : {4, 6, 16, 100}) {
                    std::string flat(size_t(n) * size_t(size), '\0');
                    for (char &ch : flat) ch = char(rng() % values);
                    const auto before = split(flat, size_t(size));
                    std::string viaCallbacks = flat;
                    compare_answers.clear();
                    if (s == kBubble) koBubbleSortMemoryArray(&flat[0], n, size, answering_compare);
                    if (s == kShell) koShellSortMemoryArray(&flat[0], n, size, answering_compare);
                    if (s == kQuick) koQuickSortMemoryArray(&flat[0], n, size, answering_compare, 0);
                    const std::string memoryAnswers = compare_answers;
                    compare_answers.clear();
                    if (s == kBubble) koBubbleSort(&viaCallbacks[0], n, size, copying_get, copying_set, answering_compare);
                    if (s == kShell) koShellSort(&viaCallbacks[0], n, size, copying_get, copying_set, answering_compare);
                    if (s == kQuick) koQuickSort(&viaCallbacks[0], n, size, copying_get, copying_set, answering_compare, 0);
                    expect_order(s, before, split(flat, size_t(size)));
                    EXPECT_EQ(memoryAnswers, compare_answers) << "sorter " << s << " n " << n << " size " << size;
                    EXPECT_EQ(flat, viaCallbacks) << "sorter " << s << " n " << n << " size " << size;
                }
    std::vector<std::array<int32_t, 2>> records;  // key and arrival number
    for (int32_t i = 0; i < 300; ++i) records.push_back({int32_t(rng() % 8), i});
    std::vector<std::array<int32_t, 2>> stable = records;
    std::stable_sort(stable.begin(), stable.end(), [](const auto &a, const auto &b) { return a[0] < b[0]; });
    koBubbleSortMemoryArray(records.data(), 300, 8, key_compare);
    EXPECT_EQ(records, stable);
}

// Count -1: as many whole records as the file holds (10 of 8 bytes; the 4-byte tail stays). A
// file too short for one record, or no handle, sorts nothing; a record size below 1 is still the
// result. The default get reports a move that did not happen and reads nothing.
TEST(Sorting, FileArraysTakeTheirCountFromTheFile) {
    const std::string path = test_env::join(test_env::temp_folder("sorting"), "records.dat");
    std::string file, back(84, '\0');
    for (int i = 10; i-- > 0;) file += "rec-" + std::to_string(1000 + i * 37);
    file += "tail";
    for (Sorter s : kSorters) {
        HANDLE h = X_Creat(path.c_str());
        ASSERT_EQ(X_Write(h, file.data(), 84), 84);
        sort_array(s, true, &h, -1, 8);
        X_Seek(h, 0, 0);
        ASSERT_EQ(X_Read(h, &back[0], 84), 84);
        expect_order(s, split(file, 8), split(back, 8));
        EXPECT_EQ(back.substr(80), "tail");
        char record[9] = "untouchd";
        EXPECT_EQ(koDefShellFileGet(&h, 8, -1, record) + koDefShellFileGet(nullptr, 8, 0, record), -2);
        EXPECT_STREQ(record, "untouchd");
        X_Close(h);
        h = X_Creat(path.c_str());
        X_Write(h, "short", 5);
        X_Seek(h, 3, 0);
        sort_array(s, true, &h, -1, 8);
        EXPECT_EQ(X_Seek(h, 0, 1), 3);
        X_Close(h);
        for (int32_t size : {8, 0, -4}) EXPECT_EQ(sort_array(s, true, nullptr, 3, size), size < 0 ? size : 0) << s;
    }
}

// Without its work buffers (two records, and the quick sort's pivot) a sorter leaves the array
// as it was; an allocation the sorter does not make changes nothing.
TEST(Sorting, WithoutWorkBuffersTheArrayStaysAsItWas) {
    std::vector<int32_t> before(40);
    for (size_t i = 0; i < before.size(); ++i) before[i] = int32_t(before.size() - i);
    for (Sorter s : kSorters) {
        const int buffers = s == kQuick ? 3 : 2;
        for (int nth = 1; nth <= 3; ++nth) {
            std::vector<int32_t> keys = before;
            harness::Fault noMemory("GlobalAlloc", nth, harness::kNotEnoughMemory);
            sort_array(s, false, keys.data(), int32_t(keys.size()), 4);
            noMemory.disarm();
            if (nth <= buffers) EXPECT_EQ(keys, before) << "sorter " << s << ", allocation " << nth;
            else expect_order(s, before, keys);
        }
    }
}
