# shellcheck shell=bash
# Throwaway single-node Ceph RADOS Gateway for the end-to-end tests (sourced by s3server.sh).
#
# One monitor (v2 on 127.0.0.1), one memstore OSD (RAM only), cephx off, pool size 1, no mgr, and
# radosgw with the beast frontend on 127.0.0.1 and [::1]. rgw_dns_name makes <bucket>.s3.localhost
# virtual-host style and s3.localhost path style. Everything, the cluster log included, lives under
# the fixture's folder; nothing is written to /etc/ceph or /var/lib/ceph.

_RGW_DAEMONS="client.rgw osd.0 mon.a"
# Stop order and signals: nothing here is worth an orderly shutdown (the OSD keeps its data in
# memory), and that takes 1 to 4 s per daemon, radosgw longest while clients keep connections open.
_RGW_STOP="client.rgw KILL
osd.0 KILL
mon.a KILL"

_rgw_check_tools() {
  local c
  for c in ceph-mon ceph-osd radosgw radosgw-admin ceph monmaptool uuidgen; do
    command -v "$c" >/dev/null || { echo "missing $c: run scripts/install-deps.sh" >&2; return 1; }
  done
  if ! /usr/bin/python3 -c 'import rados' 2>/dev/null; then
    echo "missing python3-rados: run scripts/install-deps.sh" >&2; return 1
  fi
}

# _rgw_daemon DIR NAME cmd... : a foreground daemon in its own session, its pid recorded under DIR/run
_rgw_daemon() {
  local dir=$1 name=$2; shift 2
  setsid "$@" -f </dev/null >"$dir/log/$name.out" 2>&1 &
  echo $! >"$dir/run/$name.pid"
  disown $!
}

# _rgw_wait DIR WHAT DEADLINE cmd... : polls cmd until it succeeds; fails early when a daemon died
_rgw_wait() {
  local dir=$1 what=$2 deadline=$3 n p; shift 3
  until "$@" >/dev/null 2>&1; do
    if (( $(date +%s) >= deadline )); then
      echo "rgw: timeout waiting for $what (logs in $dir/log)" >&2; return 1
    fi
    for n in $_RGW_DAEMONS; do
      [[ -f $dir/run/$n.pid ]] || continue
      p=$(<"$dir/run/$n.pid")
      if ! kill -0 "$p" 2>/dev/null; then
        echo "rgw: $n died while waiting for $what" >&2
        tail -n 20 "$dir/log/$n.out" "$dir/log/$n.log" >&2 2>/dev/null
        return 1
      fi
    done
    sleep 0.2
  done
}

_rgw_write_conf() {  # _rgw_write_conf DIR PORT MONPORT TLS
  local dir=$1 port=$2 monport=$3 tls=$4 endpoints="" addr key
  local addrs=(127.0.0.1)
  _s3_have_ipv6 && addrs+=("[::1]")
  for addr in "${addrs[@]}"; do
    if [[ $tls == 1 ]]; then key=ssl_endpoint; else key=endpoint; fi
    endpoints+=" $key=$addr:$port"
  done
  [[ $tls == 1 ]] && endpoints+=" ssl_certificate=$dir/tls/cert.pem ssl_private_key=$dir/tls/key.pem"
  cat >"$dir/ceph.conf" <<EOF
[global]
fsid = $(uuidgen)
mon_host = v2:127.0.0.1:$monport
public_addr = 127.0.0.1
cluster_addr = 127.0.0.1
ms_bind_ipv6 = false
auth_cluster_required = none
auth_service_required = none
auth_client_required = none
keyring = $dir/keyring
run_dir = $dir/run
crash_dir = $dir/crash
log_file = $dir/log/\$name.log
mon_cluster_log_file = $dir/log/cluster.\$channel.log
osd_pool_default_size = 1
osd_pool_default_min_size = 1
osd_pool_default_pg_num = 8
osd_pool_default_pgp_num = 8
osd_pool_default_pg_autoscale_mode = off
osd_crush_chooseleaf_type = 0
mon_allow_pool_size_one = true
mon_warn_on_pool_no_redundancy = false
mon_max_pg_per_osd = 1000
paxos_propose_interval = 0.1
[mon]
mon_data = $dir/mon
[osd]
osd_data = $dir/osd
osd_objectstore = memstore
memstore_device_bytes = $((2 * 1024 * 1024 * 1024))
[client.rgw]
# radosgw asks for ms_mon_client_mode = secure by default, which cannot work without cephx
ms_mon_client_mode = crc
# without tcp_nodelay every GET on a reused connection stalls about 40 ms (Nagle against delayed ACK)
rgw_frontends = beast$endpoints tcp_nodelay=1
rgw_dns_name = $S3_DNS_NAME
rgw_data = $dir/rgw
admin_socket = $dir/run/\$cluster-\$name.asok
rgw_thread_pool_size = 32
rgw_relaxed_s3_bucket_names = true
EOF
}

