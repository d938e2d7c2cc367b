#include "platform/entry.h"

#include <dlfcn.h>

namespace plat {
namespace {

HINSTANCE own_module() {
    Dl_info info;
    if (dladdr(reinterpret_cast<void *>(&own_module), &info))
        return static_cast<HINSTANCE>(info.dli_fbase);
    return nullptr;
}

__attribute__((constructor)) void on_load() { on_process_attach(own_module()); }
__attribute__((destructor)) void on_unload() { on_process_detach(); }

}  // namespace
}  // namespace plat
