"""new and set: documents that are written."""
import json
import os
import unittest

import program
from program import BAD, NO, ProgramTest, document, node, room


class New(ProgramTest):
    def test_an_empty_document(self):
        self.assertEqual(self.done("new", "new.json").out, "")
        saved = json.loads(self.read("new.json"))
        self.assertEqual((saved["identifier"], saved["modules"], saved["nodes"]), ("KQDatabase2", [], []))
        self.done("check", "new.json")

    def test_a_file_that_is_there_stays(self):
        self.write("room.json", room())
        self.refused("room.json: the file is there already; --force replaces it", "new", "room.json")
        self.assertEqual(self.read("room.json"), room().encode())
        self.done("new", "room.json", "--force")
        self.assertEqual(json.loads(self.read("room.json"))["nodes"], [])

    def test_a_folder_that_is_not_there(self):
        result = self.expect(BAD, "new", "nowhere/new.json")
        self.assertIn("nowhere/new.json", result.err)


class SetTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("room.json", room())
        self.done("migrate", "room.json", "-o", "room.json")  # as this program writes it

    def get(self, path, file="room.json"):
        return self.done("get", file, path).out.rstrip("\n")

    def refused_unchanged(self, message, *arguments):
        before = self.read("room.json")
        self.refused(message, "set", "room.json", *arguments)
        self.assertEqual(self.read("room.json"), before)
        self.assertEqual(self.files(), ["room.json"])


