// The event log: only the source name is kept; entries themselves are not written anywhere.
#include "export.h"
#include "lib/base_state.h"

#include <cstring>

TARN_API int32_t TARN_CALL koEventLogAppName(const char *name) {
    char *source = tarn::base().eventSource;
    if (name && std::strlen(name) < 64) std::strcpy(source, name);
    return 1;
}

TARN_API int32_t TARN_CALL koEventLogWrite(int32_t, const char *, const char *) { return 0; }

TARN_API int32_t TARN_CALL koEventLogClear(void) { return 0; }
