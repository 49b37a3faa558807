"""Sets the SQL text that the program rebuilds beside what mdb-queries shows for the same saved query.

mdb-queries shows every query as SELECT columns FROM [sources] WHERE condition ORDER BY key, and nothing more. A
statement of ours is brought into that form, part by part; each step that leaves out or reorders something is a named
rule of RULES, and what still differs then is an error.
"""
import collections
import re

# What mdb-queries leaves out.
RULES = {
    'SELECT for all': 'mdb-queries shows every kind of query as SELECT',
    'no column alias': 'mdb-queries shows columns without their AS names',
    'no source alias': 'mdb-queries shows sources without their AS names',
    'no joins': 'mdb-queries lists the sources of a join with commas, without kind and condition',
    'no grouping': 'mdb-queries shows neither GROUP BY nor HAVING',
    'no targets': 'mdb-queries shows the values of an update or append, not the fields that they go to',
    'no members': 'mdb-queries shows the members of a union as sources without a name',
    'no text': 'mdb-queries shows nothing of a data definition or pass-through query',
    # What the program does.
    'spacing': 'the program puts a blank behind commas and each clause on its line',
    'kind without a builder': 'make-table, data definition and pass-through queries are not rebuilt',
    'hidden': 'queries that forms and reports keep for themselves are not rebuilt',
    'delete without columns': 'a delete names its table, not the columns listed behind DELETE',
    'source outside the joins': 'sources that no join names are left out when there are joins',
    'order of sources': 'sources stand in the order of the joins, not in that of their rows',
}
BUILT = {'select', 'append', 'update', 'delete', 'crosstab', 'union'}
CLAUSES = ('TRANSFORM', 'SELECT', 'INSERT INTO', 'UPDATE', 'SET', 'DELETE FROM', 'FROM', 'WHERE', 'GROUP BY', 'HAVING',
           'ORDER BY', 'PIVOT')
JOIN = re.compile(r'(?:INNER|LEFT|RIGHT) JOIN')
TOKEN = re.compile(r'\[[^\]]*\]|"[^"]*"|\'[^\']*\'|(?:(?:INNER|LEFT|RIGHT) JOIN|INSERT INTO|DELETE FROM|GROUP BY|'
                   r'ORDER BY)\b|\w+|\s+|.', re.S)


def top_level(text):
    """(token, depth) of each token; a parenthesis has the depth outside it."""
    depth = 0
    for token in TOKEN.findall(text):
        depth -= token == ')'
        yield token, depth
        depth += token == '('


def clauses(sql):
    """keyword -> text of each top-level clause; the empty text for those that are not there."""
    found, current = dict.fromkeys(CLAUSES, ''), None
    for token, depth in top_level(sql):
        if depth == 0 and not found.get(token, 'not a keyword'):
            current = token
        elif current:
            found[current] += token
    return {keyword: text.strip() for keyword, text in found.items()}


def items(text):
    """The items of a list with commas."""
    found = ['']
    for token, depth in top_level(text):
        if depth == 0 and token == ',':
            found.append('')
        else:
            found[-1] += token
    return [item.strip() for item in found if item.strip()]


def without_alias(item):
    """(item without its AS name, the name)."""
    parts = re.match(r'(.*?)\s+AS\s+(\[[^\]]*\]|\w+)$', item, re.S)
    return (parts.group(1), parts.group(2)) if parts else (item, None)


def sources(text):
    """Names behind FROM or UPDATE, brackets and conditions left out, and whether there are aliases."""
    found, run, condition, behind_on = [], '', None, False
    for token, depth in top_level(text + ','):
        if condition is not None:
            condition = None if token == ')' and depth == condition else condition
        elif token == '(' and behind_on:
            condition = depth
        elif token in ('(', ')', ',') or JOIN.fullmatch(token):
            behind_on = False
            if run.strip():
                found.append(without_alias(run.strip()))
            run = ''
        elif token == 'ON' or (token == 'AND' and behind_on):
            behind_on, run = True, ''
        elif not behind_on:
            run += token
    return [name.strip('[]') for name, _ in found], any(alias for _, alias in found)


# A query as mdb-queries shows it.
View = collections.namedtuple('View', 'keyword columns names where order')


def selected(found):
    """What stands behind SELECT: its keyword and the columns."""
    keyword, listed = re.match(r'(DISTINCTROW|DISTINCT|)\s*(.*)', found['SELECT'], re.S).groups()
    return keyword, items(listed)


def shown_view(text):
    found = clauses(text)
    names = [name.strip('[]') for name in items(found['FROM'])]
    return View(*selected(found), names, found['WHERE'], found['ORDER BY'])


def rebuilt_view(sql, note):
    """The same of a rebuilt statement; `note` is told each rule that it took."""
    found = clauses(sql)
    keyword, listed = selected(found)
    values = [item.partition(' = ')[2] for item in items(found['SET'])]
    columns = values or items(found['TRANSFORM']) + listed + items(found['PIVOT'])
    plain = [without_alias(column)[0] for column in columns]
    source = found['FROM'] or found['UPDATE'] or found['DELETE FROM']
    names, has_alias = sources(source)
    taken = {
        'SELECT for all': found['TRANSFORM'] or found['INSERT INTO'] or found['UPDATE'] or found['DELETE FROM'],
        'no targets': found['INSERT INTO'] or found['SET'],
        'no column alias': plain != columns,
        'no grouping': found['GROUP BY'] or found['HAVING'],
        'no source alias': has_alias,
        'no joins': JOIN.search(source),
        'spacing': '\n' in sql,
    }
    for rule in filter(taken.get, taken):
        note(rule)
    return View(keyword, plain, names, found['WHERE'], found['ORDER BY'])


def compare_views(ours, theirs, kind, note, error):
    """Two queries part by part. `ours` may lack what a rebuilt statement leaves out."""
    if kind == 'delete' and theirs.columns and not ours.columns:
        note('delete without columns')
    elif ours.columns != theirs.columns:
        error('columns %s for %s' % (ours.columns, theirs.columns))
    is_joined = len(ours.names) > 1  # perhaps
    kept = [name for name in theirs.names if name in ours.names or not is_joined]
    if kept != theirs.names:
        note('source outside the joins')
    if sorted(kept) != sorted(ours.names):
        error('sources %s for %s' % (ours.names, theirs.names))
    elif kept != ours.names:
        note('order of sources')
    for part in ('keyword', 'where', 'order'):
        if getattr(ours, part) != getattr(theirs, part):
            error('%s: %r for %r' % (part, getattr(ours, part), getattr(theirs, part)))


def explain(query, shown, note, error):
    """Notes the rules by which `shown`, what mdb-queries shows, differs from a query of `tolvane queries --json`."""
    if query['name'].startswith('~sq'):
        note('hidden')
    elif query['kind'] not in BUILT:
        note('kind without a builder')
        if query['kind'] in ('data definition', 'pass-through') and not shown_view(shown).names:
            note('no text')
    elif not query['sql']:
        error('no SQL text')
    elif query['kind'] == 'union':
        note('no members')
        if shown_view(shown).names != ['', '']:
            error('union: %r' % shown)
    else:
        compare_views(rebuilt_view(query['sql'], note), shown_view(shown), query['kind'], note, error)
