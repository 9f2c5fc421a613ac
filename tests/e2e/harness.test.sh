#!/usr/bin/env bash
# The harness itself, with the store clients only: each server starts, takes objects from s3cmd and
# aws in virtual-host and path style, lists them, gives them back intact, deletes them, refuses a
# wrong key, logs what it was asked, and stops without leaving a process or a port behind.
# shellcheck source=lib/e2e.sh
. "$(dirname "$0")/lib/e2e.sh"
e2e_init

BUCKET=quorle-harness

make_files() {
  local d=$E2E_WORK/files
  mkdir -p "$d"
  printf 'plain text\n' >"$d/plain"
  : >"$d/empty"
  head -c 300000 /dev/urandom >"$d/random"
  printf 'blanks and unicode\n' >"$d/unicode"
  printf 'reserved characters\n' >"$d/reserved"
}

# key | local file | client | style
ALL_OBJECTS=(
  "plain.txt|plain|aws|vhost"
  "dir one/file with blanks.txt|unicode|s3cmd|vhost"
  "ünïcødé/日本語 ✓.bin|random|aws|path"
  "dir one/sub/a+b=c&d;e@f,g.txt|reserved|s3cmd|path"
  "dir one/empty|empty|aws|vhost"
)

field() { cut -d'|' -f"$2" <<<"$1"; }

put_object() {  # put_object KEY FILE CLIENT STYLE
  local key=$1 file=$E2E_WORK/files/$2 style=()
  [[ $4 == path ]] && style=(--path)
  case $3 in
    s3cmd) s3_s3cmd "${style[@]}" put "$file" "s3://$BUCKET/$key" ;;
    aws)   s3_aws "${style[@]}" s3api put-object --bucket "$BUCKET" --key "$key" --body "$file" ;;
  esac
}

s3cmd_md5() {  # md5 of the body fetched with s3cmd in path style
  local tmp=$E2E_WORK/fetched
  rm -f "$tmp"
  s3_s3cmd --path get "s3://$BUCKET/$1" "$tmp" >/dev/null && md5sum <"$tmp" | cut -d' ' -f1
}

# s3cmd_refused CODE OPTION : a listing by s3cmd (Signature V2) with OPTION fails with CODE
s3cmd_refused() {
  local out
  if out=$(s3_s3cmd "$2" ls "s3://$BUCKET" 2>&1); then echo "accepted: $out"; return 1; fi
  grep -qF "($1)" <<<"$out" || { echo "$out"; return 1; }
}

# aws_refused CODE VAR=VALUE : a listing by aws (Signature V4) with VAR changed fails with CODE.
# The code is read from the answer itself: aws-cli 2.9 fails on an error without a message.
aws_refused() {
  local out
  # shellcheck disable=SC2163 # $2 is VAR=VALUE
  if out=$(export "$2"; s3_aws --debug s3api list-objects --bucket "$BUCKET" 2>&1); then
    echo "accepted"; return 1
  fi
  grep -qF "<Code>$1</Code>" <<<"$out" || { tail -n 5 <<<"$out"; return 1; }
}

none_alive() {  # a zombie left for init to reap counts as ended
  local p
  for p in "$@"; do ! s3_pid_alive "$p" || { echo "process $p is alive"; return 1; }; done
}

expected_keys() { local o; for o in "${OBJECTS[@]}"; do field "$o" 1; done | LC_ALL=C sort; }

use_objects() {  # the whole set on plain HTTP; over TLS one object each way is enough (aws is slow)
  if [[ ${1:-} == --tls ]]; then OBJECTS=("${ALL_OBJECTS[2]}" "${ALL_OBJECTS[1]}"); else OBJECTS=("${ALL_OBJECTS[@]}"); fi
}

