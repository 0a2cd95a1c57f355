"""kovral.split, kovral.Splitter, kovral.hand and kovral.read against the C
API on generated slaps: results, refusals, threads and memory."""

import gc
import os
import subprocess
import sys
import threading

import numpy as np
import pytest

import _kovral_testing as reference
import kovral


def as_records(fingers):
    return [(*f.center, f.angle, f.quality, f.confidence, f.flags, f.image.tobytes()) for f in fingers]


def make_sample(path, *args):
    subprocess.run([os.environ["KOVRAL_MAKE_SAMPLE_EXE"], str(path), *map(str, args)], check=True)


# (image width, height, hand tilt, finger size): one row per size class.
SLAPS = [
    (1600, 1000, 0, (320, 480)),     # the common four-finger slap
    (1600, 1000, 20, (320, 480)),    # tilted hand: every finger cut by the turned box
    (1600, 1500, -12, (400, 560)),   # the largest image, larger fingers
    (800, 600, 0, (256, 360)),       # a shrunken hand, smallest fingers
    (256, 360, 0, (256, 360)),       # the smallest image; fingers as large as the image
    (1024, 768, 8, (1024, 768)),     # fingers as large as the image: the plain-window path
]


@pytest.mark.parametrize("width,height,tilt,finger_size", SLAPS)
def test_same_results_as_the_c_api(width, height, tilt, finger_size):
    image = reference.four_finger_hand(width, height, tilt)
    result, expected = reference.c_split(image, *finger_size)
    assert result == 1
    got = kovral.split(image, finger_size, locator="exact")
    assert as_records(got) == expected
    # A kept splitter gives the same, and so do the legacy entry points.
    assert as_records(kovral.Splitter((width, height)).split(image, finger_size, locator="exact")) == expected
    legacy_result, legacy = reference.legacy_split(image, *finger_size)
    assert legacy_result == 1
    assert [r[:4] + r[6:] for r in as_records(got)] == [r[:4] + r[6:] for r in legacy]


def test_four_fingers_left_to_right_with_their_boxes():
    image = reference.four_finger_hand(1600, 1000, 0)
    fingers = kovral.split(image)
    assert len(fingers) == 4
    assert [f.center[0] for f in fingers] == sorted(f.center[0] for f in fingers)
    for f in fingers:
        assert f.image.shape == (480, 320) and f.image.dtype == np.uint8
        xs = [x for x, _ in f.corners]
        ys = [y for _, y in f.corners]
        assert min(xs) <= f.center[0] <= max(xs) and min(ys) <= f.center[1] <= max(ys)


@pytest.mark.parametrize("right_hand,expected", [(True, "right"), (False, "left")])
def test_hand_layout(right_hand, expected):
    fingers = kovral.split(reference.four_finger_hand(1600, 1000, 0, right_hand))
    assert kovral.hand(fingers) == expected


def test_hand_needs_four_fingers():
    fingers = kovral.split(reference.four_finger_hand())
    with pytest.raises(ValueError, match="needs 4 fingers, not 3"):
        kovral.hand(fingers[:3])


def image_of(width, height):
    return np.full((height, width), 200, np.uint8)


# (call, exception, message): every limit a request can break names itself.
REFUSALS = [
    (lambda: kovral.split(image_of(1601, 1000)), ValueError, "width 1601 is outside 256..1600"),
    (lambda: kovral.split(image_of(255, 1000)), ValueError, "width 255 is outside 256..1600"),
    (lambda: kovral.split(image_of(800, 359)), ValueError, "height 359 is outside 360..1500"),
    (lambda: kovral.split(image_of(800, 1501)), ValueError, "height 1501 is outside 360..1500"),
    (lambda: kovral.split(image_of(800, 600), (255, 480)), ValueError, "finger width 255 is outside 256..800"),
    (lambda: kovral.split(image_of(800, 600), (801, 480)), ValueError, "finger width 801 is outside 256..800"),
    (lambda: kovral.split(image_of(800, 600), (320, 601)), ValueError, "finger height 601 is outside 360..600"),
    (lambda: kovral.split(image_of(800, 600), (320, -1)), ValueError, "finger height -1 is outside 360..600"),
    (lambda: kovral.split(image_of(800, 600), (1 << 40, 480)), ValueError,
     "finger width 1099511627776 is outside 256..800"),
    (lambda: kovral.split(image_of(800, 600), locator="fast"), ValueError,
     "locator 'fast' is not one of 'exact', 'accurate'"),
    (lambda: kovral.split(np.zeros((600, 800), np.uint16)), TypeError, "must be an array of uint8, not uint16"),
    (lambda: kovral.split([[0] * 800] * 600), TypeError, "must be a numpy array of uint8, not list"),
    (lambda: kovral.split(np.zeros((600, 800, 3), np.uint8)), ValueError, "must be 2-D .rows, columns., not 3-D"),
    (lambda: kovral.Splitter((1601, 1000)), ValueError, "max width 1601 is outside 256..1600"),
    (lambda: kovral.Splitter((800, 0)), ValueError, "max height 0 is outside 360..1500"),
    (lambda: kovral.Splitter((800, 600)).split(image_of(801, 600)), ValueError,
     "image 801 x 600 is larger than the splitter's 800 x 600"),
    (lambda: kovral.hand([1, 2, 3, 4]), TypeError, ""),
]


