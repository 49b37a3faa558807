#!/usr/bin/env python3
"""Makes one page of HTML, pictures included, of a guide written in Markdown: what Help shows.

    python3 tools/make_guide.py docs/user-guide.md OUTPUT.html

Knows what the guide uses: headings, paragraphs, lists, tables, code, pictures, links, bold and slanted words. A link to
another document of the project becomes plain text, as that document does not lie beside the program.
"""
import base64
import html
import os
import re
import sys

STYLE = """
body { font: 15px/1.5 "Segoe UI", "DejaVu Sans", sans-serif; color: #222; max-width: 52em; margin: 2em auto; padding: 0 1em }
h1, h2, h3 { line-height: 1.2; margin: 1.6em 0 .5em }
img { max-width: 100%; border: 1px solid #bbb }
table { border-collapse: collapse } td, th { border: 1px solid #ccc; padding: .3em .6em; text-align: left; vertical-align: top }
code, pre { font-family: Consolas, "DejaVu Sans Mono", monospace; font-size: 90% } pre { background: #f4f4f4; padding: .8em }
"""


def picture(folder, words, path):
    with open(os.path.join(folder, path), 'rb') as file:
        data = base64.b64encode(file.read()).decode('ascii')
    return '<img alt="%s" src="data:image/png;base64,%s">' % (words, data)


def link(words, target):
    return '<a href="%s">%s</a>' % (target, words) if target.startswith(('#', 'http')) else words


def inline(text, folder):
    """Code is set aside first: nothing in it means anything."""
    codes = []

    def keep(found):
        codes.append('<code>%s</code>' % html.escape(found[1]))
        return '\0%d\0' % (len(codes) - 1)
    text = html.escape(re.sub(r'`([^`]+)`', keep, text))
    text = re.sub(r'!\[([^]]*)\]\(([^)]+)\)', lambda found: picture(folder, found[1], found[2]), text)
    text = re.sub(r'\[([^]]*)\]\(([^)]+)\)', lambda found: link(found[1], found[2]), text)
    text = re.sub(r'\*\*(.+?)\*\*', r'<b>\1</b>', text)
    text = re.sub(r'(?<!\*)\*([^*]+)\*', r'<i>\1</i>', text)
    return re.sub('\0(\\d+)\0', lambda found: codes[int(found[1])], text)


def table(lines, show):
    rows = [[cell.strip() for cell in re.split(r'(?<!\\)\|', line.strip().strip('|'))] for line in lines]
    head = ''.join('<th>%s</th>' % show(cell) for cell in rows[0])
    body = ''.join('<tr>%s</tr>' % ''.join('<td>%s</td>' % show(cell) for cell in row) for row in rows[2:])
    return '<table><tr>%s</tr>%s</table>' % (head, body)


def block(lines, show):
    """One paragraph, list, table, heading or piece of code."""
    heading = re.match(r'(#+) (.*)', lines[0])
    if heading:
        anchor = re.sub(r'[^a-z0-9 -]', '', heading[2].lower()).replace(' ', '-')
        level = len(heading[1])
        return '<h%d id="%s">%s</h%d>' % (level, anchor, show(heading[2]), level)
    if lines[0].startswith('|'):
        return table(lines, show)
    if lines[0].startswith('    '):
        return '<pre>%s</pre>' % html.escape('\n'.join(line[4:] for line in lines))
    if lines[0].startswith('- '):
        items = re.split(r'(?m)^- ', '\n'.join(lines))[1:]
        return '<ul>%s</ul>' % ''.join('<li>%s</li>' % show(item) for item in items)
    return '<p>%s</p>' % show('\n'.join(lines))


def make(path):
    with open(path, encoding='utf-8') as file:
        blocks = [part.split('\n') for part in re.split(r'\n{2,}', file.read().strip())]
    folder = os.path.dirname(os.path.abspath(path))
    body = '\n'.join(block(lines, lambda text: inline(text, folder)) for lines in blocks)
    return ('<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8"><title>Tolvane for Access</title>\n'
            '<style>%s</style></head><body>\n%s\n</body></html>\n' % (STYLE, body))


def main(argv):
    if len(argv) != 3:
        print('usage: make_guide.py GUIDE.md OUTPUT.html', file=sys.stderr)
        return 64
    page = make(argv[1])
    with open(argv[2], 'w', encoding='utf-8', newline='\n') as output:
        output.write(page)
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv))
