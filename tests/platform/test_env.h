// What the tests need to know of the system they run on, and how they start helper processes.
#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace test_env {

bool library_keeps_settings();                     // false on Windows, where the system keeps INI files and registry
bool system_is_wine();                             // the Windows build runs on Wine, not on Windows
std::string program_folder();                      // the library's program folder (INI forms beside it)
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

bool abort_ends_quietly();  // false where abort() may wait on a message box of the runtime
void set_self_path(const char *argv0);

std::string registry_store_integrity();  // "ok", or what opening or checking the registry store reported
// Holds the write lock of the library's registry store on a connection of its own for `ms` while
// `during` runs, then lets it go (setting `released` first); false where the system keeps the registry.
bool with_registry_store_busy(int ms, const std::function<void(const std::atomic<bool> &released)> &during);

// The zone of local-time conversions ("Europe/Berlin"; nullptr: the process's own); false if not settable.
bool set_time_zone(const char *tz);

// An existing file opened for reading and writing as an old-style handle (_lopen); -1 on failure.
int32_t old_open(const std::string &path);
void old_close(int32_t file);

// A printer the tests may print to: on Windows a PostScript printer on "FILE:" made once in the
// test prefix (Wine's PostScript driver with a description of our own), elsewhere the built-in
// "PDF"; "" when none could be made.
std::string test_printer();

// A CUPS queue of a private CUPS server started for this process (CUPS_SERVER then names it);
// each job it prints lands in *jobFile, its options in *jobFile + ".options". "" where no CUPS
// server can be started (and on Windows).
std::string cups_queue(std::string *jobFile);

// A dialog the system shows from the library's resources (Windows only), driven like a user
// would from a second thread while `show` runs it on this one: `drive` gets the dialog once a
// window of this process titled `caption` appears (within 10 s). A dialog still open 5 s after
// `drive` returned is cancelled. False where the system shows no such dialogs or none appeared.
struct SystemDialog {
    void *window = nullptr;
};
bool drive_system_dialog(const char *caption, const std::function<void()> &show,
                         const std::function<void(SystemDialog)> &drive);
std::vector<std::string> dialog_list(SystemDialog d, int id);  // a list box's items
int dialog_list_selected(SystemDialog d, int id);              // its selection, -1 for none
void dialog_list_choose(SystemDialog d, int id, int index);    // selects, as a click does
bool dialog_checked(SystemDialog d, int id);
void dialog_press(SystemDialog d, int id);  // a button (IDOK 1, IDCANCEL 2) or a check box

// This test program's command line with `args` (quoted as Windows programs split them), for
// calls that take a command line.
std::string self_command_line(const std::vector<std::string> &args);

// Real windows and menus of the system (Windows only; elsewhere null and ""): a window of a
// class with a text and style, a child when `parent` is given; a menu with items appended.
void *create_window(const char *cls, const char *text, uint32_t style, void *parent);
std::string window_text(void *window);
void destroy_window(void *window);
void *create_menu();
void append_menu_item(void *menu, const char *text, void *submenu);
std::string menu_item_text(void *menu, int position);
void destroy_menu(void *menu);

// What a shell command prints on standard output; "" where there is no shell to run it.
std::string command_output(const std::string &command);
// Sets an environment variable of this process; nullptr puts back what the process had before
// its first change (on Windows: removes it).
void set_env(const char *name, const char *value);

// Points the system's temporary folder (TMP, TMPDIR) at `dir`; "" puts back the process's own.
void set_temp_folder(const std::string &dir);

}  // namespace test_env

// The system's profile calls on a full INI path (elsewhere than Windows, the library's own engine).
int test_profile_get(const char *section, const char *key, const char *def, char *out, int size, const char *file);
bool test_profile_write(const char *section, const char *key, const char *value, const char *file);
int32_t test_profile_int(const char *section, const char *key, int32_t def, const char *file);
