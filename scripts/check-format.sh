#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Fails, naming the places, when a C++ source of the tree is not as clang-format writes it
# (.clang-format at the top). `clang-format -i FILE` fixes a file.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
bash "$root/scripts/install-packages.sh" clang-format
cd "$root"
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
    git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format --dry-run --Werror
else
    find src tools tests fuzz bench examples \( -name '*.cpp' -o -name '*.h' \) -print0 | xargs -0 clang-format --dry-run --Werror
fi
echo "Every C++ source is formatted."
