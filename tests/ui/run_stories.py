#!/usr/bin/env python3
"""Runs the window program under Wine on a virtual screen and works it from outside, by window messages alone: whole
stories on real databases, judged by what the windows say, by the saved files as independent readers see them, and by
`tolvane check`.

    python3 tests/ui/run_stories.py [--program build/windows-x64/ui/TolvaneForAccess.exe]
        [--drive build/windows-x64/tests/ui/drive.exe] [--tolvane build/release/tolvane]
        [--make-sample build/release/samples/make_sample] [--standin build/windows-x64/tests/automation/standin_engine.dll]
        [--only TEXT]

Prints one line a story and keeps a picture of every page, on several screens, in build/ui-stories/screenshots. Ends with
77 where Wine, a virtual screen or the readers are missing.
"""
import argparse
import json
import os
import pathlib
import shutil
import signal
import struct
import subprocess
import sys
import time

import window
from window import (CANCEL, ID, NO, OK, ROOT, YES, Display, Failed, Program, Session, expect, expect_text, unix_path, wait_for,
                    windows_path)

sys.path.insert(0, str(ROOT / 'tests' / 'corpus'))
# Behind the line that tells where they are.
import corpus  # noqa: E402
import damage_repair  # noqa: E402
import pages  # noqa: E402
import readers  # noqa: E402

OPEN_TITLE = 'Select corrupted file to repair...'
TEMPLATE_TITLE = 'Select file having same structure as corrupted file...'
SAVE_TITLE = 'Save As'
STOP = 'Do you really want to stop current process?'
STOPPED = ('Proccess stop by user.', OK)
CLOSE = 'Are you sure, you want to close the application?'
NOT_THERE = "File '%s' does not exist or access is denied."
FIRST_HINT = 'Please click on repair button and select corrupted MS Access file.'
LEAVE = 'The recovered tables have not been saved. Leave them? They are kept until the next repair starts.'
CHOSEN_HINT = 'Select corrupted access file and press repair button.'
SAVED_HINT = 'The database has been repaired and saved successfully.'
EXACT_RULES, STANDARD_RULES = 0, 1  # in the list of the settings
CSV, JSON_LINES, SQL_MYSQL = 1, 2, 6  # in that of the export
EXISTS = 'the question about an existing file'
BIG_COPIES = 120  # of the sample's rows, for a repair and a save that take seconds


class Desk:
    """What every story finds: the session, the files, and a place for output."""

    def __init__(self, options, display):
        self.options, self.program = options, None
        self.shots, self.folder = options.build / 'screenshots', options.build / 'desk'
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        self.shots.mkdir(exist_ok=True)
        self.executable = shutil.copy(options.program, self.folder)
        self.healthy_path, self.damaged = self.folder / 'healthy.mdb', self.folder / 'damaged.mdb'
        subprocess.run([options.make_sample, self.healthy_path, self.damaged], check=True, stdout=subprocess.DEVNULL)
        self.healthy = pages.Pages(self.healthy_path)
        # Colours stay with a Wine: other ones have a Wine of their own.
        prefix = options.build / ('wine-' + display.name if display.colours else 'wine')
        self.session = Session(self.folder, prefix, options.drive, display)

    def write(self, name, content):
        (self.folder / name).write_bytes(content)
        return self.folder / name

    def big(self):
        """The rows of the sample many times over: their pages again and again behind the file, each time with other numbers
        in front of the rows, for a page that is there twice is read once. Only the standard rules take pages that no map of
        a table knows."""
        rows = [number for name, table in pages.local_tables(self.healthy).items()
                for number in table.data_pages() if not name.startswith('MSys')]
        content = bytearray(self.healthy.data)
        for copy in range(1, BIG_COPIES + 1):
            for number in rows:
                page = bytearray(self.healthy.page(number))
                for at, _, word in self.healthy.slots(number):
                    if word == at:
                        page[at + 4:at + 6] = struct.pack('<H', copy)  # the upper half of the first column
                content += page
        return self.write('big.mdb', content)

    def start(self, *arguments):
        self.program = Program(self.session, self.executable, *arguments)
        return self.program.wait_for_frame()

    def repair(self, path):
        """The program on the page of what was recovered."""
        program = self.start(windows_path(path))
        program.wait_for_page('chosen')
        program.command('ID_NEXT', page='review')
        return program

    def choose(self, path):
        self.program.choose('ID_CHOOSE_FILE', OPEN_TITLE, windows_path(path))
        self.program.wait_for_text('IDC_FILE', windows_path(path))

    def ask_to_save(self, path, default=None):
        self.program.choose('ID_NEXT', SAVE_TITLE, windows_path(path), default)

    def save(self, path, default=None):
        self.ask_to_save(path, default)
        self.program.wait_for_page('saved')

    def shoot(self, name, dialog=None):
        path = self.shots / ('%s-%s.png' % (name, self.session.display.name))
        self.program.shoot(path, dialog)
        if not dialog:
            self.program.check_access_keys()
            self.program.check_layout()
        return path

    def check_saved(self, path, damage=None, rescued=None):
        """Every row on an untouched page is there, for mdb-reader cell by cell and for mdbtools by count."""
        verdict = corpus.Verdict()
        if damage is None:
            damage = corpus.Damage(self.healthy)
            damage.become(self.damaged)
        corpus.tolvane(self.options, 'check', path, good=(0,))
        output = damage_repair.Output(path)
        for table in damage_repair.sources(self.healthy_path, self.healthy, verdict):
            damage_repair.check_table(verdict, output, table, damage, rescued)
            rows = readers.mdbtools_export(path, table.name)
            if rows is None or len(rows.rows) != len(output.seen[table.name].rows):
                verdict.error('%s: the two readers see different rows' % table.name)
        if verdict.errors or verdict.rows == 0:
            raise Failed('%s: %s' % (path, '; '.join(verdict.errors) or 'no rows'))

    def run_folders(self):
        """Folders of temporary files that a run left."""
        return [path for path in (self.folder / 'TolvaneforAccess').glob('*') if path.is_dir()]


