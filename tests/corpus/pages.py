"""A small reader of healthy Jet 3, Jet 4 and ACE files, page by page, written for these tests alone: it says on which
pages each row, definition and long value lies, so that a test can destroy pages and know what must survive.

It trusts the file (they are healthy copies) and raises Unreadable where it cannot follow.
"""
import struct

DATA, DEFINITION, INDEX_NODE, INDEX_LEAF, BITMAP = 1, 2, 3, 4, 5
SLOT_HIDDEN, SLOT_POINTER, SLOT_START = 0x8000, 0x4000, 0x1FFF
TYPE_BOOLEAN, TYPE_TEXT, TYPE_OLE, TYPE_MEMO = 1, 10, 11, 12
CATALOGUE_PAGE = 2
TABLE_TYPE = 40  # offset of "S" or "N" in a Jet 4 definition


class Unreadable(Exception):
    """The file does not follow the format here."""


class Format:
    """Where things are; the steps are the same in both."""

    def __init__(self, is_jet3):
        self.is_jet3 = is_jet3
        self.page_size = 2048 if is_jet3 else 4096
        self.slot_count, self.slots = (8, 10) if is_jet3 else (12, 14)
        self.column_count, self.real_indexes, self.used_map = (25, 31, 35) if is_jet3 else (45, 51, 55)
        self.variable_count = 23 if is_jet3 else 43
        self.header, self.index_statistics, self.descriptor = (43, 8, 18) if is_jet3 else (63, 12, 25)


class Column:
    def __init__(self, raw, is_jet3):
        number, variable, flags, fixed = (1, 3, 13, 14) if is_jet3 else (5, 7, 15, 21)
        self.type = raw[0]
        self.number = _u16(raw, number)
        self.variable = _u16(raw, variable)
        self.scale = raw[12]
        self.is_fixed = bool(raw[flags] & 1)
        self.is_calculated = not is_jet3 and raw[16] & 0xC0 == 0xC0
        self.fixed_offset = _u16(raw, fixed)
        self.length = _u16(raw, fixed + 2)
        self.name = ''


class Row:
    """One live row: its home page, and every page that must be whole for all its values to come back."""

    def __init__(self, page, slot):
        self.page, self.slot = page, slot
        self.pages = {page}
        self.fields = {}  # column number -> raw bytes; absent when null


def _u16(data, at):
    return struct.unpack_from('<H', data, at)[0]


