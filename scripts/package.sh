#!/usr/bin/env bash
# package.sh [OUTDIR] - builds the Debian package quorle_<version>_<arch>.deb into OUTDIR
# (default build/package/out) and prints its path. One Release build of the tool alone, with
# Debian's hardening flags, in build/package (QUORLE_PACKAGE_BUILD_DIR overrides it).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${QUORLE_PACKAGE_BUILD_DIR:-$root/build/package}
out=${1:-$build/out}
mkdir -p "$out"
out=$(cd "$out" && pwd)

# From the source root: the flags name the working folder, and a change rebuilds everything.
flags() { (cd "$root" && dpkg-buildflags --get "$1"); }
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DQUORLE_SANITIZE=OFF -DQUORLE_TESTS=OFF \
  -DQUORLE_BENCH=OFF -DQUORLE_DEB=ON \
  -DCMAKE_CXX_FLAGS="$(flags CPPFLAGS) $(flags CXXFLAGS)" -DCMAKE_EXE_LINKER_FLAGS="$(flags LDFLAGS)" >/dev/null
log="$build/package.log"
if ! { cmake --build "$build" -j"$(nproc)" && (cd "$build" && cpack -B "$out"); } >"$log" 2>&1; then
  grep -vE '^\[ *[0-9]+%\]' "$log" >&2
  echo "packaging failed (full log: $log)" >&2
  exit 1
fi
grep -E 'warning:' "$log" >&2 || true
rm -rf "$out/_CPack_Packages"
ls "$out"/quorle_*.deb
