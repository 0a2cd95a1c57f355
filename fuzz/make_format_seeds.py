#!/usr/bin/env python3
"""Writes small seeds for the file-format fuzz targets into fuzz/corpus/:
wsq_decoder/ gets WSQ streams of 64 x 48 pixels that exercise every table,
escapes, stuffed bytes, restart markers and comments; an2k_reader/ gets
transaction files built around them. The NIST files in tests/data/nist are
too large to fuzz from quickly, so the seeds reuse only their filter and
quantisation tables.
"""
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(HERE)


def segment(marker, body):
    return bytes([0xFF, marker]) + struct.pack('>H', len(body) + 2) + body


def nist_tables():
    """The DTT and DQT segments of the right slap of valid1.8.an2."""
    with open(os.path.join(ROOT, 'tests', 'data', 'nist', 'valid1.8.an2'), 'rb') as f:
        stream = f.read()[540:540 + 60152]
    return stream[21:81], stream[81:472]


# Eight-bit codes: code byte i stands for SYMBOLS[i].
SYMBOLS = [100, 105, 106, 101, 102, 103, 104, 107, 179, 180, 181, 254, 37]
RUN100, RUN8, RUN16, POS8, NEG8, POS16, NEG16, MIN, M1, ZERO, P1, MAX, RUN37 = range(len(SYMBOLS))


def huffman(table_id):
    counts = [0] * 16
    counts[7] = len(SYMBOLS)
    return segment(0xA6, bytes([table_id] + counts + SYMBOLS))


def stuff(data):
    return data.replace(b'\xff', b'\xff\x00')


