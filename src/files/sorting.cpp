// Bubble, shell and quick sort over records the sorters only reach through get, set and compare.
//
// Callers watch these calls (a file array pays a seek and a transfer for each), so every
// procedure makes exactly the same sequence of them, call for call. The memory fast path below
// makes the same compare calls and leaves the same order, without the get and set calls: it
// compares records where they lie and copies only the ones about to be overwritten.
#include "export.h"
#include "platform/memory.h"

#include <cstddef>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

namespace tarn {
namespace {

using Byte = unsigned char;

// Records behind the caller's callbacks, with the defaults standing in for the null ones.
class CallbackRecords {
public:
    CallbackRecords(void *context, int32_t size, koSortGetProc get, koSortSetProc set,
                    koSortCompareProc compare)
        : context_(context), size_(size), get_(get ? get : koDefShellMemoryGet),
          set_(set ? set : koDefShellMemorySet), compare_(compare) {}
    void fetch(int32_t index, Byte *buffer) const { get_(context_, size_, index, buffer); }
    void store(int32_t index, const Byte *buffer) const { set_(context_, size_, index, buffer); }
    int32_t compare(const Byte *a, const Byte *b) const { return compare_(context_, size_, a, b); }
    // Record `index` for reading until the next store: fetched into the buffer.
    const Byte *view(int32_t index, Byte *buffer) const {
        fetch(index, buffer);
        return buffer;
    }
    // x and y, viewed at i and j, change places.
    void exchange(int32_t i, const Byte *x, int32_t j, const Byte *y) const {
        store(i, y);
        store(j, x);
    }
    // A viewed record about to be overwritten: already in its buffer.
    void hold(const Byte *, Byte *) const {}
    // A viewed record that stays where it is: written back all the same, as callers see it.
    void put_back(int32_t index, const Byte *view) const { store(index, view); }

private:
    void *context_;
    int32_t size_;
    koSortGetProc get_;
    koSortSetProc set_;
    koSortCompareProc compare_;
};

// A memory array with both memory defaults: the same copies, done here instead of per call.
// Size is a template argument for the record sizes worth a fixed-size copy, 0 for any other.
template <size_t Fixed>
class MemoryRecords {
public:
    MemoryRecords(void *context, int32_t size, koSortCompareProc compare)
        : base_(static_cast<Byte *>(context)), context_(context), size_(size), compare_(compare) {}
    void fetch(int32_t index, Byte *buffer) const { std::memcpy(buffer, at(index), bytes()); }
    void store(int32_t index, const Byte *buffer) const { std::memcpy(at(index), buffer, bytes()); }
    int32_t compare(const Byte *a, const Byte *b) const { return compare_(context_, size_, a, b); }
    // The record where it lies: comparing a copy just made would wait on the copy's stores.
    const Byte *view(int32_t index, Byte *) const { return at(index); }
    void hold(const Byte *view, Byte *buffer) const { std::memcpy(buffer, view, bytes()); }
    void put_back(int32_t, const Byte *) const {}
    void exchange(int32_t i, const Byte *, int32_t j, const Byte *) const {
        Byte *p = at(i), *q = at(j);
        Byte t[64];
        for (size_t n = bytes(); n;) {
            const size_t k = n < sizeof t ? n : sizeof t;
            std::memcpy(t, p, k);
            std::memcpy(p, q, k);
            std::memcpy(q, t, k);
            p += k, q += k, n -= k;
        }
    }

private:
    size_t bytes() const { return Fixed ? Fixed : static_cast<size_t>(size_); }
    Byte *at(int32_t index) const { return base_ + static_cast<ptrdiff_t>(index) * size_; }
    Byte *base_;
    void *context_;
    int32_t size_;
    koSortCompareProc compare_;
};

// One record, from the global heap, held for the whole call: the quick sort's pivot buffer is
// taken once instead of at every partition, which no caller can tell apart.
class WorkBuffer {
public:
    explicit WorkBuffer(int32_t size) {
        if (size < 1) return;
        uintptr_t handle = 0;
        data_ = static_cast<Byte *>(plat::global_alloc(static_cast<size_t>(size), &handle));
    }
    ~WorkBuffer() {
        if (data_) plat::global_free(data_);
    }
    WorkBuffer(const WorkBuffer &) = delete;
    WorkBuffer &operator=(const WorkBuffer &) = delete;
    Byte *get() const { return data_; }

private:
    Byte *data_ = nullptr;
};

template <class Records>
void bubble_sort(const Records &r, int32_t n, Byte *a, Byte *b) {
    for (int32_t hi = n - 1; hi > 0; --hi) {
        r.fetch(0, a);
        bool exchanged = false;
        for (int32_t i = 0; i < hi; ++i) {
            r.fetch(i + 1, b);
            if (r.compare(a, b) > 0) {
                r.store(i, b);
                r.store(i + 1, a);
                exchanged = true;
            } else {
                std::swap(a, b);
            }
        }
        if (!exchanged) break;
    }
}

constexpr int32_t kGaps[] = {1391376, 463792, 198768, 86961, 33936, 13776, 4592, 1968,
                             861,     336,    112,    48,    21,    7,     3,    1};

template <class Records>
void shell_sort(const Records &r, int32_t lo, int32_t n, Byte *x, Byte *y) {
    const int64_t last = int64_t(lo) + n - 1;
    for (const int32_t g : kGaps) {
        for (int64_t i = int64_t(lo) + g; i <= last; ++i) {
            int32_t j = int32_t(i);
            const Byte *held = r.view(j, x);
            const Byte *v = r.view(j - g, y);
            if (r.compare(v, held) <= 0) {
                r.put_back(j, held);
                continue;
            }
            r.hold(held, x);
            for (;;) {
                r.store(j, v);
                j -= g;
                // Against the gap itself, not lo + g, as earlier releases did: with lo 0 the
                // first record only meets the one a gap away at the start of each pass.
                if (j <= g) break;
                v = r.view(j - g, y);
                if (r.compare(v, x) <= 0) break;
            }
            r.store(j, x);
        }
    }
}

struct Range {
    int32_t lo, n;
};

// The left part of each partition is sorted first and the right part waits on `pending`, which
// is the recursion of the left part and the loop over the right part without the machine stack:
// equal keys split off one record per partition, so the nesting can be as deep as the array.
template <class Records>
void quick_sort(const Records &r, int32_t n, int32_t threshold, Byte *p, Byte *a, Byte *b,
                std::vector<Range> &pending) {
    if (threshold < 16) threshold = 16;
    int32_t lo = 0;
    for (;;) {
        const int32_t hi = int32_t(int64_t(lo) + n - 1);
        if (int64_t(hi) - lo <= threshold) {
            shell_sort(r, lo, n, a, b);
            if (pending.empty()) return;
            lo = pending.back().lo;
            n = pending.back().n;
            pending.pop_back();
            continue;
        }
        const int32_t mid = int32_t((int64_t(lo) + hi) / 2);
        const int32_t q1 = int32_t((int64_t(mid) + lo) / 2);
        const int32_t q3 = int32_t((int64_t(mid) + hi) / 2);

        r.fetch(mid, p);
        r.fetch(q1, a);
        r.fetch(q3, b);
        if (r.compare(a, b) > 0) {
            r.store(q1, b);
            r.store(q3, a);
            r.fetch(q1, a);
            r.fetch(q3, b);
        }
        if (r.compare(p, b) > 0) {
            r.store(q3, p);
            r.store(mid, b);
            r.fetch(mid, p);
        } else if (r.compare(a, p) > 0) {
            r.store(q1, p);
            r.store(mid, a);
            r.fetch(mid, p);
        }

        int32_t i = lo, j = hi;
        do {
            const Byte *x = r.view(i, a);
            const Byte *y = r.view(j, b);
            while (r.compare(x, p) <= 0 && i < j) x = r.view(++i, a);
            while (r.compare(y, p) >= 0 && j > i) y = r.view(--j, b);
            if (j <= i) break;
            r.exchange(i, x, j, y);
            ++i;
            --j;
        } while (i < j);

        if (i == lo) {
            r.fetch(i, a);
            r.store(i, p);
            r.store(mid, a);
            ++i;
            ++j;
        } else if (j == hi) {
            r.fetch(j, b);
            r.store(j, p);
            r.store(mid, b);
            --i;
            --j;
        }

        pending.push_back(Range{j, hi - j + 1});
        n = i - lo + 1;
    }
}

// Picks how records are reached, takes two work buffers (three with the pivot) and runs
// `sort(records, a, b, pivot)`.
template <class Sort>
int32_t with_records(void *context, int32_t count, int32_t size, koSortGetProc get,
                     koSortSetProc set, koSortCompareProc compare, bool pivot, Sort sort) {
    // A record without bytes leaves nothing to order: no callback is called.
    if (size < 1) return 0;
    const bool memoryGet = !get || get == koDefShellMemoryGet;
    const bool memorySet = !set || set == koDefShellMemorySet;
    // A memory default over no memory has no record to reach: nothing is called. With fewer
    // than two records no procedure makes a call anyway.
    if (!context && (memoryGet || memorySet) && count >= 2) return 0;
    if (!compare) compare = koDefShellCompare;
    const WorkBuffer w1(size), w2(size), w3(pivot ? size : 0);
    // Without work buffers the array is left as it is.
    if (!w1.get() || !w2.get() || (pivot && !w3.get())) return 0;
    if (memoryGet && memorySet) {
        switch (size) {
        case 4: sort(MemoryRecords<4>(context, size, compare), w1.get(), w2.get(), w3.get()); break;
        case 8: sort(MemoryRecords<8>(context, size, compare), w1.get(), w2.get(), w3.get()); break;
        case 16:
            sort(MemoryRecords<16>(context, size, compare), w1.get(), w2.get(), w3.get());
            break;
        default:
            sort(MemoryRecords<0>(context, size, compare), w1.get(), w2.get(), w3.get());
            break;
        }
    } else {
        sort(CallbackRecords(context, size, get, set, compare), w1.get(), w2.get(), w3.get());
    }
    return 0;
}

// The record count of a file array: given, or (when negative) as many whole records as the
// file holds, measured without moving the file pointer.
int32_t file_count(HANDLE *file, int32_t count, int32_t size) {
    if (count >= 0) return count;
    const HANDLE h = *file;
    const int32_t here = X_Seek(h, 0, 1);
    const int32_t length = X_Seek(h, 0, 2);
    X_Seek(h, here, 0);
    return length > 0 ? length / size : 0;
}

}  // namespace
}  // namespace tarn

