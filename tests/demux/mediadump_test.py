#!/usr/bin/env python3
"""mediadump's sources against ffprobe, and VOB timelines: mediadump_test.py MEDIADUMP MEDIA"""

import json
import os
import re
import subprocess
import sys
import tempfile

program, media = sys.argv[1:]
chain, first, garbage = (f"{media}/{name}" for name in ("vob-chain.vob", "vob.vob", "garbage.mp4"))
# FFmpeg's numbers by kind and name: each other one belongs to one name too.
numbers = {("codec", "h264"): 27, ("codec", "aac"): 86018, ("pixels", "yuv420p"): 0, ("samples", "fltp"): 8}


def run(*arguments):
    done = subprocess.run([program, *arguments], capture_output=True, text=True, check=False)
    return done.returncode, [json.loads(line) for line in done.stdout.splitlines()], done.stderr


def ffprobe(*arguments):
    return json.loads(subprocess.check_output(["ffprobe", "-v", "quiet", "-of", "json", *arguments]))


def same(found, expected, *where):
    assert found == expected, (*where, found, expected)


def fraction(text):
    return [int(number) for number in re.split("[:/]", text)]


def stream_fields(name, stream, found):
    """A stream of ffprobe with the fields that mediadump has, and the numbers that ffprobe has not."""
    kind, base = stream["codec_type"], fraction(stream["time_base"])
    if kind == "subtitle":
        return {"index": stream["index"], "isTextSubtitle": stream["codec_name"] == "subrip"}
    if found["durationMs"] < 0:
        found["durationMs"] = None
    duration = stream.get("duration_ts")
    fields = {
        "index": stream["index"], "mediaType": -1, "timeBase": base,
        "codecId": numbers.setdefault(("codec", stream["codec_name"]), found["codecId"]),
        "codecTag": int(stream["codec_tag"], 16), "bitRate": int(stream.get("bit_rate", 0)),
        "durationMs": duration and int(duration * (base[0] / base[1]) * 1000),
    }
    if kind == "audio":
        return fields | {
            "sampleFormat": numbers.setdefault(("samples", stream["sample_fmt"]), found["sampleFormat"]),
            "channels": stream["channels"], "sampleRate": int(stream["sample_rate"]),
            "channelLayout": {"mono": 4, "stereo": 3}.get(stream.get("channel_layout"), 0),
        }
    # ffprobe turns the other way round; of all zeros it makes the lowest of numbers.
    left = next((data["rotation"] for data in stream.get("side_data_list", []) if "rotation" in data), 0)
    rates = [stream["r_frame_rate"], stream["avg_frame_rate"], "25/1"]
    return fields | {
        "pixelFormat": numbers.setdefault(("pixels", stream["pix_fmt"]), found["pixelFormat"]),
        "width": stream["width"], "height": stream["height"],
        "frameRate": next(rate for rate in map(fraction, rates) if rate == found["frameRate"]),
        "sampleAspectRatio": fraction(stream.get("sample_aspect_ratio", "0:1")),
        "rotation": 0 if left < -360 else -left % 360,
        # A film of at most three packets is a still picture.
        "isAttachedPicture": bool(stream["disposition"]["attached_pic"]) or re.match("wmv-[123]", name) is not None,
    }