class Set(SetTest):
    def test_values_of_all_kinds(self):
        for path, value, expected in (("|robot.translation", "[4, 5, 6]", "[4, 5, 6]"),
                                      ("|robot.visibility", "false", "false"),
                                      ("|glass.opacity", "1e-1", "0.1"),
                                      ("|glass.shading", "lambert", "\"lambert\""),
                                      ("|glass.shading", "\"unlit\"", "\"unlit\""),
                                      ("|glass.shading", "2", "\"phong\""),
                                      ("|robot|arm.note", "", "\"\""),
                                      ("|robot|arm.note", "two words", "\"two words\""),
                                      ("|robot|arm.note", "\"\\ud83d\\ude00\"", "\"\U0001f600\""),
                                      ("|robot|arm.note", "[97, 55296]", "[97, 55296]"),
                                      ("|robot|arm:weights[1]", "-5", "-5"),
                                      ("|robot|arm:weights", "[1, 2, 3, 4]", "[1, 2, 3, 4]"),
                                      ("|robot|arm:weights", "[]", "[]"),
                                      ("|left\\ lamp.power", "75", "75"),
                                      ("|left\\ lamp.kind", "tube", "\"tube\"")):
            self.assertEqual(self.done("set", "room.json", path, value).out, "")
            self.assertEqual(self.get(path), expected, (path, value))

    def test_several_at_once(self):
        self.done("set", "room.json", "|glass.opacity", "0.5", "|robot.scale", "[2,2,2]")
        self.assertEqual((self.get("|glass.opacity"), self.get("|robot.scale")), ("0.5", "[2, 2, 2]"))

    def test_to_another_file(self):
        before = self.read("room.json")
        self.done("set", "room.json", "|glass.opacity", "0.5", "--output", "other.json")
        self.assertEqual(self.read("room.json"), before)
        self.assertEqual((self.get("|glass.opacity"), self.get("|glass.opacity", "other.json")), ("0.25", "0.5"))

    def test_diff_after_set_shows_just_that(self):
        self.done("set", "room.json", "|robot.translation", "[1, 2, 4]", "-o", "other.json")
        self.assertEqual(self.expect(NO, "diff", "room.json", "other.json").lines,
                         ["~ |robot.translation: [1, 2, 3] to [1, 2, 4]"])
        before = self.read("room.json").splitlines()
        after = self.read("other.json").splitlines()
        self.assertEqual(len([1 for a, b in zip(before, after, strict=True) if a != b]), 1)

    def test_setting_what_is_there_changes_no_byte(self):
        before = self.read("room.json")
        self.done("set", "room.json", "|robot.translation", "[1, 2, 3]")
        self.assertEqual(self.read("room.json"), before)

    def test_computed_attributes_follow(self):
        self.done("set", "room.json", "|robot.translation", "[10, 0, 0]")
        self.assertTrue(self.get("|robot|arm|hand.world").endswith("10, 1, 0, 1]"))

    def test_limits(self):
        self.refused_unchanged("room.json: |glass.opacity: 1.5 is above the limit 1", "|glass.opacity", "1.5")
        self.refused_unchanged("room.json: |robot|arm.bend: -1 is below the limit 0", "|robot|arm.bend", "-1")
        self.refused_unchanged("room.json: |glass.shading: 17 names no choice", "|glass.shading", "17")
        self.done("set", "room.json", "|glass.opacity", "1.5", "--force")
        self.assertEqual(self.get("|glass.opacity"), "1.5")

    def test_unknown_and_legacy_data_stay(self):
        self.write("odd.json", document(
            node("glass", "Material", attributes=[["gloss", "Float", 0.5], ["opacity", "Float", 0.5]]),
            node("old", "Gadget", attributes=[["x", "Int", 7]]),
            node("lamp", "Lamp", module="Lights", attributes=[["kind", "Enum", "bulb"]],
                 dynamic=[["d", "Int", {"min": 1}, 2]]),
            modules=(("Scene", 2), ("Lights", 3))))
        self.done("set", "odd.json", "|glass.opacity", "0.75", "-o", "new.json")
        self.assertEqual(self.expect(NO, "diff", "odd.json", "new.json").lines, ["~ |glass.opacity: 0.5 to 0.75"])
        saved = json.loads(self.read("new.json"))
        self.assertEqual(saved["modules"], [["Scene", 2, []], ["Lights", 3, []]])
        self.assertEqual([n["type"] for n in saved["nodes"]], ["Material", "Gadget", "Lamp"])
        self.assertEqual(saved["nodes"][0]["legacy"], [["gloss", "Float", 0.5]])
        self.assertEqual(saved["nodes"][1]["legacy"], [["x", "Int", 7]])
        self.assertEqual(saved["nodes"][2]["dynamic"], [["d", "Int", {"min": 1}, 2]])

    def test_what_saving_would_lose_is_not_lost_by_accident(self):
        text = document(node("glass", "Material", attributes=[["shading", "Enum", "shiny"]]))
        self.write("odd.json", text)
        result = self.expect(BAD, "set", "odd.json", "|glass.opacity", "0.5")
        self.assertIn("'shiny' is no choice", result.err)
        self.assertIn("kqdb: odd.json: saving would lose that; --allow-loss saves all the same\n", result.err)
        self.assertEqual(self.read("odd.json"), text.encode())
        self.done("set", "odd.json", "|glass.opacity", "0.5", "--allow-loss")
        self.assertEqual(self.get("|glass.opacity", "odd.json"), "0.5")


