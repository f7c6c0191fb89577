#!/usr/bin/env python3
"""Makes every fault of faults.py on purpose, for every kind of job, and looks at what has to hold after each.

    matrix.py BUILD PAGE [TEXT]     writes the table to PAGE; with TEXT only the faults whose names have it
"""
import collections
import concurrent.futures
import hashlib
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time

from faults import GROUPS, Fault, NotHere

# Source, output and the options of vxcompress; without options it is examples/embed.cpp that runs the module.
KINDS = {
    "JPEG": ("photo.jpg", "out.jpg", []),
    "PNG": ("photo.png", "out.png", []),
    "WebP": ("photo.webp", "out.webp", []),
    "video": ("video.mp4", "out.mp4", []),
    "size": ("video.mp4", "out.mp4", ["--size", "50%"]),
    "estimate": ("video.mp4", "out.mp4", ["--estimate"]),
    "JPEG task": ("photo.jpg", "out.jpg", None),
    "PNG task": ("photo.png", "out.png", None),
    "WebP task": ("photo.webp", "out.webp", None),
    "video task": ("video.mp4", "out.mp4", None),
}
# What a task tells with its codes, and with all others.
CORRUPT = "The file is corrupt or not a standard file format"
TEXTS = {
    "JPEG task": ({1: (CORRUPT, "")}, ("",)),
    "PNG task": ({1: (CORRUPT, "")}, ("",)),
    "WebP task": ({0: ("successful", "")}, ("fail", "")),
    "video task": ({0: ("successful",), 1: (" Check the parameters please ",), 62097: ("Process Abort",)},
                  ("Unknown mistake",)),
}
TOOLS = ("cJpeg", "pngquant", "ffmpeg")
INTRO = """# Every fault, made on purpose

Written by `scripts/faults`: six kinds of job of `vxcompress` ("size" is `--size 50%`, "estimate" `--estimate`), and four
kinds of the module's tasks in a host that does the least, `examples/embed.cpp`. A file lies at the output path before.

A cell is what the job ended with: the status of `vxcompress`, or a task's finish code. INT, KILL and the like are the
signal that ended the host; ABRT is the embedding host's own way to say that `start()` was false; with "or" it depends on
the moment which of them it is, and one of them it was. `says` is what `vxcompress` tells where it fails. After every run
this was looked at, and a cell that names one of these has a row that broke:

- ended once: one end is told, of `vxcompress` as JSON with a summary behind it; none after a success was told or a kill
- code: the status or finish code is one that belongs to this fault
- message: the text names the cause; a task's is the one that goes with its code and kind
- source: its content is what it was, or what the fault made of it; in place also the whole result, after a success
- no process: within moments no process of the run is left
- old output: the file of before, or a whole result after a success; a video or WebP task may also have removed it
- nothing left: beside output and temporary files there is what there was, byte for byte; where `vxcompress` was killed
  outright, after its next run

Tasks promise less in three places. Where their host is killed they leave temporary files, and video and WebP half an
output. An encoder that lies about its success is believed: `vxcompress` looks at results, a host of its own has to. And
what ffmpeg writes under names that nobody gave it stays beside the output of a video or WebP task.

"""
PATIENCE = 30  # seconds
NOBODY = 65534
OLD = b"the file of before"


def read(path):
    if not os.path.isfile(path):
        return None  # a pipe is never through
    try:
        with open(path, "rb") as file:
            return file.read()
    except OSError:
        return None


def write(path, content):
    with open(path, "wb") as file:
        file.write(content)


def until(condition):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.002)
    return False


