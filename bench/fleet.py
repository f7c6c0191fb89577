#!/usr/bin/env python3
"""How long a fleet of machines works on an archive: a simulation, its measured inputs, and its proof.

    bench/fleet.py measure      measures rates on this machine, and writes bench/fleet.json; three minutes
    bench/fleet.py table        prints the tables of docs/many-machines.md, from bench/fleet.json; three minutes
    bench/fleet.py check        predicts what two workers take here, lets them work, and compares; three minutes;
                                ends with 1 where a prediction is off by more than 20 %

A worker is one run of `vxcompress -j1` on one core, which takes a shard, and when that is done the next one. A machine is
as many workers as it has cores, which are lost together. All machines share one disk.
"""
import collections
import contextlib
import dataclasses
import hashlib
import heapq
import json
import math
import os
import random
import signal
import statistics
import subprocess
import sys
import tempfile
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.realpath(__file__)))
BIN = os.path.join(ROOT, "build", "release", "bin")
FIGURES = os.path.join(ROOT, "bench", "fleet.json")

# What files are measured in: a picture in megapixels, a film of 1080p in seconds.
SUFFIXES = {"jpeg": ".jpg", "png": ".png", "webp": ".webp", "film": ".mkv"}
PICTURE = "mandelbrot=s={size}:r=5:maxiter=200:end_scale=0.05,noise=alls=8:allf=t"
FILM = "testsrc2=s=1920x1080:r=25,noise=alls={noise}:allf=t"


# What things cost.

@dataclasses.dataclass(frozen=True)
class Rate:
    """What a file of one kind takes of a core, in seconds, and moves, in bytes: so much a unit."""
    fixed: float
    seconds: float
    bytes_in: float
    bytes_out: float

    def file(self, units, bytes_in=None):
        return File(self.fixed + self.seconds * units, self.bytes_in * units if bytes_in is None else bytes_in,
                    self.bytes_out * units)


@dataclasses.dataclass(frozen=True)
class Figures:
    """All that is measured of a machine. Times in seconds, on one core while all others are as busy."""
    rates: dict[str, Rate]
    start: float  # of a run, before its first file
    name: float  # for each name of the list, also those of other shards
    skip: float  # for each file that is there already

    @staticmethod
    def read():
        with open(FIGURES, encoding="utf-8") as file:
            figures = json.load(file)
        del figures["measured"]
        return Figures(**{**figures, "rates": {kind: Rate(**rate) for kind, rate in figures["rates"].items()}})


File = collections.namedtuple("File", "seconds bytes_in bytes_out")


# The simulation.

@dataclasses.dataclass(frozen=True)
class Fleet:
    """`slow` tells how many times as long a machine takes, `losses` are (seconds, machine)."""
    machines: int
    cores: int
    disk: float = math.inf  # bytes a second
    slow: dict[int, float] = dataclasses.field(default_factory=dict)
    losses: tuple[tuple[float, int], ...] = ()
    noticed: float = 0  # after so many seconds a lost machine's shards are queued again
    back: float = math.inf  # after so many it works again


@dataclasses.dataclass
class Outcome:
    seconds: float = 0
    overhead: float = 0  # core seconds for beginning runs, and for passing over what is done
    lost: float = 0  # core seconds for files whose worker was lost
    again: int = 0  # so many files