class SetRefuses(SetTest):
    def test_wrong_values(self):
        for path, value, message in (
                ("|glass.opacity", "much", "column 1: expected a number"),
                ("|glass.opacity", "0.5 0.5", "column 5: something follows the end of the document"),
                ("|robot.translation", "[1, 2]", "column 6, [1]: expected another component, but the array ends here"),
                ("|robot.visibility", "yes", "column 1: expected true or false"),
                ("|robot|arm:weights", "1", "column 1: expected an array"),
                ("|robot|arm:weights", "[1, x]", "column 1: expected a number"),
                ("|robot|arm:weights", "[1, 2", "column 6: the array does not end")):
            result = self.expect(BAD, "set", "room.json", path, value)
            self.assertIn(f"room.json: {path}", result.err)
        self.refused_unchanged("room.json: |glass.opacity: column 1: expected a number", "|glass.opacity", "much")
        self.refused_unchanged("room.json: |glass.shading: 'shiny' is no choice; the choices are \"unlit\", \"lambert\", "
                               "\"phong\", \"physically based\"", "|glass.shading", "shiny")
        self.refused_unchanged("room.json: |robot|arm:weights: column 6: the array does not end", "|robot|arm:weights",
                               "[1, 2")

    def test_all_or_nothing(self):
        self.refused_unchanged("room.json: |glass.opacity: column 1: expected a number", "|robot.scale", "[2,2,2]",
                               "|glass.opacity", "much")

    def test_wrong_paths(self):
        self.refused_unchanged("room.json: |leg.scale: the path leads nowhere", "|leg.scale", "[1,1,1]")
        self.refused_unchanged("room.json: |robot: is a node, which has no value", "|robot", "1")

    def test_a_path_without_a_value(self):
        self.refused_unchanged("set: every path needs a value; |glass.opacity has none", "|glass.opacity")

    def test_computed_attributes(self):
        self.refused_unchanged("room.json: |robot.world: the attribute is computed from others; its value cannot be set",
                               "|robot.world", "[1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1]")

    def test_legacy_data(self):
        self.write("odd.json", document(node("glass", "Material", attributes=[["gloss", "Float", 0.5]])))
        self.refused("odd.json: |glass.gloss: is legacy data, which is kept as it is", "set", "odd.json", "|glass.gloss",
                     "1")

    def test_what_is_no_file_is_not_replaced(self):
        (self.folder / "folder").mkdir()
        self.refused_with("folder: is a folder", "folder")
        if not hasattr(os, "mkfifo") or program.has_launcher():
            self.skipTest("no pipes with names there")
        os.mkfifo(self.folder / "pipe")
        self.refused_with("pipe: is not a file that a document could replace", "pipe")
        self.assertTrue((self.folder / "pipe").is_fifo())

    def refused_with(self, message, output):
        for arguments in (["set", "room.json", "|glass.opacity", "0.5"], ["extract", "room.json", "|robot"],
                          ["migrate", "room.json"], ["copy", "room.json", "|glass", "--to", "room.json"]):
            self.refused(message, *arguments, "-o", output)

    def test_a_folder_that_cannot_be_written_to(self):
        result = self.expect(BAD, "set", "room.json", "|glass.opacity", "0.5", "-o", "nowhere/room.json")
        self.assertIn("nowhere/room.json", result.err)


class SetReferences(SetTest):
    def test_an_attribute_that_takes_its_value_from_another(self):
        self.refused_unchanged("room.json: |robot|arm.parentWorld: takes its value from |robot.world; --disconnect ends "
                               "that reference", "|robot|arm.parentWorld", "[1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1]")
        self.done("set", "room.json", "--disconnect", "|robot|arm.parentWorld", "[1,0,0,0,0,1,0,0,0,0,1,0,7,0,0,1]",
                  "-o", "other.json")
        self.assertEqual(len(self.expect(NO, "diff", "room.json", "other.json").lines), 1)
        self.assertTrue(self.get("|robot|arm.world", "other.json").endswith("7, 1, 0, 1]"))

    def test_a_new_reference(self):
        self.done("set", "room.json", "--reference", "|robot|arm|hand.parentWorld", "|robot.world", "-o", "other.json")
        self.assertEqual(self.expect(NO, "diff", "room.json", "other.json").lines,
                         ["~ |robot|arm|hand.parentWorld: -> |robot|arm.world to -> |robot.world"])

    def test_refusals(self):
        self.refused_unchanged("room.json: |robot|arm.parentWorld: the reference would close a cycle", "--reference",
                               "|robot.parentWorld", "|robot|arm.parentWorld", "|robot|arm.parentWorld", "|robot.parentWorld")
        self.refused_unchanged("room.json: |robot: is not an attribute", "--reference", "|glass.opacity", "|robot")
        self.refused_unchanged("room.json: |leg.scale: the path leads nowhere", "--reference", "|glass.opacity", "|leg.scale")
