// Print scripts to PDF: a script of 1,000 pages with 60 items each (texts in three fonts,
// right-aligned amounts, lines, rectangles and fills), indexed and painted by the library,
// beside cairo and pango drawing the same items directly onto a PDF surface.
#include <benchmark/benchmark.h>
#include <cairo-pdf.h>
#include <pango/pangocairo.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "tarngdi32.h"

namespace {

constexpr int kPages = 1000;
constexpr int kDpi = 600;

struct Text {
    double x, y, w, h;
    int font;  // index into kFonts
    bool right;
    std::string text;
};
struct Shape {
    double x, y, w, h;
    int kind;  // 0 line, 1 rectangle, 2 fill
};

const char *const kFonts[] = {"Arial,10,N", "Arial,10,B", "Times New Roman,11,I"};
const char *const kPango[] = {"Arial, 10", "Arial, Bold 10", "Times New Roman, Italic 11"};

// One page's items in centimetres: 40 texts, 20 shapes.
void page_items(int page, std::vector<Text> *texts, std::vector<Shape> *shapes) {
    texts->clear();
    shapes->clear();
    for (int row = 0; row < 20; ++row) {
        const double y = 4.0 + row * 1.1;
        texts->push_back({2.0, y, 11.0, 0.5, row % 3, false,
                          "Position " + std::to_string(page * 20 + row) + " Fliesen verlegen, Fugen"});
        texts->push_back({14.0, y, 4.5, 0.5, 0, true, std::to_string(100 + row * 7) + ",50"});
        if (row % 4 == 0) shapes->push_back({2.0, y + 0.6, 17.0, 0.0, 0});
    }
    for (int i = 0; i < 5; ++i) shapes->push_back({2.0 + i * 3.4, 1.0, 3.0, 1.5, 1});
    for (int i = 0; i < 10; ++i) shapes->push_back({2.0 + i * 1.7, 27.0, 1.5, 0.4, 2});
}

std::string cm(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", v);
    return text;
}

const std::string &script_path() {
    static const std::string path = [] {
        const std::string p = "/tmp/tarn-bench-print.spl";
        std::string s = "STARTJOB Bench\r\nFONT 1;" + std::string(kFonts[0]) + ";\r\nFONT 2;" + kFonts[1] +
                        ";\r\nFONT 3;" + kFonts[2] + ";\r\n";
        std::vector<Text> texts;
        std::vector<Shape> shapes;
        for (int page = 0; page < kPages; ++page) {
            page_items(page, &texts, &shapes);
            s += "STARTPAGE\r\n";
            for (const Text &t : texts)
                s += "FONT " + std::to_string(t.font + 1) + ";\r\n" + (t.right ? "RTEXT " : "LTEXT ") + cm(t.x) +
                     ";" + cm(t.y) + ";" + cm(t.w) + ";" + cm(t.h) + ";" + t.text + "\r\n";
            for (const Shape &sh : shapes) {
                if (sh.kind == 0)
                    s += "LINE " + cm(sh.x) + ";" + cm(sh.y) + ";" + cm(sh.x + sh.w) + ";" + cm(sh.y) + "\r\n";
                else if (sh.kind == 1)
                    s += "RECT " + cm(sh.x) + ";" + cm(sh.y) + ";" + cm(sh.x + sh.w) + ";" + cm(sh.y + sh.h) + "\r\n";
                else
                    s += "RGBFILL " + cm(sh.x) + ";" + cm(sh.y) + ";" + cm(sh.w) + ";" + cm(sh.h) + ";14737632\r\n";
            }
            s += "ENDPAGE\r\n";
        }
        s += "ENDJOB\r\n";
        if (FILE *f = std::fopen(p.c_str(), "wb")) {
            std::fwrite(s.data(), 1, s.size(), f);
            std::fclose(f);
        }
        return p;
    }();
    return path;
}

void BM_PrintScriptToPdf(benchmark::State &state) {
    const std::string &script = script_path();
    for (auto _ : state) {
        const int32_t pages = tarnPrintScriptToFile(script.c_str(), 1, -1, "/tmp/tarn-bench-print.pdf", 0);
        if (pages != kPages) state.SkipWithError("the script did not print");
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPages);
    std::remove("/tmp/tarn-bench-print.pdf");
}
BENCHMARK(BM_PrintScriptToPdf)->Unit(benchmark::kMillisecond)->Iterations(2)->Repetitions(5)->ReportAggregatesOnly(true);

// The index alone: one pass over the script's 5 MB.
void BM_PrintScriptIndex(benchmark::State &state) {
    const std::string &script = script_path();
    for (auto _ : state) {
        HANDLE file = X_Open(script.c_str(), 0);
        XML_Node *index = koPrinterOpenXML(file);
        benchmark::DoNotOptimize(index);
        koXML_ReleaseTree(index);
        X_Close(file);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPages);
}
BENCHMARK(BM_PrintScriptIndex)->Unit(benchmark::kMillisecond);

double dots(double centimetres) { return centimetres / 2.54 * kDpi; }

// The same pages drawn straight with cairo and pango: one layout a text, fonts described once,
// the same lines and fills.
void BM_CairoPangoDirect(benchmark::State &state) {
    std::vector<Text> texts;
    std::vector<Shape> shapes;
    for (auto _ : state) {
        cairo_surface_t *surface = cairo_pdf_surface_create("/tmp/tarn-bench-direct.pdf", 595.28, 841.89);
        cairo_t *cr = cairo_create(surface);
        cairo_scale(cr, 72.0 / kDpi, 72.0 / kDpi);
        PangoFontDescription *fonts[3];
        for (int i = 0; i < 3; ++i) fonts[i] = pango_font_description_from_string(kPango[i]);
        for (int page = 0; page < kPages; ++page) {
            page_items(page, &texts, &shapes);
            for (const Text &t : texts) {
                PangoLayout *layout = pango_cairo_create_layout(cr);
                pango_cairo_context_set_resolution(pango_layout_get_context(layout), kDpi);
                pango_layout_context_changed(layout);
                pango_layout_set_font_description(layout, fonts[t.font]);
                pango_layout_set_text(layout, t.text.c_str(), -1);
                int w = 0, h = 0;
                pango_layout_get_pixel_size(layout, &w, &h);
                const double x = t.right ? dots(t.x + t.w) - w : dots(t.x);
                cairo_move_to(cr, x, dots(t.y) + (dots(t.h) - h) / 2);
                cairo_set_source_rgb(cr, 0, 0, 0);
                pango_cairo_show_layout(cr, layout);
                g_object_unref(layout);
            }
            for (const Shape &s : shapes) {
                if (s.kind == 2) {
                    cairo_set_source_rgb(cr, 0.875, 0.875, 0.875);
                    cairo_rectangle(cr, dots(s.x), dots(s.y), dots(s.w), dots(s.h));
                    cairo_fill(cr);
                    continue;
                }
                cairo_set_source_rgb(cr, 0, 0, 0);
                cairo_set_line_width(cr, 1);
                // A script's rectangle is its four edges, each a line of its own.
                const double l = dots(s.x), t = dots(s.y), r = dots(s.x + s.w), b = dots(s.y + s.h);
                const double edges[4][4] = {{l, t, r, t}, {l, t, l, b}, {r, t, r, b}, {l, b, r, b}};
                for (int e = 0; e < (s.kind == 0 ? 1 : 4); ++e) {
                    cairo_move_to(cr, edges[e][0], edges[e][1]);
                    cairo_line_to(cr, edges[e][2], edges[e][3]);
                    cairo_stroke(cr);
                }
            }
            cairo_show_page(cr);
        }
        for (PangoFontDescription *f : fonts) pango_font_description_free(f);
        cairo_destroy(cr);
        cairo_surface_finish(surface);
        cairo_surface_destroy(surface);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kPages);
    std::remove("/tmp/tarn-bench-direct.pdf");
}
BENCHMARK(BM_CairoPangoDirect)->Unit(benchmark::kMillisecond)->Iterations(2)->Repetitions(5)->ReportAggregatesOnly(true);

}  // namespace
