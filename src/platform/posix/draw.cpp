// Painting with cairo and pango. User space is the device's dots: a PDF page is scaled from
// points, and pango is told the device's resolution so that a point stays 1/72 inch (its own
// default of 96 dots per inch would shrink every font on a 600-dot page).
#include "platform/draw.h"

#include <cairo-pdf.h>
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/codepage.h"
#include "platform/posix/print_device.h"
#include "platform/posix/print_output.h"
#include "platform/syscall.h"

namespace plat {
namespace {

void set_colour(cairo_t *cr, COLORREF c) {
    cairo_set_source_rgb(cr, (c & 0xFF) / 255.0, ((c >> 8) & 0xFF) / 255.0,
                         ((c >> 16) & 0xFF) / 255.0);
}

// A device that can paint now: a memory image, or a document with a page under way.
PrintDevice *painting(HDC dc) {
    PrintDevice *d = print_device(dc);
    return d && d->cr ? d : nullptr;
}

std::string ansi_to_utf8(const char *text) {
    const int n = int(std::strlen(text));
    // Most texts of a page are plain ASCII, which is UTF-8 as it stands.
    if (std::all_of(text, text + n, [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        return std::string(text, size_t(n));
    std::vector<char16_t> wide(size_t(n) + 1);
    const int units = n ? mb_to_wide(0, text, n, wide.data(), n) : 0;
    std::string out;
    for (int i = 0; i < units; ++i) {
        uint32_t c = wide[size_t(i)];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < units)
            c = 0x10000 + ((c - 0xD800) << 10) + (wide[size_t(++i)] - 0xDC00);
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6)), out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | (c >> 12)), out += char(0x80 | ((c >> 6) & 0x3F)),
                out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | (c >> 18)), out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F)), out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

PangoFontDescription *describe(const FontSpec &font) {
    PangoFontDescription *fd = pango_font_description_new();
    pango_font_description_set_family(fd, font.name.empty() ? "Courier" : font.name.c_str());
    pango_font_description_set_size(fd, int(font.points * PANGO_SCALE + 0.5));
    pango_font_description_set_weight(fd, PangoWeight(std::clamp(font.weight, 100, 1000)));
    pango_font_description_set_style(fd, font.italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
    return fd;
}

// A layout of `text` in `font` at the device's resolution.
PangoLayout *layout_for(PrintDevice *d, const FontSpec &font, const std::string &utf8) {
    PangoLayout *layout = pango_cairo_create_layout(d->cr);
    pango_cairo_context_set_resolution(pango_layout_get_context(layout), d->dpi);
    pango_layout_context_changed(layout);
    PangoFontDescription *fd = describe(font);
    pango_layout_set_font_description(layout, fd);
    pango_font_description_free(fd);
    if (font.underline || font.strikeOut) {
        PangoAttrList *attrs = pango_attr_list_new();
        if (font.underline)
            pango_attr_list_insert(attrs, pango_attr_underline_new(PANGO_UNDERLINE_SINGLE));
        if (font.strikeOut) pango_attr_list_insert(attrs, pango_attr_strikethrough_new(TRUE));
        pango_layout_set_attributes(layout, attrs);
        pango_attr_list_unref(attrs);
    }
    pango_layout_set_single_paragraph_mode(layout, TRUE);
    pango_layout_set_text(layout, utf8.c_str(), -1);
    return layout;
}

// How much the text is stretched across so that its average character is as wide as asked.
double width_scale(PrintDevice *d, PangoLayout *layout, const FontSpec &font) {
    if (font.charWidthPoints <= 0) return 1.0;
    PangoFontDescription *fd = describe(font);
    PangoFontMetrics *metrics =
        pango_context_get_metrics(pango_layout_get_context(layout), fd, nullptr);
    const double natural =
        double(pango_font_metrics_get_approximate_char_width(metrics)) / PANGO_SCALE;
    pango_font_metrics_unref(metrics);
    pango_font_description_free(fd);
    const double wanted = font.charWidthPoints * d->dpi / 72.0;
    return natural > 0 ? wanted / natural : 1.0;
}

// The pixbuf's pixels as a cairo image (premultiplied ARGB); null when it cannot be made.
cairo_surface_t *surface_of(GdkPixbuf *pixbuf) {
    const int w = gdk_pixbuf_get_width(pixbuf), h = gdk_pixbuf_get_height(pixbuf);
    const int channels = gdk_pixbuf_get_n_channels(pixbuf),
              stride = gdk_pixbuf_get_rowstride(pixbuf);
    const guchar *src = gdk_pixbuf_read_pixels(pixbuf);
    cairo_surface_t *img = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    if (cairo_surface_status(img) != CAIRO_STATUS_SUCCESS)
        return cairo_surface_destroy(img), nullptr;
    cairo_surface_flush(img);
    unsigned char *dst = cairo_image_surface_get_data(img);
    const int dstStride = cairo_image_surface_get_stride(img);
    for (int y = 0; y < h; ++y) {
        const guchar *p = src + size_t(y) * size_t(stride);
        auto *q = reinterpret_cast<uint32_t *>(dst + size_t(y) * size_t(dstStride));
        for (int x = 0; x < w; ++x, p += channels) {
            const uint32_t a = channels == 4 ? p[3] : 255;
            const uint32_t r = p[0] * a / 255, g = p[1] * a / 255, b = p[2] * a / 255;
            q[x] = (a << 24) | (r << 16) | (g << 8) | b;
        }
    }
    cairo_surface_mark_dirty(img);
    return img;
}

}  // namespace

