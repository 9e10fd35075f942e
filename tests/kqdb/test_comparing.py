"""diff: what two documents differ in."""
import copy
import random

from program import BAD, NO, ProgramTest, document, node, room


class Diff(ProgramTest):
    def diff(self, first, second, *options):
        """The lines for two documents that differ, and with the sides changed as many."""
        self.write("a.json", first)
        self.write("b.json", second)
        lines = self.expect(NO, "diff", "a.json", "b.json", *options).lines
        self.assertEqual(len(self.expect(NO, "diff", "b.json", "a.json", *options).lines), len(lines))
        self.assertEqual(self.expect(NO, "diff", "a.json", "b.json", "--json", *options).json["count"], len(lines))
        return lines

    def same(self, first, second, *options):
        self.write("a.json", first)
        self.write("b.json", second)
        self.assertEqual(self.done("diff", "a.json", "b.json", *options).out, "")

    def material(self, **attributes):
        return document(node("m", "Material", attributes=[[name, *entry] for name, entry in attributes.items()]))

    def test_a_document_and_itself(self):
        self.same(room(), room())
        self.assertEqual(self.done("diff", "a.json", "a.json", "--json").json,
                         {"first": "a.json", "second": "a.json", "differences": [], "count": 0})

    def test_a_value_and_its_default(self):
        self.assertEqual(self.diff(self.material(), self.material(opacity=("Float", 0.5))), ["~ |m.opacity: 1 to 0.5"])
        self.same(self.material(), self.material(opacity=("Float", 1)))

    def test_tolerance(self):
        first = self.material(opacity=("Float", 0.5), baseColour=("Colour", [1, 0, 0, 1]))
        second = self.material(opacity=("Float", 0.501), baseColour=("Colour", [1, 0.0005, 0, 1]))
        self.assertEqual(len(self.diff(first, second)), 2)
        self.assertEqual(self.diff(first, second, "--tolerance", "0.0007"), ["~ |m.opacity: 0.5 to 0.501"])
        self.same(first, second, "-t", "0.0011")
        self.expect(BAD, "diff", "a.json", "b.json", "--tolerance", "-1")

    def test_bits_count_without_tolerance(self):
        zero, minus = self.material(metallic=("Float", 0)), self.material(metallic=("Float", -0.0))
        self.assertEqual(self.diff(zero, minus), ["~ |m.metallic: 0 to -0"])
        self.same(zero, minus, "--tolerance", "1e-9")
        self.same(self.material(metallic=("Float", "NaN")), self.material(metallic=("Float", "NaN")))

    def test_values_of_every_type(self):
        for type_name, first, second in (
                ("Int", 1, 2), ("Bool", True, False), ("Float", 1, 2), ("Double", 1, 2), ("String", "a", "b"),
                ("Colour", [1, 2, 3, 4], [1, 2, 3, 5]), ("Vector3", [1, 2, 3], [1, 2, 4]), ("Quat", [1, 2, 3, 4], [1, 2, 3, 5]),
                ("Matrix", list(range(16)), list(range(1, 17))), ("VertexBuffer", [["p", 1, [1]]], [["p", 1, [2]]]),
                ("IntArray", [1], [2]), ("BoolArray", [True], [False]), ("FloatArray", [1], [2]), ("DoubleArray", [1], [2]),
                ("StringArray", ["a"], ["b"]), ("ColourArray", [1, 2, 3, 4], [1, 2, 3, 5]), ("Vector3Array", [1, 2, 3], []),
                ("QuatArray", [1, 2, 3, 4], [1, 2, 3, 5]), ("MatrixArray", list(range(16)), list(range(1, 17))),
                ("Float[]", [1, 2], [1, 2, 3])):
            one = document(node("n", dynamic=[["x", type_name, first]]))
            other = document(node("n", dynamic=[["x", type_name, second]]))
            self.same(one, one)
            self.assertEqual(len(self.diff(one, other)), 1, type_name)

    def test_an_item_of_an_array(self):
        first = document(node("n", dynamic=[["x", "Float[]", [1, 2, 3]]]))
        second = document(node("n", dynamic=[["x", "Float[]", [1, 5, 3]]]))
        self.assertEqual(self.diff(first, second), ["~ |n:x[1]: 2 to 5"])

    def test_nodes_that_only_one_has(self):
        first = document(node("a"), node("b", depth=1), node("c", depth=2), node("d", "Folder"))
        second = document(node("a"), node("e", "Material"), node("d", "Folder"))
        self.assertEqual(self.diff(first, second), ["+ |e (Material)", "- |a|b (Transform, 2 nodes)"])

    def test_another_type(self):
        self.assertEqual(self.diff(document(node("a", "Folder")), document(node("a", "Scene"))),
                         ["~ |a: type Folder to type Scene"])

    def test_order(self):
        first = document(node("a"), node("b"), node("c"))
        second = document(node("c"), node("x"), node("a"), node("b"))
        self.assertEqual(self.diff(first, second), ["+ |x (Transform)", "~ |: its children are reordered"])
        self.assertEqual(self.diff(first, second, "--ignore-order"), ["+ |x (Transform)"])
        self.same(first, document(node("c"), node("b"), node("a")), "--ignore-order")

    def test_dynamic_attributes(self):
        plain = document(node("a"))
        self.assertEqual(self.diff(plain, document(node("a", dynamic=[["x", "Int", 3]]))), ["+ |a.x (Int): 3"])
        limited = document(node("a", dynamic=[["x", "Int", {"max": 9}, 3]]))
        self.assertEqual(self.diff(document(node("a", dynamic=[["x", "Int", 3]])), limited),
                         ["~ |a.x: defined as Int to defined otherwise as Int"])

    def test_references(self):
        def arm(path, mark="->"):
            return document(node("a"), node("b"), node("arm", attributes=[["parentWorld", f"Matrix {mark}", path]]))
        self.assertEqual(self.diff(arm("|a.world"), arm("|b.world")), ["~ |arm.parentWorld: -> |a.world to -> |b.world"])
        self.assertEqual(self.diff(arm("|a.world"), arm("|a.local")), ["~ |arm.parentWorld: -> |a.world to -> |a.local"])
        self.assertEqual(self.diff(arm("|a.world"), arm("|a.world", "=>")),
                         ["~ |arm.parentWorld: -> |a.world to => |a.world"])

    def test_computed_attributes_are_left_out_unless_wanted(self):
        first = document(node("a", attributes=[["translation", "Vector3", [1, 0, 0]]]))
        second = document(node("a", attributes=[["translation", "Vector3", [2, 0, 0]]]))
        self.assertEqual(self.diff(first, second), ["~ |a.translation: [1, 0, 0] to [2, 0, 0]"])
        self.assertEqual(len(self.diff(first, second, "--computed")), 3)

    def test_choices_are_compared_by_their_texts(self):
        def lamp(*kinds):
            return document(*(node(f"l{i}", "Lamp", module="Lights", attributes=[["kind", "Enum", kind]])
                              for i, kind in enumerate(kinds)), modules=(("Lights", 1),))
        self.same(lamp("bulb", "tube"), lamp("bulb", "tube"))
        self.assertEqual(self.diff(lamp("bulb", "tube"), lamp("bulb", "bulb")), ["~ |l1.kind: \"tube\" to \"bulb\""])
        self.assertEqual(self.diff(lamp("bulb"), lamp("tube")), ["~ |l0.kind: \"bulb\" to \"tube\""])

    def test_unknown_and_legacy_data(self):
        first = document(node("glass", "Material", attributes=[["gloss", "Float", 1]]), node("old", "Gadget"))
        second = document(node("glass", "Material", attributes=[["gloss", "Float", 2]]))
        self.assertEqual(self.diff(first, second), ["~ |glass.gloss: 1 to 2", "- |old (Gadget)"])

    def test_json(self):
        self.diff(self.material(), self.material(opacity=("Float", 0.5)))
        difference, = self.expect(NO, "diff", "a.json", "b.json", "--json").json["differences"]
        self.assertEqual(difference, {"kind": "value", "path": "|m.opacity", "from": {"type": "Float", "value": 1},
                                      "to": {"type": "Float", "value": 0.5}})

    def test_quiet(self):
        self.write("a.json", self.material())
        self.write("b.json", self.material(opacity=("Float", 0.5)))
        self.assertEqual(self.expect(NO, "diff", "a.json", "b.json", "--quiet").out, "")
        self.assertEqual(self.done("diff", "a.json", "a.json", "--quiet").out, "")

    def test_a_missing_document(self):
        self.write("a.json", room())
        self.refused("b.json: there is no such file", "diff", "a.json", "b.json")


