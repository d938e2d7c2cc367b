#include "platform/bstr.h"

#include <windows.h>
#include <oleauto.h>

namespace plat {

BSTR sys_alloc_string(const char16_t *text) {
    return text ? SysAllocString(reinterpret_cast<const OLECHAR *>(text)) : nullptr;
}

void sys_free_string(BSTR s) { SysFreeString(s); }

}  // namespace plat
