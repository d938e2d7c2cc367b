// Painting through the drawing device: pixels of a memory device, and documents of several pages
// on the test printer (a PDF file on Linux, a PostScript file from Wine's driver).
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "harness.h"
#include "platform/draw.h"
#include "platform/printer.h"

namespace {

constexpr COLORREF kRed = 0x0000FF, kGreen = 0x00FF00, kBlack = 0, kWhite = 0xFFFFFF;

bool dark(HDC dc, int x, int y) {
    COLORREF c = kWhite;
    return plat::memory_pixel(dc, x, y, &c) && (c & 0xFF) < 128 && ((c >> 8) & 0xFF) < 128 && ((c >> 16) & 0xFF) < 128;
}

COLORREF at(HDC dc, int x, int y) {
    COLORREF c = 0xDEADBEEF;
    plat::memory_pixel(dc, x, y, &c);
    return c;
}

// Any dark pixel in the columns [from, to) of rows [top, bottom).
bool ink_between(HDC dc, int from, int to, int top, int bottom) {
    for (int y = top; y < bottom; ++y)
        for (int x = from; x < to; ++x)
            if (dark(dc, x, y)) return true;
    return false;
}

// A 2 x 2 bitmap file of one colour (24 bits, rows padded to 4 bytes).
std::string bitmap_file(uint8_t r, uint8_t g, uint8_t b) {
    std::string px;
    for (int row = 0; row < 2; ++row) px += std::string{char(b), char(g), char(r), char(b), char(g), char(r), 0, 0};
    auto le32 = [](uint32_t v) { return std::string{char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; };
    auto le16 = [](uint16_t v) { return std::string{char(v), char(v >> 8)}; };
    return "BM" + le32(54 + uint32_t(px.size())) + le32(0) + le32(54) + le32(40) + le32(2) + le32(2) + le16(1) +
           le16(24) + le32(0) + le32(uint32_t(px.size())) + le32(2835) + le32(2835) + le32(0) + le32(0) + px;
}

}  // namespace

// A red box, a line, a picture and a right-aligned text land where they were asked to, and the
// origin moves everything.
TEST(Drawing, ShapesTextAndPicturesOnPixels) {
    HDC dc = plat::create_memory_dc(400, 200, 300);
    ASSERT_NE(dc, nullptr);
    plat::fill_box(dc, 10, 10, 60, 40, kRed);
    EXPECT_EQ(at(dc, 30, 20), kRed);
    EXPECT_EQ(at(dc, 60, 20), kWhite) << "the right edge is not filled";
    plat::draw_line(dc, 10, 100, 300, 100, kBlack, 1);
    EXPECT_EQ(at(dc, 150, 100), kBlack);
    EXPECT_EQ(at(dc, 150, 102), kWhite);

    plat::FontSpec font;
    font.name = "Arial";
    font.points = 12;
    font.weight = 700;
    plat::draw_text(dc, 100, 130, 390, 190, "WWW", font, kBlack, plat::kAlignRight);
    EXPECT_TRUE(ink_between(dc, 330, 390, 130, 190)) << "the text ends at the right edge";
    EXPECT_FALSE(ink_between(dc, 100, 240, 130, 190)) << "nothing on the left";
    EXPECT_FALSE(ink_between(dc, 390, 400, 120, 200)) << "clipped to its box";
    // On Linux the memory device has the 300 dots per inch asked for: 12 points are 50 dots, and a
    // line is a little more (on Windows it has the screen's resolution).
    const int lineHeight = plat::text_height(dc, font);
    EXPECT_GT(lineHeight, 0);
    if (test_env::library_keeps_settings()) {
        EXPECT_GE(lineHeight, 50);
        EXPECT_LE(lineHeight, 70);
    }

    const std::string picture = test_env::join(test_env::temp_folder("drawing"), "green.bmp");
    harness::write_file(picture, bitmap_file(0, 255, 0));
    EXPECT_TRUE(plat::draw_picture(dc, 200, 10, 240, 50, picture.c_str()));
    EXPECT_EQ(at(dc, 220, 30), kGreen);
    EXPECT_FALSE(plat::draw_picture(dc, 200, 10, 240, 50, (picture + ".missing").c_str()));

    plat::set_origin(dc, 5, 150);
    plat::fill_box(dc, 0, 0, 3, 3, kRed);
    EXPECT_EQ(at(dc, 6, 151), kRed);
    EXPECT_FALSE(plat::memory_pixel(dc, 400, 0, nullptr)) << "outside";
    EXPECT_TRUE(plat::delete_dc(dc));
}

// Three pages of text and boxes printed through a role mapped to the test printer become one
// file of three pages: on Linux a PDF in the print folder, named after the document, its fonts
// embedded; under Wine the PostScript file given to the document.
TEST(Drawing, ThreePagesThroughARoleReachTheFile) {
    const std::string printer = test_env::test_printer();
    ASSERT_NE(printer, "");
    ASSERT_NE(koSetPrinterNameForLogName("Rechnung2", printer.c_str()), 0);
    HDC dc = koGetPrinterDCByLogName("Rechnung2", 0);
    ASSERT_NE(dc, nullptr);
    const std::string folder = test_env::temp_folder("three_pages");
    test_env::set_env("TARNGDI_PRINT_DIR", folder.c_str());
    const bool ownPdf = test_env::library_keeps_settings();
    const std::string out = test_env::join(folder, ownPdf ? "Rechnung 4711.pdf" : "job.ps");
    ASSERT_TRUE(plat::start_document(dc, "Rechnung 4711", ownPdf ? nullptr : out.c_str()));
    plat::FontSpec font;
    font.name = "Arial";
    for (int page = 1; page <= 3; ++page) {
        ASSERT_TRUE(plat::start_page(dc));
        plat::fill_box(dc, 600, 600, 1800, 900, kRed);
        plat::draw_text(dc, 600, 1000, 4000, 1200, ("Seite " + std::to_string(page) + " \xE4\xF6\xFC").c_str(), font,
                        kBlack, plat::kAlignLeft);
        ASSERT_TRUE(plat::end_page(dc));
    }
    ASSERT_TRUE(plat::end_document(dc));
    plat::delete_dc(dc);
    test_env::set_env("TARNGDI_PRINT_DIR", nullptr);
    const std::string file = harness::read_file(out);
    if (test_env::system_is_wine()) {
        size_t pages = 0;
        for (size_t at = file.find("%%Page:"); at != std::string::npos; at = file.find("%%Page:", at + 1)) ++pages;
        EXPECT_EQ(pages, 3u);
        return;
    }
    if (!test_env::library_keeps_settings()) return;  // Windows: a printer of the system
    const std::string info = test_env::command_output("pdfinfo '" + out + "' 2>&1");
    const size_t pages = info.find("Pages:");
    ASSERT_NE(pages, std::string::npos) << info;
    EXPECT_EQ(std::stoi(info.substr(pages + 6)), 3) << info;
    EXPECT_NE(info.find("Rechnung 4711"), std::string::npos) << "the document's name is its title";
    const std::string fonts = test_env::command_output("pdffonts '" + out + "' 2>&1");
    EXPECT_EQ(fonts.find("Type 3"), std::string::npos) << fonts;
    EXPECT_NE(fonts.find("yes"), std::string::npos) << "embedded: " << fonts;
}

// The built-in "PDF" printer names its file after the document in the print folder and keeps
// earlier files; an information context writes nothing.
TEST(Drawing, ThePdfPrinterNamesItsFiles) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "the PDF printer is the library's own, on Linux";
    const std::string folder = test_env::temp_folder("print_dir");
    test_env::set_env("TARNGDI_PRINT_DIR", folder.c_str());
    const struct {
        const char *title, *file;
    } cases[] = {{"Angebot 12/2026", "Angebot 12_2026.pdf"},
                 {"Angebot 12/2026", "Angebot 12_2026 (2).pdf"},
                 {"a:b*c?", "a_b_c_.pdf"}};
    for (const auto &c : cases) {
        HDC dc = koGetPrinterDC("PDF", 0);
        ASSERT_TRUE(plat::start_document(dc, c.title, nullptr)) << c.title;
        plat::start_page(dc);
        plat::end_page(dc);
        EXPECT_TRUE(plat::end_document(dc));
        plat::delete_dc(dc);
        EXPECT_TRUE(harness::file_exists(test_env::join(folder, c.file))) << c.file;
    }
    HDC info = koGetPrinterDC("PDF", 1);
    EXPECT_FALSE(plat::start_document(info, "nothing", nullptr));
    plat::delete_dc(info);
    test_env::set_env("TARNGDI_PRINT_DIR", nullptr);
}

