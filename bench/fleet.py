#!/usr/bin/env -S python3 -B
"""How long a fleet of machines works on an archive: measured, simulated and proven.

    bench/fleet.py measure      measures rates on this machine, and writes bench/fleet.json
    bench/fleet.py table        prints the tables of docs/many-machines.md, from bench/fleet.json
    bench/fleet.py check        predicts what two workers take here, lets them work, and compares; ends with 1 where a
                                prediction is off by more than 20 %

Each takes some minutes, and the first and the last a quiet machine.
"""
import dataclasses
import json
import math
import os
import random
import subprocess
import sys
import tempfile

from fleet_model import Figures, Fleet, simulate
from fleet_runs import TwoWorkers, make_video, make_images, shard_of, take_figures, write_list

ROOT = os.path.dirname(os.path.dirname(os.path.realpath(__file__)))
FIGURES = os.path.join(ROOT, "bench", "fleet.json")


def row(*cells):
    print("|", " | ".join(map(str, cells)), "|", flush=True)


def head(*cells):
    row(*cells)
    print("|" + "---|" * len(cells))


def measure():
    with tempfile.TemporaryDirectory() as folder:
        figures = take_figures(folder, ("1152x864", "1632x1224", "2304x1728"), 4, (2, 6), 3)
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        model = next(line.split(": ")[1].strip() for line in file if line.startswith("model name"))
    with open(FIGURES, "w", encoding="utf-8") as file:
        measured = f"{len(os.sched_getaffinity(0))} cores at once, {model}"
        json.dump({"measured": measured, **dataclasses.asdict(figures)}, file, indent=4)
        file.write("\n")


# Name, shards, whether a worker is slow, whether one is lost.
TRIALS = (
    ("a shard each", 2, False, False),
    ("12 shards", 12, False, False),
    ("12 shards, a worker at half its pace", 12, True, False),
    ("12 shards, a worker killed half-way", 12, False, True),
)


def check():
    """The figures are taken anew before every run, of other files than those that it predicts."""
    good = True
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(f"{folder}/archive")
        files = [file for kind, count in (("jpeg", 70), ("png", 14), ("webp", 12))
                 for file in make_images(f"{folder}/archive", kind, "1632x1224", count)]
        files += [file for seconds, noise in ((2, 5), (3, 6), (4, 7), (5, 8))
                  for file in make_video(f"{folder}/archive", seconds, noise)]
        write_list(f"{folder}/list", (name for name, _, _ in files))
        head(f"two workers, {len(files)} files", "core seconds", "predicted", "real", "real / predicted")
        for number, (name, count, slow, killed) in enumerate(TRIALS):
            os.mkdir(f"{folder}/{number}")
            figures = take_figures(f"{folder}/{number}", ("1152x864", "2016x1512"), 2, (1, 3), 1)
            costs = [figures.rates[kind].file(units, os.path.getsize(name)) for name, kind, units in files]
            shards = [[] for _ in range(count)]
            for at, file in enumerate(files):
                shards[shard_of(file[0], count)].append(at)
            fleet = Fleet(2, 1, slow={1: 2.0} if slow else {})
            kill_at = simulate(costs, shards, fleet, figures).seconds / 2 if killed else None
            if killed:
                fleet = dataclasses.replace(fleet, losses=((kill_at, 1),))
            predicted = simulate(costs, shards, fleet, figures).seconds
            output = f"{folder}/{number}/small"
            real = TwoWorkers(f"{folder}/list", count, output).run(slow, kill_at)
            if len([name for name in os.listdir(output) if not name.startswith(".")]) != len(files):
                raise SystemExit(f"fleet: {name}: not every file has a result")
            work = sum(file.seconds for file in costs)
            row(name, f"{work:.1f} s", f"{predicted:.1f} s", f"{real:.1f} s", f"{real / predicted:.2f}")
            good = good and abs(real / predicted - 1) <= 0.2
    return 0 if good else 1


PHOTOS, VIDEOS = 1_000_000, 10_000
# Of the photos so many are of this kind, and half of these have fewer megapixels than that.
MIX = {"jpeg": (0.85, 8.0), "png": (0.10, 2.0), "webp": (0.05, 2.0)}
VIDEO_SECONDS = 60.0
# Sizes are log-normal: two thirds lie within this factor of the median, and none beyond the largest.
PHOTO_FACTOR, PHOTO_MOST, VIDEO_FACTOR, VIDEO_MOST = 1.6, 50.0, 2.7, 7200.0
# What is left of 1 and 10 Gbit a second below the frames and a network drive's own words.
DISKS = {"1 Gbit/s": 0.94 * 125e6, "10 Gbit/s": 0.94 * 1250e6}
# A scheduler waits for a silent machine before it gives it up.
NOTICED = 300.0


def draw_archive(figures):
    """The photos, and behind them the videos; always the same ones."""
    chance = random.Random(1)
    kinds = chance.choices(list(MIX), [share for share, _ in MIX.values()], k=PHOTOS)
    draws = [(kind, MIX[kind][1], PHOTO_FACTOR, PHOTO_MOST) for kind in kinds]
    draws += [("video", VIDEO_SECONDS, VIDEO_FACTOR, VIDEO_MOST)] * VIDEOS
    return [figures.rates[kind].file(min(chance.lognormvariate(math.log(median), math.log(factor)), most))
            for kind, median, factor, most in draws]


def cut(files, size):
    """Shards of so many files on average, by chance, as names decide it."""
    chance = random.Random(2)
    shards = [[] for _ in range(math.ceil(len(files) / size))]
    for number in range(len(files)):
        chance.choice(shards).append(number)
    return shards


