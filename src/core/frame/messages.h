#pragma once
#include <cstddef>

namespace qor::core {

// The catalogue text of a message number, or null.
const char* catalogue_text(int number);

// Writes message `number` into out (always terminated), with each "%s"
// replaced by the next of `count` texts (missing ones read as empty).
// Returns the length written.
std::size_t expand_message(char* out, std::size_t size, int number, int count, const char* const* args);

}  // namespace qor::core
