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
        # The cause comes before the stack; the input follows as base64 so a
        # finding on another machine can be replayed from the log alone.
        grep -m 5 -E "^(==[0-9]+==ERROR|${fuzzer}_fuzzer:|.*runtime error:)" "$work/$fuzzer.log" || true
        tail -n 40 "$work/$fuzzer.log"
        for crash in "$work/$fuzzer-artifacts"/*; do
            [ -f "$crash" ] || continue
            echo "input $(basename "$crash") as base64:"
            base64 -w 0 "$crash" | head -c 12000
            echo
        done
        echo "${fuzzer}_fuzzer found a problem; the input is printed above" >&2
        exit 1
    fi
    grep -E "stat::number_of_executed_units|stat::new_units_added" "$work/$fuzzer.log" || true
done
