// The RTF reader: one pass over the input, tracking groups and properties and writing the
// characters of the body text only.
#include "rtf/rtf_reader.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "rtf/rtf_tables.h"
#include "tarngdi32.h"

namespace tarn::rtf {
namespace {

enum Destination : int32_t { kDestNormal = 0, kDestSkip = 1 };
enum InputState : int32_t { kInputNormal = 0, kInputBinary = 1, kInputHex = 2 };

// The library's guard against memory exhaustion: a group beyond it fails as without memory (error 2).
constexpr int32_t kMaxGroups = 8192;
constexpr int32_t kFirstStackSize = 32;
// How much of the remaining input follows an error message.
constexpr int kErrorTail = 100;

struct SavedState {
    CharacterProps chp;
    ParagraphProps pap;
    SectionProps sep;
    DocumentProps dop;
    int32_t destination;
    int32_t input;
};

// Bytes that end a run of plain text.
struct StopTable {
    bool stop[256];
};
constexpr StopTable make_stops() {
    StopTable t{};
    const char stops[] = {'\0', '{', '}', '\\', '\r', '\n'};
    for (char c : stops) t.stop[static_cast<unsigned char>(c)] = true;
    return t;
}
constexpr StopTable kStops = make_stops();

// ASCII only: the letters of a code page's upper half end a keyword.
inline bool is_letter(unsigned char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; }
inline bool is_digit(unsigned char c) { return c >= '0' && c <= '9'; }

inline int hex_value(unsigned char c) {
    if (is_digit(c)) return c - '0';
    if ((c | 0x20) >= 'a' && (c | 0x20) <= 'f') return (c | 0x20) - 'a' + 10;
    return -1;
}

// The state of one conversion. All zero is the state at the start.
struct Reader {
    int32_t depth;
    int32_t destination;
    int32_t input;
    CharacterProps chp;
    ParagraphProps pap;
    SectionProps sep;
    DocumentProps dop;
    SavedState *saved;  // stack of the open groups' states, oldest first
    int32_t savedCount;
    int32_t savedCapacity;
    int32_t binaryLeft;
    int32_t lastParameter;
    int32_t skipUnknown;
    int32_t hexDigits;
    int32_t hexValue;
    char *out;
    char *outEnd;
    const unsigned char *in;  // never moves past the input's NUL

