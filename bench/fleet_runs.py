"""Real runs of vxcompress, each on one core: what they cost, and how long two workers take."""
import collections
import concurrent.futures
import contextlib
import hashlib
import json
import os
import signal
import statistics
import subprocess
import tempfile
import threading
import time

from fleet_model import Figures, Rate

BIN = os.path.join(os.path.dirname(os.path.dirname(os.path.realpath(__file__))), "build", "release", "bin")

# What files are measured in: an image in megapixels, a video of 1080p in seconds.
SUFFIXES = {"jpeg": ".jpg", "png": ".png", "webp": ".webp", "video": ".mkv"}
IMAGE = "mandelbrot=s={size}:r=5:maxiter=200:end_scale=0.05,noise=alls=8:allf=t"
VIDEO = "testsrc2=s=1920x1080:r=25,noise=alls={noise}:allf=t"


def tool(name, *arguments):
    subprocess.run([os.path.join(BIN, name), *arguments], check=True, stdin=subprocess.DEVNULL)


def make_images(folder, kind, size, count):
    """Names and megapixels."""
    names = [f"{folder}/{kind}-{size}-{number:03d}{SUFFIXES[kind]}" for number in range(1, count + 1)]
    options = {"jpeg": ["-q:v", "2"], "png": [], "webp": ["-c:v", "libwebp", "-quality", "95", "-f", "image2"]}[kind]
    tool("ffmpeg", "-v", "error", "-f", "lavfi", "-i", IMAGE.format(size=size), "-frames:v", str(count), *options,
         f"{folder}/{kind}-{size}-%03d{SUFFIXES[kind]}")
    width, height = map(int, size.split("x"))
    return [(name, kind, width * height / 1e6) for name in names]


def make_video(folder, seconds, noise):
    """As a telephone takes it: 16 Mbit a second, and sound."""
    name = f"{folder}/video-{seconds}-{noise}{SUFFIXES['video']}"
    tool("ffmpeg", "-v", "error", "-f", "lavfi", "-i", VIDEO.format(noise=noise), "-f", "lavfi", "-i",
         f"sine=f={noise * 110}:r=48000", "-t", str(seconds), "-c:v", "libx264", "-preset", "ultrafast", "-b:v", "16M",
         "-pix_fmt", "yuv420p", "-c:a", "aac", name)
    return [(name, "video", seconds)]


def write_list(name, files):
    with open(name, "wb") as file:
        file.writelines(os.fsencode(each) + b"\0" for each in files)


def start_run(core, names, output, stream, *options):
    """In a group of its own, with its encoders."""
    with open(stream, "ab") as file:
        return subprocess.Popen(
            ["taskset", "-c", str(core), os.path.join(BIN, "vxcompress"), "--files-from", names, "--null", "-o", output,
             "-j1", "--json", "--skip-existing", *options], stdout=file, start_new_session=True)


def results_of(stream):
    with open(stream, encoding="utf-8") as file:
        lines = [json.loads(line) for line in file]
    return [line for line in lines if line["type"] == "result"]


def all_cores(names, folder, *options, output=None):
    """One run on each core, of the same files, all at once: how long each took, and its stream."""
    place = tempfile.mkdtemp(dir=folder)

    def run(core):
        stream = f"{place}/{core}.ndjson"
        begun = time.monotonic()
        process = start_run(core, names, output or f"{place}/{core}", stream, *options)
        if process.wait():
            raise SystemExit(f"fleet: vxcompress ended with {process.returncode}")
        return time.monotonic() - begun, stream

    cores = sorted(os.sched_getaffinity(0))
    with concurrent.futures.ThreadPoolExecutor(len(cores)) as pool:
        return list(pool.map(run, cores))


def fit(points):
    """The straight line nearest to (units, seconds): where it begins, not below nothing, and how steep it is."""
    units, seconds = zip(*points)
    slope, begin = statistics.linear_regression(units, seconds)
    if begin < 0:
        slope, begin = statistics.linear_regression(units, seconds, proportional=True)
    return begin, slope


def take_figures(folder, sizes, count, lengths, rounds):
    """Measures with so many images of each kind and size, videos of such lengths, medians of so many rounds."""
    sources = f"{folder}/sources"
    os.makedirs(sources)
    files = [file for kind in ("jpeg", "png", "webp") for size in sizes
             for file in make_images(sources, kind, size, count)]
    files += [file for number, seconds in enumerate(lengths, 3) for file in make_video(sources, seconds, number)]
    write_list(f"{folder}/all", (name for name, _, _ in files))
    write_list(f"{folder}/two", (name for name, _, _ in files[:2]))
    write_list(f"{folder}/many", (f"archive/{number:06d}" for number in range(100000)))

    # What passes over 2,000 files that are there finds their names, and opens none.
    os.makedirs(f"{folder}/there")
    there = [f"{number:04d}.jpg" for number in range(2000)]
    for name in there:
        os.link(files[0][0], f"{folder}/there/{name}")
    write_list(f"{folder}/passed", there)

    starts, names, skips = [], [], []
    seen = collections.defaultdict(list)
    # No name of the lists is in that part.
    no_part = ("--shard", "999983/1000000")
    for _ in range(rounds):
        for took, stream in all_cores(f"{folder}/two", folder):
            starts.append(took - 2 * results_of(stream)[1]["seconds"])
        nothing = statistics.median(took for took, _ in all_cores(f"{folder}/two", folder, *no_part))
        names += [(took - nothing) / 1e5 for took, _ in all_cores(f"{folder}/many", folder, *no_part)]
        passed = all_cores(f"{folder}/passed", folder, output=f"{folder}/there")
        skips += [(took - nothing) / len(there) for took, _ in passed]
        for took, stream in all_cores(f"{folder}/all", folder):
            results = results_of(stream)
            seconds = [result["seconds"] for result in results]
            # The first one's has a part of the start in it, and the next is of its size.
            seconds[0] = seconds[1]
            # What lies between the jobs belongs to them too.
            between = (took - statistics.median(starts) - sum(seconds)) / len(seconds)
            for (_, kind, units), result, own in zip(files, results, seconds):
                seen[kind].append((units, own + between, result["bytesBefore"], result["bytesAfter"]))
    rates = {}
    for kind, rows in seen.items():
        fixed, seconds = fit([(units, took) for units, took, _, _ in rows])
        total = sum(units for units, _, _, _ in rows)
        rates[kind] = Rate(fixed, seconds, sum(row[2] for row in rows) / total, sum(row[3] for row in rows) / total)
    # On a machine with other work a difference may come out below nothing.
    return Figures(rates, *(max(0.0, statistics.median(each)) for each in (starts, names, skips)))


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
