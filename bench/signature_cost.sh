#!/usr/bin/env bash
# signature_cost.sh [BINARY]: what Version 4 signatures cost over Version 2 on radosgw, which checks
# both: 2,000 files of 4 KiB in 20 folders uploaded with -t 4, three runs of each interleaved
# (V2, V4, V2, V4, ...), each into a prefix of its own; prints every run, the medians, and V4's
# median over V2's.
# shellcheck source=lib.sh
BENCH_SERVER=rgw . "$(dirname "$0")/lib.sh"

src=$work/src
for i in $(seq 1 20); do
  mkdir -p "$src/dir$i"
  for j in $(seq 1 100); do head -c 4096 /dev/urandom >"$src/dir$i/file$j.bin"; done
done
sync

declare -A runs=()
for run in 1 2 3; do
  for version in 2 4; do
    prefix=v$version-$run/
    s3_aws --path s3api put-object --bucket "$BUCKET" --key "$prefix" >/dev/null
    t0=$(date +%s%N)
    "$bin" -t 4 --signature-version "$version" --endpoint "$S3_HOST" --port "$S3_PORT" \
      "$src/" "s3://$BUCKET/$prefix" >"$work/run.out" 2>&1 \
      || { echo "V$version run $run failed: $(tail -n 3 "$work/run.out")" >&2; exit 1; }
    ms=$(( ($(date +%s%N) - t0) / 1000000 ))
    printf 'run %d  V%d  %6d ms\n' "$run" "$version" "$ms"
    runs[$version]+="$ms "
  done
done

median() { tr ' ' '\n' <<<"$1" | grep . | sort -n | sed -n 2p; }
v2=$(median "${runs[2]}")
v4=$(median "${runs[4]}")
echo
printf 'median V2 %6d ms\nmedian V4 %6d ms\n' "$v2" "$v4"
awk -v a="$v4" -v b="$v2" 'BEGIN { printf "V4/V2 %.3f\n", a / b }'
