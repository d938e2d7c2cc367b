// The process-wide state of the library frame, in one place.
#pragma once
#include <cstdint>
#include "tarngdi32.h"

namespace tarn {

constexpr int kColorCount = 20;
constexpr int kBitmapCount = 22;
constexpr int kFontSlots = 20;

struct ColorEntry {
    const char *key;
    COLORREF colour;
    HBRUSH brush;
};

struct FrameState {
    HINSTANCE instance = nullptr;
    uint32_t attachCount = 0;
    ColorEntry colors[kColorCount] = {};
    HPEN dotPen = nullptr;
    HBITMAP bitmaps[kBitmapCount] = {};
    HFONT fonts[kFontSlots] = {};
    bool fontOwned[kFontSlots] = {};
    int32_t music = 0;
    int32_t autoYield = 0;     // 0 while not ready; doubles as the ready flag
    char eventSource[64] = "KELVO";
    uint32_t memBlocks = 0;
    uint32_t memBytes = 0;
    HCURSOR dropCursor = nullptr;
    HCURSOR noDropCursor = nullptr;
    HCURSOR waitCursor = nullptr;
    HMODULE richEdit = nullptr;
    int32_t richValueBosket = 1;
    int32_t wow64 = -1;        // -1 until the first Is_Wow64
};

FrameState &frame();

// Entry points for the loader: process attach and detach.
void library_attach(HINSTANCE instance);
void library_detach();

// Colour table set-up; with profile use off nothing is read or written and no brush is made.
void setup_colors(bool useProfile);

}  // namespace tarn
