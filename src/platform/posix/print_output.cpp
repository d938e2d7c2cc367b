#include "platform/posix/print_output.h"

#include <cups/cups.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/system.h"

namespace plat {
namespace {

std::string print_folder() {
    const char *dir = std::getenv("TARNGDI_PRINT_DIR");
    std::string folder = dir && *dir ? dir : settings_home() + "/print";
    for (size_t i = 1; i <= folder.size(); ++i)
        if (i == folder.size() || folder[i] == '/') mkdir(folder.substr(0, i).c_str(), 0755);
    struct stat st;
    return stat(folder.c_str(), &st) == 0 && S_ISDIR(st.st_mode) ? folder : std::string();
}

// Control characters and those Windows or Linux refuse in a name.
std::string file_name_of(const std::string &title) {
    std::string name;
    for (unsigned char c : title) name += c < 0x20 || std::strchr("/\\:*?\"<>|", c) ? '_' : char(c);
    // A name of dots alone would name a folder.
    if (name.find_first_not_of('.') == std::string::npos) name = "Dokument" + name;
    return name;
}

// Creates the file exclusively, so that two documents of one name never share it.
bool create_new(const std::string &path) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    close(fd);
    return true;
}

}  // namespace

// The name is made from the document's ANSI bytes as they are.
std::string pdf_file_for(const std::string &title) {
    const std::string folder = print_folder();
    if (folder.empty()) return std::string();
    const std::string stem = folder + "/" + file_name_of(title);
    for (int n = 1; n < 10000; ++n) {
        const std::string path = n == 1 ? stem + ".pdf" : stem + " (" + std::to_string(n) + ").pdf";
        if (create_new(path)) return path;
        if (errno != EEXIST) return std::string();
    }
    return std::string();
}

std::string spool_file_for(const std::string &) {
    const char *tmp = std::getenv("TMPDIR");
    std::string path = std::string(tmp && *tmp ? tmp : "/tmp") + "/tarngdi32-job-XXXXXX.pdf";
    const int fd = mkstemps(&path[0], 4);
    if (fd < 0) return std::string();
    close(fd);
    return path;
}

bool submit_to_cups(const std::string &printer, const std::string &path, const std::string &title,
                    const DEVMODEA *mode) {
    cups_option_t *options = nullptr;
    int n = 0;
    if (mode && (mode->dmFields & DM_COPIES) && mode->dmCopies > 1)
        n = cupsAddOption("copies", std::to_string(mode->dmCopies).c_str(), n, &options);
    if (mode && (mode->dmFields & DM_DUPLEX)) {
        const char *sides = mode->dmDuplex == DMDUP_VERTICAL     ? "two-sided-long-edge"
                            : mode->dmDuplex == DMDUP_HORIZONTAL ? "two-sided-short-edge"
                                                                 : "one-sided";
        n = cupsAddOption("sides", sides, n, &options);
    }
    if (mode && (mode->dmFields & DM_PAPERSIZE)) {
        const char *media = mode->dmPaperSize == DMPAPER_A4       ? "A4"
                            : mode->dmPaperSize == DMPAPER_A3     ? "A3"
                            : mode->dmPaperSize == DMPAPER_A5     ? "A5"
                            : mode->dmPaperSize == DMPAPER_LETTER ? "Letter"
                            : mode->dmPaperSize == DMPAPER_LEGAL  ? "Legal"
                                                                  : nullptr;
        if (media) n = cupsAddOption("media", media, n, &options);
    }
    if (mode && (mode->dmFields & DM_ORIENTATION))
        n = cupsAddOption("orientation-requested",
                          mode->dmOrientation == DMORIENT_LANDSCAPE ? "4" : "3", n, &options);
    const std::string queue = printer.substr(0, printer.find('/'));
    const int job = cupsPrintFile2(CUPS_HTTP_DEFAULT, queue.c_str(), path.c_str(),
                                   title.empty() ? "tarngdi32" : title.c_str(), n, options);
    cupsFreeOptions(n, options);
    return job > 0;
}

}  // namespace plat
