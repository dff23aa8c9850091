#!/bin/bash
# Counts the instructions that a frame costs and fails if they are a tenth above the bound.
#
#   instructions.sh PROBE FOLDER
#
# The bounds are those of g++ 12 -O3, per set of kernels. Whoever makes frames cheaper lowers them.
set -euo pipefail
probe=$1
folder=$2
declare -A bound=([avx]=425 [sse]=775)

count() { # BLOCKS; prints the instructions of the whole run
    valgrind --tool=callgrind --callgrind-out-file="$folder/callgrind.out" "$probe" "$1" \
        2>&1 >"$folder/kernels.txt" | sed -n 's/^.*Collected : \([0-9]*\).*$/\1/p'
}

few=$(count 8)
many=$(count 40)
kernels=$(cat "$folder/kernels.txt")
frame=$(((many - few) / (32 * 512)))
echo "$frame instructions a frame with the kernels for $kernels, bound ${bound[$kernels]}"
[ "$frame" -le $((bound[$kernels] * 11 / 10)) ]
