// The logical printers' store: role to printer, stored device settings, the copy setting.
// The mapping lives in the public profile ("DEFAULT"): the store names no file of its own.
#include "export.h"

#include <cstring>

#include "print/printer_store.h"

using namespace tarn::print;

static_assert(sizeof(DEVMODEA) == kDevmodeBytes, "a device mode's fixed part is 156 bytes");

TARN_API char *TARN_CALL koGetPrinterNameFromLogName(const char *logName, char *buffer,
                                                     int32_t size) {
    RegistryProfile registry;
    return koGetPublicString(kPrintersSection, logName ? logName : "", "", buffer, size);
}

TARN_API int32_t TARN_CALL koSetPrinterNameForLogName(const char *logName,
                                                      const char *printerName) {
    const char *role = logName ? logName : "";
    RegistryProfile registry;
    koWritePrivateBin(kDevmodeSection, role, nullptr, 0, kDevmodeFile);
    const int32_t written =
        koWritePublicString(kPrintersSection, role, printerName ? printerName : "");
    koWritePublicString(kSetupSection, role, "");
    return written;
}

TARN_API char *TARN_CALL koEnumPrinterLogNames(char *buffer, int32_t size) {
    RegistryProfile registry;
    return koGetPublicString(kPrintersSection, nullptr, "", buffer, size);
}

TARN_API DEVMODEA *TARN_CALL koPrinterLoadDevmodeData(const char *logName) {
    const char *role = logName ? logName : "";
    RegistryProfile registry;
    const uint32_t size = koGetPrivateBinSize(kDevmodeSection, role, kDevmodeFile);
    // Anything shorter than the fixed part is no device mode.
    if (size < kDevmodeBytes) return nullptr;
    auto *mode = static_cast<DEVMODEA *>(AllocGlobal(size));
    if (!mode) return nullptr;
    if (koGetPrivateBin(kDevmodeSection, role, mode, size, kDevmodeFile) != 1 ||
        mode->dmSize == 0 || kDevmodeBytes + mode->dmDriverExtra > size) {
        FreeGlobal(mode);
        return nullptr;
    }
    return mode;
}

TARN_API int32_t TARN_CALL koPrinterSaveDevmodeData(const char *logName, const DEVMODEA *mode) {
    const char *role = logName ? logName : "";
    RegistryProfile registry;
    if (!mode || mode->dmSize == 0)
        return koWritePrivateBin(kDevmodeSection, role, nullptr, 0, kDevmodeFile);
    return koWritePrivateBin(kDevmodeSection, role, mode, kDevmodeBytes + mode->dmDriverExtra,
                             kDevmodeFile);
}

TARN_API int32_t TARN_CALL koPrinterGetUseCopyDrv(void) {
    RegistryProfile registry;
    return koGetPublicLong(kSetupSection, kUseCopyDrv, 0);
}

TARN_API int32_t TARN_CALL koPrinterSetUseCopyDrv(int32_t flag) {
    RegistryProfile registry;
    return koWritePublicString(kSetupSection, kUseCopyDrv, flag ? "1" : "0");
}
