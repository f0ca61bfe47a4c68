#!/usr/bin/env bash
# Installs the Debian packages the build and tests need, skipping those
# already present. With --bench it also installs the peer libraries the
# benchmarks compare against.
set -euo pipefail
pkgs=(cmake ninja-build g++ gfortran libgtest-dev python3 python3-numpy binutils libblas-dev liblapack3 pkg-config ccache)
if [[ "${1:-}" == "--bench" ]]; then
  pkgs+=(libopenblas-dev libblis-dev libfftw3-dev python3-matplotlib)
  # The sparse benchmarks' peers: scipy (through /usr/bin/python3) and Eigen.
  pkgs+=(python3-scipy libeigen3-dev)
fi
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq "${missing[@]}" >/dev/null
fi