exercise() {  # exercise KIND [--tls]
  local o key file client style expected n_path=0 pids
  use_objects "${2:-}"
  e2e_server_start "$@"
  s3_make_bucket "$BUCKET"
  e2e_expect_eq "bucket is listed by aws" "$BUCKET" \
    "$(s3_aws s3api list-buckets --query 'Buckets[].Name' --output text)"

  s3_log_mark
  for o in "${OBJECTS[@]}"; do
    IFS='|' read -r key file client style <<<"$o"
    [[ $style == path ]] && n_path=$(( n_path + 1 ))
    e2e_check "put '$key' with $client ($style style)" put_object "$key" "$file" "$client" "$style"
  done
  e2e_expect_eq "PUT requests logged" "${#OBJECTS[@]}" "$(s3_request_count '^PUT ')"
  e2e_expect_eq "path-style PUT requests name the bucket in the path" "$n_path" \
    "$(s3_request_count "^PUT /$BUCKET/")"

  expected=$(expected_keys)
  e2e_expect_eq "keys listed by s3cmd" "$expected" "$(s3_keys_s3cmd "$BUCKET" | LC_ALL=C sort)"
  e2e_expect_eq "keys listed by aws" "$expected" "$(s3_keys_aws "$BUCKET" | LC_ALL=C sort)"
  e2e_expect_eq "keys under a prefix with a blank" "$(grep '^dir one/' <<<"$expected" || true)" \
    "$(s3_keys_aws "$BUCKET" "dir one/" | LC_ALL=C sort)"

  for o in "${OBJECTS[@]}"; do
    # each object is read back by the client that did not write it
    IFS='|' read -r key file client _ <<<"$o"
    expected=$(md5sum <"$E2E_WORK/files/$file" | cut -d' ' -f1)
    if [[ $client == aws ]]; then
      e2e_expect_eq "'$key' read back with s3cmd" "$expected" "$(s3cmd_md5 "$key")"
    else
      e2e_expect_eq "'$key' read back with aws" "$expected" "$(s3_object_md5 "$BUCKET" "$key")"
    fi
  done

  if [[ ${2:-} != --tls ]]; then
    e2e_check "a wrong access key is refused (V2)" s3cmd_refused InvalidAccessKeyId --access_key=NOSUCHKEY
    e2e_check "a wrong access key is refused (V4)" aws_refused InvalidAccessKeyId AWS_ACCESS_KEY_ID=NOSUCHKEY
    if s3_feature signature; then
      e2e_check "a wrong secret key is refused (V2)" s3cmd_refused SignatureDoesNotMatch --secret_key=wrong
      e2e_check "a wrong secret key is refused (V4)" aws_refused SignatureDoesNotMatch AWS_SECRET_ACCESS_KEY=wrong
    fi
  fi

  for o in "${OBJECTS[@]}"; do
    IFS='|' read -r key _ client _ <<<"$o"
    # each key is deleted by the client that did not write it
    if [[ $client == aws ]]; then
      e2e_check "delete '$key' with s3cmd" s3_s3cmd del "s3://$BUCKET/$key"
    else
      e2e_check "delete '$key' with aws" s3_aws s3api delete-object --bucket "$BUCKET" --key "$key"
    fi
  done
  e2e_expect_eq "bucket is empty (aws)" "" "$(s3_keys_aws "$BUCKET")"
  e2e_expect_eq "bucket is empty (s3cmd)" "" "$(s3_keys_s3cmd "$BUCKET")"
  e2e_check "remove the bucket" s3_s3cmd rb "s3://$BUCKET"

  pids=$(cat "$S3_DIR"/run/*.pid)
  e2e_check "stop the server" e2e_server_stop
  # shellcheck disable=SC2086
  e2e_check "no process of the server is left" none_alive $pids
  e2e_check "its port is free again" sh -c "! ss -Htln '( sport = :$S3_PORT )' | grep -q ."
}

# The harness must not pass what failed, nor leave a server behind, whichever way a script ends.
# Each case: a script body after the server started, the exit status expected, a word of its output.
harness_failures() {
  local body want word script out rc pid cases=(
    'e2e_expect_eq "a check that fails" one two; e2e_finish|1|0 passed, 1 failed'
    'false; e2e_pass "never reached"; e2e_finish|1|FAIL: line'
    'kill -TERM $$; sleep 5|143|terminated'
    'e2e_finish|1|0 passed, 0 failed'
  )
  for c in "${cases[@]}"; do
    IFS='|' read -r body want word <<<"$c"
    script=$E2E_WORK/inner.test.sh
    printf '%s\n' ". '$S3_LIB_DIR/e2e.sh'" e2e_init 'e2e_server_start s3rver >/dev/null' \
      'cat "$S3_DIR/run/s3rver.pid" >"$E2E_WORK/../inner.pid"' "$body" >"$script"
    rc=0; out=$(TMPDIR=$E2E_WORK timeout 60 bash "$script" 2>&1) || rc=$?
    pid=$(<"$E2E_WORK/inner.pid")
    e2e_expect_eq "script '$body' ends with status" "$want" "$rc"
    e2e_check "script '$body' says '$word'" grep -qF -- "$word" <<<"$out"
    e2e_check "script '$body' stopped its server" none_alive "$pid"
    rm -rf "$E2E_WORK"/quorle-e2e-inner.* "$E2E_WORK/inner.pid"
  done
}

make_files
harness_failures
for server in $(e2e_servers); do
  exercise "$server"
done
for server in $(e2e_servers); do
  exercise "$server" --tls
done
e2e_finish
