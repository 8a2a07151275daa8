#!/usr/bin/env bash
# Installs what is missing, builds and starts Quivel on the given files and
# folders, or on samples/ when there are none.
set -euo pipefail
top=$(cd "$(dirname "$0")" && pwd)
"$top/scripts/ensure-deps.sh" build run
"$top/scripts/build.sh" --target quivel transmog
if [[ -z "${DISPLAY:-}" ]]; then
  echo "Quivel needs an X display: set DISPLAY, or run it without a screen as: xvfb-run -a ./run.sh $*" >&2
  exit 1
fi
if [[ $# -eq 0 ]]; then
  exec "$top/build/quivel" "$top/samples"
fi
exec "$top/build/quivel" "$@"
