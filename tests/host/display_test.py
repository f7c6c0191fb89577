"""What a terminal shows: seen in tmux, which also breaks the lines of a window that becomes narrower."""
import os
import shutil
import subprocess
import sys
import tempfile
import time

from host import FAKE, Place, ffmpeg, main, wait_until


class Display(Place):
    def tmux(self, *arguments):
        return subprocess.run(["tmux", "-S", os.path.join(self.temporary, "..", "tmux"), "-f", "/dev/null", *arguments],
                              check=True, capture_output=True, text=True).stdout

    def screen(self):
        return self.tmux("capture-pane", "-p", "-S", "-100", "-t", "test").rstrip("\n").split("\n")

    def test_block(self):
        self.video("in/a very long name of a video \u4e2d\u6587 that will not fit.mov", 1)
        self.video("in/b.mov", 1)
        self.image("in/c.png", "64x64")
        self.results = tempfile.TemporaryDirectory()
        self.addCleanup(self.results.cleanup)
        self.image(f"{self.results.name}/result.png", "8x8")
        ffmpeg("-i", os.path.join(self.path, "in/b.mov"), "-crf", "51", f"{self.results.name}/result.mov")
        script = "".join(f"out_time_us={n}00000\nprogress=continue\n|200|" for n in range(1, 9)) + "progress=end\n"
        environment = {"TMPDIR": self.temporary, "FAKE_RECORD": self.records, "FAKE_PROGRESS": script,
                       "FAKE_DELAY_MS": "300", "FAKE_OUTPUT": f"{self.results.name}/result", "LC_ALL": "C.UTF-8"}
        with open(os.path.join(self.path, "../run"), "w") as file:
            file.writelines(f"export {name}='{value}'\n" for name, value in environment.items())
            file.write(f"'{FAKE}/vxcompress' -r in -o out -j 3\necho status $?\n")
        self.tmux("new-session", "-d", "-s", "test", "-x", "100", "-y", "30", "env LC_ALL=C.UTF-8 PS1='> ' sh")
        self.addCleanup(lambda: self.tmux("kill-server"))
        self.tmux("set", "-t", "test", "window-size", "manual")
        self.tmux("send-keys", "-t", "test", f"cd '{self.path}'; seq 40; echo above", "Enter")
        self.tmux("send-keys", "-t", "test", "sh ../run", "Enter")
        seen = set()
        widths = [100, 20, 60, 300, 40]

        def is_done():
            screen = self.screen()
            for line in screen:
                if " %" in line and ("mov" in line or "[" in line):
                    seen.add(width)
            blocks = [line for line in screen if "of 3 files" in line or line.startswith("0 of")]
            self.assertLessEqual(len(blocks), 1, screen)
            return any(line.startswith("status 0") for line in screen)
        width = widths[0]
        deadline = time.monotonic() + 60
        while not is_done():
            self.assertLess(time.monotonic(), deadline, self.screen())
            width = widths[(widths.index(width) + 1) % len(widths)]
            self.tmux("resize-window", "-t", "test", "-x", str(width), "-y", "30")
            end = time.monotonic() + 0.4
            while time.monotonic() < end and not is_done():
                time.sleep(0.05)
        self.tmux("resize-window", "-t", "test", "-x", "200", "-y", "30")
        wait_until(lambda: any("status 0" in line for line in self.screen()), "the end")
        screen = [line for line in self.screen() if line.strip()]
        self.assertEqual(len([line for line in screen if " -> out/" in line]), 3, screen)
        self.assertIn("above", screen)
        self.assertFalse([line for line in screen if "[#" in line or " of 3 files" in line or " left" in line], screen)
        self.assertGreaterEqual(len(seen), 3, seen)


if __name__ == "__main__":
    if not shutil.which("tmux"):
        print("skipped: there is no tmux to see a terminal with", file=sys.stderr)
        sys.exit(77)
    main()
