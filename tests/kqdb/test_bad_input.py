"""Files that are no documents: every command says so, with exit code 2, and changes nothing."""
import random

from program import BAD, NO, ProgramTest, document, node, room

COMMANDS = {
    "info": ["info", "bad"],
    "tree": ["tree", "bad"],
    "cat": ["cat", "bad", "|robot"],
    "find": ["find", "bad"],
    "get": ["get", "bad", "|robot.scale"],
    "set": ["set", "bad", "|robot.scale", "[1,1,1]"],
    "check": ["check", "bad"],
    "diff": ["diff", "good", "bad"],
    "migrate": ["migrate", "bad", "-o", "out"],
    "copy": ["copy", "bad", "|robot", "--to", "good"],
    "copy to": ["copy", "good", "|robot", "--to", "bad"],
    "extract": ["extract", "bad", "|robot", "-o", "out"],
    "graph": ["graph", "bad"],
    "stats": ["stats", "bad"],
    "bench": ["bench", "bad"],
}


class BadInput(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("good", room())

    def refuses(self, content, message):
        """Every command refuses a file of this content with just this message."""
        self.write("bad", content)
        before = self.read("bad")
        for name, arguments in COMMANDS.items():
            result = self.expect(BAD, *arguments)
            self.assertEqual(result.err, f"kqdb: bad: {message}\n", name)
            self.assertEqual(result.out, "", name)
        self.assertEqual(self.read("bad"), before)
        self.assertEqual(self.read("good"), room().encode())
        self.assertEqual(self.files(), ["bad", "good"])

    def test_a_missing_file(self):
        for arguments in COMMANDS.values():
            result = self.expect(BAD, *arguments)
            self.assertEqual(result.err, "kqdb: bad: there is no such file\n")
        self.assertEqual(self.files(), ["good"])

    def test_a_folder(self):
        (self.folder / "bad").mkdir()
        for arguments in COMMANDS.values():
            self.assertEqual(self.expect(BAD, *arguments).err, "kqdb: bad: is a folder, not a document\n")

    def test_an_empty_file(self):
        self.refuses("", "the file is empty")

    def test_no_json(self):
        self.refuses("Dear reader,\n", "line 1, column 1: expected an object")

    def test_json_of_something_else(self):
        self.refuses("{\"name\": 3}", "line 1, column 2: expected the key \"identifier\"")

    def test_a_wrong_value_has_its_place(self):
        text = document(node("robot")).replace("\"depth\": 0", "\n  \"depth\": true")
        self.refuses(text, "line 2, column 12, nodes[0].depth: expected an integer")

    def test_a_format_of_the_future(self):
        text = document(node("robot"), loaderVersion=99)
        self.write("bad", text)
        self.assertTrue(self.expect(BAD, "tree", "bad").err.startswith("kqdb: bad: "))

    def test_deep_nesting(self):
        self.write("bad", "[" * 1000000)
        self.expect(BAD, "info", "bad")
        self.write("bad", "{\"identifier\": \"KQDatabase2\", \"loaderVersion\": 1, \"x\": " + "[" * 1000000)
        self.expect(BAD, "info", "bad")

    def test_every_truncation_of_a_document(self):
        text = room().encode()
        seed = random.randrange(2**32)
        for size in random.Random(seed).sample(range(1, len(text) - 1), 30):
            self.write("bad", text[:size])
            with self.subTest(seed=seed, size=size):
                self.expect(BAD, "check", "bad")

    def test_random_damage_is_an_error_or_another_document(self):
        text = room().encode()
        seed = random.randrange(2**32)
        rng = random.Random(seed)
        for round_number in range(60):
            damaged = bytearray(text)
            for _ in range(rng.randint(1, 4)):
                damaged[rng.randrange(len(damaged))] = rng.randrange(256)
            self.write("bad", bytes(damaged))
            with self.subTest(seed=seed, round=round_number):
                self.assertIn(self.run_program("check", "bad").code, (0, NO, BAD))
