// System services: programs started under the wait dialog (this test program plays the
// program), registration entries read back from the registry, and the local file cache.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "child_roles.h"
#include "harness.h"
#include "platform/files.h"
#include "platform/registry.h"
#include "platform/system.h"

namespace {

// The program: waits `ms`, then writes "fertig" into `file` (relative to its working folder).
int write_later(const std::vector<std::string> &args) {
    if (args.size() != 2) return 2;
    test_env::sleep_ms(std::atoi(args[0].c_str()));
    harness::write_file(args[1], "fertig");
    return 0;
}
TEST_CHILD_ROLE("write-later", write_later);

// Waits at most 20 s for `done`.
template <class Done>
bool eventually(Done done) {
    for (int waited = 0; waited < 20000 && !done(); waited += 20) test_env::sleep_ms(20);
    return done();
}

}  // namespace

// Waiting for the end, not waiting, a limit of one round, the wait dialog through a UI provider
// (showing the command line and the folder, closing itself), a program that cannot start; the
// record is freed once by whoever holds it last, also a worker that outlives the call.
TEST(ExternalProcess, WaitsAsAskedAndFreesTheRecordOnce) {
    const std::string folder = test_env::temp_folder("exec");
    const struct {
        const char *what;
        int32_t waitForEnd, limitWait, limitCount, sleepMs;
        bool writtenAtReturn, provider;
    } cases[] = {
        {"waits for the end", 1, 0, 0, 300, true, false},
        {"without waiting the program outlives the call", 0, 0, 0, 1500, false, false},
        {"a limit of one round ends the wait before it", 1, 1, 1, 1500, false, false},
        {"the provider's wait dialog", 1, 0, 0, 100, true, true},
    };
    int n = 0;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const std::string name = "out" + std::to_string(++n) + ".txt";
        const std::string file = test_env::join(folder, name);
        const std::string line =
            test_env::self_command_line({"--role", "write-later", std::to_string(c.sleepMs), name});
        std::unique_ptr<harness::FakeUi> ui(c.provider ? new harness::FakeUi : nullptr);
        std::string shown;
        if (ui) ui->dialog = [&](TarnUiDialog *d) {  // the dialog closes itself
            shown = harness::dialog_text(d, 101) + "|" + harness::dialog_text(d, 102);
            intptr_t result = -1;
            EXPECT_TRUE(eventually([&] { return tarnUiDialogEnded(d, &result) != 0; }));
            EXPECT_EQ(result, 0);
        };
        const auto before = harness::tracked_memory();
        const int32_t started =
            ExecuteExternalProcess(nullptr, line.c_str(), folder.c_str(), c.waitForEnd, c.limitWait, c.limitCount);
        EXPECT_EQ(harness::file_exists(file), c.writtenAtReturn);
        if (c.writtenAtReturn) EXPECT_EQ(started, 1);
        if (ui) EXPECT_EQ(ui->dialogs, std::vector<std::string>{"DlgExec"});
        if (ui) EXPECT_EQ(shown, line + "|" + folder);
        EXPECT_TRUE(eventually([&] { return harness::file_exists(file); })) << "the program ran in the folder";
        EXPECT_TRUE(eventually([&] { return harness::tracked_memory() == before; })) << "the run record is freed";
    }
    EXPECT_EQ(ExecuteExternalProcess(nullptr, "tarn-no-such-program-4711", nullptr, 1, 0, 0), 0);
    EXPECT_EQ(ExecuteExternalProcess(nullptr, nullptr, nullptr, 1, 0, 0), 0);
}

namespace {

const GUID kClass = {0x1A2B3C4D, 0x5E6F, 0x4711, {0x80, 0x91, 0xA2, 0xB3, 0xC4, 0xD5, 0xE6, 0xF7}};
const GUID kIface = {0x0000BEEF, 0x0001, 0x0002, {0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A}};
const GUID kClass2 = {0x0BADF00D, 0x1234, 0x5678, {0x9A, 0xBC, 0xDE, 0xF0, 0x12, 0x34, 0x56, 0x78}};
const GUID kLib = {0x7E57AB1E, 0x0000, 0x1111, {0x22, 0x22, 0x33, 0x33, 0x44, 0x44, 0x55, 0x55}};

std::string id(const GUID &g) {
    char text[64];
    return Guid2Ansi(text, &g);
}

// The key's unnamed value under the classes root; "<none>" for a key that is not there.
std::string classes_value(const std::string &key) {
    HKEY h = nullptr;
    if (plat::reg_open(HKEY_CLASSES_ROOT, key.c_str(), false, false, &h) != 0) return "<none>";
    char value[512] = "";
    uint32_t type = 0, size = sizeof value;
    const long r = plat::reg_query(h, nullptr, &type, value, &size);
    plat::reg_close(h);
    return r == 0 ? std::string(value) : std::string();
}

std::string module_path() {
    char path[300];
    return GetTlbFileName(path, nullptr);
}

}  // namespace

