#include "platform/paper.h"

#include <cmath>
#include <cstdint>
#include <utility>

namespace plat {
namespace {

struct Paper {
    int16_t number;
    double widthMm, heightMm;
};
const Paper kPapers[] = {
    {1, 215.9, 279.4},   // Letter
    {5, 215.9, 355.6},   // Legal
    {8, 297.0, 420.0},   // A3
    {9, 210.0, 297.0},   // A4
    {11, 148.0, 210.0},  // A5
    {13, 182.0, 257.0},  // B5 (JIS)
    {20, 104.8, 241.3},  // envelope #10
    {27, 110.0, 220.0},  // envelope DL
    {28, 162.0, 229.0},  // envelope C5
};

}  // namespace

void sheet_dots(const DEVMODEA *mode, int dpi, int *width, int *height) {
    double w = 210.0, h = 297.0;
    if (mode && (mode->dmFields & DM_PAPERSIZE)) {
        for (const Paper &p : kPapers)
            if (p.number == mode->dmPaperSize) w = p.widthMm, h = p.heightMm;
    }
    if (mode && (mode->dmFields & DM_PAPERWIDTH) && mode->dmPaperWidth > 0)
        w = mode->dmPaperWidth / 10.0;
    if (mode && (mode->dmFields & DM_PAPERLENGTH) && mode->dmPaperLength > 0)
        h = mode->dmPaperLength / 10.0;
    if (mode && (mode->dmFields & DM_ORIENTATION) && mode->dmOrientation == DMORIENT_LANDSCAPE)
        std::swap(w, h);
    *width = int(std::lround(w / 25.4 * dpi));
    *height = int(std::lround(h / 25.4 * dpi));
}

}  // namespace plat
