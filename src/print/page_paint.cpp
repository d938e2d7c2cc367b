// One page of a print script painted onto a device: the page's offsets and background drawing,
// then its items read from the file (or from an "Items" list of the index), sorted by place and
// painted in black on the page.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "export.h"
#include "platform/draw.h"
#include "platform/printer.h"
#include "print/print_state.h"
#include "print/script_commands.h"

namespace {

using namespace tarn::print;

constexpr int kPaintLineChars = 4094;
constexpr COLORREF kBlack = 0;

struct Item {
    int32_t x = 0, y = 0, c3 = 0, c4 = 0;  // device units; width and height, or the second corner
    std::string text;                      // the text, file name or colour
    std::vector<uint8_t> data;             // drawing data of a "GDI" item
    ItemKind kind = kLeftText;
    std::string font;
};

struct PageReader {
    XML_Node *vars = nullptr, *fonts = nullptr;
    koPrtEvalProc eval = nullptr;
    int dpiX = 0, dpiY = 0;
    std::string font = kDefaultFontSpec;
    std::vector<Item> items;
};

std::string value_of(XML_Node *node, const char *name) {
    char buffer[4096] = "";
    if (!node || !koXML_GetValueByName(node, name, buffer, sizeof buffer)) return std::string();
    return buffer;
}

// An empty text (a page without offsets) is 0 without asking the evaluator.
int32_t dots(const PageReader &r, const std::string &text, bool across) {
    if (text.empty()) return 0;
    const double cm = r.eval(r.vars, text.c_str());
    return centimetres_to_dots(cm, across ? r.dpiX : r.dpiY);
}

// "FONT n;" selects the font defined under that number; one never defined is the default.
void select_font(PageReader &r, const std::string &args) {
    const std::string number = args.substr(0, args.find(';'));
    XML_Node *defined = r.fonts && !number.empty() ? koXML_GetChildByName(r.fonts, number.c_str())
                                                   : nullptr;
    char spec[256] = "";
    if (defined) koXML_GetValue(defined, spec, sizeof spec);
    r.font = std::string(spec[0] ? spec : kDefaultFontSpec).substr(0, kFontSpecChars);
}

// "x;y;c3;c4;rest": four coordinates (the fourth may end the line) and the rest of the line;
// fewer than four coordinates make no item.
bool add_item(PageReader &r, Command c, const std::string &args) {
    size_t at[4], from = 0;
    int found = 0;
    for (; found < 4; ++found) {
        const size_t semi = args.find(';', from);
        if (semi == std::string::npos) break;
        at[found] = semi;
        from = semi + 1;
    }
    if (found < 3) return false;
    const size_t end3 = found == 4 ? at[3] : args.size();
    Item item;
    item.kind = item_kind(c);
    item.x = dots(r, args.substr(0, at[0]), true);
    item.y = dots(r, args.substr(at[0] + 1, at[1] - at[0] - 1), false);
    item.c3 = dots(r, args.substr(at[1] + 1, at[2] - at[1] - 1), true);
    item.c4 = dots(r, args.substr(at[2] + 1, end3 - at[2] - 1), false);
    if (found == 4) item.text = args.substr(at[3] + 1);
    item.font = r.font;
    r.items.push_back(std::move(item));
    return true;
}

// One command line of the page; false when it ends the page. `collected` counts item lines.
bool take_line(PageReader &r, const std::string &word, const std::string &args, XML_Node *node,
               int *collected) {
    const Command c = command_of(word);
    switch (c) {
    case Command::EndPage:
    case Command::EndJob: return false;
    case Command::Font: select_font(r, args); return true;
    case Command::NewFont: r.font = args.substr(0, kFontSpecChars); return true;
    case Command::Gdi: {
        ++*collected;
        // Drawing data exists only in an item list: the bytes behind a script line are skipped.
        XML_Node *output = node ? koXML_GetChildByName(node, "Output") : nullptr;
        const int32_t size = output ? koXML_GetBinValue(output, nullptr, 0) : 0;
        if (size > 0) {
            Item item;
            item.kind = kDrawingData;
            item.data.resize(size_t(size));
            koXML_GetBinValue(output, item.data.data(), size);
            r.items.push_back(std::move(item));
        }
        return true;
    }
    default:
        if (is_item(c)) {
            ++*collected;
            add_item(r, c, args);
        }
        return true;
    }
}

void read_items_from_file(PageReader &r, HANDLE file, int count) {
    std::string line, word, args;
    int collected = 0;
    ScriptReader reader(file);
    while (collected < count && reader.next(&line, kPaintLineChars)) {
        split_command(line, &word, &args);
        if (word == "GDI") reader.skip(embedded_bytes(args));
        if (!take_line(r, word, args, nullptr, &collected)) break;
    }
}

void read_items_from_list(PageReader &r, XML_Node *list, int count) {
    int collected = 0;
    for (XML_Node *n = koXML_GetFirstChild(list); n && collected < count; n = koXML_GetNext(n)) {
        char args[kPaintLineChars + 1] = "";
        koXML_GetValue(n, args, sizeof args);
        if (!take_line(r, koXML_GetName(n), args, n, &collected)) break;
    }
}

// The five texts that are lines: "\" nothing, "\-" through the middle, "\_" along the bottom,
// "\=" at a third and at half the height, "\|" down the middle.
bool paint_line_text(HDC dc, const std::string &text, int l, int t, int r, int b) {
    if (text.empty() || text[0] != '\\' || text.size() > 2) return false;
    const char what = text.size() == 2 ? text[1] : '\0';
    switch (what) {
    case '\0': return true;
    case '-': plat::draw_line(dc, l, (t + b) / 2, r, (t + b) / 2, kBlack, 0); return true;
    case '_': plat::draw_line(dc, l, b, r, b, kBlack, 0); return true;
    case '=':
        plat::draw_line(dc, l, t + (b - t) / 3, r, t + (b - t) / 3, kBlack, 0);
        plat::draw_line(dc, l, t + (b - t) / 2, r, t + (b - t) / 2, kBlack, 0);
        return true;
    case '|': plat::draw_line(dc, (l + r) / 2, t, (l + r) / 2, b, kBlack, 0); return true;
    default: return false;
    }
}

// A page uses a handful of fonts for many texts: each is read and measured once.
struct Fonts {
    struct Measured {
        plat::FontSpec font;
        int height;
    };
    std::map<std::string, Measured> known;