@pytest.mark.parametrize("call,exception,message", REFUSALS)
def test_refusals_name_the_broken_limit(call, exception, message):
    with pytest.raises(exception, match=message):
        call()


def test_a_refused_request_leaves_the_splitter_usable():
    splitter = kovral.Splitter()
    image = reference.four_finger_hand()
    with pytest.raises(ValueError):
        splitter.split(image, (100, 100))
    assert as_records(splitter.split(image)) == reference.c_split(image, 320, 480, locator=1)[1]


# Views that are not C-contiguous: each is copied, and splits as its copy does.
VIEWS = [
    lambda a: a[::2, ::2],                 # every other row and column
    lambda a: a[100:900, 200:1400],        # a window of a larger array (row stride > width)
    lambda a: a[::-1, :],                  # rows upside down (negative stride)
    lambda a: np.asfortranarray(a),        # column-major
    lambda a: a.T.copy().T,                # column-major made by transposing
]


@pytest.mark.parametrize("view", VIEWS)
def test_any_strides(view):
    base = reference.four_finger_hand(1600, 1000, 5)
    image = view(base)
    assert not image.flags.c_contiguous
    before = image.copy()
    expected = as_records(kovral.split(np.ascontiguousarray(image), (256, 360)))
    assert as_records(kovral.split(image, (256, 360))) == expected
    assert np.array_equal(image, before)   # the caller's pixels stay as they were


def test_read_only_input():
    image = reference.four_finger_hand()
    image.flags.writeable = False
    assert len(kovral.split(image)) == 4


MEMORY_SHORT = """
import resource, kovral, numpy
image = numpy.full((1000, 1600), 200, numpy.uint8)
used = int(open("/proc/self/statm").read().split()[0]) * resource.getpagesize()
resource.setrlimit(resource.RLIMIT_AS, (used + (1 << 20), resource.RLIM_INFINITY))
for call in (kovral.Splitter, lambda: kovral.split(image)):
    try:
        call()
        print("no error")
    except MemoryError:
        print("MemoryError")
"""


def test_memory_exhaustion_raises_memory_error():
    # Address space for no more than a megabyte: splitters cannot be had.
    run = subprocess.run([sys.executable, "-c", MEMORY_SHORT], capture_output=True, text=True, timeout=60)
    assert run.stdout.split() == ["MemoryError", "MemoryError"], run.stderr


def test_finger_images_own_their_memory():
    image = reference.four_finger_hand()
    splitter = kovral.Splitter()
    first = splitter.split(image)
    copies = [f.image.copy() for f in first]
    second = splitter.split(reference.four_finger_hand(1600, 1000, 10))
    del splitter, second
    gc.collect()
    for f, copy in zip(first, copies):
        assert f.image.flags.owndata and f.image.base is None
        assert np.array_equal(f.image, copy)   # later splits and the splitter's end left them alone
    first[0].image[:] = 0
    assert np.array_equal(first[1].image, copies[1])


def test_the_split_releases_the_gil():
    # With a switch interval far longer than the test, a thread gives the GIL
    # away only where it releases it itself. The main thread then runs while
    # the other thread is inside one of its splits, never after all of them.
    image = reference.four_finger_hand()
    splits = 5
    done = []
    started = threading.Event()

    def worker():
        splitter = kovral.Splitter()
        started.set()
        for _ in range(splits):
            splitter.split(image)
            done.append(1)

    interval = sys.getswitchinterval()
    sys.setswitchinterval(60)
    try:
        thread = threading.Thread(target=worker)
        thread.start()
        started.wait()
        seen = len(done)
        # Both threads split at once: this one on its own splitter.
        mine = kovral.split(image)
    finally:
        sys.setswitchinterval(interval)
    thread.join()
    assert seen < splits
    assert len(mine) == 4


def test_threads_on_one_splitter_get_correct_results():
    images = [reference.four_finger_hand(1600, 1000, tilt) for tilt in (-10, 0, 10)]
    expected = [reference.c_split(image, 320, 480, locator=1)[1] for image in images]   # the default: accurate
    splitter = kovral.Splitter()
    results = {}

    def worker(k):
        for _ in range(3):
            for i, image in enumerate(images):
                assert as_records(kovral.split(image)) == expected[i]
                assert as_records(splitter.split(image)) == expected[i]
        results[k] = True

    threads = [threading.Thread(target=worker, args=(k,)) for k in range(3)]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert len(results) == 3


@pytest.mark.parametrize("extension", ["png", "pgm", "bmp", "jpg"])
def test_read_gives_what_the_tool_splits(tmp_path, extension):
    path = tmp_path / f"slap.{extension}"
    make_sample(path, "--width", 800, "--height", 600)
    image = kovral.read(path)
    assert image.shape == (600, 800) and image.dtype == np.uint8
    if extension != "jpg":
        assert np.array_equal(image, reference.four_finger_hand(800, 600))


