// Import files of other programs: any bytes are read record by record (quoted fields over line
// ends, records cut at the length asked for) and every record is split into its fields.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tarngdi32.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string path = "/tmp/tarn-fuzz-import-" + std::to_string(getpid()) + ".txt";
    if (FILE *f = std::fopen(path.c_str(), "wb")) {
        if (size) std::fwrite(data, 1, size, f);
        std::fclose(f);
    }
    for (const int32_t maxLength : {7, 512}) {
        HANDLE file = X_Open(path.c_str(), 0);
        for (int records = 0; records < 10000; ++records) {
            char *line = maxLength == 7 ? koReadImportLine(&file, maxLength) : koReadImportLineAnsi(&file, maxLength);
            if (!line) break;
            if (std::strlen(line) > size_t(maxLength)) std::abort();
            char *cursor = nullptr;
            for (char *field = koImportToken(&cursor, line); field; field = koImportToken(&cursor, nullptr)) {
            }
            koFreeImportLine(line);
        }
        X_Close(file);
    }
    std::remove(path.c_str());
    return 0;
}
