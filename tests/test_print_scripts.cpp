// Print scripts: the index, font specs, pages painted onto memory pages, the coordinate evaluator,
// page ranges and runs of jobs, spool files, the listing writer's script and printing to files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "harness.h"
#include "print_pages.h"
#include "platform/draw.h"
#include "platform/files.h"
#include "platform/printer.h"
#include "platform/system.h"
#include "print/print_state.h"

namespace {

using namespace print_pages;

// Script text with CR LF line ends.
std::string script(const std::vector<std::string> &lines) {
    std::string text;
    for (const std::string &l : lines) text += l + "\r\n";
    return text;
}

std::string value(XML_Node *node, const char *path) {
    XML_Node *n = koXML_GetChildByNameEx(node, path);
    char buffer[512] = "";
    if (n) koXML_GetValue(n, buffer, sizeof buffer);
    return n ? buffer : "<missing>";
}

// The index of a script written to a file, and the file kept open for painting.
struct OpenScript {
    explicit OpenScript(const std::vector<std::string> &lines) {
        path = test_env::join(test_env::temp_folder("print-script"), "job.spl");
        harness::write_file(path, script(lines));
        file = X_Open(path.c_str(), 0);
        index = koPrinterOpenXML(file);
    }
    ~OpenScript() {
        koXML_ReleaseTree(index);
        X_Close(file);
    }
    XML_Node *page(int nr) {
        XML_Node *p = koXML_GetFirstChild(koXML_GetChildByName(index, "Pages"));
        for (int i = 1; p && i < nr; ++i) p = koXML_GetNext(p);
        return p;
    }
    std::string path;
    HANDLE file;
    XML_Node *index;
};

// A page of 72 dots per inch: a point is a dot, 1 cm is 28 dots.
constexpr int kDpi = 72, kCm = 28;
// Paints page 1 of the script's lines onto a white 300 x 300 memory page.
struct PaintedPage {
    explicit PaintedPage(const std::vector<std::string> &pageLines) {
        std::vector<std::string> lines = {"STARTJOB Test", "STARTPAGE"};
        lines.insert(lines.end(), pageLines.begin(), pageLines.end());
        lines.push_back("ENDPAGE");
        OpenScript s(lines);
        dc = plat::create_memory_dc(300, 300, kDpi);
        painted = koPrinterPageToDevice(dc, s.file, s.index, s.page(1));
    }
    ~PaintedPage() { plat::delete_dc(dc); }
    HDC dc = nullptr;
    int32_t painted = 0;
};

double TARN_CALL lookup_eval(XML_Node *vars, const char *text) {
    char buffer[64] = "";
    if (vars && koXML_GetValueByName(vars, text, buffer, sizeof buffer)) return std::atof(buffer);
    return 1.0;
}

std::vector<std::string> gSeen;  // what the recording evaluator was asked, in order
double TARN_CALL recording_eval(XML_Node *, const char *text) {
    gSeen.emplace_back(text);
    return 0.0;
}

std::string gPreviewed, gPreviewText;
void TARN_CALL record_preview(void *, const char *script, HWND) {
    gPreviewed = script;
    gPreviewText = harness::read_file(script);
}

}  // namespace

