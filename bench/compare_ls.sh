#!/usr/bin/env bash
# Whole processes listing the same generated tree of 100,000 entries: vexafs ls --recursive
# (without and with IRIs) against find -printf '%p\n' and Python's os.walk, each printing
# one path per line to /dev/null. Best of RUNS wall-clock times, after a warm-up run of each.
# Goal: vexafs ls --recursive faster than os.walk; the script exits 1 when it is not met.
#
#   bench/compare_ls.sh BUILD_DIR [RUNS]
set -euo pipefail
build=${1:?usage: compare_ls.sh BUILD_DIR [RUNS]}
runs=${2:-5}
vexafs="$build/tools/vexafs/vexafs"
work=$(mktemp -d "${TMPDIR:-/tmp}/vexa-compare-XXXXXX")
trap 'rm -rf "$work"' EXIT
tree="$work/tree"
"$build/bench/bench_listing" --make-tree "$tree"

walk='import os, sys
out = sys.stdout
for root, dirs, files in os.walk(sys.argv[1]):
    for name in dirs + files:
        out.write(os.path.join(root, name) + "\n")'

declare -A command=(
    [vexafs]="$vexafs ls --recursive '$tree/*'"
    [vexafs_iri]="$vexafs ls --recursive --iri '$tree/*'"
    [find]="find '$tree' -mindepth 1 -printf '%p\n'"
    [os.walk]="python3 -c '$walk' '$tree'"
)
order=(vexafs vexafs_iri find os.walk)

declare -A best lines
for name in "${order[@]}"; do
    lines[$name]=$(eval "${command[$name]}" | wc -l)
    best[$name]=
    for ((i = 0; i < runs; ++i)); do
        start=$(date +%s%N)
        eval "${command[$name]}" >/dev/null
        ms=$((($(date +%s%N) - start) / 1000000))
        if [[ -z ${best[$name]} || $ms -lt ${best[$name]} ]]; then best[$name]=$ms; fi
    done
done

printf '%-12s %10s %10s\n' command best_ms lines
for name in "${order[@]}"; do
    printf '%-12s %10s %10s\n' "$name" "${best[$name]}" "${lines[$name]}"
done
if ((best[vexafs] < best[os.walk])); then met=yes; else met=no; fi
echo "vexafs ls --recursive faster than os.walk: $met"
[[ $met == yes ]]
