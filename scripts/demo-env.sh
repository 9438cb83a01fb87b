#!/usr/bin/env bash
# Sourced by run-wizard.sh: a demonstration machine in a temporary folder. The SQL Server
# stand-in (test equipment, never part of the product) plays this computer's desktop instance
# VELDRIN, seeded with the desktop database, and a multi-user server MULTIUSER on "another
# machine" (it reports the machine name 127.0.0.1, which this computer reaches on loopback).
# A registry file says that SQL Server, Labfolio and the chemistry component are installed.
# Every server lookup goes to loopback: LABFOLIO_SQLBROWSER_PORT is the stand-in's port.
#   BUILD_DIR   the build folder (default: build)
set -euo pipefail

demo_build=${BUILD_DIR:-build}
demo_root=$(mktemp -d "${TMPDIR:-/tmp}/labfolio-demo.XXXXXX")
demo_host=$(hostname -s)
demo_user=$(id -un)
demo_password="Demo-Wizard1"

# A few hundred stored structures for the index rebuild, drawn once into the build folder.
demo_structures=()
if [ -s "$demo_build/demo-structures.txt" ] ||
  "$(dirname "${BASH_SOURCE[0]}")/make-structures.sh" 300 "$demo_build/demo-structures.txt"; then
  demo_structures=(--structures "$demo_build/demo-structures.txt")
else
  echo "demo: no stored structures (scripts/setup.sh installs openbabel and rdkit-data)" >&2
fi
"$demo_build/tools/standin/seed/lf-standin-seed" --data "$demo_root/veldrin" --machine "$demo_host" \
  --instance VELDRIN --user "$demo_host\\$demo_user:admin" --login "wizard:$demo_password:sysadmin" \
  "${demo_structures[@]}" >/dev/null
"$demo_build/tools/standin/seed/lf-standin-seed" --data "$demo_root/multiuser" --machine 127.0.0.1 \
  --instance MULTIUSER --login "wizard:$demo_password:dbcreator" >/dev/null

cat > "$demo_root/standin.conf" <<CONF
[server]
ssrp-port = 0
address = 127.0.0.1

[instance VELDRIN]
port = 0
data = $demo_root/veldrin
machine = $demo_host

[instance MULTIUSER]
port = 0
data = $demo_root/multiuser
machine = 127.0.0.1
CONF

"$demo_build/tools/standin/server/lf-standin" --config "$demo_root/standin.conf" > "$demo_root/standin.out" 2>&1 &
demo_standin_pid=$!
for _ in $(seq 100); do
  grep -q '^resolution protocol on udp' "$demo_root/standin.out" 2>/dev/null && break
  sleep 0.1
done
demo_ssrp_port=$(sed -n 's/^resolution protocol on udp [0-9.]*:\([0-9]*\)$/\1/p' "$demo_root/standin.out")
if [ -z "$demo_ssrp_port" ]; then
  echo "demo: the SQL Server stand-in did not start:" >&2
  cat "$demo_root/standin.out" >&2
  kill "$demo_standin_pid" 2>/dev/null || true
  exit 1
fi

# regedit writes multi-strings as UTF-16LE bytes.
multi_sz() {
  local out="" s c
  for s in "$@"; do
    for ((i = 0; i < ${#s}; i++)); do
      c=$(printf '%02x' "'${s:i:1}")
      out+="$c,00,"
    done
    out+="00,00,"
  done
  echo "${out}00,00"
}

mkdir -p "$demo_root/appdata"
cat > "$demo_root/registry.reg" <<REG
Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Microsoft SQL Server]
"InstalledInstances"=hex(7):$(multi_sz VELDRIN)

[HKEY_LOCAL_MACHINE\\SOFTWARE\\Veldrin\\Labfolio\\10.0]
"Path"="$demo_root"

[HKEY_CLASSES_ROOT\\Strucora10.Document\\CLSID]
@="{6A2B5E10-0000-4000-8000-00AA00BB00CC}"

[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders]
"Common AppData"="$demo_root/appdata"
REG

export LABFOLIO_REGISTRY="$demo_root/registry.reg"
export LABFOLIO_SQLBROWSER_PORT="$demo_ssrp_port"
# This computer has no Kerberos realm: the Windows login is played by the stand-in login "wizard".
export LABFOLIO_ODBC_INTEGRATED="UID=wizard;PWD=$demo_password"

demo_cleanup() {
  kill "$demo_standin_pid" 2>/dev/null || true
  wait "$demo_standin_pid" 2>/dev/null || true
  rm -rf "$demo_root"
}
trap demo_cleanup EXIT
echo "demo: desktop instance $demo_host\\VELDRIN and server 127.0.0.1\\MULTIUSER are running (files in $demo_root)"
