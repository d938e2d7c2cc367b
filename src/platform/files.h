// Files and folders.
#pragma once
#include <string>

namespace plat {

bool delete_file(const char *path);
// Creates one folder; true also when it exists already.
bool create_directory(const char *path);
bool file_exists(const char *path);
// The folder that holds the library's own data here: settings, the registry store, WIN.INI
// (the Windows folder on Windows).
std::string settings_home();
// The folder that stands for the program's folder: the library's module folder on Windows;
// elsewhere a folder below settings_home(), so that the folders beside it are writable.
std::string program_folder();
std::string computer_name();
std::string user_name();
// The separator of path components that the library writes on this system.
char path_separator();

}  // namespace plat
