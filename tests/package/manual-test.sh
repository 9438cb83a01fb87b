#!/usr/bin/env bash
# The manual pages keep up with the programs: every command and option that a program's help
# names is in its manual page, and the pages format without warnings.
#   manual-test.sh MAN_FOLDER LABFOLIO_SETUP LABFOLIO_MST
set -euo pipefail
man=$1
setup=$2
mst=$3
fail() { echo "FAIL: $*" >&2; exit 1; }

# Options and commands as the manual's roff spells them ("-" escaped as "\-").
inPage() {
  local page=$1 word=$2
  grep -qF -- "${word//-/\\-}" "$man/$page.1" || fail "$page.1 does not mention $word"
}

help=$("$setup" --help)
commands=$(awk '/^Commands:/{on=1; next} /^$/{on=0} on && /^  [a-z]/{print $1}' <<<"$help")
[ -n "$commands" ] || fail "no commands in labfolio-setup --help"
all="$help"
for c in $commands; do
  inPage labfolio-setup "$c"
  all+=$'\n'$("$setup" "$c" --help)
done
for option in $(grep -oE -- '--[a-z][a-z-]+' <<<"$all" | sort -u); do
  inPage labfolio-setup "$option"
done

help=$("$mst" --help)
all="$help"
for c in info verify search; do
  inPage labfolio-mst "$c"
  all+=$'\n'$("$mst" "$c" --help)
done
for option in $(grep -oE -- '--[a-z][a-z-]+' <<<"$all" | sort -u); do
  inPage labfolio-mst "$option"
done

if command -v groff >/dev/null; then
  for page in labfolio-setup labfolio-mst; do
    warnings=$(groff -man -Tutf8 -ww -z "$man/$page.1" 2>&1)
    [ -z "$warnings" ] || fail "$page.1: $warnings"
  done
fi
echo "manual pages cover every command and option"
