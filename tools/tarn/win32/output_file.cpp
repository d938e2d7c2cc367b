#include "../output_file.h"

#include <windows.h>

namespace tarn_tool {

bool replace_file(const std::string &from, const std::string &to) {
    return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
}

std::string temp_name_beside(const std::string &path) {
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
