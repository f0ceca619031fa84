"""Shows the library's strings, pointers, containers and errors in gdb as what they hold.

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


class SmartPointerPrinter:
    """SP: the class of the object, who shares it and where it is."""

    def __init__(self, value):
        self.object = value["m_object"]

    def to_string(self):
        if not self.object:
            return "null"
        name = str(self.object.dynamic_type.target())
        try:
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
        return int(self.value["m_slots"]["m_count"])

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


class ErrorPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return f"error {int(self.value['m_code'])}"

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
        ("BError", "^BError$", ErrorPrinter),
    ):
        collection.add_printer(name, pattern, printer)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
