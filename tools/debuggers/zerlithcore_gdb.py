"""Shows values of ZerlithCore in gdb as people read them, without calling a function of the program.

gdb loads this file with the library. Where it may not (`info auto-load`), write `source zerlithcore_gdb.py`.
"""
import datetime
import os
import re
import struct

import gdb
import gdb.printing


# --- Memory, read without types: a program that only passes an error on has no debug information about its class.

def unpack(form, address):
    memory = gdb.selected_inferior().read_memory(address, struct.calcsize(form))
    return struct.unpack(form, memory.tobytes())


def pointer_at(address):
    return unpack("P", address)[0]


def units_at(address, count):
    """The text of `count` units; what is no UTF-16 becomes a replacement character."""
    return unpack(f"{2 * count}s", address)[0].decode("utf-16", errors="replace") if count else ""


def terminated_units_at(address):
    text = b""
    while (unit := unpack("2s", address + len(text))[0]) != b"\0\0":
        text += unit
    return text.decode("utf-16", errors="replace")


def string_at(address):
    """The text of the KZString at an address: its block has the length behind two numbers, and then the units."""
    block = pointer_at(address)
    return units_at(block + 12, unpack("I", block + 8)[0])


def class_at(address):
    """The name of the class of an object with virtual functions, by the symbol of its table."""
    found = re.match(r"vtable for (.+?) \+", gdb.execute(f"info symbol {pointer_at(address)}", to_string=True))
    return found.group(1) if found else ""


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


# --- Errors

ENGLISH = 1033
# Bytes: where an error has its code, where KZError and KZErrorString have their members, and KZErrorWithArgs its own.
CODE, COUNTED, ARGUMENTS = 8, 24, 40


def module_text(module, code):
    """The text of a message of a module, English if there is one. `module` is the address of a table, plus 1."""
    if module & 1 == 0:
        return None
    messages, count = unpack("PN", module - 1)
    texts = {}
    for index in range(count):
        its_code, language, text = unpack("llP", messages + 24 * index)
        if its_code == code:
            texts[language] = text
    if not texts:
        return None
    return terminated_units_at(texts.get(ENGLISH, next(iter(texts.values()))))


def source_text(source, code):
    if not source or class_at(source) not in ("RCMessageTableSource", "RCStringTableMsgSource"):
        return None
    return module_text(pointer_at(source + 16), code)


def argument_at(address):
    """An argument of an error: a variant of 16 bytes with the kind behind the value."""
    kind = unpack("B", address + 8)[0]
    if kind == 4:
        return string_at(address)
    if kind == 5:
        return moment_text(unpack("I", address)[0])
    form = {1: "d", 2: "i", 3: "l", 6: "d"}.get(kind)
    return str(unpack(form, address)[0]) if form else ""


def arguments_at(address):
    first, last = unpack("PP", address)
    return [argument_at(place) for place in range(first, last, 16)]


def expanded(text, arguments):
    """The text with its arguments: `%1:s` names one by its number, `%s` takes the next."""
    following = iter(range(len(arguments)))

    def argument(found):
        index = int(found.group(1)) if found.group(1) else next(following, len(arguments))
        return arguments[index] if index < len(arguments) else found.group(0)

    return re.sub(r"%(?:(\d+):)?[a-zA-Z]", argument, text)


def error_text(error):
    """The text of the error at an address, or None where it isn't in memory, as that of a message file."""
    name = class_at(error)
    if name == "KZErrorString":
        return string_at(error + COUNTED)
    code = unpack("l", error + CODE)[0]
    if name == "KZWinLastError":
        return os.strerror(code)
    if name not in ("KZError", "KZErrorWithArgs"):
        return None
    text = source_text(pointer_at(error + COUNTED), code)
    if text is not None and name == "KZErrorWithArgs":
        text = expanded(text, arguments_at(error + ARGUMENTS))
    return text


# --- Calendar

UNITS = ("year", "month", "week", "day", "hour", "minute", "second", "millisecond")


def date_text(packed):
    return f"{packed >> 9}/{packed >> 5 & 15:02}/{packed & 31:02}" if packed else "null"


def time_text(milliseconds):
    if milliseconds < 0:
        return "null"
    seconds = milliseconds // 1000
    return f"{seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}.{milliseconds % 1000:03}"


def moment_text(seconds):
    moment = datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=seconds)
    return f"{moment:%Y/%m/%d %H:%M:%S} UTC" if seconds else "null"


# --- The printers

class Printer:
    def __init__(self, value):
        self.value = value


