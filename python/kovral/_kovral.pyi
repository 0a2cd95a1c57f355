"""Type stubs of the C++ core of kovral."""

from typing import Optional, Sequence, Union

import numpy as np
import numpy.typing as npt

MIN_WIDTH: int
MAX_WIDTH: int
MIN_HEIGHT: int
MAX_HEIGHT: int
FINGER_CUT_BY_BORDER: int
FINGER_TOUCHING: int
FINGER_FAINT: int

Point = tuple[int, int]

class Finger:
    """One finger of a split: the upright finger image and where it was found."""
    @property
    def image(self) -> npt.NDArray[np.uint8]:
        """Upright finger image of shape (finger height, finger width), owning its memory."""
    @property
    def center(self) -> Point:
        """(x, y) in source pixels, x to the right, y down."""
    @property
    def angle(self) -> int:
        """Axis angle in degrees, 90 upright, below 90 leaning right."""
    @property
    def quality(self) -> int:
        """0..99."""
    @property
    def confidence(self) -> int:
        """0..100 (always 100 with the 'exact' locator)."""
    @property
    def flags(self) -> int:
        """FINGER_CUT_BY_BORDER | FINGER_TOUCHING | FINGER_FAINT bits."""
    @property
    def corners(self) -> tuple[Point, Point, Point, Point]:
        """Top-left, top-right, bottom-left, bottom-right of the region cut out (top: fingertip end)."""

class Splitter:
    """A splitter that keeps its working memory between splits."""
    def __init__(self, max_size: tuple[int, int] = (1600, 1500)) -> None: ...
    @property
    def max_size(self) -> tuple[int, int]: ...
    def split(self, image: npt.NDArray[np.uint8], finger_size: tuple[int, int] = (320, 480),
              locator: str = "accurate") -> list[Finger]:
        """Splits a slap image into upright fingers, left to right."""

def split(image: npt.NDArray[np.uint8], finger_size: tuple[int, int] = (320, 480),
          locator: str = "accurate") -> list[Finger]:
    """Splits a slap image into upright fingers, left to right (releases the GIL)."""

def hand(fingers: Sequence[Finger]) -> Optional[str]:
    """'right', 'left' or None (undecidable) for the four fingers of a split."""

class Record:
    """One fingerprint image record of an ANSI/NIST-ITL transaction file."""
    @property
    def image(self) -> Optional[npt.NDArray[np.uint8]]:
        """2-D uint8 array (rows, columns), or None when the record was not decoded."""
    @property
    def error(self) -> str:
        """Why the image was not decoded; empty when it was."""
    @property
    def record(self) -> int:
        """Number of the record in the file (1: the Type-1 record)."""
    @property
    def record_type(self) -> int:
        """3..6 (binary records), 13, 14 or 15."""
    @property
    def idc(self) -> int:
        """Information designation character, -1 when absent."""
    @property
    def position(self) -> int:
        """NIST finger position: 1..10 single fingers, 13 right four, 14 left four, 15 both thumbs, 0 unknown."""
    @property
    def impression(self) -> int:
        """Impression type, -1 when absent."""
    @property
    def ppi(self) -> Optional[float]:
        """Resolution the file states, pixels per inch; None when it states none."""
    @property
    def ppi_source(self) -> str:
        """The fields the resolution comes from."""
    @property
    def format(self) -> str:
        """e.g. 'ANSI/NIST Type-14 WSQ20'."""
    @property
    def missing(self) -> list[tuple[int, str]]:
        """(finger position, 'amputated' or 'unable to print') of fingers the record lists as missing."""
    @property
    def notes(self) -> list[str]:
        """What the file got wrong but could be read past."""

def read(path: str, size: Optional[tuple[int, int]] = None) -> Union[npt.NDArray[np.uint8], list[Record]]:
    """A 2-D uint8 array of an image or WSQ file; the image records of a transaction file."""

class _BatchOptions:
    out_dir: str
    finger_size: Optional[tuple[int, int]]
    format: str
    overlay: bool
    force: bool
    raw_size: Optional[tuple[int, int]]
    skip_existing: bool
    sync: bool
    def __init__(self) -> None: ...

def _check_batch_options(options: _BatchOptions) -> None: ...
def _split_file(path: str, name: str, options: _BatchOptions) -> tuple[bool, int, str, bool, str]: ...
def _lock_output_folder(out_dir: str) -> int: ...
def _summary_path(name: str, options: _BatchOptions) -> str: ...
def _parse_pixel_size(text: str) -> Optional[tuple[int, int]]: ...
def _collect_inputs(paths: Sequence[str], recursive: bool) -> list[tuple[str, str, str]]: ...

class _Progress:
    def __init__(self, total: int, quiet: bool, program: str) -> None: ...
    def done(self, input: str, ok: bool, fingers: int, message: str, skipped: bool = False) -> None: ...
    def tick(self) -> None: ...
    def finish(self) -> None: ...
    def summary(self) -> str: ...
    @property
    def failures(self) -> int: ...
