"""import: documents of 3D models."""
from program import BAD, ProgramTest, document, node

TRIANGLE = "o triangle\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"


class Import(ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("triangle.obj", TRIANGLE)

    def test_a_model(self):
        result = self.done("import", "triangle.obj", "-o", "triangle.json")
        self.assertRegex(result.lines[0], r"^triangle\.obj \(.+\): \d+ nodes, .*1 mesh, 3 vertices, 1 face")
        self.done("check", "triangle.json")
        self.assertEqual(len(self.done("find", "triangle.json", "--type", "Mesh").lines), 1)
        self.assertEqual(self.done("tree", "triangle.json", "--depth", "1").lines, ["triangle Folder ..."])

    def test_json(self):
        report, = self.done("import", "triangle.obj", "-o", "triangle.json", "--json").json
        self.assertEqual((report["model"], report["path"], report["counts"]["vertices"]), ("triangle.obj", "|triangle", 3))
        self.assertIsInstance(report["remarks"], list)

    def test_several_into_a_document(self):
        self.write("quad.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n")
        self.write("room.json", document(node("room", "Folder")))
        self.done("import", "triangle.obj", "quad.obj", "--into", "room.json", "--under", "|room", "-o", "full.json")
        lines = self.done("tree", "full.json", "--depth", "2").lines
        self.assertEqual([line for line in lines if not line.startswith("    ")],
                         ["room Folder", "  triangle Folder ...", "  quad Folder ..."])
        self.assertEqual(self.done("find", "room.json", "--count").out, "1\n")

    def test_the_same_model_twice(self):
        self.done("import", "triangle.obj", "-o", "one.json")
        self.done("import", "triangle.obj", "-o", "two.json")
        self.assertEqual(self.read("one.json"), self.read("two.json"))

    def test_a_file_that_is_there_stays(self):
        self.write("out.json", document())
        self.refused("out.json: the file is there already; --force replaces it", "import", "triangle.obj", "-o", "out.json")
        self.done("import", "triangle.obj", "-o", "out.json", "--force")

    def test_broken_models(self):
        self.write("broken.gltf", "{\"asset\": ")
        self.write("empty.obj", "")
        self.write("text.xyz", "no model")
        for name in ("broken.gltf", "empty.obj", "text.xyz", "missing.obj"):
            result = self.expect(BAD, "import", name, "-o", "out.json")
            self.assertTrue(result.err.startswith(f"kqdb: {name}: "), result.err)
        result = self.expect(BAD, "import", "triangle.obj", "broken.gltf", "-o", "out.json")
        self.assertNotIn("out.json", self.files())

    def test_bad_use(self):
        self.expect(BAD, "import", "triangle.obj")
        self.refused("missing.json: there is no such file", "import", "triangle.obj", "--into", "missing.json", "-o",
                     "out.json")
        self.expect(BAD, "import", "triangle.obj", "-o", "out.json", "--under", "|leg")
        self.assertEqual(self.files(), ["triangle.obj"])
