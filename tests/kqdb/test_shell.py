"""The command "shell": scripts, each of its commands, errors with their line, and a person at a terminal."""
import json
import os
import re
import select
import time
import unittest

import program
from program import BAD, DONE, ProgramTest, node, document, room

try:
    import pty
except ImportError:  # Windows
    pty = None


class ShellTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("room.json", room())

    def script(self, *lines, code=DONE, file="room.json"):
        """Runs the lines from a pipe."""
        return self.expect(code, "shell", file, stdin="".join(line + "\n" for line in lines).encode("utf-8"))

    def answers(self, *lines, **options):
        return self.script(*lines, **options).lines

    def refuses(self, message, *lines):
        """The last of the lines is refused with the message."""
        result = self.script(*lines, code=BAD)
        self.assertEqual(result.err, f"kqdb: standard input:{len(lines)}: {message}\n")
        return result


class Scripts(ShellTest):
    def test_from_a_pipe_a_file_and_the_command_line(self):
        self.assertEqual(self.answers("get |robot.translation"), ["[1, 2, 3]"])
        self.write("s.txt", "get |robot.translation\n")
        self.assertEqual(self.done("shell", "room.json", "--script", "s.txt").out, "[1, 2, 3]\n")
        self.assertEqual(self.done("shell", "room.json", "-c", "rename |robot bot", "-c", "get |bot.translation").lines,
                         ["|bot", "[1, 2, 3]"])

    def test_without_a_file_begins_a_new_document(self):
        self.assertEqual(self.done("shell", stdin=b"create Folder\nsave new.json\n").out, "|Folder\n")
        self.assertEqual(self.done("tree", "new.json").lines, ["Folder Folder"])

    def test_ends_at_the_first_error_with_its_line(self):
        self.write("s.txt", "# a comment\n\nrename |robot bot\nget |robot.scale\nsave\n")
        result = self.expect(BAD, "shell", "room.json", "--script", "s.txt")
        self.assertEqual(result.err, "kqdb: s.txt:4: |robot.scale: the path leads nowhere\n")
        self.assertEqual(result.out, "|bot\n")
        self.assertEqual(self.read("room.json").decode(), room(), "nothing was saved")

    def test_commands_are_numbered(self):
        result = self.expect(BAD, "shell", "-c", "status", "-c", "nonsense")
        self.assertEqual(result.err, "kqdb: command 2:1: nonsense: there is no such command; 'help' lists them\n")

    def test_lines_join_and_the_error_names_the_first(self):
        self.assertEqual(self.answers("rename \\", "|robot \\", "bot"), ["|bot"])
        result = self.script("status", "rename |robot \\", "'a", "b' c", code=BAD)
        self.assertIn("standard input:2: rename: ", result.err)

    def test_open_quote_at_the_end(self):
        result = self.script("status", "rename |robot 'x", "", code=BAD)
        self.assertEqual(result.err, "kqdb: standard input:2: a quote is not closed, or the last line ends with a "
                                     "backslash\n")

    def test_line_ends_of_windows_byte_order_mark_and_no_last_line_end(self):
        self.write("s.txt", b"\xef\xbb\xbfget |robot.scale\r\nget |robot.scale")
        self.assertEqual(self.done("shell", "room.json", "-s", "s.txt").lines, ["[1, 1, 1]"] * 2)

    def test_what_is_no_text(self):
        for line in (b"rename |robot \xff", b"rename |robot a\0b"):
            result = self.expect(BAD, "shell", "room.json", stdin=b"status\n" + line + b"\n")
            self.assertEqual(result.err, "kqdb: standard input:2: the line is no UTF-8 text\n")

    def test_quit_ends_a_script(self):
        self.assertEqual(self.answers("quit", "nonsense"), [])

    def test_script_that_is_not_there(self):
        result = self.expect(BAD, "shell", "--script", "none.txt")
        self.assertIn("none.txt: ", result.err)

    def test_document_that_is_not_there(self):
        self.refused("none.json: there is no such file", "shell", "none.json", stdin=b"")

    def test_unicode(self):
        self.assertEqual(self.answers("rename |robot 'rob\u00f6ter \U0001F916'", "ls"),
                         ["|rob\u00f6ter\\ \U0001F916", "rob\u00f6ter \U0001F916 Transform |", "glass Material",
                          "left lamp Lamp unknown"])

    def test_empty_script(self):
        self.assertEqual(self.answers(), [])


