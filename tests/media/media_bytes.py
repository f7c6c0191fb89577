"""Byte edits that ffmpeg offers no option for, in every version of it.

    media_bytes.py rotate DEGREES|none IN OUT    the display matrix of an MP4's pictures; none: all zeros
    media_bytes.py udta-first IN OUT             an MP4's user data, with its cover, in front of the tracks
    media_bytes.py replace OLD NEW IN OUT        a text by another of the same length
    media_bytes.py pgs WIDTH HEIGHT OUT          a PGS stream with one bitmap subtitle
    media_bytes.py noise COUNT OUT               bytes of no format
"""

import random
import struct
import sys


def boxes(data, start, end):
    """The boxes of an MP4 between two offsets: type, start, end."""
    while start < end:
        size, kind = struct.unpack_from(">I4s", data, start)
        yield kind, start, start + size
        start += size


def find(data, path, start=0, end=None):
    """Every box at the path: start and end of the whole box."""
    for kind, first, last in boxes(data, start, len(data) if end is None else end):
        if kind == path[0]:
            if len(path) == 1:
                yield first, last
            else:
                yield from find(data, path[1:], first + 8, last)


def rotate(degrees, data):
    one, wide = 1 << 16, 1 << 30
    turns = {
        "0": (one, 0, 0, one),
        "90": (0, one, -one, 0),
        "180": (-one, 0, 0, -one),
        "270": (0, -one, one, 0),
    }
    if degrees == "none":
        matrix = (0,) * 9
    else:
        a, b, c, d = turns[degrees]
        matrix = (a, b, 0, c, d, 0, 0, 0, wide)
    data = bytearray(data)
    for first, last in find(data, [b"moov", b"trak", b"tkhd"]):
        width = struct.unpack_from(">I", data, last - 8)[0]
        if width:  # the sound's is 0
            struct.pack_into(">9i", data, last - 44, *matrix)
    return bytes(data)


def udta_first(data):
    """Only right when the media data lies in front of the moov box: its offsets don't change then."""
    (moov, end), = find(data, [b"moov"])
    (udta, udta_end), = find(data, [b"moov", b"udta"])
    track = next(find(data, [b"moov", b"trak"]))[0]
    assert next(find(data, [b"mdat"]))[0] < moov
    return data[:track] + data[udta:udta_end] + data[track:udta] + data[udta_end:]


def pgs(width, height):
    """One red bar from 1 s to 3 s."""
    bar_width, bar_height = 60, 16  # a run of more than 63 pixels is written in another way

    def segment(seconds, kind, payload):
        return b"PG" + struct.pack(">IIBH", int(seconds * 90000), 0, kind, len(payload)) + payload

    def composition(number, objects):
        return struct.pack(">HHBHBBBB", width, height, 0x10, number, 0x80, 0, 0, len(objects)) + b"".join(objects)

    window = struct.pack(">BBHHHH", 1, 0, 8, height - 40, bar_width, bar_height)
    palette = struct.pack(">BBBBBBB", 0, 0, 1, 81, 240, 90, 255)
    line = b"\x00" + bytes([0x80 | bar_width]) + b"\x01" + b"\x00\x00"
    picture = line * bar_height
    bitmap = struct.pack(">HBB", 0, 0, 0xC0) + (len(picture) + 4).to_bytes(3, "big")
    bitmap += struct.pack(">HH", bar_width, bar_height) + picture
    placed = struct.pack(">HBBHH", 0, 0, 0, 8, height - 40)
    return b"".join([
        segment(1, 0x16, composition(0, [placed])),
        segment(1, 0x17, window),
        segment(1, 0x14, palette),
        segment(1, 0x15, bitmap),
        segment(1, 0x80, b""),
        segment(3, 0x16, composition(1, [])),
        segment(3, 0x17, window),
        segment(3, 0x80, b""),
    ])


def noise(count):
    return random.Random(1).randbytes(count)


def main(edit, *arguments):
    *options, out = arguments
    if edit == "pgs":
        result = pgs(int(options[0]), int(options[1]))
    elif edit == "noise":
        result = noise(int(options[0]))
    else:
        with open(options.pop(), "rb") as source:
            data = source.read()
        if edit == "rotate":
            result = rotate(options[0], data)
        elif edit == "udta-first":
            result = udta_first(data)
        elif edit == "replace":
            assert data.count(options[0].encode()) > 0
            result = data.replace(options[0].encode(), options[1].encode())
        else:
            sys.exit(__doc__)
    with open(out, "wb") as target:
        target.write(result)


if __name__ == "__main__":
    main(*sys.argv[1:])
