// The table of system calls. Every call of the platform layer that can fail passes through one
// named entry of this table, so that a test can make the Nth call of an entry fail with a chosen
// error, once or from then on, without mocks. The names are the Windows calls the library was
// written against; each system maps its own calls onto them.
#pragma once
#include <cstdint>

namespace plat {

// How an armed failure reaches the caller: as the thread's last error (GetLastError), as its
// last socket error (WSAGetLastError), or only through the call's own result.
enum class FailKind { lastError, socketError, result };

#define TARN_SYSCALLS(X)                                                                         \
  X(CreateFile, lastError)                                                                       \
  X(ReadFile, lastError)                                                                         \
  X(WriteFile, lastError) X(SetFilePointer, lastError) X(SetEndOfFile, lastError)                \
      X(CloseHandle, lastError) X(DeleteFile, lastError) X(CopyFile, lastError)                  \
          X(MoveFile, lastError) X(CreateDirectory, lastError) X(socket, socketError)            \
              X(bind, socketError) X(listen, socketError) X(accept, socketError)                 \
                  X(connect, socketError) X(send, socketError) X(recv, socketError)              \
                      X(CreateNamedPipe, lastError) X(ConnectNamedPipe,                          \
                                                      lastError) X(CreatePipeClient, lastError)  \
                          X(ReadPipe, lastError) X(WritePipe, lastError) X(RegOpenKey, result)   \
                              X(RegCreateKey, result) X(RegQueryValue, result)                   \
                                  X(RegSetValue, result) X(RegDeleteValue, result)               \
                                      X(RegDeleteKey, result) X(GlobalAlloc, lastError)          \
                                          X(HeapAlloc, lastError)                                \
                                          X(CreateThread, lastError) X(CreateProcess, lastError) \
                                              X(EnumPrinters, lastError) X(CreateDC, lastError)

enum SysCall {
#define TARN_SYSCALL_ID(name, kind) kCall##name,
    TARN_SYSCALLS(TARN_SYSCALL_ID)
#undef TARN_SYSCALL_ID
        kSysCallCount
};

// Counts the call; true when it is to fail. The entry's error has then been reported as its
// kind says, and the caller returns the failure the system call would.
bool fail_now(SysCall call);
// The error an entry fails with while armed (for calls that return it).
int32_t armed_error(SysCall call);
// Arms entry `name`: nth > 0 fails the nth coming call once, nth < 0 every call from the
// |nth|-th on, nth 0 disarms. A null name disarms every entry. False for an unknown name.
bool arm_syscall(const char *name, int32_t nth, int32_t error);
// Reports an armed failure the way the system reports its own (platform-specific).
void report_failure(FailKind kind, int32_t error);

// Runs `call` through entry `id`: `failed` when the entry is armed for this call.
template <class R, class F>
inline R sys(SysCall id, R failed, F &&call) {
    if (fail_now(id)) return failed;
    return call();
}

}  // namespace plat
