// The language layer: the current translator and the library's default one, which copies texts
// unchanged.
#include <atomic>
#include <cstring>
#include <vector>

#include "export.h"
#include "lib/language.h"

namespace {

constexpr int32_t kNoInterface = int32_t(0x80004002u);
constexpr int32_t kMarkerId = -2;
constexpr const char *kMarker = "TranslateTextA(-2,..)";

const GUID kIidLanguageLayer = TARN_IID_IKOLANGUAGELAYER;
const GUID kIidUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

struct DefaultLayer : IkoLanguageLayer {
    std::atomic<int32_t> currentId{0};
    // It lives as long as the library: the count is kept for callers that look at it.
    std::atomic<uint32_t> refs{1};
};

void copy_cut(char *dst, int32_t size, const char *src) {
    if (!dst || size < 1) return;
    const size_t n = std::min(std::strlen(src ? src : ""), size_t(size) - 1);
    if (n) std::memmove(dst, src, n);
    dst[n] = '\0';
}

DefaultLayer *of(IkoLanguageLayer *self) { return static_cast<DefaultLayer *>(self); }

// The object itself without a reference, as the default object answers.
int32_t TARN_CALL query(IkoLanguageLayer *self, const GUID *iid, void **object) {
    const bool known = iid && (std::memcmp(iid, &kIidLanguageLayer, sizeof(GUID)) == 0 ||
                               std::memcmp(iid, &kIidUnknown, sizeof(GUID)) == 0);
    if (object) *object = known ? self : nullptr;
    return known ? 0 : kNoInterface;
}

uint32_t TARN_CALL add_ref(IkoLanguageLayer *self) { return ++of(self)->refs; }

uint32_t TARN_CALL release(IkoLanguageLayer *self) {
    uint32_t n = of(self)->refs;
    while (n > 1 && !of(self)->refs.compare_exchange_weak(n, n - 1)) {
    }
    return n > 1 ? n - 1 : 1;
}

int32_t TARN_CALL translate_text(IkoLanguageLayer *self, int32_t id, const char *src, char *dst,
                                 int32_t size) {
    const int32_t effective = id != 0 ? id : of(self)->currentId.load();
    copy_cut(dst, size, effective == kMarkerId ? kMarker : src);
    return 0;
}

int32_t TARN_CALL set_id(IkoLanguageLayer *self, int32_t id) {
    of(self)->currentId = id;
    return 0;
}

int32_t TARN_CALL get_id(IkoLanguageLayer *self, int32_t *id) {
    if (id) *id = of(self)->currentId;
    return 0;
}

const IkoLanguageLayerVtbl kDefaultSlots = {query, add_ref, release, translate_text, set_id, get_id};

struct LanguageState {
    DefaultLayer standard;
    IkoLanguageLayer *current = &standard;
    LanguageState() { standard.lpVtbl = &kDefaultSlots; }
};

LanguageState &state() {
    static LanguageState *s = new LanguageState;  // outlives every static destructor
    return *s;
}

}  // namespace

namespace tarn::lang {

void translate(const char *src, char *dst, int32_t size) {
    if (!dst || size < 1) return;
    IkoLanguageLayer *layer = state().current;
    layer->lpVtbl->TranslateTextA(layer, 0, src ? src : "", dst, size);
}

std::string translated(const char *src, int32_t room) {
    std::vector<char> buffer(size_t(room > 0 ? room : 1), '\0');
    translate(src, buffer.data(), int32_t(buffer.size()));
    return buffer.data();
}

}  // namespace tarn::lang

TARN_API int32_t TARN_CALL koSetLanguageLayer(IkoLanguageLayer *layer) {
    LanguageState &s = state();
    IkoLanguageLayer *next = layer ? layer : &s.standard;
    next->lpVtbl->AddRef(next);  // before letting go of the old one, which may be the same
    IkoLanguageLayer *old = s.current;
    s.current = next;
    old->lpVtbl->Release(old);
    return 0;
}

TARN_API int32_t TARN_CALL koQueryLanguageLayer(IkoLanguageLayer **out) {
    IkoLanguageLayer *layer = state().current;
    return layer->lpVtbl->QueryInterface(layer, &kIidLanguageLayer, reinterpret_cast<void **>(out));
}
