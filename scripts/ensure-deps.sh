#!/usr/bin/env bash
# Makes sure the Debian packages the build needs are installed. As root it
# installs what is missing; otherwise it prints the exact command and fails.
set -euo pipefail

# `ensure-deps.sh fuzz` also checks what the fuzzers need; `ensure-deps.sh
# platforms` what the cross-platform check needs (cross compilers, qemu, wine);
# `ensure-deps.sh bench` the peer library the benchmarks compare against.
extra=()
if [ "${1:-}" = fuzz ]; then
    extra=(clang libclang-rt-14-dev)
elif [ "${1:-}" = platforms ]; then
    extra=(g++-i686-linux-gnu g++-aarch64-linux-gnu qemu-user g++-mingw-w64-x86-64
           g++-mingw-w64-i686 wine wine64 googletest)
elif [ "${1:-}" = bench ]; then
    extra=(python3-igraph)
fi
packages=("${extra[@]}" cmake make g++ pkg-config libgtest-dev libgmock-dev libbenchmark-dev
          python3 python3-dev pybind11-dev python3-numpy python3-networkx python3-pytest
          python3-pip python3-venv python3-setuptools python3-wheel python3-pybind11 mypy
          python3-dask python3-distributed
          nlohmann-json3-dev libpugixml-dev libcli11-dev
          libgraphviz-dev graphviz libcairo2-dev libpng-dev
          chromium chromium-driver python3-selenium
          emscripten dpkg-dev)
missing=()
for p in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -eq 0 ]; then
    echo "Installing missing packages: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}"
else
    echo "Missing packages: ${missing[*]}. Install them with:" >&2
    echo "  sudo apt-get install -y ${missing[*]}" >&2
    exit 1
fi
