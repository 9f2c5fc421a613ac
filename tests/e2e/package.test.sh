#!/usr/bin/env bash
# The Debian package: built by scripts/package.sh, checked by lintian, unpacked, and its copy run.
# It shares scripts/package.sh's Release build (build/package/), which stays for the next run.
. "$(dirname "$0")/lib/e2e.sh"
. "$(dirname "$0")/lib/options.sh"
e2e_init
started=$SECONDS
deb=$(bash "$QUORLE_SOURCE_DIR/scripts/package.sh" "$E2E_WORK/out" | tail -n 1)
echo "package built in $(( SECONDS - started )) s: $deb"
e2e_check "package built" test -s "$deb"

# lintian exits non-zero on errors; the errors themselves are what counts
lint=$(lintian --tag-display-limit 0 "$deb" 2>&1 || true)
[[ -z $lint ]] || sed 's/^/  lintian: /' <<<"$lint"
e2e_expect_eq "lintian reports no error" "" "$(grep '^E:' <<<"$lint" || true)"

depends=$(dpkg-deb -f "$deb" Depends)
for dep in libqt6core6 libqt6network6 libqt6xml6 libqt6core5compat6 zlib1g "libssl3 | libssl3t64"; do
  e2e_check "Depends names $dep" grep -qF "$dep" <<<"$depends"
done
e2e_expect_eq "Recommends the legacy provider" openssl-provider-legacy "$(dpkg-deb -f "$deb" Recommends)"

root=$E2E_WORK/root
dpkg-deb -x "$deb" "$root"
copy=$root/usr/bin/quorle
page=$root/usr/share/man/man1/quorle.1.gz
e2e_check "the unpacked copy is stripped" bash -c '! file "$1" | grep -q "not stripped"' _ "$copy"
e2e_check "the unpacked copy gives its version" bash -c '"$1" --version | grep -qx "quorle v[0-9.]*"' _ "$copy"
e2e_check "the unpacked completion loads" bash -c '. "$1" && complete -p quorle' _ "$root/usr/share/bash-completion/completions/quorle"
e2e_expect_eq "man -l renders the page without a warning" "" \
  "$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)"

# Every option of the help screen has its entry in the page, and the page invents none.
help=$(help_options "$copy") manual=$(man_options "$page")
e2e_check "the help screen lists options" test "$(wc -l <<<"$help")" -gt 30
e2e_expect_eq "help options missing from the page" "" "$(comm -23 <(echo "$help") <(echo "$manual"))"
e2e_expect_eq "page options the help does not know" "" "$(comm -13 <(echo "$help") <(echo "$manual"))"
# The comparison must see a missing entry: the page without its --rrs entry.
zcat "$page" | sed '/^\.B \\-\\-rrs$/d' >"$E2E_WORK/cut.1"
e2e_expect_eq "a page without --rrs is caught" "--rrs" "$(comm -23 <(echo "$help") <(man_options "$E2E_WORK/cut.1"))"

e2e_finish
