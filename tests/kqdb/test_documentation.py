"""The examples of docs/kqdb.md, run as they stand there, and the texts that the program makes of its own commands.

A block of the page that begins with ```console is a session: lines with "$ " in front are commands, the others are what
they print. "..." on a line of its own stands for any lines, "[...]" within one for anything.
"""
import pathlib
import re
import shlex
import shutil
import subprocess
import unittest

import program
from program import ProgramTest

SOURCES = pathlib.Path(__file__).resolve().parents[2]
SESSION = re.compile(r"^```console\n(.*?)^```$", re.DOTALL | re.MULTILINE)


def pattern_of(lines):
    parts = []
    for line in lines:
        if line == "...":
            parts.append(r"(?:.*\n)*")
        else:
            parts.append(".*".join(re.escape(part) for part in line.split("[...]")) + r"\n")
    return re.compile("".join(parts))


class Examples(ProgramTest):
    """Where the program was built without the importer, the session of import is left out."""

    def setUp(self):
        super().setUp()
        shutil.copy(SOURCES / "examples/data/desk_lamp.gltf", self.folder)
        self.write_torn_desk()
        for document in (SOURCES / "examples/data").glob("*.json"):
            shutil.copy(document, self.folder)
        self.code = 0

    def write_torn_desk(self):
        """desk.json with two references that lead nowhere."""
        text = (SOURCES / "examples/data/desk.json").read_text(encoding="utf-8")
        for holder, path, lost in (("arm", "|desk|lamp.world", "|desk|stand.world"),
                                   ("left drawer", "|desk.world", "|desk.size")):
            begin = text.index(f'"{holder}"')
            before, found, behind = text[begin:].partition(f'"{path}"')
            self.assertTrue(found, holder)
            text = text[:begin] + before + f'"{lost}"' + behind
        self.write("desk_torn.json", text)

    def run_line(self, line):
        """@return what the command prints, on both streams."""
        words = shlex.split(line)
        if words == ["echo", "$?"]:
            return f"{self.code}\n"
        self.assertEqual(words[0], "kqdb", line)
        target = None
        if ">" in words:
            target = words[words.index(">") + 1]
            words = words[:words.index(">")]
        result = self.run_program(*words[1:])
        self.code = result.code
        if target is None:
            return result.err + result.out
        self.write(target, result.out)
        return result.err

    def test_the_page(self):
        sessions = SESSION.findall((SOURCES / "docs/kqdb.md").read_text(encoding="utf-8"))
        self.assertGreater(len(sessions), 10)
        listed = set(re.findall(r"^  (\w+) ", self.done("--help").out.partition("Subcommands:")[2], re.MULTILINE))
        used = set()
        for session in sessions:
            commands = re.split(r"^\$ ", session, flags=re.MULTILINE)
            self.assertEqual(commands[0], "", session)
            if commands[1].startswith("kqdb import ") and "import" not in listed:
                continue
            for command in commands[1:]:
                line, *expected = command.splitlines()
                printed = self.run_line(line)
                used.add(line.split()[1])
                self.assertRegex(printed, r"\A(?:" + pattern_of(expected).pattern + r")\Z", f"$ {line}\n{printed}")
        self.assertEqual(listed - used - {"shell", "demo", "generate"}, set(), "commands without an example")


class Texts(ProgramTest):
    def test_the_manual_page(self):
        page = self.done("generate", "manual").out
        self.assertTrue(page.startswith(".Dd "))
        for command in ("kqdb diff", "kqdb set"):
            self.assertIn(f".Ss \"{command}\"", page)
        formatter = shutil.which("mandoc") or shutil.which("groff")
        if formatter is None:
            self.skipTest("neither mandoc nor groff is installed")
        arguments = ["-T", "lint", "-W", "error"] if formatter.endswith("mandoc") else ["-mdoc", "-T", "utf8", "-ww", "-b", "-z"]
        result = subprocess.run([formatter, *arguments], input=page.encode(), capture_output=True)
        self.assertEqual(result.stderr.decode() + result.stdout.decode(), "")

    @unittest.skipUnless(shutil.which("bash"), "no bash")
    def test_completion_in_bash(self):
        self.write("kqdb.bash", self.done("generate", "bash").out)
        self.write("room.json", "")

        def complete(*words):
            script = ("source ./kqdb.bash; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _kqdb; "
                      "printf '%s\\n' \"${COMPREPLY[@]}\"")
            result = subprocess.run(["bash", "-c", script, "bash", "kqdb", *words], cwd=self.folder, capture_output=True,
                                    check=True)
            self.assertEqual(result.stderr, b"")
            return result.stdout.decode().split()

        self.assertEqual(complete("di"), ["diff"])
        self.assertEqual(complete("diff", "--tol"), ["--tolerance"])
        self.assertEqual(complete("--color", "never", "tree", "--de"), ["--depth"])
        self.assertEqual(complete("tree", "ro"), ["room.json"])
        self.assertIn("--version", complete("--"))

    @unittest.skipUnless(shutil.which("zsh"), "no zsh")
    def test_completion_in_zsh_is_a_script(self):
        self.write("_kqdb", self.done("generate", "zsh").out)
        subprocess.run(["zsh", "-n", "_kqdb"], cwd=self.folder, check=True)

    def test_bad_use(self):
        self.expect(program.BAD, "generate", "fish")