class Nodes(ShellTest):
    def test_create(self):
        self.assertEqual(self.answers("create Transform a", "create Transform a", "create Folder --in |robot --before "
                                      "|robot|arm", "ls", "ls |robot"),
                         ["|a", "|a0", "|robot|Folder", "robot Transform |", "glass Material", "left lamp Lamp unknown",
                          "a Transform", "a0 Transform", "Folder Folder", "arm Transform |"])

    def test_create_that_follows(self):
        self.assertEqual(self.answers("create Transform a --in |robot --follow", "commit", "get |robot|a.world"),
                         ["|robot|a", "[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1]"])
        self.refuses("only a Transform can follow the one above it", "create Folder --follow")

    def test_create_refused(self):
        self.refuses("Gear: there is no such node type; 'types' lists them", "create Gear")
        self.refuses("the node to stand before is not a child of that parent (status 7)",
                     "create Folder --before |robot|arm")
        self.refuses("|nobody: the path leads nowhere", "create Folder --in |nobody")
        self.assertIn("TYPE is required", self.script("create", code=BAD).err)

    def test_create_unknown(self):
        self.assertEqual(self.answers("create-unknown Gear Machines g --version 3 --in |glass", "tree |glass",
                                      "save out.json"),
                         ["|glass|g", "glass Material", "  g Gear unknown"])
        self.assertIn(["Machines", 3, []], json.loads(self.read("out.json"))["modules"])
        self.refuses("--version: 'x' is no whole number from 0 to 4294967295", "create-unknown A B --version x")

    def test_destroy(self):
        self.refuses("the node still has children (status 9)", "destroy |robot")
        self.assertEqual(self.answers("destroy -r |robot", "destroy |glass", "ls"), ["left lamp Lamp unknown"])
        self.refuses("the root node cannot be edited (status 14); 'clear' destroys all nodes", "destroy -r |")
        self.refuses("the root node cannot be edited (status 14)", "destroy |")

    def test_rename(self):
        self.assertEqual(self.answers("rename |robot bot", "ls")[:2], ["|bot", "bot Transform |"])
        self.refuses("a sibling bears that name already (status 49)", "rename |robot glass")
        self.refuses("a node needs a name (status 20)", "rename |robot ''")

    def test_move(self):
        self.assertEqual(self.answers("move |robot|arm|hand | --before |robot --name h --follow", "ls", "commit",
                                      "get |h.world"),
                         ["|h", "h Transform", "robot Transform |", "glass Material", "left lamp Lamp unknown",
                          "[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]"])
        self.refuses("a node cannot be moved below one of its descendants (status 24)", "move |robot |robot|arm")
        self.refuses("only a Transform can follow the one above it", "move |glass |robot --follow")

    def test_reorder(self):
        self.assertEqual(self.answers("reorder |robot", "reorder |glass", "ls"),
                         ["left lamp Lamp unknown", "robot Transform |", "glass Material"])
        self.refuses("a node cannot stand before itself (status 26)", "reorder |robot --before |robot")