class String(Printer):
    def to_string(self):
        block = self.value["data_"].dereference()
        return block["text"][0].address.lazy_string(length=int(block["length"]))

    def display_hint(self):
        return "string"


class Error(Printer):
    def to_string(self):
        error = int(self.value["error_"]["object_"])
        if not error:
            return "success"
        text = error_text(error)
        return f"error {unpack('l', error + CODE)[0]}" + ("" if text is None else f": {quoted(text)}")


class Guid(Printer):
    def to_string(self):
        first, second, third, last = struct.unpack("<IHH8s", unpack("16s", int(self.value.address))[0])
        return f"{first:08x}-{second:04x}-{third:04x}-{last[:2].hex()}-{last[2:].hex()}"


class Date(Printer):
    def to_string(self):
        return date_text(int(self.value["packed_"]))


class Time(Printer):
    def to_string(self):
        return time_text(int(self.value["milliseconds_"]))


class DateTime(Printer):
    """A date and a time, or only one of them. A date with a time is in UTC."""

    def to_string(self):
        date, time = int(self.value["date_"]["packed_"]), int(self.value["time_"]["milliseconds_"])
        if date and time >= 0:
            return f"{date_text(date)} {time_text(time)} UTC"
        return date_text(date) if date else time_text(time)


class Moment(Printer):
    def to_string(self):
        return moment_text(int(self.value["seconds_"]))


class Duration(Printer):
    def to_string(self):
        number, unit = int(self.value["value_"]), int(self.value["unit_"])
        if unit >= len(UNITS):
            return "invalid"
        return f"{number} {UNITS[unit]}" + ("" if abs(number) == 1 else "s")


class Double(Printer):
    def to_string(self):
        return self.value["value_"]


class Handle(Printer):
    """A handle shows the object that it holds, by the object's own class where that is known."""

    def to_string(self):
        return "null" if not self.value["object_"] else f"{self.value.type.strip_typedefs().unqualified()}"

    def children(self):
        object_ = self.value["object_"]
        if object_:
            yield "object", object_.cast(object_.dynamic_type)


class Vector(Printer):
    """A vector between two pointers, which stand behind that to its virtual functions. KZRawVector has elements of a size that
    only the object knows; they are shown as bytes."""

    def __init__(self, value):
        super().__init__(value)
        kind = value.type.strip_typedefs().unqualified()
        name = kind.name.partition("<")[0]
        if name == "KZRawVector":
            element = gdb.lookup_type("unsigned char").array(int(value["elementSize_"]) - 1)
        elif name == "KZVoidPtrVector":
            element = gdb.lookup_type("void").pointer()
        else:
            element = kind.template_argument(0)
        first, last = unpack("PP", int(value.address) + 8)
        self.first = gdb.Value(first).cast(element.pointer())
        self.count = (last - first) // element.sizeof

    def to_string(self):
        return "1 element" if self.count == 1 else f"{self.count} elements"

    def children(self):
        for index in range(self.count):
            yield f"[{index}]", self.first[index]

    def display_hint(self):
        return "array"


class Node(Printer):
    """A node of a document, with its name or text, which only the debug information of the library shows."""

    def to_string(self):
        object_ = self.value["node_"]["object_"]
        if not object_:
            return "no node"
        try:
            return node_text(object_.cast(object_.dynamic_type)["node_"].dereference())
        except gdb.error:
            return "a node"


def node_text(node):
    kind = str(node["type"])
    if kind == "XML_ELEMENT_NODE":
        return f"<{node['name'].string('utf-8')}>"
    if kind in ("XML_TEXT_NODE", "XML_CDATA_SECTION_NODE", "XML_COMMENT_NODE"):
        return quoted(node["content"].string("utf-8")) if node["content"] else '""'
    return "document" if kind == "XML_DOCUMENT_NODE" else kind


PRINTERS = (
    ("KZString", String),
    ("KZErrorID", Error),
    ("KZGuid", Guid),
    ("KZDateEx", Date),
    ("KZTimeEx", Time),
    ("KZDateTimeEx", DateTime),
    ("KZDateTime", Moment),
    ("KZDurationEx", Duration),
    ("KZDouble", Double),
    ("KZSmartPtr(ToConst)?<.*>", Handle),
    ("KZ(Raw|VoidPtr)Vector", Vector),
    ("KZ(TypedRaw|Pointer|SmartPtr)Vector<.*>", Vector),
    ("KZSmartPtrVectorMutexedBase<.*>", Vector),
    ("KZDOM(Node|Element|Text|Document)", Node),
)


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("ZerlithCore")
    for name, printer in PRINTERS:
        collection.add_printer(name, f"^{name}$", printer)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
