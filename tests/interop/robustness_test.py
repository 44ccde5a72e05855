"""Kill, starve and overfeed the command, and look at what it leaves."""
# SPDX-License-Identifier: MIT
import gzip
import os
import random
import resource
import signal
import struct
import subprocess
import time
import unittest

from command import ALL, ZELTRA, Case, contents, memory, put, run, zeltra


def limited(size):
    """What a process does first that can write no longer files."""
    return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


class Robustness(Case):
    def exported(self, *options):
        zeltra("export", self.simulated(*options), self.path("sim.uvfits"), "--force")
        return self.path("sim.uvfits")

    def leftovers(self):
        return [name for name in os.listdir(self.folder) if not name.startswith("sim.")]

    def written(self, start=""):
        """How many bytes there are of outputs whose names start so, -1 without any."""
        try:
            sizes = [os.path.getsize(self.path(name)) for name in self.leftovers() if name.startswith(start)]
        except FileNotFoundError:  # renamed just now
            return self.written(start)
        return sum(sizes) if sizes else -1

    def interrupted(self, number, size, *command, start=""):
        """Exit code of a job that gets a signal once its outputs have a size."""
        process = subprocess.Popen([ZELTRA, *map(str, command)], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   env=dict(os.environ, TMPDIR=self.folder))
        while process.poll() is None and self.written(start) < size:
            time.sleep(1e-4)
        process.send_signal(number)
        return process.wait()

    def test_jobs_that_are_stopped_leave_nothing_that_opens(self):
        fits, uvx, out = self.exported("--minutes", "20", "--integration", "2", "--ifs", "4", "--channels", "8"), \
            self.path("sim.uvx"), self.path("out")
        size, stopped = os.path.getsize(uvx), 0
        zeltra("import", fits, self.path("sim.whole"))
        jobs = [("import", fits, out), ("export", uvx, out), ("copy", fits, out), ("uvw", uvx, out),
                ("average", fits, "-o", out, "--interval", -1), ("average", fits, "--csv", "--interval", -1)]
        cases = [(job, share, number) for job in jobs for share, number in ((0, signal.SIGINT), (0.5, signal.SIGTERM))]
        cases += [((*jobs[0], "--no-sync"), share, signal.SIGKILL) for share in (0, 0.3, 0.6, 0.9, 0.99, 1)]
        for job, share, number in cases:
            code = self.interrupted(number, share * size, *job)
            # What ended by itself was faster, as may happen.
            self.assertIn(code, (0, -number if number == signal.SIGKILL else 128 + number), job)
            stopped += code != 0
            for name in self.leftovers():
                if name == "out":
                    # What has its name is whole, even where the signal came just after.
                    self.assertTrue(code in (0, -signal.SIGKILL), (job, share))
                    self.assertTrue(job[0] != "import" or contents(out) == contents(self.path("sim.whole")), share)
                elif run("info", self.path(name)).returncode != 1 or number != signal.SIGKILL:
                    # Killed just before it got its name.
                    self.assertEqual((number, contents(self.path(name))), (signal.SIGKILL, contents(self.path("sim.whole"))), (job, name))
                os.remove(self.path(name))
        self.assertGreater(stopped, len(cases) // 2)
        # Jobs on UV FITS files begin with an import, into a file with another name.
        for job, number in (jobs[2], signal.SIGHUP), (jobs[4], signal.SIGINT):
            codes = (self.interrupted(number, 0, *job, "--force", start="out.") for _ in range(9))
            self.assertEqual(next(filter(None, codes), 0), 128 + number, job)
            self.assertEqual([name for name in self.leftovers() if name != "out"], [], job)

    def test_a_full_disk_gives_an_error_and_no_output(self):
        source = self.exported("--minutes", "4")
        uvx, longest = self.path("sim.uvx"), self.path("n" * 255)
        zeltra("copy", uvx, longest)
        os.remove(longest)
        size, target = os.path.getsize(uvx), self.path("full")
        for limit in (0, 3, 400, 481, 4097, size // 2, size - 5000, size - 2100, size - 100):
            for job in (("import", source, target), ("export", uvx, target), ("simulate", target, "--minutes", "4")):
                done = run(*job, preexec_fn=limited(limit))
                self.assertEqual(done.returncode, 1, (job, limit, done.stderr))
                self.assertIn("zeltra: error: %s: cannot be written: file too large" % target, done.stderr)
                self.assertEqual(self.leftovers(), [], (job, limit))

    def test_no_command_fails_on_a_broken_file_but_with_a_sentence(self):
        whole = contents(self.simulated("--antennas", "4", "--minutes", "2", "--integration", "30", "--ifs", "2", "--channels", "2"))
        directory = struct.unpack_from("<q", whole, 8)[0]
        random.seed(2)
        broken = [whole[:size] for size in (0, 3, 481, 600, directory, directory + 40, len(whole) - 1)]
        places = [4, 8, 16, 192, 194, 210, 214, 483, 500, directory]
        for place in places + random.sample(range(directory, len(whole)), 40 if ALL else 8):
            for value in (b"\xff\xff\xff\x7f", b"\x00\x00\x00\x80"):
                broken.append(whole[:place] + value + whole[place + len(value):])
        out, source, gains = self.path("sim.out"), ["--source", "1"], self.path("sim.gain")
        # Gains of antennas 1 and 2: docs/gain-format.md
        put(gains, struct.pack("<iiddi5h2hBB8s16si", 0x4E41475A, 1, 2458928.5, 8.4e9, 2, 0, 0, 0, 2, 2, -1, -2, 1, 0, b"", b"", 2)
            + b"".join(struct.pack("<dfhbhBBhbfdddd", 2458928.8, 9e5, 0, 0, 0, antenna, 1, 0, 0, 9, 1, 1, 0, 0) for antenna in (1, 2)))
        jobs = [["info", "--baselines"], ["records", "--csv"], ["table", "AN"], ["table", "NX", "--json"], ["export", out],
                ["average", "--interval", "60", "--csv"], ["average", "--interval", "60", "-o", out, "--mode", "amphase"],
                ["closure", "--interval", "60"], ["loops", "1-2"], ["copy", out], ["copy", out, "--channel", "1"],
                ["uvw", out], ["sort", out, "--order", "XY"], ["split", out + ".parts"], ["join", self.path("sim.uvx"), out],
                ["delete-if", out, "--if", "1"], ["average-frequency", out, "--channels", "2", "--ifs"],
                ["squeeze", out, "--ifs"], ["unfold", out, "--ifs", "--channels"],
                ["flag", out, "--clip", "1"], ["shift", out, "--ra", "1", "--dec", "1", *source],
                ["apply", out, "--gains", gains], ["gains", "average", out, "--table", gains, "--interval", "60"],
                ["plan", "--interval", "60"], ["image", out, "--size", "16", *source],
                ["clean", out, "--size", "16", "--niter", "9", *source],
                ["selfcal", out, "--size", "16", "--niter", "9", "--model", "point", "--loop", "ap:60", *source], ["plot", "uv", out + ".svg", *source],
                ["fit", "-o", out, "--model", "point", "--free", "flux,x,y", "--residual", out + ".uvx", *source],
                ["plot", "residual", out + ".svg", "--model", "point", *source]]
        for number, content in enumerate(broken):
            path = put(self.path("sim.broken.uvx"), content)
            for job in jobs if ALL else random.sample(jobs, 6):
                done = run(job[0], path, *job[1:], *(["--force"] if any(a.startswith(out) for a in job) else []), timeout=20)
                self.assertIn(done.returncode, (0, 1), (number, job, done.stderr))
                self.assertNotRegex(done.stderr, "Sanitizer|runtime error", (number, job))
                self.assertTrue(done.returncode == 0 or "zeltra: error: " in done.stderr, (number, job))

    def test_a_reader_may_go(self):
        process = subprocess.Popen([ZELTRA, "records", self.simulated("--minutes", "60"), "--csv"], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE)
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual((process.stderr.read(), process.wait()), (b"", 128 + signal.SIGPIPE))
        process.stderr.close()

    def test_text_of_a_file_does_not_reach_a_terminal_as_commands(self):
        content = contents(self.simulated("--minutes", "4"))
        path = put(self.path("sim.uvx"), content.replace(b"3C273", b"\x1b\x9b\xc2\x9b\x7f").replace(b"ID.NO.", b"\x1b]0;x\x07"))
        for job in (["info"], ["info", "--json"], ["table", "SU"], ["table", "SU", "--csv"], ["table", "SU", "--json"],
                    ["copy", self.path("out"), "--source", "none"], ["plot", "uv", self.path("out.svg")]):
            done = run(job[0], path, *job[1:])
            self.assertNotRegex(done.stdout + done.stderr, "[\x00-\x09\x0b-\x1f\x7f-\x9f\udc80-\udc9f]", job)

    def test_gzip_is_read_as_what_is_in_it(self):
        source, out = self.exported("--minutes", "4"), self.path("out")
        half = [gzip.compress(part) for part in (contents(source)[:40000], contents(source)[40000:])]
        zipped = put(source + ".gz", b"".join(half) + bytes(512))
        take = lambda path, size=resource.RLIM_INFINITY: run("import", path, out, "--force", "-q", preexec_fn=limited(size),
                                                             env=dict(os.environ, TMPDIR=self.folder))
        made = []
        for path in (source, zipped):
            done = take(path)
            if "decompress it first" in done.stderr:
                self.skipTest("built without zlib")
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            made.append(contents(out))
            os.remove(out)
        self.assertEqual(*made)
        for name, content, sentence in (("sim.cut.gz", half[0][:-9], "cut short"),
                                        ("sim.bad.gz", half[0][:50] + half[0], "damaged")):
            path = put(self.path(name), content)
            self.assertIn("zeltra: error: %s: %s" % (path, sentence), take(path).stderr)
        self.assertIn("cannot be written: file too large", take(zipped, 50000).stderr)
        self.assertEqual(self.leftovers(), [])

    @unittest.skipUnless(ALL, "takes some seconds and 5 GB of disk")
    def test_memory_and_files_beyond_4_gib(self):
        import synthetic
        channels, groups = 23000000, 17
        size, record = 4 * (6 + 3 * channels), 26 + 12 * channels
        source, target = self.path("sim.large.uvfits"), self.path("sim.large.uvx")
        axes = [("COMPLEX", 3, 1.0, 1.0), ("STOKES", 1, 1.0, 1.0), ("FREQ", channels, 1.0, 1.0)]
        names = ("UU", "VV", "WW", "BASELINE", "DATE", "DATE")
        header = synthetic.header(axes, [(name, 1.0, synthetic.JD0 * (i == 4)) for i, name in enumerate(names)], groups)
        with open(put(source, header), "r+b") as out:
            for group in range(groups):
                out.seek(len(header) + group * size)
                out.write(struct.pack(">6f", 1e-3, 2e-3, 3e-3, 258 + group % 3, group / 64, 0))
                out.seek(len(header) + (group + 1) * size - 12)
                out.write(struct.pack(">3f", group + 0.5, -group, 2))
        self.assertGreater(os.path.getsize(source), 1 << 32)
        self.assertLess(memory("import", source, target)[1], 64 * 1024)
        with open(target, "rb") as made:
            for group in range(groups):
                made.seek(481 + group * record + 4)
                u, _, _, date = struct.unpack("<3fd", made.read(20))
                self.assertEqual((u, date), (struct.unpack("f", struct.pack("f", 1e-3))[0], 2451545.5 + group / 64))
                made.seek(481 + (group + 1) * record - 12)
                self.assertEqual(struct.unpack("<3f", made.read(12)), (group + 0.5, -group, 2))
