#!/usr/bin/env python3
"""Drives vxcompress.exe under Wine, with the real encoders.

    scripts/windows/drive.py FOLDER [CASE...]

FOLDER is a whole installation: the programs with all their DLLs, for the Wine prefix is a new one that knows no other
place. Prints a line a case and ends with 1 when one fails.
"""
import hashlib
import os
import pty
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.realpath(__file__))
WINE = os.path.join(HERE, "wine")
CASES = []


def case(function):
    CASES.append(function)
    return function


def check(condition, *what):
    if not condition:
        raise AssertionError(" ".join(map(str, what)))


def wait_until(condition, what, seconds=60):
    end = time.monotonic() + seconds
    while not condition():
        check(time.monotonic() < end, f"not within {seconds} s:", what)
        time.sleep(0.02)


class Drive:
    def __init__(self, installation, folder):
        self.folder = folder
        # The programs in a folder with a blank and letters of two alphabets.
        self.bin = os.path.join(folder, "Prögräm 写真")
        shutil.copytree(installation, self.bin)
        self.files = os.path.join(folder, "files")
        self.temporary = os.path.join(folder, "tmp")
        self.env = {**os.environ, "WINEPREFIX": os.path.join(folder, "prefix"), "WINEPATH": ""}
        subprocess.run([WINE, "wineboot", "-i"], env=self.env, check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)
        # Else it would end with the last program, and start anew with the next.
        subprocess.run(["/usr/lib/wine/wineserver64", "-p"], env=self.env, check=False)
        self.set_temporary(self.temporary)
        os.symlink(self.folder, os.path.join(self.env["WINEPREFIX"], "dosdevices", "y:"))

    def close(self):
        subprocess.run(["/usr/lib/wine/wineserver64", "-k"], env=self.env, check=False)

    def set_temporary(self, folder):
        os.makedirs(folder, exist_ok=True)
        # Wine takes the two from its registry and nowhere else.
        for name in ("TMP", "TEMP"):
            subprocess.run([WINE, "reg", "add", "HKCU\\Environment", "/v", name, "/d", self.z(folder), "/f"],
                           env=self.env, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def reset(self):
        shutil.rmtree(self.files, ignore_errors=True)
        os.makedirs(self.files)

    @staticmethod
    def z(path):
        return "Z:" + path.replace("/", "\\")

    def y(self, path):
        return "Y:\\" + os.path.relpath(path, self.folder).replace("/", "\\")

    def at(self, name):
        return os.path.join(self.files, name)

    def program(self, name):
        return [WINE, self.z(os.path.join(self.bin, name + ".exe"))]

    def start(self, *arguments, program="vxcompress", **more):
        return subprocess.Popen([*self.program(program), *arguments], env=self.env, cwd=self.files,
                                stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, **more)

    def run(self, *arguments, program="vxcompress", status=0):
        process = self.start(*arguments, program=program)
        out, error = process.communicate(timeout=300)
        self.said = (out + error).decode(errors="replace")
        check(process.returncode == status, "status", process.returncode, "instead of", status, self.said)
        return self.said

    def video(self, name, seconds=2, size="320x240"):
        """A source that is easily made smaller."""
        path = self.at(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        subprocess.run([*self.program("ffmpeg"), "-v", "error", "-f", "lavfi", "-i",
                        f"testsrc2=s={size}:r=25:d={seconds}", "-vf", "noise=alls=20:allf=t", "-c:v", "libx264",
                        "-preset", "ultrafast", "-qp", "10", "-pix_fmt", "yuv420p", "-y", self.z(path)],
                       env=self.env, check=True, stdin=subprocess.DEVNULL)
        return path

    def image(self, name):
        path = self.at(name)
        subprocess.run([*self.program("ffmpeg"), "-v", "error", "-f", "lavfi", "-i", "mandelbrot=s=640x480",
                        "-frames:v", "1", "-q:v", "1", "-y", self.z(path)],
                       env=self.env, check=True, stdin=subprocess.DEVNULL)
        return path

    def is_whole(self, path, frames):
        """Whether it is a video of so many frames."""
        probe = subprocess.run([*self.program("ffprobe"), "-v", "error", "-count_frames", "-show_entries",
                                "stream=nb_read_frames", "-of", "csv=p=0", self.z(path)], env=self.env,
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, check=False)
        return probe.stdout.split()[:1] == [str(frames).encode()]

    def processes(self, name):
        """The ids of the programs of this prefix with that name."""
        found = []
        for id in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{id}/cmdline", "rb") as file:
                    first = file.read().split(b"\0")[0].decode(errors="replace").replace("\\", "/")
                with open(f"/proc/{id}/environ", "rb") as file:
                    is_ours = os.fsencode("WINEPREFIX=" + self.env["WINEPREFIX"]) in file.read().split(b"\0")
            except OSError:
                continue
            if is_ours and os.path.basename(first).lower() in (name, name + ".exe"):
                found.append(int(id))
        return found

    def no_encoder_is_left(self):
        wait_until(lambda: not self.processes("ffmpeg") and not self.processes("ffprobe"), "no encoder is left", 15)

    def private_folders(self):
        return [name for folder in (self.files, self.temporary) for name in os.listdir(folder)
                if name.lstrip(".").startswith(("vxcompress-", "compress"))]

    def nothing_is_left(self):
        self.no_encoder_is_left()
        check(not self.private_folders(), "left:", self.private_folders())


def digest(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


class Terminal:
    """vxcompress on a terminal, which passes on what is typed."""

    def __init__(self, drive, *arguments):
        self.shown = b""
        self.master, slave = pty.openpty()
        self.process = subprocess.Popen([*drive.program("vxcompress"), *arguments], env=drive.env, cwd=drive.files,
                                        stdin=slave, stdout=slave, stderr=slave, start_new_session=True)
        os.close(slave)

    def read(self):
        while select.select([self.master], [], [], 0)[0]:
            try:
                piece = os.read(self.master, 65536)
            except OSError:
                return
            if not piece:
                return
            self.shown += piece

    def wait_until(self, condition, what):
        def done():
            self.read()
            return condition()
        wait_until(done, what)

    def type(self, keys):
        os.write(self.master, keys)

    def end(self):
        self.wait_until(lambda: self.process.poll() is not None, "the program ends")
        self.read()
        os.close(self.master)
        return self.process.returncode


@case
def names_with_blanks_and_letters(d):
    source = d.video("ein fïlm ö 写真.mkv")
    before = digest(source)
    output = d.at("kleiner ö 写真.mp4")
    d.run(d.z(source), d.z(output))
    check("ö 写真" in d.said, "the names are garbled:", d.said)
    check(digest(source) == before, "the source was changed")
    check(d.is_whole(output, 50) and os.path.getsize(output) < os.path.getsize(source), "the result")


@case
def images_and_a_temporary_place_beyond_the_code_page(d):
    place = os.path.join(d.folder, "tmp 写真 ö")
    d.set_temporary(place)
    try:
        for kind in ("jpg", "png"):
            source = d.image(f"bild 写真.{kind}")
            d.run(d.z(source), d.z(d.at(f"klein 写真.{kind}")), "--quality", "40")
            check(0 < os.path.getsize(d.at(f"klein 写真.{kind}")) < os.path.getsize(source), "the result", d.said)
            check(os.listdir(place) == [], "left:", os.listdir(place))
    finally:
        d.set_temporary(d.temporary)


@case
def in_place_by_another_case(d):
    source = d.video("Video.mp4")
    before = os.path.getsize(source)
    d.run(d.z(source), d.z(d.at("VIDEO.MP4")), status=2)
    check(os.path.getsize(source) == before, "the source was changed", d.said)
    d.run("--in-place", d.z(d.at("VIDEO.MP4")))
    check(os.listdir(d.files) == ["Video.mp4"] and os.path.getsize(source) < before, os.listdir(d.files), d.said)
    check(d.is_whole(source, 50), "the result is not whole")


@case
def in_place_by_another_drive_letter(d):
    source = d.video("Video.mp4")
    before = digest(source)
    d.run(d.z(source), d.y(source), status=2)
    check(digest(source) == before, "the source was changed", d.said)
    # Without the host's own look at the two: the library refuses.
    d.run(d.z(source), d.y(source), program="embed", status=1)
    check(digest(source) == before, "the source was changed by the library's task", d.said)
    # Asked for, it is a job in place: the source is there until the result takes its place.
    d.run(d.z(source), d.y(source), "-f")
    check(digest(source) != before and d.is_whole(source, 50) and os.listdir(d.files) == ["Video.mp4"], d.said)


@case
def an_existing_target(d):
    source, target = d.video("a.mkv"), d.at("b.mp4")
    with open(target, "w", encoding="ascii") as file:
        file.write("old")
    d.run(d.z(source), d.z(target), status=2)
    check(os.path.getsize(target) == 3, "was replaced unasked")
    d.run(d.z(source), d.z(target), "--force")
    check(d.is_whole(target, 50), "was not replaced", d.said)


@case
def a_target_that_is_held_open(d):
    source, target = d.video("a.mkv"), d.at("b.mp4")
    shutil.copy(d.video("old.mp4"), target)
    before = digest(target)
    # Reads it at the speed of a viewer, over and over.
    holder = d.start("-re", "-stream_loop", "-1", "-i", d.z(target), "-c", "copy", "-f", "framecrc", "-y", "NUL",
                     program="ffmpeg")
    try:
        check(any(b"Output #0" in line for line in holder.stderr), "the holder runs")
        d.run(d.z(source), d.z(target), "--force", status=1)
    finally:
        for id in d.processes("ffmpeg"):
            os.kill(id, signal.SIGKILL)
        holder.communicate()
    check(digest(target) == before, "what was there is gone")
    # The work of minutes is kept, and the message says where.
    kept = [name for name in os.listdir(d.files) if name not in ("a.mkv", "b.mp4", "old.mp4")]
    check(len(kept) == 1 and d.is_whole(d.at(kept[0]), 50) and kept[0] in d.said, kept, d.said)


def interrupted(d, times):
    source = d.video("a.mkv", 60, "640x480")
    before = digest(source)
    terminal = Terminal(d, d.z(source), d.z(d.at("b.mp4")))
    terminal.wait_until(lambda: d.processes("ffmpeg") and d.private_folders(), "the encoder works")
    time.sleep(1)
    for _ in range(times):
        terminal.type(b"\x03")
    status = terminal.end()
    check(status == 130, "status", status, terminal.shown)
    d.no_encoder_is_left()
    check(digest(source) == before and not os.path.exists(d.at("b.mp4")), os.listdir(d.files))
    return terminal


@case
def interrupted_once(d):
    interrupted(d, 1)
    d.nothing_is_left()


@case
def interrupted_twice(d):
    interrupted(d, 2)
    # What it may have left, the next one removes.
    d.run(d.z(d.video("c.mkv")), d.z(d.at("d.mp4")))
    d.nothing_is_left()


@case
def killed_outright(d):
    source = d.video("a.mkv", 60, "640x480")
    process = d.start(d.z(source), d.z(d.at("b.mp4")))
    wait_until(lambda: d.processes("ffmpeg") and d.private_folders(), "the encoder works")
    for id in d.processes("vxcompress"):
        os.kill(id, signal.SIGKILL)
    process.communicate()
    d.no_encoder_is_left()
    check(not os.path.exists(d.at("b.mp4")), "half a result")
    d.run(d.z(d.video("c.mkv")), d.z(d.at("d.mp4")))
    d.nothing_is_left()


@case
def estimated(d):
    source = d.video("a.mkv", 4)
    before = os.listdir(d.files)
    d.run(d.z(source), "--estimate", "--format", "mp4")
    check("B" in d.said and os.listdir(d.files) == before, d.said)


@case
def on_a_terminal(d):
    source = d.video("ö 写真.mkv")
    terminal = Terminal(d, d.z(source), d.z(d.at("klein.mp4")))
    status = terminal.end()
    check(status == 0 and "ö 写真.mkv".encode() in terminal.shown, status, terminal.shown)


@case
def a_path_of_more_than_260_letters(d):
    folder = os.path.join(*["f" * 60] * 5)
    source = d.video("a.mkv")
    os.makedirs(d.at(folder))
    deep = d.at(os.path.join(folder, "a.mkv"))
    os.rename(source, deep)
    d.run(d.z(deep), d.z(d.at(os.path.join(folder, "b.mp4"))))
    check(d.is_whole(d.at(os.path.join(folder, "b.mp4")), 50), d.said)
    for kind in ("jpg", "png"):
        source = d.image(f"a.{kind}")
        d.run(d.z(source), d.z(d.at(os.path.join(folder, f"b.{kind}"))), "--quality", "40")
        check(0 < os.path.getsize(d.at(os.path.join(folder, f"b.{kind}"))) < os.path.getsize(source), d.said)


@case
def the_doctor_finds_all(d):
    # The doctor wants an ffmpeg that makes WebP, and not every one for Windows does.
    output = d.start("doctor").communicate()[0].decode()
    rows = {line.split()[0]: line.split()[1] for line in output.splitlines() if len(line.split()) > 1}
    check(all(rows[name] == "ok" for name in ("module", "cJpeg", "pngquant", "temporary")), output)
    check(rows["ffmpeg"] == "ok" or "libwebp" in output, output)


def main():
    names = sys.argv[2:]
    failed = 0
    with tempfile.TemporaryDirectory(prefix="vxw-") as folder:
        drive = Drive(os.path.realpath(sys.argv[1]), os.path.realpath(folder))
        try:
            for function in CASES:
                name = function.__name__
                if names and name not in names:
                    continue
                drive.reset()
                begun = time.monotonic()
                try:
                    function(drive)
                    drive.nothing_is_left()
                    result = "ok"
                except (AssertionError, OSError, subprocess.SubprocessError) as error:
                    failed += 1
                    result = f"FAILED: {error}"
                print(f"{name.replace('_', ' ')}: {result} ({time.monotonic() - begun:.0f} s)", flush=True)
        finally:
            drive.close()
    return 1 if failed else 0


sys.exit(main())