PrintDevice::~PrintDevice() {
    if (cr) cairo_destroy(cr);
    if (surface) cairo_surface_destroy(surface);
    // A document that was never ended leaves no file behind.
    if (!path.empty()) std::remove(path.c_str());
}

bool start_document(HDC dc, const char *name, const char *output) {
    PrintDevice *d = print_device(dc);
    if (!d || d->infoOnly || d->surface || d->printer.empty()) return false;
    d->title = name && *name ? name : "";
    d->spoolOnly = !output && !d->toFile;
    d->path = output      ? std::string(output)
              : d->toFile ? pdf_file_for(d->title)
                          : spool_file_for(d->printer);
    if (d->path.empty() || fail_now(kCallCreateFile)) return d->path.clear(), false;
    cairo_surface_t *s = cairo_pdf_surface_create(d->path.c_str(), d->width * 72.0 / d->dpi,
                                                  d->height * 72.0 / d->dpi);
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        d->path.clear();
        return false;
    }
    if (!d->title.empty())
        cairo_pdf_surface_set_metadata(s, CAIRO_PDF_METADATA_TITLE,
                                       ansi_to_utf8(d->title.c_str()).c_str());
    d->surface = s;
    d->cr = cairo_create(s);
    cairo_scale(d->cr, 72.0 / d->dpi, 72.0 / d->dpi);
    d->pageDrawn = false;
    return true;
}

bool start_page(HDC dc) {
    PrintDevice *d = print_device(dc);
    if (!d || !d->cr) return false;
    set_origin(dc, 0, 0);
    return true;
}

bool end_page(HDC dc) {
    PrintDevice *d = print_device(dc);
    if (!d || !d->cr || d->printer.empty()) return false;
    cairo_show_page(d->cr);
    return cairo_status(d->cr) == CAIRO_STATUS_SUCCESS;
}

bool end_document(HDC dc) {
    PrintDevice *d = print_device(dc);
    if (!d || !d->surface || d->printer.empty()) return false;
    cairo_destroy(d->cr);
    d->cr = nullptr;
    cairo_surface_finish(d->surface);
    bool ok = cairo_surface_status(d->surface) == CAIRO_STATUS_SUCCESS;
    cairo_surface_destroy(d->surface);
    d->surface = nullptr;
    if (ok && d->spoolOnly)
        ok = submit_to_cups(d->printer, d->path, d->title, d->hasMode ? &d->mode : nullptr);
    if (d->spoolOnly || !ok) std::remove(d->path.c_str());
    d->path.clear();
    return ok;
}

