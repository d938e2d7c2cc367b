// Painting on a device context: documents and pages, the origin, lines, filled boxes, text in a
// box and pictures stretched into a box, all in device units. Windows paints with GDI; on Linux
// the library's print device paints with cairo and pango into PDF pages or an image in memory.
#pragma once
#include <cstddef>
#include <string>

#include "tarn_types.h"

namespace plat {

struct FontSpec {
    std::string name = "Courier";
    double points = 10;
    int weight = 400;  // 400 normal, 700 bold
    bool italic = false, underline = false, strikeOut = false;
    double charWidthPoints = 0;  // the average character's width; 0: the font's own
};

enum TextAlign { kAlignLeft, kAlignRight, kAlignCenter };

// A document named `name` (StartDocA): into file `output` when given, else to the printer; false
// when it cannot be started. On Linux the "PDF" printer writes the file itself (see printer.h).
bool start_document(HDC dc, const char *name, const char *output);
// Ends it (EndDoc): false when the document could not be completed or handed to the printer.
bool end_document(HDC dc);
bool start_page(HDC dc);
bool end_page(HDC dc);

// Moves the drawing origin to device point (x, y) (SetViewportOrgEx); where it stands now.
void set_origin(HDC dc, int x, int y);
void get_origin(HDC dc, int *x, int *y);

// A solid line `width` units wide (0: one unit) from (x1, y1) to (x2, y2).
void draw_line(HDC dc, int x1, int y1, int x2, int y2, COLORREF colour, int width);
// Fills [left, right) x [top, bottom).
void fill_box(HDC dc, int left, int top, int right, int bottom, COLORREF colour);
// The height of a line of text in `font`, in device units.
int text_height(HDC dc, const FontSpec &font);
// One line of text, vertically centred in the box and aligned in it, transparent background,
// clipped to the box. `text` is in the ANSI code page.
void draw_text(HDC dc, int left, int top, int right, int bottom, const char *text,
               const FontSpec &font, COLORREF colour, TextAlign align);
enum PictureFit { kStretch, kKeepAspect };
// A picture file (BMP, PNG, JPEG or GIF) stretched into the box, or as large as it fits with its
// own proportions, centred; false when it cannot be read.
bool draw_picture(HDC dc, int left, int top, int right, int bottom, const char *file,
                  PictureFit fit = kStretch);
// A drawing painted at the origin: on Windows an enhanced metafile at its own size, on Linux a
// picture stretched over the printable page. From a file, or from the bytes of one in memory;
// false when it cannot be read.
bool draw_drawing_file(HDC dc, const char *file);
bool draw_drawing_data(HDC dc, const void *data, size_t size);

// A white image of width x height pixels painted like a page of `dpi` dots per inch; null when
// it cannot be made. Close it with delete_dc.
HDC create_memory_dc(int width, int height, int dpi);
// Writes a memory device's image as a PNG file; false when it cannot be written or dc is no
// memory device.
bool save_png(HDC dc, const char *path);
// The colour of pixel (x, y) of a memory device; false outside it or for another device.
bool memory_pixel(HDC dc, int x, int y, COLORREF *colour);

}  // namespace plat