// The index records the job, variables, fonts and each page's start and settings; lines before the
// first page and after "ENDJOB" belong to no page; unknown commands and the bytes behind "GDI n"
// (here a "STARTPAGE" line) are stepped over; a "DEVICE" after "ENDPAGE" changes the page before.
TEST(PrintScriptIndex, JobVarsFontsAndPages) {
    OpenScript s({"VARS LPI=6;Rand=2,5;", "FONT 1;!Courier New,12,1000,N;", "FONT 2;", "LTEXT 1;1;1;1;lost",
                  "XOFFSET 9", "STARTJOB Rechnung 4711", "DEVICEMAP Karte", "STARTPAGE", "LTEXT 1;1;2;1;a", "NEUBEFEHL x",
                  "GDI 11", "STARTPAGE", "LINE 0;0;1;1", "ENDPAGE", "DEVICE Rechnung1", "STARTPAGE", "NOSORT",
                  "CALCBORDER", "XOFFSET 1,5", "DSPBK logo.bmp", "BKFILE form.emf", "DEVICE", "RGBFILL 0;0;1;1;255",
                  "ENDPAGE", "ENDJOB", "STARTPAGE"});
    ASSERT_NE(s.index, nullptr);
    EXPECT_STREQ(koXML_GetName(s.index), "Rechnung 4711");
    EXPECT_EQ(value(s.index, "Vars/LPI"), "6");
    EXPECT_EQ(value(s.index, "Vars/Rand"), "2,5");
    EXPECT_EQ(value(s.index, "Fonts/1"), "!Courier New,12,1000,N");
    EXPECT_EQ(value(s.index, "Fonts/2"), "<missing>") << "a selection defines nothing";
    EXPECT_EQ(value(s.index, "DeviceMap"), "Karte");
    const struct {
        int page;
        const char *path, *want;
    } fields[] = {
        {1, "Nr", "1"}, {1, "Count", "3"}, {1, "BkBmp", ""}, {1, "XOffset", "<missing>"},
        {1, "Drucker", "Rechnung1"},  // "ENDPAGE" closes nothing: the page is current until the next
        {2, "Nr", "2"}, {2, "Count", "1"}, {2, "Drucker", "Standard"}, {2, "NoSort", "1"}, {2, "CalcBorder", "1"},
        {2, "XOffset", "1,5"}, {2, "BkBmp", "logo.bmp"}, {2, "BkFile", "form.emf"},
    };
    for (const auto &f : fields)
        EXPECT_EQ(value(s.page(f.page), f.path), f.want) << "page " << f.page << " " << f.path;
    EXPECT_EQ(s.page(3), nullptr) << "nothing after ENDJOB";

    // Offset: the file position just behind "STARTPAGE".
    char line[64] = "";
    X_Seek(s.file, std::atoi(value(s.page(1), "Offset").c_str()), 0);
    X_Readln(s.file, line, sizeof line);
    EXPECT_STREQ(line, "LTEXT 1;1;2;1;a");

    EXPECT_EQ(koPrinterOpenXML(TARN_INVALID_HANDLE), nullptr);
}

// Font specs: both forms, flags in any order and case, defaults for what is missing.
TEST(PrintScriptFonts, SpecsGiveFonts) {
    const struct {
        const char *spec, *name;
        double points;
        int weight;
        bool italic, underline, strike;
        double charWidth;
    } cases[] = {
        {"Arial,10,N", "Arial", 10, 400, false, false, false, 0},
        {"!Courier New,12,1636,F", "Courier New", 12, 700, false, false, false, 72 / 16.36},
        {" Times New Roman , 11 ,kuB", "Times New Roman", 11, 700, true, true, false, 0},
        {"Arial,,s", "Arial", 10, 700, false, false, true, 0},
        {"!Arial,9,150,n", "Arial", 9, 400, false, false, false, 0},
        {"Courier", "Courier", 10, 400, false, false, false, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.spec);
        const plat::FontSpec f = tarn::print::parse_font_spec(c.spec);
        EXPECT_EQ(std::make_tuple(f.name, f.weight, f.italic, f.underline, f.strikeOut),
                  std::make_tuple(std::string(c.name), c.weight, c.italic, c.underline, c.strike));
        EXPECT_DOUBLE_EQ(f.points, c.points);
        EXPECT_NEAR(f.charWidthPoints, c.charWidth, 1e-9);
    }
}

// Items on pixels: fills, the gradient, items of three coordinates, rectangles, line texts, the offset.
TEST(PrintScriptPainting, ItemsLandOnPixels) {
    const struct {
        const char *what;
        std::vector<std::string> lines;
        int x, y;
        COLORREF want;
    } cases[] = {
        {"255 fills red, one dot wider", {"RGBFILL 1;1;1;1;255"}, 2 * kCm, 2 * kCm, kRed},
        {"and not two", {"RGBFILL 1;1;1;1;255"}, 2 * kCm + 1, kCm + 5, kWhite},
        {"white and three coordinates draw nothing",
         {"RGBFILL 1;1;1;1;255", "RGBFILL 1;1;1;1;16777215", "RGBFILL 1;1;1"}, kCm + 5, kCm + 5, kRed},
        {"a gradient starts at its colour", {"RGBFILL 0;0;1;2;16777471"}, 5, 0, kRed},
        {"and fades towards white", {"RGBFILL 0;0;1;2;16777471"}, 5, 57, 0xF6F6FF},
        {"the offset moves the page", {"XOFFSET 1", "YOFFSET 2", "RGBFILL 0;0;1;1;16711680"}, kCm + 3, 2 * kCm + 3, kBlue},
        {"a rectangle has edges", {"RECT 1;1;3;3"}, 2 * kCm, kCm, 0},
        {"and no inside", {"RECT 1;1;3;3"}, 2 * kCm, 2 * kCm, kWhite},
        {"\\- is a line through the middle", {"LTEXT 1;1;2;2;\\-"}, 2 * kCm, 2 * kCm, 0},
        {"\\| is a line down the middle", {"LTEXT 1;1;2;2;\\|"}, 2 * kCm, kCm + 10, 0},
        {"\\ alone is nothing", {"LTEXT 1;1;2;2;\\"}, 2 * kCm, 2 * kCm, kWhite},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        PaintedPage p(c.lines);
        EXPECT_EQ(p.painted, 1);
        EXPECT_EQ(at(p.dc, c.x, c.y), c.want);
    }
}

