// Arbitrary bytes as an RTF memo. koRtf2Ansi runs in place on buffers allocated to the byte, on
// the whole input and on cut-off pieces, with and without the "{\rtf" that starts the reader.
// The output must stay inside the text it replaced, bytes behind the first NUL must stay as
// they were, and every tracked block must be returned.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "tarngdi32.h"

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

// `size` bytes of `data` behind `prefix`, NUL-terminated, in a buffer of exactly that size.
void convert_in_place(const char *prefix, const uint8_t *data, size_t size) {
    const size_t prefixSize = std::strlen(prefix);
    const size_t total = prefixSize + size + 1;
    std::unique_ptr<char[]> buffer(new char[total]);
    std::memcpy(buffer.get(), prefix, prefixSize);
    if (size) std::memcpy(buffer.get() + prefixSize, data, size);
    buffer[total - 1] = '\0';
    std::unique_ptr<char[]> original(new char[total]);
    std::memcpy(original.get(), buffer.get(), total);
    const size_t length = std::strlen(buffer.get());
    const bool rtf = std::strncmp(buffer.get(), "{\\rtf", 5) == 0;

    uint32_t blocks0, bytes0, blocks, bytes;
    GetGlobalUsage(&blocks0, &bytes0);
    check(koRtf2Ansi(buffer.get()) == 1);
    GetGlobalUsage(&blocks, &bytes);
    check(blocks == blocks0 && bytes == bytes0);

    check(std::strlen(buffer.get()) <= length);
    check(std::memcmp(buffer.get() + length + 1, original.get() + length + 1, total - length - 1) ==
          0);
    if (!rtf) check(std::memcmp(buffer.get(), original.get(), total) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    convert_in_place("", data, size);
    convert_in_place("{\\rtf1 ", data, size);
    // Cut pieces end the input inside keywords, escapes and binary runs.
    if (size > 1) {
        convert_in_place("{\\rtf1", data, size / 2);
        convert_in_place("{\\rtf", data, size - 1);
    }
    return 0;
}
