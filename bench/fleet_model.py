"""A fleet of machines at work on an archive: what things cost, and a simulation.

A worker is one run of `vxcompress -j1` on one core, which takes a shard, and when that is done the next one. A machine is
as many workers as it has cores, which are lost together. All machines share one disk.
"""
import collections
import dataclasses
import heapq
import json
import math


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
    def read(name):
        with open(name, encoding="utf-8") as file:
            figures = json.load(file)
        del figures["measured"]
        return Figures(**{**figures, "rates": {kind: Rate(**rate) for kind, rate in figures["rates"].items()}})


File = collections.namedtuple("File", "seconds bytes_in bytes_out")


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

    # A video is read, encoded and written by such pieces, so that it leaves the disk to others between them.
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
