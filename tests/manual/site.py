#!/usr/bin/env python3
"""site.py SITE: every link of the built manual leads to a page, and every anchor to a place on it; and a
reader's browser fetches nothing from elsewhere."""
import html.parser
import pathlib
import sys
import urllib.parse

site = pathlib.Path(sys.argv[1]).resolve()
failures = []


class Page(html.parser.HTMLParser):
    FETCHED = {"script": "src", "img": "src", "link": "href", "iframe": "src"}

    def __init__(self, file):
        super().__init__()
        self.links, self.fetched, self.ids = [], [], set()
        self.feed(file.read_text(encoding="utf-8", errors="replace"))

    def handle_starttag(self, tag, attributes):
        given = dict(attributes)
        self.ids.update(given[key] for key in ("id", "name") if given.get(key))
        if tag == "a" and given.get("href"):
            self.links.append(given["href"])
        if tag in self.FETCHED and given.get(self.FETCHED[tag]):
            self.fetched.append(given[self.FETCHED[tag]])


# The frame of MkDocs and of Doxygen is not looked at, only what stands in pages of ours.
pages = {file: Page(file) for file in sorted(site.rglob("*.html"))}
ours = [file for file in pages if "headers" not in file.relative_to(site).parts]
checked = 0
for file, page in pages.items():
    for address in page.fetched:
        if urllib.parse.urlsplit(address).netloc:
            failures.append(f"{file.relative_to(site)} fetches {address}")
for file in ours:
    for address in pages[file].links + pages[file].fetched:
        parts = urllib.parse.urlsplit(address)
        if parts.scheme or parts.netloc or file.name in ("404.html", "search.html"):
            continue
        checked += 1
        to = (file.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else file
        if to.is_dir():
            to = to / "index.html"
        if not to.exists() or site not in to.parents:
            failures.append(f"{file.relative_to(site)}: nothing is at {address}")
        elif parts.fragment and to in pages and urllib.parse.unquote(parts.fragment) not in pages[to].ids | {"top"}:
            failures.append(f"{file.relative_to(site)}: {to.relative_to(site)} has no place {parts.fragment}")
if checked < 200 or len(ours) < 15:
    failures.append(f"only {checked} links on {len(ours)} pages were found")
print("\n".join(failures) or f"{checked} links on {len(ours)} pages hold")
sys.exit(1 if failures else 0)
