"""What a repair by the standard rules must make of a value that an independent reader sees in the healthy file.

export_texts: the text that `tolvane export` shows.     saved_values: what a reader must find in the repaired database.

The rules are the documented ones (docs/limits.md); each is written here once, from the value alone, never from
the program's output. SKIP marks a cell that is not compared; skip_reason says by which rule.
"""
import datetime
import decimal
import re
import struct

from pages import TYPE_BOOLEAN, TYPE_MEMO, TYPE_OLE, TYPE_TEXT
from readers import COMPLEX

BYTE, INTEGER, LONG, CURRENCY, SINGLE, DOUBLE, DATE, BINARY = 2, 3, 4, 5, 6, 7, 8, 9
GUID, DECIMAL, COMPLEX_KEY = 15, 16, 18
KNOWN = {TYPE_BOOLEAN, BYTE, INTEGER, LONG, CURRENCY, SINGLE, DOUBLE, DATE, BINARY, TYPE_TEXT, TYPE_OLE, TYPE_MEMO,
         GUID, DECIMAL, COMPLEX_KEY}
SKIP = object()
ZERO_DAY = datetime.datetime(1899, 12, 30)
UNDEFINED = {code: '?' for code in (0x81, 0x8D, 0x8F, 0x90, 0x9D, 0xFFFD)}
MINUS_AND_DIGITS = set('-0123456789')


def skip_reason(column):
    """Why the cells of this column are not compared one by one; None when they are."""
    if column.is_calculated:
        return 'calculated column: not compared, the readers show its wrapper'
    if column.type == COMPLEX_KEY:
        return 'complex column: checked against the table of its values'
    if column.type not in KNOWN:
        return 'type %d: "Default %d"' % (column.type, column.type)
    return None


def stored_moments(value):
    """The moments to the second that a date may be shown as: two where the reader's milliseconds do not tell.

    Readers count the time of day of a date before the zero day backwards; the program counts it forwards.
    """
    days = (value - ZERO_DAY) / datetime.timedelta(days=1)
    if days < 0:
        whole = int(days)
        value = ZERO_DAY + datetime.timedelta(days=whole) + datetime.timedelta(days=whole - days)
    late = (value + datetime.timedelta(milliseconds=500)).replace(microsecond=0)
    if value.microsecond // 1000 in (499, 500):
        return late, late - datetime.timedelta(seconds=1), late + datetime.timedelta(seconds=1)
    return (late,)


def date_text(moment):
    """Month first, twelve hours; midnight leaves only the blank, the zero day only the time."""
    day = '%02d/%02d/%04d ' % (moment.month, moment.day, moment.year)
    if (moment.hour, moment.minute, moment.second) == (0, 0, 0):
        return '12:00:00 AM' if moment.date() == ZERO_DAY.date() else day
    return day + '%02d:%02d:%02d %s' % ((moment.hour + 11) % 12 + 1, moment.minute, moment.second,
                                        'AM' if moment.hour < 12 else 'PM')


def decimal_text(value, scale):
    """Only the low 64 bits count, as a signed number whose sign word is not looked at; zero is empty."""
    digits = abs(int(decimal.Decimal(value).scaleb(scale)))
    low = digits & (1 << 64) - 1
    signed = low - (1 << 64) if low >> 63 else low
    text = str(abs(signed)) if signed else ''
    if signed < 0:
        text = ''.join('-' + digit for digit in text)
    if scale and scale <= len(text):
        text = text[:-scale] + '.' + text[-scale:]
    return text


def bytes_text(value):
    """Zero bytes and pairs FF FE are left out; the rest is the code page's."""
    kept, i = bytearray(), 0
    while i < len(value):
        if value[i:i + 2] == b'\xff\xfe':
            i += 2
            continue
        if value[i]:
            kept.append(value[i])
        i += 1
    return ''.join(chr(b) if b in (0x81, 0x8D, 0x8F, 0x90, 0x9D) else bytes([b]).decode('cp1252') for b in kept)


def single(value):
    return struct.unpack('<f', struct.pack('<f', float(value)))[0]


def export_texts(value, column):
    """The texts that `tolvane export` may show for `value`, in the readers' plain form: nearly always one."""
    if column.type == DATE and isinstance(value, datetime.datetime):
        return [date_text(moment) for moment in stored_moments(value)]
    return [export_text(value, column)]