class Installation:
    """Both hosts beside encoders of many sorts, and what they are given to do."""

    def __init__(self, build, root):
        self.build, self.root, self.real = build, root, os.path.join(build, "bin")
        self.stages = {}
        for name in ("real", "fake", "missing", "not executable", "foreign"):
            self.stages[name] = os.path.join(root, name.replace(" ", "-"), "bin")
            self._stage(name, self.stages[name])
        self.media = os.path.join(root, "media")
        os.mkdir(self.media)
        image = ("-f", "lavfi", "-i", "mandelbrot=s=400x300", "-vf", "noise=alls=20", "-frames:v", "1")
        video = ("-f", "lavfi", "-i", "testsrc2=s=160x120:r=25:d=1", "-vf", "noise=alls=20:allf=t", "-pix_fmt", "yuv420p")
        for name, how in {"photo.jpg": (*image, "-q:v", "1"), "photo.png": image,
                          "photo.webp": (*image, "-q:v", "100"), "video.mp4": (*video, "-crf", "10"),
                          "result.jpg": (*image, "-q:v", "9"), "result.png": (*image, "-pix_fmt", "pal8"),
                          "result.webp": (*image, "-q:v", "50"), "result.mp4": (*video, "-crf", "33")}.items():
            self.ffmpeg(*how, os.path.join(self.media, name))

    def ffmpeg(self, *arguments):
        return subprocess.run([os.path.join(self.real, "ffmpeg"), "-v", "error", "-nostdin", "-y", *arguments],
                              check=True, capture_output=True)

    def _stage(self, name, folder):
        os.makedirs(os.path.join(folder, "fakes"))
        os.symlink(os.path.join(self.build, "lib"), os.path.join(os.path.dirname(folder), "lib"))
        for host, place in (("vxcompress", "bin"), ("embed", "tests/faults")):
            first = os.path.join(self.stages["real"], host)
            # A program's folder is where its file lies, whatever links lead there.
            (shutil.copy if name == "real" else os.link)(
                os.path.join(self.build, place, host) if name == "real" else first, os.path.join(folder, host))
        os.symlink(os.path.join(self.real, "ffprobe"), os.path.join(folder, "ffprobe"))
        fake = read(os.path.join(self.build, "tests", "fake_encoder"))
        for tool in TOOLS:
            path = os.path.join(folder, tool)
            if name == "real":
                shutil.copy(os.path.join(self.real, tool), path)
            elif name == "foreign":
                # The header names another machine.
                write(path, fake[:18] + b"\xf3\x00" + fake[20:])
                os.chmod(path, 0o755)
            elif name == "not executable":
                write(path, fake)
            elif name == "fake":
                write(os.path.join(folder, "fakes", tool), fake)
                # What vxcompress itself asks ffmpeg is answered by the true one.
                write(path, b'#!/bin/sh\n[ "$1" = -hide_banner ] && exec "%s" "$@"\nexec "${0%%/*}/fakes/%s" "$@"\n'
                      % (os.path.join(self.real, tool).encode(), tool.encode()))
                os.chmod(path, 0o755)
                os.chmod(os.path.join(folder, "fakes", tool), 0o755)


