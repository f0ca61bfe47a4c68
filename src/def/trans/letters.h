// Option letters of the transposition routines.
//
// `ordering` and `trans` arrive as 32-bit integers of which only the low
// byte counts. The kernels and the threaded drivers of the core read them
// the same way, so this header builds in both libraries.
#pragma once
#include <cstdint>

namespace qor::trans {

using u64 = std::uint64_t;

// What a `trans` letter asks for: copy, transpose, conjugate-transpose, or
// conjugate without transposing.
enum class Op : int { N, T, C, R };

// Reads a `trans` letter; false for any letter but N, T, C, R in either case.
inline bool read_op(int letter, Op& op) {
  switch (static_cast<unsigned char>(letter)) {
    case 'N': case 'n': op = Op::N; return true;
    case 'T': case 't': op = Op::T; return true;
    case 'C': case 'c': op = Op::C; return true;
    case 'R': case 'r': op = Op::R; return true;
    default: return false;
  }
}

// Reads an `ordering` letter: R for row-major, C for column-major.
inline bool read_ordering(int letter, bool& row_major) {
  switch (static_cast<unsigned char>(letter)) {
    case 'R': case 'r': row_major = true; return true;
    case 'C': case 'c': row_major = false; return true;
    default: return false;
  }
}

inline bool transposing(Op op) { return op == Op::T || op == Op::C; }
inline bool conjugating(Op op) { return op == Op::C || op == Op::R; }

// The letter of an operation, as the kernels take it.
inline int letter(Op op) {
  switch (op) {
    case Op::N: return 'N';
    case Op::T: return 'T';
    case Op::C: return 'C';
    default: return 'R';
  }
}

// The decisions between a threaded driver and the sequential path.
inline bool copy_goes_parallel(u64 rows, u64 cols, u64 elem_size) {
  return rows >= 17 && cols >= 17 && rows * cols * elem_size > 32768;
}
inline bool add_goes_parallel(u64 rows, u64 cols, u64 elem_size) {
  return rows >= 17 && cols >= 17 && rows * cols * elem_size > 131072;
}
inline constexpr u64 square_parallel_min = 257;

}  // namespace qor::trans
