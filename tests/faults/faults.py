"""The faults: what is done, and how the hosts then end. What has to hold after each is in matrix.py."""
import dataclasses
import os
import random
import shutil
import signal
import time
import typing

LETTERS = {"JPEG": "J", "PNG": "P", "WebP": "W", "video": "F", "size": "S", "estimate": "E",
           "JPEG task": "j", "PNG task": "p", "WebP task": "w", "video task": "f"}


class NotHere(Exception):
    """This fault takes root."""


@dataclasses.dataclass
class Fault:
    name: str
    says: str  # vxcompress, where it fails
    # Each word is what one or more kinds (by their letters) end with: "1", "0/130" for either, "*" for any, "!0".
    # The word without letters is for all the others.
    codes: str
    stage: str = "fake"
    environment: dict = dataclasses.field(default_factory=dict)
    words: typing.Optional[list] = None  # options in place of -f
    before: typing.Callable = lambda run: None
    during: typing.Optional[typing.Callable] = None
    variants: typing.Sequence = (None,)
    is_in_place: bool = False
    has_output: bool = True  # a file lies there already
    encoder_lies: bool = False

    def allowed(self, kind):
        words = [word.rpartition("=") for word in self.codes.split()]
        return next((codes for letters, _, codes in words if LETTERS[kind] in letters),
                    next((codes for letters, _, codes in words if not letters), "*"))

    def allows(self, kind, code):
        allowed = self.allowed(kind)
        return allowed == "*" or (isinstance(code, int) and code != 0 if allowed == "!0" else str(code) in allowed.split("/"))

    @property
    def is_certain(self):
        return not self.during or "/" not in self.codes


def chain(*steps):
    return lambda run: [step(run) for step in steps]


def hang(moment):
    return {"FAKE_AT": moment, "FAKE_END": "hang"}


def crash(moment):
    return {"FAKE_AT": moment, "FAKE_END": "crash"}


def meanwhile(act):
    """While the encoder stands still in the middle of its output."""
    return chain(lambda run: run.wait_for_encoder(), act, lambda run: run.release())


def send(number):
    return lambda run: run.process.send_signal(number)


