"""Split slap fingerprint images into upright single-finger images.

A slap is an 8-bit gray image at 500 ppi with up to four fingers side by side,
given as a 2-D numpy array of uint8 (rows, columns)::

    import kovral
    slap = kovral.read("right4.png")
    for finger in kovral.split(slap):
        print(finger.center, finger.angle, finger.quality, finger.image.shape)

``kovral.split`` releases the GIL, so a thread pool splits on every core.
``kovral.Splitter`` keeps its working memory between calls; ``kovral.hand``
tells the hand layout of four fingers. Batches of files on a Dask cluster:
``kovral.dask.split_files``.
"""

import os as _os

from . import _kovral
from ._kovral import (
    FINGER_CUT_BY_BORDER,
    FINGER_FAINT,
    FINGER_TOUCHING,
    MAX_HEIGHT,
    MAX_WIDTH,
    MIN_HEIGHT,
    MIN_WIDTH,
    Finger,
    Record,
    Splitter,
    hand,
    split,
)

__all__ = [
    "split",
    "Splitter",
    "Finger",
    "hand",
    "read",
    "Record",
    "MIN_WIDTH",
    "MAX_WIDTH",
    "MIN_HEIGHT",
    "MAX_HEIGHT",
    "FINGER_CUT_BY_BORDER",
    "FINGER_TOUCHING",
    "FINGER_FAINT",
]


def read(path, size=None):
    """Reads a slap image file into a 2-D uint8 array (rows, columns), or an
    ANSI/NIST-ITL transaction file into its image records.

    Uses the same readers as kovral-split: PNG, JPEG, BMP and PGM (colour
    becomes gray), WSQ, or headerless 8-bit pixels when
    ``size=(width, height)`` is given, each give an array. A transaction file
    (.an2, .eft, .nist; recognised by content) gives a list of
    ``kovral.Record``, one per fingerprint image record in file order, with
    its ``image`` (None and ``error`` set when its compression is not read),
    NIST finger ``position`` (13, 14, 15 for slaps), stated ``ppi`` and the
    fingers it lists as ``missing``::

        slaps = [r for r in kovral.read("card.eft") if r.position in (13, 14, 15)]

    Raises FileNotFoundError when there is no such file, ValueError with the
    reason when the file cannot be read as a slap image.
    """
    path = _os.fspath(path)
    if not _os.path.lexists(path):
        raise FileNotFoundError(2, "No such file", path)
    return _kovral.read(path, size)
