#!/usr/bin/env python3
"""Times an earlier commit against the current tree with the same benchmarks.

    bench/compare.py [COMMIT] [--rounds N] [--filter REGEX] [--min-time S] [--callgrind] [--json FILE]

Builds, in Release, the library of COMMIT (default cf77eb2) in a temporary
directory and the current tree's library into build-compare/, and both times
the current tree's benchmark program (bench/split_bench.cpp, the same slaps
from the same generator) linked against each. The two programs then run in
turns, ROUNDS times each, alternating which goes first; the table shows the
median CPU time per benchmark and the ratio current / earlier (below 1:
faster now). With --callgrind it also counts the instructions of one split of
the tilted slap under valgrind, whole and per stage (inclusive), for both.
Run it from anywhere inside the repository; it needs git, cmake, a compiler,
Google Benchmark and (for --callgrind) valgrind.
"""

import argparse
import json
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

STAGES = ["KOVRAL_DoSplit", "Directions", "FindFpPos", "GetFpPos", "GetRoatedFp", "FindTheFpGrad",
          "GetQuality", "FinishFingers", "BlockDrct1"]


def run(cmd, **kw):
    return subprocess.run(cmd, check=True, **kw)


def cmake_build(src, build, extra, target=None):
    run(["cmake", "-S", src, "-B", build, "-DCMAKE_BUILD_TYPE=Release", "-DKOVRAL_BUILD_TESTS=OFF",
         "-DKOVRAL_BUILD_TOOLS=OFF", "-DKOVRAL_BUILD_EXAMPLES=OFF"] + extra, stdout=subprocess.DEVNULL)
    cmd = ["nice", "cmake", "--build", build, "-j2"]
    if target:
        cmd += ["--target", target]
    run(cmd, stdout=subprocess.DEVNULL)


def find_library(build):
    for root, _, files in os.walk(build):
        for f in sorted(files):
            if re.fullmatch(r"libkovral\.so\.\d+\.\d+\.\d+", f):
                return os.path.join(root, f)
    sys.exit(f"no libkovral.so under {build}")


def times(program, args):
    """Median-ready figures of one run: name -> CPU time in ms."""
    out = subprocess.run([program, "--benchmark_format=json"] + args, check=True, capture_output=True, text=True)
    result = {}
    for b in json.loads(out.stdout)["benchmarks"]:
        scale = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}[b["time_unit"]]
        result[b["name"]] = b["cpu_time"] * scale
    return result


def instructions(program):
    """Inclusive instruction counts of one split of the tilted slap, per stage."""
    with tempfile.TemporaryDirectory() as tmp:
        out = os.path.join(tmp, "callgrind.out")
        run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={out}", "--toggle-collect=KOVRAL_DoSplit",
             program, "--benchmark_filter=BM_Split/slap:0$", "--benchmark_min_time=0"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        text = subprocess.run(["callgrind_annotate", "--inclusive=yes", "--threshold=100", out], check=True,
                              capture_output=True, text=True).stdout
    counts = {}
    for line in text.splitlines():
        m = re.match(r"\s*([\d,]+) \(\s*[\d.]+%\)\s+[^:]*:(.+?) \[", line)
        if not m:
            continue
        name = m.group(2).replace("(anonymous namespace)::", "").split("(")[0].split("::")[-1]
        if name in STAGES and name not in counts:
            counts[name] = int(m.group(1).replace(",", ""))
    return counts


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("commit", nargs="?", default="cf77eb2")
    ap.add_argument("--rounds", type=int, default=5)
    ap.add_argument("--filter", default=".")
    ap.add_argument("--min-time", default="0.3")
    ap.add_argument("--callgrind", action="store_true")
    ap.add_argument("--json", help="write the medians and ratios here")
    ap.add_argument("--keep", help="build the earlier commit here and keep it (reused by later runs for the same commit)")
    a = ap.parse_args()

    top = subprocess.run(["git", "rev-parse", "--show-toplevel"], check=True, capture_output=True,
                         text=True).stdout.strip()
    work = a.keep or tempfile.mkdtemp(prefix="kovral-compare-")
    try:
        old_src = os.path.join(work, "src")
        commit = subprocess.run(["git", "-C", top, "rev-parse", a.commit], check=True, capture_output=True,
                                text=True).stdout.strip()
        stamp = os.path.join(work, "commit")
        if os.path.isdir(old_src) and open(stamp).read() != commit:
            sys.exit(f"{work} holds another commit; give --keep a fresh directory")
        if not os.path.isdir(old_src):
            os.makedirs(old_src)
            archive = subprocess.run(["git", "-C", top, "archive", commit], check=True, capture_output=True).stdout
            run(["tar", "-x", "-C", old_src], input=archive)
            with open(stamp, "w") as f:
                f.write(commit)
        print(f"building {a.commit} and the current tree (Release) ...", file=sys.stderr)
        cmake_build(old_src, os.path.join(work, "lib"), ["-DKOVRAL_BUILD_BENCH=OFF"], "kovral")
        old_lib = find_library(os.path.join(work, "lib"))
        cmake_build(top, os.path.join(work, "bench-old"), [f"-DKOVRAL_BENCH_LIBRARY={old_lib}"], "kovral_bench")
        cmake_build(top, os.path.join(top, "build-compare"), [], "kovral_bench")
        programs = {"old": os.path.join(work, "bench-old", "bench", "kovral_bench"),
                    "new": os.path.join(top, "build-compare", "bench", "kovral_bench")}

        args = [f"--benchmark_filter={a.filter}", f"--benchmark_min_time={a.min_time}"]
        samples = {"old": {}, "new": {}}
        for r in range(a.rounds):
            for side in (("old", "new") if r % 2 == 0 else ("new", "old")):
                for name, t in times(programs[side], args).items():
                    samples[side].setdefault(name, []).append(t)
            print(f"round {r + 1}/{a.rounds} done", file=sys.stderr)

        rows = []
        print(f"\n{'benchmark':<24}{a.commit + ' ms':>14}{'current ms':>14}{'ratio':>8}")
        for name in samples["old"]:
            old = statistics.median(samples["old"][name])
            new = statistics.median(samples["new"].get(name, [float("nan")]))
            rows.append({"name": name, "old_ms": old, "new_ms": new, "ratio": new / old})
            print(f"{name:<24}{old:>14.3f}{new:>14.3f}{new / old:>8.2f}")

        report = {"commit": a.commit, "rounds": a.rounds, "cpu_time": rows}
        if a.callgrind:
            counts = {side: instructions(p) for side, p in programs.items()}
            print(f"\n{'one tilted split, Ir':<24}{a.commit:>14}{'current':>14}{'ratio':>8}")
            report["instructions"] = []
            for name in STAGES:
                old = counts["old"].get(name)
                new = counts["new"].get(name, 0)
                if not old:
                    continue
                report["instructions"].append({"name": name, "old": old, "new": new, "ratio": new / old})
                print(f"{name:<24}{old:>14,}{new:>14,}{new / old:>8.2f}")
        if a.json:
            with open(a.json, "w") as f:
                json.dump(report, f, indent=1)
    finally:
        if not a.keep:
            shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
