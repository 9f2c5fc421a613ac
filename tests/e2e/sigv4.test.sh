#!/usr/bin/env bash
# Signature Version 4 against radosgw, which checks every signature, through the V4-only gate
# (tools/v4gate.py): keys with blanks, "+", "%", unicode and "?", a listing of more than 1,000 keys,
# a bucket in another region and a copy into it, the switch logged once under -D, and what fails:
# --signature-version 2 against the gate, bad options. The sigv4_* tests run the transfer, crypto
# and copy scenarios again under Version 4.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

HOME_BUCKET=quorle-v4
FAR_BUCKET=quorle-v4-far
FAR_REGION=eu-gate-1

export E2E_V4GATE=1 E2E_V4GATE_REGIONS="$FAR_BUCKET=$FAR_REGION"
e2e_server_start rgw || { e2e_fail "rgw did not start"; e2e_finish; }
s3_make_bucket "$HOME_BUCKET"
s3_make_bucket "$FAR_BUCKET"
# a destination prefix must exist: a folder object makes it
for key in odd/ many/ v2/ bad/; do s3_aws s3api put-object --bucket "$HOME_BUCKET" --key "$key" >/dev/null; done
for key in odd/ copied/; do s3_aws s3api put-object --bucket "$FAR_BUCKET" --key "$key" >/dev/null; done
# the objects under a prefix, folder objects left out
objects() { s3_keys_aws "$1" | grep "^$2" | grep -v '/$' || true; }

sync_through_gate() {  # sync_through_gate WHAT SRC DST ARGS...
  e2e_quorle "${@:4}" --endpoint "$S3_HOST" --port "$S3_PORT" "$2" "$3"
  e2e_expect_eq "$1: exit code ($(head -c 300 "$E2E_OUTPUT"))" 0 "$E2E_STATUS"
}

# -D prints a run's log more than once (by each shell operation, then by the root): a note made
# once stands in each copy, as the drive listing of the run's start does
logged_once() {  # logged_once WHAT TEXT
  e2e_expect_eq "$1" "$(grep -c '^\*\*\* Operation: Drives list' "$E2E_OUTPUT")" "$(grep -cF "$2" "$E2E_OUTPUT" || true)"
}

odd=$E2E_WORK/odd
mkdir -p "$odd/blank dir" "$odd/ünï 日本"
printf 'a\n' >"$odd/blank dir/two  blanks.txt"
printf 'b\n' >"$odd/plus+sign.txt"
printf 'c\n' >"$odd/100%25 percent%.txt"
printf 'd\n' >"$odd/ünï 日本/ça ✓.txt"
printf 'e\n' >"$odd/what?.txt"
printf 'f\n' >"$odd/q?x=1&y=2#frag.txt"
sync_through_gate "odd keys up, automatic" "$odd/" "s3://$HOME_BUCKET/odd/" -D -t 4
logged_once "the switch is logged once" 'asks for AWS4-HMAC-SHA256'
e2e_check "V2 requests were refused by the gate" test "$(e2e_gate_log v2)" -ge 1
e2e_expect_eq "odd keys stored as named" \
  "$(cd "$odd" && find . -type f -printf 'odd/%P\n' | LC_ALL=C sort)" \
  "$(objects "$HOME_BUCKET" odd/ | LC_ALL=C sort)"
back=$E2E_WORK/odd-back
mkdir -p "$back"
sync_through_gate "odd keys down, explicit V4" "s3://$HOME_BUCKET/odd/" "$back/" --signature-version 4
e2e_check "odd keys: trees match" diff -r "$odd" "$back"
s3_log_mark
sync_through_gate "odd keys unchanged" "$odd/" "s3://$HOME_BUCKET/odd/" --signature-version 4
e2e_expect_eq "odd keys unchanged: no PUT" 0 "$(s3_object_requests PUT)"

many=$E2E_WORK/many
mkdir -p "$many"
for i in $(seq 1 1030); do printf '%s' "$i" >"$many/k$i"; done
sync_through_gate "1,030 keys up" "$many/" "s3://$HOME_BUCKET/many/" --signature-version 4 -t 8
e2e_expect_eq "1,030 keys stored" 1030 "$(objects "$HOME_BUCKET" many/ | wc -l)"
s3_log_mark
sync_through_gate "1,030 keys listed again" "$many/" "s3://$HOME_BUCKET/many/" --signature-version 4
e2e_expect_eq "listing of 1,030 keys: nothing sent again" 0 "$(s3_object_requests PUT)"
e2e_check "listing of 1,030 keys: a second page asked for" test "$(s3_request_count 'marker=')" -ge 1

sync_through_gate "into a bucket of another region" "$odd/" "s3://$FAR_BUCKET/odd/" -D
e2e_check "the wrong region was refused" test "$(e2e_gate_log region)" -ge 1
logged_once "the region is logged once" "bucket '$FAR_BUCKET' is in region '$FAR_REGION'"
sync_through_gate "copy between two regions" "s3://$HOME_BUCKET/odd/" "s3://$FAR_BUCKET/copied/" --region us-east-1
e2e_expect_eq "copy between regions: every key" "$(cd "$odd" && find . -type f | wc -l)" \
  "$(objects "$FAR_BUCKET" copied/ | wc -l)"

e2e_quorle --signature-version 2 --endpoint "$S3_HOST" --port "$S3_PORT" "$odd/" "s3://$HOME_BUCKET/v2/"
e2e_expect_eq "V2 asked for against a V4-only store: exit code" 1 "$E2E_STATUS"
e2e_check "V2 asked for: the store's message shown" grep -q "Please use AWS4-HMAC-SHA256" "$E2E_OUTPUT"

for bad in "--signature-version 3" "--region ''" "--region eu/west"; do
  before=$(wc -l <"$S3_DIR/v4gate.log")
  eval "e2e_quorle $bad --endpoint \"\$S3_HOST\" --port \"\$S3_PORT\" \"\$odd/\" \"s3://$HOME_BUCKET/bad/\""
  e2e_expect_eq "$bad: exit code" 1 "$E2E_STATUS"
  e2e_expect_eq "$bad: one line said" 1 "$(grep -c . "$E2E_OUTPUT")"
  e2e_expect_eq "$bad: nothing sent" "$before" "$(wc -l <"$S3_DIR/v4gate.log")"
done

e2e_server_stop
e2e_finish
