// The loader's entry: process attach and detach drive the library frame.
#include <windows.h>

#include "lib/frame_state.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH)
        tarn::library_attach(instance);
    else if (reason == DLL_PROCESS_DETACH)
        tarn::library_detach();
    return TRUE;
}
