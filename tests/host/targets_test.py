"""Sizes and SSIM values that are asked for, and sizes told beforehand, by the real encoders."""
import os

from host import Place, ffmpeg, main

# source, result, the request, the least and the most of the source's bytes
MET = [
    ("photo.jpg", "out.jpg", "--size 30%", 0.27, 0.3),
    ("photo.jpg", "out.webp", "--size 20%", 0.18, 0.2),
    ("video.mkv", "out.mp4", "--size 40%", 0.36, 0.4),
    ("video.mkv", "out.mp4", "--min-ssim 0.9 -q 40", 0, 1),
    ("photo.jpg", "out.jpg", "--min-ssim 0.97 -q 5", 0, 1),
    ("photo.jpg", "photo.jpg", "--in-place --size 50%", 0.45, 0.5),
]


class Requests(Place):
    def sources(self):
        self.image("photo.jpg", "640x480")
        self.video("video.mkv", 6, "320x240")

    def test_met(self):
        self.sources()
        for source, made, request, least, most in MET:
            with self.subTest(f"{source} {request}"):
                before = os.path.getsize(self.at(source))
                names = [source] if "--in-place" in request else [source, made, "-f"]
                end = self.valid(self.run_host(*names, *request.split(" "), "--json").out)[-2]
                self.assertEqual((end["outcome"], end["bytesAfter"]), ("delivered", os.path.getsize(self.at(made))))
                self.assertTrue(least * before <= end["bytesAfter"] <= most * before, (before, end))
                if "ssim" in request:
                    self.assertGreaterEqual(end["ssim"], float(request.split(" ")[1]))
                    self.assertGreater(end["runs"], 1)

    def test_unreached(self):
        self.sources()
        before = self.contents()
        for line in ("photo.jpg out.jpg --size 1%", "photo.jpg out.jpg --size 30% --min-ssim 0.9999", "video.mkv out.mp4 --min-ssim 0.99999"):
            run = self.run_host(*line.split(" "), status=1)
            self.assertIn("no setting of the encoder meets the target", run.err)
            self.assertEqual(self.contents(), before)

    def test_foretold(self):
        # A long video that turns from easy to hard, so that its beginning tells little; a short one; an image.
        self.sources()
        ffmpeg("-f", "lavfi", "-i", "testsrc2=s=128x96:r=12:d=150", "-vf", "noise=alls=60:allf=t:enable='gt(t,60)'",
               "-c:v", "libx264", "-preset", "ultrafast", "-g", "24", "-pix_fmt", "yuv420p", self.at("long.mp4").decode())
        files = ["photo.jpg", "video.mkv", "long.mp4"]
        before = self.contents()
        for request in ([], ["--size", "30%"]):
            told = self.valid(self.run_host(*files, "--estimate", "--json", *request).out)
            self.assertEqual(self.contents(), before)
            ranges = {line["path"]: (line["bytesLow"], line["bytesHigh"]) for line in told if line["type"] == "estimate"}
            self.assertLess(ranges["long.mp4"][0], ranges["long.mp4"][1])
            done = self.valid(self.run_host(*files, "-o", "out", "--json", *request).out)
            for line in (line for line in done if line["type"] == "result"):
                low, high = ranges[line["path"]]
                self.assertTrue(low <= line["bytesAfter"] <= high, (request, line, low, high))
            for name in files:
                os.remove(self.at(f"out/{name}"))
            os.rmdir(self.at("out"))
        os.link(self.at("photo.jpg"), self.at("same.jpg"))
        table = self.run_host(*files[:2], "same.jpg", "--estimate").out.splitlines()
        self.assertEqual(len(table), 5, table)
        self.assertIn("in all", table[-1])


if __name__ == "__main__":
    main()