using tarn::Byte;

TARN_API int32_t TARN_CALL koBubbleSort(void *context, int32_t count, int32_t size,
                                        koSortGetProc get, koSortSetProc set,
                                        koSortCompareProc compare) {
    return tarn::with_records(context, count, size, get, set, compare, false,
                              [count](const auto &r, Byte *a, Byte *b, Byte *) {
                                  tarn::bubble_sort(r, count, a, b);
                              });
}

TARN_API int32_t TARN_CALL koShellSort(void *context, int32_t count, int32_t size,
                                       koSortGetProc get, koSortSetProc set,
                                       koSortCompareProc compare) {
    return tarn::with_records(context, count, size, get, set, compare, false,
                              [count](const auto &r, Byte *x, Byte *y, Byte *) {
                                  tarn::shell_sort(r, 0, count, x, y);
                              });
}

TARN_API int32_t TARN_CALL koQuickSort(void *context, int32_t count, int32_t size,
                                       koSortGetProc get, koSortSetProc set,
                                       koSortCompareProc compare, int32_t threshold) {
    try {
        std::vector<tarn::Range> pending;
        pending.reserve(64);
        return tarn::with_records(context, count, size, get, set, compare, true,
                                  [&](const auto &r, Byte *a, Byte *b, Byte *p) {
                                      tarn::quick_sort(r, count, threshold, p, a, b, pending);
                                  });
    } catch (const std::bad_alloc &) {
        // Out of memory for the pending parts: the array is left partly sorted.
        return 0;
    }
}