class Tree:
    """A naive model of a document: nested nodes with values."""

    def __init__(self, rng):
        self.rng = rng
        self.children = []  # [name, {"visible": bool, "x": number or None, "children": [...]}], in order
        self.count = 0
        for _ in range(rng.randint(3, 12)):
            self.add()

    def lists(self):
        """Every list of children, the root's first."""
        found = [self.children]
        for children in found:
            found.extend(node["children"] for _, node in children)
        return found

    def nodes(self):
        return [(children, entry) for children in self.lists() for entry in children]

    def add(self):
        self.count += 1
        children = self.rng.choice(self.lists())
        entry = [f"n{self.count}", {"visible": True, "x": self.rng.choice([None, 1, 2.5]), "children": []}]
        children.insert(self.rng.randint(0, len(children)), entry)

    def edit(self):
        if not self.children:  # all of it was removed
            return self.add()
        children, (name, node) = self.rng.choice(self.nodes())
        kind = self.rng.randrange(5)
        if kind == 0:
            node["visible"] = not node["visible"]
        elif kind == 1:
            node["x"] = self.rng.choice([None, 1, 2.5, 4])
        elif kind == 2 and len(self.nodes()) > 1:
            children.remove([name, node])
        elif kind == 3:
            self.rng.shuffle(children)
        else:
            self.add()
        return None

    def document(self):
        def walk(children, depth):
            for name, values in children:
                attributes = [] if values["visible"] else [["visibility", "Bool", False]]
                dynamic = [] if values["x"] is None else [["x", "Float", values["x"]]]
                yield node(name, depth=depth, attributes=attributes, dynamic=dynamic)
                yield from walk(values["children"], depth + 1)
        return document(*walk(self.children, 0))


