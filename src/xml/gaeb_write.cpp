// The bracket form of a tree: elements (type 0) as "#begin[NAME]" ... "#end[NAME]" blocks, every
// other node as a "[NAME]value[end]" field. Indentation counts from the tree's top, one blank per
// level; value lines are cut at 256 characters, and the reader joins lines with CR LF.
#include <cstring>

#include "export.h"
#include "lib/fatal.h"
#include "xml/xml_output.h"
#include "xml/xml_tree.h"

namespace {

using tarn::xml::first_child_of;
using tarn::xml::next_sibling_of;
using tarn::xml::OutputFile;

const char *name_of(const XML_Node *node) { return koXML_GetName(const_cast<XML_Node *>(node)); }

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
        if (length_ >= kLineMax) tarn::fatal("koXML_SaveTreeToGAEB2K: line longer than 299 characters");
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
    BracketWriter(OutputFile &out, char *value) : out_(out), value_(value) {}

    bool write(const XML_Node *node, int depth) {
        if (koXML_GetType(const_cast<XML_Node *>(node)) != TARN_XML_ELEMENT) return field(node, depth);
        line_.clear();
        line_.indent(depth);
        line_.add("#begin[");
        line_.add(name_of(node));
        line_.add(']');
        if (!out_.line(line_.text())) return false;
        for (const XML_Node *c = first_child_of(node); c; c = next_sibling_of(c))
            if (!write(c, depth + 1)) return false;
        line_.clear();
        line_.indent(depth);
        line_.add("#end[");
        line_.add(name_of(node));
        line_.add(']');
        return out_.line(line_.text());
    }

private:
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

    OutputFile &out_;
    char *value_;
    Line line_;
};

}  // namespace

TARN_EXPORT int32_t TARN_CALL koXML_SaveTreeToGAEB2K(XML_Node *node, const char *file) {
    if (!node) return 0;
    OutputFile out;
    if (!out.create(file)) return 0;
    // Lines are built apart, so the work buffer takes the raw values.
    const bool ok = BracketWriter(out, out.work()).write(node, koXML_GetDeept(node));
    return out.finish(ok);
}
