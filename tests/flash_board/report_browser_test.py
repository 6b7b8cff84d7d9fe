# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#
# What the pages of flash-board report show in a browser: report_browser_test.py FLASH-BOARD [FOLDER-FOR-PICTURES]
import os
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
from browser import Browser

REPOSITORY = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
PARTITIONS = "mtdparts=NAND:1M(boot),4M(config),8M(usrdata),-(rootfs)"
program, pictures, browser, folder = "flash-board", None, None, None


def setUpModule():
    global browser, folder
    folder = tempfile.TemporaryDirectory(prefix="flash-board-pages-")
    browser = Browser()


def tearDownModule():
    browser.__exit__()
    folder.cleanup()


def page_of(xml, *options):
    """The page of a file of the repository, or of a text."""
    if xml.startswith("<"):
        with open(os.path.join(folder.name, "board.xml"), "w", encoding="utf-8") as file:
            file.write(xml)
        xml = os.path.join(folder.name, "board.xml")
    page = os.path.join(folder.name, "page.html")
    command = [program, "report", os.path.join(REPOSITORY, xml), *options, "-o", page]
    status = subprocess.run(command, stderr=subprocess.DEVNULL, check=False)
    if status.returncode > 1:
        raise RuntimeError(f"{xml}: status {status.returncode}")
    return page


def board_of(rows, more=""):
    return ("<board name='b'>\n<instance id='0xffffffff'><module name='flash_mng'><node name='attr'>\n" + "\n".join(rows) +
            "\n</node>" + more + "</module></instance>\n</board>\n")


def row(number, partition, offset, size):
    return f"<entry name='s{number}' section_id='{number}' mtd_name='{partition}' offset='{offset}' size='{size}'/>"


class Page(unittest.TestCase):
    """After each case: the page asked for nothing but itself, and complained of nothing."""
    limit = None

    def open(self, xml, *options, fragment="", width=1280, height=900, dark=False):
        browser.requests.clear()
        browser.complaints.clear()
        browser.screen(width, height, dark)
        return browser.open(page_of(xml, *options), fragment)

    def tearDown(self):
        self.assertEqual([one for one in browser.requests if not one.startswith(("file:///", "about:"))], [])
        self.assertEqual(len([one for one in browser.requests if one.startswith("file:")]), 1)
        self.assertEqual(browser.complaints, [])
        self.assertEqual(browser.dialogs, [])

    def text(self, selector):
        return browser.ask(f"document.querySelector({selector!r}).innerText")

    def texts(self, selector):
        return browser.ask(f"[...document.querySelectorAll({selector!r})].map(one => one.innerText.replace(/\\s+/g, ' ').trim())")

    def press(self, *keys):
        for key in keys:
            browser.press(key)

    def focus(self, name):
        """Gives the part of the map with these words in its description the focus."""
        found = browser.ask(f"""(() => {{
            const one = [...document.querySelectorAll('.block')].find(one => one.getAttribute('aria-label').startsWith({name!r}));
            if (one) one.focus();
            return !!one;
        }})()""")
        self.assertTrue(found, name)
        browser.settle()

    def focused(self):
        return browser.ask("document.activeElement.getAttribute('aria-label') || ''")


