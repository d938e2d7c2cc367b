// The subcommands of tarn and what they share.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace tarn_tool {

constexpr int kOk = 0;
constexpr int kFailure = 1;
constexpr int kUsage = 2;

using Args = std::vector<std::string>;

struct Command {
    const char *name;
    const char *summary;
    const char *usage;  // full --help text
    int (*run)(const Args &args);
};

const std::vector<Command> &commands();
const Command &command(const char *name);  // a name from commands()

// Reads a whole file, "-" for standard input; false with a message on stderr on failure.
bool read_input(const std::string &path, std::string *data);
// Writes a whole file, "-" for standard output.
bool write_output(const std::string &path, const std::string &data);
// Switches standard input and output to binary, so bytes pass unchanged.
void set_binary_stdio();

int usage_error(const Command &cmd, const std::string &message);
bool wants_help(const Args &args);

int run_ansi2oem(const Args &args);
int run_oem2ansi(const Args &args);
int run_winerror(const Args &args);
int run_date(const Args &args);
int run_settings(const Args &args);
int run_printers(const Args &args);
int run_print(const Args &args);
int run_gaeb2xml(const Args &args);
int run_xml2gaeb(const Args &args);
int run_xml(const Args &args);
int run_eval(const Args &args);
int run_memo(const Args &args);
int run_rtf2txt(const Args &args);
int run_serve(const Args &args);
int run_request(const Args &args);
int run_shutdown(const Args &args);

// The requests `tarn serve` answers besides the built-in ones.
constexpr uint16_t kEchoRequest = 100;    // the data back
constexpr uint16_t kStatusRequest = 101;  // "Time=YYYY-MM-DD HH:MM:SS;Active=N;"
// A port number from 1 to 65535.
bool parse_port(const std::string &text, uint16_t *port);

}  // namespace tarn_tool
