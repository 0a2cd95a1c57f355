#!/usr/bin/env python3
"""Speed of the Python package against the C library and kovral-split.

    .venv/bin/python bench/python_bench.py [--build build] [--slaps 200] [--only overhead|dask]

overhead: a 1600 x 1000 four-finger slap split by kovral.Splitter.split and
    kovral.split, against the same kovral_split calls in a C++ loop; the
    extra time per call in percent (best of several interleaved rounds).
dask: a batch of generated slaps (PNG) split by kovral.dask.split_files on a
    local cluster of two single-threaded workers, against kovral-split
    --jobs 2 on the same files; throughput ratio (cluster start-up not
    counted, shown apart).
"""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time

from tool_bench import make_slaps


def setup_paths(build):
    sys.path[:0] = [os.path.join(build, "python"), os.path.join(build, "python", "tests")]


def overhead(rounds=7, repeats=60):
    import _kovral_testing as reference
    import kovral

    image = reference.four_finger_hand(1600, 1000)
    splitter = kovral.Splitter()
    best = {"C kovral_split": float("inf"), "kovral.Splitter.split": float("inf"), "kovral.split": float("inf")}
    for _ in range(rounds):
        best["C kovral_split"] = min(best["C kovral_split"], reference.time_c_split(image, 320, 480, repeats))
        for name, call in (("kovral.Splitter.split", splitter.split), ("kovral.split", kovral.split)):
            start = time.perf_counter()
            for _ in range(repeats):
                call(image)
            best[name] = min(best[name], (time.perf_counter() - start) / repeats)
    c = best["C kovral_split"]
    for name, seconds in best.items():
        extra = "" if name.startswith("C ") else f"  {100 * (seconds / c - 1):+.1f} %"
        print(f"{name:24s} {seconds * 1e3:7.3f} ms{extra}")


def dask_batch(build, count):
    import distributed

    from kovral.dask import split_files

    work = tempfile.mkdtemp(prefix="kovral-bench-")
    try:
        slaps = os.path.join(work, "in")
        make_slaps(build, slaps, count, "png")
        tool = os.path.join(build, "tools", "kovral-split")

        def run_tool():
            out = os.path.join(work, "tool")
            shutil.rmtree(out, ignore_errors=True)
            start = time.perf_counter()
            subprocess.run([tool, "-q", "--jobs", "2", "-o", out, slaps], check=True, stdout=subprocess.DEVNULL)
            return time.perf_counter() - start

        start = time.perf_counter()
        with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, host="127.0.0.1",
                                      dashboard_address=None) as cluster, distributed.Client(cluster) as client:
            client.wait_for_workers(2)
            started = time.perf_counter() - start

            def run_dask():
                out = os.path.join(work, "dask")
                shutil.rmtree(out, ignore_errors=True)
                start = time.perf_counter()
                records = split_files([slaps], out, client)
                assert all(r["ok"] for r in records)
                return time.perf_counter() - start

            run_dask()   # workers import the package and warm up
            tool_s = min(run_tool() for _ in range(3))
            dask_s = min(run_dask() for _ in range(3))
        print(f"{count} slaps, 1600 x 1000 PNG; cluster start-up {started:.1f} s (not counted)")
        print(f"kovral-split --jobs 2      {tool_s:6.2f} s  {count / tool_s:6.1f} slaps/s")
        print(f"split_files, 2 workers     {dask_s:6.2f} s  {count / dask_s:6.1f} slaps/s  "
              f"{tool_s / dask_s:.2f} x kovral-split")
    finally:
        shutil.rmtree(work, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build", default="build")
    parser.add_argument("--slaps", type=int, default=200)
    parser.add_argument("--only", choices=["overhead", "dask"])
    args = parser.parse_args()
    build = os.path.abspath(args.build)
    setup_paths(build)
    if args.only != "dask":
        overhead()
    if args.only != "overhead":
        dask_batch(build, args.slaps)


if __name__ == "__main__":
    main()