class Attributes(ShellTest):
    def test_set_takes_the_rest_of_the_line(self):
        self.assertEqual(self.answers("set |robot.translation [4, -5, 6]", "get |robot.translation",
                                      "set |glass.opacity 0.5", "set |glass.shading physically based",
                                      "get |glass.opacity |glass.shading", "set |robot|arm.note two  words",
                                      "get |robot|arm.note", "set |robot|arm.note '\"a\\nb\"'", "get |robot|arm.note"),
                         ["[4, -5, 6]", "0.5", '"physically based"', '"two words"', '"a\\nb"'])

    def test_set_negative_and_odd_numbers(self):
        self.assertEqual(self.answers("add |robot Double x", "set |robot.x -5", "get |robot.x", "set |robot.x -Infinity",
                                      "get |robot.x", "set -- |robot.x -5e-1", "get |robot.x"),
                         ["|robot.x", "-5", '"-Infinity"', "-0.5"])

    def test_set_arrays_and_items(self):
        self.assertEqual(self.answers("set |robot|arm:weights [1, 2]", "get |robot|arm:weights",
                                      "set |robot|arm:weights[1] -7", "get |robot|arm:weights[1] |robot|arm:weights"),
                         ["[1, 2]", "-7", "[1, -7]"])

    def test_set_refused(self):
        self.refuses("|robot|arm.bend: 2 is above the limit 1.5", "set |robot|arm.bend 2")
        self.assertEqual(self.answers("set --force |robot|arm.bend 2", "get |robot|arm.bend"), ["2"])
        self.refuses("|robot: is a node, not an attribute", "set |robot 5")
        self.refuses("|robot.world: the attribute is computed from others; its value cannot be set",
                     "set |robot.world [1]")
        self.assertIn("|robot.scale: column", self.script("set |robot.scale tall", code=BAD).err)
        self.assertIn("VALUE is required", self.script("set |robot.scale", code=BAD).err)
        self.assertIn("takes its value from a reference", self.script("set |robot|arm.parentWorld [1, 0, 0, 0, 0, 1, 0, "
                      "0, 0, 0, 1, 0, 0, 0, 0, 1]", code=BAD).err)

    def test_add_with_everything(self):
        self.answers("add |robot Float speed --min -1 --max 2.5 --unit time --doc 'How fast' --display-name Speed",
                     "add |robot Enum mode --choices 'slow,very fast'", "add |robot Int n --array --before speed",
                     "set |robot.mode very fast", "save")
        dynamic = json.loads(self.read("room.json"))["nodes"][0]["dynamic"]
        self.assertEqual([entry[0] for entry in dynamic], ["n", "speed", "mode"])
        self.assertEqual(dynamic[1][2], {"displayName": "Speed", "docString": "How fast", "unit": 3, "min": -1, "max": 2.5})
        self.assertEqual(dynamic[2][-1], "very fast")

    def test_add_refused(self):
        self.refuses("Flaot: there is no such type of values; one of them is Float", "add |robot Flaot x")
        self.refuses("the node has an element of that name already (status 48)", "add |robot Int scale")
        self.refuses("an Enum needs choices: --choices low,high", "add |robot Enum x")
        self.refuses("only Int, Float and Double have limits", "add |robot String x --min 1")
        self.refuses("--max: 'much' is no number of the type", "add |robot Int x --max much")
        self.refuses("values of the type have no unit", "add |robot Int x --unit time")
        self.refuses("--unit: 'feet' is none of distance, angle, time, mass and scalar", "add |robot Float x --unit feet")
        self.refuses("zz: the node has no such element", "add |robot Float x --before zz")
        self.refuses("an element needs a name (status 50)", "add |robot Float ''")

    def test_every_type_of_values_can_be_added(self):
        types = ["Int", "Bool", "Colour", "Float", "Double", "String", "Vector3", "Matrix", "Quat", "Null",
                 "VertexBuffer", "IntArray", "BoolArray", "ColourArray", "FloatArray", "DoubleArray", "StringArray",
                 "Vector3Array", "MatrixArray", "QuatArray"]
        self.answers(*[f"add |glass {name} x{name}" for name in types], "save")
        entries = json.loads(self.read("room.json"))["nodes"][3]["dynamic"]
        self.assertEqual([entry[1] for entry in entries], types)

    def test_remove_and_rename_elements(self):
        self.assertEqual(self.answers("rename-element |robot|arm.note 'a b'", "remove |robot|arm.bend",
                                      "get '|robot|arm.a\\ b'"), ["|robot|arm.a\\ b", '"left h\u00e4nd"'])
        self.refuses("only dynamic elements can be destroyed (status 54)", "remove |robot.scale")
        self.refuses("only dynamic elements can be renamed (status 55)", "rename-element |robot.scale x")

    def test_resize(self):
        self.assertEqual(self.answers("resize |robot|arm:weights 5", "get |robot|arm:weights"),
                         ["[0.5, 0.25, 0.25, 0, 0]"])
        self.refuses("|robot.scale: is no array", "resize |robot.scale 2")
        lines = ["connect |robot|arm.bend |robot|arm:weights[2]", "resize |robot|arm:weights 1"]
        self.refuses("an item that the smaller array would lose takes part in a reference (status 36)", *lines)
        self.assertEqual(self.answers(lines[0], lines[1] + " --disconnect", "get |robot|arm:weights"), ["[0.5]"])
        self.refuses("SIZE: '-1' is no whole number from 0 to 4294967295", "resize |robot|arm:weights -1")

    def test_connect_and_disconnect(self):
        self.assertEqual(self.answers("connect |robot.translation |robot|arm.scale", "get |robot|arm.scale",
                                      "disconnect |robot|arm.scale", "get |robot|arm.scale",
                                      "connect --single |robot.translation |robot|arm.scale",
                                      "disconnect --keep-value |robot|arm.scale", "get |robot|arm.scale"),
                         ["[1, 2, 3]", "[1, 1, 1]", "[1, 2, 3]"])
        self.refuses("an attribute cannot reference itself (status 45)", "connect |robot.scale |robot.scale")
        self.refuses("the attribute references nothing (status 39)", "disconnect |robot.scale")
        self.refuses("the attribute references nothing (status 39)", "disconnect |robot.scale --keep-value")
        self.refuses("|robot|arm:weights: is an array, not an attribute", "disconnect |robot|arm:weights")


