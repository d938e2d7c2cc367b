#include "export.h"
#include "platform/fault.h"

TARN_EXPORT int32_t TARN_CALL tarnSetSysCallFault(const char *name, int32_t nth, int32_t error) {
    return plat::set_fault(name, nth, error) ? 1 : 0;
}
