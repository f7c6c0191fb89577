"""Many files in one call, and what programs read of it."""
import base64
import os
import signal

from host import FAKE, Place, main, wait_until


class Batch(Place):
    def tree(self):
        self.picture("in/a.jpg")
        self.picture("in/deep er/b.png")
        self.film("in/c.mov", 1)
        self.write("in/notes.txt", b"no media")
        os.chmod(self.at("in/deep er"), 0o700)
        os.symlink(self.at("elsewhere"), self.at("in/link"))

    def test_tree(self):
        self.tree()
        before = self.contents()
        foreseen = self.run_host("-r", "in", "-o", "out", "-n")
        self.assertEqual(self.contents(), before)
        run = self.run_host("-r", "in", "-o", "out")
        made = {name: facts for name, facts in self.contents().items() if name not in before}
        self.assertEqual(sorted(made), [b"out", b"out/a.jpg", b"out/c.mov", b"out/deep er", b"out/deep er/b.png"])
        self.assertEqual(made[b"out/deep er"][0] & 0o777, 0o700)
        # The films come after the pictures in time, not in order.
        self.assertEqual([line.split(" -> ")[0] for line in run.out.splitlines()],
                         ["in/a.jpg", "in/c.mov", "in/deep er/b.png"])
        self.assertEqual(foreseen.out.splitlines()[0].split(",")[0], run.out.splitlines()[0])
        self.assertIn("3 files, 2 passed over: ", run.err)
        again = self.run_host("-r", "in", "-o", "out", "--skip-existing")
        self.assertEqual(again.out.count("skipped"), 3)
        self.assertIn("3 failed:", self.run_host("-r", "in", "-o", "out", status=1).err)
        self.assertEqual({name: facts for name, facts in self.contents().items() if name not in before}, made)
        # What it made beside the inputs is no input the next time.
        for _ in range(2):
            self.run_host("-r", "in", "--suffix", "-small", "-f")
        self.assertEqual(sum("-small" in name for name in self.names()), 3)

    def test_lists(self):
        names = [b"a.jpg", b"sub/b \xff\n.jpg"]
        self.picture("p.jpg", "64x64")
        for name in names:
            self.write(name, self.read("p.jpg"))
        self.run_host("--files-from", "-", "-0", "-o", "out/", "--format", "webp", input=b"\0".join(names))
        for name in names:
            self.assertEqual(self.read(b"out/" + name[:-4] + b".webp")[:4], b"RIFF")
        self.write("list", b"a.jpg\n\nmissing.jpg\n" + self.at("p.jpg"))
        run = self.run_host("--files-from", "list", "--in-place", "-q", "30", status=1)
        self.assertIn("missing.jpg", run.err)
        self.assertEqual(run.out.count("saved"), 2)

    def test_collisions(self):
        for name in ("a.jpg", "a-s.jpg", "a.png", "in/a.jpg", "in/b.jpg", "other/a.jpg"):
            self.picture(name, "64x64")
        os.symlink("in", self.at("way"))
        rows = [
            ("a.jpg a.png -o out --format webp", "would both become out/a.webp"),
            ("a.jpg ./a.jpg --in-place", "would both become"),
            ("a.jpg a.jpg --in-place", "is given twice"),
            ("-r in other -o out", "would both become out/a.jpg"),
            ("other/a.jpg in/b.jpg in/a.jpg -o way -f", "would both become way/a.jpg"),
            ("a.jpg a-s.jpg --suffix=-s -f", "a-s.jpg, which is an input too"),
            ("-r in -o in/small", "inside the input folder"),
            ("-r in -o way/small", "inside the input folder"),
            ("a.jpg a.png -o a.jpg", "need a folder"),
        ]
        before = self.contents()
        for line, said in rows:
            with self.subTest(line):
                run = self.run_host(*line.split(" "), status=2)
                self.assertIn(said, run.err)
                self.assertEqual(run.out, "")
                self.assertEqual(self.contents(), before)
                self.assertIn(said, self.valid(self.run_host(*line.split(" "), "--json", status=2).out)[0]["text"])

    def test_side_by_side(self):
        self.picture("p.png", "64x64")
        names = [f"{number}.png" for number in range(8)]
        for name in names:
            self.write(name, self.read("p.png"))
        run = self.start(*names, "-o", "out", "-j", "5", "--nice", "7", bin=FAKE, env={"FAKE_END": "hang"})
        wait_until(lambda: self.encoders() == 5, "five side by side")
        nice = {os.getpriority(os.PRIO_PROCESS, int(id)) for id in self.alive()}
        self.assertEqual(nice, {os.getpriority(os.PRIO_PROCESS, 0) + 7})
        run.process.send_signal(signal.SIGINT)
        run.end()
        self.assertEqual(run.status, 130)
        self.assertIn("interrupted", run.err)
        self.assertEqual((self.encoders(), os.path.exists(self.at("out"))), (5, False))

    def test_json(self):
        self.tree()
        self.write(b"in/odd \xff.jpg", self.read("in/a.jpg"))
        self.write("in/bad.webp", b"bad")
        lines = self.valid(self.run_host("-r", "in", "missing.jpg", "-o", "out", "--json", status=1).out)
        ends = [line for line in lines if line["type"] in ("result", "error")]
        self.assertEqual([end["job"] for end in ends], list(range(6)))
        odd = next(end for end in ends if "pathBytes" in end)
        self.assertEqual(base64.b64decode(odd["outputBytes"]), b"out/odd \xff.jpg")
        self.assertEqual(lines[-1]["failed"], 2)
        self.assertTrue(any(line["type"] == "progress" for line in lines))
        self.assertEqual(self.valid(self.run_host("in/a.jpg", "out/a.jpg", "-f", "--json", "-n").out)[-2]["outcome"],
                         "foreseen")
        self.assertEqual(self.valid(self.run_host("in/a.jpg", "--json", status=2).out)[0]["kind"], "usage")
        run = self.start("in/a.jpg", "new.jpg", "--json", bin=FAKE, env={"FAKE_END": "hang"})
        wait_until(lambda: self.encoders() == 1, "the encoder runs")
        run.process.send_signal(signal.SIGTERM)
        lines = self.valid(run.end().out)
        self.assertEqual((lines[-2]["kind"], lines[-1]["signal"]), ("interrupted", 15))


if __name__ == "__main__":
    main()
