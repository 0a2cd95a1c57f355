#!/usr/bin/env python3
"""kovral-split as a whole command against the one of another build.

    bench/tool_bench.py --build build-release --other OTHER_BUILD [--slaps 200] [--rounds 5]

Generates SLAPS slaps of 1600 x 1000 (PGM, hands tilted -15..15 degrees,
right and left) with the build's kovral_make_sample, then runs, in turns,
this build's kovral-split and OTHER_BUILD's (for example cf77eb2 built in
Release in a worktree of its own) ROUNDS times each, alternating which goes
first: the batch (BMP and JSON out, --jobs 2) and one slap. Prints the median
wall time of each, slaps per second, peak memory of the one-slap command
(/usr/bin/time's maximum resident set), and the ratios this / other, pair by
pair, as medians. Both write with --force into folders of their own.
"""

import argparse
import os
import shutil
import statistics
import subprocess
import tempfile
import time


def make_slaps(build, folder, count, extension="pgm"):
    """COUNT generated slaps of 1600 x 1000 in FOLDER, hands tilted -15..15 degrees, right and left."""
    make = os.path.join(build, "tools", "kovral_make_sample")
    os.makedirs(folder, exist_ok=True)
    procs = []
    for i in range(count):
        tilt = (i * 7) % 31 - 15
        procs.append(subprocess.Popen([make, os.path.join(folder, f"slap{i:04d}.{extension}"), "--seed", str(i + 1),
                                       "--tilt", str(tilt)] + (["--left"] if i % 2 else [])))
        if len(procs) >= 2:
            procs.pop(0).wait()
    for p in procs:
        p.wait()


def timed(command):
    """Wall seconds and peak resident kilobytes of one run."""
    start = time.perf_counter()
    run = subprocess.run(["/usr/bin/time", "-f", "%M", *command], stdout=subprocess.DEVNULL,
                         stderr=subprocess.PIPE, text=True, check=True)
    seconds = time.perf_counter() - start
    return seconds, int(run.stderr.strip().splitlines()[-1])


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build", default="build")
    parser.add_argument("--other", required=True, help="build folder of the kovral-split to compare with")
    parser.add_argument("--slaps", type=int, default=200)
    parser.add_argument("--rounds", type=int, default=5)
    args = parser.parse_args()
    tools = {"this": os.path.join(os.path.abspath(args.build), "tools", "kovral-split"),
             "other": os.path.join(os.path.abspath(args.other), "tools", "kovral-split")}
    work = tempfile.mkdtemp(prefix="kovral-tool-bench-")
    try:
        slaps = os.path.join(work, "in")
        make_slaps(args.build, slaps, args.slaps)
        one = os.path.join(slaps, "slap0001.pgm")
        figures = {(who, what): [] for who in tools for what in ("batch", "one", "one-kb")}
        for r in range(args.rounds + 1):   # the first round warms the caches and is not counted
            order = list(tools) if r % 2 else list(reversed(tools))
            for who in order:
                out = os.path.join(work, "out-" + who)
                batch, _ = timed([tools[who], "-q", "-f", "-j", "2", "-o", out, slaps])
                single, peak = timed([tools[who], "-q", "-f", "-o", out + "-one", one])
                if r > 0:
                    figures[who, "batch"].append(batch)
                    figures[who, "one"].append(single)
                    figures[who, "one-kb"].append(peak)
        for what, label in (("batch", f"batch of {args.slaps}, --jobs 2"), ("one", "one slap")):
            this, other = figures["this", what], figures["other", what]
            ratio = statistics.median(a / b for a, b in zip(this, other))
            extra = ""
            if what == "batch":
                extra = (f"  {args.slaps / statistics.median(this):6.1f} vs "
                         f"{args.slaps / statistics.median(other):6.1f} slaps/s")
            print(f"{label:24s} this {statistics.median(this):7.3f} s  other {statistics.median(other):7.3f} s  "
                  f"ratio {ratio:.3f}{extra}")
        print(f"{'one slap, peak memory':24s} this {statistics.median(figures['this', 'one-kb'])} kB  "
              f"other {statistics.median(figures['other', 'one-kb'])} kB")
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
