#include "../output_file.h"

#include <windows.h>

namespace tarn_tool {

bool replace_file(const std::string &from, const std::string &to) {
    // A rename within one volume flushes nothing: the data is put on the disk first.
    HANDLE h = CreateFileA(from.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    const bool flushed = FlushFileBuffers(h) != FALSE;
    CloseHandle(h);
    return flushed && MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
}

std::string temp_name_beside(const std::string &path) {
    // Devices and pipes by their own names are not opened to look: a pipe would take it for a client.
    if (path.compare(0, 4, "\\\\.\\") == 0) return "";
    HANDLE h = CreateFileA(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                           OPEN_EXISTING, 0, nullptr);
    if (h != INVALID_HANDLE_VALUE) {
        const DWORD type = GetFileType(h);
        CloseHandle(h);
        if (type != FILE_TYPE_DISK) return "";
    }
    return path + "." + std::to_string(GetCurrentProcessId()) + ".tmp";
}

}  // namespace tarn_tool
