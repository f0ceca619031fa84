#!/usr/bin/env bash
# damage.sh TARGET SECONDS SEED FILES...: a fuzz target reads damaged copies of files, a process on each
# core, as soak.py wants it. See fuzz/ReplayMain.cpp.
set -euo pipefail
cd "$(dirname "$0")/.."
target=$1 seconds=$2 seed=$3
shift 3
outputs=$(mktemp -d)
trap 'rm -rf "$outputs"' EXIT
# What a read frees is far less than the quarantine, small as it is.
export ASAN_OPTIONS=quarantine_size_mb=1:thread_local_quarantine_size_kb=64
cores=$(nproc)
pids=()
for ((core = 0; core < cores; ++core)); do
    "build/linux-asan/bin/${target}_fuzz" --damage "$seconds" "$seed" "$core" "$cores" "$@" \
        > "$outputs/$core" 2>&1 &
    pids+=($!)
done
for core in "${!pids[@]}"; do
    if ! wait "${pids[$core]}"; then
        cat "$outputs/$core"
        exit 1
    fi
done
awk '/^[0-9]+ reads$/ { reads += $1 } END { print reads " reads" }' "$outputs"/*
