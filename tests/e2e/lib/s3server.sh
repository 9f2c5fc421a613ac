# shellcheck shell=bash
# Throwaway S3 servers on loopback for the end-to-end tests, behind one interface.
#
#   s3_server_start KIND DIR [--tls]   KIND: s3rver (lenient, from npm) or rgw (Ceph RADOS Gateway,
#                                      strict). DIR must not exist or be empty; everything goes there.
#   s3_server_stop DIR                 stops only the processes started from DIR
#   s3_server_use DIR                  makes DIR's server the current one (exports its variables)
#
# After start or use, the current server is described by:
#   S3_SERVER (s3rver|rgw)  S3_DIR  S3_SCHEME (http|https)  S3_HOST (s3.localhost)  S3_PORT
#   S3_HOSTPORT (s3.localhost:PORT)  S3_ENDPOINT (SCHEME://s3.localhost:PORT, path style; virtual-host
#   style is SCHEME://<bucket>.s3.localhost:PORT)  S3_ACCESS_KEY  S3_SECRET_KEY  S3_CA_FILE (TLS only)
#   S3CMD_CONFIG (virtual-host style)  S3CMD_CONFIG_PATH (path style)
#   AWS_ACCESS_KEY_ID  AWS_SECRET_ACCESS_KEY  AWS_CONFIG_FILE (profile "path" = path style)
#   QUORLES_ACCESS_KEY  QUORLES_SECRET_KEY
# The servers listen on 127.0.0.1 and [::1] with the same port: *.localhost resolves to ::1 first.
#
# Clients (every call is bounded by S3_CLIENT_TIMEOUT seconds, default 60):
#   s3_s3cmd [--path] ARGS...           s3cmd with the current server's configuration
#   s3_aws [--path] ARGS...             aws (Debian's aws-cli v2 when present) with --endpoint-url
#   s3_make_bucket BUCKET               s3_remove_bucket BUCKET (with everything in it)
#   s3_keys_s3cmd BUCKET [PREFIX]       s3_keys_aws BUCKET [PREFIX]: keys one a line, in server order
#   s3_object_md5 BUCKET KEY            md5 of the object's body (fetched with aws)
# Request log (both servers log every request; the lines are "METHOD URI STATUS"):
#   s3_log_mark                         s3_requests (lines since the mark)   s3_request_count [ERE]
#   s3_pid_alive PID                    the process runs (a zombie does not count)
# A server that dies (s3rver only; start it with S3RVER_HELD=1 in the environment, so that its port
# is held by socket-holder.py and outlives it, with new connections waiting in the backlog; with
# S3RVER_PACE=BYTES_PER_S as well, bodies go both ways no faster, so a kill lands mid-body):
#   s3rver_kill DIR                     kills the server at once (SIGKILL); the port stays open
#   s3rver_revive DIR                   starts it again on the same port and data
# Known gaps:
#   s3_feature NAME                     0 if the current server has it; else prints why, returns 1
#   s3_missing_on KIND REASON           1 unless the current server is KIND; then prints REASON, 0

S3_LIB_DIR=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
S3_E2E_DIR=$(dirname "$S3_LIB_DIR")
S3_DNS_NAME=s3.localhost
# fixed test keys; s3rver knows only its built-in pair
S3RVER_ACCESS_KEY=S3RVER
S3RVER_SECRET_KEY=S3RVER
RGW_ACCESS_KEY=QUORLETESTACCESSKEY01
RGW_SECRET_KEY=quorle/test+secret/key/0123456789abcdefgh
: "${S3_START_TIMEOUT:=120}" "${S3_STOP_GRACE:=3}" "${S3_CLIENT_TIMEOUT:=60}"
# The clients' output (keys with unicode) must not depend on the caller's locale.
export LC_ALL=C.UTF-8

# shellcheck source=rgw.sh
. "$S3_LIB_DIR/rgw.sh"