class Map(Page):
    def setUp(self):
        self.open("board/xml/plain.xml", "--mtdparts", PARTITIONS)

    def test_shows_partitions_sections_and_what_is_free(self):
        self.assertEqual(self.texts(".lane:nth-child(1) .block .label"), ["boot", "config", "usrdata", "rootfs"])
        self.assertIn("section 1", self.texts(".lane:nth-child(2) .block .label"))
        self.assertIn("free", self.texts(".lane:nth-child(2) .block .label"))
        self.assertEqual(self.text("#range"), "0x0 to 0xE40000 of 0xE40000, 14.25 MiB")

    def test_lies_to_scale(self):
        left, width, whole = browser.ask("(() => { const one = [...document.querySelectorAll('.block.partition')][2];"
                                         "return [one.offsetLeft, one.offsetWidth, one.parentNode.clientWidth]; })()")
        self.assertAlmostEqual(left / whole, 0x500000 / 0xE40000, places=2)
        self.assertAlmostEqual(width / whole, 0x800000 / 0xE40000, places=2)

    def test_says_the_addresses_of_a_part_in_each_way_to_count(self):
        self.focus("section 2")
        self.assertEqual(self.text("#details h4"), "section 2")
        self.assertEqual(self.texts("#details dd"),
                         ["0xD00000 to 0xE00000", "rootfs", "0x0 to 0x100000", "0xD00000 to 0xE00000", "1 MiB (0x100000)"])
        for words in ("0xD00000 to 0xE00000", "Partition: rootfs"):
            self.assertIn(words, self.focused())

    def test_says_the_address_under_the_pointer(self):
        x, y = browser.ask("(() => { const one = document.getElementById('lanes').getBoundingClientRect();"
                           "return [one.left + one.width * 0xD80000 / 0xE40000, one.top + 20]; })()")
        browser.mouse("mouseMoved", x, y)
        self.assertRegex(self.text("#readout"), r"^NAND 0xD[78]\w{4}\s+·\s+rootfs \+ 0x[78]\w{4}\s+·\s+section 2 address 0xD[78]\w{4}$")

    def test_goes_from_part_to_part_by_keys(self):
        self.focus("partition boot")
        self.press("ArrowRight")
        self.assertTrue(self.focused().startswith("partition config"))
        self.press("ArrowDown")
        self.assertTrue(self.focused().startswith(("usable", "free")), self.focused())
        self.press("ArrowUp", "ArrowLeft")
        self.assertTrue(self.focused().startswith("partition boot"))

    def test_has_one_stop_for_the_tabulator(self):
        self.assertEqual(browser.ask("document.querySelectorAll('.block[tabindex=\"0\"]').length"), 1)

    def test_zooms_by_keys_to_single_bytes_and_back(self):
        self.focus("section 2")
        self.press("Enter")
        self.assertRegex(self.text("#range"), r"^0xCE\w{4} to 0xE1\w{4}")
        self.press("b")
        self.assertEqual(self.text("#range"), "0xCFFFFC to 0xD0000C of 0xE40000, 16 bytes")
        self.assertEqual(self.texts(".byte")[:6], ["FC", "FD", "FE", "FF", "00", "01"])
        self.assertTrue(self.focused().startswith("section 2"))
        self.press("-")
        self.assertIn("32 bytes", self.text("#range"))
        self.press("0")
        self.assertIn("0x0 to 0xE40000 of", self.text("#range"))

    def test_zooms_with_the_buttons(self):
        browser.ask("document.getElementById('zoom-in').click()")
        browser.settle()
        self.assertIn("7296 KiB", self.text("#range"))
        browser.ask("document.getElementById('zoom-all').click()")
        browser.settle()
        self.assertIn("14.25 MiB", self.text("#range"))

    def test_draws_each_partition_to_its_own_scale(self):
        self.assertEqual(self.texts("#bars tbody th .link"), ["boot", "config", "usrdata", "rootfs"])
        self.assertEqual(self.texts("#bars tbody tr:nth-child(2) li"), ["usable 512 KiB", "3.5 MiB free"])

    def test_of_partitions_without_places_has_a_map_each(self):
        self.open("board/xml/cards.xml", "--mtd", os.path.join(REPOSITORY, "tests/flash_board/partitions.mtd"))
        self.assertEqual(self.texts("#axis option")[:3], ["boot", "config", "usrdata"])
        browser.ask("""(() => {
            const one = document.getElementById('axis');
            one.value = [...one.options].find(a => a.text === 'instance 0x13').value;
            one.dispatchEvent(new Event('change'));
        })()""")
        browser.settle()
        self.assertEqual(self.texts(".lane:nth-child(2) .label")[:2], ["firmware", "log"])