class Simulation:
    """A heap of moments. Whatever takes time is a generator that yields the moment when it goes on."""

    # A film is read, encoded and written by such pieces, so that it leaves the disk to others between them.
    PIECE_BYTES = 16e6

    def __init__(self, files, shards, fleet, figures):
        self.files, self.shards, self.fleet, self.figures = files, shards, fleet, figures
        self.now = 0.0
        self.moments = []
        self.order = 0
        self.queue = collections.deque(range(len(shards)))
        self.done = bytearray(len(files))
        self.left = len(files)
        self.disk_is_free = 0.0
        self.idle = []
        self.workers = [{} for _ in range(fleet.machines)]  # of each machine: generator to [shard, file's beginning]
        self.outcome = Outcome()

    def run(self):
        # Machines take turns, as a scheduler that spreads tasks does.
        self.idle = [machine for _ in range(self.fleet.cores) for machine in range(self.fleet.machines)]
        self.wake()
        for seconds, machine in self.fleet.losses:
            self.go_on(self.lose(seconds, machine))
        while self.left:
            self.now, _, process = heapq.heappop(self.moments)
            self.go_on(process)
        self.outcome.seconds = self.now
        return self.outcome

    def go_on(self, process):
        moment = next(process, None)
        if moment is not None:
            self.order += 1
            heapq.heappush(self.moments, (moment, self.order, process))

    def wake(self):
        idle, self.idle = self.idle, []
        for machine in idle:
            state = [None, None]
            worker = self.work(machine, state)
            self.workers[machine][worker] = state
            self.go_on(worker)

    def disk(self, amount):
        """When the disk, which does one thing after another, has moved so many bytes."""
        self.disk_is_free = max(self.now, self.disk_is_free) + amount / self.fleet.disk
        return self.disk_is_free

    def work(self, machine, state):
        pace = self.fleet.slow.get(machine, 1)
        begin = pace * (self.figures.start + self.figures.name * len(self.files))
        while self.queue:
            state[0] = self.queue.popleft()
            self.outcome.overhead += begin
            yield self.now + begin
            for number in self.shards[state[0]]:
                if self.done[number]:
                    self.outcome.overhead += pace * self.figures.skip
                    yield self.now + pace * self.figures.skip
                    continue
                state[1] = self.now
                file = self.files[number]
                pieces = math.ceil(file.bytes_in / self.PIECE_BYTES)
                for _ in range(pieces):
                    yield self.disk(file.bytes_in / pieces)
                    yield self.now + pace * file.seconds / pieces
                    yield self.disk(file.bytes_out / pieces)
                state[1] = None
                self.done[number] = 1
                self.left -= 1
            state[0] = None
        self.idle.append(machine)

    def lose(self, seconds, machine):
        yield seconds
        workers, self.workers[machine] = self.workers[machine], {}
        for worker, (_, begun) in workers.items():
            worker.close()
            if begun is not None:
                self.outcome.lost += self.now - begun
                self.outcome.again += 1
        self.idle = [other for other in self.idle if other != machine]
        yield self.now + self.fleet.noticed
        self.queue.extend(shard for shard, _ in workers.values() if shard is not None)
        self.wake()
        if self.fleet.back < math.inf:
            yield seconds + self.fleet.back
            self.idle.extend([machine] * self.fleet.cores)
            self.wake()


def simulate(files, shards, fleet, figures):
    return Simulation(files, shards, fleet, figures).run()


# Real runs.

def tool(name, *arguments):
    subprocess.run([os.path.join(BIN, name), *arguments], check=True, stdin=subprocess.DEVNULL)


def make_pictures(folder, kind, size, count):
    """Names and megapixels."""
    names = [f"{folder}/{kind}-{size}-{number:03d}{SUFFIXES[kind]}" for number in range(1, count + 1)]
    options = {"jpeg": ["-q:v", "2"], "png": [], "webp": ["-c:v", "libwebp", "-quality", "95", "-f", "image2"]}[kind]
    tool("ffmpeg", "-v", "error", "-f", "lavfi", "-i", PICTURE.format(size=size), "-frames:v", str(count), *options,
         f"{folder}/{kind}-{size}-%03d{SUFFIXES[kind]}")
    width, height = map(int, size.split("x"))
    return [(name, kind, width * height / 1e6) for name in names]


def make_film(folder, seconds, noise):
    """As a telephone takes it: 16 Mbit a second, and sound."""
    name = f"{folder}/film-{seconds}-{noise}{SUFFIXES['film']}"
    tool("ffmpeg", "-v", "error", "-f", "lavfi", "-i", FILM.format(noise=noise), "-f", "lavfi", "-i",
         f"sine=f={noise * 110}:r=48000", "-t", str(seconds), "-c:v", "libx264", "-preset", "ultrafast", "-b:v", "16M",
         "-pix_fmt", "yuv420p", "-c:a", "aac", name)
    return [(name, "film", seconds)]


def write_list(name, files):
    with open(name, "wb") as file:
        file.writelines(os.fsencode(each) + b"\0" for each in files)


def start_run(core, names, output, stream, *options):
    """In a group of its own, with its encoders."""
    with open(stream, "ab") as file:
        return subprocess.Popen(
            ["taskset", "-c", str(core), os.path.join(BIN, "vxcompress"), "--files-from", names, "--null", "-o", output, "-j1",
             "--json", "--skip-existing", *options], stdout=file, start_new_session=True)


def wait_for(process):
    if process.wait():
        raise SystemExit(f"fleet: vxcompress ended with {process.returncode}")


