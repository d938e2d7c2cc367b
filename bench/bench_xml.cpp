// Reading a 20 MB bill of quantities as XML: our string and file readers beside pugixml parsing
// the same bytes in the same run, and the memory each tree holds once it is read.
//
// Memory is what the C heap hands out, taken from mallinfo2() before the parse and again after
// it with the tree still alive (in-use small blocks plus mmap'd large ones). Both libraries take
// their memory from malloc here (our nodes come in pooled chunks, atoms and index from
// AllocGlobal, i.e. calloc), so the same measure counts both, allocator overhead included. Our
// reader's 8 MiB token buffer (and the 1 MiB in which long values are gathered for the scratch
// file) are freed before the second measurement; they are shown apart as the parse's transient
// memory. Values over 24 bytes live in our scratch file, not in memory; pugixml keeps
// the whole document text.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include <pugixml.hpp>

#include "tarngdi32.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kDocumentBytes = 20u << 20;

double seconds_since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Processor time of this thread, system calls included: steadier than the clock on a machine
// shared with other work.
double cpu_seconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) / 1e9;
}

// Wall and processor time of a call: the best of the runs, the one least disturbed by others.
struct Timed {
    double wall = 1e9, cpu = 1e9;
    double lastWall = 0;
    template <class F>
    void run(F f) {
        const double c0 = cpu_seconds();
        const Clock::time_point t0 = Clock::now();
        f();
        lastWall = seconds_since(t0);
        wall = std::min(wall, lastWall);
        cpu = std::min(cpu, cpu_seconds() - c0);
    }
};

std::string bench_file(const char *name) {
    const char *home = std::getenv("TARNGDI_HOME");
    const std::filesystem::path dir = home && *home ? home : "/tmp";
    std::error_code ignored;
    std::filesystem::create_directories(dir, ignored);
    return (dir / name).string();
}

// German construction texts in UTF-8: words of a long text, and short item titles.
const char *const kWords[] = {
    "Mauerwerk",   "aus",         "Kalksandstein",
    "KS",          "L-R",         "12-1,4",
    "DF",          "herstellen,", "einschließlich",
    "Mörtel",      "MG",          "IIa,",
    "Wanddicke",   "17,5",        "cm,",
    "Höhe",        "bis",         "3,00",
    "m.",          "Oberfläche",  "für",
    "Putz",        "geeignet.",   "Stoß-",
    "und",         "Lagerfugen",  "vollfugig",
    "vermörteln.", "Abrechnung",  "nach",
    "VOB/C",       "DIN",         "18330.",
    "Öffnungen",   "über",        "2,5",
    "m²",          "werden",      "übermessen.",
    "Gerüst",      "wird",        "gesondert",
    "vergütet.",   "Baustoffe",   "liefern",
    "&",           "einbauen",    "<",
    "Nachweis",    ">",           "\"Prüfzeugnis\"",
};
const char *const kTitles[] = {
    "Baustelle einrichten",
    "Oberboden abtragen und lagern",
    "Baugrube ausheben, Bodenklasse 3-5",
    "Streifenfundament C25/30",
    "Mauerwerk KS 17,5 cm",
    "Stahlbetondecke d=20 cm",
    "Innenputz Kalkzement, zweilagig",
    "Fliesen 30x60 cm verlegen",
    "Estrich CT-C25-F4, 50 mm",
    "Wärmedämmung Fassade WLG 035, 140 mm",
};
const char *const kUnits[] = {"m", "m2", "m3", "St", "psch", "kg", "t", "h"};

