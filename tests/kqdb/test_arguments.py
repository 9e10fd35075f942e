"""The command line: commands, options, exit codes, and where the output goes."""
import os
import subprocess
import sys
import unittest

import program
from program import BAD, ProgramTest, document, has_launcher, node, room


class CommandLine(ProgramTest):
    def commands(self):
        text = self.done("--help").out
        lines = text[text.index("Subcommands:"):].splitlines()[1:]
        names = []
        for line in lines:
            if not line.startswith("  "):
                break
            if line[2] != " ":
                names.append(line.split()[0])
        return names

    def test_help_lists_the_commands(self):
        names = self.commands()
        for name in ("new", "info", "tree", "cat", "find", "get", "set", "check", "diff", "migrate", "copy", "extract",
                     "graph", "stats", "bench"):
            self.assertIn(name, names)

    def test_each_command_has_a_help_with_an_example(self):
        for name in self.commands():
            text = self.done(name, "--help").out
            self.assertIn("Example", text, name)
            self.assertIn(f"kqdb {name} ", text, name)

    def test_version(self):
        self.assertRegex(self.done("--version").out, r"^kqdb \d+\.\d+\.\d+\n$")

    def test_no_command(self):
        result = self.expect(BAD)
        self.assertIn("Try 'kqdb --help'.", result.err)

    def test_an_unknown_command(self):
        result = self.expect(BAD, "destroy")
        self.assertTrue(result.err.startswith("kqdb: there is no command 'destroy'"), result.err)

    def test_an_unknown_option(self):
        result = self.expect(BAD, "tree", "--colour", "room.json")
        self.assertIn("--colour", result.err)
        self.assertIn("Try 'kqdb tree --help'.", result.err)

    def test_a_path_may_begin_with_a_slash_on_every_system(self):
        self.write("room.json", room())
        path = self.folder.resolve().as_posix() + "/room.json"
        self.assertTrue(path.startswith("/"), path)
        self.assertEqual(self.done("tree", path).out, self.done("tree", "room.json").out)

    def test_missing_arguments_of_each_command(self):
        for name in self.commands():
            if name in ("shell", "demo"):  # the one edits a new document then, the other takes the project's model
                continue
            result = self.expect(BAD, name)
            self.assertIn(f"Try 'kqdb {name} --help'.", result.err)

    @property
    def plain_locale(self):
        """The locale that knows ASCII only. Wine takes the names of files by it, so a launcher keeps its own."""
        return {} if has_launcher() else {"LC_ALL": "C"}

    def test_names_of_files_and_nodes_in_utf8(self):
        self.write("caf\u00e9 \u4e2d\u6587.json", document(node("\u00e9t\u00e9 \U0001f600")))
        result = self.done("tree", "caf\u00e9 \u4e2d\u6587.json", environment=self.plain_locale)
        self.assertEqual(result.out, "\u00e9t\u00e9 \U0001f600 Transform\n")
        result = self.done("get", "caf\u00e9 \u4e2d\u6587.json", "|\u00e9t\u00e9\\ \U0001f600.visibility")
        self.assertEqual(result.out, "true\n")

    @unittest.skipIf(sys.platform == "win32", "arguments are wide text there")
    def test_an_argument_that_is_no_utf8(self):
        if program.has_launcher():
            self.skipTest("arguments are wide text there")
        process = subprocess.run([*program.command(), b"tree", b"caf\xe9.json"], cwd=self.folder, capture_output=True)
        self.assertEqual(process.returncode, BAD)
        self.assertIn("not UTF-8", process.stderr.decode("utf-8"))


class Colours(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("room.json", room())

    def test_none_when_the_output_is_no_terminal(self):
        self.assertNotIn("\x1b", self.done("tree", "room.json").out)

    def test_always_and_never(self):
        self.assertIn("\x1b[1mrobot\x1b[0m", self.done("--color", "always", "tree", "room.json").out)
        self.assertNotIn("\x1b", self.done("--color", "never", "tree", "room.json").out)
        self.expect(BAD, "--color", "sometimes", "tree", "room.json")

    def on_terminal(self, *arguments, **environment):
        import pty
        master, slave = pty.openpty()
        variables = {name: value for name, value in os.environ.items() if name != "NO_COLOR"}
        process = subprocess.Popen([*program.command(), *arguments], cwd=self.folder, stdout=slave, stderr=slave,
                                   env={**variables, **environment})
        os.close(slave)
        output = b""
        try:
            while piece := os.read(master, 65536):
                output += piece
        except OSError:  # what the end of a terminal is on Linux
            pass
        os.close(master)
        self.assertEqual(process.wait(), 0)
        return output.decode("utf-8")

    @unittest.skipIf(sys.platform == "win32", "no such terminals there")
    def test_on_a_terminal_unless_no_color_is_set(self):
        if program.has_launcher():
            self.skipTest("no such terminals there")
        self.assertIn("\x1b[1mrobot", self.on_terminal("tree", "room.json"))
        self.assertNotIn("\x1b", self.on_terminal("tree", "room.json", NO_COLOR="1"))

    def test_control_characters_do_not_reach_the_terminal(self):
        self.write("evil.json", document(node("a\u001b[31m\u009b\nb")))
        self.assertEqual(self.done("tree", "evil.json").out, "a\\u001b[31m\\u009b\\u000ab Transform\n")
        self.assertEqual(self.done("tree", "evil.json", "--json").json[1]["name"], "a\u001b[31m\u009b\nb")


class Streams(ProgramTest):
    @unittest.skipIf(sys.platform == "win32", "no such files there")
    def test_a_full_disk_is_an_error(self):
        if program.has_launcher() or not os.path.exists("/dev/full"):
            self.skipTest("no such file")
        self.write("room.json", room())
        with open("/dev/full", "wb") as full:
            process = subprocess.run([*program.command(), "tree", "room.json"], cwd=self.folder, stdout=full,
                                     stderr=subprocess.PIPE)
        self.assertEqual(process.returncode, BAD)
        self.assertEqual(process.stderr.decode(), "kqdb: standard output: No space left on device\n")

    def test_a_reader_who_goes_away_ends_the_program_quietly(self):
        self.write("wide.json", document(*(node(f"n{i}") for i in range(30000))))
        process = subprocess.Popen([*program.command(), "tree", "wide.json", "--json"], cwd=self.folder,
                                   stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertTrue(process.stdout.read(1))
        process.stdout.close()
        self.assertEqual(process.stderr.read(), b"")
        process.stderr.close()
        self.assertEqual(process.wait(), 0)
