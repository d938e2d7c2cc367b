// INI files as other programs leave them: any bytes are read, every section and key looked up,
// a value written is read back, and the text written is a fixed point: read and written again
// it stays byte for byte the same.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/posix/profile_ini.h"

namespace {

void check(bool ok) {
    if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    plat::ini::Text text(std::string(reinterpret_cast<const char *>(data), size));
    const std::vector<std::string> sections = text.section_names();
    // A listed key need not answer a value: an earlier line of the same name without "=" is
    // found first, as the system's profile calls find it. Names with a NUL cannot be asked for.
    const auto askable = [](const std::string &name) { return name.find('\0') == std::string::npos; };
    for (const std::string &section : sections) {
        for (const std::string &key : text.key_names(section.c_str())) {
            std::string value;
            text.value(section.c_str(), key.c_str(), &value);
        }
    }
    const std::string written = text.bytes();
    check(plat::ini::Text(written).bytes() == written);

    const std::string section = sections.empty() || !askable(sections.front()) ? "Fuzz" : sections.front();
    text.set(section.c_str(), "Wert", "42");
    std::string back;
    check(plat::ini::Text(text.bytes()).value(section.c_str(), "Wert", &back) && back == "42");
    text.erase_key(section.c_str(), "Wert");
    text.erase_section(section.c_str());
    return 0;
}
