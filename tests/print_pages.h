// What the printer and print-script tests share: page pixels, NUL-separated name lists, run names.
#pragma once
#include <random>
#include <string>
#include <vector>

#include "platform/draw.h"

namespace print_pages {

constexpr COLORREF kRed = 0x0000FF, kGreen = 0x00FF00, kBlue = 0xFF0000, kBlack = 0, kWhite = 0xFFFFFF;

// A pixel of a memory page; 0xDEADBEEF outside it.
inline COLORREF at(HDC dc, int x, int y) {
    COLORREF c = 0xDEADBEEF;
    plat::memory_pixel(dc, x, y, &c);
    return c;
}

// Any dark pixel (every channel below 128) in the columns [from, to) of rows [top, bottom).
inline bool ink_between(HDC dc, int from, int to, int top, int bottom) {
    for (int y = top; y < bottom; ++y)
        for (int x = from; x < to; ++x) {
            const COLORREF c = at(dc, x, y);
            if (c != 0xDEADBEEF && (c & 0xFF) < 128 && ((c >> 8) & 0xFF) < 128 && ((c >> 16) & 0xFF) < 128) return true;
        }
    return false;
}

// The names of a list of NUL-terminated names ended by an empty one.
inline std::vector<std::string> split(const char *list) {
    std::vector<std::string> names;
    for (const char *p = list; *p; p += names.back().size() + 1) names.emplace_back(p);
    return names;
}

// A name made for this run, so that a value left by an earlier run cannot make a test pass.
inline std::string unique(const std::string &stem) {
    static const std::string run = std::to_string(std::random_device{}() % 100000);
    return stem + run;
}

}  // namespace print_pages