# --- the stories ---


def standard_repair(desk):
    """From choosing a file to the saved database, with every text on the way."""
    program, output = desk.start(), desk.folder / 'Tolvane_damaged.mdb'
    expect(program.page(), 'start', 'first page')
    expect(program.frame.text(), window.PROGRAM, 'title')
    expect(program.text('IDC_HINT'), FIRST_HINT, 'first hint')
    expect(program.shown('IDC_TEMPLATE_FILE'), [False], 'template line in standard mode')
    desk.shoot('1-choose')
    program.choose('ID_NEXT', OPEN_TITLE, None)
    expect(program.page(), 'start', 'page after a cancelled dialog')
    desk.choose(desk.damaged)
    program.wait_for_page('chosen')
    expect(program.text('IDC_FILE_LABEL'), 'Selected database &path :', 'label of the file')
    expect(program.text('IDC_HINT'), CHOSEN_HINT, 'hint')
    expect(program.frame.text(), 'damaged.mdb - ' + window.PROGRAM, 'title')
    desk.shoot('2-chosen')
    program.command('ID_NEXT', page='repairing')
    expect(program.shown('ID_STOP', 'IDC_PROGRESS', 'IDC_LOG', 'ID_NEXT', 'IDC_TREE'), [True, True, True, False, False],
           'controls while repairing')
    desk.shoot('3-repairing')
    program.wait_for_page('review')
    expect(program.text('ID_NEXT'), '&Save repaired database...', 'button')
    expect_text(program.text('IDC_SUMMARY'), '6 tables, ', 'summary')
    expect_text(program.text('IDC_SUMMARY'), 'Lost or doubtful:', 'summary')
    desk.shoot('4-review')
    desk.save(output, default='Tolvane_damaged.mdb')
    expect(program.text('IDC_HINT'), SAVED_HINT, 'last hint')
    expect(program.text('IDC_OUTPUT'), windows_path(output), 'output')
    expect_text(program.text('IDC_SUMMARY'), '6 tables, ', 'summary of the save')
    expect_text(program.text('IDC_LOG'), 'Location: \r\n' + windows_path(output), 'log')
    desk.shoot('6-saved')
    desk.check_saved(output)
    save_log(desk, program)
    program.close()
    expect(desk.run_folders(), [], 'folders left behind')


def save_log(desk, program):
    log = program.text('IDC_LOG')
    program.command('ID_COPY_LOG', notice='The log was copied.')
    expect(desk.session.clipboard(), log, 'clipboard')
    program.choose('ID_SAVE_LOG', 'Save log', windows_path(desk.folder / 'log'), 'Tolvane log.txt')
    program.wait_for_notice('The log was saved: ')
    saved = (desk.folder / 'log.txt').read_bytes().decode('utf-8-sig')
    expect(saved.startswith(log.rstrip('\r\n')), True, 'whether the log is saved')
    for part in ('Summary of the repair', 'Summary of the save', '6 tables, ', 'Every place of damage'):
        expect_text(saved, part, 'saved log')
    expect(saved.count('page ') > 10, True, 'places of damage in the saved log')


def preview(desk):
    """Tables, records, values, the search and the whole value of the sample."""
    program = desk.repair(desk.damaged)
    report = json.loads(corpus.tolvane(desk.options, 'tables', '--json', desk.damaged))
    told = {table['name']: table['rows'] for table in report['tables']}
    expect(program.tables(), told, 'tables and rows')
    records = program.control('IDC_RECORDS')
    for name in ('Notes', 'Customers'):
        program.select_table(list(told).index(name))
        wait_for(lambda: records.send(window.LVM_GETITEMCOUNT) == told[name], 'the rows in the list')
        program.wait_for_text('IDC_RECORDS_LABEL', 'Recor&ds - %d rows' % told[name])
        expect(program.shown('IDC_LOG'), [False], 'log beside a table')
    program.control('IDC_FIND').write('Harbour')
    program.command('ID_FIND_NEXT', notice='Found "Harbour" in row ')
    expect_text(program.text('IDC_CELL'), 'Harbour', 'value found')
    expect_text(program.text('IDC_CELL_LABEL'), ', Company', 'column found')
    desk.shoot('5-table')
    program.type(window.VK_MENU, ord('D'))
    program.type(window.VK_CONTROL, ord('C'))
    program.wait_for_notice('The value was copied.')
    expect(desk.session.clipboard(), program.text('IDC_CELL'), 'clipboard')
    program.control('IDC_FIND').write('not in any row')
    program.command('ID_FIND_NEXT', notice='"not in any row" is not in this table.')
    program.command('ID_SHOW_CELL')
    dialog = program.wait_for_box('the whole value')
    expect(dialog.item(ID['IDC_CELL_TEXT']).text(), program.text('IDC_CELL'), 'whole value')
    desk.shoot('whole-value', dialog)
    program.close_box(dialog, CANCEL)
    records.post(window.WM_KEYDOWN, window.VK_HOME)
    program.command('ID_COPY_ROWS', notice='The selected rows were copied.')
    expect_text(desk.session.clipboard(), 'ID\tCompany\tContact\t', 'clipboard')
    program.select_table(-1)
    expect_text(program.text('IDC_SUMMARY'), '6 tables, ', 'summary of the root')
    expect(program.shown('IDC_RECORDS'), [False], 'list beside the root')
    program.close()