def block(symbols, restart_every=0):
    """Entropy-coded bytes of a list of symbols (each a code byte and its extra
    bytes); an RST marker after every n symbols."""
    out = b''
    for i, symbol in enumerate(symbols):
        if restart_every and i and i % restart_every == 0:
            out += bytes([0xFF, 0xB0 + (i // restart_every - 1) % 8])
        out += stuff(bytes(symbol))
    return out


def frame(width, height):
    # black 0, white 255, height, width, M = 128.00, R = 1.5, encoder 0, software 0
    return segment(0xA2, bytes([0, 255]) + struct.pack('>HHBHBHBH', height, width, 2, 12800, 1, 15, 0, 0))


def coefficient_codes(count, values):
    """Symbols that place values at the start, then zero runs to fill count."""
    codes, placed = [], 0
    for v in values:
        if -73 <= v <= 74 and v in (-73, -1, 0, 1, 74):
            codes.append([{-73: MIN, -1: M1, 0: ZERO, 1: P1, 74: MAX}[v]])
        elif abs(v) < 256:
            codes.append([POS8 if v > 0 else NEG8, abs(v)])
        else:
            codes.append([POS16 if v > 0 else NEG16, abs(v) >> 8, abs(v) & 0xFF])
        placed += 1
    left = count - placed
    while left >= 256:
        n = min(left, 65535)
        codes.append([RUN16, n >> 8, n & 0xFF])
        left -= n
    while left >= 100:
        codes.append([RUN100])
        left -= 100
    if left >= 37:
        codes.append([RUN37])
        left -= 37
    if left:
        codes.append([RUN8, left])
    return codes


def subband_counts(width, height):
    """Coefficients per block for a frame with every subband coded (the same
    split rule as the decoder; blocks hold subbands 0-18, 19-51, 52-59)."""
    # For sizes divisible by 32 every subband of a level has the same size.
    w32, h32 = width // 32, height // 32
    b1 = 4 * w32 * h32 + 15 * (width // 16) * (height // 16)
    b2 = 32 * (width // 16) * (height // 16) + (width // 4) * (height // 4)
    b3 = 8 * (width // 4) * (height // 4)
    return b1, b2, b3


def wsq(width=64, height=64, restart=0, comment=True, tables_first=False, values=(5, -300, 74, -73, 255, 1)):
    dtt, dqt = nist_tables()
    b1, b2, b3 = subband_counts(width, height)
    head = b'\xff\xa0'
    if comment:
        head += segment(0xA8, b'NIST_COM 3\nPIX_WIDTH %d\nPIX_HEIGHT %d\nPPI 500\n' % (width, height))
    tables = dtt + dqt + huffman(0)
    head += tables + frame(width, height) if tables_first else frame(width, height) + tables
    out = head + segment(0xA3, b'\x00') + block(coefficient_codes(b1, values))
    out += huffman(1) + segment(0xA3, b'\x01') + block(coefficient_codes(b2, values[::-1]), restart)
    out += segment(0xA3, b'\x01') + block(coefficient_codes(b3, [-1, 1, 0xFF]), restart)
    return out + b'\xff\xa1'


def tagged(rtype, fields):
    """A tagged record: fields as (number, bytes); LEN computed last."""
    def body(length):
        parts = [b'%d.%03d:%s' % (rtype, 1, str(length).encode())]
        parts += [b'%d.%03d:' % (rtype, n) + v for n, v in fields]
        return b'\x1d'.join(parts) + b'\x1c'
    length = len(body(0))
    while len(body(length)) != length:
        length = len(body(length))
    return body(length)


def binary(idc, fgp, width, height, compression, data, imp=0):
    header = struct.pack('>IBB6sBHHB', 18 + len(data), idc, imp, bytes([fgp, 255, 255, 255, 255, 255]), 0,
                         width, height, compression)
    return header + data


def transaction(records, version=b'0500'):
    """Type-1 listing the records ((type, idc, bytes)) in order."""
    cnt = b'1\x1f%d' % len(records) + b''.join(b'\x1e%d\x1f%02d' % (t, i) for t, i, _ in records)
    type1 = tagged(1, [(2, version), (3, cnt), (4, b'NFUF'), (5, b'20240101'), (7, b'X'), (8, b'X'), (9, b'1'),
                       (11, b'19.69'), (12, b'19.69')])
    return type1 + b''.join(r for _, _, r in records)


def type14(idc, fgp, width, height, compression, data, amp=None):
    fields = [(2, b'%02d' % idc), (3, b'0'), (4, b'X'), (5, b'20240101'), (6, str(width).encode()),
              (7, str(height).encode()), (8, b'1'), (9, b'500'), (10, b'500'), (11, compression), (12, b'8'),
              (13, str(fgp).encode())]
    if amp:
        fields.append((18, amp))
    fields.append((999, data))
    return tagged(14, fields)


def write(target, name, data):
    folder = os.path.join(HERE, 'corpus', target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), 'wb') as f:
        f.write(data)


def main():
    write('wsq_decoder', 'small.wsq', wsq())
    write('wsq_decoder', 'restarts.wsq', wsq(restart=2, comment=False))
    write('wsq_decoder', 'tables_first.wsq', wsq(96, 64, tables_first=True, values=(0xFF, -0xFF00, 3)))

    small = wsq(comment=False)
    raw = bytes((x * 7 + y * 3) & 0xFF for y in range(40) for x in range(40))
    type2 = tagged(2, [(2, b'00'), (3, b'text')])
    write('an2k_reader', 'type14_wsq.an2', transaction([(2, 0, type2), (14, 1, type14(1, 13, 64, 64, b'WSQ20', small))]))
    write('an2k_reader', 'type4_wsq_raw.an2', transaction(
        [(4, 1, binary(1, 14, 64, 64, 1, small)), (4, 2, binary(2, 2, 40, 40, 0, raw))]))
    write('an2k_reader', 'type3_raw_amp.an2', transaction(
        [(3, 1, binary(1, 13, 40, 40, 0, raw)),
         (14, 2, type14(2, 14, 40, 40, b'NONE', raw, amp=b'9\x1fXX\x1e7\x1fUP'))], version=b'0300'))


if __name__ == '__main__':
    main()
