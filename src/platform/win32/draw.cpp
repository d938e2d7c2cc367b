// Painting with GDI: the device's own units, fonts made for its vertical resolution.
#include "platform/draw.h"

#include <windows.h>
#include <olectl.h>
#include <gdiplus.h>

#include <algorithm>
#include <mutex>
#include <set>
#include <vector>

#include "platform/printer.h"
#include "platform/syscall.h"

namespace plat {
namespace {

// The memory devices made here, with the pixels of their DIB sections.
struct MemoryDevice {
    HBITMAP bitmap, previous;
    uint32_t *bits;
    int width, height;
    int dpi;
};
struct MemoryDevices {
    std::mutex lock;
    std::vector<std::pair<HDC, MemoryDevice>> live;
};
MemoryDevices &memory_devices() {
    static MemoryDevices *m = new MemoryDevices;
    return *m;
}

// A font for `dc`; character height from the points, width from the pitch when one is given.
HFONT make_font(HDC dc, const FontSpec &font) {
    const int height = -MulDiv(int(font.points * 100 + 0.5), device_caps(dc, kCapDpiY), 7200);
    const int width = font.charWidthPoints > 0 ? MulDiv(int(font.charWidthPoints * 100 + 0.5),
                                                        device_caps(dc, kCapDpiX), 7200)
                                               : 0;
    return CreateFontA(height, width, 0, 0, font.weight, font.italic, font.underline,
                       font.strikeOut, ANSI_CHARSET, OUT_TT_PRECIS, CLIP_DEFAULT_PRECIS,
                       PROOF_QUALITY, DEFAULT_PITCH | FF_DONTCARE, font.name.c_str());
}

// Pictures GDI cannot read itself (PNG, JPEG, GIF) through the system's picture object.
// The largest box of w x h proportions inside the box, centred in it.
void keep_aspect(int w, int h, int *left, int *top, int *right, int *bottom) {
    if (w <= 0 || h <= 0) return;
    const double scale = std::min(double(*right - *left) / w, double(*bottom - *top) / h);
    const int fw = int(w * scale + 0.5), fh = int(h * scale + 0.5);
    *left += (*right - *left - fw) / 2;
    *top += (*bottom - *top - fh) / 2;
    *right = *left + fw;
    *bottom = *top + fh;
}

bool draw_ole_picture(HDC dc, int left, int top, int right, int bottom, const char *file,
                      PictureFit fit) {
    HANDLE f = CreateFileA(file, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (f == INVALID_HANDLE_VALUE) return false;
    const DWORD size = GetFileSize(f, nullptr);
    HGLOBAL mem =
        size != INVALID_FILE_SIZE && size > 0 ? GlobalAlloc(GMEM_MOVEABLE, size) : nullptr;
    DWORD read = 0;
    bool ok = mem && ReadFile(f, GlobalLock(mem), size, &read, nullptr) && read == size;
    CloseHandle(f);
    if (mem) GlobalUnlock(mem);
    IStream *stream = nullptr;
    IPicture *picture = nullptr;
    if (ok && SUCCEEDED(CreateStreamOnHGlobal(mem, TRUE, &stream))) {
        mem = nullptr;  // the stream owns it now
        ok = SUCCEEDED(OleLoadPicture(stream, LONG(size), FALSE, IID_IPicture,
                                      reinterpret_cast<void **>(&picture)));
        stream->Release();
    } else {
        ok = false;
    }
    if (mem) GlobalFree(mem);
    if (!ok || !picture) return false;
    OLE_XSIZE_HIMETRIC w = 0;
    OLE_YSIZE_HIMETRIC h = 0;
    picture->get_Width(&w);
    picture->get_Height(&h);
    if (fit == kKeepAspect) keep_aspect(w, h, &left, &top, &right, &bottom);
    ok =
        SUCCEEDED(picture->Render(dc, left, top, right - left, bottom - top, 0, h, w, -h, nullptr));
    picture->Release();
    return ok;
}

}  // namespace

bool start_document(HDC dc, const char *name, const char *output) {
    if (!dc) return false;
    DOCINFOA info = {};
    info.cbSize = sizeof info;
    info.lpszDocName = name && *name ? name : "tarngdi32";
    info.lpszOutput = output;
    return StartDocA(dc, &info) > 0;
}

bool end_document(HDC dc) { return dc && EndDoc(dc) > 0; }
bool start_page(HDC dc) { return dc && StartPage(dc) > 0; }
bool end_page(HDC dc) { return dc && EndPage(dc) > 0; }

void set_origin(HDC dc, int x, int y) { SetViewportOrgEx(dc, x, y, nullptr); }

void get_origin(HDC dc, int *x, int *y) {
    POINT p = {0, 0};
    if (dc) GetViewportOrgEx(dc, &p);
    *x = p.x;
    *y = p.y;
}

void draw_line(HDC dc, int x1, int y1, int x2, int y2, COLORREF colour, int width) {
    HPEN pen = CreatePen(PS_SOLID, width, colour);
    HGDIOBJ old = SelectObject(dc, pen);
    MoveToEx(dc, x1, y1, nullptr);
    LineTo(dc, x2, y2);
    SetPixelV(dc, x2, y2, colour);  // LineTo leaves the last point out
    SelectObject(dc, old);
    DeleteObject(pen);
}

void fill_box(HDC dc, int left, int top, int right, int bottom, COLORREF colour) {
    HBRUSH brush = CreateSolidBrush(colour);
    const RECT r = {left, top, right, bottom};
    FillRect(dc, &r, brush);
    DeleteObject(brush);
}

int text_height(HDC dc, const FontSpec &font) {
    HFONT f = make_font(dc, font);
    HGDIOBJ old = SelectObject(dc, f);
    TEXTMETRICA tm = {};
    GetTextMetricsA(dc, &tm);
    SelectObject(dc, old);
    DeleteObject(f);
    return tm.tmHeight;
}

void draw_text(HDC dc, int left, int top, int right, int bottom, const char *text,
               const FontSpec &font, COLORREF colour, TextAlign align) {
    if (!text) return;
    HFONT f = make_font(dc, font);
    HGDIOBJ old = SelectObject(dc, f);
    const int oldMode = SetBkMode(dc, TRANSPARENT);
    const COLORREF oldColour = SetTextColor(dc, colour);
    RECT r = {left, top, right, bottom};
    const UINT how = DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX |
                     (align == kAlignRight    ? DT_RIGHT
                      : align == kAlignCenter ? DT_CENTER
                                              : DT_LEFT);
    DrawTextA(dc, text, -1, &r, how);
    SetTextColor(dc, oldColour);
    SetBkMode(dc, oldMode);
    SelectObject(dc, old);
    DeleteObject(f);
}

bool draw_picture(HDC dc, int left, int top, int right, int bottom, const char *file,
                  PictureFit fit) {
    if (!dc || !file) return false;
    HBITMAP bitmap = static_cast<HBITMAP>(
        LoadImageA(nullptr, file, IMAGE_BITMAP, 0, 0, LR_LOADFROMFILE | LR_CREATEDIBSECTION));
    if (!bitmap) return draw_ole_picture(dc, left, top, right, bottom, file, fit);
    BITMAP info = {};
    GetObjectA(bitmap, sizeof info, &info);
    if (fit == kKeepAspect) keep_aspect(info.bmWidth, info.bmHeight, &left, &top, &right, &bottom);
    HDC source = CreateCompatibleDC(dc);
    HGDIOBJ old = SelectObject(source, bitmap);
    SetStretchBltMode(dc, HALFTONE);
    const bool ok = StretchBlt(dc, left, top, right - left, bottom - top, source, 0, 0,
                               info.bmWidth, info.bmHeight, SRCCOPY);
    SelectObject(source, old);
    DeleteDC(source);
    DeleteObject(bitmap);
    return ok;
}

namespace {

// The metafile at the origin, at the size its frame (hundredths of a millimetre) gives it.
bool play_metafile(HDC dc, HENHMETAFILE emf) {
    if (!emf) return false;
    ENHMETAHEADER header = {};
    GetEnhMetaFileHeader(emf, sizeof header, &header);
    const RECTL frame = header.rclFrame;
    const RECT box = {0, 0, MulDiv(frame.right - frame.left, device_caps(dc, kCapDpiX), 2540),
                      MulDiv(frame.bottom - frame.top, device_caps(dc, kCapDpiY), 2540)};
    const bool ok = PlayEnhMetaFile(dc, emf, &box) != FALSE;
    DeleteEnhMetaFile(emf);
    return ok;
}

}  // namespace

bool draw_drawing_file(HDC dc, const char *file) {
    return dc && file && play_metafile(dc, GetEnhMetaFileA(file));
}

bool draw_drawing_data(HDC dc, const void *data, size_t size) {
    if (!dc || !data || size == 0 || size > 0x7FFFFFFF) return false;
    return play_metafile(dc, SetEnhMetaFileBits(UINT(size), static_cast<const BYTE *>(data)));
}

// A screen-compatible device has the screen's resolution; it answers with the dpi it was made
// for, which coordinates and fonts follow (see device_caps).
HDC create_memory_dc(int width, int height, int dpi) {
    if (width <= 0 || height <= 0 || dpi <= 0) return nullptr;
    HDC dc = CreateCompatibleDC(nullptr);
    if (!dc) return nullptr;
    BITMAPINFO bi = {};
    bi.bmiHeader.biSize = sizeof bi.bmiHeader;
    bi.bmiHeader.biWidth = width;
    bi.bmiHeader.biHeight = -height;  // top-down rows
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    void *bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(dc, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!bitmap) return DeleteDC(dc), nullptr;
    HGDIOBJ previous = SelectObject(dc, bitmap);
    std::fill_n(static_cast<uint32_t *>(bits), size_t(width) * size_t(height), 0x00FFFFFFu);
    std::lock_guard<std::mutex> hold(memory_devices().lock);
    memory_devices().live.push_back(
        {dc, {bitmap, static_cast<HBITMAP>(previous), static_cast<uint32_t *>(bits), width, height,
              dpi}});
    return dc;
}

// GDI+ writes the pixels of the DIB section as they are (32 bits, rows top-down).
bool save_png(HDC dc, const char *path) {
    if (!dc || !path || fail_now(kCallCreateFile)) return false;
    static ULONG_PTR token = 0;
    static std::once_flag started;
    std::call_once(started, [] {
        Gdiplus::GdiplusStartupInput input;
        Gdiplus::GdiplusStartup(&token, &input, nullptr);
    });
    GdiFlush();
    std::lock_guard<std::mutex> hold(memory_devices().lock);
    for (const auto &entry : memory_devices().live) {
        if (entry.first != dc) continue;
        const MemoryDevice &m = entry.second;
        const int n = MultiByteToWideChar(CP_ACP, 0, path, -1, nullptr, 0);
        std::vector<WCHAR> wide(size_t(n > 0 ? n : 1), 0);
        MultiByteToWideChar(CP_ACP, 0, path, -1, wide.data(), n);
        Gdiplus::GpBitmap *bitmap = nullptr;
        if (Gdiplus::DllExports::GdipCreateBitmapFromScan0(
                m.width, m.height, m.width * 4, PixelFormat32bppRGB,
                reinterpret_cast<BYTE *>(m.bits), &bitmap) != Gdiplus::Ok)
            return false;
        static const CLSID kPngEncoder = {
            0x557cf406, 0x1a04, 0x11d3, {0x9a, 0x73, 0x00, 0x00, 0xf8, 0x1e, 0xf3, 0x2e}};
        const bool saved = Gdiplus::DllExports::GdipSaveImageToFile(bitmap, wide.data(),
                                                                  &kPngEncoder, nullptr) == Gdiplus::Ok;
        Gdiplus::DllExports::GdipDisposeImage(bitmap);
        return saved;
    }
    return false;
}

bool memory_pixel(HDC dc, int x, int y, COLORREF *colour) {
    GdiFlush();
    std::lock_guard<std::mutex> hold(memory_devices().lock);
    for (const auto &entry : memory_devices().live) {
        if (entry.first != dc) continue;
        const MemoryDevice &m = entry.second;
        if (x < 0 || y < 0 || x >= m.width || y >= m.height) return false;
        const uint32_t p = m.bits[size_t(y) * size_t(m.width) + size_t(x)];
        *colour = ((p >> 16) & 0xFF) | (p & 0xFF00) | ((p & 0xFF) << 16);
        return true;
    }
    return false;
}

// Memory devices give their bitmap back before the device goes.
bool memory_dc_info(HDC dc, int *width, int *height, int *dpi) {
    std::lock_guard<std::mutex> hold(memory_devices().lock);
    for (const auto &entry : memory_devices().live)
        if (entry.first == dc) {
            *width = entry.second.width;
            *height = entry.second.height;
            *dpi = entry.second.dpi;
            return true;
        }
    return false;
}

bool release_memory_dc(HDC dc) {
    std::lock_guard<std::mutex> hold(memory_devices().lock);
    auto &live = memory_devices().live;
    for (auto it = live.begin(); it != live.end(); ++it) {
        if (it->first != dc) continue;
        SelectObject(dc, it->second.previous);
        DeleteObject(it->second.bitmap);
        live.erase(it);
        return true;
    }
    return false;
}

}  // namespace plat