def copy_many_rows(desk):
    """Every row of a long table, by keys, while the window stays alive."""
    desk.session.choose_rules('standard')
    program = desk.repair(desk.big())
    desk.session.choose_rules('exact')  # of the next start
    tables = program.tables()
    program.select_table(list(tables).index('Order lines'))
    rows = tables['Order lines']
    expect(rows > 90000, True, 'whether there are many rows')
    records = program.control('IDC_RECORDS')
    wait_for(lambda: records.send(window.LVM_GETITEMCOUNT) == rows, 'the rows in the list')
    program.type(window.VK_MENU, ord('D'))
    program.wait_for_focus('IDC_RECORDS')
    program.command('ID_SELECT_ALL')
    wait_for(lambda: records.send(window.LVM_GETSELECTEDCOUNT) == rows, 'the selection')
    program.command('ID_COPY_ROWS', notice='The selected rows were copied.')
    lines = desk.session.clipboard().split('\r\n')
    expect((len(lines), lines[-1], len({line.count('\t') for line in lines[:-1]})), (rows + 2, '', 1), 'copied lines')
    program.close()


def template_repair(desk):
    """A table whose definition is gone comes back by a template, and only by one."""
    damage, template = corpus.Damage(desk.healthy), windows_path(desk.healthy_path)
    rescued = damage_repair.one_definition(damage, desk.healthy, pages.local_tables(desk.healthy))
    program = desk.start(windows_path(desk.write('no definition.mdb', damage.bytes)))
    program.control('IDC_MODE_TEMPLATE').post(window.BM_CLICK)
    wait_for(lambda: program.shown('IDC_TEMPLATE_FILE') == [True], 'the line of the template')
    program.command('ID_NEXT', ('Please Select Template MS Access Database File.', OK))
    expect(program.page(), 'chosen', 'page without a template')
    program.choose('ID_CHOOSE_TEMPLATE', TEMPLATE_TITLE, template)
    program.wait_for_text('IDC_TEMPLATE_FILE', template)
    desk.shoot('2-template')
    program.command('ID_NEXT', page='review')
    expect_text(program.text('IDC_SUMMARY'), 'Definitions from ' + template, 'summary')
    desk.save(desk.folder / 'by template.mdb')
    desk.check_saved(desk.folder / 'by template.mdb', damage=damage, rescued=rescued)
    program.close()


def overwrite(desk):
    """The damaged file is never an output; another one is after a Yes, when nobody else has it open."""
    program, before = desk.repair(desk.damaged), desk.damaged.read_bytes()
    desk.ask_to_save(desk.damaged)
    program.close_box(program.wait_for_box(EXISTS), YES)
    program.answer(('The repaired database cannot be saved over the file that it is made from. '
                    'Please provide another file name.', OK))
    program.answer_file_dialog(SAVE_TITLE, None)
    expect(desk.damaged.read_bytes() == before, True, 'the damaged file is as it was')
    existing = desk.write('existing.mdb', b'something else')
    desk.ask_to_save(existing)
    question = program.wait_for_box(EXISTS)
    desk.shoot('overwrite', question)
    program.close_box(question, NO)
    expect(existing.read_bytes(), b'something else', 'file not to be overwritten')
    dialog = program.wait_for_dialog(SAVE_TITLE)
    dialog.press(OK)
    question = program.wait_for_box(EXISTS, dialog)
    with desk.session.holding(existing):
        program.close_box(question, YES)
        box = program.wait_for_dialog(window.PROGRAM)
        expect_text(box.message(), 'File%s cannot be overwritten.\n' % windows_path(existing), 'message')
        program.close_box(box, OK)
    expect((program.page(), existing.read_bytes()), ('review', b'something else'), 'after a file in use')
    desk.ask_to_save(existing)
    program.close_box(program.wait_for_box(EXISTS), YES)
    program.wait_for_page('saved')
    desk.check_saved(existing)
    program.close()