def cut(run):
    run.give(run.content[:len(run.content) * run.variant // 21])


def pipe(run):
    os.remove(run.source)
    os.mkfifo(run.source)
    run.content = None


def folder(run):
    run.give(None)
    os.mkdir(run.source)


def grow(run):
    run.content += b"more"
    with open(run.source, "ab") as file:
        file.write(b"more")


def replace(run):
    run.give(run.content[::-1])


def without_output(run):
    os.remove(run.output)
    os.rmdir(run.out)
    run.own.add(run.out)


def vanish(run):
    shutil.rmtree(run.out)
    run.own.add(run.out)


def fill(place):
    def act(run):
        path = getattr(run, place)
        run.mount(path, 64 << 10)
        with open(os.path.join(path, "filler"), "wb") as file:
            file.write(bytes((64 << 10) - (4096 * (2 if place == "out" else 1))))
        with open(os.path.join(path, "rest"), "wb", buffering=0) as file:
            file.write(bytes(1 << 20))
    return act


def protect(place):
    return lambda run: (os.chmod(getattr(run, place), 0 if place == "source" else 0o555), run.become_user())


def no_temporary(run):
    os.rmdir(run.tmp)
    run.own.add(run.tmp)


def elsewhere(make):
    """The output is the source by another name."""
    def act(run):
        os.remove(run.output)
        make(run.source, run.output)
    return act


def same(run):
    os.remove(run.output)
    run.output = run.source


def other_case(run):
    run.output = os.path.join(run.input, run.source_name.replace("o", "O").replace("i", "I"))


def foreigners(run):
    for folder in (run.out, run.tmp):
        for name in (".vxcompress-photos", ".vxcompress-QWERTY", "vxcompress-QWERTY", "compressQWERTY"):
            os.mkdir(os.path.join(folder, name))
            with open(os.path.join(folder, name, "temporaryImage_1.jpg"), "w") as file:
                file.write("dear")


def kill_encoder(run):
    run.wait_for_encoder()
    for encoder in run.encoders():
        os.kill(encoder, signal.SIGKILL)


def wait_for_end(run):
    run.wait_for_encoder()
    # Its file is in its place, or on the way there.
    while run.process.poll() is None and any(os.path.exists(f"/proc/{id}/exe") for id in run.encoders()):
        time.sleep(0.001)


MOMENTS = {
    "at once": ({}, lambda run: None),
    "as the encoder begins": (hang("start"), lambda run: run.wait_for_encoder()),
    "in the middle of its output": (hang("half"), lambda run: run.wait_for_encoder()),
    "behind its output": (hang("end"), lambda run: run.wait_for_encoder()),
    "as the result takes its place": ({"FAKE_AT": "end"}, wait_for_end),
}


def ended_by(number):
    """A signal at each of the moments."""
    name = number.name[3:]
    codes = {signal.SIGKILL: name, signal.SIGPIPE: "0"}.get(number, str(128 + number))
    for moment, (environment, wait) in MOMENTS.items():
        early = f"/{name}" if moment == "at once" else ""
        late = "/0" if moment == "as the result takes its place" else ""
        says = "" if number in (signal.SIGKILL, signal.SIGPIPE) else "was interrupted"
        yield Fault(f"{name} {moment}", says, f"{codes}{early}{late} jpwf={name}{late}",
                    environment=environment, before=foreigners if number == signal.SIGKILL else lambda run: None,
                    during=chain(wait, send(number), lambda run: number == signal.SIGPIPE and run.release()))


GROUPS = {
    "The input": [
        Fault("missing", "there is no file", "2 jpwf=!0", "real", before=lambda run: run.give(None)),
        Fault("empty", "is empty", "2 jpwf=!0", "real", before=lambda run: run.give(b"")),
        Fault("cut, at 20 places", "is cut|neither an image nor a video|cannot measure|no setting", "1/2 jpwf=*",
              "real", before=cut, variants=range(1, 21)),
        Fault("garbage", "neither an image nor a video", "2 jpwf=!0", "real",
              before=lambda run: run.give(random.Random(1).randbytes(40000))),
        Fault("a folder", "not a regular file", "2 jpwf=!0", "real", before=folder),
        Fault("a pipe that nobody writes", "not a regular file", "2 jpwf=!0", "real", before=pipe),
        Fault("unreadable", "cannot read", "2 jpwf=!0", "real", before=protect("source")),
        Fault("grows while it is read", "was changed", "1 E=0 jpwf=0", environment=hang("half"),
              during=meanwhile(grow)),
        Fault("replaced while it is read", "was changed", "1 E=0 jpwf=0", environment=hang("half"),
              during=meanwhile(replace)),
    ],
    "The output's folder": [
        Fault("missing", "there is no folder", "2 E=0 jpwf=!0", "real", before=without_output, has_output=False),
        Fault("read-only for the user", "cannot write", "2 E=0 jp=2 wf=0", "real", before=protect("out")),
        Fault("on a read-only disk", "cannot write", "2 E=0 jpwf=!0", "real",
              before=lambda run: run.mount(run.out, 64 << 10, True)),
        Fault("vanishes", "its folder is gone", "1 E=0 jp=2 wf=0", environment=hang("half"), during=meanwhile(vanish),
              has_output=False, encoder_lies=True),
        # A video task may find enough room in that of the old output.
        Fault("on a full disk", "No space left|may be full", "1/2 E=0 jpw=!0 f=0/1", "real", before=fill("out")),
    ],
    "The temporary place": [
        Fault("missing", "no temporary folder", "2 jpwf=0", "real", before=no_temporary),
        Fault("read-only for the user", "no temporary folder", "2 jp=!0 w=0 f=1", "real", before=protect("tmp")),
        Fault("on a read-only disk", "no temporary folder", "2 jp=!0 w=0 f=1", "real",
              before=lambda run: run.mount(run.tmp, 64 << 10, True)),
        Fault("on a full disk", "no temporary folder", "2 jp=!0 w=0 f=0/1", "real", before=fill("tmp")),
        Fault("with 32 kB left", "may be full", "0 JPE=1 jp=!0 w=0 f=0", "real",
              before=lambda run: run.mount(run.tmp, 32 << 10)),
    ],
    "The encoder": [
        Fault("missing", "is missing in", "3 jpwf=ABRT", "missing"),
        Fault("not executable", "could not be started", "1 jpwf=-2", "not executable"),
        Fault("of another machine", "could not be started", "1 jpwf=-2", "foreign"),
        Fault("crashes at its start", "the encoder .* (failed|made no|could not make)", "1 jp=2 wf=15", environment=crash("start")),
        Fault("crashes half-way", "the encoder .* failed", "1 jpwf=15", environment=crash("half")),
        Fault("crashes at its end", "the encoder .* failed", "1 jpwf=15", environment=crash("end")),
        Fault("fails with 3", "the encoder .* failed", "1 jpwf=3", environment={"FAKE_EXIT": "3"}),
        Fault("ends well without a result", "made no|could not make|hold no video", "1 jp=2 wf=0",
              environment={"FAKE_OUTPUT": "none"}, encoder_lies=True),
        Fault("ends well with none of its bytes", "made no|could not make|hold no video", "1 jp=2 wf=0",
              environment={"FAKE_OUTPUT": "empty"}, encoder_lies=True),
        Fault("ends well with noise", "is cut|hold no video", "1 jpwf=0", environment={"FAKE_OUTPUT": "half"},
              encoder_lies=True),
        Fault("killed by somebody", "was killed", "1 jpwf=62097", environment=hang("half"), during=kill_encoder),
        Fault("hangs", "took longer", "1 jpwf=TERM", environment=hang("half"), words=["-f", "--timeout", "1"],
              during=lambda run: run.is_task and (run.wait_for_encoder(), send(signal.SIGTERM)(run))),
        Fault("outlives its kill by 700 ms", "was interrupted", "130 jpwf=INT",
              environment={**hang("half"), "FAKE_DEAF_MS": "700"},
              during=chain(lambda run: run.wait_for_encoder(), send(signal.SIGINT))),
        Fault("floods its standard error", "", "0 jpwf=0", environment={"FAKE_NOISE": "300000"}),
        Fault("writes under a name of its own", "made no|could not make|hold no video", "1 jp=2 wf=0",
              environment={"FAKE_STRAY": "1"}, encoder_lies=True,
              before=lambda run: run.is_direct and run.own.add(run.output + ".stray")),
    ],
    "A signal to the host": [fault for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT,
                                                  signal.SIGPIPE, signal.SIGXFSZ) for fault in ended_by(number)],
    "The host is killed": list(ended_by(signal.SIGKILL)),
    "In place": [
        Fault("by the same name", "", "0 wf=1", words=["--in-place"], before=same, is_in_place=True),
        Fault("by a symbolic link", "", "0 wf=1", before=elsewhere(os.symlink), is_in_place=True),
        Fault("by a hard link", "has 2 names", "2 E=0 jp=0 wf=1", before=elsewhere(os.link), is_in_place=True),
        Fault("by another case, a file of its own here", "", "0", before=other_case, has_output=False),
        Fault("by the same name, and the encoder crashes half-way", "failed", "1 jp=15 wf=1", words=["--in-place"],
              before=same, is_in_place=True, environment=crash("half")),
        Fault("by a symbolic link, and the host is killed", "", "KILL wf=1", before=elsewhere(os.symlink),
              is_in_place=True, environment=hang("half"),
              during=chain(lambda run: run.wait_for_encoder(), send(signal.SIGKILL))),
        Fault("by the same name, and the source is replaced meanwhile", "was changed", "1 E=0 jp=0 wf=1",
              words=["--in-place"], before=same, is_in_place=True, environment=hang("half"), during=meanwhile(replace)),
    ],
    "Folders of others with names like ours": [
        Fault("before a good run", "", "0", before=foreigners),
    ],
}
