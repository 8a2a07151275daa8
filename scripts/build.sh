#!/usr/bin/env bash
# Configures and builds build/ (programs, library, tests). Extra arguments are
# passed to the build tool, e.g. a target name.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
cd "$top"
if [[ ! -f build/build.ninja ]]; then
  cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
fi
cmake --build build -j"$(nproc)" "$@"
