"""Batches of slap files on a Dask distributed cluster.

Every slap is read, split and written by a worker exactly as kovral-split
does it: the same output names, formats and bytes, all outputs of a slap
committed together or not at all, existing outputs never replaced without
``force``. Each slap gives one JSON-ready record; a slap that fails gives a
record with the reason, never a lost batch::

    from kovral.dask import split_files
    records = split_files(["scans/"], "fingers/", recursive=True)

From a shell (a local cluster without ``--scheduler``)::

    python3 -m kovral.dask --scheduler tcp://HOST:8786 -o fingers/ -r scans/

Paths are opened by the workers: on a cluster of several machines give paths
that every worker sees the same way (a shared file system).
"""

import argparse
import contextlib
import os
import sys

import distributed

from . import _batch, _kovral

__all__ = ["split_files", "main"]

# Slaps per task: enough to hide the scheduler's cost per task, few enough to
# keep every worker busy to the end of the batch.
_MAX_CHUNK = 8
_TASKS_PER_WORKER = 8


def _usable_cores():
    try:
        return len(os.sched_getaffinity(0))
    except AttributeError:
        return os.cpu_count() or 1


@contextlib.contextmanager
def _connect(client, workers):
    """The client to use: the caller's, one to a scheduler address, or a
    local cluster of single-threaded worker processes on the loopback address."""
    if isinstance(client, distributed.Client):
        yield client
    elif isinstance(client, str):
        with distributed.Client(client) as own:
            yield own
    elif client is None:
        with distributed.LocalCluster(n_workers=workers or _usable_cores(), threads_per_worker=1, processes=True,
                                      host="127.0.0.1", dashboard_address=None) as cluster, \
                distributed.Client(cluster) as own:
            yield own
    else:
        raise TypeError(f"client must be a distributed.Client, a scheduler address or None, not {type(client).__name__}")


def _options(out_dir, finger_size, format, overlay, force, size, skip_existing, sync):
    options = _kovral._BatchOptions()
    options.out_dir = os.fspath(out_dir)
    options.finger_size = None if finger_size is None else tuple(finger_size)
    options.format = format
    options.overlay = overlay
    options.force = force
    options.raw_size = None if size is None else tuple(size)
    options.skip_existing = skip_existing
    options.sync = sync
    _kovral._check_batch_options(options)
    return options


def split_files(paths, out_dir="kovral-out", client=None, finger_size=None, *, recursive=False, format="bmp",
                overlay=False, force=False, skip_existing=False, sync=False, size=None, workers=None,
                on_record=None):
    """Splits slap image files on a Dask cluster; returns one record per slap.

    paths: files and directories (a directory gives its image files; with
        ``recursive`` also those of its subdirectories, whose outputs go into
        the same subdirectories of out_dir), as kovral-split takes them.
    out_dir: where NAME_finger1..4.bmp (or .png), NAME.json and, with
        ``overlay``, NAME_overlay.png go.
    client: a ``distributed.Client``, a scheduler address such as
        "tcp://10.0.0.5:8786", or None for a local cluster of ``workers``
        single-threaded processes (default: one per core).
    finger_size: (width, height) of the finger images; default 320 x 480,
        reduced to a smaller image.
    size: (width, height) of headerless 8-bit input files.
    force: replace outputs that exist (otherwise such a slap fails).
    skip_existing: leave a slap whose outputs are all there (a resumed batch).
    sync: flush every output to the disk before it counts as written.
    on_record: called in this process with each record as it arrives.

    Records are dicts in input order: "input", "name", "ok", "fingers", and
    "message", "skipped" and "summary" (the contents of NAME.json) for a
    success or "error" (the reason) for a failure.

    While the batch runs it holds kovral-split's lock on out_dir: a batch of
    either kind into a folder in use is refused (ValueError).
    """
    if isinstance(paths, (str, os.PathLike)):
        paths = [paths]
    options = _options(out_dir, finger_size, format, overlay, force, size, skip_existing, sync)
    lock = _kovral._lock_output_folder(options.out_dir)
    try:
        return _split_locked(paths, options, client, recursive, workers, on_record)
    finally:
        os.close(lock)


