// tarn date: what a user types into a date field, read as the applications read it.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {
namespace {

void print_day(const char *typed, int32_t day) {
    char text[32];
    TagzahlToString(text, day);
    if (typed) std::printf("%-12s -> ", typed);
    std::printf("%s  day %d  %s  week %d\n", text, day, WochenTagStrVonTagzahl(day),
                WocheVonTagzahl(day));
}

}  // namespace

int run_date(const Args &args) {
    const Command &cmd = command("date");
    std::string workdate;
    Args texts;
    const char *days = nullptr;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--workdate" || args[i] == "--days") {
            if (i + 1 >= args.size()) return usage_error(cmd, args[i] + " needs a value");
            if (args[i] == "--days") days = args[++i].c_str();
            else workdate = args[++i];
        } else {
            texts.push_back(args[i]);
        }
    }
    if (days) {
        if (!texts.empty() || !workdate.empty()) return usage_error(cmd, "--days stands alone");
        char *end = nullptr;
        const long n = std::strtol(days, &end, 10);
        if (!*days || *end || n < 1 || n > 99999) return usage_error(cmd, "N must be 1 to 99999");
        print_day(nullptr, int32_t(n));
        return kOk;
    }
    if (texts.empty()) return usage_error(cmd, "expects a TEXT to read");
    if (!workdate.empty()) {
        const int32_t d = ld_FromStringEx(workdate.c_str());
        if (d == 0 || workdate.size() != 10)
            return usage_error(cmd, "--workdate must be DD.MM.YYYY");
        ld_SetWorkDate(d);
    }
    char wd[32];
    ld_ToStringEx(wd, ld_Today());
    std::printf("work date %s\n", wd);
    for (const auto &t : texts) {
        char normal[32];
        koFormatDateString(normal, t.c_str());
        const int32_t day = TagzahlFromString(normal);
        if (day == 0) {
            std::printf("%-12s -> %s  (no date)\n", t.c_str(), normal);
            continue;
        }
        print_day(t.c_str(), day);
    }
    return kOk;
}

}  // namespace tarn_tool
