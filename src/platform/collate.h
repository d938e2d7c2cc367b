// Locale-aware comparison of ANSI texts, as the system's lstrcmpA orders them.
#pragma once

namespace plat {

// Negative, zero or positive.
int compare_text(const char *a, const char *b);

}  // namespace plat
