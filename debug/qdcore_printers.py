"""Shows the library's strings, pointers, containers, nodes and errors in gdb as what they hold.

gdb loads it by itself where it stands beside the library; what cannot be read is told, not raised.

    (gdb) source debug/qdcore_printers.py
    (gdb) print name
    $1 = u"Plane001"
"""

import gdb
import gdb.printing


def pointer_in(owner, target):
    """What a `std::unique_ptr` without a deleter of its own points at, whatever library made it."""
    return owner.address.cast(target.pointer().pointer()).dereference()


def plural(count, noun):
    return f"{count} {noun}" if count == 1 else f"{count} {noun}s"


# What gdb raises for memory that is not there and for classes without debug information, and what
# follows from values that make no sense: a variable may be printed before it is constructed.
UNREADABLE = (gdb.error, LookupError, RuntimeError, TypeError, ValueError)


def guarded(printer):
    """A printer that tells what `printer` fails for."""

    class Guarded(printer):
        def __init__(self, value):
            self.fault = None
            try:
                super().__init__(value)
            except UNREADABLE as fault:
                self.fault = fault

        def to_string(self):
            try:
                if self.fault is None:
                    return super().to_string()
            except UNREADABLE as fault:
                self.fault = fault
            return f"<not readable: {self.fault}>"

        def display_hint(self):
            return super().display_hint() if self.fault is None and hasattr(printer, "display_hint") else None

    if hasattr(printer, "children"):

        def children(self):
            try:
                for name, child in printer.children(self) if self.fault is None else ():
                    child.fetch_lazy()  # here, as gdb itself would give up
                    yield name, child
            except UNREADABLE as fault:
                yield "not readable", str(fault)

        Guarded.children = children
    return Guarded


class TextPrinter:
    """WString and BString: the text of a block that strings share."""

    def __init__(self, value):
        self.block = value["m_text"]["m_block"]
        self.encoding = "windows-1252" if value.type.strip_typedefs().name == "BString" else ""

    def to_string(self):
        if not self.block:
            return '""'
        text = self.block["text"]
        start = text.address.cast(text.type.target().pointer())
        return start.lazy_string(self.encoding) if self.encoding else start.lazy_string()

    def display_hint(self):
        return "string" if self.block else None


def text_of(value):
    """A WString as Python's text."""
    block = value["m_text"]["m_block"]
    text = block["text"]
    return text.address.cast(text.type.target().pointer()).string("utf-16") if block else ""


def path_of(node):
    """From the root, as `BBank` writes it; the upper part is left out of a very long one."""
    names = []
    while node.address and len(names) < 100:
        names.append(text_of(node["m_text"]))
        parent = node["m_parent"]
        if not parent:
            return "/" + "/".join(reversed(names))
        node = parent.dereference()
    return ".../" + "/".join(reversed(names))


class NodePrinter:
    """BNode: its path, and what it holds."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return path_of(self.value) + ("" if self.value["m_isActive"] else " (inactive)")

    def children(self):
        if self.value["m_object"]["m_object"]:
            yield "object", self.value["m_object"]


def is_node(type_):
    return type_.name == "BNode" or any(is_node(field.type) for field in type_.fields() if field.is_base_class)


class SmartPointerPrinter:
    """SP: the class of the object, the path of a node, who shares it and where it is."""

    def __init__(self, value):
        self.object = value["m_object"]

    def to_string(self):
        if not self.object:
            return "null"
        name = str(self.object.dynamic_type.target())
        try:
            if is_node(self.object.dynamic_type.target()):
                node = self.object.cast(self.object.dynamic_type).dereference()
                name += " " + path_of(node)
            references = int(self.object["m_refCount"])
        except gdb.error:  # a library without debug information keeps the fields to itself
            return name
        return f"{name} with {plural(references, 'reference')}"

    def children(self):
        if self.object:
            yield "m_object", self.object.cast(self.object.dynamic_type)


class ArrayPrinter:
    def __init__(self, value):
        self.count = int(value["m_count"])
        self.first = pointer_in(value["m_elements"], value.type.strip_typedefs().template_argument(0))

    def to_string(self):
        return plural(self.count, "element")

    def children(self):
        for i in range(self.count):
            yield f"[{i}]", self.first[i]

    def display_hint(self):
        return "array"


class ListPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return plural(int(self.value["m_count"]), "element")

    def children(self):
        node = self.value["m_head"]
        for i in range(int(self.value["m_count"])):
            yield f"[{i}]", node["element"]
            node = node["next"]

    def display_hint(self):
        return "array"


class EntriesPrinter:
    """Keys and values in the order of iteration."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return plural(self.count(), "entry").replace("entrys", "entries")

    def children(self):
        for i, item in enumerate(self.items()):
            yield f"[{i}] key", item["key"]
            yield f"[{i}] value", item["value"]

    def display_hint(self):
        return "map"


