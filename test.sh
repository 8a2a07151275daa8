#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test:
#   1. build/: unit, command-line and GUI tests through ctest;
#   2. build-asan/: the unit tests again under AddressSanitizer and UBSan;
#   3. build-fuzz/: every fuzz target for a few seconds (clang, libFuzzer).
set -uo pipefail
top=$(cd "$(dirname "$0")" && pwd)
cd "$top"
jobs=$(nproc)
failed=()

step() { echo; echo "=== $*"; }

step "dependencies"
scripts/ensure-deps.sh build run test || exit 1

step "build"
scripts/build.sh || exit 1

step "tests"
ctest --test-dir build -j"$jobs" --output-on-failure --timeout 600 || failed+=("tests")

step "sanitizer build of the unit tests"
if [[ ! -f build-asan/build.ninja ]]; then
  cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQUIVEL_LOGIC_ONLY=ON -DQUIVEL_SANITIZE=ON >/dev/null || exit 1
fi
if cmake --build build-asan -j"$jobs" --target unit_tests; then
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    ctest --test-dir build-asan -j"$jobs" --output-on-failure --timeout 900 || failed+=("sanitizers")
else
  failed+=("sanitizer build")
fi

step "fuzzing"
if [[ ! -f build-fuzz/build.ninja ]]; then
  CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQUIVEL_FUZZ=ON >/dev/null || exit 1
fi
if cmake --build build-fuzz -j"$jobs"; then
  scripts/run-fuzzers.sh build-fuzz "${QUIVEL_FUZZ_SECONDS:-5}" || failed+=("fuzzing")
else
  failed+=("fuzz build")
fi

echo
if [[ ${#failed[@]} -gt 0 ]]; then
  echo "FAILED: ${failed[*]}"
  exit 1
fi
echo "All tests passed."
