// The two built-in byte tables of fixed mode, between the ANSI page (Windows-1252) and the
// OEM page (code page 850) of the older data files.
#pragma once

namespace tarn {

extern const unsigned char kAnsiToOem[256];
extern const unsigned char kOemToAnsi[256];

}  // namespace tarn
