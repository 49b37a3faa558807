"""A small reader of healthy Jet 3, Jet 4 and ACE files, page by page, written for these tests alone: it says on which
pages each row, definition and long value lies, so that a test can destroy pages and know what must survive, and which
indexes a table has.

It trusts the file (they are healthy copies) and raises Unreadable where it cannot follow.
"""
import struct

DATA, DEFINITION, INDEX_NODE, INDEX_LEAF, BITMAP = range(1, 6)
BOOLEAN, BYTE, INTEGER, LONG, CURRENCY, SINGLE, DOUBLE, DATE, BINARY, TEXT, OLE, MEMO = range(1, 13)
GUID, DECIMAL, COMPLEX = 15, 16, 18
KNOWN = {*range(BOOLEAN, MEMO + 1), GUID, DECIMAL, COMPLEX}
SLOT_HIDDEN, SLOT_POINTER, SLOT_START = 0x8000, 0x4000, 0x1FFF
VALUE_INLINE, VALUE_ON_ONE_PAGE = 0x80, 0x40  # kinds of long value; others are chains
CATALOGUE_PAGE = 2
NO_COLUMN = 0xFFFF

LAYOUT = {  # Jet 3, Jet 4 and ACE
    'page_size': (2048, 4096),
    # data pages: how many slots, and where they begin
    'slot_count': (8, 12), 'slots': (10, 14),
    # definitions: single values, the length of the header, of each index's statistics, of a column and of an index
    'variable_count': (23, 43), 'column_count': (25, 45), 'real_indexes': (31, 51), 'used_map': (35, 55),
    'header': (43, 63), 'statistics': (8, 12), 'column': (18, 25), 'index': (39, 52),
    # in a column
    'number': (1, 5), 'variable': (3, 7), 'flags': (13, 15), 'fixed': (14, 21),
    # in an index
    'index_columns': (0, 4),
}


class Unreadable(Exception):
    """The file does not follow the format here."""


class Format:
    """Where things are; the steps are the same in both."""

    def __init__(self, is_jet3):
        self.is_jet3 = is_jet3
        for name, places in LAYOUT.items():
            setattr(self, name, places[0 if is_jet3 else 1])

    def decode_text(self, raw):
        """A text value; compressed Jet 4 texts without toggles are all that the catalogue's names need."""
        if self.is_jet3:
            return raw.decode('cp1252', 'replace')
        if raw[:2] == b'\xff\xfe' and 0 not in raw:
            return raw[2:].decode('latin-1')
        return raw.decode('utf-16le', 'replace')


def u16(data, at):
    return struct.unpack_from('<H', data, at)[0]


def u32(data, at):
    return struct.unpack_from('<I', data, at)[0]


class Pages:
    def __init__(self, path):
        with open(path, 'rb') as file:
            self.data = file.read()
        self.format = Format(self.data[0x14] == 0)
        self.size = self.format.page_size
        self.count = len(self.data) // self.size

    def is_encrypted(self):
        return self.data[self.size] != DATA or self.data[2 * self.size] != DEFINITION

    def page(self, number):
        if number >= self.count:
            raise Unreadable('page %d is past the end' % number)
        return self.data[number * self.size:(number + 1) * self.size]

    def type_of(self, number):
        return self.data[number * self.size]

    def owner_of(self, number):
        """Definition page of a data page; 'LVAL' for long values."""
        owner = self.page(number)[4:8]
        return 'LVAL' if owner == b'LVAL' else u32(owner, 0)

    def pages_of_type(self, *types):
        return [number for number in range(1, self.count) if self.type_of(number) in types]

    def slots(self, number):
        """(start, end, word) of each slot of a data page."""
        page, form = self.page(number), self.format
        if page[0] != DATA:
            raise Unreadable('page %d holds no rows' % number)
        words = [u16(page, form.slots + 2 * i) for i in range(u16(page, form.slot_count))]
        starts = [word & SLOT_START for word in words]
        return list(zip(starts, [self.size, *starts], words))

    def row_at(self, pointer):
        """Bytes of the row that a stored pointer (slot in the low byte, page above it) names, and its page."""
        start, end, _ = self.slots(pointer >> 8)[pointer & 0xFF]
        return self.page(pointer >> 8)[start:end], pointer >> 8

    def used_pages(self, table):
        """Pages that the table's usage map names."""
        row, _ = self.row_at(table.used_map)
        if row[0] == 0:
            return _numbers(row[5:], u32(row, 1))
        bitmaps = [u32(row, at) for at in range(1, len(row) - 3, 4)]
        return set().union(*(_numbers(self.page(bitmap)[4:], i * (self.size - 4) * 8)
                             for i, bitmap in enumerate(bitmaps) if bitmap))


