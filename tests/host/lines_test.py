"""Command lines of one file and what comes of them, with the real encoders."""
import fcntl
import json
import os
import pty
import subprocess
import sys
import termios

from host import REAL, Place, ffmpeg, main, wait_until

# line, status, what standard error says
REFUSED = [
    ("missing.jpg out.jpg", 2, "no file missing.jpg"),
    ("folder out.jpg", 2, "not a regular file"),
    ("pipe out.jpg", 2, "not a regular file"),
    ("empty.jpg out.jpg", 2, "is empty"),
    ("photo.png old.jpg", 2, "--force"),
    ("photo.png folder.jpg --force", 2, "not a regular file"),
    ("photo.png missing/out.jpg", 2, "no folder missing"),
    ("photo.png linked.jpg --force", 2, "--break-links"),
    ("photo.png " + "n" * 252 + ".jpg", 2, "too long"),
    ("photo.png", 2, "one input and one output"),
    ("photo.png old.jpg old.png", 2, "where do the results go"),
    ("photo.png out.jpg --fast", 2, "fast"),
    ("photo.png out.jpg --qualty 7", 2, "is --quality meant?"),
    ("photo.png out.jpg --scale jpeg", 2, "1, 2, 4"),
    ("photo.png out.jpg --color jpeg", 2, "auto, always, never"),
    ("photo.png out.jpg --force=yes", 2, "--force takes no value"),
    ("photo.png out.jpg -q", 2, "--quality needs a value"),
    ("photo.png --suffix= --in-place", 2, "without a slash"),
    ("photo.png ---force", 2, "no option ---force"),
    ("photo.png -5.jpg", 2, "no option -5"),
    ("photo.png --quality --in-place", 2, '"--in-place"'),
    ("photo.png report --in-place -0", 2, "--files-from"),
    ("report", 2, "report needs files"),
    ("report --htm both.ndjson", 2, "is --html meant?"),
    ("doctor photo.png", 2, 'doctor takes no file, but there is "photo.png"'),
    ("photo.png out", 2, "needs a suffix"),
    # Names under which ffmpeg would write raw H.264 into an image.
    ("scan.tiff scan.tiff --force", 2, "jpg, jpeg, png, webp; mp4"),
    ("video.mp4 out.webm --container", 2, "webm cannot be written"),
    ("video.mp4 out.ogv", 2, "ogv cannot be written"),
    ("photo.png out.jpg -q 101", 2, "0 to 100"),
    ("video.mp4 out.mp4 -q 52", 2, "0 to 51"),
    ("photo.png out.webp -q 7.5", 2, '"7.5"'),
    ("video.mp4 out.mp4 --size 0", 2, "1 to 100"),
    ("video.mp4 out.mp4 --size 50 -q 20", 2, "not both"),
    ("video.mp4 out.mp4 --scale 3", 2, "1, 2, 4"),
    ("photo.png --in-place -o out", 2, "not both"),
    ("bad.jpg old.jpg -f", 2, "neither an image nor a video"),
    ("cut.jpg old.webp -f", 1, "is cut"),
    ("bad.mp4 out.mp4 --quiet", 2, "bad.mp4"),
    ("video.mp4 slow.mp4 --timeout 1 --scale 1 -q 0", 1, "--timeout"),
    # Told at once, not behind the encode.
    ("video.mp4 linked.mp4 --force --timeout 1 --scale 1 -q 0", 2, "--break-links"),
]


