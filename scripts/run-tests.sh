#!/usr/bin/env bash
# Installs the dependencies, builds the release preset with its tests, and
# runs every test with ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release -DQEL_BUILD_TESTS=ON >/dev/null
cmake --build --preset release
ctest --preset release -j2
