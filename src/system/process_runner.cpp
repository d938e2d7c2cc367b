// ExecuteExternalProcess: another program started by a worker thread while a small modal dialog
// "DlgExec" waits for it, for its end or for a limited number of rounds of about a second.
// Without any dialog to show (Linux without a UI provider) the wait runs without one.
#include <atomic>
#include <cstring>
#include <new>
#include <thread>

#include "export.h"
#include "lib/ui.h"
#include "platform/process.h"
#include "platform/system.h"
#include "platform/thread.h"
#include "platform/window.h"

namespace {

using namespace tarn::ui;

constexpr int32_t kCommandText = 101, kFolderText = 102;
constexpr int32_t kStartWaiting = 1001, kWaited = 1002, kClose = 1003;
constexpr int kPausesPerRound = 10;
constexpr uint32_t kPauseMs = 100, kStartPauseMs = 10;

const ControlLayout kControls[] = {
    {100, TARN_UI_LABEL, "Programm wird gestartet:"},
    {kCommandText, TARN_UI_LABEL, ""},
    {kFolderText, TARN_UI_LABEL, ""},
};
const DialogLayout kDialog = {"DlgExec", "Bitte warten", kControls, 3, kCommandText};

// One run, shared by the call, the wait loop and the worker; the last holder frees it. The flags
// cross threads, so they are atomic where the system's version is plain words.
struct RunRecord {
    std::atomic<uint32_t> refs{1};
    char *commandLine = nullptr;
    char *workDir = nullptr;
    std::atomic<int32_t> started{0};
    int32_t waitForEnd = 0;
    int32_t limitWait = 0;
    int32_t limitCount = 0;
    std::atomic<int32_t> done{0};
    HWND parent = nullptr;
};

char *tracked_copy(const char *text) {
    const size_t n = std::strlen(text) + 1;
    char *copy = static_cast<char *>(AllocGlobal(uint32_t(n)));
    if (copy) std::memcpy(copy, text, n);
    return copy;
}

void release(RunRecord *r) {
    if (--r->refs != 0) return;
    FreeGlobal(r->commandLine);
    FreeGlobal(r->workDir);
    r->~RunRecord();
    FreeGlobal(r);
}

// The worker's reference is taken by the loop that starts it, before the thread exists: a worker
// slow to start must not find its record freed by a call that did not wait for it.
void worker(void *arg) {
    auto *r = static_cast<RunRecord *>(arg);
    if (plat::Process *p = plat::start_process(r->commandLine, r->workDir)) {
        r->started = 1;
        if (r->waitForEnd) plat::wait_process(p);
        plat::close_process(p);
    }
    r->done = 1;  // before letting go: a record freed by its other holders is touched no more
    release(r);
}

// `yield` keeps a system dialog's messages flowing while it waits.
void wait_loop(RunRecord *r, bool yield) {
    ++r->refs;
    ++r->refs;  // the worker's
    if (!plat::start_thread(worker, r)) {
        r->done = 1;
        release(r);
    }
    plat::sleep_ms(kStartPauseMs);
    while (!r->done) {
        if (r->limitWait && --r->limitCount < 1) break;
        for (int i = 0; i < kPausesPerRound && !r->done; ++i) {
            plat::sleep_ms(kPauseMs);
            if (yield) plat::yield_to_others();
        }
    }
    release(r);
}

struct ExecDialog {
    RunRecord *record;
    std::thread waiter;           // a provider's dialog has no queue: the wait runs beside it
    std::atomic<bool> waited{false};
};

intptr_t TARN_CALL exec_proc(HWND dialog, uint32_t msg, uintptr_t wParam, intptr_t lParam) {
    static thread_local ExecDialog *running = nullptr;
    if (msg == kInitDialog) {
        running = reinterpret_cast<ExecDialog *>(lParam);
        set_item_text(dialog, kCommandText, running->record->commandLine);
        set_item_text(dialog, kFolderText, running->record->workDir ? running->record->workDir : "");
        if (!post_command(dialog, kStartWaiting)) {
            ExecDialog *e = running;
            e->waited = true;
            e->waiter = std::thread([e, dialog] {
                wait_loop(e->record, false);
                end_dialog(dialog, 0);
            });
        }
        return 1;
    }
    if (msg != kCommand || !running) return 0;
    switch (command_id(wParam)) {
    case kStartWaiting:
        running->waited = true;
        wait_loop(running->record, true);
        post_command(dialog, kWaited);
        return 1;
    case kWaited: post_command(dialog, kClose); return 1;
    case kClose: end_dialog(dialog, 0); return 1;
    default: return 0;
    }
}

}  // namespace

TARN_API int32_t TARN_CALL ExecuteExternalProcess(HWND parent, const char *commandLine,
                                                  const char *workDir, int32_t waitForEnd,
                                                  int32_t limitWait, int32_t limitCount) {
    if (!commandLine) return 0;
    void *memory = AllocGlobal(sizeof(RunRecord));
    if (!memory) return 0;
    auto *r = new (memory) RunRecord;
    r->commandLine = tracked_copy(commandLine);
    r->workDir = workDir ? tracked_copy(workDir) : nullptr;
    r->waitForEnd = waitForEnd;
    r->limitWait = limitWait;
    r->limitCount = limitCount;
    r->parent = parent;
    if (!r->commandLine || (workDir && !r->workDir)) {
        release(r);
        return 0;
    }
    if (dialogs_available()) {
        ExecDialog e{r, {}};
        run_dialog(parent, kDialog, exec_proc, reinterpret_cast<intptr_t>(&e));
        // A provider that closed the dialog early still waits here for the wait to end; a
        // dialog that could not be shown leaves the wait to be done without it.
        if (e.waiter.joinable()) e.waiter.join();
        if (!e.waited) wait_loop(r, false);
    } else {
        wait_loop(r, false);
    }
    const int32_t started = r->started;
    release(r);
    return started;
}