def stop_save(desk):
    """A stopped save leaves no file and what was recovered can be saved again; closing while saving."""
    desk.session.choose_rules('standard')
    program, output = desk.start(windows_path(desk.big())), desk.folder / 'stopped.mdb'
    desk.session.choose_rules('exact')  # of the next start
    program.wait_for_page('chosen')
    program.command('ID_NEXT', page='repairing')
    watch_progress(program, 'repairing')
    program.wait_for_page('review')
    desk.ask_to_save(output)
    program.wait_for_page('saving')
    expect(program.shown('ID_STOP', 'IDC_PROGRESS', 'ID_NEXT'), [True, True, False], 'controls while saving')
    desk.shoot('5-saving')
    program.command('ID_STOP', (STOP, NO))
    expect(program.page(), 'saving', 'page after No')
    watch_progress(program, 'saving')
    program.command('ID_STOP', (STOP, YES), STOPPED)
    program.wait_for_page('review')
    expect_text(program.text('IDC_LOG'), 'Stopped. Nothing was saved.', 'log')
    expect(list(desk.folder.glob('stopped*')), [], 'what a stopped save left')
    desk.ask_to_save(output)
    program.wait_for_page('saving')
    program.ask_to_close((STOP, YES), STOPPED, (CLOSE, NO))
    expect(program.page(), 'review', 'page after closing was given up')
    program.close()
    expect((output.exists(), desk.run_folders()), (False, []), 'what is left')


def watch_progress(program, page):
    """The bar, what stands above it and the title tell the same, and none goes back."""
    last, end = 0, time.monotonic() + 0.5  # long before the work ends
    while time.monotonic() < end and program.page() == page:
        bar, note, title = (program.control('IDC_OVERALL').send(window.PBM_GETPOS), program.text('IDC_OVERALL_NOTE'),
                            program.frame.text())
        shown = int(note.split(' %')[0])
        expect(last <= bar <= shown <= int(title.split('%')[0]) < 100, True, 'progress %r' % ((last, bar, note, title),))
        last = bar


def wrong_files(desk):
    """Files that are gone, in use or no databases; a second copy of the program."""
    gone, held = desk.folder / 'gone.mdb', shutil.copy(desk.damaged, desk.folder / 'held.mdb')
    program = desk.start(windows_path(gone))
    program.wait_for_page('chosen')
    program.command('ID_NEXT', (NOT_THERE % windows_path(gone), OK))
    expect(program.page(), 'chosen', 'page after a missing file')
    with desk.session.holding(held):
        desk.choose(held)
        program.command('ID_NEXT')
        box = program.wait_for_dialog(window.PROGRAM)
        expect_text(box.message(), 'File: %s\nIf another program has it open' % windows_path(held), 'message')
        expect('does not exist' in box.message(), False, 'whether a file in use is told to be missing')
        program.close_box(box, OK)
    for words, message, code in (((), 'Tolvane for Access is already running.', 1),
                                 (('--help',), 'TolvaneForAccess [DATABASE]', 0)):
        second = Program(desk.session, desk.executable, *words)
        box = second.wait_for_dialog(window.PROGRAM)
        expect_text(box.message(), message, 'message of a second copy')
        second.close_box(box, OK)
        second.wait_for_end(code)
    expect(len(program.windows()), 1, 'windows of the first copy')
    desk.choose(desk.write('text.mdb', b'no database\n' * 1000))
    program.command('ID_NEXT', page='review')
    expect_text(program.text('IDC_SUMMARY'), 'Nothing could be recovered.', 'summary')
    expect(program.control('ID_NEXT').is_enabled(), False, 'whether nothing can be saved')
    program.command('ID_SAVE_RESULT')
    expect(program.page(), 'review', 'page after saving nothing')
    desk.shoot('4-nothing')
    program.close()


def encrypted(desk):
    """A file that nobody can read without its key: named so, with what can be done, and nothing to save."""
    source = pathlib.Path(desk.options.corpus) / 'engine-made' / 'encrypted-office-agile-4.2.accdb'
    if not source.exists():
        print('skipped encrypted: no folder of real databases')
        return
    program = desk.repair(shutil.copy(source, desk.folder / 'encrypted.accdb'))
    expect_text(program.text('IDC_HINT'), 'The database is encrypted', 'hint')
    expect_text(program.text('IDC_SUMMARY'), 'What can be done:', 'summary')
    expect(program.control('ID_NEXT').is_enabled(), False, 'whether nothing can be saved')
    desk.shoot('4-encrypted')
    program.close()


def export_to(program, form, place, *boxes, tables=None, notice='exported to '):
    """The export dialog, filled in; `tables`: another choice than the one that is offered."""
    program.command('ID_EXPORT')
    dialog = program.wait_for_dialog('Export')
    for name, choice in (('IDC_EXPORT_TABLES', tables), ('IDC_EXPORT_FORM', form)):
        if choice is not None:
            dialog.item(ID[name]).send(window.CB_SETCURSEL, choice)
            dialog.send(window.WM_COMMAND, window.CBN_SELCHANGE << 16 | ID[name], dialog.item(ID[name]).handle)
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
    wait_for(lambda: program.control('IDC_RECORDS').send(window.LVM_GETITEMCOUNT) > 0, 'the rows in the list')
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
    control.post(window.WM_LBUTTONDOWN, 1, 5 << 16 | 5)
    wait_for(lambda: program.text('IDC_MAP_NOTE').startswith('Page 0: '), 'the first page')
    tables = json.loads(corpus.tolvane(desk.options, 'tables', '--json', desk.damaged))['tables']
    page = next(table['page'] for table in tables if table['name'] == 'Customers')
    for _ in range(page):
        control.post(window.WM_KEYDOWN, window.VK_RIGHT)
    program.wait_for_text('IDC_MAP_NOTE', 'Page %d: table definition, of the table Customers' % page)
    expect(control.text(), 'Page map, ' + program.text('IDC_MAP_NOTE'), 'text of the map')
    desk.shoot('4-map')
    program.close()


