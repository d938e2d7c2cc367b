#include "platform/syscall.h"

#include <cerrno>

#include "platform/last_error.h"
#include "platform/net.h"

namespace plat {

// errno is set as well, so that code between the failing call and its caller reading errno
// sees a failure and not a stale value.
void report_failure(FailKind kind, int32_t error) {
    errno = EIO;
    if (kind == FailKind::lastError) set_last_error(uint32_t(error));
    if (kind == FailKind::socketError) set_socket_error(error);
}

}  // namespace plat
