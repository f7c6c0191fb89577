"""Byte edits that ffmpeg offers no option for, in every version of it.

    media_bytes.py turn COS SIN IN OUT    the display matrix of an MP4's pictures; 0 0: all zeros
    media_bytes.py udta-first IN OUT      an MP4's user data, with its cover, in front of the tracks
    media_bytes.py pgs OUT                a PGS stream with one bitmap subtitle, for 320x240
    media_bytes.py noise COUNT OUT        bytes of no format
"""

import random
import struct
import sys


def find(data, path, start=0, end=None):
    """Every box of an MP4 at the path: start and end of the whole box."""
    while start < (len(data) if end is None else end):
        size, kind = struct.unpack_from(">I4s", data, start)
        if kind == path[0]:
            if len(path) == 1:
                yield start, start + size
            else:
                yield from find(data, path[1:], start + 8, start + size)
        start += size


def turn(cos, sin, data):
    wide = 1 << 30 if (cos, sin) != (0, 0) else 0
    data = bytearray(data)
    for _, last in find(data, [b"moov", b"trak", b"tkhd"]):
        if any(data[last - 8:last - 4]):  # the sound's width is 0
            struct.pack_into(">9i", data, last - 44, *(n << 16 for n in (cos, sin, 0, -sin, cos, 0, 0, 0)), wide)
    return bytes(data)


def udta_first(data):
    """Only right when the media data lies in front of the moov box: its offsets don't change then."""
    (moov, end), = find(data, [b"moov"])
    (udta, udta_end), = find(data, [b"moov", b"udta"])
    track = next(find(data, [b"moov", b"trak"]))[0]
    assert next(find(data, [b"mdat"]))[0] < moov
    return data[:track] + data[udta:udta_end] + data[track:udta] + data[udta_end:]


def pgs():
    """One red bar from 1 s to 3 s."""
    width, height = 60, 16  # a run of more than 63 pixels is written in another way

    def segment(seconds, kind, payload):
        return b"PG" + struct.pack(">IIBH", seconds * 90000, 0, kind, len(payload)) + payload

    def composition(number, *objects):
        return struct.pack(">HHBHBBBB", 320, 240, 0x10, number, 0x80, 0, 0, len(objects)) + b"".join(objects)

    window = struct.pack(">BBHHHH", 1, 0, 8, 200, width, height)
    palette = struct.pack(">BBBBBBB", 0, 0, 1, 81, 240, 90, 255)
    picture = bytes([0, 0x80 | width, 1, 0, 0]) * height
    bitmap = struct.pack(">HBBBHHH", 0, 0, 0xC0, 0, len(picture) + 4, width, height) + picture
    placed = struct.pack(">HBBHH", 0, 0, 0, 8, 200)
    return b"".join([
        segment(1, 0x16, composition(0, placed)), segment(1, 0x17, window), segment(1, 0x14, palette),
        segment(1, 0x15, bitmap), segment(1, 0x80, b""),
        segment(3, 0x16, composition(1)), segment(3, 0x17, window), segment(3, 0x80, b""),
    ])


def read(path):
    with open(path, "rb") as source:
        return source.read()


edits = {
    "turn": lambda cos, sin, path: turn(int(cos), int(sin), read(path)),
    "udta-first": lambda path: udta_first(read(path)),
    "pgs": pgs,
    "noise": lambda count: random.Random(1).randbytes(int(count)),
}
edit, *arguments, out = sys.argv[1:]
with open(out, "wb") as target:
    target.write(edits[edit](*arguments))
