// XML from an ANSI string: any text gives a tree or null, and a tree written and read again is
// written the same way the second time (the writer's output is a fixed point of the reader).
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "tarngdi32.h"

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

std::string slurp(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    XML_Node *root = koXML_CreateTreeExAnsiString(text.c_str(), int32_t(size));
    if (!root) return 0;
    const std::string first = "/tmp/tarn-fuzz-xml-" + std::to_string(getpid()) + "-1.xml";
    const std::string second = "/tmp/tarn-fuzz-xml-" + std::to_string(getpid()) + "-2.xml";
    const bool saved = koXML_SaveTreeToFile(root, first.c_str()) != 0;
    koXML_ReleaseTreeEx(root);
    if (saved) {
        XML_Node *again = koXML_CreateTreeEx(first.c_str());
        check(again != nullptr);
        check(koXML_SaveTreeToFile(again, second.c_str()) != 0);
        koXML_ReleaseTreeEx(again);
        check(slurp(first) == slurp(second));
    }
    std::remove(first.c_str());
    std::remove(second.c_str());
    return 0;
}
