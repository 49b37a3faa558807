#!/usr/bin/env python3
"""Reports in a real browser: printed and drawn without a window, they say what --json says, light and dark.

    python3 tests/cli/test_report.py build/release/tolvane samples/damaged.mdb
"""
import html.parser
import json
import os
import random
import re
import shutil
import struct
import subprocess
import sys
import unittest
import zlib

from scratch import ScratchTest, read

TOLVANE = os.path.abspath(sys.argv.pop(1))
SAMPLE = os.path.abspath(sys.argv.pop(1))
BROWSER = shutil.which('chromium') or shutil.which('chromium-browser')
PAGE = 4096


def first_pixel(png):
    """Red, green and blue of the picture's corner, which no filter of its line changes."""
    at, data = 8, b''
    while at < len(png):
        length, kind = struct.unpack_from('>I4s', png, at)
        if kind == b'IDAT':
            data += png[at + 8:at + 8 + length]
        at += length + 12
    return tuple(zlib.decompress(data)[1:4])


class Document(html.parser.HTMLParser):
    """Elements and their attributes, and the texts inside titles of the map's cells."""

    def __init__(self, text):
        super().__init__()
        self.elements, self.path, self.cells, self.text = [], [], [], []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.elements.append((tag, dict(attrs)))
        if tag not in ('meta', 'br', 'link', 'img', 'input'):
            self.path.append(tag)

    def handle_endtag(self, tag):
        while self.path and self.path.pop() != tag:
            pass

    def handle_data(self, data):
        if self.path[-2:] == ['rect', 'title']:
            self.cells.append(data)
        if not {'style', 'title'} & set(self.path):
            self.text.append(data)


