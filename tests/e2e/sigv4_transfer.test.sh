#!/usr/bin/env bash
# The transfer scenario again on radosgw, signed with Version 4: once asked for, once in the automatic
# mode through the V4-only gate.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init
e2e_rerun_v4 cloud_transfer
e2e_finish
