// The text form of a colour in the profiles, shared with the frame's colour table.
#pragma once
#include <cstddef>

#include "tarngdi32.h"

namespace tarn::settings {

// "R=%d;G=%d;B=%d;" of the colour's red, green and blue bytes.
void color_text(COLORREF c, char *out, size_t size);

}  // namespace tarn::settings