// Sorted, a fill at a text's place paints first and the text shows; "NOSORT" keeps the script's order.
TEST(PrintScriptPainting, NoSortKeepsTheScriptsOrder) {
    for (const bool noSort : {false, true}) {
        SCOPED_TRACE(noSort ? "NOSORT" : "sorted");
        PaintedPage p({noSort ? "NOSORT" : "", "LTEXT 1;1;5;1;XXXXXXXX", "RGBFILL 1;1;5;1;16711680"});
        EXPECT_NE(at(p.dc, kCm + 1, kCm + 1), kWhite) << "the fill is there";
        EXPECT_EQ(ink_between(p.dc, kCm, 6 * kCm, kCm, 2 * kCm), !noSort);
    }
}

// The evaluator turns each coordinate text into centimetres with the job's variables; null puts
// back the default, which reads "2,5" and "2.5" alike.
TEST(PrintScriptPainting, CoordinatesGoThroughTheEvaluator) {
    const koPrtEvalProc standard = koGetPrtEvalProc();
    EXPECT_DOUBLE_EQ(standard(nullptr, "2,5"), 2.5);
    EXPECT_DOUBLE_EQ(standard(nullptr, " 2.5cm"), 2.5);
    EXPECT_DOUBLE_EQ(standard(nullptr, "abc"), 0.0);
    {
        harness::GermanNumbers german;
        EXPECT_DOUBLE_EQ(standard(nullptr, "1.25"), 1.25) << "whatever the locale";
    }
    EXPECT_EQ(koSetPrtEvalProc(lookup_eval), lookup_eval);
    {
        PaintedPage p({"VARS Links=2;Oben=3;", "RGBFILL Links;Oben;x;x;255"});
        EXPECT_EQ(at(p.dc, 2 * kCm + 2, 3 * kCm + 2), kRed);
        EXPECT_EQ(at(p.dc, 2 * kCm - 2, 3 * kCm + 2), kWhite);
    }
    EXPECT_EQ(koSetPrtEvalProc(nullptr), nullptr);
    EXPECT_EQ(koGetPrtEvalProc(), standard);
}

// A page whose items come from an "Items" list of the index paints those, not the file's.
TEST(PrintScriptPainting, ItemsFromTheIndexList) {
    OpenScript s({"STARTJOB T", "STARTPAGE", "RGBFILL 0;0;1;1;16711680", "ENDPAGE"});
    XML_Node *items = koXML_AddChildLast(s.page(1), "Items");
    koXML_SetValueByName(items, "Count", "1");
    koXML_SetValueByName(items, "RGBFILL", "2;2;1;1;255");
    HDC dc = plat::create_memory_dc(300, 300, kDpi);
    EXPECT_EQ(koPrinterPageToDevice(dc, s.file, s.index, s.page(1)), 1);
    EXPECT_EQ(at(dc, 5, 5), kWhite) << "the file's item is not painted";
    EXPECT_EQ(at(dc, 2 * kCm + 5, 2 * kCm + 5), kRed);
    EXPECT_EQ(koPrinterPageToDevice(dc, s.file, s.index, nullptr), 0);
    EXPECT_EQ(koPrinterPageToDevice(nullptr, s.file, s.index, s.page(1)), 0);
    plat::delete_dc(dc);
}

