#!/usr/bin/env bash
# Runs every fuzzer in DIR for SECONDS each, starting from its corpus and
# the inputs of past findings; fails on the first crash, leak or timeout.
#   run-fuzzers.sh DIR SECONDS
set -euo pipefail
dir=$1
seconds=$2
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for fuzzer in layout parsers; do
    mkdir -p "$work/$fuzzer" "$work/$fuzzer-artifacts"
    echo "== ${fuzzer}_fuzzer for ${seconds}s"
    if ! "$dir/${fuzzer}_fuzzer" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 \
        -print_final_stats=1 -artifact_prefix="$work/$fuzzer-artifacts/" \
        "$work/$fuzzer" "$root/fuzz/corpus/$fuzzer" "$root/fuzz/regressions/$fuzzer" \
        > "$work/$fuzzer.log" 2>&1; then
        tail -n 60 "$work/$fuzzer.log"
        echo "${fuzzer}_fuzzer found a problem; the input is printed above" >&2
        exit 1
    fi
    grep -E "stat::number_of_executed_units|stat::new_units_added" "$work/$fuzzer.log" || true
done
