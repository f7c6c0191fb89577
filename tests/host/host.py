"""What the tests of vxcompress share: a folder of its own for each test, and runs of the program in it."""
import hashlib
import json
import os
import resource
import signal
import subprocess
import tempfile
import time
import unittest

REAL = os.environ["VXC_BIN"]  # vxcompress beside the real encoders
FAKE = os.environ["VXC_FAKE_BIN"]  # and beside the fakes, which do what the environment says
SCHEMA = os.path.join(os.path.dirname(__file__), "../../docs/json-stream.schema.json")


def ffmpeg(*arguments):
    subprocess.run([os.path.join(REAL, "ffmpeg"), "-v", "error", "-nostdin", "-y", *arguments], check=True)


def wait_until(condition, what):
    end = time.monotonic() + 30
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"not within 30 s: {what}")
        time.sleep(0.01)


class Run:
    """One run of vxcompress that has been started."""

    def __init__(self, place, arguments, bin=REAL, env={}, limit=None, ignored=None, stdout=subprocess.PIPE,
                 stderr=subprocess.PIPE):
        def prepare():
            # The test itself may run in the background, where shells have Ctrl-C ignored.
            for number in (signal.SIGINT, signal.SIGHUP):
                signal.signal(number, signal.SIG_IGN if number == ignored else signal.SIG_DFL)
            if limit is not None:
                resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
                signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        self.process = subprocess.Popen(
            [os.path.join(bin, "vxcompress"), *arguments], cwd=place.path, stdin=subprocess.PIPE, stdout=stdout,
            stderr=stderr, preexec_fn=prepare,
            env={**os.environ, "TMPDIR": place.temporary, "FAKE_RECORD": place.records, **env})

    def end(self, input=None):
        output, error = self.process.communicate(input, timeout=120)
        self.status = self.process.returncode
        self.out = (output or b"").decode(errors="replace")
        self.err = (error or b"").decode(errors="replace")
        return self


class Place(unittest.TestCase):
    """A test in a folder whose name has a blank, a quote and a letter beyond ASCII, the temporary location beside."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix='vx "t\u00e9st-')
        self.addCleanup(folder.cleanup)
        self.path, self.temporary, self.records = (os.path.join(folder.name, name) for name in ("files", "tmp", "records"))
        for made in (self.path, self.temporary, self.records):
            os.mkdir(made)

    def tearDown(self):
        self.assertEqual(os.listdir(self.temporary), [], "left in the temporary location")
        self.assertEqual([name for name in self.contents() if b".vxcompress-" in name], [], "left beside outputs")
        wait_until(lambda: not self.alive(), "no encoder is left")

    def start(self, *arguments, **conditions):
        return Run(self, arguments, **conditions)

    def run_host(self, *arguments, status=0, input=None, **conditions):
        run = self.start(*arguments, **conditions).end(input)
        self.assertIn(run.status, [status] if status is not None else [0, 1, 2], (arguments, run.out, run.err))
        return run

    def valid(self, text):
        """The objects of a stream for programs, each as the schema has it."""
        import jsonschema
        with open(SCHEMA) as file:
            validator = jsonschema.Draft202012Validator(json.load(file))
        lines = [json.loads(line) for line in text.splitlines()]
        for line in lines:
            validator.validate(line)
        return lines

    def at(self, name):
        path = os.path.join(os.fsencode(self.path), os.fsencode(name))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        return path

    def write(self, name, content):
        with open(self.at(name), "wb") as file:
            file.write(content)

    def read(self, name):
        with open(self.at(name), "rb") as file:
            return file.read()

    def image(self, name, size="320x240"):
        # The best that the format can do; JPEG counts the other way.
        ffmpeg("-f", "lavfi", "-i", f"mandelbrot=s={size}", "-frames:v", "1", "-q:v",
               "1" if name.endswith("jpg") else "100", os.fsdecode(self.at(name)))

    def video(self, name, seconds=2, size="160x120"):
        ffmpeg("-f", "lavfi", "-i", f"testsrc2=s={size}:r=25:d={seconds}", "-vf", "noise=alls=20:allf=t", "-c:v",
               "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", os.fsdecode(self.at(name)))

    def contents(self):
        """Every name below the folder with its mode and a digest."""
        found = {}
        for folder, folders, files in os.walk(os.fsencode(self.path)):
            for path in (os.path.join(folder, name) for name in folders + files):
                key = os.path.relpath(path, os.fsencode(self.path))
                content = self.read(key) if os.path.isfile(path) else b""
                found[key] = (os.lstat(path).st_mode, hashlib.md5(content).hexdigest())
        return found

    def names(self):
        return sorted(os.fsdecode(name) for name in self.contents())

    def encoders(self):
        """How many fake encoders have written all that they would."""
        return sum(name.endswith(".written") for name in os.listdir(self.records))

    def alive(self):
        ids = {name.split(".")[0] for name in os.listdir(self.records)}
        return [id for id in ids if os.path.exists(f"/proc/{id}/exe")]


main = unittest.main