// Pages first..last go to the printer, -1 meaning to the end; a page's role picks its job.
TEST(PrintScriptJobs, PageRangesPrintTheirPages) {
    const std::string printer = test_env::test_printer();
    if (printer.empty()) GTEST_SKIP() << "no printer to print to";
    koSetPrinterNameForLogName("Probe", printer.c_str());
    std::vector<std::string> lines = {"STARTJOB Bereich"};
    for (int page = 1; page <= 4; ++page)
        lines.insert(lines.end(), {"STARTPAGE", "XOFFSET P" + std::to_string(page), "ENDPAGE"});
    const std::string folder = test_env::temp_folder("print-range");
    const std::string path = test_env::join(folder, "range.spl");
    harness::write_file(path, script(lines));
    test_env::set_env("TARNGDI_PRINT_DIR", folder.c_str());
    // Wine's driver writes a "FILE:" port's output into the current folder.
    const std::string saved = plat::current_directory();
    plat::set_current_directory(folder.c_str());
    const struct {
        int32_t first, last;
        std::vector<std::string> want;
    } cases[] = {{2, -1, {"P2", "P3", "P4"}}, {1, 1, {"P1"}}, {3, 9, {"P3", "P4"}}, {5, -1, {}}};
    koSetPrtEvalProc(recording_eval);
    for (const auto &c : cases) {
        SCOPED_TRACE(std::to_string(c.first) + ".." + std::to_string(c.last));
        gSeen.clear();
        EXPECT_EQ(koPrinterPrint(path.c_str(), c.first, c.last, "Probe"), 1);
        std::vector<std::string> offsets;
        for (const std::string &t : gSeen)
            if (!t.empty() && t[0] == 'P') offsets.push_back(t);
        EXPECT_EQ(offsets, c.want);
    }
    koSetPrtEvalProc(nullptr);
    EXPECT_EQ(plat::current_directory(), folder) << "the current folder is put back";
    plat::set_current_directory(saved.c_str());
    test_env::set_env("TARNGDI_PRINT_DIR", nullptr);
    EXPECT_EQ(koPrinterPrint((path + ".missing").c_str(), 1, -1, "Probe"), 0);
}

// A document per run of pages on the same role: the "PDF" printer leaves one file per job, named
// after the job with "_" for what no file name may hold, numbered past the files already there.
TEST(PrintScriptJobs, OneJobPerRunOfPagesOnARole) {
    if (!test_env::library_keeps_settings()) GTEST_SKIP() << "the PDF printer is the library's own, on Linux";
    const std::string folder = test_env::temp_folder("print-runs");
    test_env::set_env("TARNGDI_PRINT_DIR", folder.c_str());
    koSetPrinterNameForLogName("Lauf1", "PDF");
    koSetPrinterNameForLogName("Lauf2", "PDF");
    std::vector<std::string> lines = {"STARTJOB Laeufe 12/2026 a:b*c?"};
    for (const char *role : {"Lauf1", "Lauf1", "Lauf2", "Lauf1"})
        lines.insert(lines.end(), {"STARTPAGE", std::string("DEVICE ") + role, "LTEXT 1;1;5;1;Seite", "ENDPAGE"});
    const std::string path = test_env::join(folder, "runs.spl");
    harness::write_file(path, script(lines));
    EXPECT_EQ(koPrinterPrint(path.c_str(), 1, -1, nullptr), 1);
    const struct {
        const char *file;
        const char *pages;
    } jobs[] = {{"Laeufe 12_2026 a_b_c_.pdf", "2"}, {"Laeufe 12_2026 a_b_c_ (2).pdf", "1"},
                {"Laeufe 12_2026 a_b_c_ (3).pdf", "1"}};
    for (const auto &j : jobs) {
        const std::string info = test_env::command_output("pdfinfo '" + test_env::join(folder, j.file) + "'");
        const size_t at = info.find("Pages:");
        ASSERT_NE(at, std::string::npos) << j.file;
        EXPECT_EQ(std::atoi(info.c_str() + at + 6), std::atoi(j.pages)) << j.file;
    }
    test_env::set_env("TARNGDI_PRINT_DIR", nullptr);
}