def results_of(stream):
    with open(stream, encoding="utf-8") as file:
        lines = [json.loads(line) for line in file]
    return [line for line in lines if line["type"] == "result"]


def all_cores(names, folder, *options, output=None):
    """One run on each core, of the same files, all at once: how long each took, and its stream."""
    cores = sorted(os.sched_getaffinity(0))
    place = tempfile.mkdtemp(dir=folder)
    begun = time.monotonic()
    runs = [start_run(core, names, output or f"{place}/{core}", f"{place}/{core}.ndjson", *options) for core in cores]
    took = []
    for core, run in zip(cores, runs):
        wait_for(run)
        took.append((time.monotonic() - begun, f"{place}/{core}.ndjson"))
    return took


def fit(points):
    """The straight line nearest to (units, seconds): where it begins, not below nothing, and how steep it is."""
    units, seconds = zip(*points)
    slope, begin = statistics.linear_regression(units, seconds)
    if begin < 0:
        slope, begin = statistics.linear_regression(units, seconds, proportional=True)
    return begin, slope


def take_figures(folder, sizes, count, lengths, rounds):
    """Measures with so many pictures of each kind and size, films of such lengths, medians of so many rounds."""
    sources = f"{folder}/sources"
    os.makedirs(sources)
    files = [file for kind in ("jpeg", "png", "webp") for size in sizes for file in make_pictures(sources, kind, size, count)]
    files += [file for number, seconds in enumerate(lengths, 3) for file in make_film(sources, seconds, number)]
    for names, some in (("one", files[:1]), ("all", files), ("many", (f"archive/{i:06d}" for i in range(100000)))):
        write_list(f"{folder}/{names}", some if names == "many" else (name for name, _, _ in some))

    # What passes over 2,000 files that are there finds their names, and opens none.
    os.makedirs(f"{folder}/there")
    there = [f"{number:04d}.jpg" for number in range(2000)]
    for name in there:
        os.link(files[0][0], f"{folder}/there/{name}")
    write_list(f"{folder}/passed", there)

    starts, names, skips = [], [], []
    seen = collections.defaultdict(list)
    for _ in range(rounds):
        starts += [took - results_of(stream)[0]["seconds"] for took, stream in all_cores(f"{folder}/one", folder)]
        # No name of the list is in that part.
        nothing = statistics.median(took for took, _ in all_cores(f"{folder}/one", folder, "--shard", "999983/1000000"))
        names += [(took - nothing) / 1e5
                  for took, _ in all_cores(f"{folder}/many", folder, "--shard", "999983/1000000")]
        skips += [(took - nothing) / len(there)
                  for took, _ in all_cores(f"{folder}/passed", folder, output=f"{folder}/there")]
        for took, stream in all_cores(f"{folder}/all", folder):
            results = results_of(stream)
            # What lies between the jobs belongs to them too.
            between = (took - statistics.median(starts) - sum(result["seconds"] for result in results)) / len(results)
            for (_, kind, units), result in zip(files, results):
                seen[kind].append((units, result["seconds"] + between, result["bytesBefore"], result["bytesAfter"]))
    rates = {}
    for kind, rows in seen.items():
        fixed, seconds = fit([(units, took) for units, took, _, _ in rows])
        total = sum(units for units, _, _, _ in rows)
        rates[kind] = Rate(fixed, seconds, sum(row[2] for row in rows) / total, sum(row[3] for row in rows) / total)
    return Figures(rates, statistics.median(starts), statistics.median(names), statistics.median(skips))


def shard_of(name, count):
    """As `--shard` has it: by the name without its suffix, in small letters."""
    stem = os.path.splitext(os.path.basename(name))[0].lower()
    return int.from_bytes(hashlib.sha1(os.fsencode(stem)).digest()[:8], "big") % count