def _split_locked(paths, options, client, recursive, workers, on_record):
    inputs = _kovral._collect_inputs([os.fspath(p) for p in paths], recursive)
    records = [None] * len(inputs)

    def deliver(index, record):
        records[index] = record
        if on_record is not None:
            on_record(record)

    runnable = []
    for index, (path, name, error) in enumerate(inputs):
        if error:
            deliver(index, _batch.failure(path, name, error))
        else:
            runnable.append(index)
    if not runnable:
        return records

    with _connect(client, workers) as c:
        worker_count = max(1, sum(c.nthreads().values()))
        chunk = max(1, min(_MAX_CHUNK, len(runnable) // (worker_count * _TASKS_PER_WORKER)))
        chunks = [runnable[i:i + chunk] for i in range(0, len(runnable), chunk)]
        jobs = [[inputs[i][:2] for i in indices] for indices in chunks]
        futures = c.map(_batch.split_many, jobs, options=options, pure=False)
        chunk_of = {f.key: indices for f, indices in zip(futures, chunks)}
        for future in distributed.as_completed(futures):
            indices = chunk_of[future.key]
            try:
                results = future.result()
            except Exception as e:  # a worker died or the task was lost: a record per slap
                results = [_batch.failure(inputs[i][0], inputs[i][1], f"{type(e).__name__}: {e}") for i in indices]
            for index, record in zip(indices, results):
                deliver(index, record)
            future.release()
    return records


def _pixel_size(text):
    size = _kovral._parse_pixel_size(text)
    if size is None:
        raise argparse.ArgumentTypeError(f"'{text}' is not a size WxH")
    return size


def main(argv=None):
    """python3 -m kovral.dask: kovral-split's batch on a Dask cluster."""
    parser = argparse.ArgumentParser(
        prog="python3 -m kovral.dask",
        description="Splits slap image files on a Dask cluster, writing what kovral-split writes.")
    parser.add_argument("inputs", nargs="+", metavar="INPUT", help="slap image files and directories")
    parser.add_argument("--scheduler", metavar="ADDRESS",
                        help="scheduler of a running cluster, e.g. tcp://HOST:8786 (default: a local cluster)")
    parser.add_argument("-w", "--workers", type=int, metavar="N",
                        help="worker processes of the local cluster (default: one per core)")
    parser.add_argument("-o", "--out-dir", default="kovral-out", help="output directory (default: kovral-out)")
    parser.add_argument("-r", "--recursive", action="store_true", help="descend into subdirectories")
    parser.add_argument("--format", choices=["bmp", "png"], default="bmp", help="finger image format")
    parser.add_argument("--finger-size", type=_pixel_size, metavar="WxH", help="finger image size (default 320x480)")
    parser.add_argument("--size", type=_pixel_size, metavar="WxH", help="size of headerless 8-bit files")
    parser.add_argument("--overlay", action="store_true", help="also write NAME_overlay.png")
    parser.add_argument("--force", action="store_true", help="replace outputs that exist")
    parser.add_argument("--skip-existing", action="store_true", help="leave slaps whose outputs are all there")
    parser.add_argument("--sync", action="store_true", help="flush every output to the disk as it is written")
    parser.add_argument("-q", "--quiet", action="store_true", help="only errors and the summary line")
    args = parser.parse_args(argv)

    inputs = _kovral._collect_inputs(args.inputs, args.recursive)
    progress = _kovral._Progress(len(inputs), args.quiet, "kovral.dask")

    def report(record):
        progress.done(record["input"], record["ok"], record["fingers"],
                      record["message"] if record["ok"] else record["error"], record.get("skipped", False))

    try:
        split_files(args.inputs, args.out_dir, args.scheduler, args.finger_size, recursive=args.recursive,
                    format=args.format, overlay=args.overlay, force=args.force, skip_existing=args.skip_existing,
                    sync=args.sync, size=args.size, workers=args.workers, on_record=report)
    except (OSError, ValueError, TypeError) as e:
        progress.finish()
        print(f"kovral.dask: {e}", file=sys.stderr)
        return 1
    progress.finish()
    print(f"kovral.dask: {progress.summary()}", flush=True)
    return 0 if progress.failures == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
