#!/usr/bin/env bash
# Builds the library and tests/platforms/platform_host for each target we
# claim, runs the host (natively, under qemu-user or under wine), and compares
# its output (every bit of every layout of one corpus) with the native build's,
# and runs the library's tests on 64-bit ARM under qemu.
#
#   scripts/test-platforms.sh [build-dir]      (default build/platforms)
#
# A target whose compiler or runner is missing is reported SKIPPED with the
# reason, never as passed. The exit status is non-zero when a target that ran
# differs from the native output or fails to build or run.
set -uo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:-$root/build/platforms}
jobs=${JOBS:-2}
mkdir -p "$out"
out=$(cd "$out" && pwd)
failures=0
summary=()

note() { summary+=("$1"); echo "$1"; }

# The corpus: the sample networks as edge lists, next to the host's own graphs.
corpus="$out/corpus"
rm -rf "$corpus" && mkdir -p "$corpus"
cp "$root/examples/services.edgelist" "$corpus/"
python3 - "$root/examples" "$corpus" <<'EOF'
import json, pathlib, sys
import xml.etree.ElementTree as ET
src, dst = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
for path in sorted(src.glob("*.json")):
    data = json.loads(path.read_text())
    lines = [f"{l['source']} {l['target']}" for l in data.get("links", data.get("edges", []))]
    (dst / (path.stem + ".edgelist")).write_text("\n".join(lines) + "\n")
ns = "{http://graphml.graphdrawing.org/xmlns}"
for path in sorted(src.glob("*.graphml")):
    edges = ET.parse(path).getroot().iter(ns + "edge")
    lines = [f"{e.get('source')} {e.get('target')}" for e in edges]
    (dst / (path.stem + ".edgelist")).write_text("\n".join(lines) + "\n")
# Generated graphs: a tree, a sparse graph of several components, a grid, a
# star, fixed nodes at given places (k/4: exact in any decimal reader), and one
# large enough for the force layout's threads and vector walk.
state = 35
def rand(bound):
    global state
    state = (state * 6364136223846793005 + 1442695040888963407) % 2**64
    return (state >> 33) % bound
def write(name, edges, extra=()):
    lines = list(extra) + [" ".join(map(str, e)) for e in edges]
    (dst / (name + ".graph")).write_text("\n".join(lines) + "\n")
write("tree", [(1 + rand(v - 1), v, 20 + rand(60)) for v in range(2, 71)])
write("sparse", [(a, b, 40) for a, b in ((1 + rand(120), 1 + rand(120)) for _ in range(150)) if a != b])
write("grid", [(v, v + 1, 30) for v in range(1, 65) if v % 8] + [(v, v + 8, 30) for v in range(1, 57)])
write("star", [(1, v, 25 + v) for v in range(2, 42)])
nodes = [f"@node {v} {rand(2000) / 4} {rand(2000) / 4} {int(v % 9 == 1)}" for v in range(1, 51)]
write("pinned", [(1 + rand(v - 1), v, 40) for v in range(2, 51)], nodes)
edges = [(1 + rand(v - 1), v, 40) for v in range(2, 1301)]
write("large", edges + [(1 + rand(1300), 1 + rand(1300), 40) for _ in range(200)],
      ["@threads 2", "@force-only"])
