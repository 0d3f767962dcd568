"""Pretty printers for gdb: gdb -x scripts/gdb/printers.py PROGRAM

Strings and paths show their text, buffers their first bytes, smart pointers what they point to, and the nodes of a
document their kind, name, value and line, with attributes and children inside.
"""
import gdb
import gdb.printing

SHOWN_BYTES = 32


def read(address, count):
    return bytes(gdb.selected_inferior().read_memory(int(address), count)) if count else b""


def text_of(string):
    storage, size = string["storage_"], int(string["size_"])
    characters = gdb.lookup_type("char").pointer()
    address = storage.address.cast(characters)
    if int(storage[15]) != 0:
        address = address.cast(characters.pointer()).dereference()
    return read(address, size).decode("utf-8", "backslashreplace")


def printable(text):
    """The text without what gdb cannot print, as in the locale C: there, gdb would give up."""
    charset = gdb.host_charset()
    return text.encode(charset, "backslashreplace").decode(charset)


def target_of(smart_pointer):
    """The object in its own class, or None."""
    pointer = smart_pointer["pointer_"]
    return pointer.cast(pointer.dynamic_type).dereference() if int(pointer) else None


def held(unique_pointer):
    """The object in a std::unique_ptr, which is as large as a pointer, or None."""
    kind = unique_pointer.type.strip_typedefs().template_argument(0).pointer()
    pointer = unique_pointer.address.cast(kind.pointer()).dereference()
    return pointer.dereference() if int(pointer) else None


def members(value):
    return {field.name for base in bases(value.type) for field in base.fields()}


def bases(kind):
    yield kind
    for field in kind.fields():
        if field.is_base_class:
            yield from bases(field.type)


class TextPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        name = self.value.type.strip_typedefs().name
        if name == "OxXMLName":
            return printable(text_of(target_of(self.value["shared_"])["text"]))
        return printable(text_of(self.value["text_"] if name == "OxPath" else self.value))

    def display_hint(self):
        return "string"


class BufferPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        length, capacity = int(self.value["length_"]), int(self.value["capacity_"])
        shown = read(self.value["data_"], min(length, SHOWN_BYTES)).hex(" ")
        return f"{length} of {capacity} bytes: {shown}{' ...' if length > SHOWN_BYTES else ''}"


class NodePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        known = members(self.value)
        kind = self.value.type.name.removeprefix("OxXML").removesuffix("Node")
        for name in {"name_", "target_"} & known:
            kind += " " + text_of(target_of(self.value[name]["shared_"])["text"])
        for text in {"data_", "text_"} & known:
            kind += f" {text_of(self.value[text])!r}"
        return printable(f"{kind}, line {int(self.value['line_'])}")

    def children(self):
        attributes = held(self.value["attributes_"])
        if attributes is not None:
            many = held(attributes["large_"])
            yield "attributes", attributes["small_"] if many is None else many["tree"]
        child = target_of(self.value["children_"]["first"]) if self.has_children() else None
        number = 0
        while child is not None:
            yield f"[{number}]", child
            child, number = target_of(child["next_"]), number + 1

    def has_children(self):
        return "children_" in members(self.value) and "first" in members(self.value["children_"])


class SmartPtrPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        target = target_of(self.value)
        if target is None:
            return "null"
        printer = gdb.default_visualizer(target)
        shown = f": {printer.to_string()}" if printer else ""
        return f"{target.type} {int(target.address):#x}, {int(target['count_'])} references{shown}"


def build():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("converter")
    printers.add_printer("text", "^(OxString|OxPath|OxXMLName)$", TextPrinter)
    printers.add_printer("OxBuffer", "^OxBuffer$", BufferPrinter)
    printers.add_printer("nodes", "^OxXML([A-Za-z]+Node|Doc)$", NodePrinter)
    printers.add_printer("SmartPtr", "^Hux::SmartPtr<.*>$", SmartPtrPrinter)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build(), replace=True)
