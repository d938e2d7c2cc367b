// tarn printers: the system printers and the roles the applications print to.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

struct Paper {
    int16_t number;
    const char *name;
};
const Paper kPapers[] = {{DMPAPER_A4, "A4"},
                         {DMPAPER_A3, "A3"},
                         {DMPAPER_A5, "A5"},
                         {DMPAPER_LETTER, "Letter"},
                         {DMPAPER_LEGAL, "Legal"}};

// The stored settings of a role in words: "A3, landscape, 2 copies, two-sided"; "" for none.
std::string describe(const DEVMODEA &m) {
    std::string text;
    auto add = [&](const std::string &part) { text += (text.empty() ? "" : ", ") + part; };
    if (m.dmFields & DM_PAPERSIZE) {
        std::string paper = "paper " + std::to_string(m.dmPaperSize);
        for (const Paper &p : kPapers)
            if (p.number == m.dmPaperSize) paper = p.name;
        add(paper);
    }
    if (m.dmFields & DM_ORIENTATION)
        add(m.dmOrientation == DMORIENT_LANDSCAPE ? "landscape" : "portrait");
    if (m.dmFields & DM_COPIES) add(std::to_string(m.dmCopies) + (m.dmCopies == 1 ? " copy" : " copies"));
    if (m.dmFields & DM_DUPLEX) add(m.dmDuplex > DMDUP_SIMPLEX ? "two-sided" : "one-sided");
    return text;
}

std::string stored_settings(const std::string &role) {
    DEVMODEA *m = koPrinterLoadDevmodeData(role.c_str());
    const std::string text = m ? describe(*m) : "";
    FreeGlobal(m);
    return text;
}

// Applies one NAME=VALUE setting to m; false when it is not one of them.
bool apply(DEVMODEA *m, const std::string &setting) {
    const size_t eq = setting.find('=');
    const std::string name = setting.substr(0, eq), value = eq == std::string::npos ? "" : setting.substr(eq + 1);
    if (name == "paper") {
        for (const Paper &p : kPapers)
            if (value == p.name) {
                m->dmPaperSize = p.number;
                m->dmFields = (m->dmFields | DM_PAPERSIZE) & ~uint32_t(DM_PAPERLENGTH | DM_PAPERWIDTH);
                return true;
            }
        return false;
    }
    if (name == "orientation" && (value == "portrait" || value == "landscape")) {
        m->dmOrientation = value == "landscape" ? DMORIENT_LANDSCAPE : DMORIENT_PORTRAIT;
        m->dmFields |= DM_ORIENTATION;
        return true;
    }
    if (name == "copies") {
        char *end = nullptr;
        const long n = std::strtol(value.c_str(), &end, 10);
        if (value.empty() || *end || n < 1 || n > 999) return false;
        m->dmCopies = int16_t(n);
        m->dmFields |= DM_COPIES;
        return true;
    }
    if (name == "duplex" && (value == "on" || value == "off")) {
        m->dmDuplex = value == "on" ? DMDUP_VERTICAL : DMDUP_SIMPLEX;
        m->dmFields |= DM_DUPLEX;
        return true;
    }
    return false;
}

// Changes the named settings of a role's stored device settings, keeping the rest; "clear"
// removes them. Without settings, prints them.
int settings(const Command &cmd, const Args &args) {
    const std::string &role = args[1];
    if (args.size() == 2) {
        const std::string text = stored_settings(role);
        std::printf("%s\n", text.empty() ? "(the printer's own settings)" : text.c_str());
        return kOk;
    }
    if (args.size() == 3 && args[2] == "clear") {
        if (koPrinterSaveDevmodeData(role.c_str(), nullptr)) return kOk;
        std::fprintf(stderr, "tarn printers: cannot remove the settings of %s\n", role.c_str());
        return kFailure;
    }
    std::vector<uint8_t> bytes(sizeof(DEVMODEA), 0);  // the driver's own bytes stay behind it
    if (DEVMODEA *stored = koPrinterLoadDevmodeData(role.c_str())) {
        const auto *from = reinterpret_cast<const uint8_t *>(stored);
        bytes.assign(from, from + sizeof(DEVMODEA) + stored->dmDriverExtra);
        FreeGlobal(stored);
    }
    auto &mode = *reinterpret_cast<DEVMODEA *>(bytes.data());
    if (mode.dmSize == 0) {
        char printer[256] = "";
        koGetPrinterNameFromLogName(role.c_str(), printer, sizeof printer);
        std::memcpy(mode.dmDeviceName, printer, std::min(std::strlen(printer), sizeof mode.dmDeviceName - 1));
        mode.dmSpecVersion = 0x0401;
        mode.dmSize = uint16_t(sizeof mode);
    }
    for (size_t i = 2; i < args.size(); ++i)
        if (!apply(&mode, args[i])) return usage_error(cmd, "unknown setting \"" + args[i] + "\"");
    if (koPrinterSaveDevmodeData(role.c_str(), &mode)) return kOk;
    std::fprintf(stderr, "tarn printers: cannot store the settings of %s\n", role.c_str());
    return kFailure;
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
        const std::string stored = stored_settings(role);
        std::printf("  %s = %s%s%s%s\n", role.c_str(), printer[0] ? printer : "(default printer)",
                    stored.empty() ? "" : " (", stored.c_str(), stored.empty() ? "" : ")");
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
    if (args[0] == "settings") {
        if (args.size() < 2) return usage_error(cmd, "settings expects ROLE");
        return settings(cmd, args);
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
