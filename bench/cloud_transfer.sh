#!/usr/bin/env bash
# cloud_transfer.sh [BINARY]: times uploads and downloads against a local s3rver, with peak memory,
# and the same work done by s3cmd, aws s3 and rclone on the same server (each with its default
# parallelism; quorle with -t 4).
#   small: 2,000 files of 4 KiB in 20 folders
#   large: one file of 1 GiB
# Every download is compared with its source.
# shellcheck source=lib.sh
. "$(dirname "$0")/lib.sh"

make_small() {
  local i j
  for i in $(seq 1 20); do
    mkdir -p "$1/dir$i"
    for j in $(seq 1 100); do head -c 4096 /dev/urandom >"$1/dir$i/file$j.bin"; done
  done
}
make_large() { mkdir -p "$1"; head -c $((1024 * 1024 * 1024)) /dev/urandom >"$1/large.bin"; }


for kind in small large; do
  src=$work/$kind/src
  "make_$kind" "$src"
  sync
  for tool in ${BENCH_TOOLS:-quorle s3cmd aws rclone}; do
    dst=$work/$kind/$tool
    mkdir -p "$dst"
    [[ $tool == quorle ]] && make_prefix "$tool/$kind/"
    declare -n client=$tool
    remote=s3://$BUCKET/$tool/$kind/
    [[ $tool == rclone ]] && remote=s3:$BUCKET/$tool/$kind/
    # a client that fails is reported and passed over (aws lists with ListObjectsV2, whose second
    # page s3rver 3.7.1 answers with InternalError)
    measure "$kind: $tool upload" "${client[@]}" "$src/" "$remote" \
      && measure "$kind: $tool download" "${client[@]}" "$remote" "$dst/" \
      && { diff -r "$src" "$dst" >/dev/null || { echo "$kind: $tool gave back a different tree" >&2; exit 1; }; }
    unset -n client
    rm -rf "$dst"
  done
  rm -rf "${work:?}/$kind"
done

# quorle's time over each other client's, for the same work: below 1 means quorle was faster
echo
for label in "${!times[@]}"; do
  [[ $label == *": quorle "* ]] && continue
  mine=${times[${label/: * /: quorle }]:-}
  [[ -n $mine ]] && awk -v l="$label" -v a="$mine" -v b="${times[$label]}" \
    'BEGIN { printf "%-34s quorle/other %6.2f\n", l, (b > 0 ? a / b : 0) }'
done | sort
