#!/usr/bin/env bash
# The harness itself, with the store clients only: each server starts, takes objects from s3cmd and
# aws in virtual-host and path style, lists them, gives them back intact, deletes them, refuses a
# wrong key, logs what it was asked, and stops without leaving a process or a port behind.
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
OBJECTS=(
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

refused_with() {  # refused_with ERROR-CODE VAR=VALUE : a listing made with VAR changed fails with that code
  local out
  if out=$(export "$2"; s3_aws s3api list-objects --bucket "$BUCKET" 2>&1); then
    echo "accepted: $out"; return 1
  fi
  grep -q "$1" <<<"$out" || { echo "$out"; return 1; }
}

expected_keys() { local o; for o in "${OBJECTS[@]}"; do field "$o" 1; done | LC_ALL=C sort; }

exercise() {  # exercise KIND [--tls]
  local o key file client style expected n_path=0 pids
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
  e2e_expect_eq "keys under a prefix with a blank" "$(grep '^dir one/' <<<"$expected")" \
    "$(s3_keys_aws "$BUCKET" "dir one/" | LC_ALL=C sort)"

  for o in "${OBJECTS[@]}"; do
    IFS='|' read -r key file _ _ <<<"$o"
    expected=$(md5sum <"$E2E_WORK/files/$file" | cut -d' ' -f1)
    e2e_expect_eq "'$key' read back with aws" "$expected" "$(s3_object_md5 "$BUCKET" "$key")"
    e2e_expect_eq "'$key' read back with s3cmd" "$expected" "$(s3cmd_md5 "$key")"
  done

  e2e_check "a wrong access key is refused" refused_with InvalidAccessKeyId AWS_ACCESS_KEY_ID=NOSUCHKEY
  if s3_feature signature; then
    e2e_check "a wrong secret key is refused" refused_with SignatureDoesNotMatch AWS_SECRET_ACCESS_KEY=wrong
  fi

  e2e_check "delete one key with s3cmd" s3_s3cmd del "s3://$BUCKET/dir one/file with blanks.txt"
  e2e_expect_eq "the key is gone" "" "$(s3_keys_s3cmd "$BUCKET" "dir one/file")"
  for o in "${OBJECTS[@]}"; do
    key=$(field "$o" 1)
    [[ $key == "dir one/file with blanks.txt" ]] && continue
    e2e_check "delete '$key' with aws" s3_aws s3api delete-object --bucket "$BUCKET" --key "$key"
  done
  e2e_expect_eq "bucket is empty (aws)" "" "$(s3_keys_aws "$BUCKET")"
  e2e_expect_eq "bucket is empty (s3cmd)" "" "$(s3_keys_s3cmd "$BUCKET")"
  e2e_check "remove the bucket" s3_s3cmd rb "s3://$BUCKET"

  pids=$(cat "$S3_DIR"/run/*.pid)
  e2e_check "stop the server" e2e_server_stop
  e2e_check "no process of the server is left" sh -c "! ps -o pid= -p '$(tr '\n' ',' <<<"$pids" | sed 's/,$//')'"
  e2e_check "its port is free again" sh -c "! ss -Htln '( sport = :$S3_PORT )' | grep -q ."
}

make_files
for server in $(e2e_servers); do
  exercise "$server"
done
for server in $(e2e_servers); do
  exercise "$server" --tls
done
e2e_finish
