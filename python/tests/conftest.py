import os
import struct
import sys
import zlib

import pytest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.dirname(HERE))  # the package beside the tests, unless PYTHONPATH says otherwise

EXAMPLES = os.path.normpath(os.path.join(HERE, "..", "..", "examples"))


@pytest.fixture
def badge_path():
    return os.path.join(EXAMPLES, "badge.svg")


@pytest.fixture
def badge_svgz_path():
    return os.path.join(EXAMPLES, "badge.svgz")


def png_size(png):
    """(width, height) from a PNG's header chunk."""
    assert png[:8] == b"\x89PNG\r\n\x1a\n", png[:8]
    assert png[12:16] == b"IHDR"
    return struct.unpack(">II", png[16:24])


def decode_rgba_png(png):
    """The pixels of an 8-bit RGBA PNG as a NumPy array (height, width, 4):
    enough of a decoder to check what the library's encoder wrote."""
    import numpy

    width, height = png_size(png)
    assert png[24:26] == b"\x08\x06", "8-bit RGBA expected"
    data, at = b"", 8
    while at < len(png):
        length, kind = struct.unpack(">I4s", png[at:at + 8])
        if kind == b"IDAT":
            data += png[at + 8:at + 8 + length]
        at += 12 + length
    raw = zlib.decompress(data)
    stride = width * 4
    rows, previous = [], bytearray(stride)
    for y in range(height):
        kind, line = raw[y * (stride + 1)], bytearray(raw[y * (stride + 1) + 1:(y + 1) * (stride + 1)])
        for x in range(stride):
            left = line[x - 4] if x >= 4 else 0
            up = previous[x]
            up_left = previous[x - 4] if x >= 4 else 0
            if kind == 1:
                line[x] = (line[x] + left) & 0xFF
            elif kind == 2:
                line[x] = (line[x] + up) & 0xFF
            elif kind == 3:
                line[x] = (line[x] + (left + up) // 2) & 0xFF
            elif kind == 4:
                p = left + up - up_left
                pa, pb, pc = abs(p - left), abs(p - up), abs(p - up_left)
                line[x] = (line[x] + (left if pa <= pb and pa <= pc else up if pb <= pc else up_left)) & 0xFF
        rows.append(bytes(line))
        previous = line
    return numpy.frombuffer(b"".join(rows), dtype=numpy.uint8).reshape(height, width, 4)
