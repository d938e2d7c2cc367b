// File facilities the tests need from the system itself: old-style handles and the folder the
// system reports as its temporary folder.
#pragma once
#include <cstdint>
#include <string>

namespace test_env {

// An existing file opened for reading and writing as an old-style handle (_lopen); -1 on failure.
int32_t old_open(const std::string &path);
void old_close(int32_t file);

// Points the system's temporary folder (TMP on Windows, TMPDIR elsewhere) at `dir`; an empty
// text puts back what the process had before.
void set_temp_folder(const std::string &dir);

}  // namespace test_env
