// Where a text reader takes its lines from: an open file or a zero-terminated text in memory.
#pragma once
#include <cstdint>

#include "tarngdi32.h"

namespace tarn {

class wmfXFILE {
public:
    virtual ~wmfXFILE() = default;
    // Copies the next line into buffer (size places); 0 when there is none.
    virtual int32_t read_line(char *buffer, int32_t size) = 0;
};

// Lines of a file through X_Readln. The handle stays the caller's.
class wmfXFILE_phy : public wmfXFILE {
public:
    explicit wmfXFILE_phy(HANDLE file) : file_(file) {}
    HANDLE handle() const { return file_; }
    int32_t read_line(char *buffer, int32_t size) override;

private:
    HANDLE file_;
};

// Lines of a zero-terminated text: CR and LF both end a line, and a run of them ends exactly one,
// so empty lines never come out. A line longer than the buffer is cut and its rest comes next.
// The text must outlive the source.
class wmfXFILE_mem : public wmfXFILE {
public:
    explicit wmfXFILE_mem(const char *text) : cursor_(text) {}
    int32_t read_line(char *buffer, int32_t size) override;

private:
    const char *cursor_;
};

}  // namespace tarn
