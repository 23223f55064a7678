"""Runs programs with little memory, for the tests of the example programs."""
import os
import resource
import subprocess
import unittest

MEGABYTE = 1 << 20


class LimitedMemory(unittest.TestCase):
    """With little memory there is a result, or one message and exit status 3, but never a crash or a hang.
    The programs run in `self.folder`."""

    def limited(self, limit, command):
        def limits():
            resource.setrlimit(resource.RLIMIT_AS, (limit, limit))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        return subprocess.run(command, preexec_fn=limits, capture_output=True, text=True, timeout=60, cwd=self.folder)

    def start(self, program):
        """The smallest limit, in megabytes, under which the program prints its help."""
        low, high = 1, 4096
        while high - low > 1:
            middle = (low + high) // 2
            if self.limited(middle * MEGABYTE, [program, "--help"]).returncode == 0:
                high = middle
            else:
                low = middle
        if high == 4096:
            self.skipTest("the address space cannot be limited, as under a sanitizer")
        return high

    def steps(self, program, arguments, steps=(0, 1, 2, 4, 8, 16, 64, 128, 160, 512)):
        """Checks the exit status with each of these numbers of megabytes above the start. With the last one the program must
        succeed."""
        start = self.start(program)
        statuses = []
        for step in steps:
            done = self.limited((start + step) * MEGABYTE, [program, *arguments])
            self.assertIn(done.returncode, (0, 3), (step, done))
            if done.returncode == 3:
                # The older family reports on the same channel when its vectors grow.
                said = [line for line in done.stderr.splitlines() if not line.startswith("ERR: ")]
                self.assertEqual(len(said), 1, (step, done))
                self.assertIn("memory", said[0])
            self.assertFalse([name for name in os.listdir(self.folder) if name.endswith(".part")])
            statuses.append(done.returncode)
        self.assertEqual(statuses[-1], 0)
        return statuses
