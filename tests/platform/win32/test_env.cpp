#include "test_env.h"

#include <windows.h>
#include <psapi.h>
#include <winspool.h>

#include <filesystem>

namespace test_env {
namespace {
std::string self;

// A colour PostScript printer with A4 and Letter sheets and a quarter-inch margin.
const char kPrinterDescription[] =
    "*PPD-Adobe: \"4.3\"\n*FormatVersion: \"4.3\"\n*FileVersion: \"1.0\"\n*LanguageVersion: English\n"
    "*LanguageEncoding: ISOLatin1\n*PCFileName: \"TARNTEST.PPD\"\n*Manufacturer: \"Tarn\"\n"
    "*Product: \"(Tarn Test)\"\n*ModelName: \"Tarn Test PostScript\"\n*ShortNickName: \"Tarn Test PostScript\"\n"
    "*NickName: \"Tarn Test PostScript\"\n*PSVersion: \"(3010.000) 0\"\n*LanguageLevel: \"3\"\n"
    "*ColorDevice: True\n*DefaultColorSpace: RGB\n*FileSystem: False\n*Throughput: \"1\"\n"
    "*LandscapeOrientation: Plus90\n*TTRasterizer: Type42\n*DefaultResolution: 600dpi\n"
    "*OpenUI *PageSize/Page Size: PickOne\n*OrderDependency: 10 AnySetup *PageSize\n*DefaultPageSize: A4\n"
    "*PageSize A4/A4: \"<</PageSize[595 842]/ImagingBBox null>>setpagedevice\"\n"
    "*PageSize Letter/Letter: \"<</PageSize[612 792]/ImagingBBox null>>setpagedevice\"\n*CloseUI: *PageSize\n"
    "*OpenUI *PageRegion: PickOne\n*OrderDependency: 10 AnySetup *PageRegion\n*DefaultPageRegion: A4\n"
    "*PageRegion A4/A4: \"<</PageSize[595 842]/ImagingBBox null>>setpagedevice\"\n"
    "*PageRegion Letter/Letter: \"<</PageSize[612 792]/ImagingBBox null>>setpagedevice\"\n*CloseUI: *PageRegion\n"
    "*DefaultImageableArea: A4\n*ImageableArea A4/A4: \"18 18 577 824\"\n"
    "*ImageableArea Letter/Letter: \"18 18 594 774\"\n*DefaultPaperDimension: A4\n"
    "*PaperDimension A4/A4: \"595 842\"\n*PaperDimension Letter/Letter: \"612 792\"\n"
    "*DefaultFont: Courier\n*Font Courier: Standard \"(001.000)\" Standard ROM\n";

bool printer_exists(const char *name) {
    HANDLE h = nullptr;
    if (!OpenPrinterA(const_cast<char *>(name), &h, nullptr)) return false;
    ClosePrinter(h);
    return true;
}

}  // namespace

// The driver's description must lie in the driver folder's version-3 subfolder, where the
// PostScript driver looks for it; the driver itself is the system's own.
std::string test_printer() {
    static const char kName[] = "Tarn PS";
    if (printer_exists(kName)) return kName;
    DWORD needed = 0;
    char folder[MAX_PATH] = "";
    if (!GetPrinterDriverDirectoryA(nullptr, nullptr, 1, reinterpret_cast<BYTE *>(folder), sizeof folder, &needed))
        return "";
    const std::string dir = std::string(folder) + "\\3";
    CreateDirectoryA(dir.c_str(), nullptr);
    const std::string ppd = dir + "\\tarntest.ppd";
    HANDLE f = CreateFileA(ppd.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (f == INVALID_HANDLE_VALUE) return "";
    DWORD written = 0;
    WriteFile(f, kPrinterDescription, DWORD(sizeof kPrinterDescription - 1), &written, nullptr);
    CloseHandle(f);
    DRIVER_INFO_3A driver = {};
    driver.cVersion = 3;
    driver.pName = const_cast<char *>("Tarn Test Driver");
    driver.pDriverPath = const_cast<char *>("wineps.drv");
    driver.pDataFile = const_cast<char *>(ppd.c_str());
    driver.pConfigFile = const_cast<char *>("wineps.drv");
    if (!AddPrinterDriverExA(nullptr, 3, reinterpret_cast<BYTE *>(&driver), APD_COPY_NEW_FILES)) return "";
    PRINTER_INFO_2A printer = {};
    printer.pPrinterName = const_cast<char *>(kName);
    printer.pPortName = const_cast<char *>("FILE:");
    printer.pDriverName = driver.pName;
    printer.pPrintProcessor = const_cast<char *>("WinPrint");
    printer.pDatatype = const_cast<char *>("RAW");
    HANDLE added = AddPrinterA(nullptr, 2, reinterpret_cast<BYTE *>(&printer));
    if (added) ClosePrinter(added);
    if (!printer_exists(kName)) return "";
    // A system with a printer has a default printer.
    DWORD size = 0;
    if (!GetDefaultPrinterA(nullptr, &size) && GetLastError() != ERROR_INSUFFICIENT_BUFFER) SetDefaultPrinterA(kName);
    return kName;
}

bool library_keeps_settings() { return false; }
std::string command_output(const std::string &) { return ""; }
std::string cups_queue(std::string *jobFile) { return jobFile->clear(), ""; }

void set_env(const char *name, const char *value) { SetEnvironmentVariableA(name, value); }

bool system_is_wine() {
    const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
    return ntdll && GetProcAddress(ntdll, "wine_get_version");
}
std::string join(const std::string &a, const std::string &b) { return a + "\\" + b; }

std::string program_folder() {
    char path[MAX_PATH] = "";
    const DWORD n = GetModuleFileNameA(GetModuleHandleA("tarngdi32.dll"), path, MAX_PATH);
    const std::string s(path, n);
    const size_t cut = s.find_last_of("\\/");
    return cut == std::string::npos ? std::string(".") : s.substr(0, cut);
}

std::string temp_folder(const std::string &name) {
    char tmp[MAX_PATH] = "";
    GetTempPathA(MAX_PATH, tmp);
    const std::string dir = std::string(tmp) + "tarngdi32-" + name + "-" + std::to_string(GetCurrentProcessId());
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
    CreateDirectoryA(dir.c_str(), nullptr);
    return dir;
}

Child start_self(const std::vector<std::string> &args) {
    std::string cmd = "\"" + self + "\"";
    for (const auto &a : args) cmd += " \"" + a + "\"";
    STARTUPINFOA si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi = {};
    // Under Wine a process start now and then fails while the machine is busy; a second try a
    // moment later succeeds.
    for (int tries = 0; !CreateProcessA(nullptr, &cmd[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi); ++tries) {
        if (tries == 4) return {};
        Sleep(200);
    }
    CloseHandle(pi.hThread);
    return Child{reinterpret_cast<long long>(pi.hProcess)};
}

std::string self_command_line(const std::vector<std::string> &args) {
    std::string line = "\"" + self + "\"";
    for (const auto &a : args) line += " \"" + a + "\"";
    return line;
}

int wait_child(Child c) {
    HANDLE h = reinterpret_cast<HANDLE>(c.id);
    if (!h) return -1;
    WaitForSingleObject(h, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(h, &code);
    CloseHandle(h);
    return int(code);
}

void kill_child_hard(Child c) {
    if (c.id) TerminateProcess(reinterpret_cast<HANDLE>(c.id), 137);
}

void sleep_ms(int ms) { Sleep(DWORD(ms)); }

unsigned long long process_memory_bytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    counters.cb = sizeof counters;
    return GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters) ? counters.WorkingSetSize : 0;
}

// The runtime's TZ syntax cannot name a zone's own daylight-saving dates, and the system's zone
// is not the tests' to change.
bool set_time_zone(const char *) { return false; }

// GetTempPathA takes TMP first.
void set_temp_folder(const std::string &dir) {
    static const std::string before = std::getenv("TMP") ? std::getenv("TMP") : "";
    const std::string &use = dir.empty() ? before : dir;
    SetEnvironmentVariableA("TMP", use.empty() ? nullptr : use.c_str());
}

int32_t old_open(const std::string &path) {
    const HFILE f = _lopen(path.c_str(), OF_READWRITE);
    return f == HFILE_ERROR ? -1 : int32_t(f);
}
void old_close(int32_t file) { _lclose(HFILE(file)); }

void set_self_path(const char *argv0) {
    char path[MAX_PATH] = "";
    const DWORD n = GetModuleFileNameA(nullptr, path, MAX_PATH);
    self = n ? std::string(path, n) : std::string(argv0);
}

bool abort_ends_quietly() { return false; }

// Windows keeps the registry itself; there is no store of ours to look into.
std::string registry_store_integrity() { return "the system keeps the registry"; }
bool with_registry_store_busy(int, const std::function<void(const std::atomic<bool> &)> &) { return false; }

}  // namespace test_env

int test_profile_get(const char *section, const char *key, const char *def, char *out, int size, const char *file) {
    return int(GetPrivateProfileStringA(section, key, def, out, DWORD(size), file));
}
bool test_profile_write(const char *section, const char *key, const char *value, const char *file) {
    return WritePrivateProfileStringA(section, key, value, file) != FALSE;
}
int32_t test_profile_int(const char *section, const char *key, int32_t def, const char *file) {
    return int32_t(GetPrivateProfileIntA(section, key, def, file));
}