# Features a server lacks, with the reason printed when a check is skipped.
declare -gA _S3_MISSING=(
  [s3rver:signature]="s3rver runs with --allow-mismatched-signatures: any well-formed signature passes"
  [s3rver:acl-put]="s3rver 3.7.1 answers a PUT of an ACL with 501"
  [s3rver:versions]="s3rver 3.7.1 answers a version listing with 405"
  [s3rver:listing-order]="s3rver 3.7.1 orders keys differently around '/' (dir-x against dir/), so listings past 1,000 keys page wrongly"
  [s3rver:content-md5]="s3rver 3.7.1 does not check Content-MD5"
  [s3rver:keep-alive]="s3rver closes idle connections after 5 s"
  [s3rver:copy-source-reserved]="s3rver 3.7.1 reads x-amz-copy-source with decodeURI, which leaves %2B, %26, %3D... encoded: such a source is not found"
)

_s3_die() { echo "s3server: $*" >&2; return 1; }

_s3_seconds_left() {  # seconds until DEADLINE (epoch), at least 1
  local left=$(( $1 - $(date +%s) ))
  (( left > 0 )) && echo "$left" || echo 1
}

_s3_have_ipv6() { [[ -e /proc/net/if_inet6 ]] && grep -q '^0\{31\}1 ' /proc/net/if_inet6; }

# ---------------------------------------------------------------------------------------------
# Ports. Tests run in parallel, so a port is reserved in a shared folder under a lock before it is
# handed out, and released when its server stops. A reservation whose owner process is gone is
# stale and taken over. Ports come from below the kernel's ephemeral range, where no outgoing
# connection lands.

_S3_PORT_DIR=${TMPDIR:-/tmp}/quorle-e2e-ports

_s3_port_listening() { ss -Htan "( sport = :$1 )" 2>/dev/null | grep -q .; }

_s3_port_taken() {  # reserved by a live owner, or in use by anyone
  local f="$_S3_PORT_DIR/$1" owner
  if [[ -f $f ]]; then
    read -r owner _ <"$f" 2>/dev/null || owner=""
    [[ -n $owner ]] && kill -0 "$owner" 2>/dev/null && return 0
  fi
  _s3_port_listening "$1"
}

