#!/usr/bin/env bash
# layers.sh [src-dir] - fails when a file of src/ includes a header of a folder
# that is not below its own, and when the folders include each other in a cycle.
# A folder may only include its own headers and those of lower layers; folders
# of one layer don't include each other.
set -uo pipefail
src=${1:-$(cd "$(dirname "$0")/../src" && pwd)}

declare -A layer=([util]=1 [net]=2 [crypto]=2 [items]=3 [operations]=4 [cloud]=5 [sync]=6 [frontend]=7)

fail=0
edges=$(mktemp)
trap 'rm -f "$edges"' EXIT

for dir in "$src"/*/; do
    from=$(basename "$dir")
    if [[ -z ${layer[$from]:-} ]]; then
        echo "src/$from/: not in the layer order of $(basename "$0")"
        fail=1
        continue
    fi
    while IFS=: read -r file line text; do
        to=$(sed -E 's/^#include "([^/"]+)\/.*/\1/' <<<"$text")
        [[ $to == "$from" ]] && continue
        echo "$from $to" >>"$edges"
        if [[ -z ${layer[$to]:-} ]] || (( layer[$to] >= layer[$from] )); then
            echo "${file#"$src"/}:$line: $from (layer ${layer[$from]}) includes $to (layer ${layer[$to]:-?}): $text"
            fail=1
        fi
    done < <(grep -HnE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"[^/"]+/' -r "$dir" --include='*.h' --include='*.cpp' \
             | sed -E 's/:[[:space:]]*#[[:space:]]*include[[:space:]]*/:#include /')
done

# Independent of the ranks above: tsort names every cycle of the folder graph.
if ! sort -u "$edges" | tsort >/dev/null 2>"$edges.cycles"; then
    echo "include cycle between folders of src/:"
    cat "$edges.cycles"
    fail=1
fi
rm -f "$edges.cycles"

(( fail == 0 )) && echo "layers: no include goes up, no cycle"
exit $fail