void set_origin(HDC dc, int x, int y) {
    PrintDevice *d = painting(dc);
    if (!d) return;
    cairo_translate(d->cr, x - d->originX, y - d->originY);
    d->originX = x;
    d->originY = y;
}

void get_origin(HDC dc, int *x, int *y) {
    const PrintDevice *d = print_device(dc);
    *x = d ? d->originX : 0;
    *y = d ? d->originY : 0;
}

void draw_line(HDC dc, int x1, int y1, int x2, int y2, COLORREF colour, int width) {
    PrintDevice *d = painting(dc);
    if (!d) return;
    cairo_save(d->cr);
    set_colour(d->cr, colour);
    cairo_set_line_width(d->cr, width > 0 ? width : 1);
    cairo_set_line_cap(d->cr, CAIRO_LINE_CAP_SQUARE);
    // Half a unit in, so that a one-unit line covers whole pixels as GDI's does.
    cairo_move_to(d->cr, x1 + 0.5, y1 + 0.5);
    cairo_line_to(d->cr, x2 + 0.5, y2 + 0.5);
    cairo_stroke(d->cr);
    cairo_restore(d->cr);
}

void fill_box(HDC dc, int left, int top, int right, int bottom, COLORREF colour) {
    PrintDevice *d = painting(dc);
    if (!d || right <= left || bottom <= top) return;
    cairo_save(d->cr);
    set_colour(d->cr, colour);
    cairo_rectangle(d->cr, left, top, right - left, bottom - top);
    cairo_fill(d->cr);
    cairo_restore(d->cr);
}

int text_height(HDC dc, const FontSpec &font) {
    PrintDevice *d = painting(dc);
    if (!d) return 0;
    PangoLayout *layout = layout_for(d, font, "Xg");
    int w = 0, h = 0;
    pango_layout_get_pixel_size(layout, &w, &h);
    g_object_unref(layout);
    return h;
}

void draw_text(HDC dc, int left, int top, int right, int bottom, const char *text,
               const FontSpec &font, COLORREF colour, TextAlign align) {
    PrintDevice *d = painting(dc);
    if (!d || !text || !*text) return;
    PangoLayout *layout = layout_for(d, font, ansi_to_utf8(text));
    const double sx = width_scale(d, layout, font);
    int w = 0, h = 0;
    pango_layout_get_pixel_size(layout, &w, &h);
    const double width = w * sx;
    const double x = align == kAlignLeft    ? left
                     : align == kAlignRight ? right - width
                                            : left + (right - left - width) / 2.0;
    const double y = top + (bottom - top - h) / 2.0;
    cairo_save(d->cr);
    // A clip costs every PDF page a path: only text that would cross the box's edge gets one.
    if (x < left || x + width > right || y < top || y + h > bottom) {
        cairo_rectangle(d->cr, left, top, right - left, bottom - top);
        cairo_clip(d->cr);
    }
    set_colour(d->cr, colour);
    // Only stretched text changes the matrix: cairo keeps runs of text under one matrix together.
    if (sx != 1.0) {
        cairo_translate(d->cr, x, y);
        cairo_scale(d->cr, sx, 1.0);
        cairo_move_to(d->cr, 0, 0);
    } else {
        cairo_move_to(d->cr, x, y);
    }
    pango_cairo_show_layout(d->cr, layout);
    cairo_restore(d->cr);
    g_object_unref(layout);
}

