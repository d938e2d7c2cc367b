#include "xml/xml_parse.h"

#include <cstring>

#include "platform/collate.h"
#include "platform/files.h"
#include "xml/xml_tree.h"

namespace tarn::xml {

namespace {

inline bool is_blank(int c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

struct Entity {
    const char *name;
    char byte;
};

// "nbsp" gives a plain space on purpose: the applications' texts have no other blank.
constexpr Entity kEntities[] = {
    {"Auml", '\xC4'}, {"auml", '\xE4'}, {"Uuml", '\xDC'}, {"uuml", '\xFC'},
    {"Ouml", '\xD6'}, {"ouml", '\xF6'}, {"nbsp", ' '},    {"szlig", '\xDF'},
    {"quot", '"'},    {"amp", '&'},     {"lt", '<'},      {"gt", '>'},
};

int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The number of a reference's text (at most 5 characters, zero-terminated).
int32_t reference_number(const char *digits) {
    if (digits[0] != 'x') return StringToLong(digits);
    int32_t v = 0;
    for (const char *p = digits + 1; hex_digit(*p) >= 0; ++p) v = v * 16 + hex_digit(*p);
    return v;
}

// How many characters from `s` on need no decoding: up to the next "&", tab, or (without
// keepWhite) CR or LF.
size_t plain_run(const char *s, size_t n, bool keepWhite) {
    // Most values are short: one look at each byte beats two library searches.
    if (n <= 32) {
        for (size_t i = 0; i < n; ++i)
            if (s[i] == '&' || s[i] == '\t' || (!keepWhite && (s[i] == '\r' || s[i] == '\n')))
                return i;
        return n;
    }
    const void *amp = std::memchr(s, '&', n);
    size_t run = amp ? size_t(static_cast<const char *>(amp) - s) : n;
    if (const void *tab = std::memchr(s, '\t', run))
        run = size_t(static_cast<const char *>(tab) - s);
    if (!keepWhite) {
        for (size_t i = 0; i < run; ++i)
            if (s[i] == '\r' || s[i] == '\n') return i;
    }
    return run;
}

}  // namespace

char entity_byte(const char *name, size_t length) {
    for (const Entity &e : kEntities)
        if (std::strlen(e.name) == length && std::memcmp(e.name, name, length) == 0) return e.byte;
    return '?';
}

size_t decode_value(char *s, size_t n, bool keepWhite) {
    size_t in = 0, out = 0;
    bool zero = false;
    if (!keepWhite)
        while (in < n && is_blank(static_cast<unsigned char>(s[in]))) ++in;
    while (in < n) {
        // Runs without references or dropped characters move as they are (mostly not at all).
        const size_t run = plain_run(s + in, n - in, keepWhite);
        if (out != in) std::memmove(s + out, s + in, run);
        in += run;
        out += run;
        if (in == n) break;
        if (s[in] != '&') {
            ++in;
            continue;
        }
        const bool numeric = in + 1 < n && s[in + 1] == '#';
        in += numeric ? 2 : 1;
        const size_t limit = numeric ? 5 : 18;
        const size_t from = in;
        while (in < n && s[in] != ';' && in - from < limit) ++in;
        char b;
        if (numeric) {
            char digits[8] = {};
            std::memcpy(digits, s + from, in - from);
            // A reference is a byte of the ANSI code page, as the plain writer makes them.
            b = char(reference_number(digits) & 0xFF);
        } else {
            b = entity_byte(s + from, in - from);
        }
        if (in < n && s[in] == ';') ++in;
        zero = zero || b == 0;
        s[out++] = b;
    }
    s[out] = 0;
    return zero ? std::strlen(s) : out;
}

// ---- tokenizer ----

void Tokenizer::put_raw(const unsigned char *from, const unsigned char *to) {
    size_t n = size_t(to - from);
    if (n > room_ - length_) n = room_ - length_;
    std::memcpy(buffer_ + length_, from, n);
    length_ += uint32_t(n);
}

void Tokenizer::put_text(const unsigned char *from, const unsigned char *to) {
    if (keepWhite_) {
        put_raw(from, to);
        return;
    }
    for (; from < to; ++from)
        if (!is_blank(*from)) put(*from);
}

int Tokenizer::next() {
    length_ = 0;
    view_ = nullptr;
    const unsigned char *blanks = nullptr;  // where the blanks before the next character start
    int c;
    if (openBracket_) {
        openBracket_ = false;
        c = '<';
    } else {
        // Blanks before a text belong to it. The indentation between tags is most of them, so
        // they are scanned a window at a time; a run that goes on into the next window is kept
        // in the buffer, the run in the window of the next character only once a text follows.
        for (;;) {
            if (source_.cur == source_.end && !source_.advance()) return kTokenEnd;
            const unsigned char *p = source_.cur;
            const unsigned char *const e = source_.end;
            while (p < e && is_blank(*p)) ++p;
            if (p < e) {
                blanks = source_.cur;
                source_.cur = p;
                break;
            }
            if (keepWhite_) put_raw(source_.cur, p);
            source_.cur = p;
        }
        c = *source_.cur++;
        if (c == '>') return kTokenEnd;
    }

    if (c != '<') {
        if (keepWhite_) {
            // A text that lies in one window with its blanks and needs no decoding is taken
            // where it lies.
            if (length_ == 0) {
                const auto *lt = static_cast<const unsigned char *>(
                    std::memchr(source_.cur, '<', size_t(source_.end - source_.cur)));
                const size_t n = lt ? size_t(lt - blanks) : 0;
                if (lt && n <= room_ && plain_run(reinterpret_cast<const char *>(blanks), n, true) == n) {
                    view_ = reinterpret_cast<const char *>(blanks);
                    length_ = uint32_t(n);
                    source_.cur = lt + 1;
                    openBracket_ = true;
                    return kTokenText;
                }
            }
            put_raw(blanks, source_.cur - 1);
        }
        put(c);
        for (;;) {
            if (source_.cur == source_.end && !source_.advance()) return kTokenEnd;
            const unsigned char *from = source_.cur;
            const auto *lt = static_cast<const unsigned char *>(
                std::memchr(from, '<', size_t(source_.end - from)));
            put_text(from, lt ? lt : source_.end);
            if (lt) {
                source_.cur = lt + 1;
                openBracket_ = true;
                break;
            }
            source_.cur = source_.end;
        }
        buffer_[length_] = 0;
        return kTokenText;
    }

    length_ = 0;  // blanks kept for a text that did not come
    int kind = kTokenStart;
    c = source_.get();
    if (c == 0 || c == '>') return kTokenEnd;
    if (c == '/') kind = kTokenClose;
    else put(c);
    for (;;) {
        if (source_.cur == source_.end && !source_.advance()) return kTokenEnd;
        const unsigned char *from = source_.cur;
        const auto *gt =
            static_cast<const unsigned char *>(std::memchr(from, '>', size_t(source_.end - from)));
        put_raw(from, gt ? gt : source_.end);
        if (gt) {
            source_.cur = gt + 1;
            break;
        }
        source_.cur = source_.end;
    }
    buffer_[length_] = 0;
    if (length_ > 0 && buffer_[length_ - 1] == '/') kind |= 2;
    return kind;
}

// ---- tree builder ----

namespace {

// Values over 24 bytes of the tree being read, gathered and appended to its scratch file in large
// writes rather than two calls each. The slots are laid out exactly as koXML_SetValue lays them
// out; a value that replaces an earlier long one of its node goes through koXML_SetValue's own
// reuse test, after what is gathered has been written. A long value whose write fails, gathered
// or not, is left empty and without slot (where koXML_SetValue would keep the slot): the file's
// end may not have moved past such a slot, so the next slots may be placed over it.
class SlotWriter {
public:
    explicit SlotWriter(XML_Node *root) : cell_(node_store(root)) {}
    ~SlotWriter() {
        flush();
        FreeGlobal(buffer_);
        FreeGlobal(nodes_);
    }
    SlotWriter(const SlotWriter &) = delete;
    SlotWriter &operator=(const SlotWriter &) = delete;