class ReportTest(ScratchTest):
    def run_tool(self, *words, status=None):
        done = subprocess.run([TOLVANE, *words, '-q'], capture_output=True, timeout=120, check=False)
        if status is not None:
            self.assertEqual(done.returncode, status, done.stderr[-400:])
        return done

    def report_of(self, source, *words):
        """What --json says, and the page."""
        page = self.path('report.html')
        done = self.run_tool('repair', source, '--json', '--report', page, '--overwrite', '-o', self.path('out.mdb'), *words)
        return json.loads(done.stdout), page

    def browse(self, page, *words):
        subprocess.run([BROWSER, '--headless', '--no-sandbox', '--disable-gpu', '--hide-scrollbars', '--window-size=1000,900',
                        '--user-data-dir=' + self.path('profile'), *words, 'file://' + page],
                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=120, check=True)

    def rendered(self, page):
        self.browse(page, '--no-pdf-header-footer', '--print-to-pdf=' + self.path('page.pdf'))
        text = subprocess.run(['pdftotext', '-raw', self.path('page.pdf'), '-'], stdout=subprocess.PIPE, check=True).stdout
        return re.sub(r'\s+', ' ', text.decode())

    def look(self, said, page):
        """The page as printed shows what --json says; its markup is sound and stands alone."""
        shown, markup = self.rendered(page), read(page).decode()
        self.assertIn(said['verdict']['sentence'], shown)
        for advice in said['verdict']['advice']:
            self.assertIn(advice, shown)
        for table in said.get('tables', []):
            counts = (len(table['columns']), table['promisedRows'], table['rows'], table['doubtfulRows'], table['lostRows'])
            self.assertIn(' '.join('{:,}'.format(count) for count in counts), shown, table['name'])
        document = Document(markup)
        tags = {tag for tag, _ in document.elements}
        self.assertFalse(tags & {'script', 'link', 'img', 'iframe', 'object', 'form', 'base'}, tags)
        for tag, attributes in document.elements:
            self.assertFalse([name for name in attributes if name.startswith('on') or name in ('href', 'src', 'style')], tag)
            if tag == 'th':
                self.assertIn(attributes.get('scope'), ('row', 'col'))
        tidy = subprocess.run(['tidy', '-q', '-e', '--custom-tags', 'no', page], capture_output=True, check=False)
        complaints = [line for line in tidy.stderr.decode().splitlines() if '<title> proprietary attribute "id"' not in line]
        self.assertEqual(complaints, [])
        if 'pages' in said:
            pages = sum(1 if ' to ' not in cell else int(cell.split(':')[0].split()[3]) - int(cell.split()[1]) + 1
                        for cell in document.cells)
            self.assertEqual(pages, said['source']['pages'], 'the map has a place for every page')
        return shown, document

    def test_healthy(self):
        healthy = self.path('healthy.mdb')
        self.run_tool('repair', SAMPLE, '-o', healthy, status=3)
        said, page = self.report_of(healthy)
        self.assertEqual((said['status'], said['verdict']['kind']), ('done', 'notDamaged'))
        shown, _ = self.look(said, page)
        self.assertIn('Nothing: every table, row and value', shown)

    def test_damaged_light_dark_and_other_damage(self):
        said, page = self.report_of(SAMPLE)
        self.assertEqual(said['verdict']['kind'], 'header')
        shown, document = self.look(said, page)
        self.assertIn('a page of it is gone', shown, 'folded lists are printed')
        self.assertIn('Page 7: damaged (unknown: unknown page type)', document.cells)
        self.assertIn('Page 61: rows or values lost', document.cells)
        corners = []
        for scheme in ('1', '0'):
            self.browse(page, '--blink-settings=preferredColorScheme=' + scheme, '--screenshot=' + self.path('look.png'))
            corners.append(sum(first_pixel(read(self.path('look.png')))))
        self.assertGreater(corners[0], 700, 'light')
        self.assertLess(corners[1], 120, 'dark')

        whole = read(self.path('out.mdb'))
        leaf = next(at for at in range(0, len(whole), PAGE) if whole[at] == 4)
        marked = whole[:0xE00 + 6] + bytes(2) + whole[0xE00 + 8:]
        for name, content, verdict in (
                ('cut.mdb', whole[:len(whole) // 2], 'cutShort'),
                ('hollow.mdb', whole[:len(whole) // 2] + bytes(len(whole) - len(whole) // 2), 'hollow'),
                ('indexes.mdb', whole[:leaf + 100] + random.Random(1).randbytes(2000) + whole[leaf + 2100:], 'indexes'),
                ('marked.mdb', marked, 'flagged'),
                ('noise.mdb', random.Random(2).randbytes(PAGE * 9), 'noDatabase')):
            said, page = self.report_of(self.write(name, content), '--dry-run')
            self.assertEqual(said['verdict']['kind'], verdict, name)
            self.look(said, page)

    def test_hostile_name(self):
        name = 'a<script>alert(1)</script>&"\'\u202e\u0007.mdb'.replace('/', '\u2215')
        said, page = self.report_of(self.write(name, read(SAMPLE)))
        shown, document = self.look(said, page)
        self.assertIn('a<script>alert(1)<\u2215script>&"\'', shown)
        self.assertEqual(''.join(document.text).count('\u202e'), 0)

    def test_refused_and_failed_reports(self):
        page = self.write('report.html', b'mine')
        output = self.path('out.mdb')
        for words, status in ((['--report', page], 2), (['--report', SAMPLE], 64), (['--report', output], 64),
                              (['--report', self.path('no/where.html')], 2)):
            self.run_tool('repair', SAMPLE, '-o', output, *words, status=status)
            self.assertFalse(os.path.exists(output), words)
        self.assertEqual(read(page), b'mine')
        self.run_tool('inspect', SAMPLE, '--report', page, '--overwrite', status=3)
        self.assertIn(b'Only the pages were examined', read(page))
        self.assertEqual([name for name in os.listdir(self.folder) if name.endswith('.partial')], [])
        self.assertFalse(self.run_tool('repair', SAMPLE, '-o', output, '--report', '/dev/full').returncode in (0, 3))


if not BROWSER or not shutil.which('pdftotext') or not shutil.which('tidy'):
    print('skipped: chromium, pdftotext and tidy are not all here')
    sys.exit(77)
if __name__ == '__main__':
    unittest.main()