def tool_reason(path, tmp_path):
    """kovral-split's one-line reason for refusing path, or None when it splits it."""
    run = subprocess.run([os.environ["KOVRAL_SPLIT_EXE"], "-q", "-o", str(tmp_path / "out"), str(path)],
                         capture_output=True, text=True)
    prefix = f"kovral-split: {path}: "
    lines = [line[len(prefix):] for line in run.stderr.splitlines() if line.startswith(prefix)]
    return lines[0] if lines else None


# Files that the tool refuses are refused here too, for the same reason.
BAD_FILES = [
    b"",                                                     # empty
    b"\x89PNG\r\n\x1a\n" + b"\0" * 20,                       # PNG signature, then nothing useful
    b"P5\n99999999999999999999999 600\n255\n",               # PGM width past every integer
    b"P5\n800 600\n255\n" + b"\x80" * 1000,                    # PGM cut short
    b"BM" + b"\xff" * 60,                                    # BMP header of nonsense
    b"\xff\xd8\xff\xdb" + b"\0" * 123,                         # JPEG without tables
]


@pytest.mark.parametrize("content", BAD_FILES)
def test_read_refuses_what_the_tool_refuses(tmp_path, content):
    path = tmp_path / "bad.png"
    path.write_bytes(content)
    reason = tool_reason(path, tmp_path)
    assert reason is not None
    with pytest.raises(ValueError) as refused:
        kovral.read(path)
    assert str(refused.value) == f"{path}: {reason}"


def test_read_raw_needs_its_size(tmp_path):
    path = tmp_path / "slap.raw"
    image = reference.four_finger_hand(800, 600)
    path.write_bytes(image.tobytes())
    with pytest.raises(ValueError):
        kovral.read(path)
    assert np.array_equal(kovral.read(path, size=(800, 600)), image)
    with pytest.raises(FileNotFoundError):
        kovral.read(tmp_path / "missing.png")


def test_help_explains_the_api():
    for item in (kovral.split, kovral.Splitter.split, kovral.hand, kovral.read):
        assert "Raises" in item.__doc__ or "hand layout" in item.__doc__
    stubs = os.path.join(os.path.dirname(kovral.__file__), "_kovral.pyi")
    assert os.path.exists(stubs)


NIST = os.environ.get("KOVRAL_NIST_DATA", "")

# (file, (record number, record type, finger position, width x height) of each image record).
TRANSACTIONS = [
    # Type-14 WSQ slaps whose records state 1800 x 1000: the images' own sizes win, with a note.
    ("valid1.8.an2", [(3, 14, 13, (1600, 976)), (4, 14, 14, (1600, 976)), (5, 14, 15, (1600, 800))]),
    # A card: the four-finger slaps in binary Type-4 records, the thumbs in Type-14.
    ("nist-type-4-14-flats.eft", [(3, 4, 14, (1608, 1000)), (4, 4, 13, (1572, 1000)), (5, 14, 15, (804, 1000))]),
]


@pytest.mark.parametrize("name, records", TRANSACTIONS)
def test_read_gives_a_transaction_s_image_records(name, records):
    got = kovral.read(os.path.join(NIST, name))
    assert [(r.record, r.record_type, r.position, r.image.shape[::-1]) for r in got] == records
    for r in got:
        assert r.error == "" and r.image.dtype == np.uint8
        assert r.ppi == pytest.approx(500, abs=0.2) and r.ppi_source
        assert r.missing == []
    assert bool(got[0].notes) == (name == "valid1.8.an2")


def test_read_wsq_gives_the_record_s_image(tmp_path):
    an2 = open(os.path.join(NIST, "valid1.8.an2"), "rb").read()
    path = tmp_path / "right.wsq"
    path.write_bytes(an2[540:540 + 60152])
    image = kovral.read(path)
    assert isinstance(image, np.ndarray)
    assert np.array_equal(image, kovral.read(os.path.join(NIST, "valid1.8.an2"))[0].image)
    # A transaction cut inside its first image record holds none: refused, saying where it broke.
    path = tmp_path / "cut.an2"
    path.write_bytes(an2[:300])
    with pytest.raises(ValueError, match="holds no fingerprint image record: "):
        kovral.read(path)


# The accurate locator through Python: the C API's fingers, with confidence.
@pytest.mark.parametrize("width,height,tilt,finger_size", SLAPS[:3])
def test_accurate_locator_same_as_the_c_api(width, height, tilt, finger_size):
    image = reference.four_finger_hand(width, height, tilt)
    result, expected = reference.c_split(image, *finger_size, locator=1)
    assert result == 1 and len(expected) == 4
    got = kovral.split(image, finger_size, locator="accurate")
    assert as_records(got) == expected
    assert as_records(kovral.Splitter((width, height)).split(image, finger_size, locator="accurate")) == expected
    assert all(0 < f.confidence <= 100 for f in got)
