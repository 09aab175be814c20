#!/usr/bin/env bash
# Installs the dependencies, builds the release preset and runs `qel demo`.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset release -DQEL_BUILD_TESTS=OFF >/dev/null
cmake --build --preset release --target qel
build/release/tools/qel/qel demo
