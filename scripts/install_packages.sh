#!/usr/bin/env bash
# Installs the Debian packages named as arguments that are not installed yet
# (apt-get, through sudo when not root). Does nothing when all are there.
set -euo pipefail
missing=()
for p in "$@"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -gt 0 ] || exit 0
echo "installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq "${missing[@]}" >/dev/null
