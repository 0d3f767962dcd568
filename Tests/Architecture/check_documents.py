"""Documents name what exists: the targets of links, files, functions, tests and cases of the command line.

usage: check_documents.py SOURCE_FOLDER
"""
import pathlib
import re
import sys

SOURCE = pathlib.Path(sys.argv[1])
DOCUMENTS = [*SOURCE.glob("*.md"), *SOURCE.glob("Docs/*.md"), SOURCE / "Trust/README.md"]
ROOMS = {entry.name for entry in SOURCE.iterdir() if entry.is_dir() and entry.name != "build"}
TESTS = {
    f"{suite}.{name}"
    for file in SOURCE.glob("Tests/*/*.cpp")
    for suite, name in re.findall(r"^TEST(?:_[FP])?\((\w+), (\w+)\)", file.read_text(), re.MULTILINE)
}
CASES = {
    f"{file.stem}: {name}"
    for file in SOURCE.glob("Tests/Cli/cases/*.txt")
    for name in re.findall(r"^== (.*)", file.read_text(), re.MULTILINE)
}
SOURCES = "\n".join(
    file.read_text() for room in ("Converter", "Core", "Tests", "Fuzz") for file in (SOURCE / room).rglob("*.[ch]*")
) + "".join(file.read_text() for file in SOURCE.glob("cmake/*.cmake"))
COMMANDS = {"add_subdirectory", "find_package"}  # CMake's own.


def missing(document):
    text = re.sub(r"```.*?```", "", document.read_text(), flags=re.DOTALL)
    for target in re.findall(r"\]\(([^)#:]+)[^):]*\)", text):
        if not (document.parent / target).exists():
            yield f"link to {target}"
    for code in re.findall(r"`([^`\n]+)`", text):
        word = code.split()[0]
        if word.split("/")[0] in ROOMS and "TARGET" not in word and not (SOURCE / word).exists():
            yield word
        if (function := re.fullmatch(r"(?:\w+::)*(\w+)\(\)", code)) and not (
            function[1] in COMMANDS or re.search(rf"\b{function[1]}[( ]", SOURCES)
        ):
            yield f"function {code}"
        if re.fullmatch(r"[A-Z]\w+\.[A-Z]\w{9,}", code) and code not in TESTS:
            yield f"test {code}"
        if re.match(r"(arguments|flattening|listing|roundtrip|signing|unflattening): ", code) and code not in CASES:
            yield f"case {code}"


faults = [f"{document.relative_to(SOURCE)}: {what}" for document in DOCUMENTS for what in missing(document)]
print("\n".join(faults))
sys.exit(1 if faults else 0)
