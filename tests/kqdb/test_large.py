"""Large documents: wide ones, and chains far deeper than a path or a call stack."""
from program import NO, ProgramTest, document, node

DEPTH = 20000
WIDTH = 20000


class Chain(ProgramTest):
    def setUp(self):
        super().setUp()
        nodes = [node(f"n{i}", depth=i, attributes=[["translation", "Vector3", [1, 0, 0]]])
                 for i in range(DEPTH)]
        self.write("chain.json", document(*nodes))

    def test_tree(self):
        lines = self.done("tree", "chain.json").lines
        self.assertEqual(len(lines), DEPTH)
        self.assertEqual(lines[-1].strip(), f"[{DEPTH - 1}] n{DEPTH - 1} Transform")

    def test_find_and_paths(self):
        self.assertEqual(self.done("find", "chain.json", "--name", "n400").out.count("|"), 401)
        self.assertEqual(self.done("find", "chain.json", "--name", f"n{DEPTH - 1}").out,
                         f"...|n{DEPTH - 2}|n{DEPTH - 1}\n")
        self.assertEqual(len(self.done("find", "chain.json").lines), DEPTH)

    def test_check_and_stats(self):
        self.done("check", "chain.json")
        self.assertEqual(self.done("stats", "chain.json", "--json").json["levels"], DEPTH)

    def test_diff_migrate_and_extract(self):
        self.done("diff", "chain.json", "chain.json")
        self.done("extract", "chain.json", "|n0|n1", "-o", "part.json")
        self.assertEqual(self.done("find", "part.json", "--count").out, f"{DEPTH - 1}\n")
        self.done("copy", "chain.json", "|n0|n1", "--to", "part.json")
        self.assertEqual(self.done("find", "part.json", "--count").out, f"{2 * (DEPTH - 1)}\n")

    def test_a_long_path(self):
        path = "".join(f"|n{i}" for i in range(5000))
        self.assertEqual(self.done("get", "chain.json", path + ".visibility").out, "true\n")


class Wide(ProgramTest):
    def test_all(self):
        self.write("wide.json", document(*(node(f"n{i}") for i in range(WIDTH))))
        self.assertEqual(len(self.done("tree", "wide.json").lines), WIDTH)
        self.done("set", "wide.json", f"|n{WIDTH - 1}.visibility", "false", "-o", "other.json")
        self.assertEqual(self.expect(NO, "diff", "wide.json", "other.json").lines, [f"~ |n{WIDTH - 1}.visibility: true to false"])

    def test_a_node_with_many_dynamic_attributes(self):
        entries = [[f"x{i}", "Int", i] for i in range(WIDTH)]
        self.write("many.json", document(node("n", dynamic=entries)))
        self.done("diff", "many.json", "many.json")
        self.assertEqual(len(self.done("cat", "many.json", "|n", "--changed").lines), WIDTH)
