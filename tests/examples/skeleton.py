"""Runs the skeleton program and compares its table with positions that this test computes from the text of the clip.

usage: skeleton.py PROGRAM CLIP_OF_THE_PROJECT [SHARED_DATA_DIRECTORY]
"""

import gzip
import math
import os
import random
import subprocess
import sys
import tempfile
import unittest

PROGRAM, OWN_CLIP = os.path.abspath(sys.argv[1]), sys.argv[2]
DATA = sys.argv[3] if len(sys.argv) > 3 else ""

SMALL = """HIERARCHY
ROOT Base
{
  OFFSET 1 2 3
  CHANNELS 4 Yrotation Zposition Xposition Zrotation
  JOINT Arm
  {
    OFFSET 0 0 0
    CHANNELS 5 Xrotation Yposition Zrotation Yrotation Xposition
    End Site
    {
      OFFSET 0 5 0
    }
  }
  JOINT Stump
  {
    OFFSET -4 0 0.5
    CHANNELS 0
    End Site
    {
      OFFSET .5 0 0
    }
  }
}
MOTION
Frames: 2
Frame Time: 0.04
90 1 2 0 0 0 0 0 0
10 -20 30 -40 50 60 -70 80 90
"""


def run(*arguments, **options):
    done = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, timeout=60, **options)
    return done.returncode, done.stdout, done.stderr


def table(out):
    """Name and position of each row after the title and the column heads."""
    rows = [line.split() for line in out.splitlines()[2:]]
    return [(row[0], [float(x) for x in row[2:]]) for row in rows]


def turn(axis, degrees):
    """The rotation of column vectors about an axis."""
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    i, j = {"X": (1, 2), "Y": (2, 0), "Z": (0, 1)}[axis]
    m = [[float(r == k) for k in range(3)] for r in range(3)]
    m[i][i] = m[j][j] = c
    m[i][j], m[j][i] = -s, s
    return m


def times(a, b):
    return [[math.fsum(a[i][k] * b[k][j] for k in range(3)) for j in range(3)] for i in range(3)]


def apply(m, v):
    return [math.fsum(m[i][k] * v[k] for k in range(3)) for i in range(3)]


def positions(text, frame):
    """World positions, computed from the words of the clip with column vectors and recursion."""
    words = text.split()
    motion = words.index("MOTION")
    frames = int(words[motion + 2])
    numbers = [float(word) for word in words[motion + 6:]]
    per_frame = len(numbers) // frames
    values = iter(numbers[frame * per_frame:(frame + 1) * per_frame])
    found, stack, at = [], [([[1.0, 0, 0], [0, 1.0, 0], [0, 0, 1.0]], [0.0, 0.0, 0.0], "")], 1
    while at < motion:
        if words[at] in ("ROOT", "JOINT", "End"):
            name = words[at + 1] if words[at] != "End" else stack[-1][2] + ".End"
            offset = [float(x) for x in words[at + 4:at + 7]]
            at += 7
            axes, moved = [], offset
            if words[at] == "CHANNELS":
                count = int(words[at + 1])
                for channel in words[at + 2:at + 2 + count]:
                    value = next(values)
                    if channel.endswith("position"):
                        moved["XYZ".index(channel[0])] = value
                    else:
                        axes.append((channel[0], value))
                at += 2 + count
            rotation, origin, _ = stack[-1]
            world = [o + d for o, d in zip(origin, apply(rotation, moved))]
            for axis, value in axes:
                rotation = times(rotation, turn(axis, value))
            stack.append((rotation, world, name))
            found.append((name, world))
        else:
            assert words[at] == "}", words[at]
            stack.pop()
            at += 1
    return found