class Units(ShellTest):
    def test_commit_undo_redo(self):
        lines = self.answers("rename |robot a", "commit first edit", "rename |a b", "commit", "history", "undo 2",
                             "history", "redo", "ls")
        self.assertRegex("\n".join(lines),
                         r"undo 2    first edit, 1 operation, \d+ B\nundo 1    Edit, 1 operation, \d+ B\nnow\n"
                         r"now\nredo 1    first edit, .*\nredo 2    Edit, .*\na Transform")

    def test_undo_gives_the_first_state(self):
        self.done("shell", "room.json", "-c", "save first.json")
        self.answers("destroy -r |robot", "commit", "create Folder x", "add |x String s", "set |x.s y", "commit",
                     "undo 2", "save last.json")
        self.assertEqual(self.read("first.json"), self.read("last.json"))

    def test_undo_refused(self):
        self.refuses("there is nothing to undo", "undo")
        self.refuses("there is nothing to redo", "redo")
        self.refuses("there are edits that are not committed: commit them or roll them back first", "create Folder", "undo")

    def test_rollback(self):
        self.assertEqual(self.answers("rename |robot a", "mark", "rename |a b", "mark", "destroy |glass", "rollback 2",
                                      "ls", "rollback 1", "ls", "rollback", "ls"),
                         ["|a", "mark 1", "|b", "mark 2",
                          "b Transform |", "glass Material", "left lamp Lamp unknown",
                          "a Transform |", "glass Material", "left lamp Lamp unknown",
                          "robot Transform |", "glass Material", "left lamp Lamp unknown"])
        self.refuses("there is nothing to take back: everything is committed", "rollback")
        self.refuses("there is no mark 1 in this unit of work", "create Folder", "rollback 1")
        self.refuses("there is no mark 2 in this unit of work", "mark", "create Folder", "mark", "rollback 1", "create Folder",
                     "rollback 2")

    def test_marks_end_with_the_unit(self):
        self.refuses("there is no mark 1 in this unit of work", "create Folder", "mark", "commit", "create Folder",
                     "rollback 1")

    def test_computed_attributes_follow_a_commit_and_a_transient_one(self):
        self.assertEqual(self.answers("set |robot.translation [7, 0, 0]", "commit-transient", "get |robot|arm.world",
                                      "rollback", "get |robot|arm.world"),
                         ["[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 7, 1, 0, 1]",
                          "[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 3, 3, 1]"])


class Looking(ShellTest):
    def test_tree_and_ls(self):
        self.assertEqual(self.answers("tree"), ["robot Transform", "  arm Transform", "    hand Transform", "glass Material",
                                                "left lamp Lamp unknown"])
        self.assertEqual(self.answers("tree |robot -d 1", "ls |robot|arm"),
                         ["robot Transform", "  arm Transform ...", "hand Transform"])

    def test_cat(self):
        lines = self.answers("cat |robot|arm")
        self.assertEqual(lines[0], "|robot|arm Transform")
        self.assertIn("  bend Float 0.75 dynamic", lines)
        self.assertTrue(any(line.startswith("  parentWorld Matrix [") and line.endswith(" from |robot.world")
                            for line in lines), lines)

    def test_types(self):
        self.assertTrue(any(line.startswith("Transform") for line in self.answers("types")))
        self.assertTrue(any(line.startswith("fieldOfView Float") for line in self.answers("types Camera")))
        self.refuses("Gear: there is no such node type; 'types' lists them", "types Gear")

    def test_get_refused(self):
        self.refuses("|robot: is a node, not an attribute", "get |robot")
        self.refuses("|robot..x: two of the characters | . : [ ] follow each other in the path", "get |robot..x")


