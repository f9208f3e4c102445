#!/usr/bin/env bash
# Lays out every sample network under examples/ with the layouts that suit it
# and writes SVG, the interactive HTML page and JSON under the output folder.
#   scripts/run-demo.sh TOOL OUTDIR
set -euo pipefail

tool=${1:?usage: run-demo.sh TOOL OUTDIR}
out=${2:?usage: run-demo.sh TOOL OUTDIR}
cd "$(dirname "$0")/.."
mkdir -p "$out"

# name, input, then the tool's options
run() {
    local name=$1 input=$2
    shift 2
    for ext in svg html json; do
        "$tool" layout "$input" -o "$out/$name.$ext" --progress never "$@"
        echo "wrote $out/$name.$ext"
    done
}

run campus-hierarchy   examples/campus.json      --type hierarchy
run campus-levels      examples/campus.json      --type hierarchy --levels examples/campus.levels
run campus-force       examples/campus.json      --type force
run org-tree           examples/org-tree.graphml --type tree
run org-radial         examples/org-tree.graphml --type radial
run services-hierarchy examples/services.edgelist --type hierarchy
run services-force     examples/services.edgelist --type force --distance 60
run mesh-force         examples/mesh.json        --type force
run mesh-radial        examples/mesh.json        --type radial
run uplinks-hierarchy  tests/data/corpus/uplinks.gv --type hierarchy
"$tool" layout examples/org-tree.graphml -o "$out/org-tree.graphml" --type tree --progress never
echo "wrote $out/org-tree.graphml (the input with x and y added)"