// A CUPS queue is listed before "PDF"; a document printed through a role mapped to it becomes one
// job, which the server's backend keeps, with the role's stored device settings as job options.
TEST(Drawing, ACupsQueueGetsOneJobWithTheRolesSettings) {
    std::string job;
    const std::string queue = test_env::cups_queue(&job);
    if (queue.empty()) GTEST_SKIP() << "no private CUPS server: not on Linux, or cupsd cannot start";
    std::vector<char> list(4096, '\0');
    koGetPrinterNameList(list.data(), int32_t(list.size()));
    std::vector<std::string> names;
    for (const char *p = list.data(); *p; p += names.back().size() + 1) names.emplace_back(p);
    ASSERT_GE(names.size(), 2u);
    EXPECT_NE(std::find(names.begin(), names.end(), queue), names.end());
    EXPECT_EQ(names.back(), "PDF");

    ASSERT_NE(koSetPrinterNameForLogName("Angebot2", queue.c_str()), 0);
    DEVMODEA mode = {};
    mode.dmSize = sizeof mode;
    mode.dmFields = DM_COPIES | DM_DUPLEX | DM_PAPERSIZE | DM_ORIENTATION;
    mode.dmCopies = 2;
    mode.dmDuplex = DMDUP_VERTICAL;
    mode.dmPaperSize = DMPAPER_A4;
    mode.dmOrientation = DMORIENT_LANDSCAPE;
    ASSERT_NE(koPrinterSaveDevmodeData("Angebot2", &mode), 0);
    HDC dc = koGetPrinterDCByLogName("Angebot2", 0);
    ASSERT_NE(dc, nullptr);
    ASSERT_TRUE(plat::start_document(dc, "Angebot 7", nullptr));
    plat::FontSpec font;
    for (int page = 1; page <= 3; ++page) {
        plat::start_page(dc);
        plat::draw_text(dc, 600, 600, 4000, 800, ("Seite " + std::to_string(page)).c_str(), font, kBlack,
                        plat::kAlignLeft);
        plat::end_page(dc);
    }
    EXPECT_TRUE(plat::end_document(dc)) << "the job was accepted";
    plat::delete_dc(dc);
    for (int i = 0; i < 400 && !harness::file_exists(job); ++i) test_env::sleep_ms(50);
    const std::string options = harness::read_file(job + ".options");
    const std::string info = test_env::command_output("pdfinfo '" + job + "' 2>&1");
    const size_t pages = info.find("Pages:");
    ASSERT_NE(pages, std::string::npos) << info;
    EXPECT_EQ(std::stoi(info.substr(pages + 6)), 3);
    EXPECT_NE(info.find("841.92 x 595.32"), std::string::npos) << "A4 landscape: " << info;
    for (const char *option : {"copies=2 ", "sides=two-sided-long-edge", "media=A4", "orientation-requested=4"})
        EXPECT_NE(options.find(option), std::string::npos) << option << " in " << options;
}
