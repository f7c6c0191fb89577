#!/usr/bin/env python3
"""mediadump as those who call it see it: mediadump_test.py MEDIADUMP MEDIA"""

import json
import subprocess
import sys

program, media = sys.argv[1:]


def run(*arguments):
    done = subprocess.run([program, *arguments], capture_output=True, text=True, check=False)
    return done.returncode, [json.loads(line) for line in done.stdout.splitlines()], done.stderr


chain, film, garbage = (f"{media}/{name}" for name in ("vob-chain.vob", "sar-32-27.mp4", "garbage.mp4"))

status, (first, second), errors = run(film, chain)
assert status == 0 and errors == "", errors
assert first["path"] == film and first["durationMs"] == 3005, first
assert first["videoStreams"][0]["sampleAspectRatio"] == [32, 27], first
assert first["subtitleStreams"] == [], first
assert len(second["streams"]) == 3, second

status, lines, errors = run(garbage, film)
assert status == 1 and [line["path"] for line in lines] == [film], lines
assert garbage in errors and "Invalid data" in errors, errors

status, (media_line, chapters), errors = run("--chapters", chain)
assert status == 0 and len(chapters["chapters"]) == 6, chapters
assert chapters["audioPtsFromDts"] is False, chapters


def falls(*options):
    """How many packets come before their predecessor."""
    status, (_, *packets), _ = run("--packets", *options, chain)
    assert status == 0
    last, count = {}, 0
    for packet in packets:
        count += packet["dts"] <= last.get(packet["streamIndex"], -1)
        last[packet["streamIndex"]] = packet["dts"]
    return count


assert falls() == 3
assert falls("--vob") == 0

status, lines, errors = run()
assert status == 2 and not lines, status