def naive_difference(a, b, path=""):
    """(kind, path) of each difference between two lists of children."""
    left, right = dict(a), dict(b)
    found = {("nodeRemoved", f"{path}|{name}") for name in left.keys() - right.keys()}
    found |= {("nodeAdded", f"{path}|{name}") for name in right.keys() - left.keys()}
    if [name for name, _ in a if name in right] != [name for name, _ in b if name in left]:
        found.add(("order", path or "|"))
    for name in left.keys() & right.keys():
        here = f"{path}|{name}"
        if left[name]["visible"] != right[name]["visible"]:
            found.add(("value", here + ".visibility"))
        x, y = left[name]["x"], right[name]["x"]
        if x != y:
            found.add(("attributeAdded" if x is None else "attributeRemoved" if y is None else "value", here + ".x"))
        found |= naive_difference(left[name]["children"], right[name]["children"], here)
    return found


class RandomTrees(ProgramTest):
    def test_against_a_naive_comparison(self):
        seed = random.randrange(2**32)
        rng = random.Random(seed)
        for round_number in range(40):
            first = Tree(rng)
            second = copy.deepcopy(first)
            second.rng = rng
            for _ in range(rng.randint(0, 6)):
                second.edit()
            self.write("a.json", first.document())
            self.write("b.json", second.document())
            expected = naive_difference(first.children, second.children)
            with self.subTest(seed=seed, round=round_number):
                result = self.expect(NO if expected else 0, "diff", "a.json", "b.json", "--json")
                differences = [(entry["kind"], entry["path"]) for entry in result.json["differences"]]
                self.assertEqual(len(differences), len(set(differences)))
                self.assertEqual(set(differences), expected)
