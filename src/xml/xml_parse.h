// The XML reader's tokenizer and tree builder. The tokenizer knows only tags and texts: comments,
// processing instructions, CDATA and DOCTYPE are tags running to the first ">", and the builder
// skips every tag whose text begins with "?" or "!".
#pragma once
#include <cstddef>
#include <cstdint>

#include "tarngdi32.h"
#include "xml/xml_source.h"

namespace tarn::xml {

enum TokenKind : int {
    kTokenEnd = 0,  // end of input or an error
    kTokenStart = 1,
    kTokenClose = 2,  // end tag
    kTokenEmpty = 3,  // empty-element tag
    kTokenText = 4,
};

// The token text of one read goes into a work buffer of this size.
constexpr uint32_t kTokenBufferSize = 8388608;

class Tokenizer {
public:
    // `buffer` holds `size` bytes; one of them is kept for the terminating zero.
    Tokenizer(Source &source, char *buffer, uint32_t size)
        : source_(source), buffer_(buffer), room_(size - 1), keepWhite_(source.keep_white()) {}

    // The next token's kind; its text (zero-terminated, without "<", ">" and an end tag's "/")
    // is text() with length().
    int next();
    char *text() { return buffer_; }
    uint32_t length() const { return length_; }
    // A text token taken where it lies in the source, not terminated and needing no decoding;
    // null when the token is in text(). Valid until the next call.
    const char *view() const { return view_; }

private:
    void put(int c) {
        if (length_ < room_) buffer_[length_++] = char(c);
    }
    void put_text(const unsigned char *from, const unsigned char *to);
    void put_raw(const unsigned char *from, const unsigned char *to);

    Source &source_;
    char *buffer_;
    uint32_t room_;
    uint32_t length_ = 0;
    bool keepWhite_;
    bool openBracket_ = false;  // a text ended at "<", which begins the next token
    const char *view_ = nullptr;
};

// Decodes a text or attribute value in place: tabs dropped, with keepWhite false also leading
// blanks and all CR and LF; numeric references and the known named entities become one byte
// each. Zero-terminates the result and returns its length up to the first zero byte.
size_t decode_value(char *text, size_t length, bool keepWhite);

// The byte of a named entity ("auml", "amp", ...), "?" for names not known.
char entity_byte(const char *name, size_t length);

// Reads the source into the tree whose root is `root`: 1 when the root element was closed (or
// was an empty-element tag), 0 on a fault; the part built before a fault stays.
int32_t build_tree(XML_Node *root, Source &source);

}  // namespace tarn::xml
