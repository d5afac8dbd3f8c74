#!/usr/bin/env python3
"""Packs the executables, the documents and the licence: one zip for x64, one for x86, and their sums.

BUILD.txt in each says which compiler made it. The same commit and compiler give the same bytes: fixed
order and attributes, the commit's time, no compression level that depends on the machine.
"""
import datetime
import hashlib
import os
import pathlib
import re
import subprocess
import sys
import zipfile

sys.dont_write_bytecode = True
import pages

TOP = pathlib.Path(__file__).resolve().parent.parent
TARGETS = {"x64": "build/win64", "x86": "build/win32"}
EXECUTABLES = ("Rotate_TSD.exe", "getFileExtents.exe")


def version():
    header = (TOP / "src/report/product.h").read_text()
    return re.search(r'PRODUCT_VERSION_TEXT "([^"]+)"', header).group(1)


def release_time():
    """The date of the commit, or SOURCE_DATE_EPOCH without a repository."""
    seconds = os.environ.get("SOURCE_DATE_EPOCH")
    if seconds is None:
        log = subprocess.run(["git", "-C", TOP, "log", "-1", "--format=%ct"], text=True,
                             capture_output=True, check=False)
        seconds = log.stdout.strip()
    if not seconds:
        sys.exit("dist: not a git repository; set SOURCE_DATE_EPOCH to the time of the release")
    return datetime.datetime.fromtimestamp(int(seconds), datetime.timezone.utc)


def sums(contents):
    return "".join(f"{hashlib.sha256(data).hexdigest()}  {name}\n"
                   for name, data in contents.items())


def contents_of(arch, time):
    folder = TOP / TARGETS[arch]
    files = [folder / exe for exe in (*EXECUTABLES, "compiler.txt")]
    missing = [str(f.relative_to(TOP)) for f in files if not f.is_file()]
    if missing:
        sys.exit(f"dist: missing {', '.join(missing)}; run 'make windows' first")
    release = f"Rotate_TSD {version()}, {time.day} {time:%B %Y}"
    contents = pages.documents(release)
    contents.update({exe: (folder / exe).read_bytes() for exe in EXECUTABLES})
    compiler = (folder / "compiler.txt").read_text().strip()
    contents["BUILD.txt"] = f"{release}\r\nBuilt for {arch} by {compiler}\r\n".encode()
    contents["SHA256SUMS.txt"] = sums(contents).encode()
    return contents


def pack(name, contents, time, target):
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for file, data in contents.items():
            info = zipfile.ZipInfo(f"{name}/{file}", date_time=time.timetuple()[:6])
            info.compress_type = zipfile.ZIP_DEFLATED
            info.create_system = 0
            archive.writestr(info, data)


def main():
    first = re.search(r"^## (\S+)", (TOP / "CHANGELOG.md").read_text(), re.MULTILINE).group(1)
    if first != version():
        sys.exit(f"dist: CHANGELOG.md begins with {first}, but this is {version()}")
    out = TOP / "dist"
    out.mkdir(exist_ok=True)
    time = release_time()
    zips = {}
    for arch in TARGETS:
        name = f"Rotate_TSD-{version()}-{arch}"
        target = out / f"{name}.zip"
        pack(name, contents_of(arch, time), time, target)
        zips[target.name] = target.read_bytes()
    (out / "SHA256SUMS").write_text(sums(zips))
    print(sums(zips), end="")


if __name__ == "__main__":
    main()
