// The process-wide state of the library frame: colours, the dotted pen, bitmaps, fonts,
// cursors, the window classes' helpers and the screen zoom.
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
    uint32_t attachCount = 0;
    ColorEntry colors[kColorCount] = {};
    HPEN dotPen = nullptr;
    HBITMAP bitmaps[kBitmapCount] = {};
    HFONT fonts[kFontSlots] = {};
    bool fontOwned[kFontSlots] = {};
    int32_t music = 0;
    int32_t autoYield = 0;  // 0 while not ready; doubles as the ready flag
    HCURSOR dropCursor = nullptr;
    HCURSOR noDropCursor = nullptr;
    HCURSOR waitCursor = nullptr;
    HMODULE richEdit = nullptr;
    int32_t richValueBosket = 1;
    bool zoomRead = false;
    bool zoomEnabled = false;
    double zoomFactor = 1.0;
};

FrameState &frame();

// Colour table set-up; with profile use off nothing is read or written and no brush is made.
void setup_colors(bool useProfile);

// Deletes the global fonts the library made; they are made again when next needed. The result
// of the last deletion, 0 when there was none.
int32_t discard_fonts();

}  // namespace tarn
