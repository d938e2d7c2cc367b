// tarn: the library's services on the command line.
#include <cstdio>
#include <cstring>

#include "commands.h"
#include "tarngdi32.h"

namespace tarn_tool {

const std::vector<Command> &commands() {
    static const std::vector<Command> list = {
        {"ansi2oem", "convert a text file from the ANSI to the OEM code page",
         "usage: tarn ansi2oem IN OUT\n"
         "Converts IN (ANSI code page) to OUT (OEM code page) through the library's\n"
         "conversion tables or code pages. \"-\" stands for standard input or output.\n",
         run_ansi2oem},
        {"oem2ansi", "convert a text file from the OEM to the ANSI code page",
         "usage: tarn oem2ansi IN OUT\n"
         "Converts IN (OEM code page, as DOS-era data files use it) to OUT (ANSI code page).\n"
         "\"-\" stands for standard input or output.\n",
         run_oem2ansi},
        {"winerror", "print the name of a Windows error code",
         "usage: tarn winerror CODE\n"
         "Prints \"[CODE] NAME\" for a Windows system error code (decimal or 0x hexadecimal).\n",
         run_winerror},
        {"date", "read typed dates against a work date; dates of day numbers",
         "usage: tarn date [--workdate DD.MM.YYYY] TEXT...\n"
         "       tarn date --days N\n"
         "Reads each TEXT as a date field does (\"h\" today, \"m\" tomorrow, \"g\" yesterday,\n"
         "\"+14\", \"-7\", \"31.2\", \"12/25\", \"1.1.79\") against the work date (default: today)\n"
         "and prints the date, its day number (1 = 01.01.1900), weekday and week number.\n"
         "With --days, prints the date of day number N.\n",
         run_date},
        {"settings", "read and write profile settings",
         "usage: tarn settings [--type 0..3] get FILE SECTION KEY\n"
         "       tarn settings [--type 0..3] set FILE SECTION KEY VALUE\n"
         "       tarn settings [--type 0..3] delete FILE SECTION [KEY]\n"
         "       tarn settings [--type 0..3] list FILE SECTION\n"
         "       tarn settings registry ROOT KEY [NAME]\n"
         "Profile values as the applications keep them. --type chooses the store: 0 registry of\n"
         "the default user, 1 of the current user, 2 INI files per computer and user, 3 shared\n"
         "INI files. Without it, the type the library settles on at start. \"get\" exits with 1\n"
         "when a registry value is missing (the default, an empty text, is printed). \"registry\"\n"
         "prints a string value of any key (the unnamed one without NAME) under HKCR, HKCU, HKLM\n"
         "or HKU, such as the registration entries of components; it exits with 1 when there is none.\n",
         run_settings},
        {"printers", "list the printers and the roles the applications print to",
         "usage: tarn printers\n"
         "       tarn printers set ROLE PRINTER\n"
         "       tarn printers settings ROLE [paper=A4|A3|A5|Letter|Legal]\n"
         "                [orientation=portrait|landscape] [copies=N] [duplex=on|off] | clear\n"
         "       tarn printers copies on|off\n"
         "Without arguments, lists the system printers (on Linux the CUPS queues and the built-in\n"
         "\"PDF\", which writes PDF files into $TARNGDI_PRINT_DIR) and the roles (\"Angebot1\",\n"
         "\"Rechnung1\", ...) with the printer each prints to. \"set\" maps a role to a printer\n"
         "(\"\" for the default printer) and drops its stored device settings. \"settings\" prints\n"
         "a role's stored device settings, changes the ones named (the others stay) or, with\n"
         "\"clear\", removes them. \"copies\" says whether copies after the first go to the role\n"
         "\"Durchschlag\".\n",
         run_printers},
        {"print", "print a print script or a plain text, or turn it into PDF or PNG pages",
         "usage: tarn print SCRIPT [--pages FIRST-LAST] [--printer ROLE | -o OUT.pdf | -o OUT.png [--dpi N]]\n"
         "       tarn print --list TEXTFILE [--job NAME] [--pages ...] [--printer ROLE | -o OUT.pdf | -o OUT.png]\n"
         "Prints the pages of a print script (the spool files of the applications). Without --printer\n"
         "each page goes to the role its script names (\"DEVICE\"), one job per run of pages on the\n"
         "same role; with --printer all of them go to that role. -o writes a PDF file instead, or with\n"
         "a name ending in \".png\" one image per page (OUT-1.png, OUT-2.png, ... at 150 dpi unless\n"
         "--dpi says otherwise), on the sheet stored for the first page's role (A4 portrait without).\n"
         "--pages takes \"2-5\", \"2-\" (to the end) or one page. --list lays out a plain text (UTF-8 or\n"
         "ANSI) through the listing writer in Courier New, 63 lines a page, a form feed starting a new\n"
         "page, and prints that. On Windows, PDF files need the printer \"Microsoft Print to PDF\".\n",
         run_print},
        {"gaeb2xml", "convert a GAEB 2000 bracket file to XML",
         "usage: tarn gaeb2xml IN OUT [--plain]\n"
         "Reads IN in the GAEB 2000 bracket form (\"#begin[GAEB]\" ... \"#end[GAEB]\"; RTF long\n"
         "texts become plain text) and writes OUT as indented UTF-8 XML, or with --plain in the\n"
         "ANSI form with numeric references. Blocks become elements, fields attributes.\n",
         run_gaeb2xml},
        {"xml2gaeb", "convert an XML document to a GAEB 2000 bracket file",
         "usage: tarn xml2gaeb IN OUT [--plain|--compatible]\n"
         "Reads the XML document IN and writes OUT in the GAEB 2000 bracket form: elements\n"
         "become blocks, attributes and elements holding only a text become fields. IN is read\n"
         "as UTF-8 with its white space when its declaration names an encoding (--compatible),\n"
         "else as ANSI text whose raw white space is layout (--plain).\n",
         run_xml2gaeb},
        {"xml", "rewrite an XML document in the plain or the compatible form",
         "usage: tarn xml IN OUT --compatible|--plain\n"
         "Reads the XML document IN (its form told by its declaration, as xml2gaeb does) and\n"
         "writes OUT as indented UTF-8 XML (--compatible) or as ANSI text in which every byte\n"
         "outside letters, digits and a few signs is a numeric reference (--plain).\n",
         run_xml},
        {"eval", "evaluate a formula text: its result lines and their sum",
         "usage: tarn eval [FILE|-]\n"
         "Evaluates a quantity calculation as the applications do. A line with \"=\" after its\n"
         "last \":\" is a result line: the label before the \":\", \"remarks\" and # comments are\n"
         "left out, the term is computed and rounded commercially to 3 decimals (2 when the text\n"
         "begins with \"#2\"). Prints each result line with its number and value, the total,\n"
         "and the first line whose term is empty or does not parse; exits with 1 if there is one.\n"
         "Without FILE, or with \"-\", reads standard input.\n",
         run_eval},
        {"rtf2txt", "convert an RTF memo to plain text",
         "usage: tarn rtf2txt [IN|-] [OUT|-]\n"
         "Writes the plain ANSI text of the RTF document IN to OUT, as the applications show RTF\n"
         "memo fields: paragraphs end in CR LF, tabs become blanks, font and colour tables,\n"
         "headers, footers, pictures and other destinations are left out. A damaged document\n"
         "ends in \"RTF-Error(N): \" and the input that follows. A text not beginning with\n"
         "\"{\\rtf\" is copied unchanged. \"-\" or a missing name stands for standard input or output.\n",
         run_rtf2txt},
        {"serve", "run a request server until a client shuts it down",
         "usage: tarn serve --port N [--tcp] [--pipe]\n"
         "Serves requests on TCP port N and on the pipe \\\\.\\pipe\\KELVO_%05d of the same\n"
         "number (both without --tcp or --pipe). Request 100 answers its data, 101 the server's\n"
         "time and connection count as \"Time=...;Active=N;\". What the library reports goes to\n"
         "standard error. It runs until a client asks it to stop (tarn shutdown).\n",
         run_serve},
        {"request", "send one request to a request server",
         "usage: tarn request --port N [--host H] [--pipe] ID [DATA]\n"
         "Logs in as \"tarn\", sends request ID (0 to 65535; 0 wants no reply) with DATA,\n"
         "prints the reply's bytes and logs out. H is a host name or \"#\" and an IPv4 address\n"
         "(default localhost); with --pipe the server's computer name (default \".\").\n",
         run_request},
        {"shutdown", "ask a request server to stop",
         "usage: tarn shutdown --port N [--host H] [--pipe] [--force]\n"
         "Sends request 30: the server stops if this is its only connection. With --force,\n"
         "request 31: the server stops whatever else is connected.\n",
         run_shutdown},
        {"memo", "compress and expand memo texts and files (magic 0x2649)",
         "usage: tarn memo compress IN OUT\n"
         "       tarn memo expand IN OUT\n"
         "       tarn memo info FILE\n"
         "Compresses IN into the nibble-coded run-length format the applications store memo\n"
         "texts and record files in, or expands such a stream back. \"info\" shows the size of\n"
         "the frequency table, the original and the compressed length and their ratio; it exits\n"
         "with 1 when FILE is not a compressed stream or is damaged. \"-\" stands for standard\n"
         "input or output.\n",
         run_memo},
    };
    return list;
}

const Command &command(const char *name) {
    for (const auto &c : commands())
        if (std::strcmp(c.name, name) == 0) return c;
    return commands().front();
}

int usage_error(const Command &cmd, const std::string &message) {
    std::fprintf(stderr, "tarn %s: %s\n%s", cmd.name, message.c_str(), cmd.usage);
    return kUsage;
}

bool wants_help(const Args &args) {
    for (const auto &a : args)
        if (a == "--help" || a == "-h") return true;
    return false;
}

}  // namespace tarn_tool

namespace {

void print_help(FILE *to) {
    std::fprintf(to, "usage: tarn COMMAND [ARGS...]\n"
                     "       tarn --help | --version\n"
                     "       tarn COMMAND --help\n\ncommands:\n");
    for (const auto &c : tarn_tool::commands()) std::fprintf(to, "  %-10s %s\n", c.name, c.summary);
}

}  // namespace

int main(int argc, char **argv) {
    using namespace tarn_tool;
    set_binary_stdio();
    if (argc < 2) {
        print_help(stderr);
        return kUsage;
    }
    const std::string first = argv[1];
    if (first == "--help" || first == "-h") {
        print_help(stdout);
        return kOk;
    }
    if (first == "--version") {
        std::printf("tarn %s (tarngdi32)\n", TARN_VERSION_TEXT);
        return kOk;
    }
    for (const auto &c : commands()) {
        if (first != c.name) continue;
        Args args(argv + 2, argv + argc);
        if (wants_help(args)) {
            std::fputs(c.usage, stdout);
            return kOk;
        }
        return c.run(args);
    }
    std::fprintf(stderr, "tarn: unknown command \"%s\"\n", first.c_str());
    print_help(stderr);
    return kUsage;
}
