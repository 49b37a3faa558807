"""Stories of the page on which people look at what was recovered."""
import json
import pathlib
import shutil

import win32
from desk import CSV, JSON_LINES, LEAVE, SQL_MYSQL, corpus
from win32 import CANCEL, NO, OK, YES
from window import ID
from wine import expect, expect_text, wait_for, windows_path


def preview(desk):
    """Tables, records, values, the search and the whole value of the sample."""
    program = desk.repair(desk.damaged)
    report = json.loads(corpus.tolvane(desk.options, 'tables', '--json', desk.damaged))
    told = {table['name']: table['rows'] for table in report['tables']}
    expect(program.tables(), told, 'tables and rows')
    records = program.control('IDC_RECORDS')
    for name in ('Notes', 'Customers'):
        program.select_table(list(told).index(name))
        wait_for(lambda: records.send(win32.LVM_GETITEMCOUNT) == told[name], 'the rows in the list')
        program.wait_for_text('IDC_RECORDS_LABEL', 'Recor&ds - %d rows' % told[name])
        expect(program.shown('IDC_LOG'), [False], 'log beside a table')
    program.control('IDC_FIND').write('Harbour')
    program.command('ID_FIND_NEXT', notice='Found "Harbour" in row ')
    expect_text(program.text('IDC_CELL'), 'Harbour', 'value found')
    expect_text(program.text('IDC_CELL_LABEL'), ', Company', 'column found')
    desk.shoot('5-table')
    program.type(win32.VK_MENU, ord('D'))
    program.type(win32.VK_CONTROL, ord('C'))
    program.wait_for_notice('The value was copied.')
    expect(desk.session.clipboard(), program.text('IDC_CELL'), 'clipboard')
    program.control('IDC_FIND').write('not in any row')
    program.command('ID_FIND_NEXT', notice='"not in any row" is not in this table.')
    program.command('ID_SHOW_CELL')
    dialog = program.wait_for_box('the whole value')
    expect(dialog.item(ID['IDC_CELL_TEXT']).text(), program.text('IDC_CELL'), 'whole value')
    desk.shoot('whole-value', dialog)
    program.close_box(dialog, CANCEL)
    records.post(win32.WM_KEYDOWN, win32.VK_HOME)
    program.command('ID_COPY_ROWS', notice='The selected rows were copied.')
    expect_text(desk.session.clipboard(), 'ID\tCompany\tContact\t', 'clipboard')
    program.select_table(-1)
    expect_text(program.text('IDC_SUMMARY'), '6 tables, ', 'summary of the root')
    expect(program.shown('IDC_RECORDS'), [False], 'list beside the root')
    program.close()


def copy_many_rows(desk):
    """Every row of a long table, by keys, while the window stays alive."""
    desk.session.choose('Rules', 'standard')
    program = desk.repair(desk.big())
    desk.session.choose('Rules', 'exact')  # of the next start
    tables = program.tables()
    program.select_table(list(tables).index('Order lines'))
    rows = tables['Order lines']
    expect(rows > 90000, True, 'whether there are many rows')
    records = program.control('IDC_RECORDS')
    wait_for(lambda: records.send(win32.LVM_GETITEMCOUNT) == rows, 'the rows in the list')
    program.type(win32.VK_MENU, ord('D'))
    program.wait_for_focus('IDC_RECORDS')
    program.command('ID_SELECT_ALL')
    wait_for(lambda: records.send(win32.LVM_GETSELECTEDCOUNT) == rows, 'the selection')
    program.command('ID_COPY_ROWS', notice='The selected rows were copied.')
    lines = desk.session.clipboard().split('\r\n')
    expect((len(lines), lines[-1], len({line.count('\t') for line in lines[:-1]})), (rows + 2, '', 1), 'copied lines')
    program.close()


def export_to(program, form, place, *boxes, tables=None, notice='exported to '):
    """The export dialog, filled in; `tables`: another choice than the one that is offered."""
    program.command('ID_EXPORT')
    dialog = program.wait_for_dialog('Export')
    for name, choice in (('IDC_EXPORT_TABLES', tables), ('IDC_EXPORT_FORM', form)):
        if choice is not None:
            dialog.item(ID[name]).send(win32.CB_SETCURSEL, choice)
            dialog.send(win32.WM_COMMAND, win32.CBN_SELCHANGE << 16 | ID[name], dialog.item(ID[name]).handle)
    offered = dialog.item(ID['IDC_EXPORT_PLACE']).text()
    dialog.item(ID['IDC_EXPORT_PLACE']).write(windows_path(place))
    program.close_box(dialog, OK)
    program.answer(*boxes)
    program.wait_for_notice(notice)
    return offered


