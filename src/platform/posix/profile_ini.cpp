#include "platform/posix/profile_ini.h"

#include <cstring>

namespace plat {
namespace ini {
namespace {

constexpr size_t npos = std::string::npos;

unsigned char fold(unsigned char c) {
    if (c >= 'A' && c <= 'Z') return static_cast<unsigned char>(c + 32);
    // The capitals of page 1252: À..Þ without the multiplication sign, and Š Œ Ž Ÿ.
    if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return static_cast<unsigned char>(c + 32);
    switch (c) {
    case 0x8A: return 0x9A;
    case 0x8C: return 0x9C;
    case 0x8E: return 0x9E;
    case 0x9F: return 0xFF;
    default: return c;
    }
}

// [begin, end) of `s` without blanks on either side.
void trim(const std::string &s, size_t &begin, size_t &end) {
    while (begin < end && is_blank(static_cast<unsigned char>(s[begin]))) ++begin;
    while (end > begin && is_blank(static_cast<unsigned char>(s[end - 1]))) --end;
}

}  // namespace

// ^Z counts as a blank: old DOS editors left it at the end of files.
bool is_blank(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r') || c == 0x1A; }

bool same_name(const char *a, size_t alen, const char *b, size_t blen) {
    if (alen != blen) return false;
    for (size_t i = 0; i < alen; ++i)
        if (fold(static_cast<unsigned char>(a[i])) != fold(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

// Windows trims only blanks from the names a caller passes: a tab is part of the name.
std::string trimmed(const char *s) {
    const std::string t(s ? s : "");
    size_t b = 0, e = t.size();
    while (b < e && t[b] == ' ') ++b;
    while (e > b && t[e - 1] == ' ') --e;
    return t.substr(b, e - b);
}

Text::Text(const std::string &bytes) {
    size_t at = 0;
    if (bytes.compare(0, 3, "\xEF\xBB\xBF") == 0) {
        bom_ = bytes.substr(0, 3);
        at = 3;
    }
    // A line ends at CR LF, LF or a CR alone (files from old Macintosh editors).
    while (at < bytes.size()) {
        size_t end = bytes.find_first_of("\r\n", at);
        if (end == npos) end = bytes.size();
        lines_.push_back(classify(bytes.substr(at, end - at)));
        at = end;
        if (at < bytes.size())
            at += bytes.compare(at, 2, "\r\n") == 0 ? 2 : 1;
    }
}

Text::Line Text::classify(std::string raw) {
    Line line;
    line.raw = std::move(raw);
    const std::string &s = line.raw;
    // A NUL byte ends the text of its line; what follows it on that line is not read.
    size_t b = 0, e = std::strlen(s.c_str());
    trim(s, b, e);
    if (b == e) return line;
    if (s[b] == '[') {
        // The name ends at the first "]"; without one it is the rest of the line.
        const size_t close = s.find(']', b + 1);
        size_t nb = b + 1, ne = close != npos && close < e ? close : e;
        trim(s, nb, ne);
        line.kind = Kind::header;
        line.name_at = nb;
        line.name_len = ne - nb;
        return line;
    }
    line.kind = Kind::entry;
    line.comment = s[b] == ';';
    const size_t eq = s.find('=', b);
    size_t ne = eq != npos && eq < e ? eq : e;
    size_t nb = b;
    trim(s, nb, ne);
    line.name_at = nb;
    line.name_len = ne - nb;
    if (eq != npos && eq < e) {
        size_t vb = eq + 1, ve = e;
        trim(s, vb, ve);
        line.has_value = true;
        line.value_at = vb;
        line.value_len = ve - vb;
    }
    return line;
}

bool Text::name_is(const Line &line, const std::string &name) const {
    return same_name(line.raw.data() + line.name_at, line.name_len, name.data(), name.size());
}

// Lines before the first header belong to no section: no name reaches them, while "" names a
// "[]" header.
size_t Text::find_section(const std::string &section) const {
    for (size_t i = 0; i < lines_.size(); ++i)
        if (lines_[i].kind == Kind::header && name_is(lines_[i], section)) return i;
    return npos;
}

size_t Text::section_end(size_t header) const {
    size_t i = header + 1;
    while (i < lines_.size() && lines_[i].kind != Kind::header) ++i;
    return i;
}

size_t Text::find_key(size_t header, const std::string &key) const {
    const size_t end = section_end(header);
    // A comment line is no key, whatever name a caller asks for.
    for (size_t i = header + 1; i < end; ++i)
        if (lines_[i].kind == Kind::entry && !lines_[i].comment && name_is(lines_[i], key))
            return i;
    return npos;
}

bool Text::value(const char *section, const char *key, std::string *out) const {
    const size_t header = find_section(trimmed(section));
    if (header == npos) return false;
    const size_t at = find_key(header, trimmed(key));
    if (at == npos || !lines_[at].has_value) return false;
    const Line &line = lines_[at];
    out->assign(line.raw, line.value_at, line.value_len);
    return true;
}

std::vector<std::string> Text::section_names() const {
    std::vector<std::string> names;
    for (const Line &line : lines_)
        if (line.kind == Kind::header && line.name_len > 0)
            names.emplace_back(line.raw, line.name_at, line.name_len);
    return names;
}

std::vector<std::string> Text::key_names(const char *section) const {
    std::vector<std::string> names;
    // The section name is trimmed here as for single values, so " A " lists the keys of [A].
    const size_t header = find_section(trimmed(section));
    if (header == npos) return names;
    const size_t end = section_end(header);
    for (size_t i = header + 1; i < end; ++i) {
        const Line &line = lines_[i];
        // An empty name would read as the end of the list, so such a key is not listed.
        if (line.kind == Kind::entry && line.has_value && !line.comment && line.name_len > 0)
            names.emplace_back(line.raw, line.name_at, line.name_len);
    }
    return names;
}

bool Text::set(const char *section, const char *key, const char *value) {
    // The value is written as given; readers trim it.
    const std::string sec = trimmed(section), name = trimmed(key);
    const char *v = value;

    const size_t header = find_section(sec);
    if (header == npos) {
        lines_.push_back(classify("[" + sec + "]"));
        lines_.push_back(classify(name + "=" + v));
        return true;
    }
    const size_t at = find_key(header, name);
    if (at != npos) {
        // The key keeps the spelling it has in the file.
        std::string raw = lines_[at].raw.substr(lines_[at].name_at, lines_[at].name_len) + "=" + v;
        if (raw == lines_[at].raw) return false;
        lines_[at] = classify(std::move(raw));
        return true;
    }
    // A new key goes after the last non-blank line of its section, so that blank lines
    // separating it from the next section stay where they are.
    size_t pos = section_end(header);
    while (pos > header + 1 && lines_[pos - 1].kind == Kind::blank) --pos;
    lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(pos), classify(name + "=" + v));
    return true;
}

bool Text::erase_key(const char *section, const char *key) {
    const size_t header = find_section(trimmed(section));
    if (header == npos) return false;
    const size_t at = find_key(header, trimmed(key));
    if (at == npos) return false;
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(at));
    return true;
}

bool Text::erase_section(const char *section) {
    const size_t header = find_section(trimmed(section));
    if (header == npos) return false;
    lines_.erase(lines_.begin() + static_cast<std::ptrdiff_t>(header),
                 lines_.begin() + static_cast<std::ptrdiff_t>(section_end(header)));
    return true;
}

std::string Text::bytes() const {
    size_t total = bom_.size();
    for (const Line &line : lines_) total += line.raw.size() + 2;
    std::string out;
    out.reserve(total);
    out += bom_;
    for (const Line &line : lines_) {
        out += line.raw;
        out += "\r\n";
    }
    return out;
}

}  // namespace ini
}  // namespace plat
