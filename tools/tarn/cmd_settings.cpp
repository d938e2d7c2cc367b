// tarn settings: profile values by file, section and key, wherever the profile type keeps them.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {

int run_settings(const Args &args) {
    const Command &cmd = command("settings");
    Args words;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--type") {
            if (i + 1 >= args.size()) return usage_error(cmd, "--type needs a value");
            const std::string &t = args[++i];
            if (t.size() != 1 || t[0] < '0' || t[0] > '3')
                return usage_error(cmd, "--type is 0 to 3");
            koSetProfileType(t[0] - '0');
            // An out-of-range type changes nothing and answers the type in force.
            if (koSetProfileType(-2) != t[0] - '0') {
                std::fprintf(stderr, "tarn settings: profile type %s is not available here\n",
                             t.c_str());
                return kFailure;
            }
        } else {
            words.push_back(args[i]);
        }
    }
    // "registry ROOT KEY [NAME]": one string value of any key (NAME missing: the unnamed one),
    // such as the registration entries under HKEY_CLASSES_ROOT.
    if (!words.empty() && words[0] == "registry") {
        if (words.size() < 3 || words.size() > 4) return usage_error(cmd, "registry expects ROOT KEY [NAME]");
        static const struct {
            const char *name, *alias;
            HKEY root;
        } kRoots[] = {{"HKEY_CLASSES_ROOT", "HKCR", HKEY_CLASSES_ROOT},
                      {"HKEY_CURRENT_USER", "HKCU", HKEY_CURRENT_USER},
                      {"HKEY_LOCAL_MACHINE", "HKLM", HKEY_LOCAL_MACHINE},
                      {"HKEY_USERS", "HKU", HKEY_USERS}};
        HKEY root = nullptr;
        for (const auto &r : kRoots)
            if (words[1] == r.name || words[1] == r.alias) root = r.root;
        if (!root) return usage_error(cmd, "unknown root \"" + words[1] + "\"");
        std::vector<char> value(32768, '\0');
        const int32_t found = tarnGetRegString_Ex(root, words[2].c_str(), words.size() == 4 ? words[3].c_str() : nullptr,
                                                  value.data(), uint32_t(value.size()), 0);
        if (found) std::printf("%s\n", value.data());
        return found ? kOk : kFailure;
    }
    if (words.size() < 3) return usage_error(cmd, "expects an action, FILE and SECTION");
    const std::string &action = words[0];
    const char *file = words[1].c_str();
    const char *section = words[2].c_str();
    if (action == "get") {
        if (words.size() != 4) return usage_error(cmd, "get expects KEY");
        std::vector<char> value(32768);
        const char *found = koGetPrivateString(section, words[3].c_str(), "", value.data(),
                                               int32_t(value.size()), file);
        std::printf("%s\n", value.data());
        return found ? kOk : kFailure;
    }
    if (action == "set") {
        if (words.size() != 5) return usage_error(cmd, "set expects KEY and VALUE");
        if (koWritePrivateString(section, words[3].c_str(), words[4].c_str(), file)) return kOk;
        std::fprintf(stderr, "tarn settings: cannot write %s\n", words[3].c_str());
        return kFailure;
    }
    if (action == "delete") {
        if (words.size() > 4) return usage_error(cmd, "delete expects at most KEY");
        const char *key = words.size() == 4 ? words[3].c_str() : nullptr;
        if (koWritePrivateString(section, key, nullptr, file)) return kOk;
        std::fprintf(stderr, "tarn settings: cannot delete\n");
        return kFailure;
    }
    if (action == "list") {
        if (words.size() != 3) return usage_error(cmd, "list expects FILE and SECTION only");
        std::vector<char> names(65536), value(32768);
        koGetPrivateString(section, nullptr, "", names.data(), int32_t(names.size()), file);
        for (const char *n = names.data(); *n; n += std::string(n).size() + 1) {
            koGetPrivateString(section, n, "", value.data(), int32_t(value.size()), file);
            std::printf("%s=%s\n", n, value.data());
        }
        return kOk;
    }
    return usage_error(cmd, "unknown action \"" + action + "\"");
}

}  // namespace tarn_tool
