#!/usr/bin/env bash
# Installs the Debian packages the build needs, when any is missing.
# Quick when everything is there: it only asks dpkg.
set -euo pipefail

packages=(
  g++ clang libclang-rt-dev cmake ninja-build
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  # previews are written as PNG; today's picture files for fmconv import
  libpng-dev libopenimageio-dev
  # the desktop window and its tests (Qt's offscreen platform needs a font)
  qt6-base-dev qt6-base-dev-tools libgl-dev fonts-dejavu-core
  # the tests read JSON output with an independent strict parser
  nlohmann-json3-dev
)

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null || true)
  [ "$status" = "installed" ] || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}" >&2
sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
