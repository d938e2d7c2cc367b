// tarn printers: the system printers and the roles the applications print to.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {
namespace {

std::vector<std::string> split(const std::vector<char> &list) {
    std::vector<std::string> names;
    for (const char *p = list.data(); *p; p += names.back().size() + 1) names.emplace_back(p);
    return names;
}

int list_all() {
    std::vector<char> buffer(65536, '\0');
    char printer[256] = "";
    koGetPrinterNameList(buffer.data(), int32_t(buffer.size()));
    std::printf("Printers:\n");
    for (const std::string &p : split(buffer)) std::printf("  %s\n", p.c_str());
    std::fill(buffer.begin(), buffer.end(), '\0');
    koEnumPrinterLogNames(buffer.data(), int32_t(buffer.size()));
    std::printf("Roles:\n");
    for (const std::string &role : split(buffer)) {
        koGetPrinterNameFromLogName(role.c_str(), printer, sizeof printer);
        std::printf("  %s = %s\n", role.c_str(), printer[0] ? printer : "(default printer)");
    }
    std::printf("Copies to \"Durchschlag\": %s\n", koPrinterGetUseCopyDrv() ? "on" : "off");
    return kOk;
}

}  // namespace

int run_printers(const Args &args) {
    const Command &cmd = command("printers");
    if (args.empty()) return list_all();
    if (args[0] == "set") {
        if (args.size() != 3) return usage_error(cmd, "set expects ROLE and PRINTER");
        if (koSetPrinterNameForLogName(args[1].c_str(), args[2].c_str())) return kOk;
        std::fprintf(stderr, "tarn printers: cannot store the printer of %s\n", args[1].c_str());
        return kFailure;
    }
    if (args[0] == "copies") {
        if (args.size() != 2 || (args[1] != "on" && args[1] != "off"))
            return usage_error(cmd, "copies expects on or off");
        if (koPrinterSetUseCopyDrv(args[1] == "on")) return kOk;
        std::fprintf(stderr, "tarn printers: cannot store the copy setting\n");
        return kFailure;
    }
    return usage_error(cmd, "unknown action \"" + args[0] + "\"");
}

}  // namespace tarn_tool