    const Measured &of(HDC dc, const std::string &spec) {
        auto at = known.find(spec);
        if (at == known.end()) {
            const plat::FontSpec font = parse_font_spec(spec);
            at = known.emplace(spec, Measured{font, plat::text_height(dc, font)}).first;
        }
        return at->second;
    }
};

void paint_text(HDC dc, const Item &item, Fonts &fonts) {
    const Fonts::Measured &m = fonts.of(dc, item.font);
    const plat::FontSpec &font = m.font;
    const int right = item.x + item.c3;
    const int bottom = std::max(item.y + item.c4, item.y + m.height);
    if (paint_line_text(dc, item.text, item.x, item.y, right, bottom)) return;
    const plat::TextAlign align = item.kind == kRightText      ? plat::kAlignRight
                                  : item.kind == kCenteredText ? plat::kAlignCenter
                                                               : plat::kAlignLeft;
    plat::draw_text(dc, item.x, item.y, right, bottom, item.text.c_str(), font, kBlack, align);
}

// Whether the file holds a device-independent bitmap ("BM" first).
bool is_bitmap_file(const std::string &file) {
    HANDLE h = X_Open(file.c_str(), 0);
    if (h == TARN_INVALID_HANDLE) return false;
    char magic[2] = {0, 0};
    const bool bitmap = X_Read(h, magic, 2) == 2 && magic[0] == 'B' && magic[1] == 'M';
    X_Close(h);
    return bitmap;
}

// White draws nothing; a colour up to 0xFFFFFF fills the box one unit wider and higher; a set
// top byte asks for rows fading from the colour towards white.
void paint_fill(HDC dc, const Item &item) {
    const uint32_t c = uint32_t(std::strtoull(item.text.c_str(), nullptr, 10));
    if ((c & 0xFFFFFF) == 0xFFFFFF) return;
    const int right = item.x + item.c3 + 1;
    if (c <= 0xFFFFFF) {
        plat::fill_box(dc, item.x, item.y, right, item.y + item.c4 + 1, COLORREF(c));
        return;
    }
    const int rows = item.c4 + 2;
    for (int i = 0; i < rows; ++i) {
        COLORREF row = 0;
        for (int shift = 0; shift <= 16; shift += 8) {
            const int channel = int((c >> shift) & 0xFF);
            row |= COLORREF(channel + i * (255 - channel) / rows) << shift;
        }
        plat::fill_box(dc, item.x, item.y + i, right, item.y + i + 1, row);
    }
}

void paint_item(HDC dc, const Item &item, Fonts &fonts) {
    switch (item.kind) {
    case kLeftText:
    case kRightText:
    case kCenteredText: paint_text(dc, item, fonts); break;
    case kPicture:
        plat::draw_picture(dc, item.x, item.y, item.x + item.c3, item.y + item.c4,
                           item.text.c_str(),
                           is_bitmap_file(item.text) ? plat::kStretch : plat::kKeepAspect);
        break;
    case kBitmap:
        if (is_bitmap_file(item.text))
            plat::draw_picture(dc, item.x, item.y, item.x + item.c3, item.y + item.c4,
                               item.text.c_str(), plat::kStretch);
        break;
    case kRectangle:
        plat::draw_line(dc, item.x, item.y, item.c3, item.y, kBlack, 0);
        plat::draw_line(dc, item.x, item.y, item.x, item.c4, kBlack, 0);
        plat::draw_line(dc, item.c3, item.y, item.c3, item.c4, kBlack, 0);
        plat::draw_line(dc, item.x, item.c4, item.c3, item.c4, kBlack, 0);
        break;
    case kLine: plat::draw_line(dc, item.x, item.y, item.c3, item.c4, kBlack, 0); break;
    case kFill: paint_fill(dc, item); break;
    case kDrawingData: plat::draw_drawing_data(dc, item.data.data(), item.data.size()); break;
    }
}

// By y, then x; at the same place everything else before texts; otherwise in script order.
void sort_items(std::vector<Item> &items) {
    std::stable_sort(items.begin(), items.end(), [](const Item &a, const Item &b) {
        if (a.y != b.y) return a.y < b.y;
        if (a.x != b.x) return a.x < b.x;
        return (a.kind > kCenteredText) && !(b.kind > kCenteredText);
    });
}

}  // namespace

