#!/usr/bin/env bash
# Installs what building, testing and the demo need on a Debian machine.
# Skips apt when everything is present already.
set -euo pipefail
packages=(build-essential cmake ninja-build pkg-config git
  libpugixml-dev zlib1g-dev libpng-dev libjpeg62-turbo-dev libgif-dev
  libcairo2-dev libfreetype-dev libharfbuzz-dev libfontconfig-dev libpolyclipping-dev
  libgtest-dev libgmock-dev libbenchmark-dev fonts-liberation2 fonts-dejavu-core
  fonts-wqy-microhei python3 python3-pytest python3-numpy groff-base
  clang libclang-rt-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
