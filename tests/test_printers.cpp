// Logical printers and the drawing device: the roles' store, the font-map table, system printers,
// device contexts, the setup dialogs, pixels of a memory device and documents on the test printers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "harness.h"
#include "print_pages.h"
#include "platform/draw.h"
#include "platform/printer.h"

namespace {

using namespace print_pages;

// A 2 x 2 bitmap file of one colour (24 bits, rows padded to 4 bytes).
std::string bitmap_file(uint8_t r, uint8_t g, uint8_t b) {
    std::string px;
    for (int row = 0; row < 2; ++row) px += std::string{char(b), char(g), char(r), char(b), char(g), char(r), 0, 0};
    auto le32 = [](uint32_t v) { return std::string{char(v), char(v >> 8), char(v >> 16), char(v >> 24)}; };
    auto le16 = [](uint16_t v) { return std::string{char(v), char(v >> 8)}; };
    return "BM" + le32(54 + uint32_t(px.size())) + le32(0) + le32(54) + le32(40) + le32(2) + le32(2) + le16(1) +
           le16(24) + le32(0) + le32(uint32_t(px.size())) + le32(2835) + le32(2835) + le32(0) + le32(0) + px;
}

std::string mapping(const std::string &role) {
    char printer[130] = "junk";
    koGetPrinterNameFromLogName(role.c_str(), printer, sizeof printer);
    return printer;
}

DEVMODEA *mode_with_extra(uint16_t extra, int16_t copies) {
    auto *m = static_cast<DEVMODEA *>(AllocGlobal(sizeof(DEVMODEA) + extra));
    m->dmSize = sizeof(DEVMODEA);
    m->dmDriverExtra = extra;
    m->dmFields = DM_COPIES;
    m->dmCopies = copies;
    std::strcpy(reinterpret_cast<char *>(m->dmDeviceName), "Drucker");
    for (uint16_t i = 0; i < extra; ++i) reinterpret_cast<unsigned char *>(m + 1)[i] = uint8_t(0xA0 + i);
    return m;
}

// Three pages of a red box and a line of text as document `title`, into file `output` when given.
void print_three_pages(HDC dc, const char *title, const char *output) {
    ASSERT_TRUE(plat::start_document(dc, title, output));
    plat::FontSpec font;
    font.name = "Arial";
    for (int page = 1; page <= 3; ++page) {
        ASSERT_TRUE(plat::start_page(dc));
        plat::fill_box(dc, 600, 600, 1800, 900, kRed);
        const std::string text = "Seite " + std::to_string(page) + " \xE4\xF6\xFC";
        plat::draw_text(dc, 600, 1000, 4000, 1200, text.c_str(), font, kBlack, plat::kAlignLeft);
        ASSERT_TRUE(plat::end_page(dc));
    }
    EXPECT_TRUE(plat::end_document(dc)) << "the document was completed and handed over";
    plat::delete_dc(dc);
}

// How a test clicks through a dialog: one the UI provider shows, or the system's own window.
std::vector<std::string> list_items(TarnUiDialog *d, int id) {
    std::vector<std::string> items;
    for (int i = 0; const char *item = tarnUiDialogListItem(d, id, i); ++i) items.emplace_back(item);
    return items;
}
std::vector<std::string> list_items(test_env::SystemDialog d, int id) { return test_env::dialog_list(d, id); }
std::string selection(TarnUiDialog *d, int id) { return harness::dialog_text(d, id); }
std::string selection(test_env::SystemDialog d, int id) {
    const int i = test_env::dialog_list_selected(d, id);
    return i < 0 ? std::string() : test_env::dialog_list(d, id)[size_t(i)];
}
void choose(TarnUiDialog *d, int id, int index) { tarnUiDialogSelect(d, id, index); }
void choose(test_env::SystemDialog d, int id, int index) { test_env::dialog_list_choose(d, id, index); }
void press(TarnUiDialog *d, int id) { tarnUiDialogPress(d, id); }
void press(test_env::SystemDialog d, int id) { test_env::dialog_press(d, id); }

// Maps "Rechnung1" to the last printer and ticks the copy switch: it was 0, so one click writes 1.
template <class Dialog> void use_setup_dialog(Dialog d) {
    const std::vector<std::string> roles = list_items(d, 101), printers = list_items(d, 102);
    EXPECT_EQ(roles.size(), 8u);
    ASSERT_FALSE(printers.empty());
    EXPECT_EQ(printers[0], "(Standarddrucker)");
    EXPECT_EQ(int(printers.size()), koGetPrinterCount() + 1);
    const int rechnung = int(std::find(roles.begin(), roles.end(), "Rechnung1") - roles.begin());
    ASSERT_LT(rechnung, int(roles.size()));
    choose(d, 101, rechnung);
    EXPECT_EQ(selection(d, 102), printers[0]) << "an unmapped role shows the default printer";
    choose(d, 102, int(printers.size()) - 1);
    EXPECT_EQ(mapping("Rechnung1"), printers.back());
    press(d, 103);
    EXPECT_EQ(koPrinterGetUseCopyDrv(), 1) << "written when clicked";
    press(d, 1);
}

// Every access switches to the registry profile and back: the caller's type survives each call.
struct Printers : ::testing::Test {
    void SetUp() override { saved = koSetProfileType(2); }
    void TearDown() override { EXPECT_EQ(koSetProfileType(saved), 2) << "the profile type was put back"; }
    int32_t saved = 0;
};

}  // namespace

