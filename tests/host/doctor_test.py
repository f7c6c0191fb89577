"""The doctor names the one thing that is wrong, and the completions offer what the help names."""
import json
import os
import re
import shutil
import subprocess

from host import REAL, Place, main

# As libjpeg-turbo's, which makes a JPEG of a plain image only.
WRONG_CJPEG = 'case $1 in -version) echo libjpeg-turbo version 2;; *) case $5 in *.ppm) touch "$4";; *) exit 1; esac; esac'


class Doctor(Place):
    def examine(self, encoder=None, script=None, library=True):
        folder = os.path.join(self.path, "bin")
        shutil.rmtree(folder, ignore_errors=True)
        os.mkdir(folder)
        shutil.copy2(os.path.join(REAL, "vxcompress"), folder)
        names = {name: os.path.join(REAL, name) for name in ("cJpeg", "pngquant", "ffmpeg")}
        if library:
            names["libVxCompressor.so"] = os.path.join(REAL, "../lib/libVxCompressor.so")
        for name, target in names.items():
            if name != encoder:
                os.symlink(target, os.path.join(folder, name))
        if script:
            self.write(f"bin/{encoder}", f"#!/bin/sh\n{script}\n".encode())
            os.chmod(os.path.join(folder, encoder), 0o755)
        run = self.start("doctor", "--json", bin=folder).end()
        answer = json.loads(run.out)
        self.assertEqual(answer["status"], run.status)
        return run.status, {row["name"]: row["fault"] for row in answer["encoders"] if row["fault"] != "none"}

    def test_faults(self):
        rows = [
            ((), 0, {}),
            (("cJpeg", WRONG_CJPEG), 3, {"cJpeg": "readsNoJpeg"}),
            (("pngquant",), 3, {"pngquant": "missing"}),
            (("ffmpeg", "kill -SEGV $$"), 3, {"ffmpeg": "notRunning"}),
            (("pngquant", "true"), 3, {"pngquant": "trialFailed"}),
            ((None, None, False), 3, {name: "notTried" for name in ("cJpeg", "pngquant", "ffmpeg")}),
        ]
        for given, status, faults in rows:
            with self.subTest(given):
                self.assertEqual(self.examine(*given), (status, faults))

    def test_completion(self):
        script = '. "$0"; compopt() { :; }; COMP_WORDS=(vxcompress --) COMP_CWORD=1; _vxcompress; echo "${COMPREPLY[@]%=}"'
        offered = subprocess.check_output(["bash", "-c", script, os.path.join(REAL, "../reference/vxcompress.bash")])
        named = re.findall(r"^ +(?:-\w, )?(--[a-z-]+)", self.run_host("--help-all").out, re.M)
        self.assertEqual(offered.decode().split(), named)


if __name__ == "__main__":
    main()
