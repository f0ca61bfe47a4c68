#!/usr/bin/env bash
# Builds and runs the benchmarks against the peer libraries (OpenBLAS, BLIS,
# FFTW), side by side in one run.
#
#   tools/bench.sh [--quick] [NAME...] [-- ARGS...]
#   tools/bench.sh --report [--quick] [--readme] [NAME...]
#
# NAME is a benchmark's directory under bench/ (blas_gemm, dft, trans, ...);
# the blas_ prefix may be left out where that is unambiguous (gemm, level1).
# Without a name every benchmark runs. ARGS go to each benchmark program.
# --quick runs the smaller size set (QOR_BENCH_QUICK=1).
#
# --report also measures the machine's references (peak FLOP rate, copy
# bandwidth), keeps every figure as rows (QOR_BENCH_OUT) in
# build-bench/report/data/, the programs' output in build-bench/report/logs/,
# and writes build-bench/report/index.md with its plots (tools/bench_report.py).
# --readme also writes the GEMM double plot to docs/img/bench-dgemm.png.
#
# On a terminal (standard error a tty, CI unset) it shows what runs and how
# far along the run is; elsewhere it stays quiet.
set -euo pipefail
cd "$(dirname "$0")/.."

usage() { sed -n '5,6p' "$0" | sed 's/^# \{0,1\}//' >&2; }

# Benchmarks: the directories under bench/ that build something.
known=()
for d in bench/*/; do
  d=${d%/}
  [[ -f $d/CMakeLists.txt ]] && known+=("$(basename "$d")")
done

resolve() { # a name as typed -> the benchmark's directory name, or nothing
  local n=$1 k
  for k in "${known[@]}"; do [[ $k == "$n" ]] && { echo "$k"; return; }; done
  for k in "${known[@]}"; do [[ $k == "blas_$n" ]] && { echo "$k"; return; }; done
  return 0
}

report=0 quick=0 readme=0
names=() args=()
while (($#)); do
  case $1 in
    --report) report=1 ;;
    --quick) quick=1 ;;
    --readme) readme=1 ;;
    -h|--help) usage; exit 0 ;;
    --) shift; args=("$@"); break ;;
    -*) echo "tools/bench.sh: unknown option '$1'" >&2; usage; exit 2 ;;
    *)
      r=$(resolve "$1")
      if [[ -z $r ]]; then
        echo "tools/bench.sh: unknown benchmark '$1'; known: ${known[*]}" >&2
        exit 2
      fi
      names+=("$r") ;;
  esac
  shift
done
((readme && !report)) && { echo "tools/bench.sh: --readme goes with --report" >&2; exit 2; }
((${#names[@]})) || names=("${known[@]}")

# Progress goes to a terminal only: never in CI, never into a file.
interactive=0
[[ -t 2 && -z ${CI:-} ]] && interactive=1
say() { ((interactive)) && printf '%s\n' "$*" >&2 || true; }

# The programs each benchmark directory makes (qor_add_bench(<name> ...)
# gives bench_<name>).
programs_of() {
  sed -n 's/^[[:space:]]*qor_add_bench([[:space:]]*\([A-Za-z0-9_]*\).*/bench_\1/p' "bench/$1/CMakeLists.txt"
}

tools/setup.sh --bench
say "configuring build-bench"
if [[ -x tools/configure.sh ]]; then
  tools/configure.sh bench >/dev/null
else
  ccache=()
  command -v ccache >/dev/null && ccache=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  cmake -S . -B build-bench -G Ninja -DCMAKE_BUILD_TYPE=Release -DQOR_BUILD_TESTS=OFF -DQOR_BUILD_BENCH=ON \
    "${ccache[@]}" >/dev/null
fi

targets=()
((report)) && targets+=(qor_bench_reference)
for n in "${names[@]}"; do
  while read -r p; do [[ -n $p ]] && targets+=("$p"); done < <(programs_of "$n")
done
say "building ${#targets[@]} program(s)"
# A program that fails to build is reported and skipped; the others run.
built=0
if ((interactive)); then
  cmake --build build-bench -j2 --target "${targets[@]}" -- -k 0 || built=$?
else
  cmake --build build-bench -j2 --target "${targets[@]}" -- -k 0 >build-bench/build.log 2>&1 || built=$?
fi
((built)) && echo "tools/bench.sh: some programs did not build (see build-bench/build.log or above)" >&2

# The runs: "<benchmark> <program>" pairs, the reference first for a report.
runs=()
((report)) && runs+=("reference bench-reference")
for n in "${names[@]}"; do
  while read -r p; do [[ -n $p ]] && runs+=("$n $p"); done < <(programs_of "$n")
done
total=${#runs[@]}
((quick)) && export QOR_BENCH_QUICK=1

elapsed() { local s=$(($(date +%s) - $1)); printf '%dm%02ds' $((s / 60)) $((s % 60)); }

start=$(date +%s)
if ((!report)); then
  i=0 status=0
  for run in "${runs[@]}"; do
    read -r name prog <<<"$run"
    i=$((i + 1))
    say "[$i/$total $(elapsed "$start")] $name"
    echo "== $prog"
    if [[ ! -x build-bench/bin/$prog ]]; then
      echo "$prog was not built" >&2
      status=1
      continue
    fi
    "build-bench/bin/$prog" "${args[@]}" || { status=$?; echo "$prog failed (exit $status)" >&2; }
  done
  exit $status
fi

out=build-bench/report
rm -rf "$out"
mkdir -p "$out/data" "$out/logs"
export QOR_BENCH_OUT=$PWD/$out/data
: >"$out/data/runs.txt"
i=0 failed=0
cols=${COLUMNS:-$(tput cols 2>/dev/null || echo 100)}
for run in "${runs[@]}"; do
  read -r name prog <<<"$run"
  i=$((i + 1))
  log=$out/logs/$prog.txt
  t0=$(date +%s) rc=0
  if [[ ! -x build-bench/bin/$prog ]]; then
    rc=127
    echo "$prog was not built" >"$log"
  elif ((interactive)); then
    # A status line: the run, its place in the list, the time so far and
    # the program's latest line.
    "build-bench/bin/$prog" "${args[@]}" 2>&1 | tee "$log" | while IFS= read -r line; do
      printf '\r\033[K[%d/%d %s] %s: %.*s' "$i" "$total" "$(elapsed "$start")" "$name" \
        $((cols > 60 ? cols - 30 : 30)) "$line" >&2
    done || rc=$?
    printf '\r\033[K' >&2
  else
    "build-bench/bin/$prog" "${args[@]}" >"$log" 2>&1 || rc=$?
  fi
  echo "$name $prog $(($(date +%s) - t0)) $rc" >>"$out/data/runs.txt"
  if ((rc)); then
    failed=1
    echo "tools/bench.sh: $prog failed (exit $rc), see $log" >&2
  else
    say "[$i/$total $(elapsed "$start")] $name done in $(elapsed "$t0")"
  fi
done

say "writing $out/index.md"
report_args=("$out")
((quick)) && report_args+=(--quick)
((readme)) && report_args+=(--readme docs/img/bench-dgemm.png)
/usr/bin/python3 tools/bench_report.py "${report_args[@]}"
echo "$out/index.md"
exit $failed
