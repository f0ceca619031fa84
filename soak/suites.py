#!/usr/bin/env python3
"""Runs the test suites under the thread sanitizer, a part after the other, in ever new orders.

    suites.py SECONDS SEED
"""

import os
import random
import re
import subprocess
import sys
import time

PARTS = 24


def run_part(chance):
    """How many tests ran; what a failing part printed is printed."""
    suite = chance.choice(["qdcore_tests"] * 3 + ["qdcore_seam_tests"])  # as their lengths
    environment = dict(os.environ, TSAN_OPTIONS="halt_on_error=1", GTEST_TOTAL_SHARDS=str(PARTS),
                       GTEST_SHARD_INDEX=str(chance.randrange(PARTS)))
    done = subprocess.run([f"build/linux-tsan/bin/{suite}", "--gtest_shuffle",
                           f"--gtest_random_seed={chance.randrange(1, 100_000)}"],
                          env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, errors="replace")
    ran = re.findall(r"^\[=+\] (\d+) tests? from .* ran\.", done.stdout, re.MULTILINE)
    if done.returncode != 0 or not ran:
        print(done.stdout)
        sys.exit(1)
    return int(ran[0])


def main():
    end = time.monotonic() + float(sys.argv[1])
    chance = random.Random(int(sys.argv[2]))
    count = run_part(chance)
    while time.monotonic() < end:
        count += run_part(chance)
    print(f"{count} tests")


if __name__ == "__main__":
    main()
