"""What kp page writes, as a real browser shows it."""

import html.parser
import re
from pathlib import Path
from xml.sax.saxutils import escape

import make_inputs
from browser import Browser
from kp_case import KpCase, run

HERE = Path(__file__).resolve().parent

ASK = HERE.joinpath("page.js").read_text()
WIDTHS = (400, 700, 1000, 1600)
# As they stand in documents, and as people see them.
HOSTILE = {"<script>alert(1)": None, "\"'><img src=x onerror=alert(1)>": None, "--></style><b>]]>": None,
           "\u202eabc\u200b\u05d0\u05d1": "\\u202eabc\\u200b\u05d0\u05d1", "計算" * 20: None, "x" * 300: None, "&lt;&#60;": None}


class Nesting(html.parser.HTMLParser):
    """Holds that every element ends where it should, and that the document asks for nothing."""

    def __init__(self, test, text):
        super().__init__()
        self.test, self.open = test, []
        self.feed(text)
        test.assertEqual([], self.open)

    def handle_starttag(self, tag, attributes):
        self.open.append(tag)
        for name, value in attributes:
            self.test.assertNotIn(name, ("src", "style", "srcset", "data", "action", "background"))
            self.test.assertFalse(name.startswith("on"), name)
            self.test.assertTrue(name != "href" or value.startswith("#"), value)
        self.test.assertNotIn(tag, ("script", "link", "iframe", "object", "embed", "img", "base", "form"))

    def handle_startendtag(self, tag, attributes):
        self.handle_starttag(tag, attributes)
        self.open.pop()

    def handle_endtag(self, tag):
        self.test.assertEqual(tag, self.open.pop())


