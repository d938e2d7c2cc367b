// Logical printers: the roles' store, the font-map table, the system printers, device contexts
// and the setup dialog driven through a UI provider.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "harness.h"

namespace {

// Role names made by this run, so that a value left by an earlier run cannot make a test pass.
std::string unique(const std::string &stem) {
    static const std::string run = std::to_string(std::random_device{}() % 100000);
    return stem + run;
}

std::vector<std::string> split(const char *list) {
    std::vector<std::string> names;
    for (const char *p = list; *p; p += names.back().size() + 1) names.emplace_back(p);
    return names;
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

// An empty store gets the eight default roles; choosing a printer maps the selected role at once,
// "(Standarddrucker)" maps it to the default; the check box writes the copy switch at once.
TEST_F(Printers, SetupDialogCreatesTheDefaultRolesAndMapsAtOnce) {
    {
        const int32_t type = koSetProfileType(1);
        koWritePublicString("KELVO_Printers", nullptr, nullptr);
        koSetProfileType(type);
    }
    koPrinterSetUseCopyDrv(0);
    harness::FakeUi ui;
    ui.dialog = [](TarnUiDialog *d) {
        std::vector<std::string> roles, printers;
        for (int i = 0; const char *item = tarnUiDialogListItem(d, 101, i); ++i) roles.emplace_back(item);
        for (int i = 0; const char *item = tarnUiDialogListItem(d, 102, i); ++i) printers.emplace_back(item);
        EXPECT_EQ(roles.size(), 8u);
        ASSERT_FALSE(printers.empty());
        EXPECT_EQ(printers[0], "(Standarddrucker)");
        EXPECT_EQ(int(printers.size()), koGetPrinterCount() + 1);
        EXPECT_EQ(harness::dialog_text(d, 103), "0");
        const int rechnung = int(std::find(roles.begin(), roles.end(), "Rechnung1") - roles.begin());
        ASSERT_EQ(tarnUiDialogSelect(d, 101, rechnung), 1);
        EXPECT_EQ(harness::dialog_text(d, 102), "(Standarddrucker)");
        if (printers.size() > 1) {
            ASSERT_EQ(tarnUiDialogSelect(d, 102, int(printers.size()) - 1), 1);
            EXPECT_EQ(mapping("Rechnung1"), printers.back());
        }
        EXPECT_EQ(tarnUiDialogPress(d, 103), 1);
        EXPECT_EQ(koPrinterGetUseCopyDrv(), 1) << "written when clicked";
        EXPECT_EQ(tarnUiDialogSelect(d, 101, 99), 0);
        tarnUiDialogPress(d, 2);
    };
    EXPECT_EQ(koPrinterSetupDlg(nullptr), 0);
    EXPECT_EQ(ui.dialogs, std::vector<std::string>{"DlgLogPrinters"});
    char list[4096] = "";
    koEnumPrinterLogNames(list, sizeof list);
    const std::vector<std::string> expected = {"Service",   "Angebot1", "Angebot2",    "Rechnung1",
                                               "Rechnung2", "Listen",   "Buchhaltung", "Durchschlag"};
    std::vector<std::string> roles = split(list);
    std::sort(roles.begin(), roles.end());
    std::vector<std::string> sorted = expected;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(roles, sorted);
}