// A mapping reads back as written and lists its role; a device mode round-trips with the driver's
// bytes until a size of 0, null or a new printer removes it; the copy switch is "1" or "0".
TEST_F(Printers, RolesMapToPrintersAndKeepTheirDeviceModes) {
    const std::string role = unique("Angebot"), other = unique("Rechnung");
    EXPECT_EQ(mapping(role), "") << "no mapping: empty";
    ASSERT_NE(koSetPrinterNameForLogName(role.c_str(), "Buero Laser"), 0);
    ASSERT_NE(koSetPrinterNameForLogName(other.c_str(), ""), 0);
    EXPECT_EQ(mapping(role), "Buero Laser");
    EXPECT_EQ(mapping(other), "");
    char list[4096] = "";
    ASSERT_NE(koEnumPrinterLogNames(list, sizeof list), nullptr);
    const std::vector<std::string> roles = split(list);
    EXPECT_NE(std::find(roles.begin(), roles.end(), role), roles.end());
    EXPECT_NE(std::find(roles.begin(), roles.end(), other), roles.end());

    // Each mode replaces the one before, the larger one and the smaller one alike, byte for byte.
    for (const uint16_t extra : {uint16_t(0), uint16_t(12), uint16_t(0)}) {
        DEVMODEA *m = mode_with_extra(extra, 3);
        ASSERT_NE(koPrinterSaveDevmodeData(role.c_str(), m), 0);
        DEVMODEA *back = koPrinterLoadDevmodeData(role.c_str());
        ASSERT_NE(back, nullptr) << extra;
        EXPECT_EQ(std::memcmp(back, m, sizeof(DEVMODEA) + extra), 0) << extra;
        FreeGlobal(back);
        FreeGlobal(m);
    }
    ASSERT_NE(koSetPrinterNameForLogName(role.c_str(), "Anderer"), 0);
    EXPECT_EQ(koPrinterLoadDevmodeData(role.c_str()), nullptr) << "a new printer drops the settings";
    DEVMODEA *empty = mode_with_extra(4, 3);
    empty->dmSize = 0;
    for (DEVMODEA *removing : {empty, static_cast<DEVMODEA *>(nullptr)}) {
        DEVMODEA *before = mode_with_extra(2, 9);  // something to remove
        ASSERT_NE(koPrinterSaveDevmodeData(role.c_str(), before), 0);
        FreeGlobal(before);
        EXPECT_NE(koPrinterSaveDevmodeData(role.c_str(), removing), 0);
        EXPECT_EQ(koPrinterLoadDevmodeData(role.c_str()), nullptr) << (removing ? "size 0" : "null");
    }
    FreeGlobal(empty);

    for (int32_t flag : {7, 0, 1}) {
        ASSERT_NE(koPrinterSetUseCopyDrv(flag), 0);
        EXPECT_EQ(koPrinterGetUseCopyDrv(), flag ? 1 : 0);
    }
}