class Run:
    """One host with one fault, in a place of its own."""

    def __init__(self, installation, fault, kind, variant):
        self.installation, self.fault, self.kind, self.variant = installation, fault, kind, variant
        self.source_name, self.output_name, self.options = KINDS[kind]
        self.is_task = self.options is None
        self.is_direct = kind in ("WebP task", "video task")
        self.is_user = False
        self.mounts = []
        self.own = set()  # what the fault itself changes, beside source and output
        self.root = tempfile.mkdtemp(prefix='vx "t\u00e9st-', dir=installation.root)
        self.input, self.out, self.tmp, self.records = (
            os.path.join(self.root, name) for name in ("in", "out", "tmp", "records"))
        for folder in (self.input, self.out, self.tmp, self.records):
            os.mkdir(folder)
        self.source, self.output = os.path.join(self.input, self.source_name), os.path.join(self.out, self.output_name)
        self.content = read(os.path.join(installation.media, self.source_name))
        self.result = read(os.path.join(installation.media, "result" + os.path.splitext(self.output)[1]))
        write(self.source, self.content)
        write(self.output, OLD)
        self.environment = {**os.environ, "TMPDIR": self.tmp, "FAKE_RECORD": self.records,
                            "FAKE_OUTPUT": os.path.join(installation.media, "result"), **fault.environment}
        self.words = None

    # What a fault may do, before the run or during it.

    def give(self, content):
        """Puts another source in the place of the first one."""
        self.content = content
        os.remove(self.source)
        if content is not None:
            write(self.source, content)

    def become_user(self):
        """The run is nobody's who owns the files; for an ordinary user they become unusable in another way."""
        if os.geteuid() == 0:
            self.is_user = True

    def mount(self, folder, bytes, is_read_only=False):
        if os.geteuid() != 0:
            raise NotHere
        inside = {name: read(os.path.join(folder, name)) for name in os.listdir(folder)}
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={bytes}", "none", folder], check=True)
        self.mounts.append(folder)
        for name, content in inside.items():
            write(os.path.join(folder, name), content)
        if is_read_only:
            subprocess.run(["mount", "-o", "remount,ro", folder], check=True)

    def encoders(self, suffix=".reached"):
        return [int(name.split(".")[0]) for name in os.listdir(self.records) if name.endswith(suffix)]

    def wait_for_encoder(self):
        until(lambda: self.encoders() or self.process.poll() is not None)

    def release(self):
        os.makedirs(os.path.join(self.records, "open"), exist_ok=True)

    # The run.

    def command(self):
        stage = self.installation.stages[self.fault.stage]
        if self.is_task:
            return [os.path.join(stage, "embed"), self.source, self.output]
        words = self.fault.words or ["-f"]
        where = [self.source] if "--in-place" in words else [self.source, self.output]
        return [os.path.join(stage, "vxcompress"), "--json", *self.options, *words, *where]

    def start(self):
        self.log = tempfile.TemporaryFile()
        self.error = tempfile.TemporaryFile()
        user = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if self.is_user else {}
        self.process = subprocess.Popen(self.command(), cwd=self.input, stdin=subprocess.DEVNULL, stdout=self.log,
                                        stderr=self.error, env=self.environment, **user)

    def end(self):
        try:
            self.process.wait(PATIENCE)
            self.status = self.process.returncode
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            self.status = "hangs"
        self.log.seek(0)
        self.error.seek(0)
        self.output_text = self.log.read().decode(errors="replace")
        self.error_text = self.error.read().decode(errors="replace")
        self.log.close()
        self.error.close()
        return self.status

    def snapshot(self):
        found = {}
        for top in (self.input, self.out, self.tmp):
            for folder, folders, files in os.walk(top):
                for path in (os.path.join(folder, name) for name in folders + files):
                    is_file = os.path.isfile(path) and not os.path.islink(path)
                    found[path] = hashlib.md5(read(path) or b"").hexdigest() if is_file else "folder"
        return found

    def execute(self):
        """The code, and the names of the columns that do not hold."""
        try:
            self.fault.before(self)
            if self.is_user:
                for folder in (self.root, self.input, self.out, self.tmp, self.records):
                    os.chown(folder, NOBODY, NOBODY)
                if os.path.exists(self.output):
                    os.chown(self.output, NOBODY, NOBODY)
            before = self.snapshot()
            self.start()
            if self.fault.during:
                self.fault.during(self)
            self.end()
            return self.code(), [name for name, holds in self.columns(before) if not holds()]
        finally:
            for folder in self.mounts:
                subprocess.run(["umount", "-l", folder], check=True)
            for process in self.processes():
                os.kill(process, signal.SIGKILL)
            shutil.rmtree(self.root, ignore_errors=True)

    # What has to hold.

    def columns(self, before):
        # Also where an interrupt came a moment too late.
        was_delivered = (self.code() == 0 if self.is_task
                         else any(line["type"] == "result" for line in self.lines()))
        return (("ended once", self.ended_once), ("code", lambda: self.fault.allows(self.kind, self.code())),
                ("message", self.tells), ("source", lambda: self.source_is_whole(was_delivered)),
                ("no process", lambda: until(lambda: not self.processes())),
                ("old output", lambda: self.output_is_whole(was_delivered)),
                ("nothing left", lambda: self.is_clean(before)))

    def code(self):
        """What the task told, or how the host ended."""
        finished = re.search(r"^finished: (-?\d+)", self.output_text, re.M) if self.is_task else None
        return int(finished[1]) if finished else signal.Signals(-self.status).name[3:] if self.was_killed() else self.status

    def was_killed(self):
        return isinstance(self.status, int) and self.status < 0

    def lines(self):
        return [json.loads(line) for line in self.output_text.splitlines()]

    def ended_once(self):
        if self.is_task:
            # A refused start has no end, and a killed host may have had it already.
            return self.output_text.count("finished:") in ((0, 1) if self.was_killed() else (1,))
        lines = self.lines()
        ends = [line for line in lines if line["type"] in ("result", "estimate", "error")]
        successes = [line for line in ends if line["type"] != "error"]
        if self.was_killed() or (isinstance(self.status, int) and self.status > 128):
            return len(ends) <= 1
        is_refusal = ends and ends[0].get("kind") == "usage"
        return (len(ends) == 1 and len(successes) == (self.status == 0) and
                (is_refusal or lines[-1]["type"] == "summary"))

    def tells(self):
        if self.is_task:
            finished = re.search(r"^finished: (-?\d+) (.*)$", self.output_text, re.M)
            by_code, others = TEXTS[self.kind]
            return (finished[2] in by_code.get(int(finished[1]), others) if finished
                    else self.was_killed() and (self.status != -6 or "encoder is not beside" in self.error_text))
        texts = [line["text"] for line in self.lines() if line["type"] == "error"]
        if self.status in (0, "hangs") or not texts:
            return self.status == 0 or self.was_killed() or self.status > 128
        wanted = self.fault.says if self.status <= 3 else "was interrupted"
        return re.search(wanted, texts[0]) is not None

    def source_is_whole(self, was_delivered):
        content = read(self.source)
        return content == self.content or (self.fault.is_in_place and was_delivered and content == self.result)

    def output_is_whole(self, was_delivered):
        if self.fault.is_in_place:
            return True
        content = read(self.output)
        if content == OLD or (content is None and (self.is_direct or not self.fault.has_output)):
            return not was_delivered or self.is_direct
        if self.is_task and (self.fault.encoder_lies or self.is_direct and self.was_killed()):
            return True  # a task takes an encoder's word, and ffmpeg writes there itself
        if not (was_delivered or self.is_task or self.was_killed()):
            return False
        if content in (self.result, self.content) or self.fault.stage == "real" and was_delivered:
            try:
                return content == self.content or bool(self.installation.ffmpeg("-i", self.output, "-f", "null", "-"))
            except subprocess.CalledProcessError:
                return False
        return False

    def processes(self):
        mark = os.fsencode(self.root) + b"/"
        return [int(name) for name in os.listdir("/proc")
                if name.isdigit() and mark in (read(f"/proc/{name}/environ") or b"")]

    def is_clean(self, before):
        if self.is_task and self.was_killed():
            return True  # nobody of a task outlives its host to clean up
        if self.was_killed():
            # The next run clears up, and takes nothing that isn't its own.
            self.fault, fault = AGAIN, self.fault
            self.environment = {name: value for name, value in self.environment.items()
                                if name not in fault.environment}
            self.start()
            self.end()
            self.fault = fault
            if self.status != 0:
                self.error_text += f"the next run ended with {self.status}\n"
                return False
        differs = {path for path, _ in before.items() ^ self.snapshot().items()}
        left = sorted(path for path in differs if path not in (self.source, self.output)
                      and not path.startswith(tuple(self.own)))
        self.error_text += "".join(f"left: {path}\n" for path in left)
        return not left