class PageTest(KpCase):
    @classmethod
    def setUpClass(cls):
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def ask(self, expression, *arguments):
        return self.browser.run(f"{ASK}; return {expression};", *arguments)

    def show(self, name, *of):
        """The page of a package in the browser, which has nothing to say and asks for nothing."""
        self.expect(["page", *of, "-o", name], 0)
        text = Path(name).read_text()
        Nesting(self, text)
        self.assertEqual(([], [Path(name).resolve().as_uri()]), self.browser.load(Path(name)))
        return text

    def expect_laid_out(self, widths=WIDTHS, scrolls_too=True):
        for width in widths:
            self.browser.resize(width)
            self.assertEqual(([], []), (self.ask("overflows(arguments[0])", scrolls_too), self.ask("collisions()")), width)
        self.assertEqual([], self.ask("barriers()"))

    def pack(self, name, texts):
        """A package with the texts as names of the kernel, of ports, arguments, instances and so on."""
        kernel, vlnv, port, argument, instance, module, kind = (escape(text, {'"': "&quot;"}) for text in texts)
        streams = "".join(f'<port name="s{at}{port}" mode="{mode}" range="0x0" dataWidth="512" portType="stream" base="0x0"/>'
                          for at, mode in enumerate(("slave", "master", "neither")))
        self.change("vadd/kernel.xml", ('name="vadd"', f'name="{kernel}"'), ("example:kernels:vadd:1.0", vlnv), ('"m_read"', f'"{port}"'),
                    ('name="a"', f'name="{argument}"'), ('type="uint*"', f'type="{kind}"'), ("</ports>", streams + "</ports>"),
                    ('offset="0x34"', 'offset="0x20"'), ('size="0x8" offset="0x28"', 'size="0x8" offset="0xFFC"'), into="named.xml")
        self.change("vadd/design.xml", (">reader_u<", f">{instance}<"), (">vadd_reader<", f">{module}<"), (">sums_u<", f">{instance}<"),
                    (">2.920<", ">3.92<"), into="named-report.xml")
        self.expect(["add", name, "named.xml", "--cpu-source", "vadd/src/vadd.cpp", "--report", "named-report.xml", "--no-lint"], 0)
        return name

    def test_the_example(self):
        self.add("vadd.kp", "--report", "vadd/design.xml", "--cpu-source", "vadd/src/vadd.cpp")
        page = self.show("vadd.html", "vadd.kp")
        self.expect_laid_out()
        tables = self.ask("tables()")
        self.assertEqual(["LUT", "655", "vadd_reader", "271", "41%"],
                         next(rows for caption, rows in tables.items() if "most of it" in caption)[1])
        self.assertEqual(["met 2.92/3.5", "12 cycles", "655", "vadd_reader", "clean"],
                         self.ask("all('.tiles dd').map((each) => each.textContent)"))
        # To scale: the pointer takes as many pixels a byte as the control registers do.
        heights = self.ask("['.control', '.pointer', '.value'].map((kind) => boxOf(document.querySelector(kind)).height)")
        self.assertEqual([4.0, 2.0, 1.0], [round(height / heights[2], 1) for height in heights])
        picture = page[page.index('aria-label="Address map'):].partition("</svg>")[0]
        self.assertEqual([("16", "0.62"), ("16.62", "0.5"), ("17.09", "0.5"), ("17.56", "0.5"), ("18.03", "0.5"), ("16", "16"), ("18.19", "176")],
                         re.findall(r'class="(?:filled|lead)" x1?="(?:1|29)" y1?="(\S+)".* (?:height|y2)="(\S+)"', picture))
        rows = self.ask("all('.tree .row').map((each) => each.innerText.split(/\\s+/).slice(0, 4).join(' '))")
        self.assertEqual(["vadd 655 LUT 612", "control_u vadd_control 142 LUT", "reader_u vadd_reader 271 LUT"], rows[:3])

        # The same again, to standard output, of one kernel and of its name; without what only a package has.
        self.assertEqual((0, page, ""), run("page", "vadd.kp", "VADD", "-o", "-"))
        self.show("alone.html", "vadd/kernel.xml")
        self.expect_laid_out()
        self.assertEqual(run("page", "-", "-o", "-", stdin=Path("vadd/kernel.xml").read_text())[1].replace("stdin", "kernel.xml").replace(
            "/dev/kernel.xml", "vadd/kernel.xml"), Path("alone.html").read_text())
        for attributes, control, lint in (('interrupt="true"', "start_done, interrupt", "1 unchecked"), ("", "start_done", "1 unchecked"),
                                          ('interrupt="no"', "start_done, interrupt &#39;no&#39;", "1 warning")):
            described = self.change("vadd/kernel.xml", ('interrupt="false"', attributes), into="k.xml")
            told = run("page", described, "-o", "-")[1]
            self.assertEqual([control, lint], re.findall(r"<dt>(?:Control|Lint)</dt><dd.*?>(.*?)</dd>", told), attributes)
            self.assertIn("<title>k.xml, a kernel description</title>", told)
        # What a style attribute would do to a page: the policy lets only its own style be.
        Path("styled.html").write_text(page.replace('<main', '<main style="color: red"'))
        complaints, _ = self.browser.load(Path("styled.html"))
        self.assertRegex("".join(complaints), "Content Security Policy")

    def test_all_of_what_a_page_has(self):
        self.add_odd()
        page = self.show("odd.html", "odd.kp")
        page = re.sub("(?s)(?<=<style>).*(?=</style>)", "", page)  # of which the policy has the digest
        page = re.sub(r">[\d.]+ KiB, 13 files", ">9.9 KiB, 13 files", page)  # as deflated here
        before, files, after = re.sub(r"(sha256:)[\da-f]+", r"\1...", page).partition("<h3>Files</h3>")
        page = before + files + re.sub(r"[\d.]+ (B|KiB)(</td>\n</tr>)", r"... \1\2", after)
        page = re.sub(r"\n(?!<(h\d|div><dt|tbody|tr|li|rect|line|meta|body))", "", page)  # an item, a row or a shape to a line
        self.assertEqual(HERE.joinpath("page.html").read_text(), page + "\n")

    def test_it_is_legible_in_both_schemes_and_on_paper(self):
        self.show("named.html", self.pack("named.kp", ["k", "v", "p", "a", "i", "m", "t"]))
        for scheme, media in (("light", "screen"), ("dark", "screen"), ("dark", "print")):
            self.browser.prefer(scheme, media)
            text, bar, paper = self.ask("contrasts()")
            self.assertGreaterEqual(text, 4.5, (scheme, media))
            self.assertGreaterEqual(bar, 3, (scheme, media))
            self.assertEqual(scheme == "dark" and media == "screen", sum(map(int, re.findall(r"\d+", paper))) < 384)
        # What is folded is printed.
        folded = "(all('details').forEach((each) => each.open = false), document.querySelector('.leaf').checkVisibility())"
        self.assertTrue(self.ask(folded))
        self.browser.prefer("light")
        self.assertFalse(self.ask(folded))
        # By keyboard: the first stop shows itself, and leads to the kernels.
        self.browser.resize(700)
        for key in ("keyDown", "keyUp"):
            self.browser.tell("Input.dispatchKeyEvent", type=key, key="Tab", code="Tab", windowsVirtualKeyCode=9)
        self.assertEqual(["#content", True, "3px"], self.ask(
            "[document.activeElement.getAttribute('href'), boxOf(document.activeElement).left >= 0, getComputedStyle(document.activeElement).outlineWidth]"))

    def test_hostile_names_are_texts(self):
        self.show("tame.html", self.pack("tame.kp", [f"{letter} {letter}" for letter in "kvpaimt"]))  # no identifiers either
        tame = self.ask("structure()")
        names = list(HOSTILE)
        for turn in range(len(names)):
            texts = names[turn:] + names[:turn]
            if "/" in texts[0] or len(texts[0]) > 100:
                continue  # no name of a directory
            text = self.show("hostile.html", self.pack(f"{turn}.kp", texts))
            self.assertNotRegex(text, "[\u200b-\u200f\u202a-\u202e\u2066-\u2069\x00-\x08]")
            self.assertEqual("\n".join(tame), "\n".join(self.ask("structure()")))
            self.expect_laid_out(scrolls_too=False)
            shown = self.ask("all('*').filter((each) => each.tagName !== 'STYLE').map((each) => [each.getAttribute('title'), each.textContent]).flat()")
            for name in texts:
                self.assertIn(HOSTILE[name] or name, shown, texts)

    def test_a_hundred_kernels(self):
        make_inputs.package_of("many.kp", 100, 20, 20)
        page = self.show("many.html", "many.kp")
        self.assertLess(len(page), 4 << 20)
        self.expect_laid_out(widths=(400, 1600))
        self.assertEqual([100, 101, "kernel99"], self.ask(
            "[all('nav tbody tr').length, all('h2').length, document.querySelector(all('nav a').at(-1).getAttribute('href') + ' bdi').textContent]"))

    def test_of_what_is_damaged_the_rest_is_shown(self):
        self.add("p.kp", "--report", "vadd/design.xml")
        for name in "other", "damaged":
            self.expect(["add", "p.kp", self.derive(name), "--cpu-source", "vadd/src/vadd.cpp", "-q"], 0)
        self.rewrite("p.kp", {"damaged/kernel.xml": lambda data: data.replace(b"<args>", b"<arg>")})
        page = self.show("p.html", "changed.kp")
        self.assertEqual([["Name", "Flows", "LUT", "FF", "SLICE", "Timing", "Lint"],
                          ["vadd", "hw_emu,hw", "655", "612", "178", "met 2.92/3.5", "clean"],
                          ["other", "sw_emu", "-", "-", "-", "-", "clean"], ["damaged", "sw_emu", "-", "-", "-", "-", "UNREADABLE"]],
                         self.ask("all('nav tr').map((row) => [...row.cells].map((cell) => cell.textContent))"))
        self.assertEqual(
            '<dl class="facts"><div><dt>Unreadable</dt><dd class="bad">[17-132] damaged/kernel.xml:9: element &#39;arg&#39; is not known in '
            "&#39;kernel&#39;</dd></div>\n<div><dt>Flows</dt><dd>sw_emu</dd></div>\n<div><dt>IP</dt><dd>none</dd></div>\n<div><dt>Described in"
            "</dt><dd>damaged/kernel.xml</dd></div>\n</dl>\n", page.partition("<bdi>damaged</bdi></h2>\n")[2].partition("<h3>Files</h3>")[0])
        self.expect(["remove", "p.kp", "vadd", "other", "damaged"], 0)
        self.assertRegex(run("page", "p.kp", "-o", "-")[1], r'(?s)<h2 id="index-name">0 kernels</h2>.*<tbody></tbody>.*<main id="content"></main>')

    def test_a_crowded_kernel(self):
        text = Path("vadd/kernel.xml").read_text()
        text = text.replace('name="vadd"', f'name="{"k" * 35}"')
        port = re.search(r' *<port name="m_read".*\n', text)[0]
        argument = re.search(r' *<arg name="a".*\n', text)[0]
        text = text.replace(port, "".join(port.replace("m_read", f"memory_port_no_{at}") for at in range(40))).replace("</args>", "".join(
            argument.replace('"a"', f'"arg{at}"').replace("m_read", f"memory_port_no_{at % 40}").replace("0x10", hex(0x40 + 12 * at)) for at in range(150)) + "</args>")
        report = Path("vadd/design.xml").read_text().partition("<profile>")[2]
        instance = "<Instance><InstName>i</InstName><ModuleName>vadd_walker</ModuleName><ID>1</ID>"
        nested = instance + "<InstancesList>" + "<InstancesList>".join([instance] * 20) + "</Instance>" + "</InstancesList></Instance>" * 20
        text = text.replace("</root>", "<profile>" + report.replace("<InstancesList>", "<InstancesList>" + nested + (instance + "</Instance>") * 1100, 1) + "</root>")
        Path("k.xml").write_text(text)
        page = self.show("k.html", "k.xml")
        self.expect_laid_out(widths=(400, 1600), scrolls_too=False)
        self.assertEqual(
            ['viewBox="0 0 428 1704"', f'<text class="strong" x="214" y="27" text-anchor="middle">{"k" * 17}…{"k" * 16}<', '<text class="quiet" x="76" y="88">154 arguments<',
             '<text class="strong" x="352" y="1624" text-anchor="end">memory_p…t_no_31<', '<text class="quiet" x="352" y="1638" text-anchor="end">arg31, ar…, arg111<',
             '<text class="quiet" x="352" y="1674" text-anchor="end">and 9 more<'],
            re.findall('(viewBox=".*?"|<text.*?>(?:k+…k+|154 .*?|[^<]*t_no_31|arg31,.*?|.*more)<)', page.partition("</svg>")[0]))
        self.assertIn("</figcaption>", page.partition(" Of 309 pieces the first 100 are drawn.")[2])
        # What is nested deeper than eight levels says how deep it is.
        self.assertEqual((8, [f">[{level}] <bdi>" for level in range(9, 22)]), (page.count("<ul>"), re.findall(r">\[\d+\] <bdi>", page)))
        self.assertEqual([32, 1, 49, 1000, 2, "and 129 more"], self.ask(
            "[all('[text-anchor=end].strong').length, all('text').filter((each) => each.textContent === 'and 9 more').length,"
            " all('.pointer').length, all('.tree .row').length, all('details[open]').length, all('.tree > li').at(-1).textContent]"))

    def test_the_longest_lists_and_trees(self):
        text = Path("vadd/kernel.xml").read_text()
        port, argument = (re.search(f' *<{kind} name="{name}".*\n', text)[0] for kind, name in (("port", "s_control"), ("arg", "length")))
        Path("k.xml").write_text(text.replace(port, "".join(port.replace("s_control", f"s{at}") for at in range(1001))).replace(argument, argument * 997))
        page = run("page", "k.xml", "-o", "-")[1]
        self.assertEqual((["and 969 more", "and 3 more", "and 1 more of the address maps", "and 1989 more"], 1000, 1000, 1),
                         (re.findall(r">(and \d+ more.*?)<", page), page.count("<h3>Address map of"), page.count("<p>Cure: "), page.count("<svg ")))
        # Of the module nothing is told but its name.
        instance = "<Instance><InstName>i</InstName><ModuleName>m</ModuleName><ID>1</ID>"
        for count, unfolded in ((200, 4), (201, 2)):
            Path("k.xml").write_text(text.replace("</root>", "<profile><RTLDesignHierarchy><TopModule><ModuleName>m</ModuleName>" + (
                "<InstancesList>" + instance) * 4 + "</Instance></InstancesList>" * 3 + "</Instance>" + (instance + "</Instance>") * (
                count - 5) + "</InstancesList></TopModule></RTLDesignHierarchy><ModuleInformation><Module><Name>m</Name></Module></ModuleInformation>"
                "</profile></root>"))
            page = run("page", "k.xml", "-o", "-")[1]
            self.assertEqual((unfolded, count, 0), (page.count("<details open="), page.count('<span class="timing ">-<'), page.count('class="bar"')))

    def test_extreme_numbers(self):
        text, report = Path("vadd/kernel.xml").read_text(), Path("vadd/design.xml").read_text().partition("<profile>")[2]
        for target, needed, offset, *drawn in (
                ("-4", "2", "0x34"), ("0.5", "0", "0x0"), ("4", "3.92", "0x34", "438", "429.24", "384.25", "384.25", "1", "439"),
                ("4", "98765.432", "0xFFFFFFFFFFFFFFFE", "0.02", "438", "1.02", "1.02", "439", "1.02"),
                ("1e308", "1e307", "0x38", "438", "43.8", "439", "439", "1", "439")):
            Path("k.xml").write_text(text.replace("0x1000", "0x" + "F" * 16).replace("0x34", offset).replace(
                "</root>", "<profile>" + report.replace(">4.00<", f">{target}<").replace(">2.920<", f">{needed}<") + "</root>"))
            clock = self.show("k.html", "k.xml").partition("Clock period")[2].partition("</svg>")[0]
            self.expect_laid_out(widths=(400, 1000), scrolls_too=False)
            self.assertEqual(drawn, re.findall(r'(?: width|class="mark" x1|class="quiet" x)="([\d.]+)"', clock))
            # Where the target is, there it is told.
            self.assertTrue(self.ask("""all('svg:has(.mark)').every((picture) => {
                const told = boxOf(all('text', picture).at(-1)), {right} = boxOf(picture.querySelector('.track'));
                return Math.min(Math.abs(told.left - right), Math.abs(told.right - right)) < 2; })"""), target)
        # Nothing is told of the module at the top; no port, argument and report.
        for document, told in ((text.replace("</root>", "<profile>" + report.replace("<ModuleName>vadd<", "<ModuleName>none<", 1) + "</root>"),
                                ["Timing: The report says nothing of the module at the top.",
                                 "Instances: Each with its module and what that takes, those in it included.", "LUT", "-", "vadd_reader", "271", "-"]),
                               (re.sub("(?s)(<ports>|<args>).*?(</ports>|</args>)", r"\1\2", text), [
                                   "Ports: none", "Arguments: none", "Figures of synthesis: none: the description carries no report"])):
            Path("k.xml").write_text(document)
            self.show("k.html", "k.xml")
            self.expect_laid_out(widths=(400,))
            self.assertEqual(told, self.ask(
                "all('h3 + p').map((each) => each.previousElementSibling.textContent + ': ' + each.textContent).concat("
                "[...(all('table').find((each) => each.caption.textContent.includes('most of it'))?.rows[1].cells || [])].map((each) => each.textContent))"))

    def test_what_it_replaces(self):
        self.add("vadd.kp")
        before = Path("vadd.kp").read_bytes()
        for path in ("vadd.kp", "vadd/kernel.xml"):
            self.expect(["page", "vadd.kp", "-o", path], 3, "",
                        f"kp: error: '{path}' is there already and no HTML page; a page replaces only pages\n")
        self.expect(["page", "vadd.kp", "-o", "p.html"], 0)
        page = Path("p.html").read_bytes()
        self.expect(["page", "vadd.kp", "-o", "p.html"], 0)
        self.assertEqual((before, page), (Path("vadd.kp").read_bytes(), Path("p.html").read_bytes()))
        for status, *arguments in ((3, "none.kp"), (3, "vadd.kp", "none"), (2, "vadd/kernel.xml", "vadd")):
            self.assertEqual(status, run("page", *arguments, "-o", "p.html")[0])
        self.assertEqual(page, Path("p.html").read_bytes())
