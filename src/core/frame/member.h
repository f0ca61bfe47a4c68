// Binding the kernel member's exported names.
//
// The core never links the member: it loads it at run time and looks each
// kernel up by its exported name, as a set of per-processor members needs.
// Kernel signatures come from the member's api.h headers, so the type of a
// bound pointer is the declared type of the exported function.
#pragma once

namespace qor::core {

// The address of an exported name of the loaded member. Loads the member on
// first use. A missing library or name is reported on standard error, naming
// it, and ends the process: a BLAS call has no way to return the failure.
void* member_symbol(const char* name);

}  // namespace qor::core

// QOR_KERNEL(qor_blas_def_xdaxpy)(args...): calls the member's kernel. The
// lookup happens once per call site; later calls cost one load.
#define QOR_KERNEL(name)                                                        \
  ([]() noexcept {                                                              \
    static auto* const bound = reinterpret_cast<decltype(&name)>(::qor::core::member_symbol(#name)); \
    return bound;                                                               \
  }())
