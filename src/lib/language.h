// The current translator of the language layer, for everything that shows texts.
#pragma once
#include <cstdint>
#include <string>

namespace tarn::lang {

// src through the current translator with text id 0, into at most size bytes.
void translate(const char *src, char *dst, int32_t size);
// The same for a text of any length that fits in `room` bytes.
std::string translated(const char *src, int32_t room = 256);

}  // namespace tarn::lang
