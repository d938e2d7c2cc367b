#include <cerrno>
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "output_file.h"

namespace tarn_tool {

bool read_input(const std::string &path, std::string *data) {
    FILE *f = path == "-" ? stdin : std::fopen(path.c_str(), "rb");
    if (!f) {
        std::fprintf(stderr, "tarn: cannot open %s: %s\n", path.c_str(), std::strerror(errno));
        return false;
    }
    data->clear();
    char buf[65536];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) data->append(buf, n);
    const bool ok = !std::ferror(f);
    if (f != stdin) std::fclose(f);
    if (!ok) std::fprintf(stderr, "tarn: cannot read %s\n", path.c_str());
    return ok;
}

// A file goes to a new name beside the target first and takes its place once complete: a full
// disk leaves the file that was there as it was.
bool write_output(const std::string &path, const std::string &data) {
    const bool toStdout = path == "-";
    const std::string temp = toStdout ? path : temp_name_beside(path);
    const bool direct = toStdout || temp.empty();
    FILE *f = toStdout ? stdout : std::fopen(direct ? path.c_str() : temp.c_str(), "wb");
    if (!f) {
        std::fprintf(stderr, "tarn: cannot create %s: %s\n", path.c_str(), std::strerror(errno));
        return false;
    }
    bool ok = std::fwrite(data.data(), 1, data.size(), f) == data.size();
    ok = (toStdout ? std::fflush(f) : std::fclose(f)) == 0 && ok;
    if (!direct) {
        ok = ok && replace_file(temp, path);
        if (!ok) std::remove(temp.c_str());
    }
    if (!ok) std::fprintf(stderr, "tarn: cannot write %s\n", path.c_str());
    return ok;
}

}  // namespace tarn_tool
