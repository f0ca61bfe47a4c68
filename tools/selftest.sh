#!/usr/bin/env bash
# Builds the libraries fully optimised in build-release/ and runs the main
# job, qor-selftest; arguments go to it (--long, --help).
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
dir=$(tools/configure.sh release)
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
cmake --build "$dir" --target qor-selftest qor_def
"$dir/bin/qor-selftest" "$@"
