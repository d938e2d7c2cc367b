// Fixed-point number text shared by the formatters and the field encoders. Written without the
// C runtime's printf so that an application's LC_NUMERIC (a German one writes "1234,5") cannot
// change what goes into a record file.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarn {

// More places than this are written as this many; no field of the record files comes close.
constexpr int32_t kMaxDecimals = 40;

// Room fixed_text() needs: the 309 integer digits of the largest double, sign, point, places
// and terminator.
constexpr size_t kFixedTextSize = 352;

// A finite v as "%.Pf" spells it in the C locale, with `point` as the decimal separator.
// Negative zero keeps its sign, as printf writes it ("-0.00"). Returns the length.
size_t fixed_text(char *out, double v, int32_t decimals, char point);

// The text of DoubleToString: "%W.Pf" of dRnd(v, decimals) with a decimal comma, "***" beyond
// +-1e14 (and for NaN) whatever the width, and `width` asterisks when it is longer than
// `width`, unless keep_whole. Writes the text and a terminator into dst, which holds
// max(width, 3) + 1 bytes, or the whole text when keep_whole. Returns the length.
size_t amount_text(char *dst, double v, int32_t width, int32_t decimals, bool keep_whole);

}  // namespace tarn
