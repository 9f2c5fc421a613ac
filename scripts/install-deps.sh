#!/usr/bin/env bash
# Installs every package that building and testing quorle needs on Debian 12.
# Idempotent: on a machine that has them all it prints nothing and changes nothing.
set -euo pipefail

PACKAGES=(
  # build
  cmake g++ make pkg-config
  qt6-base-dev qt6-5compat-dev zlib1g-dev libssl-dev openssl
  # tests: *.localhost resolves to loopback
  libnss-myhostname
  # tests: tools that check what the binary did
  coreutils diffutils findutils procps iproute2 curl python3
  # end-to-end tests: store clients, and Ceph's RADOS Gateway as the strict S3 server
  # (s3rver, the lenient one, comes from npm: see tests/e2e/package.json)
  s3cmd awscli uuid-runtime radosgw ceph-mon ceph-osd python3-rados
)

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
  $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# *.localhost names must resolve through nss-myhostname.
if ! grep -qE '^hosts:.*myhostname' /etc/nsswitch.conf 2>/dev/null; then
  SUDO=""
  [[ $(id -u) -eq 0 ]] || SUDO="sudo"
  $SUDO sed -i -E 's/^(hosts:.*)$/\1 myhostname/' /etc/nsswitch.conf
fi
