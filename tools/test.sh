#!/usr/bin/env bash
# Builds fmconv and runs every test: the debug build, then the sanitizer
# build (AddressSanitizer + UndefinedBehaviorSanitizer, clang) with its short
# fuzz smoke runs. Pass --quick to run the debug build alone.
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/deps.sh

presets=(default asan)
[ "${1:-}" = "--quick" ] && presets=(default)

for preset in "${presets[@]}"; do
  echo "== ${preset} build =="
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j 2
  ctest --preset "$preset"
done
echo "All tests passed."
