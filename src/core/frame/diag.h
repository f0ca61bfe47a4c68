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

}  // namespace qor::core
