#!/usr/bin/env bash
# Installs the Debian packages of the given lists (default:
# packaging/debian-packages.txt) that are missing. Runs `apt-get update` once,
# and only when something is missing.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
lists=("$@")
[[ ${#lists[@]} -eq 0 ]] && lists=("$here/debian-packages.txt")
mapfile -t wanted < <(cat "${lists[@]}" | grep -v -E '^\s*(#|$)')

missing=()
for package in "${wanted[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing ${#missing[@]} missing packages: ${missing[*]}"
sudo=()
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "Run as root or install sudo to set up: ${missing[*]}" >&2; exit 1; }
  sudo=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
