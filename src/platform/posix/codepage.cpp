#include "platform/codepage.h"

#include <errno.h>
#include <iconv.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace plat {
namespace {

// There is no system locale to ask here: the system pages are the Western European ones.
constexpr uint32_t kSystemAnsi = 1252;
constexpr uint32_t kSystemOem = 850;

constexpr uint32_t kUtf8 = 65001;
// Unknown numbers are remembered too, but only up to this many pages in all, so that a caller
// probing arbitrary numbers cannot grow the cache without bound.
constexpr size_t kMaxRemembered = 512;

enum class Kind { kUnknown, kSingleByte, kMultiByte };

struct CodePage {
    Kind kind = Kind::kUnknown;
    std::string iconvName;
    char16_t decode[256] = {};
    std::vector<std::pair<char16_t, unsigned char>> encode;  // sorted by unit
    unsigned char defaultByte = '?';
    // Multi-byte pages: UTF-16LE of what stands for bad input in either direction.
    std::string replacement;

    int byte_of(char16_t u) const {
        auto it =
            std::lower_bound(encode.begin(), encode.end(), std::make_pair(u, (unsigned char)0));
        return it != encode.end() && it->first == u ? it->second : -1;
    }
};

// The system's aliases of the conversion calls: CP_ACP, CP_OEMCP, CP_MACCP, CP_THREAD_ACP.
uint32_t resolve(uint32_t cp) {
    switch (cp) {
    case 0: return kSystemAnsi;
    case 1: return kSystemOem;
    case 2: return 10000;
    case 3: return kSystemAnsi;
    default: return cp;
    }
}

std::string numbered(const char *format, uint32_t n) {
    char name[32];
    std::snprintf(name, sizeof name, format, n);
    return name;
}

// iconv names worth trying for a Windows code page number, best first.
std::vector<std::string> iconv_names(uint32_t cp) {
    switch (cp) {
    case 0:
    case 1:
    case 2:
    case 3: return {};
    case 708: return {"ISO-8859-6"};
    case 10000: return {"MACINTOSH"};
    case 10029: return {"MAC-CENTRALEUROPE"};
    case 20127: return {"ASCII"};
    case 20866: return {"KOI8-R"};
    case 20932:
    case 51932: return {"EUC-JP"};
    case 20936:
    case 51936: return {"GB2312"};
    case 20949:
    case 51949: return {"EUC-KR"};
    case 21866: return {"KOI8-U"};
    case 28603: return {"ISO-8859-13"};
    case 28605: return {"ISO-8859-15"};
    case 50220: return {"ISO-2022-JP"};
    case 54936: return {"GB18030"};
    case 65000: return {"UTF-7"};
    case kUtf8: return {"UTF-8"};
    default: break;
    }
    if (cp >= 28591 && cp <= 28599) return {numbered("ISO-8859-%u", cp - 28590)};
    std::vector<std::string> names{numbered("CP%u", cp)};
    if (cp < 100) names.push_back(numbered("CP%03u", cp));  // 37 is CP037
    if (cp > 20000 && cp < 30000)
        names.push_back(numbered("IBM%u", cp - 20000));  // 20273 is IBM273
    return names;
}

struct Iconv {
    iconv_t cd;
    Iconv(const char *to, const char *from) : cd(iconv_open(to, from)) {}
    ~Iconv() {
        if (ok()) iconv_close(cd);
    }
    Iconv(const Iconv &) = delete;
    Iconv &operator=(const Iconv &) = delete;
    bool ok() const { return cd != reinterpret_cast<iconv_t>(-1); }
};

constexpr size_t kFailed = static_cast<size_t>(-1);

// Converts all of `in`, putting the UTF-16LE unit `replacement` in place of what the source
// does not encode or the target cannot hold, as the system's conversion calls do. From bytes
// (`unitBytes` 1) it is written as it is; to bytes (`unitBytes` 2) it is converted itself, so a
// page with shift states stays consistent. A surrogate pair the page lacks is skipped whole.
bool run_iconv(iconv_t cd, const char *in, size_t len, size_t unitBytes,
               const std::string &replacement, std::string *out) {
    char buf[1024];
    char *inp = const_cast<char *>(in);
    size_t inleft = len;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    for (;;) {
        char *outp = buf;
        size_t outleft = sizeof buf;
        bool flushing = inleft == 0;
        size_t r = flushing ? iconv(cd, nullptr, nullptr, &outp, &outleft)
                            : iconv(cd, &inp, &inleft, &outp, &outleft);
        int err = errno;
        out->append(buf, static_cast<size_t>(outp - buf));
        if (r != kFailed) {
            if (flushing) return true;
            continue;
        }
        if (err == E2BIG) continue;
        if (flushing || (err != EILSEQ && err != EINVAL)) return false;
        size_t skip = std::min(unitBytes, inleft);
        if (err == EINVAL) {
            skip = inleft;  // incomplete at the end
        } else if (unitBytes == 2 && inleft >= 4) {
            unsigned hi = static_cast<unsigned char>(inp[1]);
            unsigned nextHi = static_cast<unsigned char>(inp[3]);
            if ((hi & 0xFC) == 0xD8 && (nextHi & 0xFC) == 0xDC) skip = 4;
        }
        if (unitBytes == 1) {
            out->append(replacement);
        } else {
            char *rp = const_cast<char *>(replacement.data());
            size_t rleft = replacement.size();
            outp = buf;
            outleft = sizeof buf;
            if (iconv(cd, &rp, &rleft, &outp, &outleft) != kFailed) {
                out->append(buf, static_cast<size_t>(outp - buf));
            }
        }
        inp += skip;
        inleft -= skip;
    }
}

// Decodes each byte on its own: a page where every byte stands for one UTF-16 unit gets the
// fast tables, any other (lead bytes, shift states, composition) goes through iconv each time.
std::unique_ptr<CodePage> build_page(uint32_t cp) {
    auto page = std::make_unique<CodePage>();
    for (const std::string &name : iconv_names(cp)) {
        Iconv probe("UTF-16LE", name.c_str());
        if (!probe.ok()) continue;
        page->iconvName = name;

        bool singleByte = true;
        bool defined[256] = {};
        for (int b = 0; b < 256 && singleByte; ++b) {
            char in = static_cast<char>(b);
            char *inp = &in;
            size_t inleft = 1;
            char out[16];
            char *outp = out;
            size_t outleft = sizeof out;
            iconv(probe.cd, nullptr, nullptr, nullptr, nullptr);
            size_t r = iconv(probe.cd, &inp, &inleft, &outp, &outleft);
            int err = errno;
            if (r == kFailed && err == EILSEQ) continue;
            if (r == kFailed || iconv(probe.cd, nullptr, nullptr, &outp, &outleft) == kFailed ||
                outp - out != 2) {
                singleByte = false;
                break;
            }
            char16_t u = static_cast<char16_t>(static_cast<unsigned char>(out[0]) |
                                               static_cast<unsigned char>(out[1]) << 8);
            if (u >= 0xD800 && u <= 0xDFFF) {
                singleByte = false;
                break;
            }
            page->decode[b] = u;
            defined[b] = true;
        }

        if (!singleByte) {
            Iconv enc(name.c_str(), "UTF-16LE");
            if (!enc.ok()) continue;  // decodes only; the system's pages convert both ways
            page->kind = Kind::kMultiByte;
            // What the system puts for bad input of the multi-byte pages that convert here.
            page->replacement = std::string("?\0", 2);
            return page;
        }

        page->kind = Kind::kSingleByte;
        for (int b = 0; b < 256; ++b) {
            if (defined[b]) {
                page->encode.emplace_back(page->decode[b], static_cast<unsigned char>(b));
            } else if (b >= 0x80 && b <= 0x9F) {
                // Undefined bytes of the C1 range stand for the C1 control of the same number,
                // as in the system's own 125x tables, so that every byte survives a round trip.
                page->decode[b] = static_cast<char16_t>(b);
                page->encode.emplace_back(page->decode[b], static_cast<unsigned char>(b));
            } else {
                page->decode[b] = u'?';
            }
        }
        std::sort(page->encode.begin(), page->encode.end());
        page->encode.erase(std::unique(page->encode.begin(), page->encode.end(),
                                       [](const auto &a, const auto &b) {
                                           return a.first == b.first;
                                       }),
                           page->encode.end());
        int q = page->byte_of(u'?');
        page->defaultByte = static_cast<unsigned char>(q >= 0 ? q : '?');
        return page;
    }
    page->kind = Kind::kUnknown;
    return page;
}

struct PageCache {
    std::mutex mutex;
    std::unordered_map<uint32_t, std::unique_ptr<CodePage>> pages;  // never erased
};

// Kept until the process ends: conversions may still run while other statics are destroyed.
PageCache &page_cache() {
    static PageCache *cache = new PageCache;
    return *cache;
}

// The page for `cp` as given (no aliases), null when iconv has no such page. Conversions
// alternate between two pages at most, so each thread keeps its last two without locking.
const CodePage *find_page(uint32_t cp) {
    thread_local uint32_t recentCp[2] = {~0u, ~0u};
    thread_local const CodePage *recentPage[2] = {nullptr, nullptr};
    thread_local int recentNext = 0;
    for (int i = 0; i < 2; ++i) {
        if (recentCp[i] == cp) return recentPage[i];
    }

    const CodePage *page = nullptr;
    {
        PageCache &cache = page_cache();
        std::lock_guard<std::mutex> lock(cache.mutex);
        auto it = cache.pages.find(cp);
        if (it != cache.pages.end()) {
            page = it->second.get();
        } else {
            std::unique_ptr<CodePage> built = build_page(cp);
            if (built->kind == Kind::kUnknown && cache.pages.size() >= kMaxRemembered)
                return nullptr;
            page = built.get();
            cache.pages.emplace(cp, std::move(built));
        }
    }
    if (page->kind == Kind::kUnknown) page = nullptr;
    recentCp[recentNext] = cp;
    recentPage[recentNext] = page;
    recentNext ^= 1;
    return page;
}

char16_t unit_at(const std::string &utf16le, size_t i) {
    return static_cast<char16_t>(static_cast<unsigned char>(utf16le[2 * i]) |
                                 static_cast<unsigned char>(utf16le[2 * i + 1]) << 8);
}

// The pages whose conversion calls refuse the composition flags (MB_PRECOMPOSED and
// WC_COMPOSITECHECK) with ERROR_INVALID_FLAGS. Every conversion passes them, so these fail.
bool refuses_composition_flags(uint32_t cp) {
    switch (cp) {
    case 42:  // Symbol
    case 50220:
    case 50221:
    case 50222:
    case 50225:
    case 50227:
    case 50229:  // ISO-2022
    case 52936:  // HZ-GB2312
    case 54936:  // GB18030
    case 65000:  // UTF-7
    case kUtf8: return true;
    default: return cp >= 57002 && cp <= 57011;  // ISCII
    }
}

// The precomposed letter for `base` followed by the combining mark `mark`, 0 when there is none:
// the Latin-1 letters and U+0178, which the Western European pages hold.
char16_t composed(char16_t base, char16_t mark) {
    static const struct {
        char16_t mark;
        const char *bases;
        char16_t letters[12];
    } kMarks[] = {
        {0x0300, "AEIOUaeiou", {0xC0, 0xC8, 0xCC, 0xD2, 0xD9, 0xE0, 0xE8, 0xEC, 0xF2, 0xF9}},
        {0x0301,
         "AEIOUYaeiouy",
         {0xC1, 0xC9, 0xCD, 0xD3, 0xDA, 0xDD, 0xE1, 0xE9, 0xED, 0xF3, 0xFA, 0xFD}},
        {0x0302, "AEIOUaeiou", {0xC2, 0xCA, 0xCE, 0xD4, 0xDB, 0xE2, 0xEA, 0xEE, 0xF4, 0xFB}},
        {0x0303, "ANOano", {0xC3, 0xD1, 0xD5, 0xE3, 0xF1, 0xF5}},
        {0x0308,
         "AEIOUYaeiouy",
         {0xC4, 0xCB, 0xCF, 0xD6, 0xDC, 0x178, 0xE4, 0xEB, 0xEF, 0xF6, 0xFC, 0xFF}},
        {0x030A, "Aa", {0xC5, 0xE5}},
        {0x0327, "Cc", {0xC7, 0xE7}},
    };
    if (base == 0 || base > 0x7F) return 0;
    for (const auto &row : kMarks) {
        if (row.mark != mark) continue;
        const char *hit = std::strchr(row.bases, static_cast<char>(base));
        return hit ? row.letters[hit - row.bases] : 0;
    }
    return 0;
}

// The text with each base letter and following combining mark joined into one precomposed
// letter where there is one, as the system's composite check does before encoding.
std::u16string compose(const char16_t *src, int n) {
    std::u16string out(src, static_cast<size_t>(n));
    size_t w = 0;
    for (size_t r = 0; r < out.size(); ++r) {
        char16_t letter = r + 1 < out.size() ? composed(out[r], out[r + 1]) : 0;
        if (letter != 0) {
            out[w++] = letter;
            ++r;
        } else {
            out[w++] = out[r];
        }
    }
    out.resize(w);
    return out;
}

// Upper case of the letters a Western European page can hold; the rest stays as it is,
// including 'ß' and 'µ', whose capitals need another character or another page.
char16_t upper_of(char16_t u) {
    if (u >= u'a' && u <= u'z') return static_cast<char16_t>(u - 0x20);
    if (u >= 0xE0 && u <= 0xFE && u != 0xF7) return static_cast<char16_t>(u - 0x20);
    if (u == 0xFF) return 0x178;
    if (u == 0x131) return u'I';
    bool oddLower = (u >= 0x100 && u <= 0x137) || (u >= 0x14A && u <= 0x177);
    bool evenLower = (u >= 0x139 && u <= 0x148) || (u >= 0x179 && u <= 0x17E);
    if ((oddLower && (u & 1)) || (evenLower && !(u & 1))) return static_cast<char16_t>(u - 1);
    return u;
}

}  // namespace

