"""However a run ends, nothing outlives it and nothing half done is to be seen. The encoders are fakes."""
import fcntl
import os
import shutil
import signal
import tempfile
import time

from host import FAKE, Place, ffmpeg, main, wait_until

# source and output
KINDS = [("photo.png", "out.jpg"), ("photo.png", "out.png"), ("photo.png", "out.webp"), ("video.mov", "out.mp4")]
ENCODERS = {"jpg": "cJpeg", "png": "pngquant"}
ENCODER_FAULTS = [{"FAKE_OUTPUT": "none"}, {"FAKE_OUTPUT": "empty"}, {"FAKE_END": "crash"}, {"FAKE_EXIT": "3"}]
INTERRUPTS = [[signal.SIGINT], [signal.SIGINT] * 2, [signal.SIGTERM], [signal.SIGHUP], [signal.SIGQUIT], [signal.SIGXFSZ]]


class Faults(Place):
    def setUp(self):
        super().setUp()
        self.image("photo.png", "64x64")
        self.video("video.mov")
        for _, name in KINDS:
            self.write(name, b"old")
        self.before = self.contents()
        self.source = self.read("photo.png")
        # What an encoder makes that does its work.
        results = tempfile.TemporaryDirectory()
        self.addCleanup(results.cleanup)
        self.result = os.path.join(results.name, "result")
        for suffix in ("jpg", "png", "webp"):
            self.image(f"{self.result}.{suffix}", "8x8")
        ffmpeg("-i", os.path.join(self.path, "video.mov"), "-crf", "51", f"{self.result}.mp4")

    def fake(self, *arguments, env={}, **conditions):
        return self.start(*arguments, bin=FAKE, env={"FAKE_OUTPUT": self.result, **env}, **conditions)

    def working(self, *arguments):
        """A run whose encoder has written what it would, and hangs."""
        before = self.encoders()
        run = self.fake(*arguments, env={"FAKE_END": "hang"})
        wait_until(lambda: self.encoders() == before + 1, "the encoder is at work")
        return run

    def test_encoder_fails(self):
        # One that ends early, and says that all is done.
        cut = os.path.join(os.path.dirname(self.result), "cut")
        for suffix in ("jpg", "png", "webp"):
            whole = self.read(f"{self.result}.{suffix}")
            self.write(f"{cut}.{suffix}", whole[:len(whole) // 2])
        for suffix in ("mp4", "mov"):
            ffmpeg("-t", "1", "-i", os.path.join(self.path, "video.mov"), "-crf", "51", f"{cut}.{suffix}")
        for env in [*ENCODER_FAULTS, {"FAKE_OUTPUT": cut}]:
            for source, output in KINDS:
                for arguments in ((source, output, "-f"), (source, "--in-place")):
                    with self.subTest(f"{env} {arguments}"):
                        run = self.fake(*arguments, env=env).end()
                        self.assertEqual((run.status, run.out), (1, ""), run.err)
                        self.assertEqual(run.err.count("\n"), 1, run.err)
                        made = source if "--in-place" in arguments else output
                        encoder = f"the encoder {ENCODERS.get(made[-3:], 'ffmpeg')} "
                        self.assertIn("is cut" if env.get("FAKE_OUTPUT") == cut else encoder, run.err)
                        self.assertIn(source, run.err)
                        self.assertEqual(self.contents(), self.before)

    def test_interrupted(self):
        for source, output in KINDS:
            for numbers in INTERRUPTS:
                with self.subTest(f"{output} {numbers}"):
                    run = self.working(source, output, "-f")
                    for number in numbers:
                        run.process.send_signal(number)
                    run.end()
                    self.assertEqual((run.status, run.out), (128 + numbers[0], ""))
                    self.assertEqual(self.contents(), self.before)
                    wait_until(lambda: not self.alive(), "no encoder is left")

    def test_interrupt_that_the_encoder_gets_too(self):
        # The encoder ends well of itself, just when the interrupt comes; the program sees both at once.
        run = self.fake("photo.png", "out.webp", "-f", env={"FAKE_DELAY_MS": "300"})
        wait_until(lambda: os.listdir(self.records), "the encoder runs")
        run.process.send_signal(signal.SIGSTOP)
        run.process.send_signal(signal.SIGINT)
        wait_until(lambda: self.encoders() == 1 and not self.alive(), "the encoder has ended")
        run.process.send_signal(signal.SIGCONT)
        self.assertEqual(run.end().status, 128 + signal.SIGINT)
        self.assertEqual(self.contents(), self.before)

    def test_not_interrupted(self):
        run = self.fake("photo.png", "out.webp", "-f", env={"FAKE_DELAY_MS": "200"}, ignored=signal.SIGHUP)
        wait_until(lambda: os.listdir(self.records), "the encoder runs")
        run.process.send_signal(signal.SIGHUP)
        self.assertEqual(run.end().status, 0)
        # Nobody reads: the job goes on, and its status is that of the job.
        reader, writer = os.pipe()
        os.close(reader)
        run = self.fake("photo.png", "out.png", "-f", stdout=writer).end()
        os.close(writer)
        self.assertEqual(run.status, 0, run.err)
        self.assertNotEqual(self.read("out.png"), b"old")

    def test_changed_meanwhile(self):
        for change, output, said in (
                (lambda: self.write("photo.png", b"another"), "out.webp", "was changed"),
                (lambda: self.write("photo.png", bytes(len(self.source))), "out.webp", "was changed"),
                (lambda: os.link(self.at("out.webp"), self.at("second name.webp")), "out.webp", "names"),
                (lambda: shutil.rmtree(self.at("folder")), "folder/new.webp", "its folder is gone"),
                (lambda: self.write("folder/new.webp", b"somebody's"), "folder/new.webp", "exist")):
            os.makedirs(self.at("folder"), exist_ok=True)
            self.write("photo.png", self.source)
            started = len(os.listdir(self.records))
            run = self.fake("photo.png", output, *["-f"] * (output == "out.webp"), env={"FAKE_DELAY_MS": "500"})
            wait_until(lambda: len(os.listdir(self.records)) > started, "the encoder runs")
            change()
            self.assertEqual(run.end().status, 1, run.err)
            self.assertIn(said, run.err)
            self.assertEqual(self.read("out.webp"), b"old")
        self.assertEqual(self.read("folder/new.webp"), b"somebody's")

    def test_savings(self):
        for source, kind, kept in (("photo.png", "png", "kept"), ("photo.png", "webp", "not-worth"),
                                   ("video.mov", "mp4", "not-worth")):
            before, after = os.path.getsize(self.at(source)), os.path.getsize(f"{self.result}.{kind}")
            saved = 100 * (before - after) / before
            self.assertTrue(1 < saved < 99, saved)
            for limit, outcome in ((saved - 0.1, "delivered"), (saved + 0.1, kept)):
                with self.subTest(f"{kind} {outcome}"):
                    lines = self.valid(self.fake(source, f"new.{kind}", "--json", "-f",
                                                 f"--min-savings={limit:.3f}").end().out)
                    self.assertEqual([lines[-2]["outcome"], lines[-1]["bytesBefore"], lines[-1]["bytesAfter"]],
                                     [outcome, before, after if outcome == "delivered" else before])

    def test_ends_of_batches(self):
        for name in ("in/a.png", "in/deep/b.png", "in/.vxcompress-ABCDEF/c.png", "../p.png"):
            self.write(name, self.source)
        self.write("list", b"../p.png\nphoto.png")
        for name in ("linked.png", "alone.png"):
            self.write(name, b"old")
        os.link(self.at("linked.png"), self.at("second name.png"))
        fails = {"FAKE_EXIT": "3"}
        before = self.contents()
        # line, the encoder, status, what is new, what is another file now
        for line, env, status, new, changed in (
                ("photo.png missing.png -o out", {}, 1, "out out/photo.png", ""),
                ("photo.png alone.png -o out --format gif", {}, 2, "", ""),
                ("-r in -o out", {}, 0, "out out/a.png out/deep out/deep/b.png", ""),
                ("-r in -o out", fails, 1, "", ""),
                ("in/deep/b.png -o out/", fails, 1, "", ""),
                ("--files-from list -o out", {}, 0, "out out/p.png out/photo.png", ""),
                ("photo.png new.png --timeout 20", {"FAKE_DELAY_MS": "500"}, 0, "new.png", ""),
                ("photo.png new.png --timeout 1", {"FAKE_DELAY_MS": "5000"}, 1, "", ""),
                ("photo.png linked.png -f", {}, 2, "", ""),
                ("photo.png alone.png -f", {}, 0, "", "alone.png"),
                ("photo.png linked.png -f --break-links", {}, 0, "", "linked.png"),
                ("photo.png in/a.png --in-place", {}, 0, "", "in/a.png photo.png")):
            with self.subTest(f"{line} {env}"):
                run = self.fake(*line.split(" "), env=env).end()
                now = self.contents()
                self.assertEqual(run.status, status, run.err)
                self.assertEqual({os.fsdecode(name) for name in now if name not in before}, set(new.split()))
                self.assertEqual({os.fsdecode(name) for name in before if now.get(name) != before[name]}, set(changed.split()))
                shutil.rmtree(self.at("out"), ignore_errors=True)
                for name in {"new.png", *changed.split()}:
                    self.write(name, b"old" if name in ("linked.png", "alone.png") else self.source)
                os.remove(self.at("new.png"))
        self.assertEqual(self.read("second name.png"), b"old")
        shutil.rmtree(self.at("in/.vxcompress-ABCDEF"))

    def test_what_is_replaced(self):
        # A relative link counts from its own folder, and stays; what it leads to keeps what it has.
        self.write("far/target.png", b"old")
        os.symlink("target.png", self.at("far/link.png"))
        for name in ("user.one", "user.second"):
            os.setxattr(self.at("far/target.png"), name, name.encode())
        os.utime(self.at("photo.png"), (1200000000, 1000000000))
        run = self.fake("photo.png", "far/link.png", "-f", "--keep-dates").end()
        self.assertEqual((run.status, os.readlink(self.at("far/link.png"))), (0, b"target.png"), run.err)
        target = self.at("far/target.png")
        self.assertNotEqual(self.read("far/target.png"), b"old")
        self.assertEqual({name: os.getxattr(target, name) for name in os.listxattr(target)},
                         {"user.one": b"user.one", "user.second": b"user.second"})
        self.assertEqual(os.stat(target).st_mtime, 1000000000)

    def test_channel_that_does_not_wait(self):
        whole = self.run_host("--help-all").out
        reader, writer = os.pipe()
        fcntl.fcntl(writer, fcntl.F_SETPIPE_SZ, 4096)
        os.set_blocking(writer, False)
        os.write(writer, bytes(3000))
        run = self.start("--help-all", stdout=writer)
        os.close(writer)
        time.sleep(0.3)
        with open(reader, "rb") as file:
            self.assertEqual(file.read()[3000:].decode(), whole)
        self.assertEqual(run.end().status, 0)

    def test_leftovers(self):
        def folders(where=None):
            return [os.fsencode(name) for name in os.listdir(where or self.at("")) if b"vxcompress-" in os.fsencode(name)]

        run = self.working("photo.png", "out.png", "-f")
        run.process.kill()
        run.end()
        wait_until(lambda: not self.alive(), "the encoder ends with the program")
        self.assertEqual(self.read("out.png"), b"old")
        left, = folders()
        self.assertEqual(len(folders(self.temporary)), 1)
        living = self.working("photo.png", "out.jpg", "-f")
        lives, = set(folders()) - {left}
        # Its name says who made it: the machine, the process and its start.
        machine, process, start = left.split(b"-")[1:4]
        rows = [  # what is in it, and whether it stays
            ((machine, process, start), [], False),
            ((machine, b"%d" % os.getpid(), start), ["1.png"], False),  # the number is another process' by now
            ((machine, process, start), ["17.mp4.tmp", "progress_10.txt", ".vx-0a.png",
                                         "compressabCD12/source.png", "compress/temporaryImage_1.png"], False),
            ((machine, process, start), ["1.png", "dear.jpg"], True),
            ((machine, process, start), ["compressabCD12/dear.jpg"], True),
            ((machine, process, start), ["dears/source.png"], True),
            ((b"0" * 8, process, start), ["1.png"], True),
            (tuple(lives.split(b"-")[1:4]), ["1.png"], True),
            ((b"photos",), [], True),
        ]
        stay = {lives}
        for number, (parts, names, stays) in enumerate(rows):
            name = b"-".join([b".vxcompress", *parts, *[b"%04x" % number] * (len(parts) == 3)])
            os.mkdir(self.at(name))
            for inside in names:
                self.write(os.path.join(name, os.fsencode(inside)), b"")
            stay.update([name] * stays)
        link = b"-".join([b".vxcompress", machine, process, start, b"ffff"])
        os.mkdir(self.at(b"dear folder"))
        os.symlink(self.at(b"dear folder"), self.at(link))
        self.fake("photo.png", "out.webp", "-f").end()
        self.assertEqual(set(folders()), {*stay, link})
        for name, (_, names, _) in ((name, rows[int(name[-4:], 16)]) for name in stay if name.count(b"-") > 1 and name != lives):
            self.assertEqual(sum(len(files) for _, _, files in os.walk(self.at(name))), len(names))
        living.process.send_signal(signal.SIGTERM)
        living.end()
        os.remove(self.at(link))
        for name in [*stay - {lives}, b"dear folder"]:
            shutil.rmtree(self.at(name))

    def test_unusable_installation(self):
        for what, status, said in (("missing", 3, "cJpeg is missing"), ("no program", 1, "cJpeg could not be started"),
                                   ("no library", 3, "there is no")):
            with tempfile.TemporaryDirectory(dir=FAKE) as bin:
                for name in ["vxcompress"] + ["libVxCompressor.so"] * (what != "no library"):
                    shutil.copy2(os.path.join(FAKE, name), bin)
                if what == "no program":
                    open(os.path.join(bin, "cJpeg"), "w").close()
                run = self.start("photo.png", "out.jpg", "-f", bin=bin).end()
                self.assertEqual(run.status, status, run.err)
                self.assertIn(said, run.err)
                self.assertEqual(self.contents(), self.before)

    def test_progress_elsewhere_than_on_a_terminal(self):
        told = "out_time_us=300000\nprogress=continue\nout_time_us=600000\nprogress=continue\nprogress=end\n"
        run = self.fake("video.mov", "out.mp4", "-f", env={"FAKE_PROGRESS": told, "TERM": "xterm"}).end()
        self.assertEqual((run.status, run.err), (0, ""))


if __name__ == "__main__":
    main()