// Entries are appended under "MAP" and never removed; a name is a duplicate only in its first 50
// characters; a font map's default is the caller's buffer.
TEST(PrinterFontMap, EntriesSwitchesAndFonts) {
    koWritePrivateString(nullptr, nullptr, nullptr, "PRT");
    const std::string longName(60, 'L');
    const struct {
        std::string name;
        const char *sys;
        int32_t added;
    } adds[] = {
        {"Laser", "Buero Laser", 1}, {"Tinte", "", 1}, {"Laser", "x", 0}, {longName, "a", 1}, {longName, "b", 1}};
    for (const auto &a : adds) EXPECT_EQ(tarnGdiAddPrinter(a.name.c_str(), a.sys), a.added) << a.name;
    ASSERT_EQ(tarnGdiGetPrinterCount(), 4);
    char buf[200];
    EXPECT_STREQ(tarnGdiGetPrinterName(1, buf, sizeof buf), "Tinte");
    EXPECT_STREQ(tarnGdiGetPrinterSysName(0, buf, sizeof buf), "Buero Laser");
    tarnGdiGetPrinterName(4, buf, sizeof buf);
    EXPECT_STREQ(buf, "") << "past the last entry";

    EXPECT_EQ(tarnGdiIsFontMap(0), 0);
    EXPECT_NE(tarnGdiEnableFontMap(0, 1), 0);
    EXPECT_EQ(tarnGdiIsFontMap(0), 1);
    EXPECT_EQ(tarnGdiIsFontMap(1), 0);

    std::strcpy(buf, "Arial,10,N");
    tarnGdiGetFontMap(0, 3, buf, sizeof buf);
    EXPECT_STREQ(buf, "Arial,10,N") << "nothing stored: the buffer's own text";
    EXPECT_NE(tarnGdiSetFontMap(0, 3, "!Courier New,12,1636,F"), 0);
    tarnGdiGetFontMap(0, 3, buf, sizeof buf);
    EXPECT_STREQ(buf, "!Courier New,12,1636,F");
    EXPECT_EQ(koGetPrivateLong("MAP", "PRT_CNT", -1, "PRT"), 4);
    char raw[64];
    koGetPrivateString("Laser", "Font_03", "", raw, sizeof raw, "PRT");
    EXPECT_STREQ(raw, "!Courier New,12,1636,F") << "key Font_%02d in the entry's section";
    koWritePrivateString(nullptr, nullptr, nullptr, "PRT");
}

// The list ends with an extra zero, also when it is cut; the name at the count is empty.
TEST(SystemPrinters, CountNamesAndTheList) {
    const int32_t count = koGetPrinterCount();
    std::string joined;
    for (int32_t i = 0; i < count; ++i) {
        char name[256] = "junk";
        koGetPrinterName(i, name, sizeof name);
        EXPECT_STRNE(name, "");
        joined += std::string(name) + '\0';
    }
    char name[8] = "junk";
    koGetPrinterName(count, name, sizeof name);
    EXPECT_STREQ(name, "");
    std::vector<char> list(4096, '#');
    koGetPrinterNameList(list.data(), int32_t(list.size()));
    EXPECT_EQ(std::string(list.data(), joined.size() + 1), joined + '\0');
    if (test_env::library_keeps_settings()) {
        ASSERT_GE(count, 1);
        koGetPrinterName(count - 1, name, sizeof name);
        EXPECT_STREQ(name, "PDF") << "the built-in printer comes last";
    }
    char cut[7];
    std::memset(cut, '#', sizeof cut);
    koGetPrinterNameList(cut, 5);
    EXPECT_NE(std::string(cut, 5).find(std::string(2, '\0')), std::string::npos) << "a cut list still ends";
    EXPECT_EQ(std::string(cut + 5, 2), "##") << "nothing past the buffer";
}

