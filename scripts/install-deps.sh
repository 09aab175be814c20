#!/usr/bin/env bash
# Installs what building and testing qelcore needs, from Debian's packages.
# Safe to run again: when everything is present it changes nothing and does
# not touch the network. Uses sudo when not run as root.
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config
  libboost-dev libtbb-dev libjsoncpp-dev libsimdjson-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  ccache
)
# Extra packages: --clang for the sanitizer, thread-sanitizer and fuzzing
# presets; --icu for the collator pool of real locales (-DQEL_WITH_ICU=ON);
# --bench for RapidJSON, which the JSON benchmark runs beside.
for option in "$@"; do
  case "$option" in
    --clang) packages+=(clang-14 libclang-rt-14-dev) ;;
    --icu) packages+=(libicu-dev) ;;
    --bench) packages+=(rapidjson-dev) ;;
    *) echo "unknown option: $option (known: --clang, --icu, --bench)" >&2; exit 2 ;;
  esac
done

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

sudo=""
if [[ $(id -u) -ne 0 ]]; then sudo="sudo"; fi
echo "installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
