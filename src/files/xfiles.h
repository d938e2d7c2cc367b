// What the X_ file functions share with the cached file object: the ways files are opened and
// the names of temporary files.
#pragma once
#include <cstdint>
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

// "%08X$(%d).$tmp$" in `folder`: the low 32 bits of the time and the counter.
std::string temp_name_in(const std::string &folder, uint64_t time, int32_t counter);
// "~%08X$~%08X~.$C$" in `folder`: the low and the high 32 bits of the time. The counter does not
// appear in the name, so two names made within one second are the same.
std::string cached_temp_name_in(const std::string &folder, uint64_t time, int32_t counter);

// The next X_CreatTmp name in the temporary folder; counts the process-wide counter up.
std::string make_temp_name();
// The next name for the cached file object's temporary file, with the second process-wide
// counter. Two calls within one second give the same name.
std::string make_cached_temp_name();

}  // namespace tarn::xfiles