TARN_API int32_t TARN_CALL koPrinterPageToDevice(HDC dc, HANDLE file, XML_Node *index,
                                                 XML_Node *page) {
    if (!dc || !index || !page) return 0;
    PageReader r;
    r.vars = koXML_GetChildByName(index, "Vars");
    r.fonts = koXML_GetChildByName(index, "Fonts");
    r.eval = current_eval();
    r.dpiX = plat::device_caps(dc, plat::kCapDpiX);
    r.dpiY = plat::device_caps(dc, plat::kCapDpiY);
    int32_t x = dots(r, value_of(page, "XOffset"), true);
    int32_t y = dots(r, value_of(page, "YOffset"), false);
    if (std::atoi(value_of(page, "CalcBorder").c_str()) != 0) {
        x -= plat::device_caps(dc, plat::kCapOffsetX);
        y -= plat::device_caps(dc, plat::kCapOffsetY);
    }
    int oldX = 0, oldY = 0;
    plat::get_origin(dc, &oldX, &oldY);
    plat::set_origin(dc, oldX + x, oldY + y);
    const std::string background = value_of(page, "BkFile");
    if (!background.empty()) plat::draw_drawing_file(dc, background.c_str());

    if (XML_Node *list = koXML_GetChildByName(page, "Items")) {
        read_items_from_list(r, list, std::atoi(value_of(list, "Count").c_str()));
    } else if (file != TARN_INVALID_HANDLE && file != nullptr &&
               X_Seek(file, std::atoi(value_of(page, "Offset").c_str()), 0) >= 0) {
        read_items_from_file(r, file, std::atoi(value_of(page, "Count").c_str()));
    }
    if (std::atoi(value_of(page, "NoSort").c_str()) == 0 && r.items.size() > 1)
        sort_items(r.items);
    Fonts fonts;
    for (const Item &item : r.items) paint_item(dc, item, fonts);
    plat::set_origin(dc, oldX, oldY);
    return 1;
}
