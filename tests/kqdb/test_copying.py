"""copy and extract: nodes on their way to other documents."""
import json

from program import BAD, NO, ProgramTest, document, node, room


class CopyingTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("room.json", room())
        self.write("other.json", document(node("table", attributes=[["translation", "Vector3", [0, 5, 0]]]),
                                          node("robot", "Folder")))


class Extract(CopyingTest):
    def test_a_subtree(self):
        self.assertEqual(self.done("extract", "room.json", "|robot", "-o", "robot.json").lines, ["|robot"])
        self.assertEqual(self.done("tree", "robot.json").lines, ["robot Transform", "  arm Transform", "    hand Transform"])
        self.assertEqual(self.expect(NO, "diff", "room.json", "robot.json").lines,
                         ["- |glass (Material)", "- |left\\ lamp (Lamp)"])
        self.assertEqual(self.read("room.json"), room().encode())

    def test_references_that_lead_elsewhere_become_values(self):
        result = self.done("extract", "room.json", "|robot|arm", "-o", "arm.json")
        self.assertEqual(result.lines, ["|robot|arm", "value instead of reference: |robot|arm.parentWorld"])
        self.assertEqual(self.done("get", "arm.json", "|arm.world").out, "[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 3, 3, 1]\n")
        self.assertIn("reference", self.done("get", "arm.json", "|arm|hand.parentWorld", "--json").json[0])

    def test_several(self):
        self.done("extract", "room.json", "|left\\ lamp", "|glass", "-o", "some.json")
        self.assertEqual(self.done("tree", "some.json").lines,
                         ["left lamp Lamp of unknown module Lights", "glass Material"])

    def test_a_node_below_another_goes_with_it(self):
        self.done("extract", "room.json", "|robot|arm", "|robot", "|robot", "-o", "some.json")
        self.assertEqual(self.done("find", "some.json", "--count").out, "3\n")

    def test_json(self):
        self.assertEqual(self.done("extract", "room.json", "|robot|arm", "-o", "arm.json", "--json").json,
                         {"nodes": ["|robot|arm"], "replacedReferences": ["|robot|arm.parentWorld"]})

    def test_refusals(self):
        self.refused("room.json: |leg: the path leads nowhere", "extract", "room.json", "|leg", "-o", "x.json")
        self.refused("room.json: the root cannot be copied, only what is below it", "extract", "room.json", "|", "-o",
                     "x.json")
        self.expect(BAD, "extract", "room.json", "|robot")
        self.expect(BAD, "extract", "room.json", "|robot", "-o", "nowhere/x.json")
        self.assertEqual(self.files(), ["other.json", "room.json"])


class Copy(CopyingTest):
    def test_to_another_document(self):
        result = self.done("copy", "room.json", "|robot", "--to", "other.json")
        name = result.lines[0]
        self.assertNotEqual(name, "|robot")  # there is one already
        self.assertEqual(self.done("tree", "other.json", name).lines[1:], ["  arm Transform", "    hand Transform"])
        reference, = self.done("get", "other.json", name + "|arm.parentWorld", "--json").json
        self.assertEqual(reference["reference"], name + ".world")
        self.assertEqual(self.read("room.json"), room().encode())

    def test_under_a_node_and_connected_to_it(self):
        self.done("copy", "room.json", "|robot|arm", "--to", "other.json", "--under", "|table")
        self.assertEqual(self.done("get", "other.json", "|table|arm.world").out,
                         "[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 6, 0, 1]\n")

    def test_within_a_document(self):
        self.done("copy", "room.json", "|glass", "--to", "room.json", "-o", "more.json")
        self.assertEqual(self.done("find", "more.json", "--type", "Material", "--count").out, "2\n")
        self.assertEqual(self.read("room.json"), room().encode())

    def test_unknown_and_legacy_data(self):
        self.write("odd.json", document(node("old", "Gadget", attributes=[["x", "Int", 7]]),
                                        node("glass", "Material", attributes=[["gloss", "Float", 1]])))
        self.done("copy", "room.json", "|left\\ lamp", "--to", "other.json")
        self.done("copy", "odd.json", "|old", "|glass", "--to", "other.json")
        saved = json.loads(self.read("other.json"))
        self.assertEqual(saved["modules"], [["Scene", 2, []], ["Lights", 3, []]])
        self.assertEqual(self.done("get", "other.json", "|left\\ lamp.kind", "|old.x", "|glass.gloss").lines,
                         ["\"bulb\"", "7", "1"])

    def test_refusals(self):
        before = self.read("other.json")
        self.refused("room.json: |leg: the path leads nowhere", "copy", "room.json", "|leg", "--to", "other.json")
        self.refused("other.json: |leg: the path leads nowhere", "copy", "room.json", "|robot", "--to", "other.json", "-u",
                     "|leg")
        self.refused("missing.json: there is no such file", "copy", "room.json", "|robot", "--to", "missing.json")
        self.expect(BAD, "copy", "room.json", "|robot")
        self.assertEqual(self.read("other.json"), before)
