#!/usr/bin/env bash
# Whole-tool runs that draw scale-free graphs (networkx's Barabasi-Albert
# graphs) as PNG in every layout type, with the time and peak memory of each
# run (wall clock and CPU: on a shared machine the wall clock says little) and
# the picture's size; flags runs over the targets (2,000 nodes: 3 s and 500 MB;
# 100,000 nodes: 60 s and 2 GB).
#   bench/drawing_sizes.sh [TOOL] [SIZES...]   (default: build/bench/tools/netloom 2000 100000)
set -euo pipefail
tool=$(realpath "${1:-build/bench/tools/netloom}")
shift || true
sizes=("${@:-2000}")
[ $# -gt 0 ] || sizes=(2000 100000)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for n in "${sizes[@]}"; do
    python3 -c "import networkx as nx; nx.write_edgelist(nx.barabasi_albert_graph($n, 2, seed=1), '$work/ba$n.edgelist', data=False)"
    if [ "$n" -le 2000 ]; then limit_s=3; limit_mb=500; else limit_s=60; limit_mb=2048; fi
    for type in hierarchy tree radial force; do
        out=$work/ba$n-$type.png
        /usr/bin/time -f "%e %U %S %M" -o "$work/time" "$tool" layout "$work/ba$n.edgelist" -t "$type" \
            -o "$out" --progress never 2> "$work/err" || { cat "$work/err"; exit 1; }
        read -r seconds user sys kb < "$work/time"
        size=$(python3 -c "import struct; d=open('$out','rb').read(24); print('%dx%d' % struct.unpack('>II', d[16:24]))")
        mb=$((kb / 1024))
        flag=$(awk -v s="$seconds" -v m="$mb" -v ls="$limit_s" -v lm="$limit_mb" \
            'BEGIN { print (s > ls || m > lm) ? "OVER" : "ok" }')
        cpu=$(awk -v u="$user" -v s="$sys" 'BEGIN { print u + s }')
        printf '%7d %-9s %6.2f s (CPU %6.2f s) %6d MB %12s px %9d bytes %s\n' "$n" "$type" \
            "$seconds" "$cpu" "$mb" "$size" "$(stat -c %s "$out")" "$flag"
    done
done
