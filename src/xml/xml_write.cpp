// The two XML forms of a tree. The plain form is ANSI text in which every byte outside a small
// safe set is a numeric reference, even the blank, because the plain reader drops raw white
// space; the value comes after the child elements on a line of its own. The compatible form is
// UTF-8, indented one blank per level, with leaf elements on one line.
#include <cstring>
#include <new>
#include <vector>

#include "export.h"
#include "xml/xml_output.h"
#include "xml/xml_tree.h"

namespace {

using tarn::xml::first_child_of;
using tarn::xml::kWorkBufferSize;
using tarn::xml::next_sibling_of;
using tarn::xml::OutputFile;

constexpr size_t kAttributeRoom = 131072;
// Longest text of one escaped byte ("&#255;"), plus its terminating zero.
constexpr size_t kEscapedMax = 7;

bool is_plain_safe(unsigned char c) {
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) return true;
    return c != 0 && std::strchr("@!?=.:;|+-*(){}[]_#,\\", c) != nullptr;
}

size_t put_reference(unsigned char c, char *out) {
    char digits[4];
    int n = 0;
    do digits[n++] = char('0' + c % 10), c = static_cast<unsigned char>(c / 10);
    while (c != 0);
    size_t len = 0;
    out[len++] = '&';
    out[len++] = '#';
    while (n > 0) out[len++] = digits[--n];
    out[len++] = ';';
    return len;
}

size_t put_utf8(uint32_t u, char *out) {
    if (u < 0x80) {
        out[0] = char(u);
        return 1;
    }
    if (u < 0x800) {
        out[0] = char(0xC0 | u >> 6);
        out[1] = char(0x80 | (u & 63));
        return 2;
    }
    out[0] = char(0xE0 | u >> 12);
    out[1] = char(0x80 | ((u >> 6) & 63));
    out[2] = char(0x80 | (u & 63));
    return 3;
}

// The UTF-8 text of the ANSI bytes 0x80 to 0xFF, made once per write.
struct Utf8Table {
    char bytes[128][4];
    uint8_t length[128];
    Utf8Table() {
        const uint32_t cp = koGetACP();
        for (int i = 0; i < 128; ++i)
            length[i] = uint8_t(put_utf8(uint16_t(koUNCfromCHAR(char(0x80 + i), cp)), bytes[i]));
    }
};

// One byte's text in mode 0 (plain) or 1 (compatible), not terminated; a zero byte has none.
size_t escape_byte(unsigned char c, char *out, int32_t mode, const Utf8Table *table) {
    if (mode == 0) {
        if (!is_plain_safe(c)) return put_reference(c, out);
        out[0] = char(c);
        return 1;
    }
    if (c == '\n' || c == '\r' || c == '"' || c == '&' || c == '/' || c == '<' || c == '>')
        return put_reference(c, out);
    if (c < 32) return 0;
    if (c < 0x80) {
        out[0] = char(c);
        return 1;
    }
    if (table) {
        std::memcpy(out, table->bytes[c - 0x80], table->length[c - 0x80]);
        return table->length[c - 0x80];
    }
    return put_utf8(uint16_t(koUNCfromCHAR(char(c), koGetACP())), out);
}

// Escapes bytes while at least kEscapedMax bytes of the room are left; what does not fit is cut.
size_t escape_text(const char *text, size_t count, char *out, size_t room, int32_t mode,
                   const Utf8Table *table) {
    size_t used = 0;
    if (room >= 10)
        for (size_t i = 0; i < count && room - used >= kEscapedMax; ++i)
            used += escape_byte(static_cast<unsigned char>(text[i]), out + used, mode, table);
    out[used] = 0;
    return used;
}