AGAIN = Fault("the next run", "", "0")


def cell(installation, fault, kind):
    """All variants of a fault for one kind: the codes, and what broke in which variant."""
    codes, broken = set(), collections.OrderedDict()
    for variant in fault.variants:
        run = Run(installation, fault, kind, variant)
        try:
            code, columns = run.execute()
        except NotHere:
            return "skipped", {}
        codes.add(code)
        if columns:
            broken[variant] = columns
            print(f"{fault.name} {variant}: {kind}: {', '.join(columns)}\n  code {code}; {run.output_text}"
                  f"{run.error_text}", file=sys.stderr, flush=True)
    shown = " ".join(str(code) for code in sorted(codes, key=str))
    return shown if fault.is_certain else " or ".join(dict.fromkeys(fault.allowed(kind).split("/"))), broken


def page(cells):
    """The table, a line a fault."""
    for group, faults in GROUPS.items():
        faults = [fault for fault in faults if (fault.name, "JPEG") in cells[group]]
        if not faults:
            continue
        yield f"\n## {group}\n\n| | " + " | ".join(KINDS) + " | says |\n|---" + "|---" * len(KINDS) + "|---|"
        for fault in faults:
            row = []
            for kind in KINDS:
                shown, broken = cells[group][fault.name, kind]
                row.append(f"**{shown}: {', '.join(sorted(set(sum(broken.values(), []))))}**" if broken else shown)
            says = fault.says.replace("|", " or ").replace(" .* ", " \u2026 ") or "-"
            yield f"| {fault.name} | " + " | ".join(row) + f" | {says} |"


def main():
    build, target, *only = sys.argv[1:]
    # Who starts this in the background may have had them ignored, and so would all that runs here.
    for number in (signal.SIGINT, signal.SIGHUP, signal.SIGQUIT):
        signal.signal(number, signal.default_int_handler)
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    os.umask(0o022)
    began = time.monotonic()
    with tempfile.TemporaryDirectory(prefix="vx-faults-") as root:
        os.chmod(root, 0o755)
        installation = Installation(os.path.abspath(build), root)
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            cells = {group: {(fault.name, kind): pool.submit(cell, installation, fault, kind) for fault in faults
                             if not only or only[0] in f"{group}: {fault.name}" for kind in KINDS}
                     for group, faults in GROUPS.items()}
            cells = {group: {key: future.result() for key, future in row.items()} for group, row in cells.items()}
    every = [cell for row in cells.values() for cell in row.values()]
    broken = sum(bool(columns) for _, columns in every)
    skipped = sum(shown == "skipped" for shown, _ in every)
    count = f"{len(every)} rows, {broken} broken, {skipped} skipped for want of root."
    with open(target, "w") as file:
        file.write("\n".join([INTRO + count, *page(cells)]) + "\n")
    print(f"{count} {time.monotonic() - began:.0f} s", file=sys.stderr)
    sys.exit(1 if broken else 0)


if __name__ == "__main__":
    main()
