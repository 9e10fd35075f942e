"""migrate: documents of older versions."""
import json

from program import BAD, NO, ProgramTest, document, node


def old_scene():
    return document(
        node("camera", "Camera", attributes=[["fov", "Float", 90]]),
        node("pivot", "Null", attributes=[["visible", "Bool", False]]),
        node("bulb", "Light", depth=1, attributes=[["kind", "Enum", "omni"]]), modules=(("Scene", 1),))


def scene_with_left_overs():
    return document(node("pivot", "Null"), node("mark", "Locator", attributes=[["size", "Float", 2]]),
                    modules=(("Scene", 1),))


class Migrate(ProgramTest):
    def test_dry_run_writes_nothing(self):
        self.write("old.json", old_scene())
        self.assertEqual(self.done("migrate", "old.json", "--dry-run").lines,
                         ["migrated Scene to version 2", "nothing was written"])
        self.done("migrate", "old.json", "--dry-run", "-o", "new.json")
        self.assertEqual(self.read("old.json"), old_scene().encode())
        self.assertEqual(self.files(), ["old.json"])

    def test_in_place(self):
        self.write("old.json", old_scene())
        self.assertEqual(self.done("migrate", "old.json").lines, ["migrated Scene to version 2", "saved old.json"])
        saved = json.loads(self.read("old.json"))
        self.assertEqual(saved["modules"], [["Scene", 2, []]])
        self.assertEqual([n["type"] for n in saved["nodes"]], ["Camera", "Transform", "Light"])
        self.assertEqual(self.done("get", "old.json", "|pivot.visibility", "|pivot|bulb.kind").lines, ["false", "\"point\""])
        self.assertEqual(self.done("get", "old.json", "|camera.fieldOfView").out[:6], "1.5707")

    def test_to_another_file(self):
        self.write("old.json", old_scene())
        self.done("migrate", "old.json", "-o", "new.json")
        self.assertEqual(self.read("old.json"), old_scene().encode())
        self.done("diff", "old.json", "new.json")

    def test_a_document_that_is_up_to_date(self):
        text = document(node("a"))
        self.write("new.json", text)
        self.assertEqual(self.done("migrate", "new.json").out, "new.json: is up to date\n")
        self.assertEqual(self.read("new.json"), text.encode())
        self.assertEqual(self.done("migrate", "new.json", "-o", "copy.json").lines,
                         ["new.json: is up to date", "saved copy.json"])

    def test_what_no_migrator_dealt_with_stays(self):
        self.write("old.json", scene_with_left_overs())
        self.assertEqual(self.expect(NO, "migrate", "old.json", "-o", "new.json").lines,
                         ["migrated Scene to version 2", "left over: 1 node", "left over: 1 attribute", "saved new.json"])
        self.assertEqual(self.done("find", "new.json", "--legacy").lines, ["|mark"])
        self.assertEqual(self.done("get", "new.json", "|mark.size").out, "2\n")

    def test_json(self):
        self.write("old.json", scene_with_left_overs())
        self.assertEqual(self.expect(NO, "migrate", "old.json", "--dry-run", "--json").json,
                         {"migrators": [{"module": "Scene", "version": 2}], "leftOverNodes": 1, "leftOverAttributes": 1,
                          "lostReferences": 0, "isWritten": False})

    def test_references_that_would_be_lost(self):
        text = document(node("mark", "Locator", attributes=[["size", "Float", 2]]),
                        node("glass", "Material", attributes=[["opacity", "Float ->", "|mark.size"]]),
                        modules=(("Scene", 1),))
        self.write("old.json", text)
        result = self.expect(BAD, "migrate", "old.json")
        self.assertIn("--allow-loss", result.err)
        self.assertEqual(self.read("old.json"), text.encode())
        self.assertIn("lost: 1 reference", self.expect(NO, "migrate", "old.json", "--dry-run").lines)
        self.expect(NO, "migrate", "old.json", "--allow-loss")
        self.assertNotEqual(self.read("old.json"), text.encode())

    def test_info_says_what_will_be_migrated(self):
        self.write("old.json", old_scene())
        self.assertIn("module        Scene, version 1, migrated to 2 when loaded", self.done("info", "old.json").lines)

    def test_a_document_of_a_newer_version(self):
        self.write("new.json", document(node("a"), modules=(("Scene", 99),)))
        result = self.expect(BAD, "migrate", "new.json")
        self.assertTrue(result.err.startswith("kqdb: new.json: "), result.err)
