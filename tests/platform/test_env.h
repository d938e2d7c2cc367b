// What the tests need to know of the system they run on, and how they start helper processes.
#pragma once
#include <string>
#include <vector>

namespace test_env {

// True where the library keeps settings in its own INI files and registry store; false on
// Windows, where the system's profile calls and registry do.
bool library_keeps_settings();
std::string program_folder();                     // the library's program folder (INI forms beside it)
std::string temp_folder(const std::string &name);  // a fresh empty folder for one test
std::string join(const std::string &a, const std::string &b);

// This test program, started again with `args` (it then runs the helper role named by them).
struct Child {
    long long id = 0;
};
Child start_self(const std::vector<std::string> &args);
int wait_child(Child c);        // exit code, or -1
void kill_child_hard(Child c);  // SIGKILL / TerminateProcess
void sleep_ms(int ms);
unsigned long long process_memory_bytes();  // resident set (working set on Windows) in bytes

// False where a process ending through abort() may wait on a message box of the system's runtime,
// which would stall an unattended run: death tests skip there.
bool abort_ends_quietly();
void set_self_path(const char *argv0);

// The library's own registry store, looked at from outside the library: "ok" when SQLite's
// integrity check passes, otherwise what the open or the check reported.
std::string registry_store_integrity();

// Sets the time zone of the library's local-time conversions to the named zone ("Europe/Berlin"),
// or with nullptr puts back the zone the process had before. False where a test cannot set it.
bool set_time_zone(const char *tz);

}  // namespace test_env
