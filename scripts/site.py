#!/usr/bin/python3
# SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
"""Makes the documents a site: static HTML with one search over all of it, which needs no server and no network.

usage: site.py REPOSITORY OUTPUT

Documents are the Markdown files and manual pages of REPOSITORY, by pandoc and mandoc; beside them a page of all messages of the module and
of the reference platform, with where each is written; what it means stands in docs/troubleshooting.md. Says what is wrong with links, and
which messages are not explained, one line each, and ends with status 1 if anything is. The same input gives the same bytes.
"""

import html
import html.parser
import json
import os
import re
import shutil
import subprocess
import sys

START = ["README.md", "docs/your-board.md", "docs/board-xml.md", "docs/board-rules.md", "docs/reliability.md", "docs/power-cuts.md"]
MANUALS = "docs/man"
MESSAGES = "docs/messages.html"
HELP = "docs/troubleshooting.html"
NOT_READ = (".", "build")
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
CALL = re.compile(r'\b(?:drv_log_record|pr_err)\([^"();]*((?:"(?:[^"\\]|\\.)*"\s*)+)')
SOURCES = (("flash_mng_kernel", (".cpp", ".hpp")), ("reference_platform", (".c",)))


def text_of(path):
    with open(path, encoding="utf-8") as stream:
        return stream.read()


def output_of(*command, text=None):
    return subprocess.run(command, input=text, check=True, capture_output=True, text=True).stdout


def files_in(repository, ending):
    found = []
    for place, folders, files in os.walk(repository):
        folders[:] = sorted(name for name in folders if not name.startswith(NOT_READ))
        found += [os.path.relpath(os.path.join(place, name), repository) for name in files if name.endswith(ending)]
    return sorted(found)


def page_of(source):
    """Where the page of a document stands in the site."""
    if source == "README.md":
        return "index.html"
    return (os.path.splitext(source)[0] if source.endswith(".md") else source) + ".html"


def documents(repository):
    """Sources and their fragments of HTML, in the order of the list of pages."""
    markdown = files_in(repository, ".md")
    for source in START + [name for name in markdown if name not in START]:
        yield source, output_of("pandoc", "-f", "gfm", "-t", "html", os.path.join(repository, source))
    for name in sorted(os.listdir(os.path.join(repository, MANUALS))):
        source = f"{MANUALS}/{name}"
        yield source, output_of("mandoc", "-T", "html", "-O", "fragment,man=%N.%S.html", os.path.join(repository, source))


def messages_in(source):
    """Texts of the messages that a source writes, with their lines."""
    for call in CALL.finditer(source):
        text = "".join(LITERAL.findall(call.group(1))).replace('\\"', '"')
        yield text.removesuffix("\\n"), source.count("\n", 0, call.start()) + 1


def messages_of(repository):
    """Every message, by its text, and the line that writes it."""
    rows = []
    for folder, endings in SOURCES:
        for name in files_in(os.path.join(repository, folder), endings):
            source = f"{folder}/{name}"
            rows += [(text, f"{source}:{line}") for text, line in messages_in(text_of(os.path.join(repository, source)))]
    return sorted(rows)


def section_about(text, sections):
    """Where the page of help explains a message; None where it does not."""
    wanted = " ".join(text.split())
    return next((place for place, _, content in sections if wanted in " ".join(content.split())), None)


def messages_page(rows, sections):
    def link(text):
        place = section_about(text, sections)
        shown = f"<code>{html.escape(text)}</code>"
        return shown if place is None else f'<a href="{os.path.basename(HELP)}#{place}">{shown}</a>'

    lines = "\n".join(
        f'<tr id="message-{number}"><td>{link(text)}</td><td>{place}</td></tr>' for number, (text, place) in enumerate(rows)
    )
    return (
        '<h1 id="messages">Messages</h1>\n<p>Every message of the module and of the reference platform, and the line of its source that '
        "writes it. What stands for a value begins with <code>%</code>; the link leads to what it means.</p>\n"
        f"<table><thead><tr><th>Message</th><th>Written by</th></tr></thead><tbody>\n{lines}\n</tbody></table>\n"
    )


class reader(html.parser.HTMLParser):
    """Title, sections, links and targets of a fragment."""

    def __init__(self, fragment):
        super().__init__()
        self.sections, self.links, self.targets = [], [], set()
        self.heading = None
        self.feed(fragment)

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        if "id" in values:
            self.targets.add(values["id"])
        self.links += [values[name] for name in ("href", "src") if values.get(name)]
        if tag in ("h1", "h2", "h3", "h4"):
            self.heading = tag
            self.sections.append([values.get("id", ""), "", ""])
        if tag in ("p", "li", "td", "tr", "br", "pre", "dd", "dt") and self.sections:
            self.sections[-1][2] += " "

    def handle_endtag(self, tag):
        if tag == self.heading:
            self.heading = None

    def handle_data(self, data):
        if not self.sections:
            self.sections.append(["", "", ""])
        self.sections[-1][1 if self.heading else 2] += data


