#!/bin/sh
# Installs the node packages of the browser phone, only when they are missing or older than the lock file.
# The network is needed by the first call only.
set -eu
cd "$(dirname "$0")"

if [ -f node_modules/.package-lock.json ] && [ ! package-lock.json -nt node_modules/.package-lock.json ]; then
    exit 0
fi

if ! command -v npm >/dev/null 2>&1; then
    echo "npm is missing (Debian package npm)" >&2
    exit 1
fi
if ! output=$(PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm ci --no-audit --no-fund --loglevel=error 2>&1); then
    echo "$output" >&2
    exit 1
fi
touch node_modules/.package-lock.json
