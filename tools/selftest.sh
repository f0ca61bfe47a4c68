#!/usr/bin/env bash
# Builds the libraries and runs the main job, qor-selftest.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DQOR_BUILD_TESTS=OFF >/dev/null
cmake --build build --target qor-selftest qor_def
build/bin/qor-selftest "$@"
