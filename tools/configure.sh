#!/usr/bin/env bash
# Configures one of the project's build trees with every option stated, so
# that the trees never inherit each other's cached settings:
#   tools/configure.sh test      build/        tests, optimised with line tables
#   tools/configure.sh sanitize  build-asan/   tests under ASan and UBSan
#   tools/configure.sh release   build-release/ the main job, fully optimised
#   tools/configure.sh bench     build-bench/  benchmarks against the peers
# Prints the tree's directory. Compiles go through ccache when it is there,
# keyed relative to the checkout, so a fresh clone reuses earlier objects.
set -euo pipefail
cd "$(dirname "$0")/.."
kind=${1:?usage: tools/configure.sh test|sanitize|release|bench}
case "$kind" in
  test)
    dir=build
    opts=(-DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG"
          -DCMAKE_CXX_FLAGS= -DQOR_SANITIZE= -DQOR_BUILD_TESTS=ON -DQOR_BUILD_BENCH=OFF) ;;
  sanitize)
    # Line tables are enough for the reports and keep the unrolled kernels
    # quick to compile.
    dir=build-asan
    opts=(-DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS=-O1 -DCMAKE_CXX_FLAGS_DEBUG=-g1
          -DQOR_SANITIZE=address,undefined -DQOR_BUILD_TESTS=ON -DQOR_BUILD_BENCH=OFF) ;;
  release)
    dir=build-release
    opts=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS= -DQOR_SANITIZE= -DQOR_BUILD_TESTS=OFF -DQOR_BUILD_BENCH=OFF) ;;
  bench)
    dir=build-bench
    opts=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS= -DQOR_SANITIZE= -DQOR_BUILD_TESTS=OFF -DQOR_BUILD_BENCH=ON) ;;
  *)
    echo "tools/configure.sh: unknown tree '$kind' (test, sanitize, release, bench)" >&2
    exit 2 ;;
esac
if command -v ccache >/dev/null; then
  opts+=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
  export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
fi
cmake -S . -B "$dir" -G Ninja "${opts[@]}" >/dev/null
echo "$dir"
