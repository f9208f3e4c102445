#!/usr/bin/env bash
# Draws the README's pictures into docs/ with the built tool.
#   scripts/make-pictures.sh TOOL
set -euo pipefail

tool=${1:?usage: make-pictures.sh TOOL}
cd "$(dirname "$0")/.."

draw() {
    local name=$1 input=$2
    shift 2
    "$tool" layout "$input" -o "docs/$name.svg" --progress never "$@"
    echo "wrote docs/$name.svg"
}

draw campus-hierarchy     examples/campus.json          --type hierarchy --layer-spacing 80
draw uplinks-hierarchy    tests/data/corpus/uplinks.gv  --type hierarchy --layer-spacing 80
draw florentine-hierarchy examples/florentine.json      --type hierarchy --layer-spacing 80
draw florentine-tree      examples/florentine.json      --type tree --layer-spacing 80
draw karate-force         examples/karate.json          --type force
draw karate-radial        examples/karate.json          --type radial
draw org-tree             examples/org-tree.graphml     --type tree --layer-spacing 80
draw services-packed      examples/services.edgelist --type hierarchy --layer-spacing 80 --pack
