#!/usr/bin/env bash
# Builds the Debian package with CPack into a temporary folder and checks what it holds and
# what it depends on.
#   deb-test.sh BUILD_DIR VERSION
set -euo pipefail
build=$1
version=$2
out=$(mktemp -d /tmp/labfolio-deb.XXXXXX)
trap 'rm -rf "$out"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

(cd "$out" && cpack --config "$build/CPackConfig.cmake" -B "$out" >"$out/cpack.log" 2>&1) ||
  { cat "$out/cpack.log"; fail "cpack"; }
shopt -s nullglob
debs=("$out"/labfolio-setup_*.deb)
[ ${#debs[@]} -eq 1 ] || fail "expected one package, found: ${debs[*]:-none}"
deb=${debs[0]}

info=$(dpkg-deb --info "$deb")
field() { dpkg-deb --field "$deb" "$1"; }
[ "$(field Package)" = labfolio-setup ] || fail "package name: $(field Package)"
[ "$(field Version)" = "$version" ] || fail "version $(field Version), expected $version"
depends=$(field Depends)
# Computed from the programs and the chemistry module, plus the driver loaded by name.
for lib in libqt6widgets6 libqt6svg6 libodbc2 libpugixml1v5 librdkit1 libssl3 tdsodbc; do
  grep -q "\b$lib\b" <<<"$depends" || fail "Depends lacks $lib: $depends"
done

contents=$(dpkg-deb --contents "$deb")
for f in ./usr/bin/labfolio-setup ./usr/libexec/labfolio/labfolio-setup ./usr/libexec/labfolio/osql \
         ./usr/libexec/labfolio/LFOffline.sql ./usr/libexec/labfolio/liblf_chemistry_rdkit.so \
         ./usr/share/applications/labfolio-setup.desktop \
         ./usr/share/icons/hicolor/scalable/apps/labfolio-setup.svg ./usr/bin/labfolio-mst \
         ./usr/share/man/man1/labfolio-setup.1.gz ./usr/share/man/man1/labfolio-mst.1.gz; do
  grep -q " $f\( \|$\)" <<<"$contents" || fail "package lacks $f"
done
if grep -Eq 'standin|_test\b|lf-demo' <<<"$contents"; then fail "test equipment in the package"; fi
echo "$info" | sed -n '/Package:/,$p'
echo "package test passed: $(basename "$deb")"
