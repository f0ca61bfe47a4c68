#!/usr/bin/env bash
# A/B of two builds of the kernel library on any benchmark:
#   tools/bench_ab.sh OLD.so NEW.so BENCH [ARGS...]
#   tools/bench_ab.sh OLD.so NEW.so z|c LENGTH...     (the transform benchmark)
# BENCH is a benchmark's directory under bench/ (blas_level1, or level1
# where the blas_ prefix is unambiguous) or a program name (bench_dft).
# The program runs ROUNDS times (default 5) with each library in turn,
# swapped through QOR_DEF_LIBRARY, the order alternating from one round to
# the next; every result line ("<what> <size> qor <rate> <unit> | <peer>
# <rate> ...") is kept, and the best rate of each side is printed with the
# peer's best beside it. Alternating whole runs spreads the swings of a
# shared machine's clock over both sides, which single runs do not; on a
# busy machine a difference of a few percent still needs several rounds.
# The programs come from build-bench/, or from the tree QOR_BENCH_TREE names.
set -euo pipefail
cd "$(dirname "$0")/.."
usage() { sed -n '2,4p' "$0" | sed 's/^# \{0,1\}//' >&2; }
if (($# < 3)); then
  usage
  exit 2
fi
old=$(realpath "$1") new=$(realpath "$2")
shift 2
tree=${QOR_BENCH_TREE:-build-bench}
rounds=${ROUNDS:-5}
for lib in "$old" "$new"; do
  [[ -f $lib ]] || { echo "tools/bench_ab.sh: no library $lib" >&2; exit 2; }
done

# The program and its argument lists: one run per list and round.
runs=()
if [[ $1 == z || $1 == c ]]; then
  (($# >= 2)) || { usage; exit 2; }
  prog=$tree/bin/bench_dft prec=$1
  shift
  for n in "$@"; do runs+=("$prec $n"); done
else
  name=$1
  shift
  prog=
  for cand in "$name" "bench_$name" "bench_blas_$name"; do
    [[ -x $tree/bin/$cand ]] && { prog=$tree/bin/$cand; break; }
  done
  if [[ -z $prog && -f bench/$name/CMakeLists.txt ]]; then
    p=$(sed -n 's/^[[:space:]]*qor_add_bench([[:space:]]*\([A-Za-z0-9_]*\).*/bench_\1/p' "bench/$name/CMakeLists.txt" | head -1)
    [[ -x $tree/bin/$p ]] && prog=$tree/bin/$p
  fi
  [[ -n $prog ]] || { echo "tools/bench_ab.sh: no program for '$name' in $tree/bin (build it first)" >&2; exit 2; }
  runs+=("$*")
fi
[[ -x $prog ]] || { echo "tools/bench_ab.sh: $prog is not built" >&2; exit 2; }

# Result lines as: side <TAB> key <TAB> rate <TAB> unit <TAB> peer <TAB> peer rate.
parse() {
  awk -v side="$1" '
    / qor +[0-9.]+ / {
      i = index($0, " qor ")
      key = substr($0, 1, i - 1)
      gsub(/[ \t]+/, " ", key); sub(/^ /, "", key); sub(/ $/, "", key)
      rest = substr($0, i + 5)
      split(rest, a, " ")
      peer = "-"; prate = 0
      j = index(rest, "| ")
      if (j > 0) { split(substr(rest, j + 2), b, " "); peer = b[1]; prate = b[2] }
      printf "%s\t%s\t%s\t%s\t%s\t%s\n", side, key, a[1], a[2], peer, prate
    }'
}

data=$(mktemp)
trap 'rm -f "$data"' EXIT
for ((r = 0; r < rounds; ++r)); do
  if ((r % 2 == 0)); then order=(old new); else order=(new old); fi
  for args in "${runs[@]}"; do
    for side in "${order[@]}"; do
      lib=$old
      [[ $side == new ]] && lib=$new
      # shellcheck disable=SC2086  # the argument list is split on purpose
      QOR_DEF_LIBRARY=$lib "$prog" $args 2>/dev/null | parse "$side" >>"$data"
    done
  done
  printf 'round %d of %d done\n' $((r + 1)) "$rounds" >&2
done

echo "$(basename "$prog"): old $old"
echo "$(basename "$prog"): new $new"
# Best rate of each side per line, the peer's best over both sides' runs;
# ratios are rates over the peer's (peer time / our time).
awk -F'\t' -v rounds="$rounds" '
  {
    k = $2
    if (!(k in seen)) { seen[k] = 1; order[++n] = k }
    if ($1 == "old" && $3 + 0 > old[k]) old[k] = $3 + 0
    if ($1 == "new" && $3 + 0 > new[k]) new[k] = $3 + 0
    unit[k] = $4; peer[k] = $5
    if ($6 + 0 > best[k]) best[k] = $6 + 0
  }
  END {
    printf "%-40s %10s %10s %-6s %7s %10s %8s %8s  (best of %d rounds)\n", "", "old", "new", "unit", "new/old",
           "peer", "old/peer", "new/peer", rounds
    for (i = 1; i <= n; ++i) {
      k = order[i]
      r = old[k] > 0 ? new[k] / old[k] : 0
      if (best[k] > 0)
        printf "%-40s %10.2f %10.2f %-6s %7.3f %10.2f %8.2f %8.2f  %s\n", k, old[k], new[k], unit[k], r, best[k],
               old[k] / best[k], new[k] / best[k], peer[k]
      else
        printf "%-40s %10.2f %10.2f %-6s %7.3f\n", k, old[k], new[k], unit[k], r
    }
  }' "$data"
