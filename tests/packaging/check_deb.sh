#!/usr/bin/env bash
# Builds the Debian packages with cpack, installs them with apt-get, checks
# that the core is offered as libblas.so.3, switches the system BLAS to it,
# runs a program linked with -lblas on it, switches back and purges.
#   check_deb.sh <build tree> <scratch dir> [cpack] [C compiler]
# Exits 77 (skipped) when not root, without dpkg/apt-get, or when qor
# packages are installed already (they are the user's, not ours to purge).
# Whatever happens after the install, the alternatives are put back as they
# were and the packages purged: the machine is never left on our BLAS.
set -uo pipefail
build=${1:?usage: check_deb.sh <build tree> <scratch dir> [cpack] [cc]}
scratch=${2:?usage: check_deb.sh <build tree> <scratch dir> [cpack] [cc]}
cpack=${3:-cpack}
cc=${4:-cc}
here=$(cd "$(dirname "$0")" && pwd)
runtime=libqor3
dev=libqor-dev

skip() { echo "deb_packages: skipped: $*"; exit 77; }
fail() { echo "deb_packages: FAIL: $*" >&2; exit 1; }

[[ $(id -u) == 0 ]] || skip "not root"
for tool in dpkg dpkg-deb dpkg-query apt-get update-alternatives; do
  command -v "$tool" >/dev/null || skip "$tool is missing"
done
# Outputs are captured whole and then matched, never piped into grep -q,
# whose early exit would fail the writer under pipefail.
installed() { [[ $(dpkg-query -W -f='${Status}' "$1" 2>/dev/null) == *" installed" ]]; }
names() { [[ $(update-alternatives --query "$1" 2>/dev/null) == *"$2"* ]]; }
multiarch=$("$cc" -print-multiarch 2>/dev/null)
multiarch=${multiarch:-x86_64-linux-gnu}
blas=libblas.so.3-$multiarch
cblas=libcblas.so.3-$multiarch
export DEBIAN_FRONTEND=noninteractive

# Installed packages are the user's, unless the marker says that a run of
# this test was killed before it could clean up: then they are put away now.
marker=${scratch%/}.installed
if installed $runtime || installed $dev; then
  [[ -e $marker ]] || skip "qor packages are installed on this machine already; not touching them"
  echo "== a killed run left the packages installed: purging them"
  if names "$blas" "Value: $(dirname "$(dpkg -L $runtime | grep '/qor-blas/libblas\.so\.3$')")/"; then
    update-alternatives --auto "$blas"
  fi
  apt-get purge -y -qq $dev $runtime >/dev/null 2>&1 || dpkg --purge $dev $runtime
  if installed $runtime || installed $dev; then fail "could not purge the packages a killed run left"; fi
fi
rm -f "$marker"

# The state of the libblas.so.3 group before we start, to put back.
blas_mode=$(update-alternatives --query "$blas" 2>/dev/null | sed -n 's/^Status: //p')
blas_value=$(update-alternatives --query "$blas" 2>/dev/null | sed -n 's/^Value: //p')
echo "libblas.so.3 before: ${blas_mode:-no alternatives} ${blas_value}"

echo "== building the packages"
rm -rf "$scratch"
mkdir -p "$scratch"
"$cpack" --config "$build/CPackConfig.cmake" -G DEB -B "$scratch" || fail "cpack"
debs=("$scratch"/${runtime}_*.deb "$scratch"/${dev}_*.deb)
for f in "${debs[@]}"; do
  [[ -f $f ]] || fail "no package $f"
  dpkg-deb --info "$f" >/dev/null || fail "dpkg-deb --info $f"
done
farm=$(dpkg-deb -c "${debs[0]}" | sed -n 's|.* \./\(.*qor-blas\)/libblas\.so\.3 -> .*|/\1|p')
[[ -n $farm ]] || fail "$runtime has no qor-blas/libblas.so.3"
echo "link farm: $farm"

