#include "platform/last_error.h"

#include <windows.h>

namespace plat {

uint32_t last_error() { return GetLastError(); }
void set_last_error(uint32_t error) { SetLastError(error); }

}  // namespace plat
