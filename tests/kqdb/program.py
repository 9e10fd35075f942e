"""The program under test, and a folder to run it in."""
import json
import os
import pathlib
import subprocess
import tempfile
import unittest

DONE, NO, BAD = 0, 1, 2

_command = []
_built_with = {}


def use(path, launcher, *, line_editor):
    _command[:] = [*launcher, str(path)]
    _built_with["line editor"] = line_editor


def command():
    return list(_command)


def has_launcher():
    return len(_command) > 1


def has_line_editor():
    return _built_with["line editor"]


class Result:
    def __init__(self, process):
        self.code = process.returncode
        self.out = process.stdout.decode("utf-8")
        self.err = process.stderr.decode("utf-8")

    @property
    def lines(self):
        return self.out.splitlines()

    @property
    def json(self):
        return json.loads(self.out)


class ProgramTest(unittest.TestCase):
    """Runs the program in an empty folder of its own; files are named relative to it."""

    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="kqdb-test-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def run_program(self, *arguments, stdin=b"", environment=None):
        process = subprocess.run([*_command, *arguments], cwd=self.folder, input=stdin, capture_output=True,
                                 env={**os.environ, **(environment or {})}, timeout=600)
        return Result(process)

    def expect(self, code, *arguments, **options):
        """Runs the program, checks its exit code, and that errors are reported just when there are some."""
        result = self.run_program(*arguments, **options)
        self.assertEqual(result.code, code, f"{arguments}\n{result.out}\n{result.err}")
        if code == BAD:
            self.assertTrue(result.err.startswith("kqdb: "), result.err)
        else:
            self.assertEqual(result.err, "")
        return result

    def done(self, *arguments, **options):
        return self.expect(DONE, *arguments, **options)

    def refused(self, message, *arguments, **options):
        """Runs the program, which must refuse with just this message, and print nothing else."""
        result = self.expect(BAD, *arguments, **options)
        self.assertEqual(result.err.splitlines(), ["kqdb: " + line for line in message.splitlines()])
        self.assertEqual(result.out, "")
        return result

    def write(self, name, text):
        path = self.folder / name
        path.write_bytes(text if isinstance(text, bytes) else text.encode("utf-8"))
        return name

    def read(self, name):
        return (self.folder / name).read_bytes()

    def files(self):
        return sorted(path.name for path in self.folder.iterdir())


# --- Documents ---

def node(name, type_name="Transform", depth=0, attributes=(), dynamic=(), legacy=(), module="Scene"):
    members = {"name": name, "type": type_name, "module": module, "depth": depth}
    for key, entries in (("attributes", attributes), ("dynamic", dynamic), ("legacy", legacy)):
        if entries:
            members[key] = list(entries)
    return members


def document(*nodes, modules=(("Scene", 2),), **header):
    return json.dumps({"identifier": "KQDatabase2", "loaderVersion": 1, "applicationString": "Test 1.0",
                       "typeString": "document", **header,
                       "modules": [[name, version, []] for name, version in modules], "nodes": list(nodes)})


def room():
    """A robot with an arm that moves along with it, a glass, and a light of an application that nobody knows."""
    return document(
        node("robot", attributes=[["translation", "Vector3", [1, 2, 3]]]),
        node("arm", depth=1, attributes=[["translation", "Vector3", [0, 1, 0]], ["visibility", "Bool", False],
                                         ["parentWorld", "Matrix ->", "|robot.world"]],
             dynamic=[["note", "String", "left h\u00e4nd"], ["weights", "Float[]", [0.5, 0.25, 0.25]],
                      ["bend", "Float", {"min": 0, "max": 1.5}, 0.75]]),
        node("hand", depth=2, attributes=[["parentWorld", "Matrix ->", "|robot|arm.world"]]),
        node("glass", "Material", attributes=[["shading", "Enum", "phong"], ["opacity", "Float", 0.25]]),
        node("left lamp", "Lamp", module="Lights", attributes=[["power", "Float", 60], ["kind", "Enum", "bulb"]]),
        modules=(("Scene", 2), ("Lights", 3)))
