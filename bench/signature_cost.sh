#!/usr/bin/env bash
# signature_cost.sh [BINARY]: what Version 4 signatures cost over Version 2 on radosgw, which checks
# both: 2,000 files of 4 KiB in 20 folders uploaded with -t 4, BENCH_RUNS (3) runs of each
# interleaved (V2, V4, V2, V4, ...), each into a prefix of its own; prints every run's wall-clock
# and CPU time (user + system: steadier on a busy machine), the medians, and V4's over V2's.
# shellcheck source=lib.sh
BENCH_SERVER=rgw . "$(dirname "$0")/lib.sh"

src=$work/src
for i in $(seq 1 20); do
  mkdir -p "$src/dir$i"
  for j in $(seq 1 100); do head -c 4096 /dev/urandom >"$src/dir$i/file$j.bin"; done
done
sync

declare -A wall=() cpu=()
runs=${BENCH_RUNS:-3}
for run in $(seq 1 "$runs"); do
  for version in 2 4; do
    prefix=v$version-$run/
    s3_aws --path s3api put-object --bucket "$BUCKET" --key "$prefix" >/dev/null
    /usr/bin/time -f '%e %U %S' -o "$work/time.out" \
      "$bin" -t 4 --signature-version "$version" --endpoint "$S3_HOST" --port "$S3_PORT" \
      "$src/" "s3://$BUCKET/$prefix" >"$work/run.out" 2>&1 \
      || { echo "V$version run $run failed: $(tail -n 3 "$work/run.out")" >&2; exit 1; }
    read -r seconds user system <"$work/time.out"
    used=$(awk -v u="$user" -v s="$system" 'BEGIN { print u + s }')
    printf 'run %d  V%d  %6.2f s wall  %6.2f s CPU\n' "$run" "$version" "$seconds" "$used"
    wall[$version]+="$seconds " cpu[$version]+="$used "
  done
done

median() { tr ' ' '\n' <<<"$1" | grep . | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
echo
for kind in wall cpu; do
  declare -n times=$kind
  awk -v k="$kind" -v a="$(median "${times[2]}")" -v b="$(median "${times[4]}")" \
    'BEGIN { printf "%-4s median V2 %6.2f s  V4 %6.2f s  V4/V2 %.3f\n", k, a, b, b / a }'
  unset -n times
done
