"""The task that a Dask worker runs: slaps from file to outputs, exactly as
kovral-split writes them, with one JSON-ready record per slap."""

import json

from . import _kovral


def failure(path, name, reason):
    """The record of a slap that gave no outputs."""
    return {"input": path, "name": name, "ok": False, "fingers": 0, "error": reason}


def split_one(path, name, options):
    """Splits one slap file and writes its outputs; returns its record.

    A success carries the slap's summary (the contents of NAME.json) and
    whether it was skipped (its outputs were there); a failure carries the
    reason. Nothing raised here is lost: it becomes a
    failure record.
    """
    try:
        ok, fingers, message, skipped, record = _kovral._split_file(path, name, options)
        if not ok:
            return failure(path, name, message)
        if record:
            summary = json.loads(record)
        else:   # skipped: the summary an earlier run wrote
            with open(_kovral._summary_path(name, options), encoding="utf-8") as f:
                summary = json.load(f)
        return {"input": path, "name": name, "ok": True, "fingers": fingers, "message": message,
                "skipped": skipped, "summary": summary}
    except Exception as e:  # a record, never a lost batch
        return failure(path, name, f"{type(e).__name__}: {e}")


def split_many(jobs, options):
    """split_one for every (path, name) of jobs, in order."""
    return [split_one(path, name, options) for path, name in jobs]
