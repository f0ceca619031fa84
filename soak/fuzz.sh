#!/usr/bin/env bash
# fuzz.sh TARGET SECONDS SEED: one run of a libFuzzer target, as soak.py wants it. Finds stay in the corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
found=build/linux-fuzz/found/$1
mkdir -p "$found"
output=$(mktemp)
trap 'rm -f "$output"' EXIT
if ! "build/linux-fuzz/bin/$1_fuzz" -max_total_time="$2" -seed="$3" -timeout=10 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$found/" "$found" "fuzz/seeds/$1" > "$output" 2>&1; then
    cat "$output"
    exit 1
fi
sed -n 's/^stat::number_of_executed_units: *\([0-9]*\)$/\1 runs/p' "$output"