def brightness(path):
    """Of a picture, from 0 to 1."""
    done = subprocess.run(['convert', path, '-colorspace', 'Gray', '-format', '%[fx:mean]', 'info:'], check=True,
                          capture_output=True, encoding='ascii')
    return float(done.stdout)


def colours(desk):
    """Dark colours and light ones again, chosen while the program runs."""
    program = desk.repair(desk.damaged)
    wait_for(lambda: ' pages, ' in program.text('IDC_MAP_NOTE'), 'the map in words')
    light = brightness(desk.shoot('4-review-light'))
    desk.session.choose_dark(True)
    try:
        program.follow_settings()
        dark = brightness(desk.shoot('4-review-dark'))
        expect(light > 0.7 and dark < 0.35, True, 'brightness %.2f of light and %.2f of dark colours' % (light, dark))
        program.select_table(0)
        wait_for(lambda: program.shown('IDC_RECORDS') == [True], 'the records')
        program.type(window.VK_MENU, ord('D'))
        program.type(window.VK_DOWN)
        desk.shoot('5-table-dark')
        program.command('ID_EXPORT')
        dialog = program.wait_for_dialog('Export')
        expect(brightness(desk.shoot('export-dark', dialog)) < 0.4, True, 'whether the dialog is dark')
        program.close_box(dialog, CANCEL)
        program.command('ID_BACK', (LEAVE, YES), page='chosen')
        desk.shoot('2-chosen-dark')
        program.command('ID_NEXT', page='repairing')
        desk.shoot('3-repairing-dark')
        program.wait_for_page('review')
    finally:
        desk.session.choose_dark(False)
    program.follow_settings()
    expect(brightness(desk.shoot('4-review-light')) > 0.7, True, 'whether it is light again')
    program.close()


def readers_of_screens(desk):
    """Every control tells its name and its role, and where it has one its value; the keyboard is always somewhere."""
    program = desk.repair(desk.damaged)
    wait_for(lambda: ' pages, ' in program.text('IDC_MAP_NOTE'), 'the map in words')
    check_names(program)
    program.select_table(0)
    wait_for(lambda: program.shown('IDC_RECORDS') == [True], 'the records')
    check_names(program)
    for command, title in (('ID_EXPORT', 'Export'), ('ID_SETTINGS', 'Settings')):
        program.command(command)
        dialog = program.wait_for_dialog(title)
        check_names(program, dialog)
        program.close_box(dialog, CANCEL)
    wait_for(lambda: program.focus() != 0, 'a control that has the keyboard')
    program.command('ID_BACK', (LEAVE, YES), page='chosen')
    check_names(program)
    program.wait_for_focus('ID_NEXT')
    program.close()


def check_names(program, dialog=None):
    """By what stands in the control or in the text before it, and by what the system tells readers of screens."""
    label = ''
    for control in (dialog or program.view).children():
        kind = control.kind()
        if kind == 'Static' and control.style() & window.WS_TABSTOP == 0:
            label = control.text() or label
            continue
        if not control.is_shown():
            continue
        name, role, value = control.accessible()
        expect(bool(control.text() if kind in ('Button', 'Static') else label), True, 'a name of a %s' % kind)
        expect(role > 0, True, 'role of a %s' % kind)
        # Of the rest Wine does not ask for labels.
        if kind in ('Button', 'Static'):
            expect(name, control.text().replace('&', ''), 'name of a %s' % kind)
        elif kind == 'Edit':
            expect((name, value), (label.replace('&', ''), control.text()), 'name and value of an edit')


def leave_review(desk):
    """What was not saved is left knowingly, and found again."""
    program = desk.repair(desk.damaged)
    program.command('ID_BACK', (LEAVE, NO))
    expect(program.page(), 'review', 'page after No')
    program.drop(windows_path(desk.healthy_path))
    program.answer((LEAVE, YES))
    program.wait_for_text('IDC_FILE', windows_path(desk.healthy_path))
    desk.shoot('2-held')
    program.command('ID_FORWARD', page='review')
    expect(program.frame.text(), 'damaged.mdb - ' + window.PROGRAM, 'title')
    desk.save(desk.folder / 'left.mdb', default='Tolvane_damaged.mdb')
    desk.check_saved(desk.folder / 'left.mdb')
    program.command('ID_BACK', page='review')
    program.command('ID_BACK', page='chosen')
    program.close()