    void set(XML_Node *node, const char *text, size_t length) {
        if (length <= size_t(kInlineBytes) || !cell_ || node->offset >= 0 ||
            length > kCapacity - 32 || (end_ < 0 && !find_end()) || !reserve()) {
            set_directly(node, text, length);
            return;
        }
        const size_t slot = size_t(slot_size(int32_t(length)));
        if (used_ + slot > kCapacity) {
            flush();
            if (end_ < 0 && !find_end()) {
                set_directly(node, text, length);
                return;
            }
        }
        node->offset = int32_t(end_ + int64_t(used_));
        node->length = int32_t(length);
        std::memcpy(buffer_ + used_, text, length);
        std::memset(buffer_ + used_ + length, 0, slot - length);
        used_ += slot;
        nodes_[count_++] = node;
    }

    void flush() {
        if (used_ == 0) return;
        const HANDLE file = *cell_;
        if (X_Seek(file, 0, 2) == end_ && write_all(file)) {
            end_ += int64_t(used_);
        } else {
            for (size_t i = 0; i < count_; ++i) forget(nodes_[i]);
            end_ = -1;
        }
        used_ = 0;
        count_ = 0;
    }

private:
    static constexpr size_t kCapacity = 1u << 20;
    static constexpr size_t kMaxNodes = kCapacity / 32;  // a slot takes at least 32 bytes

    // The buffer and the list of the nodes gathered in it.
    bool reserve() {
        if (!buffer_) buffer_ = static_cast<char *>(AllocGlobal(kCapacity));
        if (!nodes_) nodes_ = static_cast<XML_Node **>(AllocGlobal(kMaxNodes * sizeof(XML_Node *)));
        return buffer_ && nodes_;
    }

    bool find_end() {
        end_ = X_Seek(*cell_, 0, 2);
        return end_ >= 0;
    }