// An application's keys exactly (its server is LocalServer32), "ProgID" holding the program name
// alone; removing twice still answers 1 and leaves nothing.
TEST(Registration, ApplicationKeysAndTheirRemoval) {
    EXPECT_EQ(id(kClass), "{1A2B3C4D-5E6F-4711-8091-A2B3C4D5E6F7}");
    const std::string clsid = "CLSID\\" + id(kClass);
    ASSERT_EQ(HKR_RegisterApplication(&kClass, "App", "Document", nullptr), 1);
    const struct {
        std::string key, value;
    } keys[] = {
        {clsid, "App Document"},        {clsid + "\\LocalServer32", module_path()},
        {clsid + "\\ProgID", "App"},    {"App.Document", "App Document"},
        {"App.Document\\CLSID", id(kClass)},
    };
    for (const auto &k : keys) EXPECT_EQ(classes_value(k.key), k.value) << k.key;
    for (int round = 0; round < 2; ++round) EXPECT_EQ(HKR_UnregisterApplication(&kClass, "App", "Document"), 1);
    for (const auto &k : keys) EXPECT_EQ(classes_value(k.key), "<none>") << k.key;
}

// A server table: interfaces, classes and the type library; an entry with neither is skipped;
// the null library writes no type library; a failure in the middle removes what was written.
TEST(Registration, ServerTablesRegisterWholeOrNotAtAll) {
    const HKR_ServerEntry table[] = {
        {"Tarn", "ITarnTest", "Rechner", &kIface, &kClass},
        {"Leer", nullptr, nullptr, &kIface, &kClass2},
        {"Tarn", nullptr, "Drucker", nullptr, &kClass2},
    };
    const GUID none = {};
    const std::string lib = "typelib\\" + id(kLib);
    const struct {
        const char *what;
        const GUID *libid;
        int failAt;  // the nth key creation fails; 0 none
        int32_t want;
        bool written, typelib;
    } cases[] = {
        {"everything", &kLib, 0, 0, true, true},
        {"no type library", &none, 0, 0, true, false},
        {"a failing key removes the rest", &kLib, 4, 1, false, false},
        {"a failing type library too", &kLib, 13, 1, false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        int32_t result = -1;
        {
            harness::Fault fail("RegCreateKey", c.failAt, 5);
            if (!c.failAt) fail.disarm();
            result = HKR_RegisterDLLServer(3, table, nullptr, c.libid, "TarnLib");
        }
        EXPECT_EQ(result, c.want);
        EXPECT_EQ(classes_value("Interface\\" + id(kIface)) == "ITarnTest", c.written);
        EXPECT_EQ(classes_value("CLSID\\" + id(kClass)) == "Rechner", c.written);
        EXPECT_EQ(classes_value("CLSID\\" + id(kClass2) + "\\InprocServer32") == module_path(), c.written);
        EXPECT_EQ(classes_value("Tarn.Drucker\\CLSID") == id(kClass2), c.written);
        EXPECT_EQ(classes_value("Leer.") , "<none>");
        EXPECT_EQ(classes_value(lib + "\\1.0") == "TarnLib", c.typelib);
        EXPECT_EQ(classes_value(lib + "\\1.0\\0\\win32") == module_path(), c.typelib);
        EXPECT_EQ(HKR_UnregisterDLLServer(3, table, nullptr, c.libid), 0);
        EXPECT_EQ(classes_value("CLSID\\" + id(kClass)), "<none>");
        EXPECT_EQ(classes_value("Interface\\" + id(kIface)), "<none>");
        EXPECT_EQ(classes_value(lib), "<none>");
    }
    EXPECT_EQ(HKR_UnregisterClass(&kClass, "Tarn", "Rechner"), 1) << "nothing there: still 1";
}

// The first request copies, later ones reuse the copy however the source changed, until the
// cache is dropped; a source that does not exist answers its own name.
TEST(FileCache, CopiesOnceUntilDropped) {
    char folder[300] = "";
    ASSERT_EQ(koGetCachePath(folder, sizeof folder), 1);
    ASSERT_TRUE(plat::is_path_separator(folder[std::strlen(folder) - 1]));
    EXPECT_EQ(koGetCachePath(nullptr, 10), 0);
    const std::string dir = test_env::temp_folder("cache");
    const std::string source = test_env::join(dir, "bild.bmp");
    harness::write_file(source, "erste");
    plat::set_file_attributes(source.c_str(), plat::kAttrReadOnly);
    char name[300] = "";
    ASSERT_EQ(koGetCacheName(source.c_str(), name, sizeof name), name);
    EXPECT_EQ(std::string(name), std::string(folder) + "$KELVO$bild.bmp.tmp");
    EXPECT_EQ(harness::read_file(name), "erste");
    EXPECT_EQ(plat::file_attributes(name) & plat::kAttrReadOnly, 0u) << "the copy is writable";
    plat::set_file_attributes(source.c_str(), plat::kAttrNormal);
    harness::write_file(source, "zweite");
    EXPECT_STREQ(koGetCacheName(source.c_str(), nullptr, 0), name) << "the static buffer";
    EXPECT_EQ(harness::read_file(name), "erste") << "a stale copy is used as it is";
    EXPECT_EQ(koDropCacheFiles(), 1);
    EXPECT_FALSE(harness::file_exists(name));
    EXPECT_EQ(koDropCacheFiles(), -1);
    koGetCacheName(source.c_str(), name, sizeof name);
    EXPECT_EQ(harness::read_file(name), "zweite");
    koDropCacheFiles();

    const std::string missing = test_env::join(dir, "fehlt.bmp");
    EXPECT_EQ(std::string(koGetCacheName(missing.c_str(), name, sizeof name)), missing);
    char small[8] = "";
    EXPECT_EQ(std::string(koGetCacheName(source.c_str(), small, sizeof small)), source.substr(0, 7))
        << "no room for the cache name: the source's own, cut";
}
