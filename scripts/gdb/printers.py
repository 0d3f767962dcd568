"""Pretty printers for gdb: gdb -x scripts/gdb/printers.py PROGRAM"""
import gdb
import gdb.printing


def string_bytes(value):
    storage, size = value["storage_"], int(value["size_"])
    address = storage.address.cast(gdb.lookup_type("char").pointer())
    if int(storage[15]) != 0:
        address = address.cast(gdb.lookup_type("char").pointer().pointer()).dereference()
    return bytes(gdb.selected_inferior().read_memory(int(address), size)) if size else b""


class StringPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return string_bytes(self.value).decode("utf-8", "backslashreplace")

    def display_hint(self):
        return "string"


class BufferPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        length, capacity = int(self.value["length_"]), int(self.value["capacity_"])
        shown = b""
        if length:
            shown = bytes(gdb.selected_inferior().read_memory(int(self.value["data_"]), min(length, 32)))
        return f"{length} of {capacity} bytes: {shown.hex(' ')}{' ...' if length > 32 else ''}"


class PathPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return string_bytes(self.value["text_"]).decode("utf-8", "backslashreplace")

    def display_hint(self):
        return "string"


class SmartPtrPrinter:
    def __init__(self, value):
        self.pointer = value["pointer_"]

    def to_string(self):
        if int(self.pointer) == 0:
            return "null"
        target = self.pointer.cast(self.pointer.dynamic_type)
        return f"{target.type} {int(target):#x}, {int(target.dereference()['count_'])} references"


def build():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("converter")
    printers.add_printer("OxString", "^OxString$", StringPrinter)
    printers.add_printer("OxBuffer", "^OxBuffer$", BufferPrinter)
    printers.add_printer("OxPath", "^OxPath$", PathPrinter)
    printers.add_printer("SmartPtr", "^Hux::SmartPtr<.*>$", SmartPtrPrinter)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build(), replace=True)
