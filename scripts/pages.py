"""The documents of a package: Markdown as HTML pages that any browser opens without a network.

Each page is one file: pictures and style are inside, links lead to the other pages of the package.
"""
import base64
import html
import pathlib
import posixpath
import re
import subprocess

TOP = pathlib.Path(__file__).resolve().parent.parent
PAGES = {"README.md": "README.html", "docs/guide.md": "guide.html",
         "docs/security.md": "security.html", "CHANGELOG.md": "CHANGELOG.html"}
OTHERS = {"LICENSE": "LICENSE.txt"}
FOR_DEVELOPERS = "\n## For developers\n"  # README.md describes the sources from here on

STYLE = """
body { font: 16px/1.5 "Segoe UI", Verdana, sans-serif; max-width: 60em; margin: 1em auto;
       padding: 0 1em; color: #222; background: #fff; }
table { border-collapse: collapse; margin: 1em 0; }
th, td { border: 1px solid #bbb; padding: 0.3em 0.6em; text-align: left; vertical-align: top; }
th { background: #eee; }
code, pre { font: 14px/1.4 Consolas, "Lucida Console", monospace; background: #f4f4f4; }
pre { padding: 0.7em; border: 1px solid #ddd; overflow: auto; }
blockquote { margin: 1em 0; padding: 0 1em; border-left: 4px solid #bbb; }
img { max-width: 100%; }
.release { border-bottom: 1px solid #bbb; padding-bottom: 0.5em; }
"""

FRAME = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width">
<title>{title} - {release}</title>
<style>{style}</style>
</head>
<body>
<p class="release"><b>{release}</b><br>
<a href="README.html">Start</a> &middot; <a href="guide.html">Guide</a> &middot;
<a href="security.html">What is written</a> &middot; <a href="CHANGELOG.html">Changes</a></p>
{body}</body>
</html>
"""


def slug(heading, taken):
    """The anchor that the usual Markdown viewers make for a heading."""
    text = html.unescape(re.sub(r"<[^>]*>", "", heading)).lower()
    anchor = re.sub(r"[^\w\- ]", "", text).replace(" ", "-")
    number = taken.get(anchor, 0)
    taken[anchor] = number + 1
    return f"{anchor}-{number}" if number else anchor


def target(link, source):
    """The target in the package of a link in a source file."""
    if link.startswith(("#", "https:")):
        return link
    path, mark, anchor = link.partition("#")
    path = posixpath.normpath(posixpath.join(posixpath.dirname(source), path))
    page = {**PAGES, **OTHERS}.get(path)
    if page is None:
        raise ValueError(f"{source}: {link} isn't in the package")
    return page + mark + anchor


def picture(link, source):
    data = (TOP / source).parent.joinpath(link).read_bytes()
    return "data:image/png;base64," + base64.b64encode(data).decode("ascii")


def page(source, release):
    """The finished page of a Markdown file, with release in its first lines."""
    text = (TOP / source).read_text(encoding="utf-8").split(FOR_DEVELOPERS)[0]
    body = subprocess.run(["cmark-gfm", "--extension", "table"], input=text, text=True,
                          encoding="utf-8", check=True, capture_output=True).stdout
    taken = {}
    body = re.sub(r"<h(\d)>(.*?)</h\1>",
                  lambda m: f'<h{m[1]} id="{slug(m[2], taken)}">{m[2]}</h{m[1]}>', body)
    body = re.sub(r'(?<=<a href=")[^"]*', lambda m: target(m[0], source), body)
    body = re.sub(r'(?<=<img src=")[^"]*', lambda m: picture(m[0], source), body)
    title = re.search(r"^# (.*)", text, re.MULTILINE).group(1)
    return FRAME.format(title=title, release=release, style=STYLE, body=body)


def documents(release):
    """Names and contents, in the order of the package."""
    found = {name: page(source, release) for source, name in PAGES.items()}
    found.update({name: (TOP / source).read_text(encoding="utf-8")
                  for source, name in OTHERS.items()})
    # The Notepad of older versions of Windows needs CR LF.
    return {name: text.replace("\n", "\r\n").encode("utf-8") for name, text in found.items()}