class TwoWorkers:
    """Two real workers, each on a core of its own, that take shards of a list as the simulated ones do."""

    def __init__(self, names, count, output):
        self.names, self.count, self.output = names, count, output
        self.queue = collections.deque(range(count))
        self.changed = threading.Condition()
        self.at_work = {}  # worker: its process
        self.is_over = False

    def run(self, slow, kill_at):
        """Seconds until all is done. Worker 1 is at work half of its time where `slow`, and is killed after `kill_at`."""
        helpers = [threading.Thread(target=self.hold_back)] if slow else []
        helpers += [threading.Thread(target=self.kill, args=[kill_at])] if kill_at else []
        workers = [threading.Thread(target=self.work, args=[number, core])
                   for number, core in enumerate(sorted(os.sched_getaffinity(0))[:2])]
        begun = time.monotonic()
        for thread in workers + helpers:
            thread.start()
        for thread in workers:
            thread.join()
        seconds = time.monotonic() - begun
        self.is_over = True
        for thread in helpers:
            thread.join()
        return seconds

    def work(self, number, core):
        status = 0
        while status == 0:
            with self.changed:
                # What another has may come back.
                self.changed.wait_for(lambda: self.queue or not self.at_work)
                if not self.queue:
                    return
                shard = self.queue.popleft()
                process = start_run(core, self.names, self.output, f"{self.output}.{number}.ndjson", "--shard",
                                    f"{shard + 1}/{self.count}")
                self.at_work[number] = process
            status = process.wait()
            with self.changed:
                del self.at_work[number]
                if status:
                    self.queue.append(shard)
                self.changed.notify_all()

    def kill(self, seconds):
        time.sleep(seconds)
        while not self.is_over:
            with self.changed:
                if 1 in self.at_work:
                    self.at_work[1].kill()
                    return
            time.sleep(0.001)

    def hold_back(self):
        """The whole group stands still, encoders too, every other 20 ms."""
        while not self.is_over:
            for what in (signal.SIGSTOP, signal.SIGCONT):
                with self.changed:
                    # It may be gone, and not yet known to be.
                    if 1 in self.at_work:
                        with contextlib.suppress(ProcessLookupError):
                            os.killpg(self.at_work[1].pid, what)
                time.sleep(0.02)


# What is printed.

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
        json.dump({"measured": f"{len(os.sched_getaffinity(0))} cores at once, {model}", **dataclasses.asdict(figures)}, file,
                  indent=4)
        file.write("\n")


# Name, shards, whether a worker is slow, whether one is lost.
TRIALS = (("a shard each", 2, False, False), ("12 shards", 12, False, False), ("12 shards, a worker at half its pace", 12, True, False),
          ("12 shards, a worker killed half-way", 12, False, True))


def check():
    """The figures are taken anew before every run, of other files than those that it predicts."""
    good = True
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(f"{folder}/archive")
        files = [file for kind, count in (("jpeg", 70), ("png", 14), ("webp", 12))
                 for file in make_pictures(f"{folder}/archive", kind, "1632x1224", count)]
        files += [file for seconds, noise in ((2, 5), (3, 6), (4, 7), (5, 8))
                  for file in make_film(f"{folder}/archive", seconds, noise)]
        write_list(f"{folder}/list", (name for name, _, _ in files))
        head(f"two workers, {len(files)} files", "predicted", "real", "real / predicted")
        for number, (name, count, slow, killed) in enumerate(TRIALS):
            os.mkdir(f"{folder}/{number}")
            figures = take_figures(f"{folder}/{number}", ("1152x864", "2016x1512"), 2, (1, 3), 1)
            costs = [figures.rates[kind].file(units, os.path.getsize(name)) for name, kind, units in files]
            shards = [[i for i, file in enumerate(files) if shard_of(file[0], count) == shard] for shard in range(count)]
            fleet = Fleet(2, 1, slow={1: 2.0} if slow else {})
            kill_at = simulate(costs, shards, fleet, figures).seconds / 2 if killed else None
            if killed:
                fleet = dataclasses.replace(fleet, losses=((kill_at, 1),))
            predicted = simulate(costs, shards, fleet, figures).seconds
            output = f"{folder}/{number}/small"
            real = TwoWorkers(f"{folder}/list", count, output).run(slow, kill_at)
            if len([name for name in os.listdir(output) if not name.startswith(".")]) != len(files):
                raise SystemExit(f"fleet: {name}: not every file has a result")
            row(name, f"{predicted:.1f} s", f"{real:.1f} s", f"{real / predicted:.2f}")
            good = good and abs(real / predicted - 1) <= 0.2
    return 0 if good else 1


def table():
    pass


if __name__ == "__main__":
    commands = {"measure": measure, "table": table, "check": check}
    if len(sys.argv) != 2 or sys.argv[1] not in commands:
        sys.exit(__doc__)
    if sys.argv[1] != "table":
        subprocess.run([os.path.join(ROOT, "scripts", "build"), "release"], check=True)
    sys.exit(commands[sys.argv[1]]())
