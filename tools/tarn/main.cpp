// tarn: the library's services on the command line.
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {

const std::vector<Command> &commands() {
    static const std::vector<Command> list = {
        {"ansi2oem", "convert a text file from the ANSI to the OEM code page",
         "usage: tarn ansi2oem IN OUT\n"
         "Converts IN (ANSI code page) to OUT (OEM code page) through the library's\n"
         "conversion tables or code pages. \"-\" stands for standard input or output.\n",
         run_ansi2oem},
        {"oem2ansi", "convert a text file from the OEM to the ANSI code page",
         "usage: tarn oem2ansi IN OUT\n"
         "Converts IN (OEM code page, as DOS-era data files use it) to OUT (ANSI code page).\n"
         "\"-\" stands for standard input or output.\n",
         run_oem2ansi},
        {"winerror", "print the name of a Windows error code",
         "usage: tarn winerror CODE\n"
         "Prints \"[CODE] NAME\" for a Windows system error code (decimal or 0x hexadecimal).\n",
         run_winerror},
        {"date", "read typed dates against a work date; dates of day numbers",
         "usage: tarn date [--workdate DD.MM.YYYY] TEXT...\n"
         "       tarn date --days N\n"
         "Reads each TEXT as a date field does (\"h\" today, \"m\" tomorrow, \"g\" yesterday,\n"
         "\"+14\", \"-7\", \"31.2\", \"12/25\", \"1.1.79\") against the work date (default: today)\n"
         "and prints the date, its day number (1 = 01.01.1900), weekday and week number.\n"
         "With --days, prints the date of day number N.\n",
         run_date},
        {"settings", "read and write profile settings",
         "usage: tarn settings [--type 0..3] get FILE SECTION KEY\n"
         "       tarn settings [--type 0..3] set FILE SECTION KEY VALUE\n"
         "       tarn settings [--type 0..3] delete FILE SECTION [KEY]\n"
         "       tarn settings [--type 0..3] list FILE SECTION\n"
         "Profile values as the applications keep them. --type chooses the store: 0 registry of\n"
         "the default user, 1 of the current user, 2 INI files per computer and user, 3 shared\n"
         "INI files. Without it, the type the library settles on at start. \"get\" exits with 1\n"
         "when a registry value is missing (the default, an empty text, is printed).\n",
         run_settings},
    };
    return list;
}

const Command &command(const char *name) {
    for (const auto &c : commands())
        if (std::strcmp(c.name, name) == 0) return c;
    return commands().front();
}

int usage_error(const Command &cmd, const std::string &message) {
    std::fprintf(stderr, "tarn %s: %s\n%s", cmd.name, message.c_str(), cmd.usage);
    return kUsage;
}

bool wants_help(const Args &args) {
    for (const auto &a : args)
        if (a == "--help" || a == "-h") return true;
    return false;
}

}  // namespace tarn_tool

namespace {

void print_help(FILE *to) {
    std::fprintf(to,
                 "usage: tarn COMMAND [ARGS...]\n"
                 "       tarn --help | --version\n"
                 "       tarn COMMAND --help\n\ncommands:\n");
    for (const auto &c : tarn_tool::commands()) std::fprintf(to, "  %-10s %s\n", c.name, c.summary);
}

}  // namespace

int main(int argc, char **argv) {
    using namespace tarn_tool;
    set_binary_stdio();
    if (argc < 2) {
        print_help(stderr);
        return kUsage;
    }
    const std::string first = argv[1];
    if (first == "--help" || first == "-h") {
        print_help(stdout);
        return kOk;
    }
    if (first == "--version") {
        std::printf("tarn %s (tarngdi32)\n", TARN_VERSION_TEXT);
        return kOk;
    }
    for (const auto &c : commands()) {
        if (first != c.name) continue;
        Args args(argv + 2, argv + argc);
        if (wants_help(args)) {
            std::fputs(c.usage, stdout);
            return kOk;
        }
        return c.run(args);
    }
    std::fprintf(stderr, "tarn: unknown command \"%s\"\n", first.c_str());
    print_help(stderr);
    return kUsage;
}
