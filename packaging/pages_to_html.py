#!/usr/bin/env python3
"""Turns the Markdown pages of a folder into HTML, which Windows can show: packaging/pages_to_html.py FOLDER"""
import html
import pathlib
import re
import subprocess
import sys

PAGE = """<!DOCTYPE html>
<html lang="en">
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>%s</title>
<style>
body { max-width: 50em; margin: 2em auto; padding: 0 1em; font: 100%%/1.4 "Segoe UI", sans-serif }
table { border-collapse: collapse } td, th { border: 1px solid #bbb; padding: .2em .5em; text-align: left; vertical-align: top }
code, pre { font-family: Consolas, monospace } pre { overflow: auto; background: #f2f2f2; padding: .6em } img { max-width: 100%% }
</style>
%s</html>
"""


def text_of(heading):
    return html.unescape(re.sub(r"<[^>]*>", "", heading))


def anchor(heading):
    return re.sub(r"[^\w\- ]", "", text_of(heading).lower()).replace(" ", "-")


for page in sorted(pathlib.Path(sys.argv[1]).rglob("*.md")):
    body = subprocess.run(["cmark-gfm", "--extension", "table", page], check=True, capture_output=True,
                          encoding="utf-8").stdout
    title = re.search(r"<h1>(.*?)</h1>", body)
    body = re.sub(r"<(h\d)>(.*?)</\1>", lambda found: '<%s id="%s">%s</%s>' % (found[1], anchor(found[2]), found[2], found[1]), body)
    body = re.sub(r'href="(?!\w+:)([^"#]*)\.md(?=["#])', r'href="\1.html', body)
    page.with_suffix(".html").write_text(PAGE % (html.escape(text_of(title[1])), body), encoding="utf-8")
    page.unlink()
