// Operating-system facts: version, module files, the machine and its user, the library's
// folders, time, sleeping, the default sound.
#pragma once
#include <cstdint>
#include <string>
#include "tarn_types.h"

namespace plat {

struct OsVersion {
    uint32_t platformId;  // 2 = NT
    uint32_t major;
    uint32_t minor;
};

// GetVersionExA on a fresh OSVERSIONINFOA; false when the call fails.
bool os_version(OsVersion *out);
// The raw GetVersion word: low byte major, next byte minor, high bit set on the 9x family.
uint32_t os_version_word();
// IsWow64Process looked up by name; `present` tells whether the system has the function.
bool query_wow64(bool *present);

// File name of a module (null = the process's main file), at most `size`-1 characters; length or 0.
int module_file_name(HMODULE module, char *out, int size);
// Full path of `path` into `out` (GetFullPathNameA); `filePart` points at the file-name part.
// Returns the length; 0 on failure, the needed size when `out` is too small.
int full_path(const char *path, char *out, int size, char **filePart);
// The process's current folder ("" when it cannot be read), and changing it (false on failure).
std::string current_directory();
bool set_current_directory(const char *path);
// The identifier as the system writes it: "{" 8-4-4-4-12 upper-case hex digits "}", 38
// characters and a terminator into out (StringFromCLSID); false when it cannot be made.
bool guid_text(const GUID &id, TARN_WCHAR out[39]);
// True for a character that separates path components on this system.
bool is_path_separator(char c);

// Today's local date.
void local_date(int *year, int *month, int *day);
// The local calendar date of an instant given in seconds since 1970; false when out of range.
bool local_date_of(int64_t t, int *year, int *month, int *day);
// The instant of a local time (time zone and daylight saving of the machine); -1 when invalid.
int64_t local_time_to_instant(int year, int month, int day, int hour, int minute, int second);
void sleep_ms(uint32_t ms);

// The folder that holds the library's own data here: settings, the registry store, WIN.INI
// (the Windows folder on Windows).
std::string settings_home();
// The folder that stands for the program's folder: the library's module folder on Windows;
// elsewhere a folder below settings_home(), so that the folders beside it are writable.
std::string program_folder();
std::string computer_name();
std::string user_name();
// The system's default sound.
void default_beep();

}  // namespace plat
