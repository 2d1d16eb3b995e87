#!/usr/bin/env bash
# Whole processes listing the same generated tree of 100,000 entries: vexafs ls --recursive
# (without and with IRIs) against find -printf '%p\n' and Python's os.walk, each printing
# one path per line to /dev/null. After a warm-up run of each, the commands take turns over
# RUNS rounds and each keeps its best wall-clock time, so that load from elsewhere on the
# machine falls on all of them alike.
# Goals: vexafs ls --recursive no slower than find, with --iri at most 1.5 times find, both
# faster than os.walk. The script exits 1 when one is not met, naming it.
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
done
for ((i = 0; i < runs; ++i)); do
    for name in "${order[@]}"; do
        start=$(date +%s%N)
        eval "${command[$name]}" >/dev/null
        ms=$((($(date +%s%N) - start) / 1000000))
        if [[ -z ${best[$name]} || $ms -lt ${best[$name]} ]]; then best[$name]=$ms; fi
    done
done

printf '%-12s %10s %10s %12s\n' command best_ms lines times_find
for name in "${order[@]}"; do
    printf '%-12s %10s %10s %12s\n' "$name" "${best[$name]}" "${lines[$name]}" \
        "$(awk -v a="${best[$name]}" -v b="${best[find]}" 'BEGIN { printf "%.2f", a / b }')"
done

# Each goal: a description, then a condition on the best times in milliseconds.
unmet=0
goal() {
    local met=yes
    awk -v a="$2" -v b="$3" -v k="$4" 'BEGIN { exit !(a > 0 && b > 0 && a <= k * b) }' || met=no
    echo "$1: $met"
    [[ $met == yes ]] || unmet=1
}
goal "vexafs ls --recursive no slower than find" "${best[vexafs]}" "${best[find]}" 1
goal "vexafs ls --recursive --iri at most 1.5 x find" "${best[vexafs_iri]}" "${best[find]}" 1.5
goal "vexafs ls --recursive faster than os.walk" "${best[vexafs]}" "$((best[os.walk] - 1))" 1
goal "vexafs ls --recursive --iri faster than os.walk" "${best[vexafs_iri]}" "$((best[os.walk] - 1))" 1
exit $unmet
