// What the three writers share: one work buffer and one cached file object per write, lines
// ending in CR LF. The text goes to a new file beside the target, which takes the target's place
// only once it is complete: a failed write deletes it and leaves an existing file as it was.
// Devices and pipes, and files in folders that take no new file, are written directly.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

#include "tarngdi32.h"

namespace tarn::xml {

constexpr uint32_t kWorkBufferSize = 262144;
constexpr uint32_t kAccessDenied = 5, kFileExists = 80;  // the system's error numbers

class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    ~OutputFile();

    // Takes the work buffer and the file object and creates the new file beside `name`.
    bool create(const char *name);
    char *work() { return work_; }

    bool line(const char *text);                 // the text and CR LF
    bool write(const char *text, size_t count);  // without line end

    // Closes the new file; 1 when everything was written and it replaced the target, else
    // deletes it and gives 0.
    int32_t finish(bool written);

private:
    void release();

    IXFileCached *file_ = nullptr;
    char *work_ = nullptr;
    std::string new_file_beside(const char *name);

    const char *name_ = nullptr;
    std::string temp_;     // empty when the file itself is written
    bool device_ = false;  // a device or a pipe, which is never deleted
};

// How many levels lie below `node` (0 when it has no children); counted without recursion.
size_t subtree_height(const XML_Node *node);

// A node's raw value, at most `size` bytes of it, read into `out`; the count (0 also when a long
// value cannot be read back).
size_t read_raw_value(const XML_Node *node, char *out, size_t size);

}  // namespace tarn::xml
