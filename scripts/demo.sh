#!/usr/bin/env bash
# Installs what is needed, builds quorle and runs a real sync: a sample tree
# is mirrored into a second folder and the result is compared.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" release
bin="$root/build/release/quorle"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/source/documents/reports" "$work/destination"
echo "quarterly figures" >"$work/source/documents/reports/q1.txt"
echo "notes" >"$work/source/documents/notes.txt"
head -c 100000 /dev/urandom >"$work/source/documents/photo.bin"

# The keys are checked even between two local folders.
export QUORLES_ACCESS_KEY=${QUORLES_ACCESS_KEY:-demo} QUORLES_SECRET_KEY=${QUORLES_SECRET_KEY:-demo}
"$bin" -V
echo
set -x
"$bin" -v "$work/source/" "$work/destination/"
{ set +x; } 2>/dev/null
echo
diff -r "$work/source" "$work/destination" && echo "demo: destination matches the source"