class Wrong(Page):
    def setUp(self):
        self.open("tests/flash_board/map.xml", "--mtdparts", PARTITIONS)

    def test_counts_and_lists_findings(self):
        self.assertEqual(self.texts("#counts li"), ["6 errors", "2 warnings", "0 notes"])
        self.assertEqual(len(self.texts(".finding")), 8)

    def test_says_findings_beside_their_lines(self):
        self.assertEqual(len(self.texts(".said")), 8)
        self.assertIn('no partition is called "gone"', self.text("#line-8 .said"))
        self.assertIn('mtd_name="gone"', self.text("#line-8 code"))

    def test_goes_from_a_finding_to_its_line(self):
        browser.ask("document.querySelectorAll('.finding .link')[2].click()")
        self.assertEqual(browser.ask("document.activeElement.id"), "line-8")

    def test_goes_from_a_line_to_its_place_in_the_map(self):
        browser.ask("document.querySelector('#line-10 .to-map').click()")
        browser.settle()
        self.assertRegex(self.text("#range"), r"^0xCE\w{4} to 0xE1\w{4}")
        self.assertEqual(self.text("#details h4"), "section 5")

    def test_shows_overlaps_and_what_is_beyond_the_end(self):
        self.assertEqual(len(browser.ask("[...document.querySelectorAll('.block.shared')].map(one => one.offsetWidth)")), 1)
        self.assertEqual(len(self.texts(".block.beyond")), 2)
        self.assertIn("512 KiB beyond the end", self.text("#bars tbody tr:nth-child(1)"))
        self.assertIn("no such partition", self.text("#bars"))

    def test_of_a_refused_board_has_findings_and_text(self):
        self.open("tests/flash_board/bad/duplicate-id.xml")
        self.assertIn("refused", self.text("#map-notice"))
        self.assertIn("does not compile", self.text("#simulation-body"))
        self.assertEqual(len(self.texts(".said")), 1)


class Search(Page):
    def answers(self, query, xml="board/xml/plain.xml"):
        self.open(xml, "--mtdparts", PARTITIONS, fragment="#q=" + query)
        return self.texts("#answers-list li")

    def test_says_what_lies_at_an_address(self):
        found = self.answers("what%20lies%20at%200x00D1FFD8%3F")
        self.assertEqual(found[0], "Address 0xD1FFD8 of section 2 is byte 0x1FFD8 of partition rootfs, byte 0xD1FFD8 of NAND")
        self.assertEqual(self.text("#range"), "0xD1FFD7 to 0xD1FFE7 of 0xE40000, 16 bytes")
        self.assertEqual(self.text("#details h4"), "section 2")
        left, wide, tick = browser.ask("(() => { const one = document.querySelector('.mark'), at = [...document.querySelectorAll('.byte')]"
                                       ".find(b => b.innerText === 'D8'); return [one.offsetLeft, one.offsetWidth, at.offsetLeft]; })()")
        self.assertTrue(abs(left - tick) <= 1 and wide > 20, (left, wide, tick))

    def test_says_that_bytes_are_free(self):
        self.assertIn("Byte 0x700000 of NAND is free", self.answers("0x700000"))

    def test_finds_sections_by_number(self):
        self.assertEqual(self.answers("section%202"), ["Section 2 lies in rootfs, addresses 0xd00000 to 0xe00000, 1 MiB"])

    def test_takes_a_decimal_number_for_an_address_and_for_a_section(self):
        found = self.answers("2")
        self.assertTrue(any(one.startswith("Section 2 lies in rootfs") for one in found), found)
        self.assertTrue(any(one.startswith("Address 0x2 of section 1") for one in found), found)

    def test_finds_names_and_lines(self):
        found = self.answers("USRDATA")
        self.assertEqual(found[0], "Partition usrdata, 0x500000 to 0xd00000, 8 MiB")
        self.assertTrue(any(one.startswith("Line 13: <entry") for one in found), found)

    def test_says_when_nothing_is_found(self):
        self.assertEqual(self.answers("nowhere"), [])
        self.assertIn("Nothing lies at, or is called, nowhere", self.text("#answers-summary"))

    def test_answers_what_is_typed(self):
        self.answers("boot")
        browser.ask("document.getElementById('query').focus(); document.getElementById('query').value = ''")
        for letter in "config":
            browser.press(letter)
        self.assertEqual(self.texts("#answers-list li")[0], "Partition config, 0x100000 to 0x500000, 4 MiB")


