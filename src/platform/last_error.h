// The calling thread's last system error, as Windows numbers it (GetLastError).
#pragma once
#include <cstdint>

namespace plat {

uint32_t last_error();
void set_last_error(uint32_t error);

}  // namespace plat