def exports(desk):
    """Tables in forms of other programs and the report, the same as the command line's."""
    program, folder = desk.repair(desk.damaged), desk.folder / 'told'
    folder.mkdir()
    program.select_table(0)
    wait_for(lambda: program.shown('IDC_RECORDS') == [True], 'the records')
    one = desk.folder / 'one.csv'
    offered = export_to(program, CSV, one)
    expect(offered, windows_path(desk.folder / 'Tolvane_damaged Customers.csv'), 'place that is offered')
    expect(one.read_bytes() == corpus.tolvane(desk.options, 'export', desk.damaged, 'Customers'), True, 'the exported table')
    one.write_bytes(b'something else')
    export_to(program, CSV, one, ('%s exists already. Replace it?' % windows_path(one), NO), notice='')
    expect(one.read_bytes(), b'something else', 'file not to be replaced')
    export_to(program, JSON_LINES, desk.folder / 'all', tables=0, notice='6 tables exported to ')
    corpus.tolvane(desk.options, 'export', '--format', 'jsonl', '--to', folder, desk.damaged)
    files = sorted(path.name for path in folder.iterdir())
    expect(sorted(path.name for path in (desk.folder / 'all').iterdir()), files, 'exported files')
    expect([name for name in files if (folder / name).read_bytes() != (desk.folder / 'all' / name).read_bytes()], [],
           'files that differ')
    program.command('ID_EXPORT')
    dialog = program.wait_for_dialog('Export')
    desk.shoot('export', dialog)
    program.close_box(dialog, CANCEL)
    program.select_table(-1)
    export_to(program, SQL_MYSQL, desk.folder / 'all.sql')
    corpus.tolvane(desk.options, 'export', '--format', 'sql', '--dialect', 'mysql', '-o', folder / 'all.sql', desk.damaged)
    expect((desk.folder / 'all.sql').read_bytes() == (folder / 'all.sql').read_bytes(), True, 'the script')
    program.choose('ID_SAVE_REPORT', 'Save report', windows_path(desk.folder / 'report'),
                   'Tolvane_damaged.mdb report.html')
    program.wait_for_notice('The report was saved: ')
    report = (desk.folder / 'report.html').read_text('utf-8')
    for part in ('<svg', 'Customers', 'Order lines', windows_path(desk.damaged)):
        expect_text(report, part, 'report')
    desk.save(desk.folder / 'after exports.mdb')
    desk.check_saved(desk.folder / 'after exports.mdb')
    program.close()


def objects(desk):
    """Saved queries and relationships below the tables; several values of one cell; attached files."""
    files = pathlib.Path(desk.options.corpus)
    source = files / 'V2007' / 'queryTestV2007.accdb'
    if not source.exists():
        print('skipped a part of objects: no folder of real databases')
        return
    told = json.loads(corpus.tolvane(desk.options, 'queries', '--json', source))['queries']
    program = desk.repair(shutil.copy(source, desk.folder / 'queries.accdb'))
    for index, query in enumerate(told):
        program.select_object(0, index)
        text = program.text('IDC_SUMMARY')
        expect_text(text, 'Saved query: ' + query['name'], 'query')
        if query['sql']:
            expect_text(text, 'SQL:\r\n' + query['sql'].rstrip('\r\n').split('\r\n')[0], 'SQL text')
    desk.shoot('4-query')
    expect(program.shown('IDC_RECORDS', 'IDC_LOG', 'IDC_SUMMARY'), [False, False, True], 'controls beside a query')
    program.command('ID_BACK', (LEAVE, YES), page='chosen')
    program.close()
    program = desk.repair(shutil.copy(files / 'V2003' / 'indexTestV2003.mdb', desk.folder / 'relations.mdb'))
    program.select_object(0, 0)
    for part in ('Relationship: ', 'Records of: ', 'refer to records of: ', 'Rules: '):
        expect_text(program.text('IDC_SUMMARY'), part, 'relationship')
    desk.shoot('4-relationship')
    program.close()
    complex_values(desk, shutil.copy(files / 'V2010' / 'complexDataTestV2010.accdb', desk.folder / 'complex.accdb'))


def complex_values(desk, path):
    program = desk.repair(path)
    program.select_table(0)
    wait_for(lambda: program.control('IDC_RECORDS').send(win32.LVM_GETITEMCOUNT) > 0, 'the rows in the list')
    program.control('IDC_FIND').write('data2.txt')
    program.command('ID_FIND_NEXT', notice='Found "data2.txt" in row 2')
    expect(program.text('IDC_CELL'), '2 values:\r\n1. test_data.txt - 38 bytes\r\n2. test_data2.txt - 43 bytes', 'values')
    desk.shoot('5-attached')
    program.command('ID_FIND_NEXT', notice='Found "data2.txt" in row 4')
    name = program.text('IDC_CELL').split('\r\n')[1].split('. ', 1)[1].split(' - ')[0]
    size = int(program.text('IDC_CELL').split(' - ')[1].split(' ')[0].replace(',', ''))
    program.choose('ID_SAVE_VALUE', 'Save value', windows_path(desk.folder / name), name)
    program.wait_for_notice('The value was saved: ')
    expect((desk.folder / name).stat().st_size, size, 'length of the attached file')
    program.close()


def page_map(desk):
    """The map of pages: in words, by a click and by keys."""
    program = desk.repair(desk.damaged)
    wait_for(lambda: ' pages, ' in program.text('IDC_MAP_NOTE'), 'the map in words')
    told = json.loads(corpus.tolvane(desk.options, 'inspect', '--json', desk.damaged))
    words = program.text('IDC_MAP_NOTE')
    damaged = sum(kind['damaged'] for kind in told['kinds'])
    expect((words.split(' pages')[0], damaged > 0), (str(told['source']['pages']), True), 'pages')
    expect_text(words + ',', ', damaged: %d,' % damaged, 'the map in words')
    control = program.control('IDC_MAP')
    control.post(win32.WM_LBUTTONDOWN, 1, 5 << 16 | 5)
    wait_for(lambda: program.text('IDC_MAP_NOTE').startswith('Page 0: '), 'the first page')
    tables = json.loads(corpus.tolvane(desk.options, 'tables', '--json', desk.damaged))['tables']
    page = next(table['page'] for table in tables if table['name'] == 'Customers')
    for _ in range(page):
        control.post(win32.WM_KEYDOWN, win32.VK_RIGHT)
    program.wait_for_text('IDC_MAP_NOTE', 'Page %d: table definition, of the table Customers' % page)
    expect(control.text(), 'Page map, ' + program.text('IDC_MAP_NOTE'), 'text of the map')
    desk.shoot('4-map')
    program.close()
