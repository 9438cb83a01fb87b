#!/usr/bin/env bash
# Installs the build into a temporary DESTDIR and runs the installed programs from there, with
# no display and no Qt platform chosen, as an administrator's shell would.
#   install-test.sh BUILD_DIR
set -euo pipefail
build=$1
stage=$(mktemp -d /tmp/labfolio-install.XXXXXX)
trap 'rm -rf "$stage"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

DESTDIR="$stage" cmake --install "$build" --prefix /usr >"$stage.log" 2>&1 || { cat "$stage.log"; fail "cmake --install"; }
rm -f "$stage.log"
root="$stage/usr"
private="$root/libexec/labfolio"

# What is installed, and nothing of the test equipment.
expected=(
  bin/labfolio-setup
  libexec/labfolio/labfolio-setup
  libexec/labfolio/osql
  libexec/labfolio/LFOffline.sql
  libexec/labfolio/liblf_chemistry_rdkit.so
  share/applications/labfolio-setup.desktop
  share/icons/hicolor/scalable/apps/labfolio-setup.svg
  share/man/man1/labfolio-setup.1.gz
  share/man/man1/labfolio-mst.1.gz
  bin/labfolio-mst
)
for f in "${expected[@]}"; do
  [ -e "$root/$f" ] || fail "not installed: $f"
done
[ -L "$root/bin/labfolio-setup" ] || fail "bin/labfolio-setup is not a link into the program folder"
[ "$(readlink "$root/bin/labfolio-setup")" = ../libexec/labfolio/labfolio-setup ] || fail "bin/labfolio-setup links elsewhere"
if find "$stage" -name '*standin*' -o -name '*_test' -o -name 'lf-*' | grep -q .; then
  fail "test equipment installed: $(find "$stage" -name '*standin*' -o -name '*_test' -o -name 'lf-*')"
fi

if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$root/share/applications/labfolio-setup.desktop" || fail "desktop entry"
fi

# The installed wizard from its link, away from the build: every companion found, none named.
run() { (cd "$stage" && env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM -u LABFOLIO_CHEMISTRY_MODULE \
          PATH=/usr/bin:/bin "$@"); }
out=$(run "$root/bin/labfolio-setup" --version 2>&1) || fail "labfolio-setup --version: $out"
grep -q "10\." <<<"$out" || fail "no version in: $out"
if grep -q "missing" <<<"$out"; then fail "a companion file reported missing: $out"; fi

# Each companion taken away in turn is named, with the task it breaks.
for f in osql LFOffline.sql liblf_chemistry_rdkit.so; do
  mv "$private/$f" "$stage/aside"
  out=$(run "$root/bin/labfolio-setup" --version 2>&1 || true)
  mv "$stage/aside" "$private/$f"
  grep -q "\"$private/$f\" is missing" <<<"$out" || fail "$f taken away, but not named: $out"
done
# The index tool from the PATH's folder, and both manual pages readable.
out=$(run "$root/bin/labfolio-mst" --help 2>&1) || fail "labfolio-mst --help: $out"
grep -q "search FILE.mst QUERY" <<<"$out" || fail "labfolio-mst --help: $out"
for page in labfolio-setup labfolio-mst; do
  zcat "$root/share/man/man1/$page.1.gz" | grep -q "^\.TH ${page^^} 1" || fail "manual page $page"
done
echo "install test passed"
