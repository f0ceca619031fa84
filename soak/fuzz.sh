#!/usr/bin/env bash
# fuzz.sh TARGET SECONDS SEED SEEDS...: one run of a libFuzzer target on each core, as soak.py wants
# it, from the files of the folders SEEDS on. Finds stay in the corpus, which all of them share.
set -euo pipefail
cd "$(dirname "$0")/.."
target=$1 seconds=$2 seed=$3
shift 3
found=build/linux-fuzz/found/$target
mkdir -p "$found"
outputs=$(mktemp -d)
trap 'rm -rf "$outputs"' EXIT
# What a run frees is far less than the quarantine, small as it is. Of where blocks came from little is
# remembered, but two frames: of a block of which it knows no more than `malloc`, the leak sanitizer takes
# it that it is not lost. What is found is run again with the defaults.
export ASAN_OPTIONS=malloc_context_size=2:quarantine_size_mb=1:thread_local_quarantine_size_kb=64
# Short files try most in a second; each fourth run has long ones, and no database is short. The
# schedule by rare features takes a third of the time, in a run of a minute.
longest=$((seed % 4 == 0 ? 4096 : 400))
[ "$target" != registry ] || longest=4096
pids=()
for ((core = 0; core < $(nproc); ++core)); do
    "build/linux-fuzz/bin/${target}_fuzz" -max_total_time="$seconds" -seed=$((seed * 64 + core)) \
        -max_len="$longest" -entropic=0 -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$found/" "$found" "$@" > "$outputs/$core" 2>&1 &
    pids+=($!)
done
for core in "${!pids[@]}"; do
    if ! wait "${pids[$core]}"; then
        cat "$outputs/$core"
        find "$found" -name '*-*' -exec env -u ASAN_OPTIONS "build/linux-fuzz/bin/${target}_fuzz" {} \; 2>&1
        exit 1
    fi
done
awk '/^stat::number_of_executed_units:/ { runs += $2 } END { print runs " runs" }' "$outputs"/*
