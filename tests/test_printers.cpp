// Logical printers and the drawing device: the roles' store, the font-map table, the system
// printers, device contexts, the setup dialog driven through a UI provider, pixels of a memory
// device and documents of several pages on the test printers (a PDF file and a CUPS job on Linux,
// a PostScript file from Wine's driver).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
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

// Every access switches to the registry profile and back: the caller's type survives each call.
struct Printers : ::testing::Test {
    void SetUp() override { saved = koSetProfileType(2); }
    void TearDown() override { EXPECT_EQ(koSetProfileType(saved), 2) << "the profile type was put back"; }
    int32_t saved = 0;
};

}  // namespace

// A mapping read back as written; setting one drops the stored device mode; the roles list holds
// the new role; the copy switch is "1" or "0" and 0 when unset.
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

    const struct {
        const char *what;
        uint16_t extra;
        bool empty;  // dmSize 0
        bool null;
        bool stored;
    } cases[] = {
        {"fixed part only", 0, false, false, true},
        {"with the driver's bytes", 12, false, false, true},
        {"a size of 0 removes it", 4, true, false, false},
        {"null removes it", 0, false, true, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        DEVMODEA *m = mode_with_extra(c.extra, 3);
        if (c.empty) m->dmSize = 0;
        DEVMODEA *before = mode_with_extra(2, 9);  // something to replace
        ASSERT_NE(koPrinterSaveDevmodeData(role.c_str(), before), 0);
        FreeGlobal(before);
        EXPECT_NE(koPrinterSaveDevmodeData(role.c_str(), c.null ? nullptr : m), 0);
        DEVMODEA *back = koPrinterLoadDevmodeData(role.c_str());
        ASSERT_EQ(back != nullptr, c.stored);
        if (back) {
            EXPECT_EQ(std::memcmp(back, m, sizeof(DEVMODEA) + c.extra), 0);
            FreeGlobal(back);
        }
        FreeGlobal(m);
    }
    DEVMODEA *kept = mode_with_extra(0, 2);
    ASSERT_NE(koPrinterSaveDevmodeData(role.c_str(), kept), 0);
    FreeGlobal(kept);
    ASSERT_NE(koSetPrinterNameForLogName(role.c_str(), "Anderer"), 0);
    EXPECT_EQ(koPrinterLoadDevmodeData(role.c_str()), nullptr) << "a new printer drops the settings";

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
// mapped printer, one named like it, or the default printer; "Standard" is always the default.
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

// How a test clicks through a dialog: one the UI provider shows, or the system's own window.
struct DialogUser {
    std::function<std::vector<std::string>(int)> items;
    std::function<int(int)> selected;
    std::function<void(int, int)> choose;
    std::function<bool(int)> checked;
    std::function<void(int)> press;
};

DialogUser provider_user(TarnUiDialog *d) {
    return {[d](int id) {
                std::vector<std::string> items;
                for (int i = 0; const char *item = tarnUiDialogListItem(d, id, i); ++i) items.emplace_back(item);
                return items;
            },
            [d](int id) {
                const std::string text = harness::dialog_text(d, id);
                for (int i = 0; const char *item = tarnUiDialogListItem(d, id, i); ++i)
                    if (text == item) return i;
                return -1;
            },
            [d](int id, int index) { tarnUiDialogSelect(d, id, index); },
            [d](int id) { return harness::dialog_text(d, id) == "1"; },
            [d](int id) { tarnUiDialogPress(d, id); }};
}

DialogUser system_user(test_env::SystemDialog d) {
    return {[d](int id) { return test_env::dialog_list(d, id); },
            [d](int id) { return test_env::dialog_list_selected(d, id); },
            [d](int id, int index) { test_env::dialog_list_choose(d, id, index); },
            [d](int id) { return test_env::dialog_checked(d, id); },
            [d](int id) { test_env::dialog_press(d, id); }};
}

void use_setup_dialog(const DialogUser &u) {
    const std::vector<std::string> roles = u.items(101), printers = u.items(102);
    EXPECT_EQ(roles.size(), 8u);
    ASSERT_FALSE(printers.empty());
    EXPECT_EQ(printers[0], "(Standarddrucker)");
    EXPECT_EQ(int(printers.size()), koGetPrinterCount() + 1);
    EXPECT_FALSE(u.checked(103));
    const int rechnung = int(std::find(roles.begin(), roles.end(), "Rechnung1") - roles.begin());
    ASSERT_LT(rechnung, int(roles.size()));
    u.choose(101, rechnung);
    EXPECT_EQ(u.selected(102), 0) << "an unmapped role shows the default printer";
    u.choose(102, int(printers.size()) - 1);
    EXPECT_EQ(mapping("Rechnung1"), printers.back());
    u.press(103);
    EXPECT_EQ(koPrinterGetUseCopyDrv(), 1) << "written when clicked";
    u.press(1);
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
            ui.dialog = [](TarnUiDialog *d) { use_setup_dialog(provider_user(d)); };
            result = koPrinterSetupDlg(nullptr);
            EXPECT_EQ(ui.dialogs, std::vector<std::string>{"DlgLogPrinters"});
        } else if (!test_env::drive_system_dialog(
                       "Drucker einrichten", [&] { result = koPrinterSetupDlg(nullptr); },
                       [](test_env::SystemDialog d) { use_setup_dialog(system_user(d)); })) {
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
            std::vector<std::string> roles;
            for (int i = 0; const char *item = tarnUiDialogListItem(d, 101, i); ++i) roles.emplace_back(item);
            const auto at = std::find(roles.begin(), roles.end(), role);
            ASSERT_NE(at, roles.end());
            tarnUiDialogSelect(d, 101, int(at - roles.begin()));
            EXPECT_EQ(tarnUiDialogPress(d, 105), 1);
            tarnUiDialogPress(d, 1);
        };
        EXPECT_EQ(koPrinterSetupDlg(nullptr), 1);
        EXPECT_EQ(ui.dialogs, (std::vector<std::string>{"DlgLogPrinters", "DlgDeviceSettings"}));
        DEVMODEA *m = koPrinterLoadDevmodeData(role.c_str());
        ASSERT_NE(m, nullptr);
        EXPECT_EQ(m->dmPaperSize, c.wantPaper);
        EXPECT_EQ(m->dmOrientation, c.wantOrientation);
        EXPECT_EQ(m->dmCopies, c.wantCopies);
        EXPECT_EQ(m->dmDuplex, c.wantDuplex);
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
