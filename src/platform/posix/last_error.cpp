#include "platform/last_error.h"

namespace plat {
namespace {

// Kept per thread, as Windows keeps it.
thread_local uint32_t tLastError = 0;

}  // namespace

uint32_t last_error() { return tLastError; }
void set_last_error(uint32_t error) { tLastError = error; }

}  // namespace plat
