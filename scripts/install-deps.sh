#!/usr/bin/env bash
# Installs the Debian packages Lumesh needs to build and test. Idempotent: a
# package that is already installed is not touched, and nothing is fetched when
# everything is there. Works as root or through sudo.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config ccache
  googletest libgtest-dev libgmock-dev libbenchmark-dev libassimp-dev
  clang libclang-rt-dev
  ecl libecl-dev
  lib3mf-dev libzip-dev zlib1g-dev
  libocct-foundation-dev libocct-modeling-data-dev libocct-modeling-algorithms-dev
  libocct-data-exchange-dev libocct-ocaf-dev libtbb-dev
  libsqlite3-dev libedit-dev
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "install-deps: installing ${missing[*]}"
if [ "$(id -u)" -eq 0 ]; then
  sudo=()
elif command -v sudo >/dev/null 2>&1; then
  sudo=(sudo)
else
  echo "install-deps: need root or sudo to install: ${missing[*]}" >&2
  exit 1
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