// The spool folder is "..\SPOOL" when it exists, else the temporary folder; spool names count up
// past files that exist; the source goes only when asked.
TEST(PrintSpool, FolderNamesAndTheSource) {
    const std::string base = test_env::temp_folder("print-spool");
    const std::string work = test_env::join(base, "work"), temp = test_env::join(base, "temp");
    plat::create_directory(work.c_str());
    plat::create_directory(temp.c_str());
    const std::string saved = plat::current_directory();
    ASSERT_TRUE(plat::set_current_directory(work.c_str()));
    test_env::set_temp_folder(temp);
    char folder[200] = "";
    const char sep = plat::path_separator();
    EXPECT_EQ(koPrinterGetSpoolDir(folder), 1);
    EXPECT_EQ(std::string(folder), temp + sep) << "no ..\\SPOOL: the temporary folder";
    const std::string spool = test_env::join(base, "SPOOL");
    plat::create_directory(spool.c_str());
    EXPECT_EQ(koPrinterGetSpoolDir(folder), 1);
    EXPECT_EQ(std::string(folder), spool + sep);

    const std::string source = test_env::join(base, "job.txt");
    harness::write_file(source, "STARTJOB x\r\n");
    EXPECT_EQ(koPrinterSpool(source.c_str(), 0), 1);
    EXPECT_EQ(koPrinterSpool(source.c_str(), 1), 1);
    EXPECT_FALSE(harness::file_exists(source)) << "deleted after the copy";
    std::vector<std::string> names;
    for (const auto &f : plat::find_files((spool + sep + "*.SPL").c_str())) names.push_back(f.name);
    std::sort(names.begin(), names.end());
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0].size(), 12u);
    EXPECT_EQ(std::stoul(names[1].substr(0, 8), nullptr, 16), std::stoul(names[0].substr(0, 8), nullptr, 16) + 1);
    EXPECT_EQ(names[0].substr(0, 8).find_first_not_of("0123456789ABCDEF"), std::string::npos);
    EXPECT_EQ(harness::read_file(spool + sep + names[1]), "STARTJOB x\r\n");
    EXPECT_EQ(koPrinterSpool(source.c_str(), 0), 0) << "the source is gone";
    test_env::set_temp_folder("");
    plat::set_current_directory(saved.c_str());
}

// 150 lines through the slots with a page break every 63 lines, as a caller asking
// GetLinesPerPage makes them: the header, three pages, words at their columns.
TEST(ListingWriter, OneHundredFiftyLinesMakeThreePages) {
    const std::string base = test_env::temp_folder("listing");
    const std::string work = test_env::join(base, "work");
    plat::create_directory(work.c_str());
    const std::string saved = plat::current_directory();
    ASSERT_TRUE(plat::set_current_directory(work.c_str()));

    ISprt_Protokoll *l = Create_Sprt_Protokoll();
    ASSERT_NE(l, nullptr);
    const ISprt_ProtokollVtbl *v = l->lpVtbl;
    ASSERT_EQ(v->Open(l, "Liste"), 1);
    const int32_t perPage = v->GetLinesPerPage(l);
    EXPECT_EQ(perPage, 63);
    for (int i = 0; i < 150; ++i) {
        if (i > 0 && i % perPage == 0) v->EndPage(l);
        v->Write(l, ("Zeile " + std::to_string(i)).c_str());
        v->NewLine(l);
    }
    v->SetPitch(l, 12, 1);
    v->WriteAt(l, 4, 2, "\x84rger");  // OEM "ä"
    v->SetOem(l, 0);
    v->SetPitch(l, 17, 0);
    v->SetLeftMargin(l, 1.0);
    v->WriteNumberAt(l, 0, 3, -255, 10);
    v->WriteNumber(l, -1, 16);
    v->Write(l, "a b\rc\nd");

    TarnUiProvider withPreview = {};
    withPreview.size = sizeof withPreview;
    withPreview.preview = record_preview;
    tarnSetUiProvider(&withPreview);
    EXPECT_EQ(v->Preview(l, nullptr), 1);
    tarnSetUiProvider(nullptr);
    EXPECT_FALSE(harness::file_exists(gPreviewed)) << "deleted after the preview";
    EXPECT_EQ(v->AddRef(l), 2);
    EXPECT_EQ(v->Release(l), 1);
    EXPECT_EQ(v->ReleaseAll(l), 0);
    plat::set_current_directory(saved.c_str());

    std::vector<std::string> lines;
    for (size_t from = 0, crlf; (crlf = gPreviewText.find("\r\n", from)) != std::string::npos; from = crlf + 2)
        lines.push_back(gPreviewText.substr(from, crlf - from));
    ASSERT_GT(lines.size(), 20u);
    const std::vector<std::string> head = {
        "VARS LPI=6;", "INITPAGESIZE", "STARTJOB Liste",
        "FONT 1;!Courier New,12,1000,N;", "FONT 2;!Courier New,12,1000,F;", "FONT 3;!Courier New,12,1200,N;",
        "FONT 4;!Courier New,12,1200,F;", "FONT 5;!Courier New,12,1636,N;", "FONT 6;!Courier New,12,1636,F;",
        "STARTPAGE", "FONT 1;", "LTEXT 2.00;0.00;1.52;0.42;Zeile", "LTEXT 3.52;0.00;0.51;0.42;0",
        "LTEXT 2.00;0.42;1.52;0.42;Zeile", "LTEXT 3.52;0.42;0.51;0.42;1"};
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + long(head.size())), head);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "STARTPAGE"), 3);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "ENDPAGE"), 3);
    const auto line62 = std::find(lines.begin(), lines.end(), "LTEXT 3.52;26.25;0.76;0.42;62");
    ASSERT_NE(line62, lines.end()) << "the 63rd line of a page";
    EXPECT_EQ(*(line62 + 1), "ENDPAGE");
    EXPECT_EQ(*(line62 + 2), "STARTPAGE");
    const std::vector<std::string> tail = {
        "FONT 4;", "LTEXT 2.85;0.85;1.27;0.42;\xe4rger", "FONT 5;", "LTEXT 1.00;1.27;0.78;0.42;-255",
        "LTEXT 1.62;1.27;1.40;0.42;ffffffff", "LTEXT 2.86;1.27;0.31;0.42;a", "LTEXT 3.17;1.27;0.31;0.42;b",
        "LTEXT 1.00;1.27;0.31;0.42;c", "LTEXT 1.16;1.69;0.31;0.42;d", "ENDPAGE", "ENDJOB"};
    EXPECT_EQ(std::vector<std::string>(lines.end() - long(tail.size()), lines.end()), tail);
}