def export_text(value, column):
    """The text of a value of any type but a date; None becomes the empty text."""
    if column.type == TYPE_BOOLEAN:
        return 'True' if value else 'False'
    if value is None:
        return ''
    if value is COMPLEX:
        return SKIP
    if column.type == CURRENCY:
        return '%.4f' % decimal.Decimal(value)
    if column.type in (SINGLE, DOUBLE):
        return '%.5f' % (single(value) if column.type == SINGLE else float(value))
    if column.type == BINARY:
        return bytes_text(value)
    if column.type == TYPE_OLE:
        return value.hex()
    if column.type == GUID:
        # mdbtools leaves a hyphen out
        digits = value.strip('{}').replace('-', '').upper()
        return '{%s-%s-%s-%s-%s}' % (digits[:8], digits[8:12], digits[12:16], digits[16:20], digits[20:])
    if column.type == DECIMAL:
        return decimal_text(value, column.scale)
    return value


def from_mdbtools(text, column):
    """A cell of mdb-export in the readers' plain form."""
    if column.type == TYPE_BOOLEAN:
        return text == '1'
    if text is None:
        return None
    if column.type == DATE:
        try:
            return datetime.datetime.strptime(text, '%Y-%m-%d %H:%M:%S')
        except ValueError:
            return text
    if column.type in (BINARY, TYPE_OLE):
        return bytes.fromhex(text)
    if column.type == GUID and not text.startswith('{'):
        return bytes.fromhex(text).decode('ascii')  # its text, as hex digits
    return text


def without_undefined(text):
    """Jet 3 texts: the five bytes that Windows-1252 does not define are kept by the program, replaced by readers."""
    return text.translate(UNDEFINED)


def as_mdbtools(text):
    """mdbtools ends a text at its first zero unit and does not know surrogate pairs."""
    return re.sub('[\U00010000-\U0010FFFF]', '??', text.partition('\0')[0])


def as_shown(reader, is_jet3):
    """What a reader's form does to texts, to be done to both sides of a comparison."""
    def show(text):
        if is_jet3:
            text = without_undefined(text)
        return as_mdbtools(text) if reader == 'mdbtools' else text
    return show


def _rounded(value, digits):
    """A number to so many significant digits, so that readers that print it differently agree."""
    text = '%.*g' % (digits, float(value))
    return '0' if float(text) == 0 else text


def saved_values(value, column):
    """What a reader may find in the repaired database, in one comparable form; None is an empty field."""
    if column.type == DATE and isinstance(value, datetime.datetime):
        return stored_moments(value)
    return (_saved_value(export_text(value, column), column, value),)


def _saved_value(text, column, value):
    if column.type == TYPE_BOOLEAN:
        return bool(value)
    if text is SKIP or text == '':
        return None
    if column.type == BYTE:
        return text if int(text) <= 127 else None
    if column.type == SINGLE:
        return _rounded(single(text), 6)
    if column.type == DOUBLE:
        return _rounded(text, 13)
    if column.type == DECIMAL:
        return _rounded(text, 13) if MINUS_AND_DIGITS.issuperset(text.replace('.', '')) and '-' not in text[1:] else None
    return text


# Type of a column in the repaired database, where it is another than in the source.
SAVED_TYPES = {BINARY: TYPE_OLE, DECIMAL: DOUBLE, COMPLEX_KEY: TYPE_TEXT}


def found_value(value, column):
    """A reader's value in the repaired database in the form of saved_values; `column` is the source's."""
    if column.type == TYPE_BOOLEAN:
        return bool(value)
    if value is None or value is COMPLEX or value in ('', b''):
        return None
    if column.type == SINGLE:
        return _rounded(value, 6)
    if column.type in (DOUBLE, DECIMAL):
        return _rounded(value, 13)
    if column.type == DATE:
        return stored_moments(value)[0] if isinstance(value, datetime.datetime) else value
    if column.type in (CURRENCY, GUID, TYPE_OLE):
        return export_text(value, column)
    return value


def saved_skip_reason(column):
    """Why the cells of a column are not compared in the repaired database."""
    if column.type == BINARY:
        return 'binary column: its bytes are saved as text'
    return skip_reason(column)


def is_empty_row(values, columns):
    """A row of which nothing is saved."""
    return all(column.type not in (TYPE_BOOLEAN, COMPLEX_KEY) and column.type in KNOWN and not column.is_calculated
               and (value is None or export_text(value, column) == '') for value, column in zip(values, columns))