class Watching(ShellTest):
    def test_watches(self):
        self.assertEqual(self.answers("watch |robot", "watch |glass", "watches", "set |robot|arm|hand.scale [2, 2, 2]",
                                      "watches --reset", "watches", "unwatch |robot", "watches", "destroy |glass",
                                      "commit", "watches"),
                         ["unchanged  |robot", "unchanged  |glass", "changed    |robot", "unchanged  |glass",
                          "unchanged  |robot", "unchanged  |glass", "unchanged  |glass"])
        self.refuses("the node is watched already (status 68)", "watch |robot", "watch |robot")
        self.refuses("the node is not watched, so the watch cannot end (status 69)", "unwatch |robot")

    def test_observe(self):
        lines = self.answers("observe", "observe on", "observe", "rename |glass pane", "set |robot.translation [0, 0, 0]",
                             "commit", "observe off", "rename |pane glass", "commit")
        self.assertEqual(lines[:7], ["off", "on", "|pane", "change report:", "  renamed       |pane  Material",
                                     "  written       |robot.translation  [0, 0, 0]",
                                     lines[6]])
        self.assertTrue(lines[6].startswith("  computed      |robot.local"), lines)
        self.assertTrue(any(line.startswith("  follows       |robot|arm.parentWorld") for line in lines), lines)
        self.assertEqual(lines[-1], "|glass", "nothing is reported any more")

    def test_observe_reports_undo_and_a_transient_commit(self):
        lines = self.answers("create Folder f", "commit", "observe on", "undo", "rename |glass g", "commit-transient",
                             "clear")
        self.assertEqual(lines, ["|f", "change report:", "  destroyed     |f  Folder", "|g", "transient change report:",
                                 "  renamed       |g  Material", "change report:", "  cleared       |"])

    def test_log(self):
        self.assertEqual(self.answers("log", "log on", "rename |glass pane", "log off", "rename |pane glass", "log"),
                         ["off", "|pane", "db_renameNode(node='glass', name='pane')", "|glass", "off"])

    def test_states_are_on_or_off(self):
        self.assertIn("observe: STATE: ", self.script("observe maybe", code=BAD).err)


class Documents(ShellTest):
    def test_save(self):
        self.answers("rename |robot a", "save", "rename |a b", "save other.json", "rename |b c", "save")
        self.assertEqual(self.done("tree", "room.json").lines[0], "a Transform")
        self.assertEqual(self.done("tree", "other.json").lines[0], "c Transform", "which is the document's file then")
        self.refused("standard input:1: the document has no file yet: save FILE", "shell", stdin=b"save\n")
        self.assertIn("standard input:1: ", self.script("save no/folder.json", code=BAD).err)

    def test_open(self):
        self.write("other.json", document(node("only")))
        self.assertEqual(self.answers("observe on", "rename |robot a", "open other.json", "ls", "rename |only x", "commit"),
                         ["|a", "only Transform", "|x", "change report:", "  renamed       |x  Transform"])
        result = self.refuses("none.json: there is no such file", "rename |robot a", "open none.json")
        self.assertEqual(result.lines, ["|a"])

    def test_clear(self):
        self.assertEqual(self.answers("watch |robot", "clear", "ls", "watches", "history"), ["now"])

    def test_status(self):
        self.assertEqual(self.answers("rename |robot a", "status"),
                         ["|a", "file        room.json", "nodes       5", "changes     not saved, some of them not committed",
                          "undo        0 units", "redo        0 units", "marks       0", "watches     0", "observe     off",
                          "log         off"])
        self.assertIn("changes     none", self.answers("status"))
        self.assertIn("changes     none", self.answers("rename |robot a", "save", "status"))
        self.assertIn("changes     not saved", self.answers("clear", "status"))

    def test_help_lists_every_command_and_explains_each(self):
        lines = self.answers("help")
        names = [line.split()[0] for line in lines if re.match(r"  [a-z]", line)]
        for name in ("create", "create-unknown", "destroy", "rename", "move", "reorder", "add", "remove", "rename-element",
                     "resize", "connect", "disconnect", "set", "clear", "get", "ls", "tree", "commit", "commit-transient",
                     "undo", "redo", "mark", "rollback", "history", "watch", "unwatch", "watches", "observe", "log", "save",
                     "open", "status", "help", "quit"):
            self.assertIn(name, names)
        for name in names:
            self.assertIn(f"Usage: {name}", "\n".join(self.answers(f"help {name}")))
            self.assertEqual(self.answers(f"{name} --help"), self.answers(f"help {name}"))
        self.refuses("nonsense: there is no such command; 'help' lists them", "help nonsense")

    def test_too_many_arguments_and_unknown_options(self):
        self.assertIn("quit: ", self.script("quit now", code=BAD).err)
        self.assertIn("ls: ", self.script("ls --nonsense", code=BAD).err)