def keyboard(desk):
    """The whole way without a mouse; keys do only what the page offers."""
    program = desk.start(windows_path(desk.damaged))
    program.wait_for_page('chosen')
    program.wait_for_focus('ID_NEXT')
    program.type(window.VK_LEFT)
    program.type(window.VK_CONTROL, ord('S'))
    program.type(window.VK_MENU, ord('T'))
    program.wait_for_focus('IDC_MODE_TEMPLATE')
    wait_for(lambda: program.shown('IDC_TEMPLATE_FILE') == [True], 'the line of the template')
    for key, name in ((window.VK_DOWN, 'IDC_MODE_STANDARD'), (window.VK_UP, 'IDC_MODE_TEMPLATE'),
                      (window.VK_UP, 'IDC_MODE_STANDARD')):
        program.type(key)
        program.wait_for_focus(name)
    wait_for(lambda: program.shown('IDC_TEMPLATE_FILE') == [False], 'standard mode')
    expect(program.page(), 'chosen', 'page')
    program.type(window.VK_F5)
    program.wait_for_page('review')
    program.wait_for_focus('IDC_TREE')
    program.type(window.VK_F5)
    program.type(window.VK_DOWN)
    wait_for(lambda: program.shown('IDC_RECORDS') == [True], 'the records')
    reached = []
    for _ in range(7):
        program.type(window.VK_TAB)
        wait_for(lambda: program.focus() != (reached or [ID['IDC_TREE']])[-1], 'the next control')
        reached.append(program.focus())
    expect([ID[name] for name in ('IDC_SUMMARY', 'IDC_FIND', 'ID_FIND_NEXT', 'IDC_RECORDS', 'IDC_CELL', 'ID_BACK', 'ID_NEXT')],
           reached, 'the way of Tab')
    program.type(window.VK_MENU, ord('D'))
    program.wait_for_focus('IDC_RECORDS')
    program.type_until(window.VK_HOME, lambda: program.text('IDC_CELL_LABEL').startswith('&Value - row 1,'), 'the first row')
    program.type(window.VK_RIGHT)
    program.wait_for_text('IDC_CELL_LABEL', '&Value - row 1, Company')
    program.type(window.VK_RETURN)
    dialog = program.wait_for_box('the whole value')
    program.type(window.VK_ESCAPE, to=dialog)
    wait_for(lambda: not dialog.is_shown(), 'the end of the dialog')
    program.type(window.VK_CONTROL, ord('S'))
    program.answer_file_dialog(SAVE_TITLE, None)
    program.type(window.VK_MENU, window.VK_LEFT)
    program.answer((LEAVE, YES))
    program.wait_for_page('chosen')
    program.type(window.VK_MENU, window.VK_RIGHT)
    program.wait_for_page('review')
    program.close()


def settings(desk):
    """The rules, the prefix and the box about the program."""
    program = desk.start()
    program.command('ID_SETTINGS')
    dialog = program.wait_for_dialog('Settings')
    prefix = dialog.item(ID['IDC_SETTINGS_PREFIX'])
    expect(prefix.text(), 'Rep', 'prefix')
    expect_text(dialog.item(ID['IDC_SETTINGS_ENGINE']).text(), 'Built-in', 'engine')
    rules = dialog.item(ID['IDC_SETTINGS_RULES'])
    expect((rules.send(window.CB_GETCOUNT), rules.send(window.CB_GETCURSEL)), (2, EXACT_RULES), 'rules')
    desk.shoot('settings', dialog)
    for text in ('', 'Re:'):
        prefix.write(text)
        dialog.press(OK)
        box = program.wait_for_box('a message about the prefix', dialog)
        expect(box.message(), 'Illegal character found in file pre fix ' if text else 'Please fill prefix', 'message')
        program.close_box(box, OK)
    prefix.write(' "')
    rules.send(window.CB_SETCURSEL, STANDARD_RULES)
    program.close_box(dialog, OK)
    program.command('ID_SETTINGS')
    dialog = program.wait_for_dialog('Settings')
    expect((dialog.item(ID['IDC_SETTINGS_PREFIX']).text(), dialog.item(ID['IDC_SETTINGS_RULES']).send(window.CB_GETCURSEL)),
           (' "', STANDARD_RULES), 'what was kept')
    program.close_box(dialog, CANCEL)
    program.close()
    program = desk.start()
    program.command('ID_SETTINGS')
    dialog = program.wait_for_dialog('Settings')
    rules = dialog.item(ID['IDC_SETTINGS_RULES'])
    expect((dialog.item(ID['IDC_SETTINGS_PREFIX']).text(), rules.send(window.CB_GETCURSEL)), ('Rep', STANDARD_RULES),
           'what the next run knows')
    rules.send(window.CB_SETCURSEL, EXACT_RULES)
    program.close_box(dialog, OK)
    for command in ('ID_ABOUT', 'ID_HELP_GUIDE'):  # no guide lies beside this copy
        program.command(command)
        dialog = program.wait_for_dialog('About Tolvane for Access')
        desk.shoot('about', dialog)
        program.close_box(dialog, CANCEL)
    program.close()


