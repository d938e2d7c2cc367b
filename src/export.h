// Included first by every file that defines exports: the public declarations, whose TARN_API
// and TARN_CALL the definitions repeat.
#pragma once
#include "tarngdi32.h"
