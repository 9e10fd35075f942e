"""The command "demo": its checks, and the page that it writes."""
import html.parser
import pathlib
import xml.etree.ElementTree

from program import BAD, DONE, ProgramTest, document, node, room

PROJECT = pathlib.Path(__file__).resolve().parents[2]
OLD_SCENE = PROJECT / "examples/data/scene_v1.json"
MODEL = PROJECT / "examples/data/desk_lamp.gltf"
VOID = {"meta", "br", "link", "img"}


class Page(html.parser.HTMLParser):
    """Notes what stands open, what a page asks of the network, and its texts."""

    def __init__(self, text):
        super().__init__()
        self.open, self.faults, self.addresses, self.texts = [], [], [], []
        self.feed(text)
        self.close()
        if self.open:
            self.faults.append(f"not closed: {self.open}")

    def handle_starttag(self, tag, attributes):
        self.addresses += [value for name, value in attributes if name in ("src", "href", "action", "data")]
        if tag not in VOID:
            self.open.append(tag)

    def handle_startendtag(self, tag, attributes):
        pass

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.faults.append(f"</{tag}> at {self.getpos()}")

    def handle_data(self, data):
        self.texts.append(data)


class Demo(ProgramTest):
    def demo(self, model, code=DONE, page="page.html"):
        return self.expect(code, "demo", str(model), "--old", str(OLD_SCENE), "-o", page)

    def page(self, name="page.html"):
        text = self.read(name).decode("utf-8")
        page = Page(text)
        self.assertEqual(page.faults, [])
        self.assertEqual(page.addresses, [], "a page of one piece")
        self.assertNotIn("@import", text)
        self.assertNotIn("url(http", text)
        xml.etree.ElementTree.fromstring(text)
        return "".join(page.texts)

    def checks(self, result):
        lines = [line for line in result.lines if line.startswith(("ok ", "FAILED "))]
        self.assertGreater(len(lines), 10)
        return lines

    def test_document_as_the_model(self):
        self.write("room.json", room())
        result = self.demo("room.json")
        self.assertTrue(all(line.startswith("ok ") for line in self.checks(result)), result.out)
        self.assertIn("change report:", result.out)
        text = self.page()
        for title in ("Tree", "References", "Change reports", "Undo history"):
            self.assertIn(title, text)

    def test_model_of_the_project(self):
        result = self.run_program("demo", str(MODEL), "--old", str(OLD_SCENE), "-o", "page.html")
        if "built without the importer" in result.err:
            self.skipTest("the program has no importer")
        self.assertEqual(result.code, DONE, result.out + result.err)
        self.assertIn("The meshes of the scene", self.page())

    def test_documents_with_references_legacy_data_and_what_the_demonstration_left(self):
        self.demo(OLD_SCENE)
        self.write("room.json", document(
            node("a", dynamic=[["demo points", "Vector3[]", [[1, 2, 3]]], ["demo wear", "Float", 1]]),
            node("b", attributes=[["translation", "Vector3 ->", "|a.scale"], ["rotation", "Quat ->", "|a.rotation"]]),
            node("c", depth=1), node("a, edited")))
        self.demo("room.json")

    def test_same_bytes_twice(self):
        self.write("room.json", room())
        self.demo("room.json", page="a.html")
        self.demo("room.json", page="b.html")
        self.assertEqual(self.read("a.html"), self.read("b.html"))

    def test_any_name_is_a_text_on_the_page(self):
        names = ["<script>alert(1)</script>", "a & b", "\"quoted\" 'too'", "]]>", "\u0001\u001b[31m", "\ufffe", "&amp;",
                 "</title>", "\U0001F916", "<!--"]
        entries = [node("all", "Folder")] + [node(name, depth=1, attributes=[
            ["scale", "Vector3", [2, 2, 2]]]) for name in names]
        entries += [node("taker", attributes=[["scale", "Vector3 ->", "|all|a\\ &\\ b.scale"]])]
        self.write("names.json", document(*entries))
        self.demo("names.json")
        text = self.page()
        for name in ("<script>alert(1)</script>", "a & b", "\"quoted\" 'too'", "]]>", "&amp;", "</title>", "<!--"):
            self.assertIn(name, text)

    def test_document_without_anything_to_edit(self):
        self.write("folders.json", document(node("only", "Folder")))
        result = self.demo("folders.json")
        self.assertIn("the model has nothing to do that with", result.out)
        self.assertIn("There are no references.", self.page())

    def test_large_and_deep_document_shows_its_beginning(self):
        nodes = [node(f"n{i}", "Folder", depth=min(i, 120)) for i in range(200)]
        nodes += [node(f"m{i}", "Folder", depth=0) for i in range(3500)]
        self.write("large.json", document(*nodes))
        self.demo("large.json")
        self.assertIn("these are the first", self.page())

    def test_refused(self):
        self.write("broken.json", "{")
        result = self.expect(BAD, "demo", "broken.json", "--old", str(OLD_SCENE))
        self.assertIn("broken.json: ", result.err)
        self.write("empty.json", document())
        self.assertIn("empty.json: there is nothing in it",
                      self.expect(BAD, "demo", "empty.json", "--old", str(OLD_SCENE)).err)
        self.assertIn("none.json", self.expect(BAD, "demo", "none.json").err)
        self.write("room.json", room())
        self.assertIn("none.json", self.expect(BAD, "demo", "room.json", "--old", "none.json").err)
        self.assertIn("no/page.html: the page cannot be written",
                      self.expect(BAD, "demo", "room.json", "--old", str(OLD_SCENE), "-o", "no/page.html").err)
        self.assertNotIn("page.html", self.files())
