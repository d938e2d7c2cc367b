// Replays a fuzz target over the files of its corpus (the inputs written for it and every input
// that once failed), so that the tests keep a fixed fault fixed. Without libFuzzer: one call per
// file, in name order.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

int main(int argc, char **argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        if (fs::is_directory(argv[i])) {
            for (const auto &entry : fs::directory_iterator(argv[i]))
                if (entry.is_regular_file()) inputs.push_back(entry.path());
        } else {
            inputs.emplace_back(argv[i]);
        }
    }
    std::sort(inputs.begin(), inputs.end());
    for (const fs::path &p : inputs) {
        std::ifstream in(p, std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "replay: cannot read %s\n", p.string().c_str());
            return 2;
        }
        const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        // A copy of exactly the input's size, so that a read past it is seen.
        std::vector<uint8_t> data(bytes.begin(), bytes.end());
        LLVMFuzzerTestOneInput(data.empty() ? nullptr : data.data(), data.size());
    }
    std::printf("replayed %zu input%s\n", inputs.size(), inputs.size() == 1 ? "" : "s");
    return inputs.empty() ? 1 : 0;
}