// Device units from centimetres: whole points first, then dots rounded up. A role opens its
// mapped printer, one named like it, or the default printer; "Standard" is always the default. An
// information context starts no document (on Linux the "PDF" printer's would leave a file).
TEST_F(Printers, DeviceContextsByNameAndRole) {
    const std::string printer = test_env::test_printer();
    ASSERT_NE(printer, "") << "no printer could be made for the tests";
    HDC dc = koGetPrinterDC(printer.c_str(), 1);
    ASSERT_NE(dc, nullptr);
    EXPECT_NE(koGetPrinterDC(nullptr, 1), nullptr) << "the default printer";
    EXPECT_EQ(koGetPrinterDC("no such printer", 1), nullptr);
    EXPECT_EQ(koGetPixelHorz(nullptr, 1.0), 0);
    // Both test printers have 600 dots per inch.
    const struct {
        double cm;
        int32_t dots;
    } units[] = {{2.54, 600}, {1.0, 234} /* 28 points */, {0.0, 0}, {21.0, 4959} /* 595 points */};
    for (const auto &u : units) {
        EXPECT_EQ(koGetPixelHorz(dc, u.cm), u.dots) << u.cm;
        EXPECT_EQ(koGetPixelVert(dc, u.cm), u.dots) << u.cm;
    }
    if (test_env::library_keeps_settings()) EXPECT_FALSE(plat::start_document(dc, "nothing", nullptr));

    const std::string role = unique("Listen");
    ASSERT_NE(koSetPrinterNameForLogName(role.c_str(), printer.c_str()), 0);
    DEVMODEA *landscape = mode_with_extra(0, 1);
    landscape->dmFields = DM_ORIENTATION;
    landscape->dmOrientation = DMORIENT_LANDSCAPE;
    ASSERT_NE(koPrinterSaveDevmodeData(role.c_str(), landscape), 0);
    FreeGlobal(landscape);
    EXPECT_NE(koGetPrinterDCByLogName(role.c_str(), 1), nullptr);
    EXPECT_NE(koGetPrinterDCByLogName(printer.c_str(), 1), nullptr) << "a printer of the role's name";
    EXPECT_NE(koGetPrinterDCByLogName("Standard", 1), nullptr);
    EXPECT_NE(koGetPrinterDCByLogName(unique("Unmapped").c_str(), 1), nullptr) << "falls back to the default";
    {
        harness::Fault refused("CreateDC", 1, harness::kAccessDenied);
        EXPECT_EQ(koGetPrinterDCByLogName(role.c_str(), 1), nullptr);
    }
    {
        harness::Fault unlisted("EnumPrinters", 1, harness::kAccessDenied);
        EXPECT_EQ(koGetPrinterCount(), 0) << "a failing enumeration counts none";
    }
}

// An empty store gets the eight default roles; choosing a printer maps the selected role at once,
// the check box writes the copy switch at once; the same through a UI provider and in the
// dialog of the DLL's resources.
TEST_F(Printers, SetupDialogCreatesTheDefaultRolesAndMapsAtOnce) {
    for (const bool system : {false, true}) {
        SCOPED_TRACE(system ? "the system's dialog" : "through the UI provider");
        {
            const int32_t type = koSetProfileType(1);
            koWritePublicString("KELVO_Printers", nullptr, nullptr);
            koSetProfileType(type);
        }
        koPrinterSetUseCopyDrv(0);
        int32_t result = -1;
        if (!system) {
            harness::FakeUi ui;
            ui.dialog = [](TarnUiDialog *d) { use_setup_dialog(d); };
            result = koPrinterSetupDlg(nullptr);
            EXPECT_EQ(ui.dialogs, std::vector<std::string>{"DlgLogPrinters"});
        } else if (!test_env::drive_system_dialog(
                       "Drucker einrichten", [&] { result = koPrinterSetupDlg(nullptr); },
                       [](test_env::SystemDialog d) { use_setup_dialog(d); })) {
            EXPECT_TRUE(test_env::library_keeps_settings()) << "Windows showed no dialog: " << result;
            continue;  // Linux shows dialogs only through a provider
        }
        EXPECT_EQ(result, 1);
        char list[4096] = "";
        koEnumPrinterLogNames(list, sizeof list);
        std::vector<std::string> roles = split(list);
        std::sort(roles.begin(), roles.end());
        const std::vector<std::string> expected = {"Angebot1",  "Angebot2",  "Buchhaltung", "Durchschlag",
                                                   "Listen",    "Rechnung1", "Rechnung2",   "Service"};
        EXPECT_EQ(roles, expected);
    }
}

