"""Sets the SQL text that the program rebuilds beside what mdb-queries shows for the same saved query.

mdb-queries shows every kind of query as SELECT columns FROM [sources] WHERE condition ORDER BY key, and nothing more: no
AS names, no kinds and conditions of joins, no grouping, not the fields that an update or append fills, the members of a
union as sources without a name. A statement of ours is brought into that form. Where the program itself leaves out or
reorders something that is a named rule of RULES; what still differs then is an error.
"""
import collections
import re

RULES = {
    'kind without a builder': 'make-table, data definition and pass-through queries are not rebuilt',
    'hidden': 'queries that forms and reports keep for themselves are not rebuilt',
    'union': 'mdb-queries shows nothing of its members, which are not compared',
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

View = collections.namedtuple('View', 'keyword columns where order names')  # a query as mdb-queries shows it


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
    """The items of a list with commas, without their AS names."""
    found = ['']
    for token, depth in top_level(text):
        if depth == 0 and token == ',':
            found.append('')
        else:
            found[-1] += token
    return [re.sub(r'\s+AS\s+(\[[^\]]*\]|\w+)$', '', item.strip()) for item in found if item.strip()]


def sources(text):
    """Names behind FROM or UPDATE, brackets and conditions left out."""
    found, condition, behind_on = [''], None, False
    for token, depth in top_level(text):
        if condition is not None:
            condition = None if token == ')' and depth == condition else condition
        elif token == '(' and behind_on:
            condition = depth
        elif token in ('(', ')', ',') or JOIN.fullmatch(token):
            behind_on = False
            found.append('')
        elif token == 'ON' or (token == 'AND' and behind_on):
            behind_on = True
            found.append('')
        elif not behind_on:
            found[-1] += token
    return [name.strip('[]') for name in items(','.join(found))]


def view(sql):
    found = clauses(sql)
    keyword, listed = re.match(r'(DISTINCTROW|DISTINCT|)\s*(.*)', found['SELECT'], re.S).groups()
    values = [item.partition(' = ')[2] for item in items(found['SET'])]
    columns = values or items(found['TRANSFORM']) + items(listed) + items(found['PIVOT'])
    return View(keyword, columns, found['WHERE'], found['ORDER BY'],
                sources(found['FROM'] or found['UPDATE'] or found['DELETE FROM']))


def compare_views(ours, theirs, kind, note, error):
    """Two queries part by part. `ours` may lack what a rebuilt statement leaves out."""
    if kind == 'delete' and theirs.columns and not ours.columns:
        note('delete without columns')
        theirs = theirs._replace(columns=[])
    is_joined = len(ours.names) > 1  # perhaps
    kept = [name for name in theirs.names if name in ours.names or not is_joined]
    if kept != theirs.names:
        note('source outside the joins')
    if kept != ours.names and sorted(kept) == sorted(ours.names):
        note('order of sources')
        kept = ours.names
    theirs = theirs._replace(names=kept)
    if ours != theirs:
        error('%s for %s' % (ours, theirs))


def explain(query, shown, note, error):
    """Notes the rules by which `shown`, what mdb-queries shows, differs from a query of `tolvane queries --json`."""
    if query['name'].startswith('~sq'):
        note('hidden')
    elif query['kind'] not in BUILT:
        note('kind without a builder')
    elif not query['sql']:
        error('no SQL text')
    elif query['kind'] == 'union':
        note('union')
    else:
        compare_views(view(query['sql']), view(shown), query['kind'], note, error)