class Lines(Place):
    def test_refused(self):
        for name in ("photo.png", "scan.tiff", "linked.png"):
            self.image(name)
        self.video("video.mp4", 20, "640x360")
        self.write("bad.jpg", b"no image at all")
        self.write("bad.mp4", b"no video at all")
        self.image("cut.jpg")
        self.write("cut.jpg", self.read("cut.jpg")[:-100])
        for name in ("old.jpg", "old.png", "old.webp", "linked.jpg", "linked.mp4"):
            self.write(name, b"old")
        self.write("empty.jpg", b"")
        for name in ("linked.jpg", "linked.mp4"):
            os.link(self.at(name), self.at(f"other name of {name}"))
        os.mkfifo(self.at("pipe"))
        for name in ("folder", "folder.jpg"):
            os.mkdir(self.at(name))
        before = self.contents()
        # No room for the smallest of the results.
        full = [(f"photo.png old.{kind} -f", 1, "photo.png", {"limit": 4000}) for kind in ("jpg", "png", "webp")]
        nowhere = [("photo.png out.jpg", 2, "no temporary folder", {"env": {"TMPDIR": "gone"}})]
        for line, status, said, *conditions in REFUSED + full + nowhere:
            with self.subTest(line):
                run = self.run_host(*line.split(" "), status=status, **conditions[0] if conditions else {})
                self.assertIn(said, run.err)
                self.assertEqual((run.err.count("\n"), run.out), (1, ""))
                self.assertEqual(self.contents(), before)

    def test_delivered(self):
        # source, what follows it, the result
        rows = [
            ("drawing.png", "small.png", "small.png"), ("photo.jpg", "small.webp", "small.webp"),
            ("-f.jpg", "-q.jpg", "-q.jpg"), ("photo.jpg", "./photo.jpg --force", "photo.jpg"),
            ("drawing.png", "--in-place", "drawing.png"), ("photo.webp", "--in-place -q 20", "photo.webp"),
            ("video.mov", "small.mkv --scale 2", "small.mkv"), ("video.mov", "half.mp4 --size 50%", "half.mp4"),
            ("photo.jpg", "--suffix=-small --format webp", "photo-small.webp"),
        ]
        for source, rest, made in rows:
            with self.subTest(f"{source} {rest}"):
                self.video(source) if source.endswith("mov") else self.image(source)
                os.chmod(self.at(source), 0o640)
                os.utime(self.at(source), (1000000000, 1000000000))
                before = self.read(source)
                run = self.run_host(*rest.split(" "), "--", source) if "--" in rest.split(" ")[0] else \
                    self.run_host("--", source, rest) if rest[0] == "-" else self.run_host(source, *rest.split(" "))
                self.assertIn("saved ", run.out)
                self.assertEqual(run.err, "")
                ffmpeg("-xerror", "-i", os.fsdecode(self.at(made)), "-f", "null", "-")
                info = os.stat(self.at(made))
                self.assertLess(info.st_size, len(before))
                self.assertEqual(info.st_mode & 0o777, 0o640)
                # In place the dates stay.
                self.assertEqual((info.st_mtime == 1000000000, self.read(source) == before), (made == source, made != source))
                self.assertEqual(self.names(), sorted({source, made}))
                for name in self.names():
                    os.remove(self.at(name))

    def test_what_would_grow(self):
        self.image("photo.jpg")
        self.run_host("photo.jpg", "small.jpg", "-q", "20", "--quiet", "--keep-dates")
        run = self.run_host("small.jpg", "same.jpg", "-q", "100")
        self.assertIn("unchanged", run.out)
        self.assertEqual(self.read("same.jpg"), self.read("small.jpg"))
        # Of another kind there is no source to fall back on, and it takes one encode to know.
        ffmpeg("-f", "lavfi", "-i", "color=red:s=64x64", "-frames:v", "1", os.fsdecode(self.at("dot.png")))
        before = self.contents()
        for flags in ([], ["--min-savings", "1"], ["--keep-metadata"], ["-n"], ["--estimate"]):
            self.assertIn("not delivered: it would have grown", self.run_host("dot.png", "dot.jpg", *flags).out)
            self.assertEqual(self.contents(), before)
        self.video("video.mp4")
        self.run_host("video.mp4", "small.mp4", "-q", "45", "--quiet")
        for flags, grows in ([], False), (["--allow-larger", "-v"], True):
            run = self.run_host("small.mp4", "same.mp4", "-f", "-q", "5", *flags)
            self.assertEqual("small.mp4" in run.err, grows, "the module's log")
            self.assertEqual(len(self.read("same.mp4")) > len(self.read("small.mp4")), grows)
        before = self.read("small.jpg")
        self.run_host("small.jpg", "--in-place", "--min-savings", "99", "-q", "10")
        self.assertEqual(self.read("small.jpg"), before)

    def test_what_options_allow_and_keep(self):
        self.image("photo.jpg")
        photo = self.read("photo.jpg")
        exif = bytes.fromhex("FFE10022457869660000 49492A0008000000 0100 120103000100000006000000 00000000")
        self.write("photo.jpg", photo[:2] + exif + photo[2:])
        self.write("cut.jpg", photo[:-2000])
        ffmpeg("-f", "lavfi", "-i", "mandelbrot", "-frames:v", "3", "-f", "apng", os.fsdecode(self.at("moves.png")))
        self.video("plain.mp4")
        ffmpeg("-i", os.fsdecode(self.at("plain.mp4")), "-c", "copy", "-metadata", "creation_time=2018-05-06T07:08:09Z",
               "-movflags", "+faststart", os.fsdecode(self.at("video.mp4")))
        video = self.read("video.mp4")
        self.write("cut.mp4", video[:len(video) * 2 // 3])
        for source, made, flag, refused, said in (
                ("cut.jpg", "a.jpg", "--keep-damaged", 1, "ends before"), ("cut.jpg", "a.webp", "--keep-damaged", 1, "ends before"),
                ("cut.mp4", "a.mp4", "--keep-damaged", 1, "is cut"), ("moves.png", "b.png", "--first-frame", 2, "first frame"),
                ("moves.png", "b.jpg", "--first-frame", 2, "first frame")):
            with self.subTest(f"{source} {made}"):
                self.run_host(source, made, status=refused)
                self.assertIn(said, self.run_host(source, made, flag).err)
                self.assertGreater(len(self.read(source)), len(self.read(made)))
        # An orientation of 6, or where the pixels were turned meanwhile of 1; a video's date.
        for source, made, kept in (("photo.jpg", "c.jpg", exif[20:30]), ("photo.jpg", "c.webp", b"\x12\x01\x03\0\x01\0\0\0\x01"),
                                   ("video.mp4", "c.mp4", b"2018-05-06T07:08:09")):
            for flags in ([], ["--keep-metadata"]):
                with self.subTest(f"{made} {flags}"):
                    self.run_host(source, made, "-f", *flags)
                    found = self.read(made)
                    self.assertLess(len(found), len(self.read(source)))
                    if made.endswith("mp4"):
                        found = subprocess.check_output([os.path.join(REAL, "ffprobe"), "-v", "error", "-show_format", self.at(made)])
                    # mozjpeg's cjpeg keeps it in any case.
                    self.assertEqual(kept in found, bool(flags) or made == "c.jpg")

    def test_channels(self):
        # environment, arguments, whether what a terminal shows has colours
        for env, flags, colored in (({}, [], True), ({"NO_COLOR": "1"}, [], False), ({"NO_COLOR": ""}, [], True),
                                    ({"TERM": "dumb"}, [], False), ({}, ["--color", "never"], False),
                                    ({"NO_COLOR": "1"}, ["--color", "always"], True)):
            ours, its = pty.openpty()
            run = self.start("missing.jpg", "out.jpg", *flags, stderr=its, env={"TERM": "xterm", "NO_COLOR": "", **env})
            os.close(its)
            self.assertEqual(run.end().status, 2)
            said = os.read(ours, 10000).decode()
            os.close(ours)
            self.assertEqual(("\x1b[31m" in said, "no file missing.jpg" in said), (colored, True), (env, flags, said))
        self.assertNotIn("\x1b", self.run_host("missing.jpg", "out.jpg", status=2).err)
        # Only what failed is worth a word.
        self.image("photo.png")
        run = self.run_host("photo.png", "missing.jpg", "photo.png", "-o", "out", "--format", "jpg", "--quiet", status=2)
        self.assertEqual((run.out, run.err.count("\n"), "is given twice" in run.err), ("", 1, True))
        run = self.run_host("photo.png", "missing.jpg", "-o", "out", "--format", "jpg", "--quiet", status=1)
        self.assertEqual((run.out, run.err.count("\n"), "missing.jpg" in run.err), ("", 1, True))
        self.assertEqual(self.read("out/photo.jpg")[:2], b"\xff\xd8")
        # More than a pipe takes, and it is one that does not wait.
        names = [f"{'far away/' * 20}{number}.jpg" for number in range(1000)]
        reader, writer = os.pipe()
        os.set_blocking(writer, False)
        run = self.start(*names, "-o", "out", "--json", stdout=writer)
        os.close(writer)
        wait_until(lambda: int.from_bytes(fcntl.ioctl(reader, termios.FIONREAD, bytes(4)), sys.byteorder) > 60000, "it is full")
        with open(reader) as file:
            lines = [json.loads(line) for line in file]
        self.assertEqual(run.end().status, 1)
        self.assertEqual([line["path"] for line in lines if line["type"] == "error"], names)

    def test_names_of_any_bytes(self):
        self.image("photo.jpg")
        for folder in (b"", b"f\xff/"):
            name = folder + b"\xe9 \n\x1b[31m.jpg"
            self.write(name, self.read("photo.jpg"))
            run = self.run_host(name, folder + b"out\xff.webp")
            self.assertIn(r"\xe9 \n\x1b[31m.jpg", run.out)
            self.assertEqual(self.read(folder + b"out\xff.webp")[:4], b"RIFF")

    def test_answers(self):
        for line, lines, named in (("--help", 24, "--help-all"), ("--help-all", 100, "3.ndjson"), ("-h --fast", 24, "-o"),
                                   ("photo.png --version -q 700", 1, "vxcompress"), ("report --help", 24, "--html FILE"),
                                   ("report --help-all", 24, "FILE..."), ("doctor -h --json=7 x", 24, "--quiet")):
            with self.subTest(line):
                out = self.run_host(*line.split(" ")).out
                self.assertIn(named, out)
                rows = out.splitlines()
                self.assertTrue(len(rows) <= lines and max(map(len, rows)) <= 80, rows)


if __name__ == "__main__":
    main()