// The settings button edits the selected role's stored device mode: what the user accepts is
// stored (the driver's bytes kept), Cancel stores nothing, copies that are no number keep theirs.
TEST_F(Printers, SettingsDialogStoresTheRolesDeviceMode) {
    const std::string role = unique("Listen");
    ASSERT_NE(koSetPrinterNameForLogName(role.c_str(), "Werkstatt"), 0);
    DEVMODEA *start = mode_with_extra(6, 1);
    start->dmFields |= DM_PAPERSIZE;
    start->dmPaperSize = DMPAPER_A4;
    ASSERT_NE(koPrinterSaveDevmodeData(role.c_str(), start), 0);
    FreeGlobal(start);
    const struct {
        const char *what;
        int paper, orientation;  // list indexes; -1 leaves the list alone
        const char *copies;
        bool flipDuplex;
        int32_t button;
        int16_t wantPaper, wantOrientation, wantCopies, wantDuplex;
    } cases[] = {
        {"A3 landscape, two copies, two-sided", 1, 1, "2", true, 1, DMPAPER_A3, DMORIENT_LANDSCAPE, 2, DMDUP_VERTICAL},
        {"cancelled: nothing changes", 2, 0, "5", true, 2, DMPAPER_A3, DMORIENT_LANDSCAPE, 2, DMDUP_VERTICAL},
        {"copies not a number keep theirs", -1, 0, "x1", false, 1, DMPAPER_A3, DMORIENT_PORTRAIT, 2, DMDUP_VERTICAL},
        {"one-sided again, Letter", 3, -1, "999", true, 1, DMPAPER_LETTER, DMORIENT_PORTRAIT, 999, DMDUP_SIMPLEX},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        harness::FakeUi ui;
        ui.dialog = [&](TarnUiDialog *d) {
            if (std::string(tarnUiDialogName(d)) == "DlgDeviceSettings") {
                EXPECT_EQ(harness::dialog_text(d, 201), "Werkstatt");
                if (c.paper >= 0) tarnUiDialogSelect(d, 203, c.paper);
                if (c.orientation >= 0) tarnUiDialogSelect(d, 205, c.orientation);
                tarnUiDialogSetText(d, 207, c.copies);
                if (c.flipDuplex) tarnUiDialogPress(d, 208);
                tarnUiDialogPress(d, c.button);
                return;
            }
            const std::vector<std::string> roles = list_items(d, 101);
            const auto at = std::find(roles.begin(), roles.end(), role);
            ASSERT_NE(at, roles.end());
            tarnUiDialogSelect(d, 101, int(at - roles.begin()));
            EXPECT_EQ(tarnUiDialogPress(d, 105), 1);
            tarnUiDialogPress(d, 1);
        };
        EXPECT_EQ(koPrinterSetupDlg(nullptr), 1);
        DEVMODEA *m = koPrinterLoadDevmodeData(role.c_str());
        ASSERT_NE(m, nullptr);
        EXPECT_EQ(std::make_tuple(m->dmPaperSize, m->dmOrientation, m->dmCopies, m->dmDuplex),
                  std::make_tuple(c.wantPaper, c.wantOrientation, c.wantCopies, c.wantDuplex));
        EXPECT_EQ(m->dmDriverExtra, 6);
        EXPECT_EQ(reinterpret_cast<unsigned char *>(m + 1)[5], 0xA5) << "the driver's bytes are kept";
        FreeGlobal(m);
    }
}

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
    // On Linux the memory device has the 300 dpi asked for: 12 points are 50 dots, a line a bit more.
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

// Three pages through a role mapped to the test printer make one file of three pages: on Linux a
// PDF in the print folder titled and named after the document, under Wine the given PostScript file.
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
    ASSERT_NO_FATAL_FAILURE(print_three_pages(dc, "Rechnung 4711", ownPdf ? nullptr : out.c_str()));
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
}

// A CUPS queue is listed before "PDF"; a document printed through a role mapped to it becomes one
// job, which the server's backend keeps, with the role's stored device settings as job options.
TEST(Drawing, ACupsQueueGetsOneJobWithTheRolesSettings) {
    std::string job;
    const std::string queue = test_env::cups_queue(&job);
    if (queue.empty()) GTEST_SKIP() << "no private CUPS server: not on Linux, or cupsd cannot start";
    char list[4096] = "";
    koGetPrinterNameList(list, sizeof list);
    const std::vector<std::string> names = split(list);
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
    ASSERT_NO_FATAL_FAILURE(print_three_pages(dc, "Angebot 7", nullptr));
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
