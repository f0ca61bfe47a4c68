#!/usr/bin/env bash
# Builds and runs the benchmarks against the peer libraries (OpenBLAS, BLIS,
# FFTW), side by side in one run. Pass a benchmark name to run only that one.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh --bench
cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DQOR_BUILD_TESTS=OFF -DQOR_BUILD_BENCH=ON >/dev/null
cmake --build build-bench
for b in build-bench/bin/bench_*; do
  [[ -n "${1:-}" && "$(basename "$b")" != "bench_$1" ]] && continue
  echo "== $(basename "$b")"
  "$b"
done
