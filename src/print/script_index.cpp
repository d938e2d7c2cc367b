// The index of a print script: one pass over the file that records the job, its variables and
// fonts, and for every page where its lines start and what the page asks for.
#include <cstdlib>
#include <string>

#include "export.h"
#include "print/print_state.h"
#include "print/script_commands.h"

namespace {

using namespace tarn::print;

constexpr int kIndexLineChars = 2048;

void set_number(XML_Node *node, const char *name, long long value) {
    koXML_SetValueByName(node, name, std::to_string(value).c_str());
}

// "Name=Value;" pairs, each kept under Vars.
void store_vars(XML_Node *vars, const std::string &args) {
    size_t from = 0;
    while (from < args.size()) {
        size_t end = args.find(';', from);
        if (end == std::string::npos) end = args.size();
        const std::string pair = args.substr(from, end - from);
        const size_t eq = pair.find('=');
        if (eq != std::string::npos && eq > 0)
            koXML_SetValueByName(vars, pair.substr(0, eq).c_str(), pair.substr(eq + 1).c_str());
        from = end + 1;
    }
}

// "number;spec;" defines a font; "number;" alone selects one and is no business of the index.
void store_font(XML_Node *fonts, const std::string &args) {
    const size_t semi = args.find(';');
    if (semi == std::string::npos || semi == 0) return;
    std::string spec = args.substr(semi + 1);
    if (!spec.empty() && spec.back() == ';') spec.pop_back();
    if (!spec.empty()) koXML_SetValueByName(fonts, args.substr(0, semi).c_str(), spec.c_str());
}

}  // namespace

TARN_API XML_Node *TARN_CALL koPrinterOpenXML(HANDLE file) {
    if (file == TARN_INVALID_HANDLE || file == nullptr) return nullptr;
    XML_Node *root = koXML_CreateTree(kDefaultJobNode, nullptr);
    if (!root) return nullptr;
    XML_Node *vars = koXML_AddChildLast(root, "Vars");
    XML_Node *fonts = koXML_AddChildLast(root, "Fonts");
    XML_Node *pages = koXML_AddChildLast(root, "Pages");
    if (!vars || !fonts || !pages) {
        koXML_ReleaseTree(root);
        return nullptr;
    }
    std::string line, word, args, printer = kStandardRole;
    XML_Node *page = nullptr;
    long long pageCount = 0, items = 0;
    ScriptReader reader(file);
    while (reader.next(&line, kIndexLineChars)) {
        split_command(line, &word, &args);
        const Command c = command_of(word);
        if (c == Command::EndJob) break;
        if (c == Command::Gdi) reader.skip(embedded_bytes(args));
        switch (c) {
        case Command::StartJob: koXML_SetName(root, args.c_str()); continue;
        case Command::Vars: store_vars(vars, args); continue;
        case Command::Font: store_font(fonts, args); continue;
        case Command::DeviceMap: koXML_SetValueByName(root, "DeviceMap", args.c_str()); continue;
        case Command::Device:
            printer = args.empty() ? kStandardRole : args;
            if (page) koXML_SetValueByName(page, "Drucker", printer.c_str());
            continue;
        case Command::StartPage:
            page = koXML_AddChildLast(pages, "Page");
            if (!page) break;
            items = 0;
            set_number(page, "Nr", ++pageCount);
            set_number(page, "Offset", reader.position());
            set_number(page, "Count", 0);
            koXML_SetValueByName(page, "Drucker", printer.c_str());
            koXML_SetValueByName(page, "BkBmp", "");
            continue;
        default: break;
        }
        if (!page) continue;  // page settings and items before the first page belong to none
        switch (c) {
        case Command::DspBk: koXML_SetValueByName(page, "BkBmp", args.c_str()); break;
        case Command::BkFile: koXML_SetValueByName(page, "BkFile", args.c_str()); break;
        case Command::XOffset: koXML_SetValueByName(page, "XOffset", args.c_str()); break;
        case Command::YOffset: koXML_SetValueByName(page, "YOffset", args.c_str()); break;
        case Command::NoSort: koXML_SetValueByName(page, "NoSort", "1"); break;
        case Command::CalcBorder: koXML_SetValueByName(page, "CalcBorder", "1"); break;
        default:
            if (is_item(c)) set_number(page, "Count", ++items);
            break;
        }
    }
    return root;
}
