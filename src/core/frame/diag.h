#pragma once

namespace qor::core {

// Delivers a warning (QOR_MSG_WARNING) or an argument error
// (QOR_MSG_ARGUMENT_ERROR) to the application's handler, or to standard
// error as one line, and counts it.
void report(int kind, const char* routine, const char* text);

}  // namespace qor::core
