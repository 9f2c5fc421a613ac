#!/usr/bin/env bash
# s3-server.sh - a local S3 server to try quorle against.
#
#   scripts/s3-server.sh start [--rgw] [--tls] [DIR]   starts one (s3rver unless --rgw) and prints its
#                                                      endpoint and keys; DIR holds everything
#                                                      (default build/s3-server)
#   scripts/s3-server.sh stop [DIR]                    stops it and removes DIR
#   scripts/s3-server.sh status [DIR]
#
# The server listens on 127.0.0.1 and [::1]. s3.localhost:PORT is path style and
# <bucket>.s3.localhost:PORT virtual-host style. `. DIR/env` sets S3_ENDPOINT, the keys (S3_*,
# AWS_*, QUORLES_*) and S3CMD_CONFIG for `s3cmd -c "$S3CMD_CONFIG"`.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# shellcheck source=../tests/e2e/lib/s3server.sh
. "$root/tests/e2e/lib/s3server.sh"

usage() { sed -n '3,8p' "$0" | sed 's/^# \{0,1\}//' >&2; exit 2; }

running() {  # running DIR: the server of DIR has all its daemons alive
  local n _
  [[ -f $1/env && -f $1/daemons ]] || return 1
  while read -r n _; do _s3_pid_of "$1" "$n" >/dev/null || return 1; done <"$1/daemons"
}

describe() {
  s3_server_use "$1"
  echo "$S3_SERVER is running; everything it keeps is in $1"
  echo "  endpoint:   $S3_ENDPOINT (path style)"
  echo "              $S3_SCHEME://<bucket>.$S3_HOSTPORT (virtual-host style)"
  # fixed keys of a throwaway local server, not secrets
  echo "  access key: $S3_ACCESS_KEY"
  echo "  secret key: $S3_SECRET_KEY"
  [[ -z $S3_CA_FILE ]] || echo "  TLS certificate (self-signed): $S3_CA_FILE"
  echo "  environment: . $1/env     s3cmd: s3cmd -c $S3CMD_CONFIG ls"
  echo "  stop with:  $0 stop $1"
}

cmd=${1:-}; [[ $# -gt 0 ]] && shift
kind=s3rver tls=() dir=""
while (( $# )); do
  case $1 in
    --rgw) kind=rgw ;;
    --tls) tls=(--tls) ;;
    -*) usage ;;
    *) [[ -z $dir ]] || usage; dir=$1 ;;
  esac
  shift
done
dir=${dir:-$root/build/s3-server}

case $cmd in
  start)
    if running "$dir"; then describe "$dir"; exit 0; fi
    if [[ -e $dir ]]; then
      # only a folder this script made is cleared: it has the daemons list
      [[ -f $dir/daemons ]] || { echo "$dir exists and is not a server folder" >&2; exit 1; }
      s3_server_stop "$dir" >/dev/null 2>&1 || true
      rm -rf "$dir"
    fi
    s3_server_start "$kind" "$dir" "${tls[@]}"
    echo "started in $(<"$dir/startup-ms") ms"
    describe "$dir"
    ;;
  stop)
    [[ -d $dir ]] || { echo "no server folder $dir" >&2; exit 1; }
    [[ -f $dir/daemons ]] || { echo "$dir is not a server folder" >&2; exit 1; }
    s3_server_stop "$dir"
    rm -rf "$dir"
    echo "stopped; removed $dir"
    ;;
  status)
    if running "$dir"; then describe "$dir"; else echo "no server is running in $dir"; exit 1; fi
    ;;
  *) usage ;;
esac