def outside(link):
    return re.match(r"[a-z]+:", link) is not None


class site:
    def __init__(self, repository, output):
        self.repository, self.output = repository, output
        self.pages, self.wrong, self.messages, self.help = {}, [], [], []

    def link_to(self, source, link):
        """Where a link of a document leads in the site; None where it leads to a folder, which a site has not."""
        target, mark, place = link.partition("#")
        if outside(link) or not target:
            return link
        folder = os.path.dirname(source)
        path = os.path.normpath(os.path.join(folder, target))
        is_source = path.endswith(".md") or (path.startswith(MANUALS + "/") and not path.endswith(".html"))
        page = page_of(path) if is_source else path
        if os.path.isdir(os.path.join(self.repository, path)):
            return None
        if is_source or page.startswith(MANUALS) or page == MESSAGES:
            pass
        elif os.path.isfile(os.path.join(self.repository, path)):
            self.copy(path)
        return os.path.relpath(page, os.path.dirname(page_of(source)) or ".") + mark + place

    def copy(self, path):
        there = os.path.join(self.output, path)
        os.makedirs(os.path.dirname(there), exist_ok=True)
        shutil.copyfile(os.path.join(self.repository, path), there)

    def with_links(self, source, fragment):
        def change(match):
            led = self.link_to(source, html.unescape(match.group(2)))
            return "" if led is None else f'{match.group(1)}="{html.escape(led)}"'

        return re.sub(r'\b(href|src)="([^"]*)"', change, fragment)

    def add(self, source, fragment):
        fragment = re.sub(r"(<table.*?</table>)", r'<div class="wide">\1</div>', fragment, flags=re.S)
        self.pages[page_of(source)] = self.with_links(source, fragment)

    def add_messages(self):
        self.messages = messages_of(self.repository)
        if HELP in self.pages:
            self.help = reader(self.pages[HELP]).sections
            unexplained = sorted({text for text, _ in self.messages if section_about(text, self.help) is None})
            self.wrong += [f'{HELP}: nothing about "{text}"' for text in unexplained]
        page = messages_page(self.messages, self.help)
        self.pages[MESSAGES] = page.replace("<table>", '<div class="wide"><table>').replace("</table>", "</table></div>")

    def check(self):
        read = {page: reader(fragment) for page, fragment in self.pages.items()}
        for page, content in read.items():
            for link in content.links:
                if outside(link):
                    continue
                target, _, place = link.partition("#")
                path = os.path.normpath(os.path.join(os.path.dirname(page), target)) if target else page
                if path not in read and not os.path.isfile(os.path.join(self.output, path)):
                    self.wrong.append(f"{page}: {link} is not there")
                elif place and path in read and place not in read[path].targets:
                    self.wrong.append(f"{page}: {link} leads to no such heading")
        return read

    def write(self, read):
        titles = {}
        for page, content in read.items():
            title = next((section[1] for section in content.sections if section[1]), page)
            titles[page] = os.path.basename(page)[:-5] if page.startswith(MANUALS) else title.strip()
        index = []
        for number, (text, place) in enumerate(self.messages):
            section = section_about(text, self.help)
            to = [MESSAGES, f"message-{number}"] if section is None else [HELP, section]
            index.append(to + ["Message", text, f"Written by {place}."])
        for page, content in read.items():
            for place, heading, text in content.sections if page != MESSAGES else []:
                index.append([page, place, titles[page], heading.strip(), " ".join(text.split())])
        template = text_of(os.path.join(self.repository, "docs/site/page.html"))
        for page, fragment in self.pages.items():
            up = "../" * page.count("/")
            pages = "\n".join(
                f'<li><a href="{up}{other}"{" aria-current=page" if other == page else ""}>{html.escape(title)}</a></li>'
                for other, title in titles.items()
            )
            whole = template
            for name, value in (("TITLE", html.escape(titles[page])), ("UP", up), ("PAGES", pages), ("CONTENT", fragment)):
                whole = whole.replace(f"@{name}@", value)
            there = os.path.join(self.output, page)
            os.makedirs(os.path.dirname(there), exist_ok=True)
            with open(there, "w", encoding="utf-8") as stream:
                stream.write(whole)
        with open(os.path.join(self.output, "index.js"), "w", encoding="utf-8") as stream:
            stream.write("const sections = " + json.dumps(index, ensure_ascii=False) + ";\n")
        for name in ("site.css", "search.js"):
            shutil.copyfile(os.path.join(self.repository, "docs/site", name), os.path.join(self.output, name))


def main(words):
    if len(words) != 3:
        sys.exit(__doc__)
    made = site(words[1], words[2])
    shutil.rmtree(made.output, ignore_errors=True)
    os.makedirs(made.output)
    for source, fragment in documents(made.repository):
        made.add(source, fragment)
    made.add_messages()
    made.write(made.check())
    print("\n".join(made.wrong) or f"{len(made.pages)} pages, {len(made.messages)} messages")
    sys.exit(bool(made.wrong))


if __name__ == "__main__":
    main(sys.argv)
