#include "platform/syscall.h"

#include <winsock2.h>
#include <windows.h>

namespace plat {

void report_failure(FailKind kind, int32_t error) {
    if (kind == FailKind::lastError) SetLastError(DWORD(error));
    if (kind == FailKind::socketError) WSASetLastError(error);
}

}  // namespace plat
