#!/usr/bin/env python3
"""Packs the executables, the guide and the licence: one zip for x64, one for x86, and their sums.

BUILD.txt in each says which compiler made it. The same inputs and compiler give the same bytes:
fixed order, times and attributes, no compression level that depends on the machine.
"""
import hashlib
import pathlib
import re
import sys
import zipfile

TOP = pathlib.Path(__file__).resolve().parent.parent
TARGETS = {"x64": "build/win64", "x86": "build/win32"}
TEXTS = ["docs/guide.md", "docs/security.md", "LICENSE"]


def version():
    header = (TOP / "src/report/product.h").read_text()
    return re.search(r'PRODUCT_VERSION_TEXT "([^"]+)"', header).group(1)


def pack(name, folder, target):
    files = [TOP / folder / exe for exe in ("Rotate_TSD.exe", "getFileExtents.exe")]
    files += [TOP / text for text in TEXTS]
    compiler = TOP / folder / "compiler.txt"
    missing = [str(f.relative_to(TOP)) for f in [*files, compiler] if not f.is_file()]
    if missing:
        sys.exit(f"dist: missing {', '.join(missing)}; run 'make windows' first")
    contents = {file.name: file.read_bytes() for file in files}
    contents["BUILD.txt"] = f"{name}, built by {compiler.read_text().strip()}\r\n".encode()
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for file, data in contents.items():
            info = zipfile.ZipInfo(f"{name}/{file}", date_time=(1980, 1, 1, 0, 0, 0))
            info.compress_type = zipfile.ZIP_DEFLATED
            info.create_system = 0
            archive.writestr(info, data)


def main():
    out = TOP / "dist"
    out.mkdir(exist_ok=True)
    sums = []
    for arch, folder in TARGETS.items():
        name = f"Rotate_TSD-{version()}-{arch}"
        target = out / f"{name}.zip"
        pack(name, folder, target)
        sums.append(f"{hashlib.sha256(target.read_bytes()).hexdigest()}  {target.name}")
    (out / "SHA256SUMS").write_text("\n".join(sums) + "\n")
    print("\n".join(sums))


if __name__ == "__main__":
    main()
