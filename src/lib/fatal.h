// Ends the process after a message on stderr: the library's answer to a "fatal error of the
// process", where the caller broke a contract that the interface cannot report.
#pragma once

namespace tarn {

[[noreturn]] void fatal(const char *what);

}  // namespace tarn
