#include "export.h"
#include "platform/syscall.h"

TARN_API int32_t TARN_CALL tarnSetSysCallFault(const char *name, int32_t nth, int32_t error) {
    return plat::arm_syscall(name, nth, error) ? 1 : 0;
}
