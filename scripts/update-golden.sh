#!/usr/bin/env bash
# Writes the tool's golden outputs (tests/data/cli/expected/) anew from
# tests/data/cli/cases.txt, then shows what changed: review that diff before
# committing it.
#   scripts/update-golden.sh [TOOL]   (default: build/test/tools/netloom)
set -euo pipefail
cd "$(dirname "$0")/.."
tool=${1:-build/test/tools/netloom}
tool=$(realpath "$tool")
expected=tests/data/cli/expected
mkdir -p "$expected"
while read -r name input format options; do
    case "$name" in '' | '#'*) continue ;; esac
    format=${format%+}
    # shellcheck disable=SC2086 # options are words
    "$tool" layout "$input" --to "$format" --progress never $options > "$expected/$name.$format"
    echo "wrote $expected/$name.$format"
done < tests/data/cli/cases.txt
git status --short -- "$expected"
git diff --stat -- "$expected"