class Generator {
public:
    std::string document() {
        std::string d;
        d.reserve(kDocumentBytes + 4096);
        d += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
             "<GAEB xmlns=\"http://www.gaeb.de/GAEB_DA_XML/DA84/3.2\">\n"
             "  <GAEBInfo>\n    <Version>3.2</Version>\n    <Date>2024-03-14</Date>\n"
             "    <ProgSystem>tarn bench</ProgSystem>\n  </GAEBInfo>\n"
             "  <Award>\n    <BoQ ID=\"BoQ1\">\n      <BoQBody>\n";
        for (int ctgy = 1; d.size() < kDocumentBytes; ++ctgy) {
            d += "        <BoQCtgy ID=\"C" + std::to_string(ctgy) + "\" RNoPart=\"" + two(ctgy) +
                 "\">\n";
            d += "          <LblTx>" + std::string(kTitles[ctgy % 10]) + "</LblTx>\n";
            d += "          <BoQBody>\n            <Itemlist>\n";
            for (int item = 1; item <= 40 && d.size() < kDocumentBytes; ++item)
                append_item(d, ctgy, item);
            d += "            </Itemlist>\n          </BoQBody>\n        </BoQCtgy>\n";
        }
        d += "      </BoQBody>\n    </BoQ>\n  </Award>\n</GAEB>\n";
        return d;
    }

private:
    static std::string two(int n) {
        return std::string(n < 10 ? "0" : "") + std::to_string(n % 100);
    }

    std::string text(int minWords, int maxWords) {
        std::string t;
        const int n = std::uniform_int_distribution<int>(minWords, maxWords)(rng_);
        for (int i = 0; i < n; ++i) {
            const char *w =
                kWords[std::uniform_int_distribution<size_t>(0, std::size(kWords) - 1)(rng_)];
            if (i) t += ' ';
            for (const char *p = w; *p; ++p) {
                if (*p == '&') t += "&amp;";
                else if (*p == '<') t += "&lt;";
                else if (*p == '>') t += "&gt;";
                else if (*p == '"') t += "&quot;";
                else t += *p;
            }
        }
        return t;
    }

    std::string number(int max, int decimals) {
        std::string n = std::to_string(std::uniform_int_distribution<int>(1, max)(rng_));
        if (decimals)
            n += "." + std::to_string(std::uniform_int_distribution<int>(100, 999)(rng_))
                           .substr(0, decimals);
        return n;
    }

    // One position: short numbers and units, a title, and a long text of one to three paragraphs.
    void append_item(std::string &d, int ctgy, int item) {
        d += "              <Item ID=\"P" + std::to_string(ctgy) + "_" + std::to_string(item) +
             "\" RNoPart=\"" + two(item) + "10\">\n";
        d += "                <Qty>" + number(2000, 3) + "</Qty>\n";
        d += "                <QU>" + std::string(kUnits[item % 8]) + "</QU>\n";
        d += "                <Description>\n                  <CompleteText>\n"
             "                    <DetailTxt>\n                      <Text>\n";
        const int paragraphs = std::uniform_int_distribution<int>(1, 3)(rng_);
        for (int p = 0; p < paragraphs; ++p)
            d += "                        <p>" + text(20, 110) + "</p>\n";
        d +=
            "                      </Text>\n                    </DetailTxt>\n"
            "                    <OutlineText>\n                      <OutlTxt>\n"
            "                        <TextOutlTxt>" +
            std::string(kTitles[(ctgy + item) % 10]) +
            "</TextOutlTxt>\n                      </OutlTxt>\n                    </OutlineText>\n"
            "                  </CompleteText>\n                </Description>\n";
        d += "                <UP>" + number(900, 2) + "</UP>\n";
        d += "                <IT>" + number(90000, 2) + "</IT>\n";
        d += "              </Item>\n";
    }

    std::mt19937 rng_{20240314};
};

const std::string &document() {
    static const std::string d = Generator().document();
    return d;
}

const std::string &document_file() {
    static const std::string path = [] {
        const std::string p = bench_file("bench_boq.xml");
        if (std::FILE *f = std::fopen(p.c_str(), "wb")) {
            std::fwrite(document().data(), 1, document().size(), f);
            std::fclose(f);
        }
        return p;
    }();
    return path;
}

size_t heap_in_use() {
    const struct mallinfo2 m = mallinfo2();
    return m.uordblks + m.hblkhd;
}

size_t count_nodes(XML_Node *n) {
    size_t count = 1;
    for (XML_Node *c = koXML_GetFirstChild(n); c; c = koXML_GetNext(c)) count += count_nodes(c);
    return count;
}

size_t count_nodes(pugi::xml_node n) {
    size_t count = 1;
    for (pugi::xml_attribute a = n.first_attribute(); a; a = a.next_attribute()) ++count;
    for (pugi::xml_node c = n.first_child(); c; c = c.next_sibling())
        if (c.type() == pugi::node_element) count += count_nodes(c);
    return count;
}

