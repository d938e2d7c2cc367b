// The sheet a device mode asks for, by the paper numbers Windows gives them.
#pragma once
#include "tarn_types.h"

namespace plat {

// The sheet of `mode` in dots at `dpi`: its paper number, or its own length and width (tenths
// of a millimetre), turned for landscape; A4 portrait for null or a paper not known here.
void sheet_dots(const DEVMODEA *mode, int dpi, int *width, int *height);

}  // namespace plat
