// The library's constructor and destructor play the loader's process attach and detach.
#include <dlfcn.h>

#include "lib/frame_state.h"

namespace {

HINSTANCE own_module() {
    Dl_info info;
    if (dladdr(reinterpret_cast<void *>(&own_module), &info)) return static_cast<HINSTANCE>(info.dli_fbase);
    return nullptr;
}

__attribute__((constructor)) void on_load() { tarn::library_attach(own_module()); }
__attribute__((destructor)) void on_unload() { tarn::library_detach(); }

}  // namespace