def videos_first(files, size):
    """A shard for each video, the largest first; behind them the photos."""
    videos = sorted(range(PHOTOS, PHOTOS + VIDEOS), key=lambda number: -files[number].bytes_in)
    return [[number] for number in videos] + cut(range(PHOTOS), size)


def lose_at_random(machines, mean, back, until):
    """Each machine after so many seconds at work on average, again and again."""
    chance = random.Random(3)
    losses = []
    for machine in range(machines):
        at = chance.expovariate(1 / mean)
        while at < until:
            losses.append((at, machine))
            at += back + chance.expovariate(1 / mean)
    return tuple(losses)


def hours(seconds):
    return f"{seconds / 3600:.2f} h"


def table():
    figures = Figures.read(FIGURES)
    print_rates(figures)
    files = draw_archive(figures)
    print_fleets(files, figures)
    print_shards(files, figures)
    print_losses(files, figures)


def print_rates(figures):
    head("a file", "core seconds", "files per core and second", "read", "written", "cores that fill 1 Gbit/s")
    typical = [(f"{kind}, {median:g} MP", kind, median) for kind, (_, median) in MIX.items()]
    typical += [(f"video of 1080p, {VIDEO_SECONDS:g} s", "video", VIDEO_SECONDS)]
    for name, kind, units in typical:
        file = figures.rates[kind].file(units)
        row(name, f"{file.seconds:.2f}", f"{1 / file.seconds:.2g}", f"{file.bytes_in / 1e6:.2f} MB",
            f"{file.bytes_out / 1e6:.2f} MB",
            f"{DISKS['1 Gbit/s'] * file.seconds / (file.bytes_in + file.bytes_out):.0f}")
    print(f"\nA run begins in {figures.start * 1e3:.0f} ms, takes {figures.name * 1e6:.2f} µs for each name of its list "
          f"and {figures.skip * 1e6:.0f} µs for each file that is there already.\n")


def print_fleets(files, figures):
    work = sum(file.seconds for file in files)
    moved = sum(file.bytes_in + file.bytes_out for file in files)
    video_work = sum(file.seconds for file in files[PHOTOS:])
    print(f"The archive: {work / 3600:.0f} core hours, {video_work / work:.0%} of them for videos, and {moved / 1e12:.2f} TB "
          "read and written.")
    for name, bandwidth in DISKS.items():
        print(f"{name} is full with {bandwidth * work / moved:.0f} cores at work.")
    print()

    head("machines × cores", *(title for name in DISKS for title in (f"over {name}", "cores at work", "disk at work")))
    shards = videos_first(files, 100)
    for machines, cores in ((1, 8), (1, 16), (2, 16), (4, 16), (8, 16), (16, 16)):
        cells = []
        for bandwidth in DISKS.values():
            seconds = simulate(files, shards, Fleet(machines, cores, bandwidth), figures).seconds
            cells += [hours(seconds), f"{work / (machines * cores * seconds):.0%}", f"{moved / bandwidth / seconds:.0%}"]
        row(f"{machines} × {cores}", *cells)
    print()


# What the last two tables are about: not full, so that they show more than the disk.
FLEET = Fleet(8, 16, DISKS["10 Gbit/s"])


def print_shards(files, figures):
    head(f"{FLEET.machines} × {FLEET.cores}, 10 Gbit/s; shards", "all well", "core hours beside the files",
         "a machine at half its pace", "a machine lost half-way", "core hours lost")
    cuts = [(f"{size} files", cut(files, size)) for size in (10, 100, 1000)]
    cuts += [("a shard for each core", cut(files, len(files) / (FLEET.machines * FLEET.cores)))]
    cuts += [(f"a video alone, the largest first; {size} photos", videos_first(files, size)) for size in (100, 1000)]
    for name, shards in cuts:
        well = simulate(files, shards, FLEET, figures)
        slow = simulate(files, shards, dataclasses.replace(FLEET, slow={0: 2.0}), figures)
        losing = dataclasses.replace(FLEET, losses=((well.seconds / 2, 0),), noticed=NOTICED)
        lost = simulate(files, shards, losing, figures)
        row(name, hours(well.seconds), f"{well.overhead / 3600:.1f}", hours(slow.seconds), hours(lost.seconds),
            f"{lost.lost / 3600:.2f}")
    print()


def print_losses(files, figures):
    back = 600.0
    head(f"machines are lost, and back in {back / 60:g} minutes", "losses", "takes", "core hours lost", "files begun again")
    shards = videos_first(files, 100)
    long_enough = 10 * sum(file.seconds for file in files) / (FLEET.machines * FLEET.cores)
    for mean in (24, 4, 1):
        losses = lose_at_random(FLEET.machines, mean * 3600, back, long_enough)
        fleet = dataclasses.replace(FLEET, losses=losses, noticed=NOTICED, back=back)
        outcome = simulate(files, shards, fleet, figures)
        row(f"each once in {mean} h", sum(at < outcome.seconds for at, _ in losses), hours(outcome.seconds),
            f"{outcome.lost / 3600:.2f}", outcome.again)


if __name__ == "__main__":
    commands = {"measure": measure, "table": table, "check": check}
    if len(sys.argv) != 2 or sys.argv[1] not in commands:
        sys.exit(__doc__)
    if sys.argv[1] != "table":
        subprocess.run([os.path.join(ROOT, "scripts", "build"), "release"], check=True)
    sys.exit(commands[sys.argv[1]]())