class Skeleton(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)

    def write(self, text, name="clip.bvh"):
        path = os.path.join(self.directory.name, name)
        opener = gzip.open if name.endswith(".gz") else open
        with opener(path, "wb") as file:
            file.write(text.encode())
        return path

    def succeeds(self, *arguments):
        """The output of a run without an error. Notes on the clip are none."""
        status, out, err = run(*arguments)
        self.assertEqual((status, [line for line in err.splitlines() if not line.startswith("note: ")]), (0, []))
        return out

    def expect_positions(self, path, frame, text):
        out = self.succeeds(path, str(frame + 1))
        wanted = positions(text, frame)
        got = table(out)
        self.assertEqual([name for name, _ in got], [name for name, _ in wanted])
        # Nine digits are printed, and a chain of thirty matrices loses less than one digit more.
        size = max(1.0, max(abs(x) for _, at in wanted for x in at))
        for (name, a), (_, b) in zip(got, wanted):
            for x, y in zip(a, b):
                self.assertTrue(abs(x - y) <= 0.6e-9 + 1e-13 * size, f"{path} frame {frame} {name}: {a} {b}")

    def test_first_frame_by_hand(self):
        out = self.succeeds(self.write(SMALL))
        self.assertIn("frame 1 of 2, at 0.000000 s", out.splitlines()[0])
        # Base is at (2, 2, 1), y from its offset, and a quarter turn about Y takes x to -z and z to x.
        self.assertEqual(table(out), [("Base", [2, 2, 1]), ("Arm", [2, 2, 1]), ("Arm.End", [2, 7, 1]),
                                      ("Stump", [2.5, 2, 5]), ("Stump.End", [2.5, 2, 4.5])])

    def test_every_frame_of_a_small_clip(self):
        for frame in range(2):
            self.expect_positions(self.write(SMALL), frame, SMALL)

    def test_line_ends_and_compression(self):
        plain = run(self.write(SMALL), "2")[1].splitlines()[1:]
        for text, name in ((SMALL.replace("\n", "\r\n"), "crlf.bvh"), (SMALL, "small.bvh.gz"),
                           (SMALL.replace("\n", "\n\n"), "blank.bvh")):
            self.assertEqual(run(self.write(text, name), "2")[1].splitlines()[1:], plain, name)

    def test_search_path(self):
        self.write(SMALL, "there.bvh.gz")
        status, out, _ = run("-p", "/nowhere;" + self.directory.name, "there.bvh.gz", "2")
        self.assertEqual(status, 0)
        self.assertEqual(len(table(out)), 5)
        status, out, err = run("there.bvh.gz", cwd="/")
        self.assertEqual((status, out), (1, ""))
        self.assertIn("there.bvh.gz", err)

    def test_random_channel_orders_and_long_lines(self):
        dice = random.Random(7)
        for _ in range(10):
            head, tail, count = "HIERARCHY\n", "", 0
            for joint in range(40):
                channels = [a + kind for a in "XYZ" for kind in ("position", "rotation")]
                dice.shuffle(channels)
                channels = channels[:dice.randint(1, 6)]
                count += len(channels)
                offset = " ".join(f"{dice.uniform(-5, 5):.6f}" for _ in range(3))
                head += (f"{'JOINT' if joint else 'ROOT'} J{joint} {{ OFFSET {offset}\n"
                         f"CHANNELS {len(channels)} {' '.join(channels)}\n")
                tail += "}\n"
            head += "End Site { OFFSET 1 2 3\n}\n" + tail
            lines = [" ".join(f"{dice.uniform(-360, 360):.15f}" for _ in range(count)) for _ in range(3)]
            self.assertGreater(len(lines[0]), 1000)
            text = head + "MOTION\nFrames: 3\nFrame Time: 0.01\n" + "\n".join(lines) + "\n"
            for frame in range(3):
                self.expect_positions(self.write(text), frame, text)

    def test_own_clip(self):
        with open(OWN_CLIP) as file:
            text = file.read()
        for frame in (0, 1, 40, 119):
            self.expect_positions(OWN_CLIP, frame, text)

    def shared(self, name, frames):
        path = os.path.join(DATA, name)
        if not DATA or not os.path.exists(path):
            self.skipTest(f"no shared data beside this checkout: {name}")
        with open(path) as file:
            text = file.read()
        for frame in frames:
            self.expect_positions(path, frame, text)
        status, out, err = run(path, str(frames[-1] + 2))
        self.assertEqual((status, out), (1, ""))
        self.assertIn(f"frame {frames[-1] + 2} is not in the clip, which has frames 1 to {frames[-1] + 1}", err)

    def test_shared_performer(self):
        self.shared("mocapbank.bvh", (0, 100, 200, 300, 454))

    def test_shared_walk(self):
        self.shared("cmu_02_01_walk.bvh", (0, 50, 171, 342))

    def refused(self, *arguments):
        status, out, err = run(*arguments)
        self.assertEqual((status, out), (1, ""), arguments)
        self.assertEqual(len(err.splitlines()), 1, err)
        return err

    def test_malformed_clips(self):
        for old, new, line, word in (
                ("HIERARCHY", "HIRARCHY", 1, "HIRARCHY"), ("ROOT", "JOINT", 2, "JOINT"),
                ("OFFSET 1 2 3", "OFFSET 1 2 3 4", 4, "4"), ("OFFSET 1 2 3", "OFFSET 1 2x 3", 4, "2x"),
                ("MOTION", "ROOT Other\n", 25, "ROOT"), ("Frames: 2", "Frames: -3", 26, "one frame"),
                ("Frames: 2", "Frames: two", 26, "two"),
                ("90 1 2", "nan 1 2", 28, "nan"), ("90 1 2", "1e400 1 2", 28, "1e400"),
                ("90 1 2", "inf 1 2", 28, "inf"), ("90 1 2", "0x10 1 2", 28, "0x10"), ("90 1 2", "9,0,1 1 2", 28, "9,0,1"),
                ("80 90\n", "80 90 100\n", 29, "100"),
                ("Xrotation Yposition", "Xrotation Wposition", 9, "Wposition"),
                ("CHANNELS 4", "CHANNELS 7", 5, "7"), ("End Site", "End Sight", 10, "Sight")):
            self.assertIn(old, SMALL)
            path = self.write(SMALL.replace(old, new, 1))
            err = self.refused(path)
            self.assertTrue(err.startswith(f"{path}:{line}: "), f"{new!r}: {err}")
            self.assertIn(word, err)

    def test_truncated_gz(self):
        path = self.write(SMALL, "whole.bvh.gz")
        with open(path, "rb") as file:
            bytes_ = file.read()
        cut = os.path.join(self.directory.name, "cut.bvh.gz")
        for length in (len(bytes_) - 1, len(bytes_) - 9, len(bytes_) // 2, 12):
            with open(cut, "wb") as file:
                file.write(bytes_[:length])
            self.assertIn(cut, self.refused(cut))

    def test_command_line(self):
        path = self.write(SMALL)
        self.assertIn("no clip named", self.refused())
        self.assertIn("'two'", self.refused(path, "two"))
        self.assertIn("'3'", self.refused(path, "2", "3"))
        self.assertIn("frames 1 to 2", self.refused(path, "0"))
        self.assertIn("frames 1 to 2", self.refused(path, "-1"))
        self.assertIn("-q", self.refused("-q", path))
        self.assertIn("-p", self.refused("-p"))
        self.assertIn("/no/such.bvh", self.refused("/no/such.bvh"))
        status, out, err = run("--help")
        self.assertEqual((status, err), (0, ""))
        self.assertTrue(out.startswith("usage: limber-skeleton"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
