// koRtf2Ansi on a 10 MB memo document as word processors write them: font, colour and style
// tables, an info group, paragraphs of German text with escaped umlauts, character formatting
// in nested groups, tables of positions, and pictures with binary data.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>

#include "tarngdi32.h"

namespace {

constexpr size_t kDocumentBytes = 10u << 20;

const char *const kWords[] = {
    "Angebot",
    "f\\'fcr",
    "die",
    "Lieferung",
    "und",
    "Montage",
    "der",
    "Fenster",
    "im",
    "Erdgeschoss",
    "gem\\'e4\\'df",
    "Leistungsverzeichnis",
    "Stra\\'dfe",
    "Aufma\\'df",
    "nach",
    "\\'d6ffnungsma\\'dfen",
    "Kunststoff",
    "wei\\'df",
    "Dreifachverglasung",
    "einschlie\\'dflich",
    "Abdichtung",
    "B\\'f6den",
    "T\\'fcren",
    "\\'c4nderungen",
    "vorbehalten",
    "zzgl.",
    "MwSt.",
    "Stunden",
    "Material",
    "Gesellen",
};

std::string header() {
    return "{\\rtf1\\ansi\\ansicpg1252\\deff0\\deflang1031"
           "{\\fonttbl{\\f0\\fswiss\\fcharset0 Arial;}{\\f1\\froman\\fcharset0 Times New Roman;}"
           "{\\f2\\fmodern\\fcharset0 Courier New;}}\r\n"
           "{\\colortbl ;\\red0\\green0\\blue0;\\red192\\green0\\blue0;\\red0\\green0\\blue128;}\r\n"
           "{\\stylesheet{\\s0\\f0\\fs20 Standard;}{\\s1\\b\\f0\\fs28 \\'dcberschrift 1;}"
           "{\\*\\cs10 Absatz-Standardschriftart;}}\r\n"
           "{\\info{\\author Malerbetrieb M\\'fcller}{\\title Angebot 2024-117}"
           "{\\creatim\\yr2024\\mo3\\dy15\\hr9\\min30}}\r\n"
           "{\\*\\generator Memo 5.1;}\\paperw11906\\paperh16838\\margl1134\\margr1134\\margt1417\\margb1134\r\n";
}

// One paragraph: plain words, formatted runs in groups, now and then a picture.
void paragraph(std::string &doc, std::mt19937 &random) {
    doc += "\\pard\\s0\\ql\\li284\\fi-284\\f0\\fs20 ";
    const int words = 20 + int(random() % 60);
    for (int w = 0; w < words; ++w) {
        const char *word = kWords[random() % (sizeof kWords / sizeof *kWords)];
        switch (random() % 16) {
        case 0:
            doc += "{\\b ";
            doc += word;
            doc += "}";
            break;
        case 1:
            doc += "{\\i\\cf2 ";
            doc += word;
            doc += "{\\ul  ";
            doc += word;
            doc += "}}";
            break;
        case 2:
            doc += "\\tab ";
            doc += word;
            break;
        case 3:
            doc += "\\ldblquote ";
            doc += word;
            doc += "\\rdblquote ";
            break;
        default: doc += word;
        }
        doc += ' ';
        if (w % 12 == 11) doc += "\r\n";
    }
    doc += "\\par\r\n";
    if (random() % 40 == 0) {
        std::string picture(512 + random() % 2048, '\0');
        for (auto &b : picture) b = char(1 + random() % 255);  // binary, but without a NUL
        doc += "{\\*\\shppict{\\pict\\pngblip\\picw320\\pich200\\bin" +
               std::to_string(picture.size()) + " ";
        doc += picture;
        doc += "}}\\par\r\n";
    }
}

const std::string &document() {
    static const std::string doc = [] {
        std::mt19937 random(117);
        std::string d = header();
        while (d.size() < kDocumentBytes) paragraph(d, random);
        return d + "}";
    }();
    return doc;
}

void BM_Rtf2Ansi(benchmark::State &state) {
    const std::string &doc = document();
    std::string buffer;
    size_t textBytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        buffer.assign(doc.c_str(), doc.size() + 1);
        state.ResumeTiming();
        koRtf2Ansi(&buffer[0]);
        textBytes = std::strlen(buffer.c_str());
        benchmark::DoNotOptimize(buffer.data());
    }
    if (buffer.find("RTF-Error(") != std::string::npos)
        state.SkipWithError("the document did not convert");
    state.SetBytesProcessed(int64_t(doc.size()) * int64_t(state.iterations()));
    state.counters["MB/s"] =
        benchmark::Counter(double(doc.size()) / 1e6 * double(state.iterations()),
                           benchmark::Counter::kIsRate);
    state.counters["text_ratio"] = double(textBytes) / double(doc.size());
}
BENCHMARK(BM_Rtf2Ansi)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