# s3_reserve_ports COUNT DIR : prints COUNT free ports, reserved for DIR's server
s3_reserve_ports() {
  local count=$1 dir=$2 low high ephemeral ports=() p tries=0
  mkdir -p "$_S3_PORT_DIR"
  read -r ephemeral _ </proc/sys/net/ipv4/ip_local_port_range
  high=$(( ephemeral - 1 )); low=$(( high > 20000 ? 20000 : 10000 ))
  {
    flock -w 30 9 || { _s3_die "cannot lock $_S3_PORT_DIR"; return 1; }
    while (( ${#ports[@]} < count )); do
      (( ++tries <= 500 )) || { _s3_die "no free port in $low-$high"; return 1; }
      p=$(( low + (RANDOM * 32768 + RANDOM) % (high - low + 1) ))
      [[ " ${ports[*]} " == *" $p "* ]] && continue
      _s3_port_taken "$p" && continue
      ports+=("$p")
    done
    for p in "${ports[@]}"; do
      echo "$$ $dir" >"$_S3_PORT_DIR/$p"
      echo "$p" >>"$dir/ports"
    done
  } 9>"$_S3_PORT_DIR/.lock"
  echo "${ports[*]}"
}

_s3_release_ports() {
  local dir=$1 p owner d
  [[ -f $dir/ports ]] || return 0
  while read -r p; do
    read -r owner d <"$_S3_PORT_DIR/$p" 2>/dev/null || continue
    [[ $d == "$dir" ]] && rm -f "$_S3_PORT_DIR/$p"
  done <"$dir/ports"
  rm -f "$dir/ports"
}

# ---------------------------------------------------------------------------------------------
# Start and stop

_s3_make_cert() {  # self-signed, valid for s3.localhost, its buckets and the loopback addresses
  local dir=$1/tls
  mkdir -p "$dir"
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 \
    -subj "/CN=$S3_DNS_NAME" \
    -addext "subjectAltName=DNS:$S3_DNS_NAME,DNS:*.$S3_DNS_NAME,DNS:localhost,IP:127.0.0.1,IP:::1" \
    -keyout "$dir/key.pem" -out "$dir/cert.pem" >"$dir/openssl.out" 2>&1 \
    || { cat "$dir/openssl.out" >&2; _s3_die "cannot make a TLS certificate"; }
}

_s3_endpoint_answers() {  # any HTTP answer on 127.0.0.1 counts: the server is up
  local code scheme
  scheme=$(sed -n 's/^S3_SCHEME=//p' "$1/env.pre")
  code=$(curl -s -k -m 2 -o /dev/null -w '%{http_code}' "$scheme://127.0.0.1:$(<"$1/port")/") || true
  [[ $code =~ ^[1-5][0-9][0-9]$ ]]
}

_s3rver_start() {  # _s3rver_start DIR TLS DEADLINE
  local dir=$1 tls=$2 deadline=$3 args
  [[ -d $S3_E2E_DIR/node_modules/s3rver ]] \
    || _s3_die "s3rver is not installed in $S3_E2E_DIR (run scripts/install-deps.sh)" || return 1
  command -v node >/dev/null || _s3_die "node is missing (run scripts/install-deps.sh)" || return 1
  mkdir -p "$dir/run" "$dir/log" "$dir/data"
  echo "s3rver TERM" >"$dir/daemons"
  args=(--directory "$dir/data" --port-file "$dir/port" --service-endpoint localhost)
  [[ $tls == 1 ]] && args+=(--key "$dir/tls/key.pem" --cert "$dir/tls/cert.pem")
  if [[ ${S3RVER_HELD:-0} == 1 ]]; then
    args=(--directory "$dir/data" --service-endpoint localhost)
    [[ $tls == 1 ]] && args+=(--key "$dir/tls/key.pem" --cert "$dir/tls/cert.pem")
    [[ -n ${S3RVER_PACE:-} ]] && args+=(--pace "$S3RVER_PACE")
    setsid python3 "$S3_LIB_DIR/socket-holder.py" "$dir/port" "$dir/run/s3rver-child.pid" \
      node "$S3_LIB_DIR/s3rver-serve.js" "${args[@]}" </dev/null >"$dir/log/s3rver.log" 2>&1 &
  else
    setsid node "$S3_LIB_DIR/s3rver-serve.js" "${args[@]}" </dev/null >"$dir/log/s3rver.log" 2>&1 &
  fi
  echo $! >"$dir/run/s3rver.pid"
  disown $!
  ln -sf log/s3rver.log "$dir/requests.log"
  until [[ -s $dir/port ]]; do
    if ! kill -0 "$(<"$dir/run/s3rver.pid")" 2>/dev/null; then
      cat "$dir/log/s3rver.log" >&2; _s3_die "s3rver died at start"; return 1
    fi
    (( $(date +%s) < deadline )) || { _s3_die "timeout waiting for s3rver (log: $dir/log/s3rver.log)"; return 1; }
    sleep 0.05
  done
}

s3rver_kill() {
  local p
  p=$(<"$1/run/s3rver-child.pid") || return 1
  kill -KILL "$p" && [[ -z $(_s3_wait_gone 50 "$p") ]]
}

s3rver_revive() {
  local old
  old=$(<"$1/run/s3rver-child.pid") || return 1
  kill -USR1 "$(<"$1/run/s3rver.pid")" || return 1
  until [[ $(<"$1/run/s3rver-child.pid") != "$old" ]]; do sleep 0.05; done
}

_s3rver_requests() {
  sed -nE 's/^req "([A-Z]+) ([^ ]*)" ([0-9]+) .*$/\1 \2 \3/p' "$1/requests.log"
}

_s3_write_env() {  # DIR KIND TLS PORT ACCESS SECRET
  local dir=$1 kind=$2 tls=$3 port=$4 ak=$5 sk=$6 scheme=http https=False ca=""
  if [[ $tls == 1 ]]; then scheme=https; https=True; ca=$dir/tls/cert.pem; fi
  {
    printf 'S3_SERVER=%q\nS3_DIR=%q\nS3_SCHEME=%q\nS3_HOST=%q\nS3_PORT=%q\n' \
      "$kind" "$dir" "$scheme" "$S3_DNS_NAME" "$port"
    printf 'S3_HOSTPORT=%q\nS3_ENDPOINT=%q\nS3_ACCESS_KEY=%q\nS3_SECRET_KEY=%q\nS3_CA_FILE=%q\n' \
      "$S3_DNS_NAME:$port" "$scheme://$S3_DNS_NAME:$port" "$ak" "$sk" "$ca"
    printf 'S3CMD_CONFIG=%q\nS3CMD_CONFIG_PATH=%q\n' "$dir/s3cfg" "$dir/s3cfg-path"
    printf 'AWS_ACCESS_KEY_ID=%q\nAWS_SECRET_ACCESS_KEY=%q\nAWS_CONFIG_FILE=%q\n' "$ak" "$sk" "$dir/aws-config"
    printf 'QUORLES_ACCESS_KEY=%q\nQUORLES_SECRET_KEY=%q\n' "$ak" "$sk"
  } >"$dir/env"
  local cfg bucket_host
  for cfg in s3cfg s3cfg-path; do
    bucket_host="%(bucket)s.$S3_DNS_NAME:$port"
    [[ $cfg == s3cfg-path ]] && bucket_host="$S3_DNS_NAME:$port"
    # signature_v2: the tool signs with V2, so s3cmd does too (aws signs with V4)
    cat >"$dir/$cfg" <<EOF
[default]
access_key = $ak
secret_key = $sk
host_base = $S3_DNS_NAME:$port
host_bucket = $bucket_host
bucket_location = us-east-1
use_https = $https
ca_certs_file = $ca
check_ssl_certificate = True
check_ssl_hostname = True
signature_v2 = True
progress_meter = False
EOF
  done
  # the keys are in the file too: aws ignores the environment's keys once a profile is named
  cat >"$dir/aws-config" <<EOF
[default]
region = us-east-1
aws_access_key_id = $ak
aws_secret_access_key = $sk
s3 =
    addressing_style = virtual
[profile path]
region = us-east-1
aws_access_key_id = $ak
aws_secret_access_key = $sk
s3 =
    addressing_style = path
EOF
}

# s3_server_start KIND DIR [--tls]
s3_server_start() {
  local kind=${1:-} dir=${2:-} tls=0 t0 deadline ports port monport ak sk rc=0
  [[ ${3:-} == --tls ]] && tls=1
  [[ $kind == s3rver || $kind == rgw ]] || { _s3_die "usage: s3_server_start s3rver|rgw DIR [--tls]"; return 2; }
  [[ -n $dir ]] || { _s3_die "no folder given"; return 2; }
  mkdir -p "$dir" && dir=$(cd "$dir" && pwd) || return 1
  [[ -z $(ls -A "$dir") ]] || { _s3_die "$dir is not empty"; return 1; }
  t0=$(date +%s%N); deadline=$(( $(date +%s) + S3_START_TIMEOUT ))
  echo "S3_SCHEME=$([[ $tls == 1 ]] && echo https || echo http)" >"$dir/env.pre"
  if [[ $tls == 1 ]]; then _s3_make_cert "$dir" || return 1; fi
  case $kind in
    s3rver)
      ak=$S3RVER_ACCESS_KEY sk=$S3RVER_SECRET_KEY
      _s3rver_start "$dir" "$tls" "$deadline" || rc=1 ;;
    rgw)
      ak=$RGW_ACCESS_KEY sk=$RGW_SECRET_KEY
      ports=$(s3_reserve_ports 2 "$dir") || return 1
      read -r port monport <<<"$ports"
      echo "$port" >"$dir/port"
      _rgw_start "$dir" "$port" "$monport" "$tls" "$ak" "$sk" "$deadline" || rc=1 ;;
  esac
  if (( rc )); then
    s3_server_stop "$dir" >/dev/null
    _s3_die "$kind did not start (folder $dir)"
    return 1
  fi
  _s3_write_env "$dir" "$kind" "$tls" "$(<"$dir/port")" "$ak" "$sk"
  echo $(( ($(date +%s%N) - t0) / 1000000 )) >"$dir/startup-ms"
  _S3_STARTED+=("$dir")
  s3_server_use "$dir"
}

# s3_server_use DIR : exports the variables of the server started in DIR
s3_server_use() {
  local dir=$1 name
  [[ -f $dir/env ]] || { _s3_die "no server was started in $dir"; return 1; }
  # shellcheck disable=SC1091
  . "$dir/env"
  for name in $(sed 's/=.*//' "$dir/env"); do export "${name?}"; done
  if [[ -n $S3_CA_FILE ]]; then export AWS_CA_BUNDLE=$S3_CA_FILE; else unset AWS_CA_BUNDLE; fi
  # no instance-metadata look-ups, no pager, no credentials file of the user
  export AWS_EC2_METADATA_DISABLED=true AWS_PAGER="" AWS_SHARED_CREDENTIALS_FILE=/dev/null
  unset AWS_PROFILE AWS_DEFAULT_PROFILE AWS_SESSION_TOKEN AWS_ENDPOINT_URL
}

_s3_pid_of() {  # DIR NAME: the pid if that process is alive and was started from DIR
  local f="$1/run/$2.pid" p
  [[ -s $f ]] || return 1
  p=$(<"$f")
  [[ -r /proc/$p/cmdline ]] || return 1
  s3_pid_alive "$p" && tr '\0' ' ' <"/proc/$p/cmdline" | grep -qF -- "$1/" || return 1
  echo "$p"
}

s3_pid_alive() {  # a zombie is not alive: it only waits for its parent to reap it
  local state
  state=$(sed -E 's/^[0-9]+ \(.*\) ([A-Z]).*/\1/' "/proc/$1/stat" 2>/dev/null) || return 1
  [[ $state != Z ]]
}

_s3_wait_gone() {  # _s3_wait_gone TENTHS PID... : prints the pids still alive after TENTHS/10 s
  local tenths=$1 i p left; shift
  for (( i = 0; i <= tenths; i++ )); do
    left=()
    for p in "$@"; do s3_pid_alive "$p" && left+=("$p"); done
    (( ${#left[@]} )) || return 0
    (( i < tenths )) && sleep 0.1
  done
  echo "${left[*]}"
}

# s3_server_stop DIR : stops the daemons started from DIR, in the order and with the signal that
# DIR/daemons gives (KILL for what keeps nothing worth an orderly shutdown); KILL after
# S3_STOP_GRACE seconds for what does not end on TERM.
s3_server_stop() {
  local dir=${1:-} n sig p pids=() left
  [[ -d $dir ]] || { _s3_die "no such folder: $dir"; return 1; }
  dir=$(cd "$dir" && pwd)
  if [[ -f $dir/daemons ]]; then
    while read -r n sig; do
      if p=$(_s3_pid_of "$dir" "$n"); then pids+=("$p"); kill "-${sig:-TERM}" "$p" 2>/dev/null; fi
    done <"$dir/daemons"
  fi
  left=$(_s3_wait_gone $(( S3_STOP_GRACE * 10 )) "${pids[@]}")
  if [[ -n $left ]]; then
    echo "s3server: $left did not end on TERM within $S3_STOP_GRACE s; killing" >&2
    # shellcheck disable=SC2086
    kill -KILL $left 2>/dev/null
    # shellcheck disable=SC2086
    left=$(_s3_wait_gone 30 $left)
  fi
  rm -f "$dir"/run/*.pid
  _s3_release_ports "$dir"
  [[ -z $left ]] || { _s3_die "processes $left of $dir did not end"; return 1; }
}

# stops every server this shell started (for traps)
s3_server_stop_all() {
  local dir
  for dir in "${_S3_STARTED[@]}"; do s3_server_stop "$dir" || true; done
  _S3_STARTED=()
}
_S3_STARTED=()

# ---------------------------------------------------------------------------------------------
# Clients

_s3_bounded() { timeout -k 5 "$S3_CLIENT_TIMEOUT" "$@"; }

s3_s3cmd() {
  local cfg=$S3CMD_CONFIG
  [[ ${1:-} == --path ]] && { cfg=$S3CMD_CONFIG_PATH; shift; }
  _s3_bounded s3cmd -c "$cfg" "$@"
}

# Debian's aws-cli v2 when installed: a pyenv or pip aws earlier in PATH may be v1
S3_AWS_BIN=$( [[ -x /usr/bin/aws ]] && echo /usr/bin/aws || command -v aws || echo aws)

s3_aws() {
  local profile=()
  [[ ${1:-} == --path ]] && { profile=(--profile path); shift; }
  _s3_bounded "$S3_AWS_BIN" "${profile[@]}" --endpoint-url "$S3_ENDPOINT" \
    --cli-connect-timeout 10 --cli-read-timeout 30 "$@"
}

s3_make_bucket() { s3_s3cmd --path mb "s3://$1" >/dev/null; }
s3_remove_bucket() { s3_s3cmd --path rb --recursive --force "s3://$1" >/dev/null; }

# keys under PREFIX, one a line, in the order the server listed them
s3_keys_s3cmd() {
  local out
  out=$(s3_s3cmd ls -r "s3://$1/${2:-}") || return 1
  [[ -z $out ]] && return 0
  sed -E "s#^[0-9-]+ +[0-9:]+ +[0-9]+ +s3://$1/##" <<<"$out"
}

s3_keys_aws() {
  local args=(s3api list-objects --bucket "$1" --output json)
  [[ -n ${2:-} ]] && args+=(--prefix "$2")
  s3_aws "${args[@]}" | /usr/bin/python3 -c '
import json, sys
text = sys.stdin.read()
for o in (json.loads(text) if text.strip() else {}).get("Contents", []):
    print(o["Key"])'
}

s3_object_md5() {
  local tmp rc=0
  tmp=$(mktemp) || return 1
  s3_aws s3api get-object --bucket "$1" --key "$2" "$tmp" >/dev/null && md5sum <"$tmp" | cut -d' ' -f1 || rc=1
  rm -f "$tmp"
  return $rc
}

# ---------------------------------------------------------------------------------------------
# Request log

_s3_requests_all() {
  # radosgw writes its log from a thread: let it settle (bounded) before reading
  # (a request is logged after its answer went out, so the log must stay still for a while)
  local size=-1 now i still=0
  for (( i = 0; i < 50 && still < 5; i++ )); do
    now=$(stat -L -c %s "$S3_DIR/requests.log" 2>/dev/null || echo 0)
    if [[ $now == "$size" ]]; then still=$(( still + 1 )); else still=0; fi
    size=$now; sleep 0.1
  done
  "_${S3_SERVER}_requests" "$S3_DIR"
}

# s3_server_requests DIR : every request of the server started in DIR (stopped or not)
s3_server_requests() {
  local kind
  kind=$(sed -n 's/^S3_SERVER=//p' "$1/env" 2>/dev/null)
  [[ -n $kind ]] && "_${kind}_requests" "$1"
}

s3_log_mark() { _s3_requests_all | wc -l >"$S3_DIR/log-mark"; }

s3_requests() {
  local mark=0
  [[ -f $S3_DIR/log-mark ]] && mark=$(<"$S3_DIR/log-mark")
  _s3_requests_all | tail -n +$(( mark + 1 ))
}

s3_request_count() {
  local n
  # grep -c exits 1 when it counts nothing, which is an answer here
  n=$(s3_requests | grep -cE -- "${1:-.}" || true)
  echo "${n:-0}"
}

# requests for objects (not for buckets or with a query) of one method since the mark
s3_object_requests() { s3_request_count "^$1 [^? ]*[^/? ] "; }
# radosgw may log a request a moment after its answer: wait (bounded) for an expected count
s3_object_requests_at_least() {  # METHOD N
  local n i
  for (( i = 0; i < 25; i++ )); do
    n=$(s3_object_requests "$1"); (( n >= $2 )) && break; sleep 0.2
  done
  echo "$n"
}

# ---------------------------------------------------------------------------------------------
# Known gaps

s3_feature() {
  local reason=${_S3_MISSING[$S3_SERVER:$1]:-}
  [[ -z $reason ]] && return 0
  _s3_skip "$1: $reason"
  return 1
}

s3_missing_on() {
  [[ $S3_SERVER == "$1" ]] || return 1
  _s3_skip "$2"
  return 0
}

# e2e.sh counts skips; used alone, this only prints
_s3_skip() {
  if declare -F e2e_skip >/dev/null; then e2e_skip "$*"; else echo "SKIP [$S3_SERVER] $*"; fi
}
