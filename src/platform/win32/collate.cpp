#include "platform/collate.h"

#include <windows.h>

namespace plat {

int compare_text(const char *a, const char *b) { return lstrcmpA(a, b); }

}  // namespace plat
