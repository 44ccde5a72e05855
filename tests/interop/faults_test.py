"""Let every system call of every job fail in turn: a job ends with a sentence, or with the output that it would have made."""
# SPDX-License-Identifier: MIT
import errno
import os
import random
import struct
import unittest

from command import ALL, SHARED as LIBRARY, Case, contents, put, run, zeltra

# At least this many calls of each kind fail in each job, and one with each error; with --all every call with every error.
SAMPLES = 2

CALLS = {"open": [errno.EIO, errno.EMFILE], "read": [errno.EIO, 0, -1], "write": [errno.ENOSPC, 0, -1]}
CALLS.update((call, [errno.EIO]) for call in ("seek", "stat", "sync", "folder", "rename", "close", "truncate", "chmod"))


class Faults(Case):
    def setUp(self):
        super().setUp()
        self.work = self.path("work")
        os.mkdir(self.work)
        self.uvx, self.uvfits = (os.path.join(self.work, name) for name in ("in.uvx", "in.uvfits"))
        zeltra("simulate", self.uvx, "--antennas", "5", "--minutes", "6", "--integration", "20", "--channels", "3")
        zeltra("export", self.uvx, self.uvfits)
        self.parts, self.gains = (os.path.join(self.work, name) for name in ("out.whole", "in.gain"))
        for share in ("1/2", "2/2"):
            zeltra("average", self.uvx, "-o", self.parts, "--interval", "60", "--part", share)
        # One gain of antenna 1 for all times: docs/gain-format.md
        put(self.gains, struct.pack("<iiddi5h2hBB8s16si", 0x4E41475A, 1, 2458928.5, 8.4e9, 1, 0, 0, 0, 2, 2, -1, -2, 1, 0, b"", b"", 1)
            + struct.pack("<dfhbhBBhbfdddd", 2458928.8, 9e5, 0, 0, 0, 1, 1, 0, 0, 9, 1, 1, 0, 0))
        self.model = put(os.path.join(self.work, "in.mod"), b"1v 1v 0v 0.5v\n")
        self.window = put(os.path.join(self.work, "in.win"), b"-1 1 -1 1\n")
        self.inputs = (self.uvx, self.uvfits, self.parts + ".1-of-2", self.parts + ".2-of-2", self.gains, self.model, self.window)

    def run_job(self, job, fault, counts=""):
        """Exit code, what was printed, and the files that are there afterwards beside the inputs, which are taken away."""
        call, number, error = fault
        environment = dict(os.environ, TMPDIR=self.work, LD_PRELOAD=LIBRARY, FAULT_FOLDER=self.work, FAULT_CALL=call,
                           FAULT_NUMBER=str(number), FAULT_ERROR=str(error), FAULT_COUNTS=counts)
        if "--force" in job:
            put(os.path.join(self.work, "out"), b"old")
        threads = ["--threads", "1"] if job[0] in ("average", "closure", "fit", "plot", "clean", "selfcal") else []
        done = run(*job, *threads, cwd=self.work, env=environment, timeout=60)
        left = {}
        for name in os.listdir(self.work):
            path = os.path.join(self.work, name)
            if path in self.inputs:
                continue
            left[name] = contents(path)
            os.remove(path)
        return done.returncode, done.stdout, left, done.stderr

    def check(self, job, right, fault):
        code, printed, left, told = self.run_job(job, fault)
        about = " ".join(map(str, (job, fault, code, told[:300], sorted(left))))
        if code == 0:
            self.assertEqual((printed, left), right, about)
            self.assertNotIn(fault[0], ("sync", "folder"), "what a job reports is durable: " + about)
            return
        self.assertEqual(code, 1, about)
        self.assertRegex(told, "zeltra: error: .*(in\\.|out|zeltra|work).*cannot be (read|written|created)", about)
        for name, content in left.items():
            self.assertIn(content, (right[1].get(name), b"old"), about)

    def counted(self, job):
        """What run_job gives where nothing fails, and how many calls of each kind the job makes."""
        made = self.run_job(job, ("none", 0, 0), self.path("counts"))
        return made, {kind.decode(): int(count) for kind, count in map(bytes.split, contents(self.path("counts")).splitlines())}

    def test_no_call_fails_unnoticed(self):
        random.seed(1)
        uvx, fits, out = "in.uvx", "in.uvfits", os.path.join(self.work, "out")
        jobs = [["info", "--json", "--baselines"], ["records", "--csv"], ["table", "AN", "--csv"], ["loops", "1-2"],
                ["copy", out], ["copy", out, "--force"], ["average", "-o", out, "--interval", "60"],
                ["average", "--interval", "60", "--csv"], ["closure", "--csv", "--interval", "60"], ["uvw", out],
                ["sort", out], ["sort", out, "--order", "UV"], ["sort", out, "--order", "UV", "--memory", "25"], ["split", self.work],
                ["average-frequency", out, "--channels", "all"], ["unfold", out, "--ifs"],
                ["flag", out, "--antenna", "1"], ["shift", out, "--ra", "1", "--dec", "1", "--source", "1"],
                ["plan", "--interval", "60"], ["average", "-o", out, "--interval", "60", "--part", "1/2"],
                ["export", out], ["image", out, "--fits", out + ".fits", "--png", out + ".svg", "--size", "32", "--source", "1"],
                ["plot", "amplitude", out + ".svg", "--source", "1"], ["plot", "closure", out + ".svg", "--source", "1", "--interval", "60"]]
        jobs += [["gains", "average", out, "--table", self.gains, "--interval", "60"]]
        fit = ["--model", self.model, "--source", "1"]
        jobs += [["fit", *fit, "-o", out, "--residual", out + ".uvx"], ["plot", "residual", out + ".svg", *fit]]
        clean = ["--size", "16", "--niter", "9", "--source", "1", "--window", self.window]
        jobs += [["clean", out, *clean, "--save-model", out + ".mod", "--residual", out + ".left"],
                 ["selfcal", out, *clean, "--loop", "p:60,p:60", "--image", out + ".fits"]]
        jobs = [[name, self.uvx, *others] for name, *others in jobs]
        jobs += [["join", "--parts", self.parts], ["join", self.uvx, self.uvfits, out]]
        jobs += [["gains", self.gains, "csv"], ["gains", self.gains, "average", out + ".gain", "--interval", "60"]]
        jobs += [["import", self.uvfits, out], ["info", self.uvfits], ["copy", self.uvfits, out]]
        tried = 0
        for job in jobs:
            (code, printed, left, told), counts = self.counted(job)
            self.assertEqual(code, 0, (job, told))
            self.assertTrue(not left or counts["sync"] and counts["folder"], "outputs are durable: %s" % job)
            for call, errors in CALLS.items():
                numbers = range(1, counts[call] + 1)
                pairs = [(number, error) for number in numbers for error in errors]
                if not ALL and numbers:
                    count = max(SAMPLES, len(errors))
                    numbers = random.sample(numbers, min(count, len(numbers)))
                    pairs = {(numbers[i % len(numbers)], errors[i % len(errors)]) for i in range(count)}
                for number, error in sorted(pairs):
                    with self.subTest(job=job, fault=(call, number, error)):
                        self.check(job, (printed, left), (call, number, error))
                    tried += 1
        print(tried, "faults")