def _numbers(bits, first):
    """Numbers of the bits that are set; the first bit's is given."""
    return {first + i for i in range(8 * len(bits)) if bits[i // 8] >> i % 8 & 1}


class Column:
    def __init__(self, raw, form):
        self.type, self.scale = raw[0], raw[12]
        self.number, self.variable = u16(raw, form.number), u16(raw, form.variable)
        self.fixed_offset, self.length = u16(raw, form.fixed), u16(raw, form.fixed + 2)
        self.is_fixed = bool(raw[form.flags] & 1)
        self.extended = 0 if form.is_jet3 else raw[16]
        self.is_calculated = not form.is_jet3 and raw[16] & 0xC0 == 0xC0
        self.name = ''


class Row:
    """One live row: its home page, and every page that must be whole for all its values to come back."""

    def __init__(self, page, slot):
        self.page, self.slot = page, slot
        self.pages = {page}
        self.fields = {}  # column number -> raw bytes; absent when null

    def integer(self, column):
        raw = self.fields.get(column.number, b'')
        return int.from_bytes(raw[:column.length], 'little', signed=column.type != BYTE)


class Table:
    """A table definition and its rows; the columns stand in the order of their numbers."""

    def __init__(self, pages, definition):
        self.file, self.definition, form = pages, definition, pages.format
        self.definition_pages, body = self._assemble()
        self.variable_total, self.used_map = u16(body, form.variable_count), u32(body, form.used_map)
        index_total, column_total = u32(body, form.real_indexes), u16(body, form.column_count)
        at = form.header + form.statistics * index_total
        names_at = at + form.column * column_total
        self.columns = [Column(body[i:i + form.column], form) for i in range(at, names_at, form.column)]
        at = self._read_names(body, names_at) + form.index_columns
        self.columns.sort(key=lambda column: column.number)
        self.column = {column.name: column for column in self.columns}
        self.indexes = [self._index(body, at + form.index * i) for i in range(index_total)]

    def _assemble(self):
        chain, body, number = [], b'', self.definition
        while number and number not in chain:
            page = self.file.page(number)
            if page[0] != DEFINITION:
                raise Unreadable('definition %d' % self.definition)
            chain.append(number)
            body += page if not body else page[8:]
            number = u32(page, 4)
        return chain, body

    def _read_names(self, body, at):
        is_jet3 = self.file.format.is_jet3
        for column in self.columns:
            length, at = (body[at], at + 1) if is_jet3 else (u16(body, at), at + 2)
            column.name = body[at:at + length].decode('cp1252' if is_jet3 else 'utf-16le', 'replace')
            at += length
        return at

    def _index(self, body, at):
        """[(position of a column, ascending)]; None for a column whose number is above their count."""
        positions = {column.number: i for i, column in enumerate(self.columns) if column.number <= len(self.columns)}
        parts = [struct.unpack_from('<HB', body, at + 3 * i) for i in range(10)]
        return [(positions.get(number), bool(order & 1)) for number, order in parts if number != NO_COLUMN]

    def data_pages(self):
        """Every data page that names this table as its owner, freed ones included."""
        return [n for n in self.file.pages_of_type(DATA) if n != 1 and self.file.owner_of(n) == self.definition]

    def freed_pages(self):
        """Data pages that still name this table though its usage map no longer holds them."""
        used = self.file.used_pages(self)
        return [n for n in self.data_pages() if n not in used]

    def live_rows(self):
        """The rows of the pages in use."""
        used = self.file.used_pages(self)
        return self.rows([n for n in self.data_pages() if n in used])

    def rows(self, pages=None):
        """Live rows in page and slot order; of all owned pages unless some are named."""
        found = []
        for number in self.data_pages() if pages is None else pages:
            for slot, (start, end, word) in enumerate(self.file.slots(number)):
                if word & SLOT_HIDDEN or end <= start:
                    continue
                row, raw = Row(number, slot), self.file.page(number)[start:end]
                if word & SLOT_POINTER:
                    raw, target = self.file.row_at(u32(raw, 0))
                    row.pages.add(target)
                self._split(row, raw)
                found.append(row)
        return found

    def _split(self, row, raw):
        stored, base = (raw[0], 1) if self.file.format.is_jet3 else (u16(raw, 0), 2)
        mask_length = (stored + 7) // 8
        mask = raw[-mask_length:]
        offsets = self._variable_offsets(raw, mask_length) if self.variable_total else []
        for column in self.columns:
            if column.number >= stored or not mask[column.number // 8] >> column.number % 8 & 1:
                continue
            if column.type == BOOLEAN:
                value = b'\1'
            elif column.is_fixed:
                value = raw[base + column.fixed_offset:base + column.fixed_offset + column.length]
            elif column.variable + 1 < len(offsets):
                value = raw[offsets[column.variable]:offsets[column.variable + 1]]
            else:
                continue
            row.fields[column.number] = value
            if column.type in (OLE, MEMO) and len(value) >= 12:
                row.pages |= self._long_value_pages(value)

    def _variable_offsets(self, raw, mask_length):
        if not self.file.format.is_jet3:
            count_at = len(raw) - mask_length - 2
            return [u16(raw, count_at - 2 - 2 * i) for i in range(u16(raw, count_at) + 1)]
        count_at, jumps = len(raw) - mask_length - 1, (len(raw) - 1) // 256
        jump_at = [raw[count_at - 1 - k] for k in range(jumps)]
        offsets, passed = [], 0
        for i in range(raw[count_at] + 1):
            while passed < jumps and jump_at[passed] == i:
                passed += 1
            offsets.append(raw[count_at - 1 - jumps - i] + 256 * passed)
        return offsets

    def _long_value_pages(self, value):
        kind, pointer, pages = value[3] & 0xC0, u32(value, 4), set()
        length = 0 if kind == VALUE_INLINE else u32(value, 0) & 0x3FFFFFFF
        while pointer and length > 0 and pointer >> 8 not in pages:
            link, number = self.file.row_at(pointer)
            pages.add(number)
            if kind == VALUE_ON_ONE_PAGE:
                break
            length -= len(link) - 4
            pointer = u32(link, 0)
        return pages


def local_tables(pages):
    """name -> Table of every local table in the catalogue, system tables included."""
    catalogue, tables = Table(pages, CATALOGUE_PAGE), {}
    kind, identifier, name = (catalogue.column[key] for key in ('Type', 'Id', 'Name'))
    for row in catalogue.live_rows():
        number = row.integer(identifier)
        if row.integer(kind) in (1, 4) and 0 < number < pages.count and pages.type_of(number) == DEFINITION:
            tables[pages.format.decode_text(row.fields[name.number])] = Table(pages, number)
    return tables
