// XML in every encoding the readers know: the first byte chooses the way in (a file read by the
// plain or the compatible reader, with or without a byte order mark before the rest, or the
// rest as a 16-bit string); any input gives a tree or null, and a tree is released whole.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tarngdi32.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const uint8_t mode = data[0] % 6;
    const std::string rest(reinterpret_cast<const char *>(data + 1), size - 1);
    XML_Node *root = nullptr;
    if (mode == 5) {
        std::vector<TARN_WCHAR> text;
        for (size_t i = 0; i + 1 < rest.size(); i += 2)
            text.push_back(TARN_WCHAR(uint8_t(rest[i]) | (uint8_t(rest[i + 1]) << 8)));
        text.push_back(0);
        root = koXML_CreateTreeExUnicodeString(text.data());
    } else {
        static const char *const kMarks[] = {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF", ""};
        const std::string path = "/tmp/tarn-fuzz-xmlenc-" + std::to_string(getpid()) + ".xml";
        if (FILE *f = std::fopen(path.c_str(), "wb")) {
            const std::string bytes = kMarks[mode] + rest;
            std::fwrite(bytes.data(), 1, bytes.size(), f);
            std::fclose(f);
        }
        // The file readers with a store cell of the harness's own: the readers that make their own
        // leave its temporary file open when they fail, and a long run would run out of handles.
        auto *cell = static_cast<HANDLE *>(AllocGlobal(sizeof(HANDLE)));
        *cell = X_CreatTmp();
        root = koXML_CreateTreeFromFileEx(path.c_str(), cell, mode == 4 ? 1 : 0);
        std::remove(path.c_str());
        if (!root) {
            X_Close(*cell);
            FreeGlobal(cell);
        }
    }
    if (root) koXML_ReleaseTreeEx(root);
    return 0;
}
