#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Installs the Debian packages named as arguments that are missing (apt-get, as root); does
# nothing when all are present.
set -euo pipefail

missing=()
for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    if [ "$(id -u)" -ne 0 ]; then
        echo "These Debian packages are missing; run as root to install them: ${missing[*]}" >&2
        exit 1
    fi
    echo "Installing: ${missing[*]}"
    apt-get update -qq
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