def installed_engine(desk):
    """Chosen where there is one, with the reason where not: the stand-in of tests/automation writes the database."""
    classes = '[%sHKEY_CLASSES_ROOT\\DAO.DBEngine.120%s]\n'
    server = '[HKEY_CLASSES_ROOT\\CLSID\\{6B1D3F0A-52C4-4E0B-9B4E-70A1C5D2E911}%s]\n%s\n'

    def register(text):
        desk.session.run(window.WINE, 'regedit', '/S', windows_path(desk.write('engine.reg', ('REGEDIT4\n\n' + text).encode())))

    def look(choice):
        desk.program.command('ID_SETTINGS')
        dialog = desk.program.wait_for_dialog('Settings')
        engine = dialog.item(ID['IDC_SETTINGS_ENGINE'])
        seen = engine.send(window.CB_GETCOUNT), dialog.item(ID['IDC_SETTINGS_ENGINE_NOTE']).text()
        engine.send(window.CB_SETCURSEL, choice)
        desk.shoot('settings-engine-%d' % seen[0], dialog)
        desk.program.close_box(dialog, OK)
        return seen

    calls = desk.folder / 'calls.txt'
    desk.session.call('SetEnvironmentVariableW', 'TOLVANE_STANDIN_CALLS', windows_path(calls))
    desk.start()
    expect(look(0), (1, 'No DAO engine is installed.'), 'without an engine')
    path = windows_path(desk.options.standin.resolve()).replace('\\', '\\\\')
    register(classes % ('', '\\CLSID') + '@="{6B1D3F0A-52C4-4E0B-9B4E-70A1C5D2E911}"\n\n' + server % ('', '') +
             server % ('\\InprocServer32', '@="%s"\n"ThreadingModel"="Apartment"\n' % path))
    try:
        expect(look(1), (2, 'It writes the repaired database.'), 'with an engine')
        program, output = desk.program, desk.folder / 'by-engine.mdb'
        desk.choose(desk.damaged)
        program.command('ID_NEXT', page='review')
        desk.save(output)
        expect_text(program.text('IDC_SUMMARY'), '6 tables, ', 'summary of the save')
        made = calls.read_text(encoding='utf-8').splitlines()
        saved = made[next(i for i, line in enumerate(made) if line.startswith('Engine.CreateDatabase')):]
        expect((sum(line.startswith('Database.TableDefs.Append') for line in saved), saved[-1]), (6, 'Database.Close()'), 'calls')
        expect(output.read_bytes().startswith(b'made by the stand-in'), True, 'the output')
        program.close()
    finally:
        register(classes % ('-', ''))


def start_dialog(desk):
    """The other way to begin: a dialog that asks for the file."""
    program = desk.start()
    program.command('ID_NEW_REPAIR')
    dialog = program.wait_for_dialog('New Repair')
    dialog.press(OK)
    box = program.wait_for_box('the message about no file', dialog)
    expect(box.message(), 'Please Select Corrupted MS Access Database File.', 'message')
    program.close_box(box, OK)
    dialog.press(ID['IDC_START_CHOOSE_FILE'])
    program.wait_for_box('the file dialog', dialog)
    program.answer_file_dialog('Select Corrupted MS Access file...', windows_path(desk.damaged))
    wait_for(lambda: dialog.item(ID['IDC_START_FILE']).text() == windows_path(desk.damaged), 'the chosen file')
    desk.shoot('start-dialog', dialog)
    dialog.press(OK)
    program.wait_for_page('review')
    program.close()


def recent_files(desk):
    """A dropped file is chosen, a repaired one is offered at the next start; one that has gone leaves the list."""
    copy = shutil.copy(desk.damaged, desk.folder / 'R\u00e9cent & \u03b4\u03b9\u03c0\u03bb\u03cc \u65e5\u672c.mdb')
    desk.repair(copy).close()
    program = desk.start()
    recent = program.control('IDC_RECENT_LIST')
    expect(recent.is_shown(), True, 'list of recent files')
    count = recent.send(window.LB_GETCOUNT)
    desk.shoot('1-recent')
    program.drop(windows_path(desk.damaged))
    program.wait_for_text('IDC_FILE', windows_path(desk.damaged))
    program.command('ID_RECENT_FIRST')
    program.wait_for_text('IDC_FILE', windows_path(copy))
    copy.unlink()
    program.command('ID_RECENT_FIRST', (NOT_THERE % windows_path(copy), OK))
    wait_for(lambda: recent.send(window.LB_GETCOUNT) == count - 1, 'a shorter list')
    program.close()


def every_page(desk):
    """What each page shows has room."""
    program = desk.start()
    program.command('ID_MODE_TEMPLATE')
    wait_for(lambda: program.shown('IDC_TEMPLATE_FILE') == [True], 'the line of the template')
    program.control('IDC_FILE').write(' "%s"' % windows_path(desk.damaged))  # as typed or pasted
    desk.shoot('2-template')
    program.command('ID_MODE_STANDARD')
    program.command('ID_NEXT', page='repairing')
    expect(program.text('IDC_FILE'), windows_path(desk.damaged), 'the typed path')
    desk.shoot('3-repairing')
    program.wait_for_page('review')
    wait_for(lambda: ' pages, ' in program.text('IDC_MAP_NOTE'), 'the map in words')
    review = desk.shoot('4-review')
    expect(brightness(review) < 0.35, bool(desk.session.display.colours), 'whether the page is dark')
    program.select_table(0)
    wait_for(lambda: program.shown('IDC_RECORDS') == [True], 'the records')
    desk.shoot('5-table')
    desk.save(desk.folder / 'every page.mdb')
    desk.shoot('6-saved')
    program.close()