# _rgw_start DIR PORT MONPORT TLS ACCESS SECRET DEADLINE
_rgw_start() {
  local dir=$1 port=$2 monport=$3 tls=$4 ak=$5 sk=$6 deadline=$7 osduuid pools n
  _rgw_check_tools || return 1
  mkdir -p "$dir"/{mon,osd,rgw,run,log,crash}
  echo "$_RGW_STOP" >"$dir/daemons"
  _rgw_write_conf "$dir" "$port" "$monport" "$tls"
  local C=(-c "$dir/ceph.conf")

  if ! { monmaptool --create --fsid "$(sed -n 's/^fsid = //p' "$dir/ceph.conf")" \
           --addv a "[v2:127.0.0.1:$monport]" "$dir/monmap" >"$dir/log/monmap.out" 2>&1 &&
         ceph-mon "${C[@]}" --mkfs -i a --monmap "$dir/monmap" >"$dir/log/mon-mkfs.out" 2>&1; }; then
    cat "$dir/log/monmap.out" "$dir/log/mon-mkfs.out" >&2 2>/dev/null
    echo "rgw: ceph-mon --mkfs failed" >&2; return 1
  fi
  _rgw_daemon "$dir" mon.a ceph-mon "${C[@]}" -i a

  osduuid=$(uuidgen)
  _rgw_wait "$dir" "the monitor" "$deadline" ceph "${C[@]}" --connect-timeout 5 osd new "$osduuid" 0 || return 1
  ceph-osd "${C[@]}" -i 0 --mkfs --osd-uuid "$osduuid" >"$dir/log/osd-mkfs.out" 2>&1 \
    || { cat "$dir/log/osd-mkfs.out" >&2; echo "rgw: ceph-osd --mkfs failed" >&2; return 1; }
  _rgw_daemon "$dir" osd.0 ceph-osd "${C[@]}" -i 0
  _rgw_wait "$dir" "osd.0 up" "$deadline" \
    sh -c "ceph -c '$dir/ceph.conf' --connect-timeout 5 osd stat -f json | grep -q '\"num_up_osds\":1'" || return 1

  # The bucket pools are made here, alongside the user creation (which makes the zone and the base
  # pools), so that a test's first bucket does not wait for pool creation. /usr/bin/python3 on
  # purpose: python3-rados is a Debian module that a pyenv or venv python3 does not see.
  /usr/bin/python3 - "$dir/ceph.conf" >"$dir/log/pools.out" 2>&1 <<'PY' &
import json, sys, rados
c = rados.Rados(conffile=sys.argv[1]); c.connect(timeout=30)
for p in ("default.rgw.buckets.index", "default.rgw.buckets.data", "default.rgw.buckets.non-ec"):
    for cmd in ({"prefix": "osd pool create", "pool": p},
                {"prefix": "osd pool application enable", "pool": p, "app": "rgw"}):
        r, _, err = c.mon_command(json.dumps(cmd), b"")
        if r: sys.exit("%s: %s" % (cmd, err))
c.shutdown()
PY
  pools=$!
  if ! timeout "$(_s3_seconds_left "$deadline")" radosgw-admin "${C[@]}" user create --uid=test \
        --display-name="Quorle Test" --access-key="$ak" --secret="$sk" \
        >"$dir/user.json" 2>"$dir/log/user-create.out"; then
    cat "$dir/log/user-create.out" >&2; kill "$pools" 2>/dev/null; wait "$pools" 2>/dev/null
    echo "rgw: radosgw-admin user create failed" >&2; return 1
  fi
  wait "$pools" || { cat "$dir/log/pools.out" >&2; echo "rgw: pool creation failed" >&2; return 1; }

  _rgw_daemon "$dir" client.rgw radosgw "${C[@]}" -n client.rgw
  _rgw_wait "$dir" "radosgw on port $port" "$deadline" _s3_endpoint_answers "$dir" || return 1
  # the log lines that s3_requests reads
  ln -sf log/client.rgw.log "$dir/requests.log"
}

# one normalized line per request: METHOD URI STATUS (the host is not in radosgw's log)
_rgw_requests() {
  # radosgw writes its log from a thread of its own: flush it so that the last requests are there
  local sock
  for sock in "$1"/run/*client.rgw*.asok; do
    [[ -S $sock ]] && timeout 5 ceph --admin-daemon "$sock" log flush >/dev/null 2>&1 || true
  done
  sed -nE 's/^.* beast: [^ ]+ .* "([A-Z]+) ([^ ]*) HTTP\/[0-9.]+" ([0-9]+) .*$/\1 \2 \3/p' "$1/requests.log"
}