class Variants(Page):
    def setUp(self):
        self.open("board/xml/variants.xml", "--mtdparts", PARTITIONS)

    def test_stand_side_by_side_with_what_changes(self):
        self.assertEqual(self.texts("#variants thead th"), ["Section", "Variant 2 (the board's own)", "Variant 0", "Variant 1"])
        self.assertEqual(self.texts("#variants tbody tr:nth-child(1) td"),
                         ["boot 0x40000 12 KiB line 14", "boot 0x0 4 KiB line 8", "boot 0x20000 8 KiB line 11"])
        self.assertEqual(self.texts("#variants tbody tr:nth-child(1) mark"), ["0x0", "4 KiB", "0x20000", "8 KiB"])

    def test_change_the_map(self):
        self.assertIn("section 2", self.text("#bars"))
        browser.ask("document.querySelectorAll('#variant-buttons input')[0].click()")
        browser.settle()
        self.assertNotIn("section 2", self.text("#bars"))
        self.assertIn("section 1 0x0 to 0x1000", self.text("#bars").replace("\n", " "))
        self.assertIn('variant 0, sections of node "attr"', self.text("#subtitle"))

    def test_are_in_the_address_of_the_page(self):
        self.open("board/xml/variants.xml", fragment="#v=1")
        self.assertIn("variant 1", self.text("#subtitle"))

    def test_are_not_shown_of_a_board_without(self):
        self.open("board/xml/plain.xml")
        self.assertTrue(browser.ask("document.getElementById('variants').hidden && document.getElementById('variant-choice').hidden"))


class Simulation(Page):
    def test_shows_tables_and_messages(self):
        self.open("board/xml/cards.xml", "--mtdparts", PARTITIONS)
        captions = self.texts("#simulation caption")
        self.assertEqual(captions[:5], ["Sections", "Partitions that are updated whole", "SPI flash instances",
                                        "Partitions of SPI flashes", "Messages of the load"])
        self.assertEqual(self.texts("#simulation tbody tr:nth-child(1) td")[:6], ["1", "boot", "0x0", "0x100000", "0", "ok"])
        self.assertIn("flash_mng MODULE INIT BEGIN", self.text("#simulation"))


NAMES = ["</script><script>window.ran=1</script>", "<img src=x onerror=window.ran=2>", "<svg/onload=window.ran=3>",
         "\"' onclick='window.ran=4' x='", "javascript:window.ran=5", "{{1}}${window.ran=6}", "\u202eevil\u2066"]


def written(name):
    return name.replace("&", "&amp;").replace("<", "&lt;").replace("'", "&apos;").replace('"', "&quot;")


class Hostile(Page):
    def test_runs_no_script_of_a_description(self):
        self.open(board_of([row(i, written(name), hex(i * 4096), "0x1000") for i, name in enumerate(NAMES)]))
        browser.ask("for (const one of [...document.querySelectorAll('button')].slice(0, 200)) one.click()")
        for name in NAMES:
            browser.ask(f"document.getElementById('query').value = {name!r}; document.getElementById('search').requestSubmit()")
        self.assertIsNone(browser.ask("window.ran"))
        self.assertEqual(browser.ask("document.querySelectorAll('img, svg, iframe, object, [onclick], [onload], [onerror]').length"), 0)
        self.assertEqual(browser.ask("document.querySelectorAll('script').length"), 2)
        self.assertEqual(self.texts("#bars tbody th .link")[0], NAMES[0])

    def test_shows_characters_that_reorder_others(self):
        self.open(board_of([row(1, NAMES[6], "0", "0x1000")]))
        self.assertEqual(self.texts("#bars tbody th .link"), ["⟨U+202E⟩evil⟨U+2066⟩"])

    def test_the_policy_holds_against_markup_that_gets_in(self):
        self.open("board/xml/plain.xml")
        browser.ask("""(() => {
            document.body.insertAdjacentHTML('beforeend', '<img src="data:,x" onerror="window.ran=7">');
            const one = document.createElement('script');
            one.textContent = 'window.ran=8';
            document.body.append(one);
        })()""")
        browser.settle()
        self.assertIsNone(browser.ask("window.ran"))
        self.assertTrue(browser.complaints and all("Content Security Policy" in one for one in browser.complaints), browser.complaints)
        browser.complaints.clear()
        browser.requests[:] = [one for one in browser.requests if not one.startswith("data:")]

    def test_of_100000_entries_stays_usable(self):
        rows = [row(i, f"&lt;script>window.ran={i % 3000}&lt;/script>", hex(i * 4096 % 2 ** 32), "many" if i % 2 else "4096")
                for i in range(100000)]
        self.assertLess(self.open(board_of(rows)), 30)
        self.assertLess(browser.ask("document.getElementsByTagName('*').length"), 20000)
        browser.ask("document.querySelector('#findings .more button').click()")
        self.assertEqual(len(self.texts(".finding")), 1100)
        browser.ask("document.getElementById('query').value = 's99999'; document.getElementById('search').requestSubmit()")
        self.assertTrue(self.texts("#answers-list li"))
        browser.ask("location.hash = 'line=90001'")
        browser.until("document.activeElement.id === 'line-90001'")
        self.assertIn("section_id='89998'", self.text("#line-90001 code"))
        self.assertIsNone(browser.ask("window.ran"))


