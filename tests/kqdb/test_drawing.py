"""graph: references and compute sets."""
import shutil
import subprocess
import unittest
import xml.etree.ElementTree

import program
from program import BAD, ProgramTest, document, node, room


class Graph(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("room.json", room())

    def test_references(self):
        lines = self.done("graph", "room.json").lines
        self.assertEqual(lines[0], "digraph \"room.json\" {")
        self.assertEqual(lines[-1], "}")
        self.assertIn("  n0 [label=\"|robot\\nTransform\"];", lines)
        self.assertIn("  n1 [label=\"|robot|arm\\nTransform\"];", lines)
        self.assertIn("  n0 -> n1 [label=\"world\\nparentWorld\"];", lines)
        self.assertIn("  n1 -> n2 [label=\"world\\nparentWorld\"];", lines)
        self.assertEqual(len(lines), 4 + 3 + 2 + 1)

    def test_a_subtree(self):
        self.assertEqual(self.done("graph", "room.json", "|robot|arm|hand").out.count(" -> "), 1)

    def test_compute_sets(self):
        text = self.done("graph", "room.json", "--compute").out
        self.assertIn("label=\"Transform\"", text)
        self.assertIn("[label=\"world\"]", text)
        self.assertIn("compute set 0", text)

    def test_names_are_quoted(self):
        self.write("odd.json", document(
            node("a\"b\\c"), node("x", depth=1, attributes=[["parentWorld", "Matrix ->", "|a\"b\\\\c.world"]])))
        self.assertIn("label=\"|a\\\"b\\\\\\\\c\\nTransform\"", self.done("graph", "odd.json").out)
        if shutil.which("dot"):
            subprocess.run(["dot", "-Tsvg"], input=self.done("graph", "odd.json").out.encode(), check=True,
                           capture_output=True)

    @unittest.skipUnless(shutil.which("dot"), "Graphviz is not installed")
    def test_svg(self):
        if program.has_launcher():
            self.skipTest("Graphviz is the machine's own")
        picture = xml.etree.ElementTree.fromstring(self.done("graph", "room.json", "--svg").out)
        self.assertEqual(picture.tag, "{http://www.w3.org/2000/svg}svg")
        texts = [element.text for element in picture.iter("{http://www.w3.org/2000/svg}text")]
        self.assertIn("|robot|arm", texts)

    def test_svg_without_graphviz(self):
        if program.has_launcher():
            self.skipTest("the emulator has a shell of its own")
        result = self.expect_without_dot()
        self.assertEqual(result.code, BAD)
        self.assertIn("kqdb: graph --svg: the program dot was not found; install Graphviz", result.err)

    def expect_without_dot(self):
        return self.run_program("graph", "room.json", "--svg", environment={"PATH": str(self.folder)})

    def test_a_document_without_references(self):
        self.done("new", "empty.json")
        self.assertEqual(self.done("graph", "empty.json").lines[-1], "}")

    def test_a_wrong_path(self):
        self.refused("room.json: |leg: the path leads nowhere", "graph", "room.json", "|leg")
