"""Many files in one call, and what programs read of it."""
import base64
import hashlib
import json
import os
import shutil
import signal
import time
import xml.etree.ElementTree as ElementTree

from host import FAKE, Place, main, wait_until


def size(bytes):
    number, unit = (bytes / 1e3, "kB") if bytes < 999500 else (bytes / 1e6, "MB")
    return f"{number:#.3g}".rstrip(".") + " " + unit


class Batch(Place):
    def tree(self):
        self.image("in/a.jpg")
        self.image("in/deep er/b.png")
        self.video("in/c.mov", 1)
        self.write("in/notes.txt", b"no media")
        os.chmod(self.at("in/deep er"), 0o700)
        os.symlink(self.at("elsewhere"), self.at("in/link"))

    def test_tree(self):
        self.tree()
        before = self.contents()
        predicted = self.run_host("-r", "in", "-o", "out", "-n")
        self.assertEqual(self.contents(), before)
        run = self.run_host("-r", "in", "-o", "out")
        made = {name: facts for name, facts in self.contents().items() if name not in before}
        self.assertEqual(sorted(made), [b"out", b"out/a.jpg", b"out/c.mov", b"out/deep er", b"out/deep er/b.png"])
        self.assertEqual(made[b"out/deep er"][0] & 0o777, 0o700)
        # The videos come after the images in time, not in order.
        self.assertEqual([line.split(" -> ")[0] for line in run.out.splitlines()],
                         ["in/a.jpg", "in/c.mov", "in/deep er/b.png"])
        self.assertEqual(predicted.out.splitlines()[0].split(",")[0], run.out.splitlines()[0])
        self.assertIn("3 files, 2 ignored: ", run.err)
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
        self.image("p.jpg", "64x64")
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
            self.image(name, "64x64")
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
        self.image("p.png", "64x64")
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
                         "predicted")
        self.assertEqual(self.valid(self.run_host("in/a.jpg", "--json", status=2).out)[0]["kind"], "usage")
        run = self.start("in/a.jpg", "new.jpg", "--json", bin=FAKE, env={"FAKE_END": "hang"})
        wait_until(lambda: self.encoders() == 1, "the encoder runs")
        run.process.send_signal(signal.SIGTERM)
        lines = self.valid(run.end().out)
        self.assertEqual((lines[-2]["kind"], lines[-1]["signal"]), ("interrupted", 15))

    def test_figures(self):
        # What programs and people read, against what lies there and what the clock says.
        self.tree()
        sources = {f"in/{name}": len(self.read(f"in/{name}")) for name in ("a.jpg", "c.mov", "deep er/b.png")}
        began = time.monotonic()
        lines = self.valid(self.run_host("-r", "in", "-o", "out", "--json", "-j1").out)
        wall = time.monotonic() - began
        ends = [line for line in lines if line["type"] == "result"]
        self.assertEqual({end["path"]: end["bytesBefore"] for end in ends}, sources)
        self.assertEqual([end["bytesAfter"] for end in ends], [len(self.read(end["output"])) for end in ends])
        first, last = lines[0], lines[-1]
        self.assertEqual((first["files"], first["bytes"], first["cores"]), (3, sum(sources.values()), 1))
        self.assertEqual([last[name] for name in ("files", "delivered", "failed", "ignored", "bytesBefore", "bytesAfter")],
                         [3, 3, 0, 2, sum(sources.values()), sum(end["bytesAfter"] for end in ends)])
        spent = sum(end["seconds"] for end in ends)
        self.assertTrue(0.05 < spent <= last["seconds"] + 0.01 <= wall + 0.01, (spent, last, wall))
        self.assertTrue(any(end["seconds"] % 1 for end in ends))
        run = self.run_host("-r", "in", "-o", "out2")
        for end, line in zip(ends, run.out.splitlines()):
            before, after = end["bytesBefore"], end["bytesAfter"]
            self.assertTrue(line.endswith(f": {size(before)} -> {size(after)} (saved {100 - 100 * after / before:.1f} %)"), line)
        self.assertIn(f"(saved {100 - 100 * last['bytesAfter'] / last['bytesBefore']:.1f} %)", run.err)
        # Each job has a time of its own, and a run that of all.
        self.image(f"{self.temporary}/../result.jpg", "8x8")
        run = self.start("in/a.jpg", "new.jpg", "--json", bin=FAKE,
                         env={"FAKE_DELAY_MS": "1300", "FAKE_OUTPUT": f"{self.temporary}/../result"})
        result, summary = self.valid(run.end().out)[-2:]
        self.assertTrue(1.3 <= result["seconds"] <= summary["seconds"] < 60, (result, summary))

    def test_shards(self):
        names = [f"{folder}/{number}.jpg".encode() for folder in ("a", "b/c", "B \u00e9") for number in range(40)]
        names += [b"odd \xff.jpg", b"none", b".dot", b"x.tar.GZ"]
        for place in (["-o", "out"], ["--in-place"]):
            for count in (1, 3, 16):
                for number in range(1, count + 1):
                    run = self.run_host("--files-from", "-", "-0", "--shard", f"{number}/{count}", "--json", *place,
                                        status=None, input=b"\0".join(names))
                    paths = [base64.b64decode(line["pathBytes"]) if "pathBytes" in line else line["path"].encode()
                             for line in self.valid(run.out) if line["type"] == "error"]
                    # The rule is a promise: machines of one run may have different versions.
                    stems = [(name, (os.path.splitext(name)[0] if name != b".dot" else name).lower()) for name in names]
                    part = [name for name, stem in stems
                            if int.from_bytes(hashlib.sha1(stem).digest()[:8], "big") % count == number - 1]
                    self.assertEqual(paths, part)
        # Found in whatever part they are.
        for name in ("a.jpg", "a.png", "in/b.jpg", "other/b.jpg"):
            self.image(name, "64x64")
        for names, place in (("a.jpg a.png", "--suffix=-x"), ("in/b.jpg other/b.jpg", "-oout")):
            ends = [self.start(*names.split(), place, "--format", "webp", "--shard", f"{part}/7").end()
                    for part in range(1, 8)]
            self.assertEqual(sorted(end.status for end in ends), [0] * 6 + [2])
        for bad in ("0/3", "4/3", "3", "1/0", "1/2/3", "-1/2", "1/2 ", "a/b", ""):
            self.assertIn("--shard takes K/N", self.run_host("a.jpg", "b.jpg", f"--shard={bad}", status=2).err)

    def test_two_runs_over_one_tree(self):
        results = os.path.join(os.path.dirname(self.path), "result")
        self.image(f"{results}.jpg", "8x8")
        self.image("p.jpg", "64x64")
        names = [f"in/{number}.jpg" for number in range(12)]
        for name in names:
            self.write(name, self.read("p.jpg"))
        call = ["--files-from", "-", "-o", "out", "--skip-existing", "--json", "-j1"]
        with open(f"{results}.jpg", "rb") as file:
            whole = file.read()

        def start(env):
            run = self.start(*call, bin=FAKE, env={"FAKE_OUTPUT": results, **env})
            run.process.stdin.write("\n".join(names).encode())
            run.process.stdin.close()
            run.process.stdin = None
            return run

        # Two are at their first file; the third overtakes them, while one of them is killed.
        killed, slow = [start({"FAKE_END": "hang"}) for _ in range(2)]
        wait_until(lambda: self.encoders() == 2, "both are at work")
        quick = start({"FAKE_DELAY_MS": "50"})
        wait_until(lambda: self.encoders() > 5, "the third one is in the middle")
        killed.process.kill()
        killed.end()
        self.assertEqual(len(quick.end().err), 0)
        self.assertEqual([self.valid(quick.out)[-1][word] for word in ("delivered", "status")], [12, 0])
        # Its result is not needed any more.
        self.write(os.path.join(self.records, "open"), b"")
        self.assertEqual([self.valid(slow.end().out)[-1][word] for word in ("skipped", "status")], [12, 0], slow.err)
        self.assertEqual([self.read(f"out/{name}") for name in names], [whole] * 12)
        # What another machine left is that machine's.
        left = [name for name in os.listdir(self.at("out/in")) if name.startswith(b".vxcompress-")]
        self.assertEqual(len(left), 1)
        foreign = b"out/in/" + left[0].replace(left[0].split(b"-")[1], b"0" * 8)
        shutil.copytree(self.at(b"out/in/" + left[0]), self.at(foreign))
        # Nothing is to be done any more, and yet what the killed run left goes.
        run = self.run_host(*call, input="\n".join(names).encode())
        self.assertEqual(self.valid(run.out)[-1]["skipped"], 12)
        self.assertEqual([name for name in os.listdir(self.at("out/in")) if name.startswith(b".")],
                         [os.path.basename(foreign)])
        shutil.rmtree(self.at(foreign))

    def test_report(self):
        def line(type, **members):
            return json.dumps({"type": type, **members}) + "\n"

        def run(host, cores):
            return line("run", version="1", host=host, began="2026-01-01T00:00:00.000Z", cores=cores, files=9, bytes=9)

        def end(name, outcome, before, after, seconds, output=None):
            return line("start", job=0, path=name, output=output or name, bytes=before) + line(
                "result", job=0, path=name, output=output or name, outcome=outcome, bytesBefore=before,
                bytesAfter=after, seconds=seconds, runs=1)

        def summary(seconds):
            return line("summary", files=9, delivered=0, kept=0, skipped=0, failed=0, ignored=0, bytesBefore=0,
                        bytesAfter=0, seconds=seconds, status=0)

        killed = run("one", 2) + end("a.jpg", "delivered", 1000, 400, 2) + line("start", job=1, path="b<&.png", bytes=7) \
            + line("start", job=2, path="lost.png", output="lost.png", bytes=7) + '{"outcome":"deli'
        whole = run("two", 4) + end("a.jpg", "skipped", 1000, 0, 0) + end("b<&.png", "kept", 500, 500, 1) + end(
            "c.mov", "delivered", 9000, 3000, 30, "c.MP4") + line(
            "error", job=3, path="d.jpeg", kind="not-media", text="d.jpeg is <none>") + line(
            "error", job=3, path="a.jpg", kind="output-exists", text="there") + summary(8)
        self.write("killed.ndjson", killed.encode())
        self.write("whole.ndjson", whole.encode())
        # In one file the next run goes on in the line that was cut.
        self.write("both.ndjson", (killed + whole).encode())
        answers = []
        for names in (["killed.ndjson", "whole.ndjson"], ["whole.ndjson", "killed.ndjson"], ["both.ndjson"]):
            answers.append(json.loads(self.run_host("report", *names, "--json", "--html", "page.html").out))
        self.assertEqual(answers[1:], answers[:1] * 2)
        sum = answers[0]
        self.assertEqual([sum[name] for name in ("runs", "runsWithoutEnd", "cutLines", "foreignLines", "files", "delivered",
                                                 "kept", "skipped", "failed", "unfinished", "bytesBefore", "bytesAfter")],
                         [2, 1, 1, 0, 5, 2, 1, 0, 1, 1, 10500, 3900])
        self.assertEqual([(kind["kind"], kind["files"], kind["seconds"]) for kind in sum["kinds"]],
                         [("jpg", 1, 2), ("mp4", 1, 30), ("png", 1, 1)])
        self.assertEqual((sum["seconds"], sum["coreSeconds"], sum["filesPerCoreSecond"]), (8, 32, 2 / 32))
        self.assertEqual([file["path"] for file in sum["slowest"]], ["c.mov", "a.jpg", "b<&.png"])
        self.assertEqual([(file["path"], file["kind"]) for file in sum["failures"]],
                         [("d.jpeg", "not-media"), ("lost.png", "unfinished")])
        page = self.read("page.html").decode()
        tree = ElementTree.fromstring(page)
        bars = [float(bar.get("width")) for bar in tree.iter("{http://www.w3.org/2000/svg}rect")]
        self.assertAlmostEqual(bars[1] / bars[3], 400 / 3000, 3)
        self.assertIn("b<&.png", "".join(tree.itertext()))
        self.assertEqual([word for word in ("href", "src=", "@import", "url(", "<script") if word in page], [])
        text = self.run_host("report", "both.ndjson").out
        self.assertIn("5 files: 2 delivered, 1 kept, 1 failed, 1 unfinished\n10.5 kB -> 3.90 kB (saved 62.9 %)", text)
        for arguments in (["missing"], ["both.ndjson", "--html", "no/page.html"]):
            self.run_host("report", *arguments, status=2)
        # A page that there is no room for replaces none.
        self.assertIn("cannot write", self.run_host("report", "both.ndjson", "--html", "page.html", status=2, limit=2000).err)
        self.assertEqual(self.read("page.html").decode(), page)
        many = run("<two> & \"three\"", 2) + "".join(end(f"{number}.jpg", "delivered", 1000 + number, 500, number / 8)
                                                    for number in range(30)) + summary(60)
        self.write("many.ndjson", many.encode())
        sum = json.loads(self.run_host("report", "many.ndjson", "--json", "--html", "page.html").out)
        self.assertEqual([(file["path"], file["seconds"], file["bytes"]) for file in sum["slowest"]],
                         [(f"{number}.jpg", number / 8, 1000 + number) for number in range(29, 9, -1)])
        self.assertEqual(sum["kinds"], [{"kind": "jpg", "files": 30, "bytesBefore": 30435, "bytesAfter": 15000,
                                         "seconds": 30 * 29 / 16}])
        self.assertEqual([sum["machines"][0][name] for name in ("host", "files", "bytes", "coreSeconds")],
                         ["<two> & \"three\"", 30, 30435, 120])
        self.assertEqual((sum["filesPerCoreSecond"], sum["bytesPerCoreSecond"]), (30 / 120, 30435 / 120))
        bars = ElementTree.fromstring(self.read("page.html").decode()).findall(".//{http://www.w3.org/2000/svg}text")
        self.assertIn("<two> & \"three\"", [bar.text for bar in bars])
        # Less than 0.1, 0.2, 0.4, 0.8, 1.6 and 3.2 seconds, and the rest.
        counts = [bars[at + 1].text for at, bar in enumerate(bars) if bar.text.startswith("under")]
        self.assertEqual(counts, ["1", "1", "2", "3", "6", "13", "4"])
        self.assertRegex(self.run_host("report", "many.ndjson").out, r"(?s)Slowest files:.*3\.50 s +1\.03 kB +28\.jpg")
        self.write("no.ndjson", b"\xff\xd8 no stream\n")
        self.assertIn("no stream", self.run_host("report", "no.ndjson", status=2).err)
        self.write("nothing.ndjson", b"")
        self.assertIn("0 files", self.run_host("report", "nothing.ndjson").out)


if __name__ == "__main__":
    main()