// The demo invoice into files: PNG pages of the A4 sheet at the asked resolution, and (on
// Linux) a PDF whose text reads back in the script's order with every font embedded.
TEST(PrintToFile, TheDemoInvoice) {
    std::string invoice = __FILE__;
    invoice.erase(invoice.find_last_of("/\\") + 1);
    invoice += "../demo/data/rechnung.spl";
    const std::string folder = test_env::temp_folder("print-file");
    const std::string png = test_env::join(folder, "rechnung.png");
    EXPECT_EQ(tarnPrintScriptToFile(invoice.c_str(), 1, -1, png.c_str(), 50), 2);
    for (const char *page : {"rechnung-1.png", "rechnung-2.png"}) {
        const std::string bytes = harness::read_file(test_env::join(folder, page));
        ASSERT_GT(bytes.size(), 24u) << page;
        EXPECT_EQ(bytes.substr(1, 3), "PNG");
        // The header's width and height, big-endian: 413 x 585 are 210 x 297 mm at 50 dpi.
        EXPECT_EQ(bytes.substr(16, 8), std::string("\0\0\x01\x9d\0\0\x02\x49", 8)) << page;
    }
    EXPECT_EQ(tarnPrintScriptToFile(invoice.c_str(), 3, -1, png.c_str(), 50), 0) << "no page in the range";
    EXPECT_EQ(tarnPrintScriptToFile((invoice + ".missing").c_str(), 1, -1, png.c_str(), 50), 0);

    if (!test_env::library_keeps_settings()) return;  // a PDF needs a PDF printer on Windows
    const std::string pdf = test_env::join(folder, "rechnung.pdf");
    EXPECT_EQ(tarnPrintScriptToFile(invoice.c_str(), 1, -1, pdf.c_str(), 0), 2);
    const std::string fonts = test_env::command_output("pdffonts '" + pdf + "'");
    EXPECT_EQ(fonts.find("Type 3"), std::string::npos) << fonts;
    EXPECT_NE(fonts.find("TrueType"), std::string::npos) << fonts;
    EXPECT_EQ(fonts.find(" no "), std::string::npos) << "every font embedded\n" << fonts;
    const std::string text = test_env::command_output("pdftotext -layout '" + pdf + "' -");
    size_t at = 0;
    for (const char *part : {"Fliesen Berger GmbH", "Sabine und J\xc3\xb6rg M\xc3\xbcller", "Rechnung: Badsanierung", "Pos.",
                             "Baustelle einrichten", "Duschrinne 80 cm", "\xc3\x9c" "bertrag", "Mosaikbord\xc3\xbc" "re",
                             "Rechnungsbetrag", "8.232,06", "Vielen Dank"}) {
        const size_t found = text.find(part, at);
        EXPECT_NE(found, std::string::npos) << part << " after position " << at;
        if (found != std::string::npos) at = found;
    }
}
