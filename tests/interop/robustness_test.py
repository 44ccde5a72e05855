"""Kill, starve and overfeed the command, and look at what it leaves.

usage: robustness_test.py ZELTRA_COMMAND [unittest arguments]
"""
# SPDX-License-Identifier: MIT
import filecmp
import gzip
import os
import random
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest

ZELTRA = os.path.abspath(sys.argv.pop(1))


def card(text):
    return text.ljust(80).encode()


def header(parameters, groups, channels):
    names = ["UU", "VV", "WW", "BASELINE", "DATE", "DATE"][:parameters]
    axes = [("COMPLEX", 3), ("STOKES", 1), ("FREQ", channels), ("IF", 1), ("RA", 1), ("DEC", 1)]
    cards = ["SIMPLE  = T", "BITPIX  = -32", "NAXIS   = 7", "NAXIS1  = 0"]
    cards += ["NAXIS%d  = %d" % (i + 2, n) for i, (_, n) in enumerate(axes)]
    cards += ["GROUPS  = T", "PCOUNT  = %d" % len(names), "GCOUNT  = %d" % groups]
    for i, name in enumerate(names, 1):
        cards += ["PTYPE%d  = '%s'" % (i, name), "PSCAL%d  = 1.0" % i, "PZERO%d  = %.1f" % (i, 2451545.5 * (i == 5))]
    for i, (name, _) in enumerate(axes, 2):
        cards += ["CTYPE%d  = '%s'" % (i, name), "CRVAL%d  = 1.0" % i, "CDELT%d  = 1.0" % i, "CRPIX%d  = 1.0" % i]
    cards += ["DATE-OBS= '2000-01-02'", "EPOCH   = 2000.0", "OBJECT  = 'X'", "END"]
    text = b"".join(map(card, cards))
    return text.ljust(-(-len(text) // 2880) * 2880)


class Robustness(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)

    def path(self, name):
        return os.path.join(self.folder, name)

    def simulated(self, *options):
        uvx, uvfits = self.path("sim.uvx"), self.path("sim.uvfits")
        subprocess.run([ZELTRA, "simulate", uvx, "--force", *options], check=True)
        subprocess.run([ZELTRA, "export", uvx, uvfits, "--force"], check=True)
        return uvfits

    def leftovers(self):
        return [name for name in os.listdir(self.folder) if not name.startswith("sim.")]

    def test_a_killed_import_leaves_nothing_that_opens(self):
        source = self.simulated("--minutes", "60", "--integration", "2", "--ifs", "4", "--channels", "8")
        began = time.time()
        # Without --no-sync a complete file waits for its name until the disk holds it, some milliseconds.
        subprocess.run([ZELTRA, "import", source, self.path("whole.uvx"), "--no-sync"], check=True)
        whole = time.time() - began
        random.seed(1)
        killed = 0
        for _ in range(10):
            target = self.path("killed.uvx")
            process = subprocess.Popen([ZELTRA, "import", source, target, "--no-sync"], stderr=subprocess.DEVNULL)
            time.sleep(random.uniform(0, whole))
            process.send_signal(signal.SIGKILL)
            killed += process.wait() == -signal.SIGKILL
            for name in self.leftovers():
                if name in ("whole.uvx", "killed.uvx"):
                    # What has its name is whole, even where the kill came just after.
                    self.assertTrue(filecmp.cmp(self.path(name), self.path("whole.uvx"), shallow=False))
                    continue
                done = subprocess.run([ZELTRA, "info", self.path(name)], capture_output=True)
                self.assertEqual(done.returncode, 1, "what was left opens: " + name)
                os.remove(self.path(name))
            if os.path.exists(target):
                os.remove(target)
        self.assertGreater(killed, 4, "the import is too fast for this test")

    def test_a_full_disk_gives_an_error_and_no_output(self):
        source = self.simulated("--minutes", "4")
        uvx, longest = self.path("sim.uvx"), self.path("n" * 255)
        subprocess.run([ZELTRA, "copy", uvx, longest, "-q"], check=True)
        os.remove(longest)
        size = os.path.getsize(uvx)
        limited = lambda limit: lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        for limit in (0, 3, 400, 481, 4097, size // 2, size - 5000, size - 2100, size - 100):
            for job, given in (("import", source), ("export", uvx), ("simulate", None)):
                target = self.path("full")
                command = [ZELTRA, job] + ([given] if given else []) + [target] + ([] if given else ["--minutes", "4"])
                done = subprocess.run(command, capture_output=True, text=True, preexec_fn=limited(limit))
                self.assertEqual(done.returncode, 1, (job, limit, done.stderr))
                self.assertIn("zeltra: error: %s: cannot be written: file too large" % target, done.stderr)
                self.assertEqual(self.leftovers(), [], (job, limit))

    def test_no_command_fails_on_a_broken_file_but_with_a_sentence(self):
        self.simulated("--antennas", "4", "--minutes", "2", "--integration", "30", "--ifs", "2", "--channels", "2")
        with open(self.path("sim.uvx"), "rb") as file:
            whole = file.read()
        directory = struct.unpack_from("<q", whole, 8)[0]
        random.seed(2)
        broken = [whole[:size] for size in (0, 3, 481, 600, directory, directory + 40, len(whole) - 1)]
        places = [4, 8, 16, 192, 194, 210, 214, 483, 500, directory] + random.sample(range(directory, len(whole)), 14)
        for place in places:
            for value in (b"\xff\xff\xff\x7f", b"\x00\x00\x00\x80"):
                broken.append(whole[:place] + value + whole[place + len(value):])
        out, source, gains = self.path("sim.out"), ["--source", "1"], self.path("sim.gain")
        with open(gains, "wb") as file:  # gains of antennas 1 and 2: docs/gain-format.md
            file.write(struct.pack("<iiddi5h2hBB8s16si", 0x4E41475A, 1, 2458928.5, 8.4e9, 2, 0, 0, 0, 2, 2, -1, -2, 1, 0, b"", b"", 2))
            for antenna in (1, 2):
                file.write(struct.pack("<dfhbhBBhbfdddd", 2458928.8, 9e5, 0, 0, 0, antenna, 1, 0, 0, 9, 1, 1, 0, 0))
        jobs = [["info", "--baselines"], ["records", "--csv"], ["table", "AN"], ["table", "NX", "--json"], ["export", out],
                ["average", "--interval", "60", "--csv"], ["average", "--interval", "60", "-o", out, "--mode", "amphase"],
                ["closure", "--interval", "60"], ["loops", "1-2"], ["copy", out], ["copy", out, "--channel", "1"],
                ["uvw", out], ["sort", out, "--order", "XY"], ["split", out + ".parts"], ["join", self.path("sim.uvx"), out],
                ["delete-if", out, "--if", "1"], ["average-frequency", out, "--channels", "2", "--ifs"],
                ["squeeze", out, "--ifs"], ["unfold", out, "--ifs", "--channels"],
                ["flag", out, "--clip", "1"], ["shift", out, "--ra", "1", "--dec", "1", *source],
                ["apply", out, "--gains", gains], ["gains", "average", out, "--table", gains, "--interval", "60"],
                ["plan", "--interval", "60"], ["image", out, "--size", "16", *source], ["plot", "uv", out + ".svg", *source]]
        for number, content in enumerate(broken):
            path = self.path("sim.broken.uvx")
            with open(path, "wb") as file:
                file.write(content)
            for job in random.sample(jobs, 8):
                force = ["--force"] if any(a.startswith(out) for a in job) else []
                done = subprocess.run([ZELTRA, job[0], path, *job[1:], *force], capture_output=True, text=True, timeout=20)
                self.assertIn(done.returncode, (0, 1), (number, job, done.stderr))
                self.assertNotRegex(done.stderr, "Sanitizer|runtime error", (number, job))
                if done.returncode == 1:
                    self.assertIn("zeltra: error: ", done.stderr, (number, job))

    def test_signals_stop_a_job_cleanly(self):
        source = self.simulated("--minutes", "60", "--integration", "2", "--ifs", "4", "--channels", "8")
        jobs = [("import", source, signal.SIGINT), ("export", self.path("sim.uvx"), signal.SIGINT),
                ("copy", source, signal.SIGTERM), ("copy", self.path("sim.uvx"), signal.SIGHUP)]
        for job, given, number in jobs:
            process = subprocess.Popen([ZELTRA, job, given, self.path("out")], stderr=subprocess.PIPE, text=True,
                                       env=dict(os.environ, TMPDIR=self.folder))
            time.sleep(0.05)
            process.send_signal(number)
            process.communicate()
            self.assertIn(process.returncode, (128 + number, 0), job)
            if process.returncode:
                self.assertEqual(self.leftovers(), [])
            else:
                os.remove(self.path("out"))

    def test_a_reader_may_go(self):
        self.simulated("--minutes", "60")
        process = subprocess.Popen([ZELTRA, "records", self.path("sim.uvx"), "--csv"], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual((process.stderr.read(), process.wait()), (b"", 128 + signal.SIGPIPE))
        process.stderr.close()

    def test_text_of_a_file_does_not_reach_a_terminal_as_commands(self):
        self.simulated("--minutes", "4")
        path = self.path("sim.uvx")
        with open(path, "rb") as file:
            content = file.read()
        with open(path, "wb") as file:
            file.write(content.replace(b"3C273", b"\x1b\x9b\xc2\x9b\x7f").replace(b"ID.NO.", b"\x1b]0;x\x07"))
        for job in (["info"], ["info", "--json"], ["table", "SU"], ["table", "SU", "--csv"], ["table", "SU", "--json"],
                    ["copy", self.path("out"), "--source", "none"], ["plot", "uv", self.path("out.svg")]):
            done = subprocess.run([ZELTRA, job[0], path, *job[1:]], capture_output=True)
            text = (done.stdout + done.stderr).decode("utf-8", "surrogateescape")
            self.assertNotRegex(text, "[\x00-\x09\x0b-\x1f\x7f-\x9f\udc80-\udc9f]", job)

    def test_gzip_is_read_as_what_is_in_it(self):
        source, out = self.simulated("--minutes", "4"), self.path("out")
        with open(source, "rb") as file:
            half = gzip.compress(file.read(40000)), gzip.compress(file.read())
        with open(source + ".gz", "wb") as file:
            file.write(b"".join(half) + bytes(512))
        run = lambda path, limit=resource.RLIM_INFINITY: subprocess.run(
            [ZELTRA, "import", path, out, "--force", "-q"], capture_output=True, text=True,
            env=dict(os.environ, TMPDIR=self.folder),
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
        made = []
        for path in (source, source + ".gz"):
            done = run(path)
            if "decompress it first" in done.stderr:
                self.skipTest("built without zlib")
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            with open(out, "rb") as file:
                made.append(file.read())
            os.remove(out)
        self.assertEqual(*made)
        cut, bad = self.path("sim.cut.gz"), self.path("sim.bad.gz")
        for path, content, sentence in ((cut, half[0][:-9], "cut short"), (bad, half[0][:50] + half[0], "damaged")):
            with open(path, "wb") as file:
                file.write(content)
            self.assertIn("zeltra: error: %s: %s" % (path, sentence), run(path).stderr)
        self.assertIn("cannot be written: file too large", run(source + ".gz", 50000).stderr)
        self.assertEqual(self.leftovers(), [])

    def test_memory_and_files_beyond_4_gib(self):
        channels, groups = 23000000, 17
        size = 4 * (6 + 3 * channels)
        source, target = self.path("sim.large.uvfits"), self.path("sim.large.uvx")
        with open(source, "wb") as out:
            start = out.write(header(6, groups, channels))
            for group in range(groups):
                out.seek(start + group * size)
                out.write(struct.pack(">6f", 1e-3, 2e-3, 3e-3, 258 + group % 3, group / 64, 0))
                out.seek(start + (group + 1) * size - 12)
                out.write(struct.pack(">3f", group + 0.5, -group, 2))
        self.assertGreater(os.path.getsize(source), 1 << 32)
        process = subprocess.Popen([ZELTRA, "import", source, target])
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = status
        self.assertEqual(status, 0)
        self.assertLess(usage.ru_maxrss, 64 * 1024, "KiB")
        record = 26 + 12 * channels
        with open(target, "rb") as made:
            for group in range(groups):
                made.seek(481 + group * record + 4)
                u, _, _, date = struct.unpack("<3fd", made.read(20))
                self.assertEqual((u, date), (struct.unpack("f", struct.pack("f", 1e-3))[0], 2451545.5 + group / 64))
                made.seek(481 + (group + 1) * record - 12)
                self.assertEqual(struct.unpack("<3f", made.read(12)), (group + 0.5, -group, 2))


if __name__ == "__main__":
    unittest.main()
