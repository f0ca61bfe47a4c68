#!/usr/bin/env bash
# A/B of two builds of the kernel library on the transform benchmark:
#   tools/bench_ab.sh OLD.so NEW.so z|c LENGTH...
# Runs bench_dft once per length with each library in turn (through
# QOR_DEF_LIBRARY), for several rounds, and prints the best rate of each
# library with FFTW's beside it. Alternating whole runs spreads the swings
# of the machine's clock over both sides, which single runs do not.
set -euo pipefail
cd "$(dirname "$0")/.."
if (($# < 4)); then
  echo "usage: $0 OLD.so NEW.so z|c LENGTH..." >&2
  exit 2
fi
old=$(realpath "$1") new=$(realpath "$2") prec=$3
shift 3
bench=build-bench/bin/bench_dft
[[ -x $bench ]] || { echo "build the benchmarks first (tools/bench.sh dft)" >&2; exit 2; }
rounds=${ROUNDS:-5}
best() { # best of a list of numbers
  printf '%s\n' "$@" | sort -g | tail -1
}
printf '%-4s %10s %10s %10s %8s %8s  (GFLOP/s, best of %d)\n' "" length old new old/FFTW new/FFTW "$rounds"
for n in "$@"; do
  a=() b=() f=()
  for ((r = 0; r < rounds; ++r)); do
    read -r qa fa < <(QOR_DEF_LIBRARY=$old "$bench" "$prec" "$n" | awk '/ fwd /{print $5, $9}')
    read -r qb fb < <(QOR_DEF_LIBRARY=$new "$bench" "$prec" "$n" | awk '/ fwd /{print $5, $9}')
    a+=("$qa") b+=("$qb") f+=("$fa" "$fb")
  done
  ba=$(best "${a[@]}") bb=$(best "${b[@]}") bf=$(best "${f[@]}")
  awk -v p="$prec" -v n="$n" -v a="$ba" -v b="$bb" -v f="$bf" \
    'BEGIN { printf "%-4s %10s %10.2f %10.2f %8.2f %8.2f\n", p, n, a, b, a / f, b / f }'
done