def window_place(desk):
    """The window comes back where it was, on the screen that there is, and follows its resolution."""
    program = desk.start()
    program.move(60, 40, 900, 640)
    placed = program.frame.area()
    program.close()
    program = desk.start()
    expect(program.frame.area(), placed, 'place at the next start')
    before = program.control('ID_NEXT').area()
    program.change_resolution(120, (100, 50, 1300, 850))
    expect(program.frame.area(), (100, 50, 1300, 850), 'place at another resolution')
    after = program.control('ID_NEXT').area()
    expect(after[3] - after[1], (before[3] - before[1]) * 120 // 96, 'height of a button')
    program.check_layout()
    program.move(1900, 1300, 1000, 700)  # partly outside
    program.close()
    program = desk.start()
    program.check_layout()
    program.close()


def crash_note(desk):
    """An unexpected failure is told, with a note; the next start sweeps what the run left."""
    program = desk.repair(desk.damaged)
    program.fail()
    box = program.wait_for_box('the message about the failure')
    text = box.message()
    expect_text(text, 'Tolvane for Access has met an unexpected failure and must end. The damaged database was not changed.',
                'message')
    desk.shoot('failure', box)
    path = text.rsplit('\n', 1)[1].strip()
    expect_text(path, windows_path(desk.folder / 'TolvaneforAccess' / 'crash-'), 'place of the note')
    program.close_box(box, OK)
    program.wait_for_end(3)
    note = pathlib.Path(unix_path(path)).read_text('utf-8')
    expect_text(note, 'Exception C0000005', 'note')
    expect_text(note, 'Doing: page 3', 'note')
    expect(len(desk.run_folders()), 1, 'folders of a run that failed')
    desk.start().close()
    expect(desk.run_folders(), [], 'folders after the next start')


STORIES = [standard_repair, preview, copy_many_rows, template_repair, overwrite, stop_save, wrong_files, leave_review, encrypted, exports, objects, page_map, colours, readers_of_screens, keyboard,
           settings, installed_engine, start_dialog, recent_files, window_place, crash_note]
DESKTOP, FINE = Display('96', 96, (2100, 1560)), Display('192', 192, (2100, 1560))
# 800x600 and 1280x720 at 150 %, with a taskbar.
SMALL = [Display('small-96', 96, (800, 560)), Display('small-144', 144, (1280, 648))]
# Colours of a high contrast, white on black.
CONTRAST = Display('contrast', 144, (1800, 1200), window.HIGH_CONTRAST)
EVERYWHERE = [(DESKTOP, story) for story in STORIES] + [(FINE, story) for story in (every_page, preview, settings)] + [
    (display, every_page) for display in [*SMALL, CONTRAST]]



def tell(desk, story):
    """Runs one story and prints its line. True when it went as told."""
    started, problem = time.monotonic(), None
    try:
        story(desk)
    except (Failed, corpus.Failure, subprocess.SubprocessError, OSError, KeyError, ValueError) as failure:
        problem = 'FAILED %s: %s' % (type(failure).__name__, failure)
        desk.session.run('import', '-window', 'root', desk.shots / ('FAILED-%s.png' % story.__name__))
        if desk.program:
            desk.program.end()
    print('%-16s %-9s %5.1f s  %s' % (
        story.__name__, desk.session.display.name, time.monotonic() - started, problem or 'passed'), flush=True)
    return problem is None


def run(description, stories):
    """Runs (display, story) of `stories`, and answers the exit status."""
    parser = argparse.ArgumentParser(description=description, formatter_class=argparse.RawDescriptionHelpFormatter)
    for option, place in (('--program', 'build/windows-x64/ui/TolvaneForAccess.exe'),
                          ('--drive', 'build/windows-x64/tests/ui/drive.exe'), ('--tolvane', 'build/release/tolvane'),
                          ('--make-sample', 'build/release/samples/make_sample'), ('--build', 'build/ui-stories'),
                          ('--standin', 'build/windows-x64/tests/automation/standin_engine.dll')):
        parser.add_argument(option, type=pathlib.Path, default=ROOT / place, help='default: ' + place)
    parser.add_argument('--corpus', default=os.environ.get('TOLVANE_CORPUS') or ROOT.parent / 'shared' / 'corpus',
                        help='folder of real databases (default: TOLVANE_CORPUS, else ../shared/corpus)')
    parser.add_argument('--only', default='', help='stories whose name holds this text')
    options = parser.parse_args()
    lacks = ', '.join(filter(None, (window.missing(), readers.missing())))
    if lacks:
        print('skipped: missing ' + lacks)
        return corpus.SKIPPED
    # Whoever ends this script ends the display and the program with it.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    stories = [(display, story) for display, story in stories if options.only in display.name + ' ' + story.__name__]
    shutil.rmtree(options.build / 'screenshots', ignore_errors=True)
    failed = 0
    for wanted in dict.fromkeys(display for display, _ in stories):
        desk = Desk(options, wanted)
        try:
            failed += sum(not tell(desk, story) for display, story in stories if display == wanted)
        finally:
            desk.session.end()
    print('%d stories, %d failed; pictures in %s' % (len(stories), failed, options.build / 'screenshots'))
    return 1 if failed or not stories else 0


if __name__ == '__main__':
    sys.exit(run(__doc__, EVERYWHERE))
