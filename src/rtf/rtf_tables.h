// The RTF reader's tables: the keywords it knows and the properties they change.
#pragma once
#include <cstddef>
#include <cstdint>

namespace tarn::rtf {

// The property blocks of the reader state. Tracked for the groups, never shown in the text.
struct CharacterProps {
    uint8_t bold, italic, underline;
};
struct ParagraphProps {
    int32_t leftIndent, rightIndent, firstIndent, justification;
};
struct SectionProps {
    int32_t columns, pageNumberX, pageNumberY, breakType, pageNumberFormat;
};
struct DocumentProps {
    int32_t paperWidth, paperHeight, marginLeft, marginRight, marginTop, marginBottom, firstPage;
    uint8_t facingPages, landscape;
};

enum KeywordKind : uint8_t {
    kKindCharacter = 0,
    kKindDestination = 1,
    kKindProperty = 2,
    kKindSpecial = 3
};

enum SpecialAction : int32_t { kSpecialBinary = 0, kSpecialHex = 1, kSpecialSkipUnknown = 2 };

struct Keyword {
    const char *text;
    int32_t defaultValue;
    bool passDefault;  // the default wins over a parameter
    KeywordKind kind;
    int32_t index;  // property number, character code or special action
};

// The entry a search of the keyword table in order finds for `length` bytes at `text`, or null.
const Keyword *find_keyword(const unsigned char *text, size_t length);

enum PropertyAction : uint8_t { kSetByte, kSetWord, kResetBlock };
enum PropertyBlock : uint8_t { kBlockCharacter, kBlockParagraph, kBlockSection, kBlockDocument };

struct Property {
    PropertyAction action;
    PropertyBlock block;
    uint8_t offset;  // of the byte or word inside its block
};

constexpr int32_t kPropertyCount = 24;
extern const Property kProperties[kPropertyCount];

}  // namespace tarn::rtf
