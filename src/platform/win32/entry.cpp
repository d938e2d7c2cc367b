#include "platform/entry.h"

#include <windows.h>

extern "C" IMAGE_DOS_HEADER __ImageBase;

namespace plat {
namespace {

HINSTANCE own_module() { return reinterpret_cast<HINSTANCE>(&__ImageBase); }

// A program that holds the library's objects itself (the tests, the fuzz targets) has no DLL
// entry: there the attach and detach run with its static objects.
struct ProgramEntry {
    const bool inProgram = GetModuleHandleA(nullptr) == own_module();
    ProgramEntry() {
        if (inProgram) on_process_attach(own_module());
    }
    ~ProgramEntry() {
        if (inProgram) on_process_detach();
    }
} gProgramEntry;

}  // namespace
}  // namespace plat

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) plat::on_process_attach(instance);
    else if (reason == DLL_PROCESS_DETACH) plat::on_process_detach();
    return TRUE;
}
