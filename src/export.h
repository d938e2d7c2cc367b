// Included first by every file that defines exports: the public declarations plus the
// definition-side spelling of the calling convention.
#pragma once
#include "tarngdi32.h"

#define TARN_EXPORT extern "C" TARN_API
