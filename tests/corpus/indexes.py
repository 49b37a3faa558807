"""Indexes of healthy files, for the corpus tests: which ones a table has, what stands in them, and how an engine looks
a key up in them. Like pages.py, on which it builds, it shares nothing with the program."""
import bisect
import functools
import struct

NODE, NO_COLUMN = 3, 0xFFFF
LINK = 4  # bytes of a row pointer at the end of an entry, and of a child's page behind that in a node


class Index:
    """`columns` are (column number, ascending)."""

    def __init__(self, raw, is_jet3):
        slots, root = (0, 34) if is_jet3 else (4, 38)
        numbers = [struct.unpack_from('<HB', raw, slots + 3 * i) for i in range(10)]
        self.columns = [(number, bool(order & 1)) for number, order in numbers if number != NO_COLUMN]
        self.root = struct.unpack_from('<I', raw, root)[0]


class Definition:
    """The indexes of a table, and the sort order of its columns: (language, version) by column number."""

    def __init__(self, table):
        form, jet3 = table.file.format, table.file.format.is_jet3
        parts = [table.file.page(number) for number in table.definition_pages]
        body = parts[0] + b''.join(part[8:] for part in parts[1:])
        count = struct.unpack_from('<I', body, form.real_indexes)[0]
        at = form.header + form.index_statistics * count
        self.sort_orders = {}
        for _ in table.columns:
            number = struct.unpack_from('<H', body, at + (1 if jet3 else 5))[0]
            order = struct.unpack_from('<H', body, at + (9 if jet3 else 11))[0]
            self.sort_orders[number] = (order, 0 if jet3 else body[at + 14])
            at += form.descriptor
        for _ in table.columns:
            at += 1 + body[at] if jet3 else 2 + struct.unpack_from('<H', body, at)[0]
        size = 39 if jet3 else 52
        self.indexes = [Index(body[at + size * i:at + size * (i + 1)], jet3) for i in range(count)]


class Page:
    """An index page, cut into whole entries."""

    def __init__(self, raw, is_jet3):
        self.is_node = raw[0] == NODE
        mask, area = (22, 248) if is_jet3 else (27, 480)
        self.next, self.tail = struct.unpack_from('<II', raw, 12 if is_jet3 else 16)
        prefix = raw[20] if is_jet3 else struct.unpack_from('<H', raw, 24)[0]
        self.entries, start = [], area
        for i in range(8 * (area - mask)):
            if raw[mask + i // 8] >> i % 8 & 1:
                shared = self.entries[0][:prefix] if self.entries else b''
                self.entries.append(shared + raw[start:area + i])
                start = area + i


class Tree:
    """An index of a file, read from its root page."""

    def __init__(self, file, root):
        self.file, self.root = file, root

    @functools.lru_cache(maxsize=None)
    def page(self, number):
        return Page(self.file.page(number), self.file.format.is_jet3)

    def _leaf_of(self, key):
        """The leaf where entries that are not below the key begin; an entry of a node is the last below its child."""
        page, steps = self.page(self.root), 0
        while page.is_node and steps < self.file.count:
            at = bisect.bisect_left([entry[:-LINK] for entry in page.entries], key)
            child = struct.unpack('>I', page.entries[at][-LINK:])[0] if at < len(page.entries) else page.tail
            page, steps = self.page(child), steps + 1
        return page

    def _from(self, key):
        """(key, row pointer) of each entry that is not below the key."""
        page, steps = self._leaf_of(key), 0
        while steps < self.file.count:
            for entry in page.entries[bisect.bisect_left(page.entries, key):]:
                pointer = struct.unpack('>I', entry[-LINK:])[0]
                yield entry[:-LINK], pointer
            if not page.next:
                return
            page, steps = self.page(page.next), steps + 1

    def entries(self):
        return self._from(b'')

    def find(self, key):
        """Row pointers of all entries with this key."""
        found = []
        for stored, pointer in self._from(key):
            if stored != key:
                # A key can be the beginning of others, whose entries then stand among its own.
                if not stored.startswith(key):
                    break
                continue
            found.append(pointer)
        return found
