// What writing an output file safely needs from the system.
#pragma once
#include <string>

namespace tarn_tool {

// Puts the complete file `from` in the place of `to` in one step, replacing an existing file:
// a reader finds the old file or the new one, never a part of either. False when it cannot.
bool replace_file(const std::string &from, const std::string &to);

// A name beside `path` for the new file, not used by another process; empty when `path` names
// a device or a pipe, which is written directly.
std::string temp_name_beside(const std::string &path);

}  // namespace tarn_tool
