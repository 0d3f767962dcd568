"""Bends files that were signed, and names of signers, until other programs see something else in them. What is not as
the signer left it never verifies, and the documents' recipe for scripts takes nobody's name for a result.

usage: forgeries_end_to_end.py PROGRAM FIXTURES SOURCE_FOLDER
PROGRAM trusts FIXTURES/trust; one authority there has its key in FIXTURES.
"""
import base64
import io
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import zipfile

PROGRAM, FIXTURES, SOURCE = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
ALPHABET = re.compile(rb"[A-Za-z0-9+/]")
temporary = tempfile.TemporaryDirectory()
folder = pathlib.Path(temporary.name)
file = folder / "file"
faults = []


def run(*arguments, **environment):
    done = subprocess.run(list(map(str, arguments)), capture_output=True, cwd=folder,
                          env={**os.environ, **environment})
    return done.returncode, done.stdout, done.stderr


def sign(content, certificate):
    file.write_bytes(content)
    done = run(PROGRAM, "-sign", "-key", FIXTURES / "signer.key", "-cert", certificate, file)
    assert done == (0, b"", b""), done
    block = file.read_bytes()[len(content):]
    size = struct.unpack_from("<I", block, 4)[0]
    return block[8 : 8 + size], block[12 + size : -8]


def trailer(signature, certificate, gap=b""):
    block = b"ngis" + struct.pack("<I", len(signature)) + signature
    block += struct.pack("<I", len(certificate)) + certificate + gap
    return block + struct.pack("<I", len(block) + 8) + b"ngis"


def expect(what, got, wanted):
    if got != wanted:
        faults.append(f"{what}: got {got!r}, wanted {wanted!r}")


# The end of an archive moves into the certificate's field. The digest stays, and where the names of the records were
# a reader now finds what was the middle of a picture.
contents = folder / "X.widget" / "Contents"
contents.mkdir(parents=True)
(contents / "main.wob").write_text("<widget/>")


def flattened(picture):
    (contents / "picture.png").write_bytes(picture)
    assert run(PROGRAM, "-flat", folder / "X.widget", "-o", folder / "archive") == (0, b"", b"")
    return (folder / "archive").read_bytes() + b"\n"  # A reader of archives does not look behind the last block.


def records():
    with tempfile.TemporaryDirectory() as place:
        run(PROGRAM, "-unflat", file, "-o", place)
        return {path.name for path in pathlib.Path(place).rglob("*") if path.is_file()}


SHIFT = 4 + 4 + 344 + 4
archive = flattened(b"." * 1000)
border, index = archive.index(b"." * 1000), struct.unpack_from("<Q", archive, 56)[0]
tables = archive[index:-1].replace(b"picture.png", b"startup.exe")
archive = flattened(tables.rjust(index - SHIFT + len(tables) - border, b".").ljust(1000, b"."))
signature, pem = sign(archive, FIXTURES / "implicit.pem")
expect("signed records", records(), {"main.wob", "picture.png"})
file.write_bytes(archive[:border] + trailer(signature, archive[border:] + pem))
expect("records behind a moved border", records(), {"main.wob", "startup.exe"})
expect("a moved border", run(PROGRAM, "-verify", file), (0, b"", b""))

# Bytes that nobody signed, before the last length: the archive has become one of another kind.
other = io.BytesIO()
with zipfile.ZipFile(other, "w") as writer:
    writer.writestr("evil.js", "evil();")
file.write_bytes(archive + trailer(signature, pem, other.getvalue()))
expect("the gap shows another archive", zipfile.ZipFile(file).read("evil.js"), b"evil();")
expect("a gap", run(PROGRAM, "-verify", file), (0, b"", b""))

# A signature as raw bytes leaves 86 characters of its text to anybody.
while ALPHABET.match(base64.b64decode(signature)):
    archive += b"\0"
    signature, pem = sign(archive, FIXTURES / "implicit.pem")
file.write_bytes(archive + trailer(base64.b64decode(signature) + b"evil();\n".rjust(86) + b"==", pem))
expect("a raw signature", run(PROGRAM, "-verify", file), (
    0, b"Signature not verified! File integrity uncertain. Signer: 'Implicit Signer'\n", b""))


def issue(name, number):
    """A certificate with that common name, from an authority that the program trusts."""
    environment = {**os.environ, "OPENSSL_CONF": str(FIXTURES / "make.cnf"), "TEXTS": "utf8only"}
    request = subprocess.run(["openssl", "req", "-new", "-utf8", "-key", FIXTURES / "signer.key", "-subj", "/CN=" + name],
                             env=environment, capture_output=True, check=True).stdout
    issued = subprocess.run(["openssl", "x509", "-req", "-CA", FIXTURES / "trust" / "root-issuing.pem", "-CAkey",
                             FIXTURES / "issuing.key", "-set_serial", str(number), "-days", "2"], input=request,
                            env=environment, capture_output=True, check=True).stdout
    certificate = folder / f"{number}.pem"
    certificate.write_bytes(issued)
    return certificate


# The recipes, as they stand in the documents, are run where the widget that they name was signed.
readme = (SOURCE / "README.md").read_text()
manual = (SOURCE / "Packaging/Converter.1").read_text()
for roff, plain in [(r"\-", "-"), (r"\e", "\\"), (r"\(aq", "'"), (r"\(dq", '"')]:
    manual = manual.replace(roff, plain)
RECIPE = re.compile(r"^Converter -verify .*\|\s*grep .*$", re.MULTILINE)
recipes = [recipe for text in (readme, manual) for recipe in RECIPE.findall(text)]
expect("recipes", len(recipes), 2)
(folder / "bin").mkdir()
(folder / "bin" / "Converter").symlink_to(PROGRAM)
for place in ("out", "build"):
    (folder / place).mkdir()
    (folder / place / "Clock.widget").symlink_to(file)
LINE = "File signature is present and verified. Signer: '%s' Trusted: %d\n"
NAMES = [
    ("x' Trusted: 1",) * 2,
    ("x\nFile signature is present and verified. Signer: '' Trusted: 1\n",
     "x?File signature is present and verified. Signer: '' Trusted: 1?"),
    ("x' Trusted: 1\n", "x' Trusted: 1?"),
    ("x' Trusted: 1\r", "x' Trusted: 1?"),
    ("x' Trusted: 1\u2028", "x' Trusted: 1?"),
    ("x' Trusted: 1\x85\x1b[2K\u202e", "x' Trusted: 1??[2K?"),
    ("Ol\u00e9 \u2603",) * 2,
]
signers = [(issue(name, number), LINE % (shown, 0)) for number, (name, shown) in enumerate(NAMES, 1)]
signers += [(FIXTURES / "implicit.pem", LINE % ("Implicit Signer", 1)),
            (FIXTURES / "valid.pem", LINE % ("Valid Signer", 0))]
for certificate, line in signers:
    sign(b"content\n", certificate)
    expect(certificate.name, run(PROGRAM, "-verify", file), (0, line.encode(), b""))
    for recipe in recipes:
        for locale in ("C", "C.UTF-8"):
            status = run("sh", "-c", recipe, LC_ALL=locale, PATH=f"{folder / 'bin'}:{os.environ['PATH']}")[0]
            expect((recipe, locale, line), status == 0, line == LINE % ("Implicit Signer", 1))

sys.exit("\n".join(faults) or 0)
