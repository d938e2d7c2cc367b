// Other programs started from a command line.
#pragma once

namespace plat {

struct Process;

// Starts the command line in `workDir` (null: the current folder) with no inherited handles and
// the caller's environment; null when it cannot be started. Linux splits the line as Windows
// programs split theirs and looks the program up on PATH; a line that needs a shell (pipes,
// redirections, variables, several commands) runs under /bin/sh -c.
Process *start_process(const char *commandLine, const char *workDir);
// Waits without limit for the program's end.
void wait_process(Process *p);
// Lets go of the program, which runs on if it has not ended.
void close_process(Process *p);

}  // namespace plat