// The aim: 0.3 or more, that is at least 0.3 times pugixml's MB/s.
void report(benchmark::State &state, const Timed &ours, const Timed &pugi) {
    const double mb = double(document().size()) / 1e6;
    state.SetBytesProcessed(int64_t(document().size()) * int64_t(state.iterations()));
    state.counters["MB/s"] = mb / ours.wall;
    state.counters["pugixml_MB/s"] = mb / pugi.wall;
    state.counters["vs_pugixml"] = pugi.wall / ours.wall;
    state.counters["vs_pugixml_cpu"] = pugi.cpu / ours.cpu;
}

// The same bytes through koXML_CreateTreeExAnsiString and pugixml's load_buffer.
void BM_XmlAnsiStringVsPugixml(benchmark::State &state) {
    const std::string &doc = document();
    Timed ours, theirs;
    for (auto _ : state) {
        XML_Node *root = nullptr;
        ours.run([&] { root = koXML_CreateTreeExAnsiString(doc.data(), int32_t(doc.size())); });
        const bool read = root && koXML_GetFirstChild(root);
        koXML_ReleaseTreeEx(root);

        pugi::xml_document pdoc;
        bool parsed = false;
        theirs.run([&] { parsed = pdoc.load_buffer(doc.data(), doc.size()); });
        if (!read || !parsed) {
            state.SkipWithError("a parser failed");
            break;
        }
        state.SetIterationTime(ours.lastWall);
    }
    report(state, ours, theirs);
}

// koXML_CreateTreeFromFileEx with flag 1 (UTF-8 as declared, decoded to ANSI) beside pugixml's
// load_file.
void BM_XmlFileVsPugixml(benchmark::State &state) {
    const std::string &file = document_file();
    Timed ours, theirs;
    for (auto _ : state) {
        HANDLE *cell = static_cast<HANDLE *>(AllocGlobal(sizeof(HANDLE)));
        *cell = X_CreatTmp();
        XML_Node *root = nullptr;
        ours.run([&] { root = koXML_CreateTreeFromFileEx(file.c_str(), cell, 1); });
        const bool read = root && koXML_GetFirstChild(root);
        koXML_ReleaseTreeEx(root);

        pugi::xml_document pdoc;
        bool parsed = false;
        theirs.run([&] { parsed = pdoc.load_file(file.c_str()); });
        if (!read || !parsed) {
            state.SkipWithError("a parser failed");
            break;
        }
        state.SetIterationTime(ours.lastWall);
    }
    report(state, ours, theirs);
}

void BM_XmlTreeMemoryVsPugixml(benchmark::State &state) {
    const std::string &doc = document();
    size_t ours = 0, theirs = 0, transient = 0, nodes = 0, pugiNodes = 0;
    for (auto _ : state) {
        size_t before = heap_in_use();
        XML_Node *root = koXML_CreateTreeExAnsiString(doc.data(), int32_t(doc.size()));
        ours = heap_in_use() - before;
        nodes = root ? count_nodes(root) : 0;
        koXML_ReleaseTreeEx(root);
        transient = 8388608 + 1048576;  // a string source reads the caller's text in place

        before = heap_in_use();
        {
            pugi::xml_document pdoc;
            pdoc.load_buffer(doc.data(), doc.size());
            theirs = heap_in_use() - before;
            pugiNodes = count_nodes(pdoc.document_element());
        }
        if (nodes == 0 || nodes != pugiNodes) {
            state.SkipWithError("the trees differ in their number of nodes");
            break;
        }
    }
    state.counters["tree_MB"] = double(ours) / 1e6;
    state.counters["pugixml_MB"] = double(theirs) / 1e6;
    state.counters["vs_pugixml"] = double(ours) / double(theirs);  // the aim: 0.5 or less
    state.counters["parse_buffers_MB"] = double(transient) / 1e6;
    state.counters["nodes"] = double(nodes);
}

}  // namespace

BENCHMARK(BM_XmlAnsiStringVsPugixml)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XmlFileVsPugixml)->UseManualTime()->Iterations(5)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XmlTreeMemoryVsPugixml)->Iterations(1)->Unit(benchmark::kMillisecond);
