#include "xml/xml_output.h"

#include <cstring>

#include "platform/files.h"
#include "platform/last_error.h"
#include "xml/xml_tree.h"

namespace tarn::xml {

OutputFile::~OutputFile() { release(); }

void OutputFile::release() {
    if (file_) {
        file_->lpVtbl->Release(file_);
        file_ = nullptr;
    }
    FreeGlobal(work_);
    work_ = nullptr;
}

bool OutputFile::create(const char *name) {
    name_ = name;
    work_ = static_cast<char *>(AllocGlobal(kWorkBufferSize));
    file_ = CreateIXFileCached();
    if (!work_ || !file_ || !name) {
        release();
        return false;
    }
    if (plat::replaceable_path(name)) {
        temp_ = new_file_beside(name);
        // A folder that takes no new file: the file itself is written, as it always was.
        if (temp_.empty() && plat::last_error() != kAccessDenied) {
            release();
            return false;
        }
    } else {
        device_ = true;
    }
    if (!file_->lpVtbl->Create(file_, temp_.empty() ? name : temp_.c_str())) {
        if (!temp_.empty()) plat::delete_file(temp_.c_str());
        release();
        return false;
    }
    return true;
}

// Made exclusively, so that nothing planted under the name is written through; a name taken
// already is passed over.
std::string OutputFile::new_file_beside(const char *name) {
    for (int attempt = 0; attempt < 16; ++attempt) {
        std::string temp = plat::sibling_temp_name(name);
        plat::FileOpen how;
        how.write = true;
        how.create = plat::kCreateNew;
        const HANDLE h = plat::file_open(temp.c_str(), how);
        if (h != TARN_INVALID_HANDLE) {
            plat::file_close(h);
            return temp;
        }
        if (plat::last_error() != kFileExists) break;
    }
    return std::string();
}

// WriteLine answers for the line end alone: a text that was lost would pass for written.
bool OutputFile::line(const char *text) {
    return write(text, std::strlen(text)) && file_->lpVtbl->Write(file_, "\r\n", 2) != 0;
}

bool OutputFile::write(const char *text, size_t count) {
    return count == 0 || file_->lpVtbl->Write(file_, text, int32_t(count)) != 0;
}

int32_t OutputFile::finish(bool written) {
    // The cached blocks reach the disk at Close: a failure there is a failed write too.
    const bool closed = file_->lpVtbl->Close(file_) != 0;
    release();
    if (temp_.empty()) {
        // Written directly: a partly written file goes, a device stays.
        if (written && closed) return 1;
        if (!device_) plat::delete_file(name_);
        return 0;
    }
    if (written && closed && plat::replace_file(temp_.c_str(), name_)) return 1;
    plat::delete_file(temp_.c_str());
    return 0;
}

size_t subtree_height(const XML_Node *top) {
    size_t depth = 0, height = 0;
    const XML_Node *n = top;
    for (;;) {
        if (const XML_Node *down = first_child_of(n)) {
            n = down;
            if (++depth > height) height = depth;
            continue;
        }
        while (n != top && !next_sibling_of(n)) {
            n = parent_of(n);
            --depth;
        }
        if (n == top) return height;
        n = next_sibling_of(n);
    }
}

size_t read_raw_value(const XML_Node *node, char *out, size_t size) {
    const int32_t got = read_value(node, out, int32_t(size));
    return got > 0 ? size_t(got) : 0;
}

}  // namespace tarn::xml