def _u32(data, at):
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
        owner = self.data[number * self.size + 4:number * self.size + 8]
        return 'LVAL' if owner == b'LVAL' else _u32(owner, 0)

    def pages_of_type(self, *types):
        return [number for number in range(1, self.count) if self.type_of(number) in types]

    def first_definition_pages(self):
        """Pages that pass for the beginning of a table definition, in use or not: in Jet 3, where the type of the table is
        not asked for, those that go on with one too."""
        return [n for n in self.pages_of_type(DEFINITION) if self.format.is_jet3 or self.page(n)[TABLE_TYPE] in b'SN']

    def usage_map_pages(self):
        """Pages that hold nothing but usage maps: bitmap pages, and data pages without an owner."""
        return [n for n in range(1, self.count)
                if self.type_of(n) == BITMAP or (self.type_of(n) == DATA and (n == 1 or self.owner_of(n) == 0))]

    def slots(self, number):
        """(start, end, word) of each slot of a data page."""
        page, form = self.page(number), self.format
        if page[0] != DATA:
            raise Unreadable('page %d holds no rows' % number)
        end, found = self.size, []
        for i in range(_u16(page, form.slot_count)):
            word = _u16(page, form.slots + 2 * i)
            start = word & SLOT_START
            if start > end:
                raise Unreadable('slot %d of page %d' % (i, number))
            found.append((start, end, word))
            end = start
        return found

    def row_at(self, pointer):
        """Bytes of the row that a stored pointer (slot in the low byte, page above it) names, and its page."""
        number, slot = pointer >> 8, pointer & 0xFF
        found = self.slots(number)
        if slot >= len(found):
            raise Unreadable('slot %d of page %d' % (slot, number))
        start, end, _ = found[slot]
        return self.page(number)[start:end], number

    def used_pages(self, table):
        """Pages that the table's usage map names, and the pages that hold the map."""
        row, home = self.row_at(table.used_map)
        used, holders = set(), {home}
        if row[0] == 0:
            self._add_bits(used, row[5:], _u32(row, 1))
        else:
            per_page = (self.size - 4) * 8
            for i in range((len(row) - 1) // 4):
                bitmap = _u32(row, 1 + 4 * i)
                if bitmap:
                    holders.add(bitmap)
                    self._add_bits(used, self.page(bitmap)[4:], i * per_page)
        return used, holders

    @staticmethod
    def _add_bits(pages, bits, first):
        for i, byte in enumerate(bits):
            for bit in range(8):
                if byte >> bit & 1:
                    pages.add(first + 8 * i + bit)


class Table:
    """A table definition and its rows."""

    def __init__(self, pages, definition):
        self.file, self.definition = pages, definition
        form = pages.format
        self.definition_pages, body = self._assemble()
        self.column_total = _u16(body, form.column_count)
        self.variable_total = _u16(body, form.variable_count)
        self.used_map = _u32(body, form.used_map)
        at = form.header + form.index_statistics * _u32(body, form.real_indexes)
        self.columns = []
        for _ in range(self.column_total):
            self.columns.append(Column(body[at:at + form.descriptor], form.is_jet3))
            at += form.descriptor
        for column in self.columns:
            at = self._read_name(column, body, at)
        self.columns.sort(key=lambda column: column.number)

    def _assemble(self):
        chain, body, number = [], b'', self.definition
        while number and number not in chain:
            page = self.file.page(number)
            if page[0] != DEFINITION:
                raise Unreadable('definition %d' % self.definition)
            chain.append(number)
            body += page if not body else page[8:]
            number = _u32(page, 4)
        return chain, body

    def _read_name(self, column, body, at):
        if self.file.format.is_jet3:
            column.name = body[at + 1:at + 1 + body[at]].decode('cp1252', 'replace')
            return at + 1 + body[at]
        length = _u16(body, at)
        column.name = body[at + 2:at + 2 + length].decode('utf-16le', 'replace')
        return at + 2 + length

    def data_pages(self):
        """Every data page that names this table as its owner, freed ones included."""
        return [n for n in range(1, self.file.count)
                if self.file.type_of(n) == DATA and self.file.owner_of(n) == self.definition and n != 1]

    def freed_pages(self):
        """Data pages that still name this table though its usage map no longer holds them."""
        used = self.file.used_pages(self)[0]
        return [n for n in self.data_pages() if n not in used]

    def rows(self, pages=None):
        """Live rows in page and slot order; of all owned pages unless some are named."""
        found = []
        for number in self.data_pages() if pages is None else pages:
            for slot, (start, end, word) in enumerate(self.file.slots(number)):
                if word & SLOT_HIDDEN or end <= start:
                    continue
                row, raw = Row(number, slot), self.file.page(number)[start:end]
                if word & SLOT_POINTER:
                    raw, target = self.file.row_at(_u32(raw, 0))
                    row.pages.add(target)
                self._split(row, raw)
                found.append(row)
        return found

    def _split(self, row, raw):
        jet3 = self.file.format.is_jet3
        stored, base = (raw[0], 1) if jet3 else (_u16(raw, 0), 2)
        mask_length = (stored + 7) // 8
        mask = raw[-mask_length:]
        offsets = self._variable_offsets(raw, mask_length) if self.variable_total else []
        for column in self.columns:
            if column.number >= stored or not mask[column.number // 8] >> column.number % 8 & 1:
                continue
            if column.type == TYPE_BOOLEAN:
                value = b'\1'
            elif column.is_fixed:
                value = raw[base + column.fixed_offset:base + column.fixed_offset + column.length]
            elif column.variable + 1 < len(offsets):
                value = raw[offsets[column.variable]:offsets[column.variable + 1]]
            else:
                continue
            row.fields[column.number] = value
            if column.type in (TYPE_OLE, TYPE_MEMO) and len(value) >= 12:
                row.pages |= self._long_value_pages(value)

    def _variable_offsets(self, raw, mask_length):
        if not self.file.format.is_jet3:
            count_at = len(raw) - mask_length - 2
            count = _u16(raw, count_at)
            return [_u16(raw, count_at - 2 - 2 * i) for i in range(count + 1)]
        count_at = len(raw) - mask_length - 1
        count, jumps = raw[count_at], (len(raw) - 1) // 256
        jump_at = [raw[count_at - 1 - k] for k in range(jumps)]
        offsets, passed = [], 0
        for i in range(count + 1):
            while passed < jumps and jump_at[passed] == i:
                passed += 1
            offsets.append(raw[count_at - 1 - jumps - i] + 256 * passed)
        return offsets

    def _long_value_pages(self, value):
        kind, pointer, pages = value[3] & 0xC0, _u32(value, 4), set()
        if kind == 0x80:
            return pages
        length = _u32(value, 0) & 0x3FFFFFFF
        while pointer and length > 0 and pointer >> 8 not in pages:
            link, number = self.file.row_at(pointer)
            pages.add(number)
            if kind == 0x40:
                break
            length -= len(link) - 4
            pointer = _u32(link, 0)
        return pages


def decode_text(raw, is_jet3):
    """A text value; compressed Jet 4 texts without toggles are all that the catalogue's names need."""
    if is_jet3:
        return raw.decode('cp1252', 'replace')
    if raw[:2] == b'\xff\xfe' and 0 not in raw:
        return raw[2:].decode('latin-1')
    return raw.decode('utf-16le', 'replace')


def local_tables(pages):
    """name -> Table of every local table in the catalogue, system tables included."""
    catalogue = Table(pages, CATALOGUE_PAGE)
    numbers = {column.name: column.number for column in catalogue.columns}
    tables = {}
    for row in catalogue.rows(sorted(set(catalogue.data_pages()) - set(catalogue.freed_pages()))):
        kind = struct.unpack('<h', row.fields.get(numbers['Type'], b'\0\0'))[0]
        if kind not in (1, 4):
            continue
        identifier = struct.unpack('<i', row.fields[numbers['Id']])[0]
        if 0 < identifier < pages.count and pages.type_of(identifier) == DEFINITION:
            name = decode_text(row.fields[numbers['Name']], pages.format.is_jet3)
            tables[name] = Table(pages, identifier)
    return tables