TARN_API int32_t TARN_CALL koBubbleSortMemoryArray(void *base, int32_t count, int32_t size,
                                                   koSortCompareProc compare) {
    return koBubbleSort(base, count, size, nullptr, nullptr, compare);
}

TARN_API int32_t TARN_CALL koShellSortMemoryArray(void *base, int32_t count, int32_t size,
                                                  koSortCompareProc compare) {
    return koShellSort(base, count, size, nullptr, nullptr, compare);
}

TARN_API int32_t TARN_CALL koQuickSortMemoryArray(void *base, int32_t count, int32_t size,
                                                  koSortCompareProc compare, int32_t threshold) {
    return koQuickSort(base, count, size, nullptr, nullptr, compare, threshold);
}

TARN_API int32_t TARN_CALL koBubbleSortFileArray(HANDLE *file, int32_t count, int32_t size,
                                                 koSortCompareProc compare) {
    if (size < 1) return size;
    if (!file) return 0;
    return koBubbleSort(file, tarn::file_count(file, count, size), size, koDefShellFileGet,
                        koDefShellFileSet, compare);
}

TARN_API int32_t TARN_CALL koShellSortFileArray(HANDLE *file, int32_t count, int32_t size,
                                                koSortCompareProc compare) {
    if (size < 1) return size;
    if (!file) return 0;
    return koShellSort(file, tarn::file_count(file, count, size), size, koDefShellFileGet,
                       koDefShellFileSet, compare);
}

TARN_API int32_t TARN_CALL koQuickSortFileArray(HANDLE *file, int32_t count, int32_t size,
                                                koSortCompareProc compare, int32_t threshold) {
    if (size < 1) return size;
    if (!file) return 0;
    return koQuickSort(file, tarn::file_count(file, count, size), size, koDefShellFileGet,
                       koDefShellFileSet, compare, threshold);
}