def compare(name):
    """Description and packets; ffprobe reads some formats in the same way only when told so."""
    path = f"{media}/{name}"
    told = {"flv": ["-f", "live_flv"], "ts.": ["-scan_all_pmts", "0"], "ts-": ["-scan_all_pmts", "0"]}.get(name[:3], [])
    probe = ffprobe(*told, "-show_format", "-show_streams", path)
    status, (found, *packets), errors = run("--packets", path)
    same((status, errors), (0, ""), name)
    lists = {"video": [], "audio": [], "subtitle": []}
    for stream in probe["streams"]:
        of_kind = found[stream["codec_type"] + "Streams"]
        position = len(lists[stream["codec_type"]])
        lists[stream["codec_type"]].append(stream_fields(name, stream, of_kind[position]))
    for kind, expected in lists.items():
        same(found[kind + "Streams"], expected, name)
    kinds = {"video": 0, "audio": 1, "subtitle": 3}
    same([(stream["index"], stream["mediaType"], stream["timeBase"]) for stream in found["streams"]],
         [(s["index"], kinds[s["codec_type"]], fraction(s["time_base"])) for s in probe["streams"]], name)

    container = probe["format"]
    duration = round(float(container.get("duration", -1)) * 1e6)
    same(max(found["durationMs"], -1), -1 if duration < 0 else (duration + 5000) // 1000, name)
    same([found["formatLongName"], found["bitRate"]],
         [container["format_long_name"], int(container.get("bit_rate", 0))], name)
    if "start_time" in container:
        same(found["startTimeMs"], int(round(float(container["start_time"]) * 1e6) / 1000), name)

    # A run of its own: reading the packets changes what ffprobe says of the streams.
    read = ffprobe(*told, "-show_packets", path)["packets"]
    same([(p["streamIndex"], p["pts"], p["dts"], p["pos"], p["size"]) for p in packets],
         [(p["stream_index"], p.get("pts"), p.get("dts"), int(p.get("pos", -1)), int(p["size"]))
          for p in read], name)
    if path != chain:
        same(run("--vob", "--packets", path)[1][1:], packets, name)


def timeline(path, parts, longest_gap):
    """One timeline of several parts, without a step back or a gap; its chapters."""
    status, (_, chapters, *packets), _ = run("--vob", "--chapters", "--packets", path)
    same((status, len(chapters["chapters"]), chapters["audioPtsFromDts"]), (0, 3 * parts, False))
    last, without_position = {}, 0
    for packet in packets:
        step = packet["dts"] - last.get(packet["streamIndex"], packet["dts"] - 1)
        assert 0 < step <= longest_gap * 90, (step, packet)
        last[packet["streamIndex"]] = packet["dts"]
        without_position += packet["pos"] < 0
    assert len(last) == 3 and without_position > len(packets) / 4, "no packets without a position any more"
    same(len(packets), len(run("--packets", path)[1]) - 1)
    return chapters["chapters"]


# What ffprobe gives up on is left out, and what doesn't open.
left = {"truncated.mp4", "garbage.mp4", "empty.mp4", "mp4-named.ts", "wmv3-tag.asf"}
for source in sorted(set(os.listdir(media)) - left):
    if not source.startswith("."):
        compare(source)
same(len({(kind, number) for (kind, _), number in numbers.items()}), len(numbers), numbers)

# First the chapters that a jump back ended, then each stream's last one.
chapters = timeline(chain, 2, 40)
same([(c["streamIndex"], c["mediaType"]) for c in chapters[3:]], [(0, 0), (1, 1), (2, 1)])
joint = os.path.getsize(first)
for closed in chapters[:3]:
    behind = chapters[3 + closed["streamIndex"]]
    places = [0, closed["headPosInFile"], closed["tailPosInFile"], joint,
              behind["headPosInFile"], behind["tailPosInFile"]]
    same(places, sorted(places))
    same([closed["outDtsBase"], closed["outPtsBase"], behind["outDtsBase"], behind["outPtsBase"]],
         [closed["firstDts"], closed["firstPts"], closed["lastDts"] + 1, closed["lastPts"]])

with tempfile.NamedTemporaryFile(suffix=".vob") as many, open(first, "rb") as source:
    part = source.read()
    for i in range(20):  # each with an end of its own: cut in the middle of a packet
        many.write(part[:len(part) // 2 + 1009 * i])
    many.flush()
    timeline(many.name, 20, 1000)

status, lines, errors = run(garbage, first)
assert status == 1 and [line["path"] for line in lines] == [first], lines
assert garbage in errors and "Invalid data" in errors, errors
status, lines, errors = run()
assert status == 2 and not lines, status
