// Copying files, one or by wildcard, with the replace questions and error boxes the
// applications' users know. The flags word is the caller's and carries the answers from one
// file to the next.
#include <cstdint>
#include <cstring>
#include <string>

#include "export.h"
#include "lib/ui.h"
#include "platform/files.h"
#include "platform/system.h"

namespace {

constexpr uint32_t kBoxOk = 0, kBoxOkCancel = 1, kBoxYesNoCancel = 3, kBoxYesNo = 4;
constexpr int32_t kAnswerOk = 1, kAnswerCancel = 2, kAnswerYes = 6, kAnswerNo = 7;

constexpr uint32_t kInvalidAttributes = 0xFFFFFFFFu;

// Shows a box, and sets the cancelled bit when the user cancels.
int32_t ask(HWND parent, const char *text, const char *caption, uint32_t type, int32_t unattended,
            uint32_t *flags) {
    const int32_t answer = tarn::ui::message_box(parent, text, caption, type, unattended);
    if (answer == kAnswerCancel) *flags |= TARN_COPY_CANCEL;
    return answer;
}

class TransferBuffer {
public:
    TransferBuffer() : heap_(static_cast<char *>(AllocGlobal(4096))) {}
    ~TransferBuffer() { FreeGlobal(heap_); }
    TransferBuffer(const TransferBuffer &) = delete;
    TransferBuffer &operator=(const TransferBuffer &) = delete;
    char *data() { return heap_ ? heap_ : small_; }
    uint16_t size() const { return heap_ ? 4096 : sizeof small_; }

private:
    char *heap_;
    char small_[128];
};

// What to do with a target that exists already.
enum class Existing { kCopy, kKept, kNotCopied };

Existing settle_existing_target(HWND parent, const char *target, uint32_t *flags) {
    if (!(*flags & TARN_COPY_REPLACE)) {
        if (!(*flags & TARN_COPY_ASK)) return Existing::kNotCopied;
        // Unattended: OK, the target stays and the work goes on.
        ask(parent, target, "Datei existiert bereits.", kBoxOkCancel, kAnswerOk, flags);
        return Existing::kNotCopied;
    }
    if (*flags & TARN_COPY_ASK) {
        // Unattended: No, the target stays.
        const int32_t replace =
            ask(parent, target, "Datei ersetzen.", kBoxYesNoCancel, kAnswerNo, flags);
        if (replace == kAnswerCancel) return Existing::kNotCopied;
        if (replace != kAnswerYes) {
            // Unattended: Yes, every further target stays as well.
            if (ask(parent, "Wollen Sie alle weiteren Dateien ebenfalls behalten ?", "Fortsetzen",
                    kBoxYesNo, kAnswerYes, flags) == kAnswerYes)
                *flags &= ~(TARN_COPY_REPLACE | TARN_COPY_ASK);
            return Existing::kKept;
        }
        // Unattended: No, further targets are asked about again.
        if (ask(parent, "Wollen Sie alle weiteren Dateien ebenfalls ersetzen ?", "Fortsetzen",
                kBoxYesNo, kAnswerNo, flags) == kAnswerYes)
            *flags &= ~TARN_COPY_ASK;
    }
    plat::set_file_attributes(target, plat::kAttrNormal);
    return Existing::kCopy;
}

// The target folder as the start of a target name: the folder plus the separator unless it ends
// with a backslash or ":" (or this system's own separator). An empty folder gets the separator too, so
// its targets name the root.
std::string target_prefix(std::string folder) {
    const char last = folder.empty() ? '\0' : folder.back();
    if (last != '\\' && last != ':' && last != plat::path_separator())
        folder += plat::path_separator();
    return folder;
}

}  // namespace

TARN_API int32_t TARN_CALL koCopySingleFile(HWND parent, const char *source, const char *target,
                                            uint32_t attributeMask, uint32_t *flags) {
    // Without a flags word the copy neither reports, replaces nor asks.
    uint32_t none = 0;
    if (!flags) flags = &none;
    TransferBuffer buffer;
    if (*flags & TARN_COPY_CANCEL) return 0;
    if (!source || !target) return 0;

    if (plat::file_attributes(target) != kInvalidAttributes) {
        switch (settle_existing_target(parent, target, flags)) {
        case Existing::kNotCopied: return 0;
        case Existing::kKept: return 1;
        case Existing::kCopy: break;
        }
    }

    const HANDLE from = X_Open(source, 0);
    if (from == TARN_INVALID_HANDLE && (*flags & TARN_COPY_REPORT)) {
        // Unattended: OK, this file is left out and the others go on.
        ask(parent, source, "Datei nicht offen.", kBoxOkCancel, kAnswerOk, flags);
        return 0;
    }
    const HANDLE to = X_Creat(target);
    if (to == TARN_INVALID_HANDLE) {
        if (from != TARN_INVALID_HANDLE) X_Close(from);
        // Unattended: OK, this file is left out and the others go on.
        if (*flags & TARN_COPY_REPORT)
            ask(parent, target, "Datei nicht erstellbar.", kBoxOkCancel, kAnswerOk, flags);
        return 0;
    }

    if (from == TARN_INVALID_HANDLE) {
        // An unreadable source that nobody wanted to hear about leaves an empty target.
        X_Close(to);
        return 1;
    }
    for (;;) {
        const int16_t got = X_Read(from, buffer.data(), buffer.size());
        if (got <= 0) break;
        if (X_Write(to, buffer.data(), uint16_t(got)) < got) {
            *flags |= TARN_COPY_CANCEL;
            // Only OK to press; the copy is over either way.
            tarn::ui::message_box(parent, target, "Fehler beim schreiben.", kBoxOk, kAnswerOk);
            X_Close(from);
            X_Close(to);
            return 0;
        }
    }

    plat::FileTimes times;
    if (plat::file_times(from, &times)) plat::set_file_times(to, times);
    X_Close(from);
    X_Close(to);
    plat::set_file_attributes(target, plat::file_attributes(source) & attributeMask);
    return 1;
}

TARN_API int32_t TARN_CALL koCopyFileEx(HWND parent, const char *pattern, uint32_t includeMask,
                                        const char *folder, uint32_t attributeMask,
                                        uint32_t *flags) {
    uint32_t none = 0;
    if (!flags) flags = &none;
    // Cancelling is sticky: a call after it does nothing, as each single copy would.
    if (*flags & TARN_COPY_CANCEL) return 0;
    if (!pattern) return 1;

    char full[512];
    char *filePart = nullptr;
    // A full path that does not fit answers with the length it needs and leaves the buffer as it
    // was: nothing to enumerate, as when nothing matched.
    const int n = plat::full_path(pattern, full, int(sizeof full), &filePart);
    if (n <= 0 || n >= int(sizeof full)) return 1;
    const std::string sourceFolder(full, filePart ? size_t(filePart - full) : std::strlen(full));
    const std::string targetFolder = target_prefix(folder ? folder : "");

    for (const plat::FoundFile &match : plat::find_files(full)) {
        const uint32_t a = match.attributes;
        if (a & (plat::kAttrDirectory | plat::kAttrTemporary)) continue;
        if ((a & plat::kAttrSystem) && !(includeMask & plat::kAttrSystem)) continue;
        if ((a & plat::kAttrHidden) && !(includeMask & plat::kAttrHidden)) continue;
        const std::string source = sourceFolder + match.name;
        const std::string target = targetFolder + match.name;
        koCopySingleFile(parent, source.c_str(), target.c_str(), attributeMask, flags);
        if (*flags & TARN_COPY_CANCEL) return 0;
    }
    return 1;
}
