"""Reads every #include of the product and fails on one that the law in Docs/architecture.md forbids."""

import pathlib
import re
import sys

ROOT = pathlib.Path(sys.argv[1])
FOLDERS = ("Core/Source", "Converter/Source")


def block(name):
    text = (ROOT / "Docs/architecture.md").read_text()
    lines = re.search(rf"^```{name}\n(.*?)^```", text, re.M | re.S).group(1).splitlines()
    return {key.strip(): set(value.split()) for key, value in (line.split(":") for line in lines)}


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


found = list(faults())
print("\n".join(found) or "Every include is lawful.")
sys.exit(1 if found else 0)