class DictionaryPrinter(EntriesPrinter):
    def count(self):
        return int(self.value["m_index"]["m_count"])

    def items(self):
        if self.count() == 0:
            return
        pages = self.value["m_pages"]
        page_owner = pages.type.template_argument(0).target()
        page = page_owner.template_argument(0)
        first = pointer_in(pages, page_owner)
        page_size = page.fields()[0].type.range()[1] + 1
        for number in range((int(self.value["m_bucketCount"]) - 1) // page_size + 1):
            buckets = pointer_in(first[number], page)
            if not buckets:
                continue
            for i in range(page_size):
                entry = buckets["buckets"][i]["first"]
                while entry:
                    yield entry["item"]
                    link = entry["next"]  # odd at the end of a bucket
                    entry = None if int(link) % 2 else link.cast(entry.type)


class MapPrinter(EntriesPrinter):
    """The nodes of the tree in a `std::set` of the compiler's own library."""

    def tree(self):
        return self.value["m_items"]["_M_t"]["_M_impl"]

    def count(self):
        return int(self.tree()["_M_node_count"])

    def items(self):
        item = self.value["m_items"].type.strip_typedefs().template_argument(0)
        node = self.tree()["_M_header"]["_M_left"]
        for _ in range(self.count()):
            yield (node + 1).cast(item.pointer()).dereference()
            node = self.next(node)

    @staticmethod
    def next(node):
        if node["_M_right"]:
            node = node["_M_right"]
            while node["_M_left"]:
                node = node["_M_left"]
            return node
        while node == node["_M_parent"]["_M_right"]:
            node = node["_M_parent"]
        return node["_M_parent"]


# The table of core/base/BError.cpp; other numbers are the application's.
ERRORS = {
    (0, ""): "no error",
    (32767, "$IDS_ErrorHint16"): "an archive could not be read or written",
    (32767, "$IDS_ErrorHint61"): "a profile that is read only was to be changed",
    (25021, ""): "a memory manager has no memory left",
    (25021, "$IDS_ErrorHint26"): "a block is not of this memory manager",
    (25070, ""): "stopped by the user",
    (31825, ""): "a file was not written",
    (32987, ""): "there is nothing at the path, or it has no short name",
    (13004, ""): "nobody executes commands",
    (7356, ""): "a key is not valid",
    (7357, ""): "a key lacks a text",
    (7358, ""): "two keys have one text",
    (7359, ""): "a key is there already",
    (7360, ""): "lines of a language file have faults",
}


class ErrorPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        code = int(self.value["m_code"])
        text = ERRORS.get((code, text_of(self.value["m_arguments"][0])), ERRORS.get((code, "")))
        return f"error {code}" + (f" ({text})" if text else "")

    def children(self):
        arguments = self.value["m_arguments"]
        for i in range(arguments.type.range()[1] + 1):
            if arguments[i]["m_text"]["m_block"]:
                yield f"argument {i}", arguments[i]


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("qdcore")
    for name, pattern, printer in (
        ("strings", "^[WB]String$", TextPrinter),
        ("SP", "^SP<.*>$", SmartPointerPrinter),
        ("BArray", "^BArray<.*>$", ArrayPrinter),
        ("DList", "^DList<.*>$", ListPrinter),
        ("BDictionary", "^(BDictionary|BHashTable)<.*>$", DictionaryPrinter),
        ("BMap", "^BMap<.*>$", MapPrinter),
        ("BNode", "^BNode$", NodePrinter),
        ("BError", "^BError$", ErrorPrinter),
    ):
        collection.add_printer(name, pattern, guarded(printer))
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
