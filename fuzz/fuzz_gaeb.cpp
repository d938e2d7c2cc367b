// GAEB 2000 bracket files as tendering programs write them: any bytes give a tree ("Root", empty
// when the file is no bracket file). The tree is not written back: the bracket writer ends the
// process on a line of more than 299 bytes, on purpose, and deep or long names make one.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tarngdi32.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string in = "/tmp/tarn-fuzz-gaeb-" + std::to_string(getpid()) + ".p83";
    if (FILE *f = std::fopen(in.c_str(), "wb")) {
        if (size) std::fwrite(data, 1, size, f);
        std::fclose(f);
    }
    XML_Node *root = koXML_CreateTreeExFromGAEB2K(in.c_str());
    if (!root) std::abort();  // the reader answers a root for every file it can open
    koXML_ReleaseTreeEx(root);
    std::remove(in.c_str());
    return 0;
}
