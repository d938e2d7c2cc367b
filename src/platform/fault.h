// The fault table: every file call of the platform layer asks it first, so that a test can make
// the Nth call of one kind fail with a chosen error, without mocks.
#pragma once
#include <cstdint>

namespace plat {

enum SysCall {
    kCallCreateFile, kCallReadFile, kCallWriteFile, kCallSetFilePointer, kCallSetEndOfFile,
    kCallCloseHandle, kCallDeleteFile, kCallCopyFile, kSysCallCount
};

// True when this call is to fail; the error is then the system's last error as well.
bool fault_now(SysCall call);
// Arms the Nth coming call (from 1) of `name`; nth 0 disarms. False for an unknown name.
bool set_fault(const char *name, int32_t nth, int32_t error);

}  // namespace plat