    int32_t run();
    void report(int32_t error);

private:
    void put(char c) {
        if (out < outEnd) {
            *out++ = c;
            *out = '\0';
        }
    }
    void put_translated(unsigned char c) {
        if (c == '\t') {
            put(' ');
        } else if (c == '\n') {
            put('\r');
            put('\n');
        } else {
            put(static_cast<char>(c));
        }
    }
    int32_t character(unsigned char c);
    void plain_run();
    bool binary_run();
    int32_t hex_digit(unsigned char c);
    int32_t keyword();
    int32_t act(const Keyword *kw, bool hasParameter, int32_t parameter);
    int32_t special(int32_t action);
    int32_t change_property(int32_t number, int32_t value);
    int32_t push();
    int32_t pop();
};

int32_t Reader::run() {
    for (;;) {
        if (depth < 0) return kStackUnderflow;
        if (input == kInputBinary) {
            if (!binary_run()) break;
            continue;
        }
        const unsigned char c = *in;
        if (c == '\0') break;
        int32_t error = kOk;
        switch (c) {
        case '{':
            ++in;
            error = push();
            break;
        case '}':
            ++in;
            error = pop();
            break;
        case '\\':
            ++in;
            error = keyword();
            break;
        case '\r':
        case '\n': ++in; break;
        default:
            if (input == kInputNormal) {
                plain_run();
            } else if (input == kInputHex) {
                ++in;
                error = hex_digit(c);
            } else {
                ++in;
                error = kBadInputState;
            }
        }
        if (error != kOk) return error;
    }
    if (depth < 0) return kStackUnderflow;
    return depth > 0 ? kUnmatchedBrace : kOk;
}

// The character step: counts down a binary run, then writes unless the destination is skipped.
int32_t Reader::character(unsigned char c) {
    if (input == kInputBinary && --binaryLeft <= 0) input = kInputNormal;
    if (destination == kDestSkip) return kOk;
    put_translated(c);
    return kOk;
}

// The character step for every byte up to the next one the main loop must see.
// Works on local copies: stores through `out` could alias the reader's own fields.
void Reader::plain_run() {
    const unsigned char *const start = in;
    const unsigned char *end = start;
    while (!kStops.stop[*end]) ++end;
    in = end;
    if (destination == kDestSkip) return;
    char *const to = out;
    const size_t room = static_cast<size_t>(outEnd - to);
    size_t n = static_cast<size_t>(end - start);
    if (n > room) n = room;
    for (size_t i = 0; i < n; ++i) to[i] = start[i] == '\t' ? ' ' : static_cast<char>(start[i]);
    to[n] = '\0';
    out = to + n;
}

// The bytes of a \bin run, braces and backslashes included, through the character step.
// False at the end of the input.
bool Reader::binary_run() {
    // A count of 0 or less still takes one byte: the step counts down before it compares.
    const size_t want = binaryLeft > 1 ? static_cast<size_t>(binaryLeft) : 1;
    const unsigned char *start = in;
    while (static_cast<size_t>(in - start) < want && *in) ++in;
    const size_t n = static_cast<size_t>(in - start);
    if (n == 0) return false;
    if (destination != kDestSkip)
        for (size_t i = 0; i < n; ++i) put_translated(start[i]);
    binaryLeft -= static_cast<int32_t>(n);
    if (binaryLeft <= 0) input = kInputNormal;
    return true;
}

int32_t Reader::hex_digit(unsigned char c) {
    const int v = hex_value(c);
    if (v < 0) return kBadHexDigit;
    hexValue = hexValue * 16 + v;
    if (++hexDigits < 2) return kOk;
    // Control codes from escapes are dropped; the byte skips the character step.
    if (hexValue >= 32) put(static_cast<char>(hexValue));
    hexValue = 0;
    hexDigits = 0;
    input = kInputNormal;
    return kOk;
}

int32_t Reader::keyword() {
    const unsigned char *start = in;
    if (*in == '\0') return kEndInKeyword;
    if (!is_letter(*in)) {
        ++in;
        return act(find_keyword(start, 1), false, 0);
    }
    while (is_letter(*in)) ++in;
    const size_t length = static_cast<size_t>(in - start);
    // The sign is read and dropped: "\li-720" sets 720, as stored memos were always read.
    if (*in == '-') {
        ++in;
        if (*in == '\0') return kEndInKeyword;
    }
    bool hasParameter = false;
    int32_t parameter = 0;
    if (is_digit(*in)) {
        hasParameter = true;
        // More digits than 32 bits hold stay at the largest value, as the C library's conversion does.
        for (; is_digit(*in); ++in) {
            const int32_t d = *in - '0';
            parameter = parameter > (INT32_MAX - d) / 10 ? INT32_MAX : parameter * 10 + d;
        }
        lastParameter = parameter;
    }
    if (*in == ' ') ++in;
    return act(find_keyword(start, length), hasParameter, parameter);
}

int32_t Reader::act(const Keyword *kw, bool hasParameter, int32_t parameter) {
    if (kw == nullptr) {
        if (skipUnknown) destination = kDestSkip;
        skipUnknown = 0;
        return kOk;
    }
    skipUnknown = 0;
    switch (kw->kind) {
    case kKindProperty:
        return change_property(kw->index,
                               kw->passDefault || !hasParameter ? kw->defaultValue : parameter);
    case kKindCharacter: return character(static_cast<unsigned char>(kw->index));
    case kKindDestination: destination = kDestSkip; return kOk;
    case kKindSpecial: return special(kw->index);
    }
    return kBadTable;
}

int32_t Reader::special(int32_t action) {
    if (destination == kDestSkip && action != kSpecialBinary) return kOk;
    switch (action) {
    case kSpecialBinary:
        input = kInputBinary;
        binaryLeft = lastParameter;
        return kOk;
    case kSpecialHex:
        // Only the state changes: a digit left over from a cut pair stays and is the first of this one.
        input = kInputHex;
        return kOk;
    case kSpecialSkipUnknown: skipUnknown = 1; return kOk;
    }
    return kBadTable;
}

int32_t Reader::change_property(int32_t number, int32_t value) {
    if (destination == kDestSkip) return kOk;
    if (number < 0 || number >= kPropertyCount) return kBadTable;
    const Property &p = kProperties[number];
    unsigned char *block;
    size_t size;
    switch (p.block) {
    case kBlockCharacter: block = reinterpret_cast<unsigned char *>(&chp), size = sizeof chp; break;
    case kBlockParagraph: block = reinterpret_cast<unsigned char *>(&pap), size = sizeof pap; break;
    case kBlockSection: block = reinterpret_cast<unsigned char *>(&sep), size = sizeof sep; break;
    case kBlockDocument: block = reinterpret_cast<unsigned char *>(&dop), size = sizeof dop; break;
    default: return kBadTable;
    }
    switch (p.action) {
    case kSetByte:
        if (p.offset + 1u > size) return kBadTable;
        block[p.offset] = static_cast<unsigned char>(value);
        return kOk;
    case kSetWord:
        if (p.offset + sizeof value > size) return kBadTable;
        std::memcpy(block + p.offset, &value, sizeof value);
        return kOk;
    case kResetBlock: std::memset(block, 0, size); return kOk;
    }
    return kBadTable;
}

int32_t Reader::push() {
    if (savedCount == savedCapacity) {
        if (savedCapacity >= kMaxGroups) return kNoMemory;
        const int32_t capacity = savedCapacity ? savedCapacity * 2 : kFirstStackSize;
        auto *grown = static_cast<SavedState *>(
            AllocGlobal(uint32_t(capacity) * uint32_t(sizeof(SavedState))));
        if (grown == nullptr) return kNoMemory;
        if (savedCount) std::memcpy(grown, saved, size_t(savedCount) * sizeof(SavedState));
        FreeGlobal(saved);
        saved = grown;
        savedCapacity = capacity;
    }
    saved[savedCount++] = SavedState{chp, pap, sep, dop, destination, input};
    ++depth;
    input = kInputNormal;
    return kOk;
}

int32_t Reader::pop() {
    if (savedCount == 0) return kStackUnderflow;
    // Leaving a destination would end it here; plain text has nothing to finish.
    const SavedState &s = saved[--savedCount];
    chp = s.chp;
    pap = s.pap;
    sep = s.sep;
    dop = s.dop;
    destination = s.destination;
    input = s.input;
    --depth;
    return kOk;
}

void Reader::report(int32_t error) {
    char message[32];
    std::snprintf(message, sizeof message, "RTF-Error(%d): ", static_cast<int>(error));
    for (const char *m = message; *m; ++m) put(*m);
    for (int i = 0; i < kErrorTail && *in; ++i) put_translated(*in++);
}

}  // namespace

int32_t convert(const char *input, char *out, char *outEnd) {
    void *memory = AllocGlobal(sizeof(Reader));
    if (memory == nullptr) return kNoReaderState;
    Reader *reader = new (memory) Reader();
    reader->in = reinterpret_cast<const unsigned char *>(input);
    reader->out = out;
    reader->outEnd = outEnd;
    *out = '\0';
    const int32_t error = reader->run();
    if (error != kOk) reader->report(error);
    FreeGlobal(reader->saved);
    FreeGlobal(memory);
    return error;
}

}  // namespace tarn::rtf