    // The gathered slots in as few system calls as the system takes: the scratch file is ours
    // alone, so nothing is gained by the 8 KiB steps of X_lWrite.
    bool write_all(HANDLE file) const {
        for (size_t done = 0; done < used_;) {
            const int64_t n = plat::file_write(file, buffer_ + done, uint32_t(used_ - done));
            if (n <= 0) return false;
            done += size_t(n);
        }
        return true;
    }

    void set_directly(XML_Node *node, const char *text, size_t length) {
        const bool isLong = length > size_t(kInlineBytes);
        if (isLong) flush();
        if (!set_value(node, text, int32_t(length)) && isLong && cell_) forget(node);
        if (isLong) end_ = -1;
    }

    static void forget(XML_Node *node) {
        node->offset = -1;
        node->length = 0;
    }

    HANDLE *cell_;
    int64_t end_ = -1;  // where the next gathered slot goes; -1 when not known
    char *buffer_ = nullptr;
    XML_Node **nodes_ = nullptr;
    size_t used_ = 0;
    size_t count_ = 0;
};

// Parses a tag's text (changed in place) into `root`, or into a new last child of `parent` when
// `root` is null; the node, or null when the tag is malformed or a node cannot be made.
XML_Node *parse_tag(char *t, XML_Node *root, XML_Node *parent, bool keepWhite, SlotWriter &slots) {
    char *p = t;
    if (*p != ' ')
        while (*p != 0 && !is_blank(static_cast<unsigned char>(*p)) && *p != '/') ++p;
    if (p == t) {
        // The child is made before its tag is read: a malformed tag leaves it behind, named as
        // its parent.
        if (!root) append_child(parent, koXML_GetName(parent));
        return nullptr;
    }
    const char *atom = intern(t, size_t(p - t));
    if (!atom) return nullptr;
    XML_Node *node = root;
    if (root) {
        koXML_SetName(root, atom);
    } else if (!(node = append_child(parent, atom))) {
        return nullptr;
    }

    for (;;) {
        while (is_blank(static_cast<unsigned char>(*p))) ++p;
        if (*p == '=' || *p == '/' || *p == '>' || *p == 0) break;
        char *eq = std::strchr(p, '=');
        if (!eq || eq[1] != '"') break;
        char *value = eq + 2;
        char *quote = std::strchr(value, '"');
        if (!quote) break;
        const char *name = intern(p, size_t(eq - p));
        XML_Node *attr = name ? append_child(node, name) : nullptr;
        if (!attr) return nullptr;
        koXML_SetType(attr, TARN_XML_ATTRIBUTE);
        const size_t length = decode_value(value, size_t(quote - value), keepWhite);
        slots.set(attr, value, length);
        p = quote + 1;
    }
    return node;
}

bool is_skipped(const char *tagText) { return tagText[0] == '?' || tagText[0] == '!'; }

// An end tag closes the current element when its text equals the name as lstrcmpA compares;
// equal bytes need no locale.
bool closes(const char *tagText, XML_Node *node) {
    const char *name = koXML_GetName(node);
    if (tagText[0] == 0 || std::strcmp(tagText, name) == 0) return true;
    return plat::compare_text(tagText, name) == 0;
}

int32_t build(XML_Node *root, Source &source, Tokenizer &tokens, SlotWriter &slots) {
    const bool keepWhite = source.keep_white();
    int kind;
    for (;;) {
        kind = tokens.next();
        if (kind == kTokenEnd || kind == kTokenText) return 0;
        if (!is_skipped(tokens.text())) break;
    }
    if (!parse_tag(tokens.text(), root, nullptr, keepWhite, slots)) return 0;
    if (kind != kTokenStart) return 1;

    XML_Node *current = root;
    for (;;) {
        kind = tokens.next();
        char *text = tokens.text();
        switch (kind) {
        case kTokenEnd: return 0;
        case kTokenText:
            if (const char *view = tokens.view()) {
                slots.set(current, view, tokens.length());
            } else {
                const size_t length = decode_value(text, tokens.length(), keepWhite);
                slots.set(current, text, length);
            }
            break;
        case kTokenClose:
            if (is_skipped(text)) break;
            if (!closes(text, current)) return 0;
            // Whatever follows the root element is not read.
            if (current == root) return 1;
            current = parent_of(current);
            break;
        default: {
            if (is_skipped(text)) break;
            XML_Node *child = parse_tag(text, nullptr, current, keepWhite, slots);
            if (!child) return 0;
            if (kind == kTokenStart) current = child;
            break;
        }
        }
    }
}

}  // namespace

int32_t build_tree(XML_Node *root, Source &source) {
    char *buffer = static_cast<char *>(AllocGlobal(kTokenBufferSize));
    if (!buffer) return 0;
    Tokenizer tokens(source, buffer, kTokenBufferSize);
    int32_t result;
    {
        SlotWriter slots(root);
        result = build(root, source, tokens, slots);
    }
    source.finish();
    FreeGlobal(buffer);
    return result;
}

}  // namespace tarn::xml
