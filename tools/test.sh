#!/usr/bin/env bash
# Builds everything and runs all tests in build/. With --sanitize, builds a
# separate tree (build-asan/) under AddressSanitizer and
# UndefinedBehaviorSanitizer and runs the tests there. Fails when a test
# fails, and also when no test ran at all.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
kind=test
if [[ "${1:-}" == "--sanitize" ]]; then
  kind=sanitize
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
  export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
fi
dir=$(tools/configure.sh "$kind")
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake --build "$dir"
cd "$dir"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
set +e
ctest --output-on-failure -j2 2>&1 | tee "$log"
rc=${PIPESTATUS[0]}
set -e
if ! grep -Eq '^[0-9]+% tests passed, [0-9]+ tests failed out of [1-9][0-9]*' "$log"; then
  echo "tools/test.sh: no test ran in $dir" >&2
  exit 1
fi
exit "$rc"
