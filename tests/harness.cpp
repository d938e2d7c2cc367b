#include "harness.h"

#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace harness {

std::string read_file(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
}

void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

bool file_exists(const std::string &path) { return std::ifstream(path).good(); }

size_t folder_entries(const std::string &folder) {
    std::error_code ignored;
    size_t n = 0;
    for (std::filesystem::directory_iterator it(folder, ignored), end; it != end; it.increment(ignored)) ++n;
    return n;
}

Fault::Fault(const char *call, int32_t nth, int32_t error, bool persistent) : call_(call) {
    EXPECT_EQ(tarnSetSysCallFault(call, persistent ? -nth : nth, error), 1) << call;
}

Fault::~Fault() { disarm(); }

void Fault::disarm() { tarnSetSysCallFault(call_, 0, 0); }

GermanNumbers::GermanNumbers() : saved_(std::setlocale(LC_NUMERIC, nullptr)) {
    for (const char *name : {"de_DE.UTF-8", "de_DE.utf8", "German_Germany.1252"}) {
        if (std::setlocale(LC_NUMERIC, name) && std::localeconv()->decimal_point[0] == ',') {
            name_ = name;
            return;
        }
    }
    std::setlocale(LC_NUMERIC, saved_.c_str());
}

GermanNumbers::~GermanNumbers() { std::setlocale(LC_NUMERIC, saved_.c_str()); }

namespace {

int32_t TARN_CALL fake_box(void *context, const char *text, const char *caption, uint32_t type) {
    auto *ui = static_cast<FakeUi *>(context);
    ui->boxes.push_back(text ? text : "");
    ui->captions.push_back(caption ? caption : "");
    ui->boxTypes.push_back(type);
    if (ui->answers.empty()) return ui->boxAnswer;
    const int32_t answer = ui->answers.front();
    ui->answers.pop_front();
    return answer;
}

void TARN_CALL fake_dialog(void *context, TarnUiDialog *d) {
    auto *ui = static_cast<FakeUi *>(context);
    ui->dialogs.push_back(tarnUiDialogName(d));
    if (ui->dialog) ui->dialog(d);
}

void TARN_CALL fake_progress(void *context, const char *text, int32_t percent) {
    auto *ui = static_cast<FakeUi *>(context);
    ui->progressTexts.push_back(text ? text : "");
    ui->percents.push_back(percent);
}

}  // namespace

FakeUi::FakeUi() {
    TarnUiProvider p = {};
    p.size = sizeof p;
    p.context = this;
    p.messageBox = fake_box;
    p.runDialog = fake_dialog;
    p.progress = fake_progress;
    tarnSetUiProvider(&p);
}

FakeUi::~FakeUi() { tarnSetUiProvider(nullptr); }

std::string dialog_text(TarnUiDialog *d, int32_t id) {
    char buf[256] = "";
    tarnUiDialogGetText(d, id, buf, sizeof buf);
    return buf;
}

int wait_child_for(test_env::Child c, int limitMs) {
    std::atomic<bool> done{false}, killed{false};
    std::thread watchdog([&] {
        for (int waited = 0; waited < limitMs && !done; waited += 20) test_env::sleep_ms(20);
        if (!done) {
            killed = true;
            test_env::kill_child_hard(c);
        }
    });
    const int rc = test_env::wait_child(c);
    done = true;
    watchdog.join();
    return killed ? -1 : rc;
}

int run_child(const std::vector<std::string> &args, int limitMs) {
    return wait_child_for(test_env::start_self(args), limitMs);
}

}  // namespace harness
