#!/usr/bin/env bash
# Builds fmconv and runs its demonstration: it makes its own inputs,
# converts them and prints every file it wrote (into demo-out/).
set -euo pipefail
cd "$(dirname "$0")/.."

bash tools/deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j 2 --target fmconv
./build/release/src/cli/fmconv demo demo-out
