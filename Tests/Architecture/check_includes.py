"""Reads the sources of the product and fails on an #include that the law in Docs/architecture.md forbids, on a circle of
sources, on a public header that brings an internal one, and on a class whose members are defined in several sources."""

import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
FOLDERS = ("Core/Source", "Converter/Source")


def block(name):
    text = (ROOT / "Docs/architecture.md").read_text()
    lines = re.search(rf"^```{name}\n(.*?)^```", text, re.M | re.S).group(1).splitlines()
    return {key.strip(): set(value.split()) for key, value in (line.split(":") for line in lines)}


# Helpers that use a type of the class whose work they share, and that class.
CIRCLES = set()
LAW, OUTSIDE = block("law"), block("outside")


def folder_of(path):
    for base in FOLDERS:
        if path.is_relative_to(ROOT / base):
            parts = path.relative_to(ROOT / base).parts
            return parts[0] if len(parts) > 1 else "Converter"
    return None


def inner_fault(folder, header):
    targets = [ROOT / base / header for base in FOLDERS if (ROOT / base / header).is_file()]
    if not targets:
        return "is no header of the project"
    target = folder_of(targets[0])
    return None if target == folder or target in LAW[folder] else f"{folder} may not include {target}"


def outer_fault(folder, source, header):
    if re.fullmatch(r"[a-z0-9_]+", header):
        return None
    kind = next((kind for kind in OUTSIDE if header.startswith(kind)), "system")
    allowed = OUTSIDE[kind]
    return None if folder in allowed or source in allowed else f"{kind} headers do not belong here"


def faults():
    for path in sorted(p for base in FOLDERS for p in (ROOT / base).rglob("*") if p.suffix in (".h", ".cpp")):
        source, folder = str(path.relative_to(ROOT)), folder_of(path)
        for number, line in enumerate(path.read_text().splitlines(), 1):
            include = re.match(r'\s*#\s*include\s*([<"])([^>"]+)', line)
            if include:
                quote, header = include.groups()
                fault = inner_fault(folder, header) if quote == '"' else outer_fault(folder, source, header)
                if fault:
                    yield f"{source}:{number}: {line.strip()}: {fault}"


def circles():
    """Units, a header with its source, that need each other. A circle cannot lead out of a room and back."""
    needs = {}
    for path in (p for base in FOLDERS for p in (ROOT / base).rglob("*") if p.suffix in (".h", ".cpp")):
        headers = re.findall(r'^\s*#\s*include "(?:.*/)?([^"/]+)\.h"', path.read_text(), re.M)
        needs.setdefault(path.with_suffix(""), set()).update(path.with_name(header) for header in headers)
    for unit, others in needs.items():
        others.discard(unit)
    while ends := [unit for unit, others in needs.items() if not others & needs.keys()]:
        for unit in ends:
            del needs[unit]
    while ends := needs.keys() - set().union(*needs.values()):
        for unit in ends:
            del needs[unit]
    yield from (f"{unit.relative_to(ROOT)}: is in a circle" for unit in sorted(needs) if unit.name not in CIRCLES)


def faults_of_public_headers():
    text = (ROOT / "cmake/OxPublicHeaders.cmake").read_text()
    public = [ROOT / path for path in re.findall(r"^  (\S+\.h)$", text, re.M)]
    for path in public:
        for header in re.findall(r'^\s*#\s*include "([^"]+)"', path.read_text(), re.M):
            if not any(ROOT / base / header in public for base in FOLDERS):
                yield f"{path.relative_to(ROOT)}: is public, and {header} is not"


def divided_classes():
    homes = {}
    for path in (p for base in FOLDERS for p in (ROOT / base).rglob("*.cpp")):
        names = re.findall(r"^(?=\S)(?:[\w:<>,*&\[\] ]+[ *&])?((?:\w+::)+)(?:~?\w+|operator[^(]*)\([^;]*$", path.read_text(), re.M)
        for name in names:
            homes.setdefault(name.removesuffix("::"), set()).add(path.name)
    yield from (f"{name}: is defined in {', '.join(sorted(all))}" for name, all in sorted(homes.items()) if len(all) > 1 and name not in LAW)


found = [*faults(), *circles(), *faults_of_public_headers(), *divided_classes()]
print("\n".join(found) or "Every include is lawful.")
sys.exit(1 if found else 0)