@unittest.skipIf(pty is None, "there are no pseudo-terminals")
class Terminal(ShellTest):
    """A person: types into a pseudo-terminal and reads the screen."""

    def setUp(self):
        super().setUp()
        if program.has_launcher():
            self.skipTest("the launcher has no terminal")
        pid, self.terminal = pty.fork()
        if pid == 0:
            os.chdir(self.folder)
            environment = {**os.environ, "TERM": "xterm", "NO_COLOR": "1", "KQDB_HISTORY": str(self.folder / "history")}
            os.execve(program.command()[0], [*program.command(), "shell", "room.json"], environment)
        self.pid = pid
        self.screen = ""
        self.addCleanup(os.close, self.terminal)
        self.wait_for("> ")

    def read_some(self):
        if not select.select([self.terminal], [], [], 0.1)[0]:
            return
        try:
            data = os.read(self.terminal, 65536)
        except OSError:  # the program has ended
            data = b""
        # Without the commands to the terminal, which move the cursor and erase.
        self.screen += re.sub(r"\x1b\[[0-9;?]*[A-Za-z]", "", data.decode("utf-8", "replace"))

    def wait_until(self, is_there, what):
        end = time.monotonic() + 60
        while not is_there():
            self.assertLess(time.monotonic(), end, f"waited for {what!r}, saw {self.screen!r}")
            self.read_some()

    def wait_for(self, text):
        self.wait_until(lambda: text in self.screen, text)

    def type(self, text, expected, has_prompt=True):
        """Types and waits for a text and the next prompt: what is typed before a prompt may get lost."""
        self.screen = ""
        os.write(self.terminal, text.encode("utf-8"))
        self.wait_for(expected)
        if has_prompt:
            self.wait_until(lambda: self.screen.rstrip("\r").endswith("> "), "a prompt")

    def exit_code(self):
        status = []

        def has_ended():
            pid, value = os.waitpid(self.pid, os.WNOHANG)
            status.append(value)
            return pid != 0

        self.wait_until(has_ended, "the end")
        return os.waitstatus_to_exitcode(status[-1])

    def test_goes_on_after_an_error_and_warns_of_unsaved_changes(self):
        self.type("get |nobody.x\n", "error: |nobody.x: the path leads nowhere")
        self.type("rename |robot bot\n", "room.json*> ")
        self.type("quit\n", "error: there are unsaved changes")
        self.type("status\n", "room.json*> ")
        self.type("quit\n", "error: there are unsaved changes")
        os.write(self.terminal, b"quit\n")
        self.assertEqual(self.exit_code(), DONE)

    def test_save_leaves_nothing_to_warn_of(self):
        self.type("rename |robot bot\n", "room.json*> ")
        self.type("save\n", "room.json> ")
        os.write(self.terminal, b"\x04")
        self.assertEqual(self.exit_code(), DONE)
        self.assertEqual(self.done("tree", "room.json").lines[0], "bot Transform")

    def test_quotes_go_on_in_the_next_line(self):
        self.type("set |robot|arm.note 'a\n", "> ")
        self.type("b'\n", "room.json*> ")
        self.type("get |robot|arm.note\n", '"a\\nb"')

    def test_opening_another_document_needs_to_be_said_twice(self):
        self.write("other.json", document(node("only")))
        self.type("rename |robot bot\n", "room.json*> ")
        self.type("open other.json\n", "error: there are unsaved changes")
        self.type("open other.json\n", "other.json> ")

    @unittest.skipUnless(program.has_line_editor(), "built without a line editor")
    def test_line_editor(self):
        os.write(self.terminal, b"\t\t")  # lists the commands
        self.wait_for("commit-transient")
        self.type("unw\t|gl\t\n", "the node is not watched")
        self.type("set |glass.sha\tphy\t\n", "room.json*> ")
        self.type("get |glass.shading\n", '"physically based"')
        self.type("nonsense\t", "\a", has_prompt=False)  # the answer shows that the editor has the terminal
        self.type("\x03", "^C")
        self.type("\x1b[A\n", '"physically based"')  # the line before
        self.type("save\n", "room.json> ")
        os.write(self.terminal, b"quit\n")
        self.assertEqual(self.exit_code(), DONE)
        self.assertIn(b"glass.shading", self.read("history"))


if __name__ == "__main__":
    unittest.main()
