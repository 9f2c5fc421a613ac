#!/usr/bin/env bash
# cmake --install: the layout under a prefix, and the bash completion it installs.
. "$(dirname "$0")/lib/e2e.sh"
. "$(dirname "$0")/lib/options.sh"
e2e_init
build=$(dirname "$QUORLE_BINARY")
# a prefix with a blank: nothing in the install rules may split it
prefix="$E2E_WORK/pre fix"
cmake --install "$build" --prefix "$prefix" >/dev/null
e2e_expect_eq "installed files" "bin/quorle
share/bash-completion/completions/quorle
share/man/man1/quorle.1" "$(cd "$prefix" && find . -type f | sed 's|^\./||' | sort)"
e2e_check "the installed binary runs" bash -c '"$1" --version | grep -qx "quorle v[0-9.]*"' _ "$prefix/bin/quorle"
e2e_check "the page names this version" grep -qF "\"quorle $("$prefix/bin/quorle" --version | sed -n 's/^quorle v//p')\"" "$prefix/share/man/man1/quorle.1"

completion=$prefix/share/bash-completion/completions/quorle
# "--symbolic-links" alone is no option (it takes a trailing TAB): the completion does not offer it.
e2e_expect_eq "completion offers the help's options" \
  "$(help_options "$QUORLE_BINARY" | grep -vx -- --symbolic-links)" "$(completion_options "$completion")"

# complete LINE: runs the completion function on LINE with the cursor at its end; prints each reply
# on a line, then "default-off" if it turned the file name fallback off
complete_line() {
  bash -c '. "$1"; compopt() { [[ "$*" == "+o default" ]] && echo default-off; }
           read -ra COMP_WORDS <<<"$2"; [[ $2 == *" " ]] && COMP_WORDS+=("")
           COMP_CWORD=$(( ${#COMP_WORDS[@]} - 1 )); COMP_LINE=$2; COMP_POINT=${#2}
           _quorle; printf "%s\n" "${COMPREPLY[@]}"' _ "$completion" "$1" | sed '/^$/d'
}
while IFS='|' read -r line expected; do
  e2e_expect_eq "completion of '$line'" "$(tr ' ' '\n' <<<"$expected" | sed '/^$/d')" "$(complete_line "$line")"
done <<'CASES'
quorle --enc|--encrypt --encryption-password
quorle -t 4 --dont-|--dont-delete --dont-add --dont-replace
quorle -e aes-256-cf|default-off aes-256-cfb aes-256-cfb1 aes-256-cfb8
quorle --ENCRYPT BF-|default-off bf-cbc bf-cfb bf-ofb
quorle --endpoint |default-off
quorle -S |default-off
quorle --include-ci-filepath |default-off
quorle /tmp/ s3://my|default-off
quorle GS://bucket/pre|default-off
quorle /home/robin/do|
quorle -s |
CASES

e2e_finish
