// The keyword table, its hash index and the property table.
#include "rtf/rtf_tables.h"

#include <iterator>

namespace tarn::rtf {
namespace {

enum PropertyNumber : int32_t {
    kBold,
    kItalic,
    kUnderline,
    kLeftIndent,
    kRightIndent,
    kFirstIndent,
    kColumns,
    kPageNumberX,
    kPageNumberY,
    kPaperWidth,
    kPaperHeight,
    kMarginLeft,
    kMarginRight,
    kMarginTop,
    kMarginBottom,
    kFirstPage,
    kBreakType,
    kPageNumberFormat,
    kFacingPages,
    kLandscape,
    kJustification,
    kResetParagraph,
    kResetCharacter,
    kResetSection
};
static_assert(kResetSection + 1 == kPropertyCount);

constexpr Keyword prop(const char *text, int32_t def, bool pass, int32_t number) {
    return {text, def, pass, kKindProperty, number};
}
constexpr Keyword chr(const char *text, int32_t code) {
    return {text, 0, false, kKindCharacter, code};
}
constexpr Keyword dest(const char *text) { return {text, 0, false, kKindDestination, 0}; }
constexpr Keyword special(const char *text, int32_t action) {
    return {text, 0, false, kKindSpecial, action};
}

constexpr Keyword kKeywords[] = {
    prop("b", 1, false, kBold),
    prop("u", 1, false, kUnderline),
    prop("i", 1, false, kItalic),
    prop("li", 0, false, kLeftIndent),
    prop("ri", 0, false, kRightIndent),
    prop("fi", 0, false, kFirstIndent),
    prop("cols", 1, false, kColumns),
    prop("sbknone", 0, true, kBreakType),
    prop("sbkcol", 1, true, kBreakType),
    prop("sbkeven", 2, true, kBreakType),
    prop("sbkodd", 3, true, kBreakType),
    prop("sbkpage", 4, true, kBreakType),
    prop("pgnx", 0, false, kPageNumberX),
    prop("pgny", 0, false, kPageNumberY),
    prop("pgndec", 0, true, kPageNumberFormat),
    prop("pgnucrm", 1, true, kPageNumberFormat),
    prop("pgnlcrm", 2, true, kPageNumberFormat),
    prop("pgnucltr", 3, true, kPageNumberFormat),
    prop("pgnlcltr", 4, true, kPageNumberFormat),
    prop("qc", 2, true, kJustification),
    prop("ql", 0, true, kJustification),
    prop("qr", 1, true, kJustification),
    prop("qj", 3, true, kJustification),
    prop("paperw", 12240, false, kPaperWidth),
    prop("paperh", 15480, false, kPaperHeight),
    prop("margl", 1800, false, kMarginLeft),
    prop("margr", 1800, false, kMarginRight),
    prop("margt", 1440, false, kMarginTop),
    prop("margb", 1440, false, kMarginBottom),
    prop("pgnstart", 1, true, kFirstPage),
    prop("facingp", 1, true, kFacingPages),
    prop("landscape", 1, true, kLandscape),
    // The two empty texts held the line-feed and carriage-return words once; nothing matches them.
    chr("par", 10),
    chr("", 10),
    chr("", 10),
    chr("tab", 9),
    chr("ldblquote", 34),
    chr("rdblquote", 34),
    special("bin", kSpecialBinary),
    special("*", kSpecialSkipUnknown),
    special("'", kSpecialHex),
    dest("author"),
    dest("buptim"),
    dest("colortbl"),
    dest("comment"),
    dest("creatim"),
    dest("doccomm"),
    dest("fonttbl"),
    dest("footer"),
    dest("footerf"),
    dest("footerl"),
    dest("footerr"),
    dest("footnote"),
    dest("ftncn"),
    dest("ftnsep"),
    dest("ftnsepc"),
    dest("header"),
    dest("headerf"),
    dest("headerl"),
    dest("headerr"),
    dest("info"),
    dest("keywords"),
    dest("operator"),
    dest("pict"),
    dest("printim"),
    // A keyword never holds a digit, so this entry is never found; "\private1" reads as unknown.
    dest("private1"),
    dest("revtim"),
    dest("rxe"),
    dest("stylesheet"),
    dest("subject"),
    dest("tc"),
    dest("title"),
    dest("txe"),
    dest("xe"),
    chr("{", 123),
    chr("}", 125),
    chr("\\", 92),
};
constexpr size_t kKeywordCount = std::size(kKeywords);
static_assert(kKeywordCount == 77);

// Open addressing with linear probing, entries inserted in table order: along any probe path an
// earlier entry comes first, so a lookup finds what the search in order would find.
constexpr uint32_t kSlots = 256;
static_assert(kKeywordCount < kSlots / 2);

template <class Char>
constexpr uint32_t hash(const Char *text, size_t length) {
    uint32_t h = 2166136261u;
    for (size_t i = 0; i < length; ++i) h = (h ^ static_cast<unsigned char>(text[i])) * 16777619u;
    return h % kSlots;
}

struct KeywordIndex {
    uint8_t slot[kSlots];  // entry number + 1, 0 for a free slot
    uint8_t length[kKeywordCount];
    size_t longest;
};

constexpr KeywordIndex make_index() {
    KeywordIndex index{};
    for (size_t i = 0; i < kKeywordCount; ++i) {
        size_t n = 0;
        while (kKeywords[i].text[n]) ++n;
        index.length[i] = static_cast<uint8_t>(n);
        if (n > index.longest) index.longest = n;
        uint32_t h = hash(kKeywords[i].text, n);
        while (index.slot[h]) h = (h + 1) % kSlots;
        index.slot[h] = static_cast<uint8_t>(i + 1);
    }
    return index;
}

constexpr KeywordIndex kIndex = make_index();

constexpr Property byte_of(PropertyBlock block, size_t offset) {
    return {kSetByte, block, static_cast<uint8_t>(offset)};
}
constexpr Property word_of(PropertyBlock block, size_t offset) {
    return {kSetWord, block, static_cast<uint8_t>(offset)};
}

}  // namespace

const Keyword *find_keyword(const unsigned char *text, size_t length) {
    if (length > kIndex.longest) return nullptr;
    for (uint32_t h = hash(text, length); kIndex.slot[h]; h = (h + 1) % kSlots) {
        const size_t i = kIndex.slot[h] - 1u;
        if (kIndex.length[i] != length) continue;
        // Keywords are a few bytes long: a loop beats the call of memcmp.
        const char *k = kKeywords[i].text;
        size_t n = 0;
        while (n < length && static_cast<unsigned char>(k[n]) == text[n]) ++n;
        if (n == length) return &kKeywords[i];
    }
    return nullptr;
}

const Property kProperties[kPropertyCount] = {
    byte_of(kBlockCharacter, offsetof(CharacterProps, bold)),
    byte_of(kBlockCharacter, offsetof(CharacterProps, italic)),
    byte_of(kBlockCharacter, offsetof(CharacterProps, underline)),
    word_of(kBlockParagraph, offsetof(ParagraphProps, leftIndent)),
    word_of(kBlockParagraph, offsetof(ParagraphProps, rightIndent)),
    word_of(kBlockParagraph, offsetof(ParagraphProps, firstIndent)),
    word_of(kBlockSection, offsetof(SectionProps, columns)),
    word_of(kBlockSection, offsetof(SectionProps, pageNumberX)),
    word_of(kBlockSection, offsetof(SectionProps, pageNumberY)),
    word_of(kBlockDocument, offsetof(DocumentProps, paperWidth)),
    word_of(kBlockDocument, offsetof(DocumentProps, paperHeight)),
    word_of(kBlockDocument, offsetof(DocumentProps, marginLeft)),
    word_of(kBlockDocument, offsetof(DocumentProps, marginRight)),
    word_of(kBlockDocument, offsetof(DocumentProps, marginTop)),
    word_of(kBlockDocument, offsetof(DocumentProps, marginBottom)),
    word_of(kBlockDocument, offsetof(DocumentProps, firstPage)),
    word_of(kBlockSection, offsetof(SectionProps, breakType)),
    word_of(kBlockSection, offsetof(SectionProps, pageNumberFormat)),
    byte_of(kBlockDocument, offsetof(DocumentProps, facingPages)),
    byte_of(kBlockDocument, offsetof(DocumentProps, landscape)),
    word_of(kBlockParagraph, offsetof(ParagraphProps, justification)),
    {kResetBlock, kBlockParagraph, 0},
    {kResetBlock, kBlockCharacter, 0},
    {kResetBlock, kBlockSection, 0},
};

}  // namespace tarn::rtf