class Large(Page):
    def test_of_4096_rows_opens_within_2_seconds(self):
        rows = [row(i, f"p{i % 512}", hex(i * 65536), hex((i % 16 + 1) * 4096)) for i in range(4096)]
        options = ("--mtdparts", "NAND:" + ",".join(f"64k(p{i})" for i in range(512)))
        taken = min(self.open(board_of(rows), *options) for _ in range(3))
        self.assertLess(taken, 2)
        print(f"4,096 rows: {taken:.2f} s", file=sys.stderr)
        browser.requests[:] = browser.requests[-1:]
        self.focus("512 parts")
        self.press("Enter", "+", "+", "+", "+", "+", "+")
        self.assertTrue(self.focused().startswith("partition p0"), self.focused())

    def test_of_many_sections_of_one_partition_has_few_lanes(self):
        self.open(board_of([row(i, "boot", hex(i * 4096), "4096") for i in range(1000)]))
        self.assertLess(browser.ask("document.querySelectorAll('.lane').length"), 10)
        self.assertIn("994 parts", self.texts(".lane .label"))


class Looks(Page):
    def contrast(self, selector):
        """Of the text of an element against what is behind it, as WCAG counts."""
        return browser.ask("""(selector => {
            const parse = text => (text.match(/[\\d.]+/g) || [0, 0, 0, 0]).map(Number);
            const light = c => c.slice(0, 3).map(v => v / 255).map(v => v <= 0.03928 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4)
                .reduce((sum, v, i) => sum + v * [0.2126, 0.7152, 0.0722][i], 0);
            let one = document.querySelector(selector), behind = one;
            const ink = light(parse(getComputedStyle(one).color));
            while (parse(getComputedStyle(behind).backgroundColor)[3] === 0 && behind.parentElement)
                behind = behind.parentElement;
            const paper = light(parse(getComputedStyle(behind).backgroundColor));
            return (Math.max(ink, paper) + 0.05) / (Math.min(ink, paper) + 0.05);
        })(""" + repr(selector) + ")")

    def test_can_be_read_on_light_and_on_dark(self):
        papers = []
        for dark in (False, True):
            self.open("tests/flash_board/map.xml", "--mtdparts", PARTITIONS, dark=dark)
            papers.append(browser.ask("getComputedStyle(document.body).backgroundColor"))
            for selector in ("h1", "#subtitle", ".badge.error", ".badge.warning", ".block.section .label", ".block.usable .label",
                             ".block.partition .label", "#keys", ".line .tag", ".line .attribute", ".line .value",
                             ".line .comment", ".said.error", ".said.warning", ".link", ".notice", ".tick"):
                self.assertGreaterEqual(self.contrast(selector), 4.5, (selector, dark))
        self.assertNotEqual(*papers)

    def test_fits_a_phone(self):
        for xml in ("tests/flash_board/map.xml", "board/xml/variants.xml", "board/xml/cards.xml"):
            self.open(xml, "--mtdparts", PARTITIONS, width=390, height=844)
            self.assertLessEqual(browser.ask("document.documentElement.scrollWidth"), 390, xml)
            self.assertEqual(browser.ask("[...document.querySelectorAll('#bars .scroll')].filter(one => one.scrollWidth > "
                                         "one.clientWidth).length"), 0, xml)

    def test_prints_all_lines_and_nothing_to_press(self):
        self.open("tests/flash_board/map.xml", "--mtdparts", PARTITIONS)
        browser.screen(1000, 1400, media="print")
        self.assertEqual(browser.ask("getComputedStyle(document.getElementById('search')).display"), "none")
        self.assertEqual(browser.ask("getComputedStyle(document.getElementById('source')).maxHeight"), "none")

    def test_prints_on_light_paper_from_a_dark_screen(self):
        self.open("tests/flash_board/map.xml", "--mtdparts", PARTITIONS)
        light = browser.ask("getComputedStyle(document.querySelector('.block.section')).backgroundColor")
        browser.screen(1000, 1400, dark=True, media="print")
        self.assertEqual(browser.ask("getComputedStyle(document.querySelector('.block.section')).backgroundColor"), light)

    def test_draws_the_map_as_wide_as_the_paper(self):
        """Paper has its width after the last script has run."""
        self.open("board/xml/plain.xml", "--mtdparts", PARTITIONS)
        ends = browser.ask("""(() => {
            const lanes = document.getElementById('lanes'), ends = [];
            for (const width of ['1000px', '500px']) {
                lanes.style.width = width;
                ends.push([...document.querySelectorAll('.block.partition')].map(one => (one.offsetLeft + one.offsetWidth) /
                    lanes.clientWidth).pop());
            }
            return ends;
        })()""")
        self.assertAlmostEqual(ends[0], 1, places=2)
        self.assertAlmostEqual(*ends, places=2)

    def test_has_names_and_order_for_a_screen_reader(self):
        self.open("tests/flash_board/map.xml", "--mtdparts", PARTITIONS)
        nameless = browser.ask("""[...document.querySelectorAll('button, select, input, [role=region], [role=group], section')]
            .filter(one => !(one.getAttribute('aria-label') || one.getAttribute('aria-labelledby') || one.textContent.trim() ||
                one.labels?.length)).length""")
        self.assertEqual(nameless, 0)
        levels = browser.ask("[...document.querySelectorAll('h1, h2, h3')].map(one => Number(one.tagName[1]))")
        self.assertTrue(all(after - before <= 1 for before, after in zip([0, *levels], levels)), levels)
        self.assertEqual(browser.ask("document.querySelectorAll('table:not(:has(caption)), th:not([scope])').length"), 0)
        self.assertEqual(browser.ask("document.querySelector('[role=status]').id + document.documentElement.lang"), "answers-summaryen")

    def test_leaves_pictures(self):
        if not pictures:
            self.skipTest("no folder is given for pictures")
        for name, xml, fragment in (("wrong", "tests/flash_board/map.xml", ""), ("variants", "board/xml/variants.xml", ""),
                                    ("found", "board/xml/plain.xml", "#q=0x00D1FFD8")):
            for width, device in ((1280, "desktop"), (390, "phone")):
                for dark in (False, True):
                    self.open(xml, "--mtdparts", PARTITIONS, fragment=fragment, width=width, dark=dark)
                    browser.screen(width, min(8000, browser.ask("document.documentElement.scrollHeight")), dark)
                    browser.settle()
                    browser.picture(os.path.join(pictures, f"{name}-{device}-{'dark' if dark else 'light'}.png"), whole=False)
                    browser.requests[:] = browser.requests[-1:]


if __name__ == "__main__":
    program = os.path.abspath(sys.argv.pop(1))
    if len(sys.argv) > 1 and os.path.isdir(sys.argv[1]):
        pictures = sys.argv.pop(1)
    unittest.main()
