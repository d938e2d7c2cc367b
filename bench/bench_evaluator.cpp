// koMultilineEval over a 10,000-line quantity calculation beside muparser, which is given the
// same terms one by one (decimal points instead of commas, no labels or remarks to skip), set
// and evaluated in the same iteration so the ratio sees the same machine state.
#include <benchmark/benchmark.h>
#include <muParser.h>

#include "tarngdi32.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kLines = 10000;  // of which three quarters are result lines

struct Formula {
    std::string text;                // the whole text for koMultilineEval
    std::vector<std::string> terms;  // each result line's term, for muparser
};

// The lines a site measurement is typed in: labels, remarks, comments, a few plain notes.
const Formula &formula() {
    static const Formula f = [] {
        Formula r;
        std::mt19937 rng(20240315);
        auto number = [&](int lo, int hi) {
            std::uniform_int_distribution<int> d(lo * 100, hi * 100);
            const int v = d(rng);
            return std::to_string(v / 100) + "," + (v % 100 < 10 ? "0" : "") +
                   std::to_string(v % 100);
        };
        auto add = [&](const std::string &label, const std::string &term, const std::string &tail) {
            r.text += label + term + " =" + tail + "\n";
            r.terms.push_back(term);
        };
        for (int i = 0; i < kLines; ++i) {
            switch (i % 8) {
            case 0:
                add("Wand " + std::to_string(i % 40 + 1) + ": ", number(1, 9) + "*" + number(2, 4),
                    "");
                break;
            case 1:
                add("", "(" + number(1, 9) + "+" + number(1, 9) + ")*" + number(2, 4), "");
                break;
            case 2: add("", number(1, 30) + "^2", " \"Boden\""); break;
            case 3:
                add("Fenster: ", "-" + number(0, 2) + "*" + number(1, 2), " # abzueglich");
                break;
            case 4: r.text += "\"Bemerkung: Tueren nach Plan\"\n"; break;
            case 5:
                add("Decke: ",
                    "(" + number(3, 9) + "-" + number(0, 1) + ")*(" + number(3, 6) + "+" +
                        number(0, 1) + ")/2",
                    "");
                break;
            case 6:
                add("Sockel: ", "2*(" + number(3, 9) + "+" + number(3, 6) + ")-" + number(0, 2),
                    "");
                break;
            case 7: r.text += "# Raum " + std::to_string(i / 8 + 1) + "\n"; break;
            }
        }
        for (auto &t : r.terms)
            for (auto &c : t)
                if (c == ',') c = '.';
        return r;
    }();
    return f;
}

double seconds_since(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void BM_MultilineEval_vs_muparser(benchmark::State &state) {
    const Formula &f = formula();
    mu::Parser parser;
    double ours = 0, theirs = 0, oursTotal = 0, theirsTotal = 0;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        ours = koMultilineEval(f.text.c_str());
        const double oursTime = seconds_since(start);
        start = std::chrono::steady_clock::now();
        theirs = 0;
        try {
            for (const auto &term : f.terms) {
                parser.SetExpr(term);
                theirs += parser.Eval();
            }
        } catch (const mu::Parser::exception_type &) {
            state.SkipWithError("muparser refused a term");
            return;
        }
        const double theirsTime = seconds_since(start);
        benchmark::DoNotOptimize(ours);
        benchmark::DoNotOptimize(theirs);
        state.SetIterationTime(oursTime);
        oursTotal += oursTime;
        theirsTotal += theirsTime;
    }
    // Each line is rounded to 3 places before it is added: half a thousandth per line at most.
    if (koMultilineGetErrorStat() != 0 || std::fabs(ours - theirs) > 0.0005 * f.terms.size()) {
        state.SkipWithError("the two sums disagree");
        return;
    }
    const double runs = static_cast<double>(state.iterations());
    const double lines = static_cast<double>(f.terms.size());
    state.counters["ko_lines_per_s"] = lines * runs / oursTotal;
    state.counters["muparser_lines_per_s"] = lines * runs / theirsTotal;
    state.counters["ratio"] = theirsTotal / oursTotal;  // above 1: faster than muparser
}

}  // namespace

BENCHMARK(BM_MultilineEval_vs_muparser)->UseManualTime()->Unit(benchmark::kMillisecond);