bool is_white(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Nodes with children are elements; the change stays in the tree.
void normalise_types(XML_Node *node) {
    if (first_child_of(node)) koXML_SetType(node, TARN_XML_ELEMENT);
    for (XML_Node *c = first_child_of(node); c; c = next_sibling_of(c))
        if (first_child_of(c)) koXML_SetType(c, TARN_XML_ELEMENT);
}

bool is_element(const XML_Node *node) {
    return koXML_GetType(const_cast<XML_Node *>(node)) == TARN_XML_ELEMENT;
}

// A node whose name was set to NULL is written with an empty name.
const char *name_of(const XML_Node *node) {
    const char *name = koXML_GetName(const_cast<XML_Node *>(node));
    return name ? name : "";
}

bool has_element_child(const XML_Node *node) {
    for (const XML_Node *c = first_child_of(node); c; c = next_sibling_of(c))
        if (is_element(c)) return true;
    return false;
}

// Writes a node and everything below it in one of the two forms. The elements whose end tag is
// still to come are kept on a stack of their own rather than in nested calls, so deep trees
// cannot exhaust the thread's stack; the stack is reserved before the file is created.
class XmlWriter {
public:
    XmlWriter(OutputFile &out, char *value, bool compatible)
        : out_(out), value_(value), mode_(compatible ? 1 : 0) {}

    // Room on the stack for every level below `node`; false when it cannot be had.
    bool reserve(const XML_Node *node) {
        try {
            open_.reserve(tarn::xml::subtree_height(node) + 1);
            return true;
        } catch (const std::bad_alloc &) {
            return false;
        }
    }

    // After the file was created.
    bool write(XML_Node *node) {
        work_ = out_.work();
        open_.clear();
        try {
            if (!enter(node, 0)) return false;
            while (!open_.empty()) {
                XML_Node *c = open_.back().next;
                if (!c) {
                    const Open done = open_.back();
                    open_.pop_back();
                    if (!leave(done)) return false;
                    continue;
                }
                open_.back().next = next_sibling_of(c);
                if (is_element(c) && !enter(c, open_.back().depth + 1)) return false;
            }
            return true;
        } catch (const std::bad_alloc &) {
            return false;
        }
    }

private:
    // An element whose start tag is written; its element children and its end tag are to come.
    struct Open {
        XML_Node *node;
        XML_Node *next;  // the child to look at next
        int depth;
        bool children;  // element children (compatible form: the end tag gets its own line)
    };

    // The start of a node: its start tag (or empty-element tag) and, in the compatible form, its
    // text. An element with content goes on the stack.
    bool enter(XML_Node *node, int depth) {
        normalise_types(node);
        if (!is_element(node)) return true;
        if (mode_ == 0) {
            if (!start_tag(node, 0)) return false;
            const bool content = has_element_child(node) || tarn::xml::value_length(node) > 0;
            add(content ? ">" : " />");
            if (!out_.line(work_)) return false;
            if (content) open_.push_back(Open{node, first_child_of(node), depth, true});
            return true;
        }
        if (!start_tag(node, depth)) return false;
        const size_t raw = tarn::xml::read_raw_value(node, value_, kWorkBufferSize);
        bool text = false;
        for (size_t i = 0; i < raw && !text; ++i) text = !is_white(value_[i]);
        const bool children = has_element_child(node);
        if (!children && !text) {
            add(" />");
            return out_.line(work_);
        }
        add(">");
        if (!out_.write(work_, length_)) return false;
        if (text) {
            const size_t n = escape_text(value_, raw, work_, kWorkBufferSize, 1, &utf8_);
            if (!out_.write(work_, n)) return false;
        }
        if (children && !out_.line("")) return false;
        open_.push_back(Open{node, children ? first_child_of(node) : nullptr, depth, children});
        return true;
    }

    // The end of an element: in the plain form its value, then its end tag.
    bool leave(const Open &e) {
        length_ = 0;
        if (mode_ == 0) {
            const size_t n = escaped_value(e.node, kWorkBufferSize);
            if (n > 0 && !out_.write(work_, n)) return false;
            length_ = 0;
            add("\r\n</");
        } else {
            if (e.children) indent(e.depth);
            add("</");
        }
        add(name_of(e.node));
        add(">");
        return out_.line(work_);
    }

    // Appends to the line in the work buffer; a line longer than the buffer is cut.
    void add(const char *text) {
        size_t n = std::strlen(text);
        if (n > kWorkBufferSize - 1 - length_) n = kWorkBufferSize - 1 - length_;
        std::memcpy(work_ + length_, text, n);
        length_ += n;
        work_[length_] = 0;
    }

    void indent(int depth) {
        for (int i = 0; i < depth && length_ + 1 < kWorkBufferSize; ++i) work_[length_++] = ' ';
        work_[length_] = 0;
    }

    // "<name" and the attributes, each value escaped into at most kAttributeRoom bytes. What the
    // line holds goes out before an attribute that could not have its whole room behind it, so
    // every attribute has that room; the caller ends the tag and writes the rest.
    bool start_tag(const XML_Node *node, int depth) {
        length_ = 0;
        indent(depth);
        add("<");
        add(name_of(node));
        for (const XML_Node *c = first_child_of(node); c; c = next_sibling_of(c)) {
            if (is_element(c)) continue;
            const char *name = name_of(c);
            if (kWorkBufferSize - length_ < std::strlen(name) + 3 + kAttributeRoom + kTagSlack) {
                if (!out_.write(work_, length_)) return false;
                length_ = 0;
            }
            add(" ");
            add(name);
            add("=\"");
            // Room is kept for the tag's end even behind an overlong attribute name.
            size_t room = kWorkBufferSize - length_;
            room = room > kTagSlack ? room - kTagSlack : 0;
            if (room > kAttributeRoom) room = kAttributeRoom;
            const size_t raw = tarn::xml::read_raw_value(c, value_, kAttributeRoom);
            length_ += escape_text(value_, raw, work_ + length_, room, mode_, &utf8_);
            add("\"");
        }
        return true;
    }

    size_t escaped_value(const XML_Node *node, size_t room) {
        const size_t raw = tarn::xml::read_raw_value(node, value_, kWorkBufferSize);
        return escape_text(value_, raw, work_, room, mode_, &utf8_);
    }

    // Bytes kept free behind an attribute value: its closing quote and the tag's end.
    static constexpr size_t kTagSlack = 16;

    OutputFile &out_;
    char *work_ = nullptr;
    char *value_;  // raw values, kWorkBufferSize bytes
    int32_t mode_;
    size_t length_ = 0;
    Utf8Table utf8_;
    std::vector<Open> open_;
};

// Every buffer is had before the file is created: a write that cannot start leaves an existing
// file as it was.
int32_t save_xml(XML_Node *node, const char *file, bool compatible) {
    if (!node) return 0;
    char *value = static_cast<char *>(AllocGlobal(kWorkBufferSize));
    if (!value) return 0;
    OutputFile out;
    XmlWriter writer(out, value, compatible);
    if (!writer.reserve(node) || !out.create(file)) {
        FreeGlobal(value);
        return 0;
    }
    const bool ok =
        compatible ? out.line("<?xml version=\"1.0\" encoding=\"UTF-8\" ?>") && writer.write(node)
                   : out.line("<?xml version=\"1.0\" ?>") && writer.write(node);
    FreeGlobal(value);
    return out.finish(ok);
}

}  // namespace

TARN_API int32_t TARN_CALL koXML_SaveTreeToFile(XML_Node *node, const char *file) {
    return save_xml(node, file, false);
}

TARN_API int32_t TARN_CALL koXML_SaveTreeToFileKompatible(XML_Node *node, const char *file) {
    return save_xml(node, file, true);
}

TARN_API char *TARN_CALL koAnsicode2XMLstr(char *out, char c) {
    return koAnsicode2XMLstrEx(out, c, 0);
}

TARN_API char *TARN_CALL koAnsicode2XMLstrEx(char *out, char c, int32_t mode) {
    if (!out) return out;
    out[escape_byte(static_cast<unsigned char>(c), out, mode == 0 ? 0 : 1, nullptr)] = 0;
    return out;
}
