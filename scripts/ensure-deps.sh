#!/usr/bin/env bash
# Installs the Debian packages of scripts/packages.txt that the named groups
# need and that are not installed yet. Usage: scripts/ensure-deps.sh build run ...
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
groups=" $* "

wanted=()
while read -r name rest; do
  [[ -z "$name" || "$name" == \#* ]] && continue
  for g in $rest; do
    if [[ "$groups" == *" $g "* ]]; then wanted+=("$name"); break; fi
  done
done < "$here/packages.txt"

missing=()
for p in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing: ${missing[*]}"
sudo=()
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "Run as root, or install: ${missing[*]}" >&2; exit 1; }
  sudo=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