EOF
corpus_files=("$corpus"/*.edgelist "$corpus"/*.graph)

# configure_build NAME [cmake args...]: the library and the host, Release
# (everything configured, when the arguments turn the tests on).
configure_build() {
    local name=$1
    shift
    local dir="$out/$name" target=platform_host
    [[ " $* " == *" -DNETLOOM_BUILD_TESTS=ON "* ]] && target=all
    if ! cmake -S "$root" -B "$dir" -DCMAKE_BUILD_TYPE=Release -DNETLOOM_BUILD_TESTS=OFF \
            -DNETLOOM_BUILD_TOOLS=OFF -DNETLOOM_BUILD_EXAMPLES=OFF \
            -DNETLOOM_BUILD_PLATFORM_HOST=ON "$@" >"$dir.configure.log" 2>&1 ||
       ! cmake --build "$dir" --target $target -j "$jobs" >"$dir.build.log" 2>&1; then
        note "FAILED: $name: build (see $dir.configure.log and $dir.build.log)"
        failures=$((failures + 1))
        return 1
    fi
}

# compare NAME FILE: the target's output against the native one.
compare() {
    local name=$1 file=$2
    if cmp -s "$out/native.txt" "$file"; then
        note "PASSED: $name: $(grep -c '^graph ' "$file") layouts, every bit as native"
    else
        local total differ
        total=$(grep -c '^graph ' "$out/native.txt")
        differ=$(diff <(awk '/^graph /{g=$0} {print g "\t" $0}' "$out/native.txt") \
                      <(awk '/^graph /{g=$0} {print g "\t" $0}' "$file") |
                 grep '^[<>]' | cut -f1 | cut -c3- | sort -u | wc -l)
        note "FAILED: $name: $differ of $total layouts differ from native ($file)"
        failures=$((failures + 1))
    fi
}

# run_target NAME RUNNER... : runs the built host with the corpus.
run_target() {
    local name=$1
    shift
    local exe="$out/$name/tests/platforms/platform_host"
    [ -f "$exe.exe" ] && exe="$exe.exe"
    if ! "$@" "$exe" "${corpus_files[@]}" 2>"$out/$name.run.log" | tr -d '\r' >"$out/$name.txt"; then
        note "FAILED: $name: the host did not run (see $out/$name.run.log)"
        failures=$((failures + 1))
        return 1
    fi
    compare "$name" "$out/$name.txt"
    # x86: the force layout's group walk capped at each narrower width too.
    case $name in
    linux-i686 | windows-*)
        for cap in 1 2 4; do
            NETLOOM_LANES=$cap "$@" "$exe" "${corpus_files[@]}" 2>>"$out/$name.run.log" |
                tr -d '\r' >"$out/$name.lanes$cap.txt"
            compare "$name, walk of at most $cap lanes" "$out/$name.lanes$cap.txt"
        done
        ;;
    esac
}

have() { command -v "$1" >/dev/null 2>&1; }

# Native: the reference.
if ! configure_build native; then
    exit 1
fi
"$out/native/tests/platforms/platform_host" "${corpus_files[@]}" >"$out/native.txt" || exit 1
note "native: $(grep -c '^graph ' "$out/native.txt") layouts of ${#corpus_files[@]} graphs"

# 32-bit x86 Linux, configured like a -m32 build: a 32-bit compiler while the
# build machine's processor name still says x86_64. Its default is x87
# arithmetic; the build must switch to SSE2 by itself. The host runs natively
# through the cross root's loader where the kernel runs 32-bit programs.
if ! have i686-linux-gnu-g++; then
    note "SKIPPED: linux-i686 because i686-linux-gnu-g++ is not installed (apt-get install g++-i686-linux-gnu)"
elif configure_build linux-i686 -DCMAKE_CXX_COMPILER=i686-linux-gnu-g++; then
    loader=/usr/i686-linux-gnu/lib/ld-linux.so.2
    if "$loader" --help >/dev/null 2>&1; then
        run_target linux-i686 "$loader" --library-path "/usr/i686-linux-gnu/lib:$out/linux-i686/src"
    elif have qemu-i386; then
        run_target linux-i686 qemu-i386 -L /usr/i686-linux-gnu
    else
        note "SKIPPED: linux-i686 run because this kernel runs no 32-bit programs and qemu-i386 is missing"
    fi
fi

# 64-bit ARM Linux under qemu-user, with the library's tests (GoogleTest built
# for it from Debian's sources); install_consumer builds a project with the
# build machine's compiler, so it is no test of the target and is left out.
toolchain="$root/cmake/toolchain-linux-aarch64.cmake"
if ! have aarch64-linux-gnu-g++ || ! have qemu-aarch64; then
    note "SKIPPED: linux-aarch64 because aarch64-linux-gnu-g++ or qemu-aarch64 is not installed (apt-get install g++-aarch64-linux-gnu qemu-user)"
else
    gtest="$out/aarch64-gtest"
    tests=()
    if [ -d /usr/src/googletest ] &&
       cmake -S /usr/src/googletest -B "$gtest/build" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
             -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$gtest/prefix" >"$gtest.log" 2>&1 &&
       cmake --build "$gtest/build" -j "$jobs" >>"$gtest.log" 2>&1 &&
       cmake --install "$gtest/build" >>"$gtest.log" 2>&1; then
        tests=(-DNETLOOM_BUILD_TESTS=ON -DGTest_DIR="$gtest/prefix/lib/cmake/GTest")
    else
        note "SKIPPED: linux-aarch64 ctest because GoogleTest could not be built for it from /usr/src/googletest (apt-get install googletest; see $gtest.log)"
    fi
    if configure_build linux-aarch64 -DCMAKE_TOOLCHAIN_FILE="$toolchain" "${tests[@]}"; then
        run_target linux-aarch64 qemu-aarch64 -L /usr/aarch64-linux-gnu
        if [ ${#tests[@]} -gt 0 ]; then
            if (cd "$out/linux-aarch64" && ctest -j "$jobs" -E install_consumer \
                    --output-on-failure >"$out/linux-aarch64.ctest.log" 2>&1); then
                note "PASSED: linux-aarch64 ctest under qemu: $(grep -o '[0-9]* tests failed out of [0-9]*' "$out/linux-aarch64.ctest.log" | grep -o '[0-9]*$') tests"
            else
                note "FAILED: linux-aarch64 ctest under qemu (see $out/linux-aarch64.ctest.log)"
                failures=$((failures + 1))
            fi
        fi
    fi
fi

# Windows: the DLL with MinGW-w64 (win32 thread model), run under wine.
export WINEPREFIX="$out/wine" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
for arch in x86_64 i686; do
    name=windows-$arch
    if ! have $arch-w64-mingw32-g++; then
        note "SKIPPED: $name because $arch-w64-mingw32-g++ is not installed (apt-get install g++-mingw-w64-${arch//_/-})"
        continue
    fi
    configure_build $name -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-mingw-$arch.cmake" || continue
    runtime=$(dirname "$($arch-w64-mingw32-g++ -print-libgcc-file-name)")
    export WINEPATH="$(winepath -w "$runtime" 2>/dev/null);$(winepath -w "$out/$name/src" 2>/dev/null)"
    if ! have wine; then
        note "SKIPPED: $name run because wine is not installed (apt-get install wine wine64); the DLL was built"
    elif [ $arch = i686 ] && ! dpkg-query -W -f='${Status}' wine32:i386 2>/dev/null | grep -q "ok installed"; then
        note "SKIPPED: $name run because wine cannot run 32-bit programs here (wine32 needs the i386 architecture: dpkg --add-architecture i386; apt-get install wine32:i386); the DLL and host were built"
    else
        run_target $name wine
    fi
done

echo
echo "Platforms:"
printf '  %s\n' "${summary[@]}"
exit $((failures > 0))
