#!/usr/bin/env bash
# build.sh [release|test]  - configures and builds into build/<kind>.
# "test" adds AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
kind=${1:-release}
case $kind in
  release) flags=(-DCMAKE_BUILD_TYPE=Release -DQUORLE_SANITIZE=OFF -DQUORLE_BENCH=ON) ;;
  test)    flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUORLE_SANITIZE=ON) ;;
  *) echo "usage: $0 [release|test]" >&2; exit 2 ;;
esac
cmake -S "$root" -B "$root/build/$kind" "${flags[@]}" >/dev/null
log="$root/build/$kind/build.log"
if ! cmake --build "$root/build/$kind" -j"$(nproc)" >"$log" 2>&1; then
  grep -vE '^\[ *[0-9]+%\]' "$log" >&2
  echo "build failed (full log: $log)" >&2
  exit 1
fi
# warnings are defects: show them even when the build passes
grep -E 'warning:' "$log" >&2 || true
