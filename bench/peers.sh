#!/usr/bin/env bash
# peers.sh [BINARY]: quorle next to rclone, s3cmd, aws and curl on one loopback radosgw, on the
# same trees, interleaved (each run goes through every client before the next run starts).
#   upload 2,000 x 4 KiB (quorle -t 4, curl with 4 parallel connections), re-sync of that
#   unchanged tree, download it, upload one 512 MiB file (curl: one PUT), download it (one GET).
# Prints the median of BENCH_RUNS runs (default 3) per cell, the highest peak RSS, and the ratios:
# quorle's time over the fastest peer's, and curl's speed over quorle's (above 0.9 is near the
# server's limit). Every download is compared with its source.
# BENCH_BASE=BINARY adds the column "base": another quorle binary (an earlier build), run like the first.
export BENCH_SERVER=${BENCH_SERVER:-rgw}
# shellcheck source=lib.sh
. "$(dirname "$0")/lib.sh"
RUNS=${BENCH_RUNS:-3}
TOOLS=(${BENCH_TOOLS:-quorle rclone s3cmd aws curl})
[[ -n ${BENCH_BASE:-} ]] && TOOLS+=(base)

small=$work/small big=$work/big
for i in $(seq 1 20); do
  mkdir -p "$small/dir$i"
  for j in $(seq 1 100); do head -c 4096 /dev/urandom >"$small/dir$i/file$j.bin"; done
done
mkdir -p "$big" && head -c $((512 * 1024 * 1024)) /dev/urandom >"$big/big.bin"

# curl signs with the V2 scheme (its --aws-sigv4 of Debian 12 is refused for uploads): a config of
# one request per file, signed before the clock starts.
curl_config() {  # METHOD LOCAL_ROOT KEY_PREFIX FILE... > config
  python3 - "$@" <<'EOF'
import base64, email.utils, hashlib, hmac, os, sys
method, root, prefix, files = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]
date = email.utils.formatdate(usegmt=True)
secret = os.environ["S3_SECRET_KEY"].encode()
for n, path in enumerate(files):
    if n:
        print("next")
    key = "%s/%s" % (os.environ["BUCKET"], prefix + os.path.relpath(path, root))
    signature = base64.b64encode(hmac.new(secret, ("%s\n\n\n%s\n/%s" % (method, date, key)).encode(),
                                          hashlib.sha1).digest()).decode()
    print('url = "%s/%s"' % (os.environ["S3_ENDPOINT"], key))
    print('header = "Date: %s"' % date)
    print('header = "Authorization: AWS %s:%s"' % (os.environ["S3_ACCESS_KEY"], signature))
    print(('upload-file = "%s"' if method == "PUT" else 'output = "%s"\ncreate-dirs') % path)
    print("fail")
EOF
}
export BUCKET S3_SECRET_KEY S3_ACCESS_KEY S3_ENDPOINT
curl=(curl -sS --parallel --parallel-max 4)

remote() { [[ $1 == rclone ]] && echo "s3:$BUCKET/$2" || echo "s3://$BUCKET/$2"; }
# Deleted objects go to radosgw's garbage collector; the RAM store needs their space back.
drop() {
  s3_aws --path s3 rm --recursive --only-show-errors "s3://$BUCKET/$1"
  radosgw-admin -c "$S3_DIR/ceph.conf" gc process --include-all >/dev/null 2>&1 || true
}

# cell ROW TOOL RUN : one measured command; the label is "ROW|TOOL|RUN"
cell() {
  local row=$1 tool=$2 run=$3 label="$1|$2|$3" files
  declare -n client=$tool
  case $row in
    up-small | up-big)
      local from=$small key=$tool/small$run/
      [[ $row == up-big ]] && from=$big key=$tool/big$run/
      if [[ $tool == curl ]]; then
        mapfile -t files < <(find "$from" -type f)
        curl_config PUT "$from" "$key" "${files[@]}" >"$work/curl.cfg"
        measure "$label" "${client[@]}" -K "$work/curl.cfg"
      else
        [[ $tool == quorle || $tool == base ]] && make_prefix "$key"
        measure "$label" "${client[@]}" "$from/" "$(remote "$tool" "$key")"
      fi ;;
    resync)
      [[ $tool == curl ]] && return 0
      measure "$label" "${client[@]}" "$small/" "$(remote "$tool" "$tool/small$run/")" ;;
    down-small | down-big)
      local from=$small key=$tool/small$run/ to=$work/down/$tool$run
      [[ $row == down-big ]] && from=$big key=$tool/big$run/
      mkdir -p "$to"
      if [[ $tool == curl ]]; then
        mapfile -t files < <(cd "$from" && find . -type f | sed "s|^\./|$to/|")
        curl_config GET "$to" "$key" "${files[@]}" >"$work/curl.cfg"
        measure "$label" "${client[@]}" -K "$work/curl.cfg"
      else
        measure "$label" "${client[@]}" "$(remote "$tool" "$key")" "$to/"
      fi
      diff -r "$from" "$to" >/dev/null || { echo "$label: the download differs from its source" >&2; exit 1; }
      rm -rf "$to"
      [[ $row == down-big ]] && drop "$key" ;;
  esac
  unset -n client
}

MEASURE_WIDTH=24
# The RAM store holds 2 GiB: a big file is fetched and dropped before the next client sends its own.
for rows in up-small resync down-small "up-big down-big"; do
  for run in $(seq 1 "$RUNS"); do
    for tool in "${TOOLS[@]}"; do
      for row in $rows; do
        cell "$row" "$tool" "$run" || { echo "$row|$tool|$run failed" >&2; break; }
      done
    done
  done
done

median() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
echo
printf '%-13s' "work"; for tool in "${TOOLS[@]}"; do printf '%17s' "$tool"; done
printf '%14s %12s\n' "vs best peer" "curl/quorle"
declare -A names=([up-small]="up 2000x4K" [resync]="re-sync" [down-small]="down 2000x4K" [up-big]="up 512M" [down-big]="down 512M")
for row in up-small resync down-small up-big down-big; do
  printf '%-13s' "${names[$row]}"
  declare -A med=()
  for tool in "${TOOLS[@]}"; do
    values=() peak=0
    for run in $(seq 1 "$RUNS"); do
      [[ -n ${times["$row|$tool|$run"]:-} ]] || continue
      values+=("${times["$row|$tool|$run"]}")
      (( ${rss["$row|$tool|$run"]} > peak )) && peak=${rss["$row|$tool|$run"]}
    done
    if (( ${#values[@]} == 0 )); then printf '%17s' "-"; continue; fi
    med[$tool]=$(median "${values[@]}")
    printf '%9.2fs %5dMB' "${med[$tool]}" $(( peak / 1024 ))
  done
  best=
  for tool in rclone s3cmd aws; do
    [[ -n ${med[$tool]:-} ]] || continue
    [[ -z $best ]] || awk -v a="${med[$tool]}" -v b="$best" 'BEGIN { exit !(a < b) }' && best=${med[$tool]}
  done
  awk -v q="${med[quorle]:-0}" -v b="${best:-0}" -v c="${med[curl]:-0}" 'BEGIN {
    printf "%13s %12s\n", (b > 0 && q > 0) ? sprintf("%.2fx", q / b) : "-", (c > 0 && q > 0) ? sprintf("%.2fx", c / q) : "-" }'
  unset med
done
echo "(times: median of $RUNS; MB: highest peak RSS; vs best peer: quorle's time over the fastest of"
echo " rclone, s3cmd, aws, lower is better; curl/quorle: quorle's speed as a share of curl's)"
