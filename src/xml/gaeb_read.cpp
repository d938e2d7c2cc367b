// The GAEB 2000 bracket form: "#begin[NAME]" ... "#end[NAME]" blocks become elements, and
// "[NAME]value[end]" fields, whose values may run over several indented lines, attributes.
//
//   #begin[GAEB]
//     #begin[Position]
//       [OZ]01.0010[end]
//       [Langtext]first line
//       second line[end]
//     #end[Position]
//   #end[GAEB]
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "export.h"
#include "xml/xml_progress.h"
#include "xml/xml_tree.h"

namespace {

constexpr char kMagic[] = "#begin[GAEB]";
constexpr size_t kMagicLength = sizeof kMagic - 1;
constexpr char kBegin[] = "#begin[";
constexpr char kEnd[] = "#end[";
constexpr char kFieldEnd[] = "[end]";

// A value converted from RTF may come out longer than it went in (an error message and the text
// behind the fault); this much room is kept behind it.
constexpr size_t kRtfSlack = 512;

bool starts_with(const char *p, const char *prefix) {
    return std::strncmp(p, prefix, std::strlen(prefix)) == 0;
}

bool is_line_end(char c) { return c == '\r' || c == '\n'; }

class BracketReader {
public:
    BracketReader(const char *text, int64_t size) : text_(text), size_(size), p_(text) {}

    bool read_root(XML_Node *root) {
        if (size_ < int64_t(kMagicLength) || std::memcmp(text_, kMagic, kMagicLength) != 0)
            return false;
        koXML_SetName(root, "GAEB");
        return read_block(root);
    }

private:
    // Past the rest of the current line and every line end behind it.
    void next_line() {
        while (*p_ != 0 && !is_line_end(*p_)) ++p_;
        while (is_line_end(*p_)) ++p_;
    }

    // The name from p_ up to "]" on the same line; p_ moves behind the "]".
    bool bracketed_name(const char **atom) {
        const char *from = p_;
        while (*p_ != 0 && *p_ != ']' && !is_line_end(*p_)) ++p_;
        // A name without its closing bracket cannot be told from the text behind it.
        if (*p_ != ']') return false;
        *atom = tarn::xml::intern(from, size_t(p_ - from));
        ++p_;
        return *atom != nullptr;
    }

    // Reads the blocks from the line behind the current one up to the "#end" line of `node`. The
    // open blocks are kept on a stack of their own, so deep nesting cannot exhaust the thread's
    // stack: a "#begin" line pushes the new child, its "#end" line pops it.
    bool read_block(XML_Node *node) {
        std::vector<XML_Node *> open;
        try {
            open.push_back(node);
            next_line();
            for (;;) {
                report();
                int indent = 0;
                for (; *p_ == ' ' || is_line_end(*p_); ++p_) indent = *p_ == ' ' ? indent + 1 : 0;
                if (*p_ == 0) return false;

                if (starts_with(p_, kEnd)) {
                    const char *name = koXML_GetName(open.back());
                    const size_t n = std::strlen(name);
                    p_ += sizeof kEnd - 1;
                    if (std::strncmp(p_, name, n) != 0 || p_[n] != ']') return false;
                    p_ += n + 1;
                    open.pop_back();
                    if (open.empty()) return true;
                } else if (starts_with(p_, kBegin)) {
                    p_ += sizeof kBegin - 1;
                    const char *atom;
                    XML_Node *child = bracketed_name(&atom)
                                          ? tarn::xml::append_child(open.back(), atom)
                                          : nullptr;
                    if (!child) return false;
                    open.push_back(child);
                } else if (*p_ == '[') {
                    ++p_;
                    if (!read_field(open.back(), indent)) return false;
                }
                next_line();
            }
        } catch (const std::bad_alloc &) {
            return false;
        }
    }

    void report() const {
        if (tarn::xml::progress_wanted()) tarn::xml::report_progress(p_ - text_, size_);
    }

    // Continuation lines lose the field line's indent and are joined with CR LF.
    bool read_field(XML_Node *node, int indent) {
        const char *atom;
        XML_Node *field = bracketed_name(&atom) ? tarn::xml::append_child(node, atom) : nullptr;
        if (!field) return false;
        koXML_SetType(field, TARN_XML_ATTRIBUTE);
        value_.clear();
        for (;;) {
            if (*p_ == 0) return false;
            if (*p_ == '[' && starts_with(p_, kFieldEnd)) {
                p_ += sizeof kFieldEnd - 1;
                break;
            }
            if (!is_line_end(*p_)) {
                value_ += *p_++;
                continue;
            }
            p_ += p_[0] == '\r' && p_[1] == '\n' ? 2 : 1;
            value_ += "\r\n";
            report();  // a continuation line is a line too
            // A line shorter than the indent gives up its characters but not its line end.
            for (int i = 0; i < indent && *p_ != 0 && !is_line_end(*p_); ++i) ++p_;
        }
        if (starts_with(value_.c_str(), "{\\rtf")) {
            const size_t length = value_.size();
            value_.resize(length + kRtfSlack, '\0');
            koRtf2Ansi(&value_[0]);
            value_.resize(std::strlen(value_.c_str()));
        }
        tarn::xml::set_value(field, value_.data(), int32_t(value_.size()));
        return true;
    }

    const char *text_;
    int64_t size_;
    const char *p_;
    std::string value_;
};

}  // namespace

TARN_API XML_Node *TARN_CALL koXML_CreateTreeFromGAEB2K(const char *file, HANDLE *store) {
    XML_Node *root = koXML_CreateTree(nullptr, store);
    if (!root) return nullptr;
    HANDLE h = X_Open(file, 0);
    if (h == TARN_INVALID_HANDLE) {
        koXML_ReleaseTree(root);
        return nullptr;
    }
    const int32_t size = X_Seek(h, 0, 2);
    char *text = size >= 0 ? static_cast<char *>(AllocGlobal(uint32_t(size) + 1)) : nullptr;
    const bool loaded = text && X_Seek(h, 0, 0) == 0 && X_lRead(h, text, size) == size;
    X_Close(h);
    // A file that is not in the bracket form leaves the root empty and named "Root".
    if (loaded) BracketReader(text, size).read_root(root);
    FreeGlobal(text);
    return root;
}

TARN_API XML_Node *TARN_CALL koXML_CreateTreeExFromGAEB2K(const char *file) {
    HANDLE *cell = tarn::xml::new_store_cell();
    if (!cell) return nullptr;
    XML_Node *root = koXML_CreateTreeFromGAEB2K(file, cell);
    // Unlike the XML readers' cells, this one is not left behind with its file open.
    if (!root) tarn::xml::free_store_cell(cell);
    return root;
}
