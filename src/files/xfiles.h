// What the X_ file functions share with the cached file object: the ways files are opened and
// the names of temporary files.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>

#include "platform/files.h"

namespace tarn::xfiles {

// An existing file, read or read and write, shared for reading and writing (X_Open).
inline plat::FileOpen open_existing(bool write) {
    plat::FileOpen how;
    how.write = write;
    return how;
}

// Created or truncated, read and write, shared for reading and writing (X_Creat).
inline plat::FileOpen create_always() {
    plat::FileOpen how;
    how.write = true;
    how.create = plat::kCreateAlways;
    return how;
}

// Created anew, read and write, removed by the system when the handle is closed.
inline plat::FileOpen create_temporary(plat::FileShare share) {
    plat::FileOpen how = create_always();
    how.share = share;
    how.deleteOnClose = true;
    return how;
}

// The names are pure formatting of the values given, so they live here where they can be checked
// with fixed values. A temporary folder longer than the name buffers (240 and 270 characters) is
// used whole.

// "%08X$(%d).$tmp$" in `folder`: the low 32 bits of the time and the counter.
inline std::string temp_name_in(const std::string &folder, uint64_t time, int32_t counter) {
    char name[48];
    std::snprintf(name, sizeof name, "%08X$(%d).$tmp$", unsigned(uint32_t(time)), int(counter));
    return folder + name;
}

// "~%08X$~%08X~.$C$" in `folder`: the low and the high 32 bits of the time. The counter does not
// appear in the name, so two names made within one second are the same and the second file
// replaces the first. Kept: the files are named so everywhere.
inline std::string cached_temp_name_in(const std::string &folder, uint64_t time, int32_t counter) {
    static_cast<void>(counter);
    char name[48];
    std::snprintf(name, sizeof name, "~%08X$~%08X~.$C$", unsigned(uint32_t(time)),
                  unsigned(uint32_t(time >> 32)));
    return folder + name;
}

// The next X_CreatTmp name in the temporary folder; counts the process-wide counter up.
std::string make_temp_name();
// The next name for the cached file object's temporary file, with the second process-wide
// counter. Two calls within one second give the same name.
std::string make_cached_temp_name();

}  // namespace tarn::xfiles
