"""find: nodes by name, type and value."""
import random
import re

from program import BAD, NO, ProgramTest, document, node, room


class Find(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("room.json", room())

    def found(self, *arguments):
        return self.done("find", "room.json", *arguments).lines

    def test_everything(self):
        self.assertEqual(self.found(), ["|robot", "|robot|arm", "|robot|arm|hand", "|glass", "|left\\ lamp"])

    def test_by_name(self):
        self.assertEqual(self.found("--name", "*a*"), ["|robot|arm", "|robot|arm|hand", "|glass", "|left\\ lamp"])
        self.assertEqual(self.found("-n", "?a?d"), ["|robot|arm|hand"])
        self.assertEqual(self.found("-n", "left lamp"), ["|left\\ lamp"])

    def test_by_type_and_module(self):
        self.assertEqual(self.found("--type", "M*"), ["|glass"])
        self.assertEqual(self.found("--module", "Lights"), ["|left\\ lamp"])
        self.assertEqual(self.found("--unknown"), ["|left\\ lamp"])

    def test_below_a_node(self):
        self.assertEqual(self.found("|robot|arm", "--type", "Transform"), ["|robot|arm", "|robot|arm|hand"])

    def test_by_attribute(self):
        self.assertEqual(self.found("--attribute", "wei*"), ["|robot|arm"])
        self.assertEqual(self.found("--attribute", "opacity", "--type", "Material"), ["|glass"])

    def test_by_value(self):
        for condition, paths in (("visibility=false", ["|robot|arm"]),
                                 ("visibility!=false", ["|robot", "|robot|arm|hand"]),
                                 ("translation=[1, 2, 3]", ["|robot"]),
                                 ("opacity=0.25", ["|glass"]),
                                 ("opacity<=0.25", ["|glass"]),
                                 ("power>59.5", ["|left\\ lamp"]),
                                 ("power>=6e1", ["|left\\ lamp"]),
                                 ("shading=phong", ["|glass"]),
                                 ("shading~ph*", ["|glass"]),
                                 ("kind=bulb", ["|left\\ lamp"]),
                                 ("note=left h\u00e4nd", ["|robot|arm"]),
                                 ("note=\"left h\\u00e4nd\"", ["|robot|arm"]),
                                 ("note~*h?nd", ["|robot|arm"])):
            self.assertEqual(self.found("--where", condition), paths, condition)

    def test_all_conditions_must_hold(self):
        self.assertEqual(self.found("-w", "opacity>0", "-w", "opacity<1"), ["|glass"])
        self.expect(NO, "find", "room.json", "-w", "opacity>0", "-w", "opacity<0.1")

    def test_legacy_data(self):
        self.write("odd.json", document(node("a"), node("glass", "Material", attributes=[["gloss", "Float", 1]]),
                                        node("old", "Gadget")))
        self.assertEqual(self.done("find", "odd.json", "--legacy").lines, ["|glass", "|old"])
        self.assertEqual(self.done("find", "odd.json", "-w", "gloss=1").lines, ["|glass"])

    def test_nothing_found(self):
        self.assertEqual(self.expect(NO, "find", "room.json", "--name", "leg").out, "")
        self.assertEqual(self.expect(NO, "find", "room.json", "--name", "leg", "--json").json, [])
        self.assertEqual(self.expect(NO, "find", "room.json", "-w", "kind=tube").out, "")

    def test_count(self):
        self.assertEqual(self.found("--type", "Transform", "--count"), ["3"])
        self.assertEqual(self.expect(NO, "find", "room.json", "--type", "x", "--count").out, "0\n")

    def test_json(self):
        self.assertEqual(self.done("find", "room.json", "--type", "Lamp", "--json").json,
                         [{"path": "|left\\ lamp", "name": "left lamp", "type": "Lamp"}])

    def test_bad_conditions(self):
        for condition, message in (("opacity", "expected NAME=VALUE, or !=, <, <=, >, >=, ~ in place of ="),
                                   ("=1", "expected NAME=VALUE, or !=, <, <=, >, >=, ~ in place of ="),
                                   ("opacity!1", "expected != instead of !"),
                                   ("opacity<much", "expected a number behind the comparison"),
                                   ("opacity<", "expected a number behind the comparison")):
            self.refused(f"--where '{condition}': {message}", "find", "room.json", "--where", condition)

    def test_patterns_that_could_take_forever(self):
        self.write("long.json", document(node("a" * 5000)))
        self.expect(NO, "find", "long.json", "--name", "a*" * 50 + "b")

    def test_random_patterns_against_regular_expressions(self):
        seed = random.randrange(2**32)
        rng = random.Random(seed)
        names = sorted({"".join(rng.choices("ab", k=rng.randint(1, 7))) for _ in range(60)})
        self.write("names.json", document(*(node(name) for name in names)))
        for _ in range(40):
            pattern = "".join(rng.choices("ab**?", k=rng.randint(1, 7)))
            expression = re.compile(pattern.replace("*", ".*").replace("?", "."))
            with self.subTest(seed=seed, pattern=pattern):
                found = self.run_program("find", "names.json", "--name", pattern).lines
                self.assertEqual(found, ["|" + name for name in names if expression.fullmatch(name)])

    def test_a_wrong_path(self):
        self.refused("room.json: |leg: the path leads nowhere", "find", "room.json", "|leg")
        self.expect(BAD, "find", "room.json", "--size", "3")
