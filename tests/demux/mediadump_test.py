#!/usr/bin/env python3
"""What mediadump says of real sources against ffprobe, and a chain's timeline: mediadump_test.py MEDIA MEDIADUMP"""
import json
import re
import subprocess
import sys

media, *program = sys.argv[1:]
# It lies beside mediadump.
prober = [*program[:-1], re.sub("mediadump([.]exe)?$", r"ffprobe\1", program[-1])]
KINDS = {"video": 0, "audio": 1, "subtitle": 3}
CODECS = {"h264": 27, "aac": 86018, "mpeg4": 12, "mpeg2video": 2, "ac3": 86019, "png": 61, "vorbis": 86021,
          "mp3": 86017, "wmv2": 18, "wmav2": 86024}
FORMATS = {"yuv420p": 0, "yuvj420p": 12, "rgb24": 2, "yuv444p": 5, "s16p": 6, "fltp": 8}


def run(*arguments):
    done = subprocess.run([*program, *arguments], capture_output=True, text=True, check=False)
    return done.returncode, [json.loads(line) for line in done.stdout.splitlines()], done.stderr


def ffprobe(*arguments):
    return json.loads(subprocess.check_output([*prober, "-v", "quiet", "-of", "json", *arguments]))


def same(found, expected, *where):
    assert found == expected, (*where, found, expected)


def fraction(text):
    return [int(number) for number in re.split("[:/]", text)]


def stream_fields(name, stream, found):
    """A stream of ffprobe as mediadump tells it."""
    if stream["codec_type"] == "subtitle":
        return {"index": stream["index"], "isTextSubtitle": stream["codec_name"] == "subrip"}
    base, duration = fraction(stream["time_base"]), stream.get("duration_ts")
    fields = {
        "index": stream["index"], "mediaType": -1, "timeBase": base, "codecId": CODECS[stream["codec_name"]],
        "codecTag": int(stream["codec_tag"], 16), "bitRate": int(stream.get("bit_rate", 0)),
        "durationMs": int(duration * (base[0] / base[1]) * 1000) if duration else min(found["durationMs"], -1),
    }
    if stream["codec_type"] == "audio":
        return fields | {
            "sampleFormat": FORMATS[stream["sample_fmt"]], "channels": stream["channels"],
            "sampleRate": int(stream["sample_rate"]),
            "channelLayout": {"mono": 4, "stereo": 3}.get(stream.get("channel_layout"), 0),
        }
    left = next((data["rotation"] for data in stream.get("side_data_list", []) if "rotation" in data), 0)
    rates = [stream["r_frame_rate"], stream["avg_frame_rate"], "25/1"]
    return fields | {
        "pixelFormat": FORMATS[stream["pix_fmt"]], "width": stream["width"], "height": stream["height"],
        "frameRate": next(rate for rate in map(fraction, rates) if rate == found["frameRate"]),
        "sampleAspectRatio": fraction(stream.get("sample_aspect_ratio", "0:1")),
        "rotation": -left % 360,  # ffprobe turns the other way round
        # A video of at most three packets is a still image.
        "isAttachedPicture": bool(stream["disposition"]["attached_pic"]) or name == "wmv-3.wmv",
    }


def compare(name):
    """Description and packets; ffprobe reads some formats in the same way only when told so."""
    path = f"{media}/{name}"
    told = {"flv": ["-f", "live_flv"], "ts.": ["-scan_all_pmts", "0"]}.get(name[:3], [])
    probe = ffprobe(*told, "-show_format", "-show_streams", path)
    status, (found, *packets), errors = run("--packets", path)
    same((status, errors), (0, ""), name)
    for kind in KINDS:
        streams = [stream for stream in probe["streams"] if stream["codec_type"] == kind]
        same(found[kind + "Streams"], [stream_fields(name, *pair) for pair in zip(streams, found[kind + "Streams"])], name)
    same([(stream["index"], stream["mediaType"], stream["timeBase"]) for stream in found["streams"]],
         [(s["index"], KINDS[s["codec_type"]], fraction(s["time_base"])) for s in probe["streams"]], name)
    container = probe["format"]
    duration = round(float(container.get("duration", -1)) * 1e6)
    same([max(found["durationMs"], -1), found["formatLongName"], found["bitRate"]],
         [-1 if duration < 0 else (duration + 5000) // 1000, container["format_long_name"],
          int(container.get("bit_rate", 0))], name)
    if "start_time" in container:
        same(found["startTimeMs"], int(round(float(container["start_time"]) * 1e6) / 1000), name)
    # A run of its own: reading the packets changes what ffprobe says of the streams.
    same([(p["streamIndex"], p["pts"], p["dts"], p["pos"], p["size"]) for p in packets],
         [(p["stream_index"], p.get("pts"), p.get("dts"), int(p.get("pos", -1)), int(p["size"]))
          for p in ffprobe(*told, "-show_packets", path)["packets"]], name)


for source in ["avi.avi", "cover-before.mp4", "cover.mp3", "flv.flv", "live.mkv", "odd-481x719.mp4", "raw.h264",
               "rotate-90.mp4", "sar-4-3.mp4", "subs-mixed.mkv", "ts.ts", "vob.vob", "wmv-3.wmv", "wmv-many.wmv"]:
    compare(source)

# Two files in a chain, of which the first begins late, are one timeline without a step back or a gap.
status, (_, chapters, *packets), _ = run("--vob", "--chapters", "--packets", f"{media}/vob-chain.vob")
same((status, len(chapters["chapters"]), chapters["audioPtsFromDts"]), (0, 6, False))
last = {}
for packet in packets:
    step = packet["dts"] - last.get(packet["streamIndex"], packet["dts"] - 1)
    assert 0 < step <= 40 * 90, (step, packet)
    last[packet["streamIndex"]] = packet["dts"]
same(sorted(last), [0, 1, 2])
status, lines, errors = run(f"{media}/garbage.mp4", f"{media}/vob.vob")
same((status, [line["path"] for line in lines], "Invalid data" in errors), (1, [f"{media}/vob.vob"], True))
same(run()[0], 2)
