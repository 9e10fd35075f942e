"""A program that is killed while it saves leaves the old document or the new one, never another."""
import random
import subprocess
import time
import unittest

import program
from program import ProgramTest, document, node

KILLS = 100


class KilledSaves(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("plain.json", document(*(node(f"n{i}", attributes=[["translation", "Vector3", [i, 0.1, 0.2]]])
                                            for i in range(10000))))
        self.contents = []
        for opacity in ("false", "true"):
            self.done("set", "plain.json", "|n0.visibility", opacity, "-o", "written.json")
            self.contents.append(self.read("written.json"))
        self.write("document.json", self.contents[0])

    def start(self, value):
        return subprocess.Popen([*program.command(), "set", "document.json", "|n0.visibility", value],
                                cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def seconds(self):
        times = []
        for value in ("true", "false", "true"):
            begin = time.monotonic()
            self.assertEqual(self.start(value).wait(), 0)
            times.append(time.monotonic() - begin)
        return min(times)

    def test_at_random_moments(self):
        if program.has_launcher():
            self.skipTest("the emulator would be killed, not the program")
        seed = random.randrange(2**32)
        rng = random.Random(seed)
        seconds = self.seconds()
        killed = old = new = 0
        for _ in range(KILLS):
            before = self.read("document.json")
            value, after = ("false", self.contents[0]) if before == self.contents[1] else ("true", self.contents[1])
            process = self.start(value)
            # Loading takes about half of the time; the last tenth often comes too late.
            time.sleep(seconds * rng.uniform(0.3, 1.05))
            process.kill()
            killed += process.wait() != 0
            left = self.read("document.json")
            self.assertIn(left, (before, after), f"seed {seed}")
            old += left == before
            new += left == after
        self.assertGreater(killed, KILLS // 10, "hardly any was killed in time")
        self.assertGreater(old, 0)
        print(f"{killed} of {KILLS} killed: {old} left the old document, {new} the new one")
        self.done("check", "document.json")
