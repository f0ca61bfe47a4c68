#!/usr/bin/env bash
# Builds everything and runs all tests. With --sanitize, builds a separate
# tree under AddressSanitizer and UndefinedBehaviorSanitizer and runs the
# tests there.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
dir=build
opts=(-DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG")
if [[ "${1:-}" == "--sanitize" ]]; then
  dir=build-asan
  # Line tables are enough for the reports and keep the unrolled kernels quick
  # to compile.
  opts=(-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS=-O1 -DCMAKE_CXX_FLAGS_DEBUG=-g1 -DQOR_SANITIZE=address,undefined)
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
fi
cmake -S . -B "$dir" -G Ninja "${opts[@]}" >/dev/null
cmake --build "$dir"
cd "$dir"
ctest --output-on-failure -j2
