// What many test files need: whole files read and written, failures armed through the call
// table, a German number locale, a UI provider that answers boxes and dialogs, and helper
// processes with a time limit. Everything a test needs of the system itself is in platform/.
#pragma once
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tarngdi32.h"
#include "platform/test_env.h"

namespace harness {

// ---- files ----

// The whole file; empty when it cannot be read.
std::string read_file(const std::string &path);
// Replaces the file with exactly `bytes`.
void write_file(const std::string &path, const std::string &bytes);
bool file_exists(const std::string &path);
// How many files and folders a folder holds.
size_t folder_entries(const std::string &folder);

// ---- failures through the call table ----

// Arms one entry of the library's call table for the guard's lifetime: the `nth` coming call
// (from 1) fails with `error`, once, or with `persistent` every call from the nth on. The
// destructor disarms the entry, also when an assertion ends the test early.
class Fault {
public:
    Fault(const char *call, int32_t nth, int32_t error, bool persistent = false);
    ~Fault();
    Fault(const Fault &) = delete;
    Fault &operator=(const Fault &) = delete;
    void disarm();

private:
    const char *call_;
};

// Windows error numbers the tests arm most.
constexpr int32_t kAccessDenied = 5, kDiskFull = 112, kNotEnoughMemory = 8, kConnectionReset = 10054;

// ---- locale ----

// Switches LC_NUMERIC to a German locale with a decimal comma for the guard's lifetime and puts
// back the previous one after; `active()` is false where no such locale is installed.
class GermanNumbers {
public:
    GermanNumbers();
    ~GermanNumbers();
    bool active() const { return !name_.empty(); }
    const std::string &name() const { return name_; }

private:
    std::string saved_, name_;
};

// ---- user interface ----

// Installs a UI provider for the guard's lifetime. Message boxes are recorded and answered with
// the next of `answers` while there are any, then with `boxAnswer` (6 = Yes unless set);
// dialogs are recorded by name and handed to `dialog` when it is set; progress reports are
// recorded.
class FakeUi {
public:
    FakeUi();
    ~FakeUi();
    FakeUi(const FakeUi &) = delete;
    FakeUi &operator=(const FakeUi &) = delete;

    int32_t boxAnswer = 6;
    std::deque<int32_t> answers;
    std::function<void(TarnUiDialog *)> dialog;
    std::vector<std::string> boxes;     // texts of the boxes shown
    std::vector<std::string> captions;  // their captions
    std::vector<uint32_t> boxTypes;     // their MB_ flags
    std::vector<std::string> dialogs;   // names of the dialogs run
    std::vector<int32_t> percents;      // progress reports
    std::vector<std::string> progressTexts;
};

// The text of control `id` of a running dialog.
std::string dialog_text(TarnUiDialog *d, int32_t id);

// Live blocks and bytes of the library's tracked memory (GetGlobalUsage).
inline std::pair<uint32_t, uint32_t> tracked_memory() {
    uint32_t blocks = 0, bytes = 0;
    GetGlobalUsage(&blocks, &bytes);
    return {blocks, bytes};
}

// ---- helper processes ----

// Starts this test program again with `args` ({"--role", NAME, ARGS...}, see child_roles.h) and
// waits at most `limitMs` for it: its exit code, or -1 when it had to be killed at the limit.
int run_child(const std::vector<std::string> &args, int limitMs = 60000);
// Waits at most `limitMs` for a child already started: its exit code, or -1 after killing it.
int wait_child_for(test_env::Child c, int limitMs);

}  // namespace harness
