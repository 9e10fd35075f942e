"""info, tree, cat, get, check, stats and bench: what is in a document."""
from program import BAD, NO, ProgramTest, document, node, room


class ReadingTest(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("room.json", room())


class Info(ReadingTest):
    def test_text(self):
        lines = self.done("info", "room.json").lines
        self.assertEqual(lines[0], f"file          room.json, {len(self.read('room.json')) / 1024:.1f} KiB")
        self.assertEqual(lines[1:], ["format        KQDatabase2, version 1",
                                     "written by    Test 1.0",
                                     "content       document",
                                     "module        Scene, version 2",
                                     "module        Lights, version 3, unknown: its nodes are kept as they are",
                                     "nodes         5, 1 of unknown modules",
                                     lines[7],
                                     "references    2"])

    def test_json(self):
        info = self.done("info", "room.json", "--json").json
        self.assertEqual(info["modules"], [{"id": "Scene", "version": 2, "isKnown": True, "loadedVersion": 2},
                                           {"id": "Lights", "version": 3, "isKnown": False}])
        self.assertEqual((info["nodes"], info["unknownNodes"], info["references"], info["dynamicAttributes"]),
                         (5, 1, 2, 3))

    def test_a_byte_order_mark(self):
        self.write("marked.json", b"\xef\xbb\xbf" + room().encode())
        self.assertEqual(self.done("info", "marked.json", "--json").json["application"], "Test 1.0")


class Tree(ReadingTest):
    def test_all(self):
        self.assertEqual(self.done("tree", "room.json").lines,
                         ["robot Transform", "  arm Transform", "    hand Transform", "glass Material",
                          "left lamp Lamp of unknown module Lights"])

    def test_a_subtree(self):
        self.assertEqual(self.done("tree", "room.json", "|robot|arm").lines, ["arm Transform", "  hand Transform"])

    def test_a_path_needs_no_bar_in_front(self):
        self.assertEqual(self.done("tree", "room.json", "robot|arm").lines, ["arm Transform", "  hand Transform"])

    def test_depth(self):
        self.assertEqual(self.done("tree", "room.json", "--depth", "1").lines,
                         ["robot Transform ...", "glass Material", "left lamp Lamp of unknown module Lights"])
        self.assertEqual(self.done("tree", "room.json", "|robot", "-d", "1").lines,
                         ["robot Transform", "  arm Transform ..."])

    def test_json(self):
        nodes = self.done("tree", "room.json", "--json").json
        self.assertEqual([(n["path"], n["depth"], n["type"]) for n in nodes],
                         [("|", 0, "Scene"), ("|robot", 1, "Transform"), ("|robot|arm", 2, "Transform"),
                          ("|robot|arm|hand", 3, "Transform"), ("|glass", 1, "Material"),
                          ("|left\\ lamp", 1, "Lamp")])

    def test_an_empty_document(self):
        self.done("new", "empty.json")
        self.assertEqual(self.done("tree", "empty.json").out, "")

    def test_bad_paths(self):
        self.refused("room.json: |robot|leg: the path leads nowhere", "tree", "room.json", "|robot|leg")
        self.refused("room.json: |robot||arm: two of the characters | . : [ ] follow each other in the path", "tree",
                     "room.json", "|robot||arm")
        self.refused("room.json: |robot.scale: is an attribute, not a node", "tree", "room.json", "|robot.scale")
        self.expect(BAD, "tree", "room.json", "--depth", "-1")
        self.expect(BAD, "tree", "room.json", "--depth", "all")


class Cat(ReadingTest):
    def test_a_node(self):
        lines = self.done("cat", "room.json", "|robot|arm").lines
        self.assertEqual(lines[0], "|robot|arm Transform")
        self.assertIn("  translation  Vector3   [0, 1, 0]", lines)
        self.assertIn("  parentWorld  Matrix    [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1] -> |robot.world", lines)
        self.assertIn("  local        Matrix    [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 1, 0, 1]  (computed)", lines)
        self.assertIn("  weights      Float[3]  [0.5, 0.25, 0.25]  (dynamic)", lines)
        self.assertIn("  note         String    \"left h\u00e4nd\"  (dynamic)", lines)

    def test_only_what_is_not_at_its_default(self):
        self.assertEqual(self.done("cat", "room.json", "|glass", "--changed").lines,
                         ["|glass Material", "  shading  Enum   \"phong\"", "  opacity  Float  0.25"])

    def test_a_subtree(self):
        lines = self.done("cat", "room.json", "|robot", "--recursive", "--changed").lines
        self.assertEqual([line for line in lines if line.startswith("|")],
                         ["|robot Transform", "|robot|arm Transform", "|robot|arm|hand Transform"])

    def test_an_unknown_node(self):
        self.assertEqual(self.done("cat", "room.json", "|left\\ lamp").lines,
                         ["|left\\ lamp Lamp", "  power  Float  60", "  kind   Enum   \"bulb\""])

    def test_long_values_are_cut_unless_wanted_whole(self):
        numbers = list(range(1000))
        self.write("long.json", document(node("m", "Mesh", attributes=[["indices", "IntArray", numbers]])))
        cut = next(line for line in self.done("cat", "long.json", "|m").lines if "indices" in line)
        self.assertTrue(cut.endswith("..."), cut)
        self.assertLess(len(cut), 140)
        whole = next(line for line in self.done("cat", "long.json", "|m", "--full").lines if "indices" in line)
        self.assertTrue(whole.endswith(str(numbers)), whole)

    def test_json(self):
        arm, = self.done("cat", "room.json", "|robot|arm", "--json").json
        attributes = {entry["name"]: entry for entry in arm["attributes"]}
        self.assertEqual(attributes["parentWorld"]["reference"], "|robot.world")
        self.assertEqual(attributes["weights"], {"name": "weights", "type": "Float", "value": [0.5, 0.25, 0.25],
                                                 "isArray": True, "origin": "dynamic"})
        self.assertEqual(attributes["visibility"]["value"], False)

    def test_nothing_is_printed_when_a_path_is_wrong(self):
        self.refused("room.json: |leg: the path leads nowhere", "cat", "room.json", "|robot", "|leg")


class Get(ReadingTest):
    def test_values(self):
        result = self.done("get", "room.json", "|robot.translation", "|glass.shading", "|robot|arm.note",
                           "|robot|arm:weights", "|robot|arm:weights[1]", "|robot|arm|hand.parentWorld")
        self.assertEqual(result.lines, ["[1, 2, 3]", "\"phong\"", "\"left h\u00e4nd\"", "[0.5, 0.25, 0.25]", "0.25",
                                        "[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 3, 3, 1]"])

    def test_plain(self):
        result = self.done("get", "room.json", "|glass.shading", "|robot|arm.note", "|glass.opacity", "--plain")
        self.assertEqual(result.lines, ["phong", "left h\u00e4nd", "0.25"])

    def test_json(self):
        value, = self.done("get", "room.json", "|robot|arm.parentWorld", "--json").json
        self.assertEqual((value["path"], value["type"], value["reference"], value["value"][12:]),
                         ("|robot|arm.parentWorld", "Matrix", "|robot.world", [1, 2, 3, 1]))

    def test_bad_paths(self):
        self.refused("room.json: |robot: is a node, not an attribute; 'kqdb cat' prints nodes", "get", "room.json", "|robot")
        self.refused("room.json: |robot.size: the path leads nowhere", "get", "room.json", "|robot.size")
        self.refused("room.json: |robot|arm:weights[3]: the path leads nowhere", "get", "room.json",
                     "|robot|arm:weights[3]")


class Check(ReadingTest):
    def test_nothing_to_find(self):
        self.write("good.json", document(node("robot")))
        self.assertEqual(self.done("check", "good.json").out, "good.json: nothing to find fault with\n")
        self.assertEqual(self.done("check", "good.json", "--json").json, {"findings": [], "count": 0})

    def test_unknown_nodes(self):
        self.assertEqual(self.expect(NO, "check", "room.json").lines,
                         ["unknown: |left\\ lamp: of the type Lamp of the unknown module Lights", "room.json: 1 finding"])

    def test_values_beyond_their_limits(self):
        self.write("odd.json", document(
            node("glass", "Material", attributes=[["opacity", "Float", 1.5], ["roughness", "Float", "NaN"],
                                                  ["shading", "Enum", 99]]),
            node("n", dynamic=[["bend", "Float", {"min": 0, "max": 1.5}, -1]])))
        self.assertEqual(self.expect(NO, "check", "odd.json").lines,
                         ["limit: |glass.shading: 99 names no choice",
                          "limit: |glass.roughness: \"NaN\" is not within limits",
                          "limit: |glass.opacity: 1.5 is above the limit 1",
                          "limit: |n.bend: -1 is below the limit 0", "odd.json: 4 findings"])

    def test_legacy_data(self):
        self.write("odd.json", document(node("glass", "Material", attributes=[["gloss", "Float", 1]]),
                                        node("old", "Gadget", attributes=[["x", "Int", 1]])))
        self.assertEqual(self.expect(NO, "check", "odd.json").lines,
                         ["legacy: |glass.gloss: no migrator dealt with this former attribute of type Float",
                          "legacy: |old: no migrator dealt with this node of the former type Gadget",
                          "odd.json: 2 findings"])

    def test_what_could_not_be_loaded(self):
        self.write("odd.json", document(node("glass", "Material", attributes=[["shading", "Enum", "shiny"]])))
        lines = self.expect(NO, "check", "odd.json").lines
        self.assertRegex(lines[0], r"^loss: line 1, column \d+, nodes\[0\]\.attributes\[0\]\[2\]: "
                                   r"'shiny' is no choice of 'shading', which keeps its default$")
        finding, = self.expect(NO, "check", "odd.json", "--json").json["findings"]
        self.assertEqual(finding["kind"], "loss")

    @staticmethod
    def number(count):
        return f"{count:,}".replace(",", " ")

    def lost(self, *nodes):
        """Checks a document with references that cannot be made. @return the lines of the report."""
        self.write("odd.json", document(*nodes))
        result = self.expect(BAD, "check", "odd.json")
        findings = sum(line.startswith("reference: ") for line in result.lines)
        self.assertEqual(result.err, "kqdb: odd.json: cannot be loaded because of "
                                     f"{self.number(findings)} reference{'s' if findings > 1 else ''}\n")
        return result.lines

    def test_a_reference_that_leads_nowhere(self):
        self.assertEqual(self.lost(node("arm", attributes=[["parentWorld", "Matrix ->", "|robot.world"]])),
                         ["reference: |arm.parentWorld: references '|robot.world': the path leads nowhere",
                          "odd.json: 1 finding"])
        self.refused("odd.json: Failed to resolve attribute path '|robot.world'", "tree", "odd.json")

    def test_each_reference_that_cannot_be_made(self):
        lines = self.lost(
            node("robot", attributes=[["parentWorld", "Matrix ->", "|robot"]]),
            node("arm", depth=1, attributes=[["parentWorld", "Matrix ->", "|robot.world"]]),
            node("hand", depth=2, attributes=[["parentWorld", "Matrix ->", "|robot|arm."]],
                 dynamic=[["bend", "Float ->", "|robot|arm|hand.bend"],
                          ["weights", "Float[?]", 3, [0, 0.5], ["->", 2, "|robot.gone"]]]),
            node("glass", "Material", attributes=[["opacity", "Float", 1.5]]))
        self.assertEqual(lines, [
            "reference: |robot.parentWorld: references '|robot': the path does not lead to an attribute",
            "reference: |robot|arm|hand.parentWorld: references '|robot|arm.': the path ends too early",
            "reference: |robot|arm|hand.bend: references '|robot|arm|hand.bend': an attribute cannot reference itself",
            "reference: |robot|arm|hand:weights[2]: references '|robot.gone': the path leads nowhere",
            "limit: |glass.opacity: 1.5 is above the limit 1", "odd.json: 5 findings"])

    def test_lost_references_as_json(self):
        self.write("odd.json", document(node("arm", attributes=[["parentWorld", "Matrix ->", "|r\u00f6b\x1bot.world"]])))
        result = self.expect(BAD, "check", "odd.json", "--json")
        self.assertEqual(result.json, {"findings": [{
            "kind": "reference", "path": "|arm.parentWorld", "reference": "|r\u00f6b\x1bot.world",
            "text": "references '|r\u00f6b\\u001bot.world': the path leads nowhere"}], "count": 1})

    def test_very_many_lost_references(self):
        count = 3000
        lines = self.lost(*(node(f"n{i}", attributes=[["parentWorld", "Matrix ->", f"|m{i}.world"]]) for i in range(count)))
        self.assertEqual(lines[-2:], [f"reference: |n{count - 1}.parentWorld: references '|m{count - 1}.world': "
                                      "the path leads nowhere", f"odd.json: {self.number(count)} findings"])


class Stats(ReadingTest):
    def test_text(self):
        lines = self.done("stats", "room.json").lines
        self.assertRegex(lines[1], r"^  Lamp +1 +\d+ B$")
        self.assertRegex("\n".join(lines), r"(?m)^  Transform +3 +[\d.]+ (Ki)?B$")
        self.assertIn("  2 references, 3 levels", lines)

    def test_json(self):
        stats = self.done("stats", "room.json", "--json").json
        self.assertEqual({entry["type"]: entry["count"] for entry in stats["nodes"]},
                         {"Lamp": 1, "Material": 1, "Transform": 3})
        self.assertEqual((stats["nodeCount"], stats["references"], stats["levels"]), (5, 2, 3))
        self.assertTrue(all(entry["bytes"] > 0 for entry in stats["nodes"]))
        self.assertGreater(stats["peakMemory"], 100000)


class Bench(ReadingTest):
    def test_steps(self):
        before = self.read("room.json")
        result = self.done("bench", "room.json", "--rounds", "2", "--json").json
        self.assertEqual([step["step"] for step in result["steps"]],
                         ["load", "walk", "write a value of each node", "commit", "undo", "redo", "save"])
        self.assertEqual((result["nodes"], result["rounds"]), (5, 2))
        for step in result["steps"]:
            self.assertGreaterEqual(step["medianSeconds"], step["fastestSeconds"])
        self.assertEqual(self.read("room.json"), before)
        self.assertEqual(self.files(), ["room.json"])

    def test_text(self):
        self.assertRegex(self.done("bench", "room.json", "-r", "1").lines[1], r"^  load +\d+\.\d{3} ms fastest +")

    def test_bad_rounds(self):
        self.expect(BAD, "bench", "room.json", "--rounds", "0")
