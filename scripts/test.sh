#!/usr/bin/env bash
# Install what is missing, build Navo and run every test. Exits non-zero when
# anything fails.
#   bash scripts/test.sh
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

navo_install "${NAVO_BUILD_PACKAGES[@]}" "${NAVO_HEADLESS_PACKAGES[@]}"
navo_build
navo_say "Running the tests"
ctest --test-dir "$NAVO_BUILD" --output-on-failure -j "$(nproc)" --timeout 600
