#!/usr/bin/env bash
# Makes a structure file for lf-standin-seed --structures: one CDXML document per line, drawn
# by obabel (openbabel) from the SMILES of rdkit-data's NCI set, repeated until COUNT are made.
#   scripts/make-structures.sh COUNT OUTPUT [SMILES_FILE]
set -euo pipefail
count=${1:?count}
output=${2:?output file}
smiles=${3:-/usr/share/RDKit/Data/NCI/first_5K.smi}
command -v obabel >/dev/null || { echo "make-structures: obabel is missing (scripts/setup.sh installs openbabel)" >&2; exit 1; }
[ -r "$smiles" ] || { echo "make-structures: cannot read $smiles (scripts/setup.sh installs rdkit-data)" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
available=$(grep -c . "$smiles")
unique=$((count < available ? count : available))
head -n "$unique" "$smiles" > "$work/in.smi"
# Without --gen2d the coordinates are "inf"; -m writes one document per molecule.
obabel -i smi "$work/in.smi" -o cdxml --gen2d -m -O "$work/m.cdxml" 2>/dev/null
: > "$work/lines"
for ((i = 1; i <= unique; i++)); do
  # A molecule obabel could not draw leaves no file; skip it.
  [ -s "$work/m$i.cdxml" ] && tr -s '\r\n' '  ' < "$work/m$i.cdxml" && echo
done > "$work/lines"
: > "$work/out"
while [ "$(wc -l < "$work/out")" -lt "$count" ]; do cat "$work/lines" >> "$work/out"; done
head -n "$count" "$work/out" > "$output.tmp"
mv "$output.tmp" "$output"