int mb_to_wide(uint32_t cp, const char *src, int n, char16_t *dst, int cap) {
    if (!src || n <= 0 || cap < 0) return 0;
    cp = resolve(cp);
    if (refuses_composition_flags(cp)) return 0;
    const CodePage *page = find_page(cp);
    if (!page) return 0;
    if (page->kind == Kind::kSingleByte) {
        if (cap == 0) return n;  // a query for the size, as the system call answers it
        if (n > cap) return 0;
        for (int i = 0; i < n; ++i) dst[i] = page->decode[static_cast<unsigned char>(src[i])];
        return n;
    }
    Iconv cd("UTF-16LE", page->iconvName.c_str());
    std::string out;
    if (!cd.ok() || !run_iconv(cd.cd, src, static_cast<size_t>(n), 1, page->replacement, &out))
        return 0;
    size_t units = out.size() / 2;
    if (cap == 0) return static_cast<int>(units);
    if (units > static_cast<size_t>(cap)) return 0;
    for (size_t i = 0; i < units; ++i) dst[i] = unit_at(out, i);
    return static_cast<int>(units);
}

// Base letters followed by a combining mark are composed for the single-byte pages only; the
// multi-byte pages take the text as it stands.
int wide_to_mb(uint32_t cp, const char16_t *src, int n, char *dst, int cap) {
    if (!src || n <= 0 || cap < 0) return 0;
    cp = resolve(cp);
    if (refuses_composition_flags(cp)) return 0;
    const CodePage *page = find_page(cp);
    if (!page) return 0;
    if (page->kind == Kind::kSingleByte) {
        const std::u16string text = compose(src, n);
        const int count = static_cast<int>(text.size());
        if (cap == 0) return count;
        if (count > cap) return 0;
        for (int i = 0; i < count; ++i) {
            int b = page->byte_of(text[i]);
            dst[i] = static_cast<char>(b >= 0 ? b : page->defaultByte);
        }
        return count;
    }
    std::string in;
    in.reserve(2 * static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        in.push_back(static_cast<char>(src[i] & 0xFF));
        in.push_back(static_cast<char>(src[i] >> 8));
    }
    Iconv cd(page->iconvName.c_str(), "UTF-16LE");
    std::string out;
    if (!cd.ok() || !run_iconv(cd.cd, in.data(), in.size(), 2, page->replacement, &out)) return 0;
    if (cap == 0) return static_cast<int>(out.size());
    if (out.size() > static_cast<size_t>(cap)) return 0;
    std::copy(out.begin(), out.end(), dst);
    return static_cast<int>(out.size());
}

bool is_valid_codepage(uint32_t cp) { return find_page(cp) != nullptr; }

uint32_t system_acp() { return kSystemAnsi; }

uint32_t system_oemcp() { return kSystemOem; }

int char_upper(int c) {
    unsigned char b = static_cast<unsigned char>(c);
    const CodePage *page = find_page(kSystemAnsi);
    if (!page || page->kind != Kind::kSingleByte) {
        return b >= 'a' && b <= 'z' ? b - 0x20 : b;
    }
    char16_t u = page->decode[b];
    char16_t up = upper_of(u);
    if (up == u) return b;
    int back = page->byte_of(up);
    return back >= 0 ? back : b;
}

}  // namespace plat
