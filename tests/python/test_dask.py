"""kovral.dask against kovral-split: the same files, names and bytes from a
local cluster of two worker processes on the loopback address."""

import json
import os
import re
import shutil
import subprocess
import sys

import distributed
import pytest

from kovral.dask import split_files

TOOL = os.environ["KOVRAL_SPLIT_EXE"]
# kovral-split's summary line; the counts must agree, the time and rate may not.
SUMMARY = re.compile(r"^(\d+ slaps? split, \d+ fingers? found, \d+ failures?(?:, \d+ skipped)?), [\d.]+ s"
                     r"(?:, [\d.]+ slaps/s)?$")
# Both hold it while they write; it tells which run holds it, so its bytes differ.
LOCK_FILE = ".kovral-split.lock"


@pytest.fixture(scope="module")
def client():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, host="127.0.0.1",
                                  dashboard_address=None) as cluster, \
            distributed.Client(cluster, timeout=60) as c:
        c.wait_for_workers(2, timeout=60)
        yield c


@pytest.fixture(scope="module")
def slaps(tmp_path_factory):
    """A folder of slaps in every format, one in a subfolder, and one corrupt file."""
    root = tmp_path_factory.mktemp("slaps")
    make = os.environ["KOVRAL_MAKE_SAMPLE_EXE"]
    # (file, generator arguments)
    for name, args in [("right.png", []),
                       ("left.pgm", ["--left", "--tilt", "12"]),
                       ("small.bmp", ["--width", "800", "--height", "600", "--seed", "3"]),
                       ("photo.jpg", ["--tilt", "-8", "--seed", "5"]),
                       ("visit2/right.png", ["--seed", "7"])]:
        path = root / "in" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        subprocess.run([make, str(path), *args], check=True)
    whole = (root / "in" / "right.png").read_bytes()
    (root / "in" / "broken.png").write_bytes(whole[:len(whole) // 3])
    return root


def tree(folder):
    """Relative path -> bytes of every file under folder but the lock file."""
    files = {}
    for dirpath, _, names in os.walk(folder):
        for name in names:
            if name == LOCK_FILE:
                continue
            path = os.path.join(dirpath, name)
            files[os.path.relpath(path, folder)] = open(path, "rb").read()
    return files


def run_tool(out, inputs, *options):
    return subprocess.run([TOOL, "-q", "-o", str(out), *options, *map(str, inputs)], capture_output=True,
                          text=True, timeout=120)


def reasons(stderr, records):
    """{input: reason} of the error lines that kovral-split's progress display
    wrote for the inputs of records."""
    found = {}
    for line in stderr.splitlines():
        for r in records:
            prefix = f"kovral-split: {r['input']}: "
            if line.startswith(prefix):
                found[r["input"]] = line[len(prefix):]
    return found


# (kovral-split options, split_files arguments): each row one way of writing.
OPTIONS = [
    ([], {}),
    (["--format", "png", "--overlay", "--finger-size", "256x360"],
     {"format": "png", "overlay": True, "finger_size": (256, 360)}),
]


@pytest.mark.parametrize("tool_options,arguments", OPTIONS)
def test_same_bytes_as_the_tool(client, slaps, tmp_path, tool_options, arguments):
    inputs = [slaps / "in"]
    tool = run_tool(tmp_path / "tool", inputs, "-r", *tool_options)
    assert tool.returncode == 1, tool.stderr

    records = split_files(inputs, tmp_path / "dask", client, recursive=True, **arguments)

    expected = tree(tmp_path / "tool")
    assert tree(tmp_path / "dask") == expected
    assert "visit2/right.json" in expected and "right_finger4." + arguments.get("format", "bmp") in expected
    assert [r["ok"] for r in records] == [r["input"] != str(slaps / "in" / "broken.png") for r in records]
    failures = {r["input"]: r["error"] for r in records if not r["ok"]}
    assert failures == reasons(tool.stderr, records)
    for r in records:
        if r["ok"]:
            assert r["fingers"] == len(r["summary"]["fingers"]) == r["summary"]["count"]
            assert r["summary"] == json.loads(expected[r["name"] + ".json"])


def test_a_rerun_never_replaces_outputs_unless_forced(client, slaps, tmp_path):
    inputs = [slaps / "in" / "right.png", slaps / "in" / "left.pgm"]
    first = split_files(inputs, tmp_path, client)
    assert all(r["ok"] for r in first)
    before = tree(tmp_path)
    (tmp_path / "right_finger1.bmp").write_bytes(b"changed")

    again = split_files(inputs, tmp_path, client)
    assert [r["ok"] for r in again] == [False, False]
    assert all("exists" in r["error"] for r in again)
    assert (tmp_path / "right_finger1.bmp").read_bytes() == b"changed"

    forced = split_files(inputs, tmp_path, client, force=True)
    assert all(r["ok"] for r in forced)
    assert tree(tmp_path) == before


def test_a_resumed_batch_skips_what_is_there(client, slaps, tmp_path):
    inputs = [slaps / "in" / "right.png", slaps / "in" / "left.pgm"]
    assert run_tool(tmp_path, inputs[:1]).returncode == 0
    before = tree(tmp_path)
    records = split_files(inputs, tmp_path, client, skip_existing=True)
    # The slap the tool wrote is left as it is, the other one written.
    assert [(r["ok"], r["skipped"]) for r in records] == [(True, True), (True, False)]
    assert records[0]["summary"]["count"] == 4
    after = tree(tmp_path)
    assert {k: v for k, v in after.items() if k in before} == before and len(after) > len(before)


def test_one_batch_at_a_time_per_folder(client, slaps, tmp_path):
    from kovral import _kovral

    inputs = [slaps / "in" / "right.png"]
    held = _kovral._lock_output_folder(str(tmp_path))
    try:
        with pytest.raises(ValueError, match="in use by another"):
            split_files(inputs, tmp_path, client)
        tool = run_tool(tmp_path, inputs)
        assert tool.returncode == 1 and "in use by another" in tool.stderr
    finally:
        os.close(held)
    # Released by the batch as well as by its holder: the next run takes it.
    assert split_files(inputs, tmp_path, client)[0]["ok"]
    assert split_files(inputs, tmp_path, client, force=True)[0]["ok"]


def test_threads_split_at_once_as_the_tool_does(slaps, tmp_path):
    from concurrent.futures import ThreadPoolExecutor

    from kovral import _batch
    from kovral.dask import _options

    # Two threads, each with slaps of other sizes and formats after its first.
    names = ["right.png", "small.bmp", "left.pgm", "photo.jpg"]
    options = _options(tmp_path / "threads", None, "bmp", False, False, None, False, False)
    with ThreadPoolExecutor(2) as pool:
        records = list(pool.map(lambda n: _batch.split_one(str(slaps / "in" / n), n.split(".")[0], options), names))
    assert all(r["ok"] for r in records), records
    assert run_tool(tmp_path / "tool", [slaps / "in" / n for n in names]).returncode == 0
    assert tree(tmp_path / "threads") == tree(tmp_path / "tool")


def test_inputs_that_give_nothing_are_records(client, tmp_path):
    (tmp_path / "empty").mkdir()
    inputs = [tmp_path / "empty", tmp_path / "missing.png"]
    records = split_files(inputs, tmp_path / "out", client)
    assert [(r["ok"], r["fingers"]) for r in records] == [(False, 0), (False, 0)]
    tool = run_tool(tmp_path / "tool", inputs)
    assert {r["input"]: r["error"] for r in records} == reasons(tool.stderr, records)


def summary_line(stdout, program):
    line = stdout.strip().splitlines()[-1]
    assert line.startswith(program + ": ")
    match = SUMMARY.match(line[len(program) + 2:])
    assert match, line
    return match.group(1)


@pytest.mark.parametrize("cluster", ["scheduler", "local"])
def test_command_line(client, slaps, tmp_path, cluster):
    inputs = [slaps / "in"]
    tool = run_tool(tmp_path / "tool", inputs, "-r")
    where = ["--scheduler", client.scheduler.address] if cluster == "scheduler" else ["--workers", "1"]
    run = subprocess.run([sys.executable, "-m", "kovral.dask", *where, "-q", "-r", "-o", str(tmp_path / "dask"),
                          *map(str, inputs)], capture_output=True, text=True, timeout=180)
    assert run.returncode == 1, run.stderr
    assert summary_line(run.stdout, "kovral.dask") == summary_line(tool.stdout, "kovral-split")
    # The one corrupt file, each program naming itself.
    assert run.stderr.count("kovral.dask: ") == tool.stderr.count("kovral-split: ") == 1
    assert "kovral-split" not in run.stderr
    assert tree(tmp_path / "dask") == tree(tmp_path / "tool")


def test_command_line_usage_errors(tmp_path):
    run = subprocess.run([sys.executable, "-m", "kovral.dask", "--finger-size", "big", str(tmp_path)],
                         capture_output=True, text=True, timeout=60)
    assert run.returncode == 2 and "'big' is not a size WxH" in run.stderr
