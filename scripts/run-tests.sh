#!/usr/bin/env bash
# Installs the dependencies, builds the release preset with its tests, and
# runs every test with ctest.
#
# With --full (what CI runs), the same suite then runs twice more, built by
# clang 14: under AddressSanitizer and UndefinedBehaviorSanitizer (the asan
# preset: every test, fuzz corpus replays included, any report fatal), and
# under ThreadSanitizer (the tsan preset: every test, so also those that start
# threads). Each stage stops the script at its first failure.
set -euo pipefail
cd "$(dirname "$0")/.."

full=0
case "${1:-}" in
  "") ;;
  --full) full=1 ;;
  *) echo "usage: scripts/run-tests.sh [--full]" >&2; exit 2 ;;
esac

stage() {
  local preset=$1
  echo "== ${preset}: configure, build, test"
  cmake --preset "${preset}" -DQEL_BUILD_TESTS=ON >/dev/null
  cmake --build --preset "${preset}"
  ctest --preset "${preset}" -j2
}

if [[ ${full} -eq 0 ]]; then
  scripts/install-deps.sh
  stage release
  exit 0
fi

scripts/install-deps.sh --clang
start=${SECONDS}
stage release
# A sanitizer report must fail the test that caused it, never scroll past.
export ASAN_OPTIONS=detect_leaks=1:check_initialization_order=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
stage asan
stage tsan
echo "full check passed in $((SECONDS - start)) s"
