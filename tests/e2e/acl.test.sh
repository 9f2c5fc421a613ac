#!/usr/bin/env bash
# ACLs against radosgw, read back with aws: an overwrite that keeps a canned ACL (public-read) and
# one that keeps a custom ACL (sent as a document after the PUT), and a new object that takes the
# ACL of its bucket. No command-line option reaches these paths, so the aclprobe tool drives them.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

BUCKET=quorle-acl
AUTH_USERS=http://acs.amazonaws.com/groups/global/AuthenticatedUsers
ALL_USERS=http://acs.amazonaws.com/groups/global/AllUsers

probe() {  # probe MODE FILE
  local status=0
  timeout -k 5 120 "$QUORLE_ACLPROBE" "$1" "$S3_HOST" "$S3_PORT" "$BUCKET" "$2" >"$E2E_WORK/probe.out" 2>&1 \
    || status=$?
  e2e_expect_eq "aclprobe $1 $(basename "$2"): exit code ($(head -c 300 "$E2E_WORK/probe.out"))" 0 "$status"
}

# the grants of an object, one "grantee permission" a line, the owner's id written as OWNER
grants() {
  s3_aws s3api get-object-acl --bucket "$BUCKET" --key "$1" --output text \
    --query 'Grants[].[Grantee.URI || Grantee.ID, Permission]' | sed "s|$OWNER|OWNER|" | sort
}

sorted() { printf '%s\n' "$@" | sort; }

stored() { s3_aws s3api get-object --bucket "$BUCKET" --key "$1" "$E2E_WORK/fetched" >/dev/null; cat "$E2E_WORK/fetched"; }

acl_requests() { s3_request_count "^$1 [^ ]*\\?acl"; }

run_on() {
  e2e_server_start "$1" || { e2e_fail "$1 did not start"; return; }
  s3_make_bucket "$BUCKET"
  export S3_ACCESS_KEY S3_SECRET_KEY
  local src=$E2E_WORK/src; mkdir -p "$src"

  printf 'old\n' >"$src/public.txt"
  s3_aws s3api put-object --bucket "$BUCKET" --key public.txt --body "$src/public.txt" --acl public-read >/dev/null
  OWNER=$(s3_aws s3api get-object-acl --bucket "$BUCKET" --key public.txt --query Owner.ID --output text)
  printf 'new\n' >"$src/public.txt"
  s3_log_mark
  probe keep-acl "$src/public.txt"
  e2e_expect_eq "canned ACL kept: read once, no ACL document sent" "1 0" "$(acl_requests GET) $(acl_requests PUT)"
  e2e_expect_eq "canned ACL kept: content replaced" new "$(stored public.txt)"
  e2e_expect_eq "canned ACL kept: grants" "$(sorted "OWNER	FULL_CONTROL" "$ALL_USERS	READ")" "$(grants public.txt)"

  printf 'old\n' >"$src/custom.txt"
  s3_aws s3api put-object --bucket "$BUCKET" --key custom.txt --body "$src/custom.txt" >/dev/null
  s3_aws s3api put-object-acl --bucket "$BUCKET" --key custom.txt --grant-full-control "id=$OWNER" \
    --grant-read-acp "uri=$AUTH_USERS" --grant-write-acp "uri=$AUTH_USERS"
  printf 'new\n' >"$src/custom.txt"
  s3_log_mark
  probe keep-acl "$src/custom.txt"
  e2e_expect_eq "custom ACL kept: its document sent after the PUT" 1 "$(acl_requests PUT)"
  e2e_expect_eq "custom ACL kept: content replaced" new "$(stored custom.txt)"
  e2e_expect_eq "custom ACL kept: grants" \
    "$(sorted "$AUTH_USERS	READ_ACP" "$AUTH_USERS	WRITE_ACP" "OWNER	FULL_CONTROL")" "$(grants custom.txt)"

  s3_aws s3api put-bucket-acl --bucket "$BUCKET" --acl public-read
  printf 'fresh\n' >"$src/fresh.txt"
  probe container-acl "$src/fresh.txt"
  e2e_expect_eq "bucket's ACL taken by a new object" "$(sorted "OWNER	FULL_CONTROL" "$ALL_USERS	READ")" \
    "$(grants fresh.txt)"

  s3_remove_bucket "$BUCKET"
  e2e_server_stop
}

# s3rver keeps ACLs only in part, so only radosgw takes these checks
for server in $(e2e_servers); do
  if [[ $server == rgw ]]; then run_on "$server"; else S3_SERVER=$server e2e_skip "no ACLs on $server"; fi
done
e2e_finish
