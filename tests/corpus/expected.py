"""What the standard rules of reading and saving must make of a value that an independent reader sees.

export_texts: the text that `tolvane export` shows.     saved_text: what that text becomes in the repaired database.

The rules are the documented ones (docs/standard-rules.md); each is written here once, from the value alone, never from
the program's output.
"""
import datetime
import decimal
import re
import struct

from pages import (BINARY, BOOLEAN, BYTE, COMPLEX, CURRENCY, DATE, DECIMAL, DOUBLE, GUID, KNOWN, OLE, SINGLE, TEXT)

SKIP = object()  # marks a cell that is not compared
ZERO_DAY = datetime.datetime(1899, 12, 30)
UNDEFINED = '\x81\x8d\x8f\x90\x9d'


def skip_reason(column):
    """Why the cells of this column are not compared one by one; None when they are."""
    if column.is_calculated:
        return 'calculated column: not compared, the readers show its wrapper'
    if column.type == COMPLEX:
        return 'complex column: checked against the table of its values'
    if column.type not in KNOWN:
        return 'type %d: "Default %d"' % (column.type, column.type)
    return None


def _moments(value):
    """The moments to the second that a date may be shown as: several where the reader's milliseconds do not tell.

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


def _date_text(moment):
    """Month first, twelve hours; midnight leaves only the blank, the zero day only the time."""
    if moment == ZERO_DAY:
        return '12:00:00 AM'
    day = '%02d/%02d/%04d ' % (moment.month, moment.day, moment.year)
    return day + moment.strftime('%I:%M:%S %p') if moment.time() != datetime.time() else day


def _decimal_text(value, scale):
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


def _bytes_text(value):
    """Pairs FF FE and then zero bytes are left out; the rest is the code page's."""
    kept = value.replace(b'\xff\xfe', b'').replace(b'\0', b'')
    return ''.join(chr(b) if chr(b) in UNDEFINED else bytes([b]).decode('cp1252') for b in kept)


def _guid_text(value):
    digits = re.sub('[{}-]', '', value).upper()  # mdbtools leaves a hyphen out
    return '{%s-%s-%s-%s-%s}' % (digits[:8], digits[8:12], digits[12:16], digits[16:20], digits[20:])


def single(value):
    return struct.unpack('<f', struct.pack('<f', float(value)))[0]


TEXTS = {  # type of the column -> the text of a value in the readers' plain form
    CURRENCY: lambda value: '%.4f' % decimal.Decimal(value),
    SINGLE: lambda value: '%.5f' % single(value),
    DOUBLE: lambda value: '%.5f' % float(value),
    BINARY: _bytes_text,
    OLE: bytes.hex,
    GUID: _guid_text,
}


def export_texts(value, column):
    """The texts that `tolvane export` may show for `value`, in the readers' plain form: nearly always one."""
    if column.type == BOOLEAN:
        return ('True' if value else 'False',)
    if value is None:
        return ('',)
    if column.type == DATE and isinstance(value, datetime.datetime):
        return tuple(map(_date_text, _moments(value)))
    if column.type == DECIMAL:
        return (_decimal_text(value, column.scale),)
    return (TEXTS.get(column.type, str)(value),)


def as_shown(reader, is_jet3):
    """What a reader's form does to texts, to be done to both sides of a comparison: the five bytes that Windows-1252 does
    not define are kept by the program, replaced by readers; mdbtools ends a text at its first zero unit and does not know
    surrogate pairs."""
    def show(text):
        if is_jet3:
            text = re.sub('[%s\ufffd]' % UNDEFINED, '?', text)
        return re.sub('[\U00010000-\U0010FFFF]', '??', text.partition('\0')[0]) if reader == 'mdbtools' else text
    return show


def _saved_decimal(text):
    """Minus signs may stand before each digit; such a text is no number. The others become doubles."""
    return '' if text == '' or '-' in text[1:] else '%.5f' % float(text)


def _saved_binary(text):
    """The text of the bytes becomes the bytes of an OLE object, which are shown as hex."""
    return b''.join(bytes([ord(c)]) if c in UNDEFINED else c.encode('cp1252') for c in text).hex()


SAVED_TYPES = {BINARY: OLE, DECIMAL: DOUBLE, COMPLEX: TEXT}
SAVED_TEXTS = {  # type of the column in the source -> (rule, what saving makes of a text that was exported)
    BYTE: ('byte values above 127 are left out', lambda text: '' if text and int(text) > 127 else text),
    DECIMAL: ('decimal becomes double', _saved_decimal),
    # Calculated columns show the text of their result, whatever the column's type.
    DOUBLE: ('calculated number becomes double', lambda text: text and '%.5f' % float(text)),
    BINARY: ('binary becomes an OLE object', _saved_binary),
    COMPLEX: ('complex column: the key of its values is saved', lambda text: SKIP),
}


def saved_text(text, type_code, note=lambda rule: None):
    """What `tolvane export` must show of a saved value; `note` is told the rule when it is not what it was."""
    rule, convert = SAVED_TEXTS.get(type_code, (None, str))
    saved = convert(text)
    if saved != text:
        note(rule)
    return saved


def is_as_saved(value, column):
    """Whether a number in the repaired database is what its text of five digits after the point says."""
    if value is None or column.type not in (SINGLE, DOUBLE):
        return True
    text = '%.5f' % float(value)
    return float(value) == (single(text) if column.type == SINGLE else float(text))
