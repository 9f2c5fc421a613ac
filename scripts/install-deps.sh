#!/usr/bin/env bash
# Installs every package that building and testing quorle needs on Debian 12.
# Idempotent: on a machine that has them all it prints nothing and changes nothing.
set -euo pipefail

PACKAGES=(
  # build
  cmake g++ make pkg-config ccache
  qt6-base-dev qt6-5compat-dev zlib1g-dev libssl-dev openssl
  # tests: *.localhost resolves to loopback
  libnss-myhostname
  # tests: tools that check what the binary did
  coreutils diffutils findutils procps iproute2 curl python3
  # tests: an authenticating HTTP proxy (with its Basic and Digest helpers)
  squid
  # packaging: the .deb and its checks (dpkg-shlibdeps, lintian, man -l)
  dpkg-dev lintian man-db groff-base file
  # benchmarks: time and peak memory of a run
  time
  # end-to-end tests: store clients, and Ceph's RADOS Gateway as the strict S3 server
  s3cmd awscli uuid-runtime radosgw ceph-mon ceph-osd python3-rados
  # benchmarks: one more client for the same work
  rclone
  # end-to-end tests and demo: s3rver, the lenient S3 server, runs on Node.js (see below)
  nodejs
)
# npm comes with some builds of nodejs (NodeSource's) and is a package of its own in Debian's, which
# conflicts with the former: ask for it only when the command is missing.
command -v npm >/dev/null || PACKAGES+=(npm)

missing=()
for p in "${PACKAGES[@]}"; do
  [[ $p == \#* ]] && continue
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if (( ${#missing[@]} )); then
  echo "installing: ${missing[*]}"
  SUDO=""
  [[ $(id -u) -eq 0 ]] || SUDO="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  # another apt run (unattended upgrades, a second checkout) may hold the lock for a while
  $SUDO apt-get -o DPkg::Lock::Timeout=600 install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# *.localhost names must resolve through nss-myhostname.
if ! grep -qE '^hosts:.*myhostname' /etc/nsswitch.conf 2>/dev/null; then
  SUDO=""
  [[ $(id -u) -eq 0 ]] || SUDO="sudo"
  $SUDO sed -i -E 's/^(hosts:.*)$/\1 myhostname/' /etc/nsswitch.conf
fi

# s3rver from npm, pinned by tests/e2e/package-lock.json. Installed again only when the lock file
# changed since the last install.
e2e=$(cd "$(dirname "$0")/../tests/e2e" && pwd)
stamp=$e2e/node_modules/.installed-lock.sha256
want=$(sha256sum <"$e2e/package-lock.json")
if [[ ! -f $stamp || $(<"$stamp") != "$want" ]]; then
  echo "installing s3rver into $e2e/node_modules"
  (cd "$e2e" && npm ci --no-audit --no-fund --loglevel=error >/dev/null)
  echo "$want" >"$stamp"
fi
