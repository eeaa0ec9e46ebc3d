#!/usr/bin/env python3
"""Makes HTML of the documents' Markdown pages: packaging/pages_to_html.py FROM TO PAGE...

PAGE is a path below the folder FROM. A file that doesn't end in .md is copied. The older content of the folder TO is
removed."""
import html
import pathlib
import re
import shutil
import subprocess
import sys

PAGE = """<!DOCTYPE html>
<html lang="%s">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>%s</title>
<style>
body { max-width: 50em; margin: 2em auto; padding: 0 1em;
  font: 100%%/1.4 "Segoe UI", "Noto Sans", "DejaVu Sans", sans-serif }
table { border-collapse: collapse }
td, th { border: 1px solid #bbb; padding: .2em .5em; text-align: left; vertical-align: top }
code, pre { font-family: Consolas, "DejaVu Sans Mono", monospace }
pre { overflow: auto; background: #f2f2f2; padding: .6em }
img { max-width: 100%% } :lang(ja) em, :lang(zh) em { font-style: normal; font-weight: bold }
@media print {
  @page { size: A4; margin: 15mm }
  body { max-width: none; margin: 0; padding: 0; font-size: 10pt; line-height: 1.3 }
  a { color: inherit; text-decoration: none }
  pre { white-space: pre-wrap } tr, pre, img { break-inside: avoid } h1, h2, h3 { break-after: avoid }
}
%s</style>
%s</html>
"""
# A page for the operator fills one sheet of paper, and its last table has room to write in.
SHEET = """table { width: 100%; table-layout: fixed } td, th { overflow-wrap: break-word }
table:first-of-type th:first-child { width: 4.5em } table:first-of-type th:nth-child(2) { width: 30% }
td img { width: 3.5em } p, ol, ul { margin: .7em 0 } h1 { margin: 0 }
table:last-of-type td { height: 1.8em } @media print { @page { margin: 12mm 15mm } body { font-size: 9.5pt } }
"""


def text_of(heading):
    return html.unescape(re.sub(r"<[^>]*>", "", heading))


def anchor(heading):
    return re.sub(r"[^\w\- ]", "", text_of(heading).lower()).replace(" ", "-")


def with_anchor(heading):
    return '<%s id="%s">%s</%s>' % (heading[1], anchor(heading[2]), heading[2], heading[1])


def language(name):
    found = re.fullmatch(r".*\.([a-z]{2})\.md", name)
    return found[1] if found else "en"


def page_of(path):
    body = subprocess.run(["cmark-gfm", "--extension", "table", path], check=True, capture_output=True,
                          encoding="utf-8").stdout
    title = re.search(r"<h1>(.*?)</h1>", body)
    body = re.sub(r"<(h\d)>(.*?)</\1>", with_anchor, body)
    body = re.sub(r'href="(?!\w+:)([^"#]*)\.md(?=["#])', r'href="\1.html', body)
    sheet = SHEET if path.name.startswith("operator-page") else ""
    return PAGE % (language(path.name), html.escape(text_of(title[1])), sheet, body)


def main(source, target, *names):
    shutil.rmtree(target, ignore_errors=True)
    for name in names:
        path = pathlib.Path(source, name)
        page = pathlib.Path(target, name)
        page.parent.mkdir(parents=True, exist_ok=True)
        if page.suffix == ".md":
            page.with_suffix(".html").write_text(page_of(path), encoding="utf-8")
        else:
            shutil.copyfile(path, page)


if len(sys.argv) < 4:
    sys.exit(__doc__)
main(*sys.argv[1:])
