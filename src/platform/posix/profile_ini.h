// The text of one INI file: reading values and names out of it and editing it line by line, with
// the rules of the Windows profile calls. No file access here; ini_profile.cpp does that.
#pragma once
#include <cstddef>
#include <string>
#include <vector>

namespace plat {
namespace ini {

// True for the blanks that are trimmed around names and values.
bool is_blank(unsigned char c);
// Compares two names ignoring case the way Windows does for the ANSI page 1252.
bool same_name(const char *a, size_t alen, const char *b, size_t blen);
// A caller's section or key name without leading and trailing blanks (" " only).
std::string trimmed(const char *s);

class Text {
public:
    // Any bytes: CR LF, LF or CR line ends, a missing final line end, NUL bytes and a UTF-8 byte
    // order mark are all accepted.
    explicit Text(const std::string &bytes);

    // The value of the first `key` in the first `section`, blanks trimmed, quotes kept. False when
    // the section or the key is missing or the key line has no "=".
    bool value(const char *section, const char *key, std::string *out) const;
    // Names of all sections in file order (repeated sections repeat).
    std::vector<std::string> section_names() const;
    // Names of the keys of the first `section` that have a value, comments left out.
    std::vector<std::string> key_names(const char *section) const;

    // Each returns true when the text changed.
    bool set(const char *section, const char *key, const char *value);
    bool erase_key(const char *section, const char *key);
    bool erase_section(const char *section);

    // The file as it is to be written: every line ended by CR LF.
    std::string bytes() const;

private:
    enum class Kind { blank, header, entry };
    struct Line {
        std::string raw;  // as read (or as written by us), without its line end
        Kind kind = Kind::blank;
        size_t name_at = 0, name_len = 0;    // section name for headers, key name for entries
        bool has_value = false;              // entries: a "=" follows the name
        size_t value_at = 0, value_len = 0;  // trimmed value
        bool comment = false;                // entries starting with ";"
    };
    static Line classify(std::string raw);
    bool name_is(const Line &line, const std::string &name) const;
    // Index of the first header named `section`, or npos.
    size_t find_section(const std::string &section) const;
    // One past the last line of the section whose header is at `header`.
    size_t section_end(size_t header) const;
    size_t find_key(size_t header, const std::string &key) const;

    std::string bom_;
    std::vector<Line> lines_;
};

}  // namespace ini
}  // namespace plat