cleanup() {
  local rc=$?
  set +e
  echo "== cleaning up"
  # Back to the alternative chosen before, then remove the packages, whose
  # prerm withdraws ours.
  if names "$blas" "Value: $farm/"; then
    if [[ $blas_mode == manual && -n $blas_value && $blas_value != "$farm/"* ]]; then
      update-alternatives --set "$blas" "$blas_value"
    else
      update-alternatives --auto "$blas"
    fi
  fi
  apt-get purge -y -qq $dev $runtime >/dev/null 2>&1
  if installed $runtime || installed $dev; then
    echo "deb_packages: apt-get purge left the packages; dpkg --purge" >&2
    dpkg --purge $dev $runtime
    rc=1
  fi
  installed $runtime || installed $dev || rm -f "$marker"
  for group in "$blas" "$cblas"; do
    if names "$group" "$farm/"; then
      echo "deb_packages: $group still names $farm after the purge" >&2
      update-alternatives --remove "$group" "$farm/${group%-$multiarch}"
      rc=1
    fi
  done
  if [[ $(readlink -f "/usr/lib/$multiarch/libblas.so.3") == *qor* ]]; then
    echo "deb_packages: the system libblas.so.3 is still qor" >&2
    rc=1
  fi
  echo "libblas.so.3 after: $(update-alternatives --query "$blas" 2>/dev/null | sed -n 's/^Status: //p')" \
       "$(update-alternatives --query "$blas" 2>/dev/null | sed -n 's/^Value: //p')"
  [[ $rc == 0 ]] && echo "deb_packages: ok" || echo "deb_packages: FAIL" >&2
  exit $rc
}
trap cleanup EXIT
trap 'exit 1' INT TERM HUP

echo "== installing"
touch "$marker"
apt-get install -y -qq "${debs[@]}" || fail "apt-get install ${debs[*]}"

echo "== alternatives"
shown=$(update-alternatives --display "$blas") || fail "update-alternatives --display $blas"
echo "$shown"
[[ $shown == *$'\n'"$farm/libblas.so.3 - priority "* ]] || fail "$blas does not list $farm/libblas.so.3"
shown=$(update-alternatives --display "$cblas") || fail "update-alternatives --display $cblas"
[[ $shown == *$'\n'"$farm/libcblas.so.3 - priority "* ]] || fail "$cblas does not list $farm/libcblas.so.3"
update-alternatives --set "$blas" "$farm/libblas.so.3" || fail "update-alternatives --set"
readlink -f "/usr/lib/$multiarch/libblas.so.3"
# The libblas.so.3 link names a file whose SONAME is libqor_core.so.3: the
# loader's cache must still take the core's own link to the real file.
ldconfig || fail "ldconfig"
core=$(dpkg -L $runtime | grep '/libqor_core\.so\.3$')
[[ $(readlink -f "$core") == */libqor_core.so.3.* ]] || fail "after ldconfig $core leads to $(readlink -f "$core")"

work=$scratch/work
mkdir -p "$work"
clean_env=(env -u LD_LIBRARY_PATH -u QOR_DEF_LIBRARY -u LD_PRELOAD)

echo "== a program linked with -lblas, on the system libblas.so.3"
"$cc" -O1 -o "$work/dgemm_blas" "$here/dgemm_blas.c" -lblas || fail "building dgemm_blas.c with -lblas"
"${clean_env[@]}" "$work/dgemm_blas" || fail "dgemm_blas on the system libblas.so.3"

echo "== the installed qor-selftest and pkg-config qor"
selftest=$(dpkg -L $runtime | grep '/bin/qor-selftest$')
"${clean_env[@]}" "$selftest" --help >/dev/null || fail "$selftest --help"
flags=$(pkg-config --cflags --libs qor) || fail "pkg-config qor"
# shellcheck disable=SC2086
"$cc" -std=c11 -o "$work/cblas_example" "$here/../../examples/cblas_example.c" $flags \
  || fail "building examples/cblas_example.c with pkg-config qor"
"${clean_env[@]}" "$work/cblas_example" || fail "cblas_example"

echo "== back to the alternative chosen before"
if [[ $blas_mode == manual && -n $blas_value ]]; then
  update-alternatives --set "$blas" "$blas_value" || fail "update-alternatives --set $blas_value"
else
  update-alternatives --auto "$blas" || fail "update-alternatives --auto"
fi
now=$(update-alternatives --query "$blas" | sed -n 's/^Status: //p')
[[ $now == "${blas_mode:-auto}" ]] || fail "$blas is in $now mode, not ${blas_mode:-auto}"
readlink -f "/usr/lib/$multiarch/libblas.so.3"

echo "== purging"
apt-get purge -y -qq $dev $runtime || fail "apt-get purge"
