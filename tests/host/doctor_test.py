"""The doctor names the one thing that is wrong, and the completions offer what the help names."""
import json
import os
import re
import shutil
import signal
import subprocess

from host import REAL, Place, main, wait_until

# As libjpeg-turbo's, which makes a JPEG of a plain image only.
WRONG_CJPEG = 'case $1 in -version) echo libjpeg-turbo version 2;; *) case $5 in *.ppm) touch "$4";; *) exit 1; esac; esac'
# They end well, and what they made is something else.
LYING_PNGQUANT = 'case $1 in --version) echo 2.0;; *) echo GIF89a > "$6"; esac'
LYING_FFMPEG = f'case $* in *.mp4*) for last; do :; done; echo none > "$last";; *) exec \'{REAL}/ffmpeg\' "$@"; esac'
POOR_FFMPEG = f'case $* in *-encoders*) echo libx264;; *.webp*) exit 1;; *) exec \'{REAL}/ffmpeg\' "$@"; esac'
HANGING_PNGQUANT = 'case $1 in --version) echo 2.0;; *) : > "$FAKE_RECORD/hangs"; exec sleep 99; esac'
ALL = ("cJpeg", "pngquant", "ffmpeg")


class Doctor(Place):
    def examine(self, encoder=None, script=None, library=True, words=("--json",), **conditions):
        folder = self.path + f"-{len(os.listdir(os.path.dirname(self.path)))}"
        os.mkdir(folder)
        shutil.copy2(os.path.join(REAL, "vxcompress"), folder)
        names = {name: os.path.join(REAL, name) for name in ALL}
        if library:
            names["libVxCompressor.so"] = os.path.join(REAL, "../lib/libVxCompressor.so")
        for name, target in names.items():
            if name != encoder:
                os.symlink(target, os.path.join(folder, name))
        if script:
            with open(os.path.join(folder, encoder), "w") as file:
                file.write(f"#!/bin/sh\n{script}\n")
            os.chmod(os.path.join(folder, encoder), 0o755)
        return self.start("doctor", *words, bin=folder, **conditions)

    def faults(self, run):
        answer = json.loads(run.out)
        self.assertEqual(answer["status"], run.status)
        faults = {row["name"]: row["fault"] for row in answer["encoders"] if row["fault"] != "none"}
        return run.status, faults, " ".join(row["detail"] for row in answer["encoders"])

    def test_faults(self):
        nowhere = {"env": {"TMPDIR": os.path.join(self.path, "missing")}}
        rows = [
            # These take as long as the doctor waits, beside one another.
            (("pngquant", HANGING_PNGQUANT), {}, 3, {"pngquant": "trialFailed"}, "did not end within"),
            (("ffmpeg", "exec sleep 99"), {}, 3, {"ffmpeg": "notRunning"}, "did not end within"),
            ((), {}, 0, {}, ""),
            (("cJpeg", WRONG_CJPEG), {}, 3, {"cJpeg": "readsNoJpeg"}, "code 1"),
            (("pngquant",), {}, 3, {"pngquant": "missing"}, ""),
            (("ffmpeg", "kill -SEGV $$"), {}, 3, {"ffmpeg": "notRunning"}, "crashed"),
            (("pngquant", "true"), {}, 3, {"pngquant": "trialFailed"}, "code 2"),
            (("pngquant", LYING_PNGQUANT), {}, 3, {"pngquant": "trialFailed"}, "is no PNG"),
            (("ffmpeg", LYING_FFMPEG), {}, 3, {"ffmpeg": "trialFailed"}, "is no video"),
            (("ffmpeg", POOR_FFMPEG), {}, 3, {"ffmpeg": "trialFailed"}, "built without libwebp"),
            ((None, None, False), {}, 3, {name: "notTried" for name in ALL}, ""),
            ((), nowhere, 2, {name: "notTried" for name in ALL}, ""),
        ]
        def judge(run, given, _, status, faults, detail):
            with self.subTest(given):
                found = self.faults(run)
                self.assertEqual(found[:2], (status, faults))
                self.assertIn(detail, found[2])

        slow = [(self.examine(*row[0]), *row) for row in rows[:2]]
        for given, conditions, *expected in rows[2:]:
            judge(self.examine(*given, **conditions).end(), given, conditions, *expected)
        for run, *row in slow:
            judge(run.end(), *row)

    def test_words(self):
        text = self.examine("pngquant", words=()).end().out
        self.assertRegex(text, r"pngquant +BAD +there is no .*/pngquant\n.*would do.*\n +install the package pngquant")
        self.assertRegex(text, r"cJpeg +ok .*\n +made a JPEG: .* in \d+ ms\n")
        self.assertIn("Not all is well.", text)
        self.assertNotIn("scripts/", text)
        lines = self.examine("pngquant", words=("--quiet",)).end().out.splitlines()
        self.assertEqual([line.split()[0] for line in lines], ["pngquant", lines[1].split()[0], "install"])
        self.assertEqual(self.examine(words=("--quiet",)).end().out, "")

    def test_interrupted(self):
        run = self.examine("pngquant", HANGING_PNGQUANT)
        wait_until(lambda: os.listdir(self.records), "the trial runs")
        run.process.send_signal(signal.SIGINT)
        self.assertEqual((run.end().out, run.status), ("", 130))

    def test_completion(self):
        script = '. "$0"; compopt() { :; }; COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)); _vxcompress; echo "${COMPREPLY[@]%=}"'
        page = self.read(os.path.join(REAL, "../reference/vxcompress.1")).decode().replace("\\", "")
        for words, heading in ([], "OPTIONS"), (["report"], "REPORT"), (["doctor"], "DOCTOR"):
            named = re.findall(r"^ +(?:-\w, )?(--[a-z-]+)", self.run_host(*words, "--help-all").out, re.M)
            self.assertIn("--json", named)
            offered = subprocess.check_output(["bash", "-c", script, os.path.join(REAL, "../reference/vxcompress.bash"),
                                               "vxcompress", *words, "--"])
            self.assertEqual(offered.decode().split(), named)
            section = re.search(rf"^\.SH {heading}$(.*?)^\.SH ", page, re.M | re.S)[1]
            self.assertEqual(re.findall(r"^(?:fB-.fR, )?fB(--[a-z-]+)fR", section, re.M), named)


if __name__ == "__main__":
    main()
