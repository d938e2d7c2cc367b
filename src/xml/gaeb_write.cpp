// The bracket form of a tree: elements (type 0) as "#begin[NAME]" ... "#end[NAME]" blocks, every
// other node as a "[NAME]value[end]" field. Indentation counts from the tree's top, one blank per
// level; value lines are cut at 256 characters, and the reader joins lines with CR LF.
#include <cstring>
#include <new>
#include <vector>

#include "export.h"
#include "lib/fatal.h"
#include "xml/xml_output.h"
#include "xml/xml_tree.h"

namespace {

using tarn::xml::first_child_of;
using tarn::xml::next_sibling_of;
using tarn::xml::OutputFile;

// A node whose name was set to NULL is written with an empty name.
const char *name_of(const XML_Node *node) {
    const char *name = koXML_GetName(const_cast<XML_Node *>(node));
    return name ? name : "";
}

constexpr size_t kLineMax = 299;
constexpr size_t kWrapAt = 256;

class Line {
public:
    void clear() { length_ = 0; }
    size_t length() const { return length_; }
    const char *text() {
        text_[length_] = 0;
        return text_;
    }
    void add(char c) {
        if (length_ >= kLineMax)
            tarn::fatal("koXML_SaveTreeToGAEB2K: line longer than 299 characters");
        text_[length_++] = c;
    }
    void add(const char *s) {
        while (*s) add(*s++);
    }
    void indent(int depth) {
        for (int i = 0; i < depth; ++i) add(' ');
    }

private:
    char text_[kLineMax + 1];
    size_t length_ = 0;
};

class BracketWriter {
public:
    explicit BracketWriter(OutputFile &out) : out_(out) {}

    // Room on the stack for every level below `node`; false when it cannot be had.
    bool reserve(const XML_Node *node) {
        try {
            open_.reserve(tarn::xml::subtree_height(node) + 1);
            return true;
        } catch (const std::bad_alloc &) {
            return false;
        }
    }

    // Writes the node and everything below it. The open blocks are kept on a stack of their own
    // rather than in nested calls, so deep trees cannot exhaust the thread's stack.
    bool write(const XML_Node *node, int depth) {
        // Lines are built apart, so the work buffer takes the raw values.
        value_ = out_.work();
        if (koXML_GetType(const_cast<XML_Node *>(node)) != TARN_XML_ELEMENT)
            return field(node, depth);
        std::vector<Block> &open = open_;
        open.clear();
        try {
            if (!begin(node, depth)) return false;
            open.push_back(Block{node, first_child_of(node)});
            while (!open.empty()) {
                const int level = depth + int(open.size()) - 1;
                const XML_Node *c = open.back().next;
                if (!c) {
                    if (!end(open.back().node, level)) return false;
                    open.pop_back();
                    continue;
                }
                open.back().next = next_sibling_of(c);
                if (koXML_GetType(const_cast<XML_Node *>(c)) != TARN_XML_ELEMENT) {
                    if (!field(c, level + 1)) return false;
                    continue;
                }
                if (!begin(c, level + 1)) return false;
                open.push_back(Block{c, first_child_of(c)});
            }
            return true;
        } catch (const std::bad_alloc &) {
            return false;
        }
    }

private:
    bool begin(const XML_Node *node, int depth) { return block_line("#begin[", node, depth); }
    bool end(const XML_Node *node, int depth) { return block_line("#end[", node, depth); }

    bool block_line(const char *what, const XML_Node *node, int depth) {
        line_.clear();
        line_.indent(depth);
        line_.add(what);
        line_.add(name_of(node));
        line_.add(']');
        return out_.line(line_.text());
    }

    // A new line gets its indent with its first character; blanks that would begin it are dropped.
    bool field(const XML_Node *node, int depth) {
        const size_t n = tarn::xml::read_raw_value(node, value_, tarn::xml::kWorkBufferSize);
        line_.clear();
        line_.indent(depth);
        line_.add('[');
        line_.add(name_of(node));
        line_.add(']');
        bool fresh = false;
        for (size_t i = 0; i < n; ++i) {
            const char c = value_[i];
            if (c == '\r') continue;
            if (c == '\n') {
                if (fresh) line_.indent(depth);
                if (!out_.line(line_.text())) return false;
                line_.clear();
                fresh = true;
                continue;
            }
            if (!fresh && line_.length() >= kWrapAt) {
                if (!out_.line(line_.text())) return false;
                line_.clear();
                fresh = true;
            }
            if (fresh) {
                if (c == ' ') continue;
                line_.indent(depth);
                fresh = false;
            }
            line_.add(c);
        }
        if (fresh) line_.indent(depth);
        line_.add("[end]");
        return out_.line(line_.text());
    }

    struct Block {
        const XML_Node *node;
        const XML_Node *next;  // the child to write next
    };

    OutputFile &out_;
    char *value_ = nullptr;
    Line line_;
    std::vector<Block> open_;
};

}  // namespace

TARN_API int32_t TARN_CALL koXML_SaveTreeToGAEB2K(XML_Node *node, const char *file) {
    if (!node) return 0;
    OutputFile out;
    BracketWriter writer(out);
    // The stack is had before the file is created: a write that cannot start leaves it as it was.
    if (!writer.reserve(node) || !out.create(file)) return 0;
    const bool ok = writer.write(node, koXML_GetDeept(node));
    return out.finish(ok);
}
