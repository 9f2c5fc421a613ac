#!/usr/bin/env bash
# multipart_upload.sh [BINARY]: one file of 512 MiB up to a local radosgw, in the same run and
# BENCH_RUNS (3) times in turn: quorle in parts (threshold 8M, -t 8, 4 and 2), quorle in one PUT
# (threshold 5G, -t 8), aws and rclone in parts of 8 MiB, 8 at once, one curl PUT; with peak memory,
# and the median ratios to curl. BENCH_ENCODED=1 adds quorle -z -e in parts at -t 8, and
# BENCH_BASELINE=BINARY the same by another build of quorle. Then, for the choice of
# the default threshold, files of BENCH_SWEEP_MIB sizes sent in parts (threshold 5M) and in one PUT.
BENCH_SERVER=rgw
# shellcheck source=lib.sh
. "$(dirname "${BASH_SOURCE[0]}")/lib.sh"
MEASURE_WIDTH=40

quorle() { echo "${client:-$bin}" --endpoint "$S3_HOST" --port "$S3_PORT"; }
run=0
# send LABEL FILE [quorle options] : one quorle upload of FILE's folder to a fresh prefix
send() {
  local label=$1 file=$2; shift 2
  # a destination prefix exists once a folder object makes it
  # radosgw may stall for tens of seconds after gigabytes of writes: the folder object waits it out
  s3_aws --path --cli-read-timeout 300 s3api put-object --bucket "$BUCKET" --key "run$(( run + 1 ))/" >/dev/null
  unset "times[$label]"
  measure "$label" $(quorle) "$@" "$(dirname "$file")/" "s3://$BUCKET/run$(( ++run ))/" || { drop; return 1; }
  drop
}
# the peers, each with the same part size and parallelism as quorle -t 8, in configurations of their own
export AWS_CONFIG_FILE_BENCH=$work/aws-config
cp "$AWS_CONFIG_FILE" "$AWS_CONFIG_FILE_BENCH"
for setting in multipart_threshold=8MB multipart_chunksize=8MB max_concurrent_requests=8; do
  AWS_CONFIG_FILE=$AWS_CONFIG_FILE_BENCH "$S3_AWS_BIN" configure set "profile.path.s3.${setting%%=*}" "${setting#*=}"
done
# radosgw keeps its objects in 2 GiB of memory: each upload is deleted, and its space taken back, before
# the next one
drop() {
  s3_aws --path s3 rm --recursive --quiet "s3://$BUCKET/" >/dev/null || true
  radosgw-admin -c "$work/server/ceph.conf" gc process --include-all >/dev/null 2>&1 || true
}
peer() {
  local label=$1; shift
  unset "times[$label]"
  measure "$label" "$@" || { drop; return 1; }
  drop
}
aws_parts() {
  peer "512 MiB: aws in parts" env AWS_CONFIG_FILE="$AWS_CONFIG_FILE_BENCH" "$S3_AWS_BIN" --profile path \
    --endpoint-url "$S3_ENDPOINT" s3 cp --only-show-errors "$work/big/file.bin" "s3://$BUCKET/aws.bin"
}
rclone_parts() {
  peer "512 MiB: rclone in parts" rclone copyto -q --s3-upload-cutoff 8M --s3-chunk-size 8M \
    --s3-upload-concurrency 8 --s3-disable-checksum "$work/big/file.bin" "s3:$BUCKET/rclone.bin"
}

mkdir -p "$work/big"
head -c $(( 512 * 1024 * 1024 )) /dev/urandom >"$work/big/file.bin"
sync
# curl signs with the V2 scheme by hand: its own --aws-sigv4 of Debian 12 is refused for an upload
curl_put() {
  local date signature
  unset 'times[512 MiB: curl PUT]'
  date=$(LC_ALL=C date -u '+%a, %d %b %Y %H:%M:%S GMT')
  signature=$(printf 'PUT\n\napplication/octet-stream\n%s\n/%s/curl.bin' "$date" "$BUCKET" \
    | openssl dgst -sha1 -hmac "$S3_SECRET_KEY" -binary | base64)
  measure "512 MiB: curl PUT" curl -sSf -H "Date: $date" -H "Content-Type: application/octet-stream" \
    -H "Authorization: AWS $S3_ACCESS_KEY:$signature" -T "$work/big/file.bin" "$S3_ENDPOINT/$BUCKET/curl.bin" \
    || { drop; return 1; }
  drop
}
# BENCH_RUNS rounds, each of the three in turn, so that a busy machine weighs on all of them alike;
# each ratio is the median of the rounds' ratios to that round's curl.
declare -A ratios=()
labels=("512 MiB: quorle in parts" "512 MiB: quorle in parts -t 4" "512 MiB: quorle in parts -t 2"
  "512 MiB: quorle single PUT" "512 MiB: aws in parts" "512 MiB: rclone in parts")
[[ ${BENCH_ENCODED:-0} == 1 ]] && labels+=("512 MiB: quorle -z -e in parts")
[[ -n ${BENCH_BASELINE:-} ]] && labels+=("512 MiB: baseline -z -e in parts")
encoded=(-t 8 --multipart-threshold 8M -z -e aes-256-cbc --encryption-password bench)
for (( round = 1; round <= ${BENCH_RUNS:-3}; round++ )); do
  # a round that fails (radosgw here may stall past the client's time-out) counts for nothing
  send "${labels[0]}" "$work/big/file.bin" -t 8 --multipart-threshold 8M || true
  send "${labels[1]}" "$work/big/file.bin" -t 4 --multipart-threshold 8M || true
  send "${labels[2]}" "$work/big/file.bin" -t 2 --multipart-threshold 8M || true
  send "${labels[3]}" "$work/big/file.bin" -t 8 --multipart-threshold 5G || true
  aws_parts || true
  rclone_parts || true
  [[ ${BENCH_ENCODED:-0} == 1 ]] && { send "${labels[6]}" "$work/big/file.bin" "${encoded[@]}" || true; }
  [[ -n ${BENCH_BASELINE:-} ]] && { client=$BENCH_BASELINE send "${labels[-1]}" "$work/big/file.bin" "${encoded[@]}" \
    || true; }
  curl_put || true
  for label in "${labels[@]}"; do
    [[ -n ${times[$label]:-} && -n ${times["512 MiB: curl PUT"]:-} ]] || continue
    ratios[$label]+=" $(awk -v a="${times[$label]:-0}" -v b="${times["512 MiB: curl PUT"]:-0}" \
      'BEGIN { printf "%.2f", (a > 0 ? b / a : 0) }')"
  done
done
rm -rf "$work/big"
echo
for label in "${labels[@]}"; do
  # shellcheck disable=SC2086
  printf '%-40s speed vs curl, median %sx of:%s\n' "$label" \
    "$(printf '%s\n' ${ratios[$label]} | sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }')" \
    "${ratios[$label]}"
done

echo
for mib in ${BENCH_SWEEP_MIB:-16 64 256}; do
  mkdir -p "$work/s$mib"
  head -c $(( mib * 1024 * 1024 )) /dev/urandom >"$work/s$mib/file.bin"
  send "$mib MiB: in parts" "$work/s$mib/file.bin" -t 8 --multipart-threshold 5M || true
  send "$mib MiB: single PUT" "$work/s$mib/file.bin" -t 8 --multipart-threshold 5G || true
  rm -rf "$work/s$mib"
done
