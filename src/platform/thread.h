// Threads of the library's own: detached workers that end by themselves.
#pragma once

namespace plat {

// Starts `run(arg)` on a new detached thread; false when the system has no thread to give.
bool start_thread(void (*run)(void *), void *arg);

}  // namespace plat
