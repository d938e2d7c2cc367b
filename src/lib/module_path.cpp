#include "export.h"
#include "platform/system.h"

TARN_API int32_t TARN_CALL tarnGetModulePath(HMODULE module, char *out, int32_t outSize) {
    if (!out || outSize <= 0) return 0;
    char file[301];
    if (!plat::module_file_name(module, file, sizeof file)) {
        out[0] = '\0';
        return 0;
    }
    char *filePart = nullptr;
    const int n = plat::full_path(file, out, outSize, &filePart);
    if (n <= 0 || n >= outSize || !filePart) {
        out[0] = '\0';
        return 0;
    }
    // Cut before the file name, and before its separator too: the result never ends in one.
    char *cut = filePart;
    if (cut > out && plat::is_path_separator(cut[-1])) --cut;
    *cut = '\0';
    return int32_t(cut - out);
}
