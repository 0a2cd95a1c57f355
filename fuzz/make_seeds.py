#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets into fuzz/corpus/<target>/.

Each seed is a small input in the layout that the target's comment describes
(fuzz_bytes.h reads it front to back, little-endian). Run it again after
changing a layout; it replaces the files it writes and leaves others alone.
"""
import math
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))


def u8(v):
    return struct.pack('<B', v & 0xFF)


def u16(v):
    return struct.pack('<H', v & 0xFFFF)


def i32(v):
    return struct.pack('<i', v)


def u32(v):
    return struct.pack('<I', v & 0xFFFFFFFF)


def fold8(value, lo):
    """The byte that Range8(lo, hi) folds to value."""
    return u8(value - lo)


def fold16(value, lo):
    """The u16 that Range16(lo, hi) folds to value."""
    return u16(value - lo)


def write(target, name, data):
    folder = os.path.join(HERE, 'corpus', target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), 'wb') as f:
        f.write(data)


# Block maps, run-length encoded (encoding 2): (value, length) pairs.
def runs(cells):
    out = bytearray(u8(2))
    i = 0
    while i < len(cells):
        j = i
        while j < len(cells) and cells[j] == cells[i] and j - i < 255:
            j += 1
        out += u8(cells[i]) + u8(j - i)
        i = j
    return bytes(out)


def blob_map(w, h, blobs, value=1):
    """Filled ellipses (cx, cy, rx, ry, degrees of lean) on a w x h map."""
    cells = [0] * (w * h)
    for cx, cy, rx, ry, lean in blobs:
        t = math.radians(lean)
        for y in range(h):
            for x in range(w):
                dx, dy = x - cx, y - cy
                u = dx * math.cos(t) - dy * math.sin(t)
                v = dx * math.sin(t) + dy * math.cos(t)
                if (u / rx) ** 2 + (v / ry) ** 2 <= 1.0:
                    cells[y * w + x] = value
    return cells


def hand(lean=0, long_finger=False):
    blobs = [(14, 40, 6, 12, lean), (34, 30, 6, 13, lean), (54, 34, 6, 12, lean), (74, 46, 5, 10, lean)]
    if long_finger:
        blobs[1] = (34, 45, 6, 24, lean)
    return blobs


def finger_locator_seeds():
    t = 'finger_locator'
    write(t, 'four-upright', fold8(100, 1) + fold8(93, 1) + runs(blob_map(100, 93, hand())))
    write(t, 'four-leaning', fold8(100, 1) + fold8(93, 1) + runs(blob_map(100, 93, hand(lean=20))))
    write(t, 'long-finger', fold8(90, 1) + fold8(80, 1) + runs(blob_map(90, 80, hand(long_finger=True))))
    # Gaps and notches for the gap closing: a region with holes in its rows.
    cells = blob_map(60, 40, [(20, 20, 8, 15, 0), (45, 20, 7, 14, 0)])
    for y in range(4, 30, 3):
        cells[y * 60 + 20] = 0
        cells[y * 60 + 21] = 0
    write(t, 'notched', fold8(60, 1) + fold8(40, 1) + runs(cells))
    write(t, 'tiny-raw', fold8(3, 1) + fold8(2, 1) + u8(0) + bytes([1, 9, 200, 1, 0, 126]))
    write(t, 'bits', fold8(16, 1) + fold8(22, 1) + u8(1) + bytes([0xFF] * 44))


def region_tools_seeds():
    t = 'region_tools'
    zero_box = u16(300) * 4  # folds to 0, 0, 0, 0
    labelled = blob_map(50, 60, [(12, 25, 6, 20, 0)], value=9)
    labelled = [c if c else (1 if i % 7 == 0 else 0) for i, c in enumerate(labelled)]
    for tool, name in ((0, 'set-hole'), (1, 'get-fp-pos'), (2, 'cut-long')):
        cells = blob_map(50, 60, [(12, 25, 6, 20, 0), (35, 30, 6, 12, 15)]) if tool == 0 else labelled
        write(t, name, u8(tool) + fold8(50, 1) + fold8(60, 1) + u8(9) + u8(1) + zero_box + runs(cells))
    write(t, 'cut-given-box', u8(2) + fold8(50, 1) + fold8(60, 1) + u8(9) + u8(2) + u16(0) + u16(40) + u16(2) + u16(55)
          + runs(labelled))


def split_raw_seeds():
    t = 'split_raw'
    sizes = fold16(1600, 256) + fold16(1000, 360) + fold16(320, 256) + fold16(480, 360)
    # Four ridge patches of 224 x 384 on a bright background; the tile is a
    # row of dark and light pairs.
    patches = b''.join(fold16(x, 0) + fold16(250, 0) + fold16(224, 1) + fold16(384, 1)
                       for x in (150, 500, 850, 1200))
    tile = fold8(4, 1) + fold8(1, 1) + bytes([60, 60, 190, 190])
    write(t, 'four-patches', u8(1 | 64) + sizes + u8(0) + u8(225) + u8(4) + patches + tile)
    # A patch taller than a finger, one at the image edge, and a small image.
    edge = fold16(0, 0) + fold16(0, 0) + fold16(300, 1) + fold16(639, 1)
    tall = fold16(700, 0) + fold16(100, 0) + fold16(240, 1) + fold16(639, 1)
    write(t, 'edge-and-tall', u8(1 | 64) + sizes + u8(0) + u8(200) + u8(2) + edge + tall + tile)
    small = fold16(256, 256) + fold16(367, 360) + fold16(256, 256) + fold16(360, 360)
    write(t, 'smallest', u8(1 | 64) + small + u8(0) + u8(230) + u8(1) + fold16(20, 0) + fold16(10, 0)
          + fold16(200, 1) + fold16(340, 1) + tile)
    write(t, 'noise', u8(1) + sizes + u8(0) + bytes((i * 97 + 13) % 251 for i in range(997)))
    write(t, 'out-of-limits', u8(1 | 4) + i32(1601) + i32(359) + i32(-5) + i32(2 ** 31 - 1) + u8(0))
    write(t, 'null-buffer', u8(1 | (4 << 3)) + sizes + u8(9))
    write(t, 'odd-init', u8(1 | 2) + u16(1000) + u16(900) + sizes + u8(0) + bytes([0, 255]))
    write(t, 'uninitialised', u8(0) + sizes + u8(0))


def split_slap_seeds():
    t = 'split_slap'
    look = fold8(225, 150) + fold8(60, 0) + fold8(190, 80) + fold8(4, 0)

    def sizes(w, h, ow, oh):
        return fold16(w, 256) + fold16(h, 360) + fold16(ow, 256) + fold16(oh, 360)

    def hand_seed(w, h, tilt, right, gap=-1, extra=0, look=look):
        flags = 1 | (8 if right else 0) | extra
        return (u8(flags) + sizes(w, h, 320, 480) + u32(7) + fold8(tilt, -90) + fold8(gap, -1) + look
                + fold16(-1, -1) * 2)

    def fingers_seed(w, h, fingers, extra=0, ow=300, oh=400):
        body = u8(len(fingers))
        for cx, cy, angle in fingers:
            body += (fold16(cx, -200) + fold16(cy, -200) + fold16(angle, -180) + fold16(380, 200)
                     + fold8(220, 100) + fold8(9, 5))
        return u8(extra) + sizes(w, h, ow, oh) + u32(3) + body + look + fold16(-1, -1) * 2

    write(t, 'right-hand', hand_seed(1600, 1000, 0, True))
    # The same slaps with allocations failing: (first failing allocation,
    # every later one too).
    small_hand = hand_seed(1000, 700, 10, True)
    for fail_at, after in ((0, 0), (1, 0), (3, 0), (6, 1), (12, 0)):
        write('split_alloc_failure', 'hand-fail%d%s' % (fail_at, '-on' if after else ''),
              u16(fail_at) + u8(after) + small_hand)
    write('split_alloc_failure', 'two-fingers-fail2', u16(2) + u8(0) + fingers_seed(800, 700, [(250, 350, 90), (560, 330, 60)]))
    write(t, 'left-hand-tilted', hand_seed(1600, 1200, 25, False))
    write(t, 'touching-smudged', hand_seed(1400, 900, -15, True, gap=0, extra=2 | 4))
    faint = fold8(225, 150) + fold8(170, 0) + fold8(190, 80) + fold8(4, 0)
    write(t, 'faint', hand_seed(1600, 1000, 0, True, look=faint))
    write(t, 'two-fingers', fingers_seed(800, 700, [(250, 350, 90), (560, 330, 60)]))
    write(t, 'half-outside', fingers_seed(900, 600, [(40, 300, 90), (850, 150, 120), (450, 560, 0)]))
    write(t, 'smallest', fingers_seed(256, 360, [(128, 180, 90)], ow=256, oh=360))


def hand_judgement_seeds():
    t = 'hand_judgement'

    def plausible(centres, count=4, flags=1 | 32):
        body = u8(flags) + fold8(count, -1)
        padded = centres + [(0, 0, 90)] * (10 - len(centres))
        for x, y, a in padded:
            body += fold16(x, -100) + fold16(y, -100) + fold16(a, -10)
        return body

    write(t, 'right-hand', plausible([(300, 700, 90), (600, 600, 90), (900, 650, 90), (1200, 800, 90)]))
    write(t, 'leaning', plausible([(300, 900, 120), (600, 700, 120), (900, 520, 120), (1200, 380, 120)]))
    write(t, 'three', plausible([(300, 700, 90), (600, 600, 90), (900, 650, 90)], count=3))
    write(t, 'all-equal', plausible([(600, 700, 90)] * 4))
    extreme = u8(1 | 4) + i32(4) + (i32(2 ** 31 - 1) + i32(-2 ** 31) + i32(2 ** 31 - 1)) * 10
    write(t, 'extreme', extreme)
    write(t, 'odd-height-null', u8(1 | 2 | 8) + u16(-7) + fold8(4, -1))


def bmp_writer_seeds():
    t = 'bmp_writer'
    write(t, 'four-by-four', u8(0) + fold16(4, -8) + fold16(4, -8) + bytes(range(16)))
    write(t, 'five-by-four', u8(16) + fold16(5, -8) + fold16(4, -8) + bytes([7, 200, 13]))
    write(t, 'refused', u8(1) + i32(3) + i32(2 ** 31 - 1))
    write(t, 'no-directory', u8(8) + fold16(64, -8) + fold16(40, -8) + b'\x80')
    write(t, 'wide-short', u8(1) + i32(1 << 20) + i32(4) + bytes([1, 2, 3]))


def angle_tables_seeds():
    t = 'angle_tables'
    for a in (0, 90, 179, 180, -180, -179, 359, 360, -2 ** 31, 2 ** 31 - 1):
        write(t, 'angle%d' % a, i32(a))


if __name__ == '__main__':
    finger_locator_seeds()
    region_tools_seeds()
    split_raw_seeds()
    split_slap_seeds()
    hand_judgement_seeds()
    bmp_writer_seeds()
    angle_tables_seeds()
