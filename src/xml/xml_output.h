// What the three writers share: one work buffer and one cached file object per write, lines
// ending in CR LF, and the file deleted again when a write fails.
#pragma once
#include <cstddef>
#include <cstdint>

#include "tarngdi32.h"

namespace tarn::xml {

constexpr uint32_t kWorkBufferSize = 262144;

class OutputFile {
public:
    OutputFile() = default;
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    ~OutputFile();

    // Takes the work buffer and the file object and creates (or truncates) the file.
    bool create(const char *name);
    char *work() { return work_; }

    bool line(const char *text);                 // the text and CR LF
    bool write(const char *text, size_t count);  // without line end

    // Closes the file; 1 when everything was written, else deletes it and gives 0.
    int32_t finish(bool written);

private:
    void release();

    IXFileCached *file_ = nullptr;
    char *work_ = nullptr;
    const char *name_ = nullptr;
};

// How many levels lie below `node` (0 when it has no children); counted without recursion.
size_t subtree_height(const XML_Node *node);

// A node's raw value, at most `size` bytes of it, read into `out`; the count (0 also when a long
// value cannot be read back).
size_t read_raw_value(const XML_Node *node, char *out, size_t size);

}  // namespace tarn::xml
