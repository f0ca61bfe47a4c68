#pragma once
#include <cstdint>

namespace qor::core {

// Delivers a warning (QOR_MSG_WARNING), an argument error
// (QOR_MSG_ARGUMENT_ERROR) or a verbose line (QOR_MSG_VERBOSE) to the
// application's handler, or to standard error as one line, and counts it.
void report(int kind, const char* routine, const char* text);

// Argument errors reported so far on the calling thread, so that a traced
// call can tell whether it failed its checks.
std::int64_t thread_argument_errors();

// Moves the counter the kernel library compares before it reuses a kept
// processor answer: called when the path, the tier or the reproducibility
// mode changes.
void cpu_answers_changed();

}  // namespace qor::core