namespace {

// Paints the pixbuf into the box and lets go of it.
bool paint_pixbuf(PrintDevice *d, GdkPixbuf *pixbuf, int left, int top, int right, int bottom,
                  PictureFit fit) {
    cairo_surface_t *img = surface_of(pixbuf);
    const int w = gdk_pixbuf_get_width(pixbuf), h = gdk_pixbuf_get_height(pixbuf);
    g_object_unref(pixbuf);
    if (!img) return false;
    double sx = double(right - left) / w, sy = double(bottom - top) / h;
    double x = left, y = top;
    if (fit == kKeepAspect) {
        sx = sy = std::min(sx, sy);
        x += (right - left - w * sx) / 2.0;
        y += (bottom - top - h * sy) / 2.0;
    }
    cairo_save(d->cr);
    cairo_translate(d->cr, x, y);
    cairo_scale(d->cr, sx, sy);
    cairo_set_source_surface(d->cr, img, 0, 0);
    cairo_pattern_set_filter(cairo_get_source(d->cr), CAIRO_FILTER_GOOD);
    cairo_paint(d->cr);
    cairo_restore(d->cr);
    cairo_surface_destroy(img);
    return true;
}

GdkPixbuf *pixbuf_of_bytes(const void *data, size_t size) {
    GdkPixbufLoader *loader = gdk_pixbuf_loader_new();
    GdkPixbuf *pixbuf = nullptr;
    if (gdk_pixbuf_loader_write(loader, static_cast<const guchar *>(data), size, nullptr) &&
        gdk_pixbuf_loader_close(loader, nullptr)) {
        pixbuf = gdk_pixbuf_loader_get_pixbuf(loader);
        if (pixbuf) g_object_ref(pixbuf);
    } else {
        gdk_pixbuf_loader_close(loader, nullptr);
    }
    g_object_unref(loader);
    return pixbuf;
}

// A drawing covers the printable page from the origin (a memory device: the whole image).
bool paint_drawing(PrintDevice *d, GdkPixbuf *pixbuf) {
    if (!pixbuf) return false;
    return paint_pixbuf(d, pixbuf, 0, 0, d->width, d->height, kStretch);
}

}  // namespace

bool draw_picture(HDC dc, int left, int top, int right, int bottom, const char *file,
                  PictureFit fit) {
    PrintDevice *d = painting(dc);
    if (!d || !file || right <= left || bottom <= top) return false;
    GdkPixbuf *pixbuf = gdk_pixbuf_new_from_file(file, nullptr);
    return pixbuf && paint_pixbuf(d, pixbuf, left, top, right, bottom, fit);
}

bool draw_drawing_file(HDC dc, const char *file) {
    PrintDevice *d = painting(dc);
    return d && file && paint_drawing(d, gdk_pixbuf_new_from_file(file, nullptr));
}

bool draw_drawing_data(HDC dc, const void *data, size_t size) {
    PrintDevice *d = painting(dc);
    return d && data && size > 0 && paint_drawing(d, pixbuf_of_bytes(data, size));
}

HDC create_memory_dc(int width, int height, int dpi) {
    if (width <= 0 || height <= 0 || dpi <= 0) return nullptr;
    cairo_surface_t *s = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) return cairo_surface_destroy(s), nullptr;
    auto *d = new PrintDevice;
    d->width = width;
    d->height = height;
    d->dpi = dpi;
    d->surface = s;
    d->cr = cairo_create(s);
    cairo_set_source_rgb(d->cr, 1, 1, 1);
    cairo_paint(d->cr);
    return register_device(d);
}

bool save_png(HDC dc, const char *path) {
    PrintDevice *d = print_device(dc);
    if (!d || !d->printer.empty() || !d->surface || !path || fail_now(kCallCreateFile))
        return false;
    cairo_surface_flush(d->surface);
    return cairo_surface_write_to_png(d->surface, path) == CAIRO_STATUS_SUCCESS;
}

bool memory_pixel(HDC dc, int x, int y, COLORREF *colour) {
    PrintDevice *d = print_device(dc);
    if (!d || !d->printer.empty() || !d->surface || x < 0 || y < 0 || x >= d->width ||
        y >= d->height)
        return false;
    cairo_surface_flush(d->surface);
    const unsigned char *data = cairo_image_surface_get_data(d->surface);
    const uint32_t p = *reinterpret_cast<const uint32_t *>(
        data + size_t(y) * size_t(cairo_image_surface_get_stride(d->surface)) + size_t(x) * 4);
    *colour = ((p >> 16) & 0xFF) | (p & 0xFF00) | ((p & 0xFF) << 16);
    return true;
}

}  // namespace plat
