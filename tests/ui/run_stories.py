#!/usr/bin/env python3
"""Runs the window program under Wine on a virtual screen and works it from outside, by window messages alone: whole
stories on real databases, judged by what the windows say, by the saved files as independent readers see them, and by
`tolvane check`.

    python3 tests/ui/run_stories.py [--program build/windows-x64/ui/TolvaneForAccess.exe]
        [--drive build/windows-x64/tests/ui/drive.exe] [--tolvane build/release/tolvane]
        [--make-sample build/release/samples/make_sample] [--only TEXT] [--images FOLDER]

Prints one line a story and keeps a picture of every page, at 96 and 192 DPI, in build/ui-stories/screenshots. Ends with
77 where Wine, a virtual screen or the readers are missing. `--images` makes nothing but the pictures of the user guide.
"""
import argparse
import json
import os
import shutil
import signal
import subprocess
import sys
import time

import window
from window import (CANCEL, ID, NO, OK, PATIENCE, ROOT, YES, Failed, Program, Session, expect, expect_text, wait_for,
                    windows_path)

sys.path.insert(0, os.path.join(ROOT, 'tests', 'corpus'))
# Behind the line that tells where they are.
import corpus  # noqa: E402
import damage_repair  # noqa: E402
import pages  # noqa: E402
import readers  # noqa: E402

SKIPPED = corpus.SKIPPED
OPEN_TITLE = 'Select corrupted file to repair...'
TEMPLATE_TITLE = 'Select file having same structure as corrupted file...'
SAVE_TITLE = 'Save As'
STOP = 'Do you really want to stop current process?'
STOPPED = 'Proccess stop by user.'
CLOSE = 'Are you sure, you want to close the application?'
FIRST_HINT = 'Please click on repair button and select corrupted MS Access file.'
CHOSEN_HINT = 'Select corrupted access file and press repair button.'
SAVED_HINT = 'The database has been repaired and saved successfully.'
EXISTS = 'the question about an existing file'
BIG_COPIES = 200  # of the sample's rows, for a repair and a save that take seconds


class Desk:
    """What every story finds: the session, the files, and a place for output."""

    def __init__(self, options):
        self.options = options
        self.folder = os.path.join(options.build, 'desk')
        shutil.rmtree(self.folder, ignore_errors=True)
        self.shots = os.path.join(options.build, 'screenshots')
        os.makedirs(self.folder)
        os.makedirs(self.shots, exist_ok=True)
        for name in os.listdir(self.shots):
            if name.startswith('FAILED-'):
                os.unlink(os.path.join(self.shots, name))
        self.executable = shutil.copy(options.program, self.folder)
        self.healthy_path, self.damaged = self.path('healthy.mdb'), self.path('damaged.mdb')
        subprocess.run([options.make_sample, self.healthy_path, self.damaged], check=True, stdout=subprocess.DEVNULL)
        self.healthy = pages.Pages(self.healthy_path)
        self.session = None
        self.program = None

    def path(self, name):
        return os.path.join(self.folder, name)

    def big(self):
        """The rows of the sample many times over: their pages again and again behind the file."""
        path = self.path('big.mdb')
        if not os.path.exists(path):
            tables = [table.definition for name, table in pages.local_tables(self.healthy).items()
                      if not name.startswith('MSys')]
            rows = b''.join(self.healthy.page(number) for number in self.healthy.pages_of_type(pages.DATA)
                            if self.healthy.owner_of(number) in tables)
            with open(path, 'wb') as file:
                file.write(self.healthy.data + rows * BIG_COPIES)
        return path

    def open_session(self, dpi=96):
        self.session = Session(self.folder, os.path.join(self.options.build, 'wine'), self.options.drive, dpi)

    def close_session(self):
        self.session.end()
        self.session = None

    def start(self, *arguments, executable=None):
        self.program = Program(self.session, executable or self.executable, *arguments)
        return self.program.wait_for_frame()

    def shoot(self, name, dialog=None):
        self.program.shoot(os.path.join(self.shots, '%s-%d.png' % (name, self.session.dpi)), dialog)

    def picture(self, name):
        """One for the user guide."""
        self.shoot('guide-' + name)
        os.makedirs(self.options.images, exist_ok=True)
        taken = os.path.join(self.shots, 'guide-%s-%d.png' % (name, self.session.dpi))
        subprocess.run(['convert', taken, '-strip', '+dither', '-colors', '64', '-define', 'png:compression-level=9',
                        '-define', 'png:exclude-chunks=date,time', 'PNG8:' + os.path.join(self.options.images, name + '.png')],
                       check=True)

    def repair(self, path, executable=None):
        """The program on the page of what was recovered."""
        program = self.start(windows_path(path), executable=executable)
        program.wait_for_page('chosen')
        program.command('ID_NEXT')
        program.wait_for_page('review')
        return program

    def save(self, program, path, default=None):
        program.command('ID_NEXT')
        program.answer_file_dialog(SAVE_TITLE, windows_path(path), default)
        program.wait_for_page('saved')

    def sources(self, healthy, path):
        return damage_repair.sources(path, healthy, corpus.Verdict())

    def check_saved(self, path, damage, sources, rescued=None):
        """Every row on an untouched page is there, for mdb-reader cell by cell and for mdbtools by count."""
        corpus.tolvane(self.options, 'check', path, good=(0,))
        output, verdict = damage_repair.Output(path), corpus.Verdict()
        for source in sources:
            damage_repair.check_table(verdict, output, source, damage, rescued)
            rows = readers.mdbtools_export(path, source.name)
            if rows is None or len(rows.rows) != len(output.seen[source.name].rows):
                verdict.error('%s: the two readers see different rows' % source.name)
        if verdict.errors or verdict.rows == 0:
            raise Failed('%s: %s' % (os.path.basename(path), '; '.join(verdict.errors) or 'no rows'))

    def sample_damage(self):
        return damage_repair.damage_of(self.healthy, self.damaged)

    def run_folders(self):
        """Folders of temporary files that a run left."""
        work = self.path('TolvaneforAccess')
        return [name for name in os.listdir(work) if os.path.isdir(os.path.join(work, name))] if os.path.isdir(work) else []


# --- the stories ---


def standard_repair(desk):
    """From choosing a file to the saved database, with every text on the way."""
    program = desk.start()
    expect(program.page(), 'start', 'first page')
    expect(program.frame.text(), window.PROGRAM, 'title')
    expect(program.text('IDC_HINT'), FIRST_HINT, 'first hint')
    expect(program.control('IDC_TEMPLATE_FILE').is_shown(), False, 'template line in standard mode')
    desk.shoot('1-choose')
    program.command('ID_NEXT')
    program.answer_file_dialog(OPEN_TITLE, None)
    expect(program.page(), 'start', 'page after a cancelled dialog')
    program.command('ID_CHOOSE_FILE')
    program.answer_file_dialog(OPEN_TITLE, windows_path(desk.damaged))
    program.wait_for_page('chosen')
    expect(program.text('IDC_FILE'), windows_path(desk.damaged), 'selected file')
    expect(program.text('IDC_FILE_LABEL'), 'Selected database path :', 'its label')
    expect(program.text('IDC_HINT'), CHOSEN_HINT, 'hint')
    expect(program.frame.text(), 'damaged.mdb - ' + window.PROGRAM, 'title')
    desk.shoot('2-chosen')
    program.command('ID_NEXT')
    program.wait_for_page('repairing')
    expect([program.control(name).is_shown() for name in ('ID_STOP', 'IDC_PROGRESS', 'IDC_LOG', 'ID_NEXT', 'IDC_TREE')],
           [True, True, True, False, False], 'controls while repairing')
    desk.shoot('3-repairing')
    program.wait_for_page('review')
    expect(program.control('ID_NEXT').text(), '&Save repaired database...', 'button')
    summary = program.text('IDC_SUMMARY')
    expect_text(summary, '6 tables, ', 'summary')
    expect_text(summary, 'Lost or doubtful:', 'summary')
    desk.shoot('4-review')
    desk.save(program, desk.path('Tolvane_damaged.mdb'), default='Tolvane_damaged.mdb')
    expect(program.text('IDC_HINT'), SAVED_HINT, 'last hint')
    expect(program.text('IDC_OUTPUT'), windows_path(desk.path('Tolvane_damaged.mdb')), 'output')
    expect_text(program.text('IDC_SUMMARY'), '6 tables, ', 'summary of the save')
    expect_text(program.text('IDC_LOG'), 'Location: \r\n' + windows_path(desk.path('Tolvane_damaged.mdb')), 'log')
    desk.shoot('6-saved')
    desk.check_saved(desk.path('Tolvane_damaged.mdb'), desk.sample_damage(), desk.sources(desk.healthy, desk.healthy_path))
    save_log(desk, program)
    program.close()
    expect(desk.run_folders(), [], 'folders left behind')


def save_log(desk, program):
    log = program.text('IDC_LOG')
    program.command('ID_COPY_LOG')
    wait_for(lambda: program.notice() == 'The log was copied.', 'the notice about the log')
    expect(desk.session.ask('clipboard')[0], log, 'clipboard')
    program.command('ID_SAVE_LOG')
    program.answer_file_dialog('Save log', windows_path(desk.path('log')), 'Tolvane log.txt')
    wait_for(lambda: program.notice().startswith('The log was saved: '), 'the saved log')
    with open(desk.path('log.txt'), encoding='utf-8-sig', newline='') as file:
        expect(file.read().rstrip('\r\n'), log.rstrip('\r\n'), 'saved log')


def preview(desk):
    """Tables, records, values, the search and the whole value of the sample."""
    program = desk.repair(desk.damaged)
    told = {table['name']: table['rows'] for table in json.loads(
        corpus.tolvane(desk.options, 'tables', '--json', desk.damaged))['tables']}
    expect(program.tables(), told, 'tables and rows')
    names = list(told)
    for name in ('Notes', 'Customers'):
        program.select_table(names.index(name))
        program.wait_for_rows(told[name])
        wait_for(lambda: program.text('IDC_RECORDS_LABEL') == 'Recor&ds - %d rows' % told[name], 'the count of rows')
        expect(program.control('IDC_LOG').is_shown(), False, 'log beside a table')
    records = program.control('IDC_RECORDS')
    program.control('IDC_FIND').write('Harbour')
    program.command('ID_FIND_NEXT')
    wait_for(lambda: program.notice().startswith('Found "Harbour" in row '), 'a hit')
    expect_text(program.text('IDC_CELL'), 'Harbour', 'value found')
    expect_text(program.text('IDC_CELL_LABEL'), ', Company', 'column found')
    desk.shoot('5-table')
    program.control('IDC_FIND').write('not in any row')
    program.command('ID_FIND_NEXT')
    wait_for(lambda: program.notice() == '"not in any row" is not in this table.', 'a search without a hit')
    value = program.text('IDC_CELL')
    program.command('ID_SHOW_CELL')
    dialog = program.wait_for_box('the whole value')
    expect(dialog.item(ID['IDC_CELL_TEXT']).text(), value, 'whole value')
    desk.shoot('whole-value', dialog)
    program.close_box(dialog, CANCEL)
    records.post(window.WM_KEYDOWN, window.VK_HOME)
    program.command('ID_COPY_ROWS')
    wait_for(lambda: program.notice() == 'The selected rows were copied.', 'the notice about the rows')
    expect_text(desk.session.ask('clipboard')[0], 'ID\tCompany\tContact\t', 'clipboard')
    program.select_table(-1)
    expect_text(program.text('IDC_SUMMARY'), '6 tables, ', 'summary of the root')
    expect(program.control('IDC_RECORDS').is_shown(), False, 'list beside the root')
    program.close()


def template_repair(desk):
    """A table whose definition is gone comes back by a template, and only by one."""
    damage = corpus.Damage(desk.healthy)
    rescued = damage_repair.one_definition(damage, desk.healthy, pages.local_tables(desk.healthy))
    source, output = desk.path('no definition.mdb'), desk.path('by template.mdb')
    with open(source, 'wb') as file:
        file.write(damage.bytes)
    program = desk.start(windows_path(source))
    program.control('IDC_MODE_TEMPLATE').post(window.BM_CLICK)
    wait_for(lambda: program.control('IDC_TEMPLATE_FILE').is_shown(), 'the line of the template')
    program.command('ID_NEXT')
    program.answer_box('Please Select Template MS Access Database File.', OK)
    expect(program.page(), 'chosen', 'page without a template')
    program.command('ID_CHOOSE_TEMPLATE')
    program.answer_file_dialog(TEMPLATE_TITLE, windows_path(desk.healthy_path))
    wait_for(lambda: program.text('IDC_TEMPLATE_FILE') == windows_path(desk.healthy_path), 'the template')
    desk.shoot('2-template')
    program.command('ID_NEXT')
    program.wait_for_page('review')
    expect_text(program.text('IDC_SUMMARY'), 'Definitions from ' + windows_path(desk.healthy_path), 'summary')
    desk.save(program, output)
    desk.check_saved(output, damage, desk.sources(desk.healthy, desk.healthy_path), rescued)
    program.close()


def output_names(desk):
    """What may be saved where: refused names, the longest path, an existing file, another ending."""
    program = desk.repair(desk.damaged)
    folder = windows_path(desk.folder) + '\\'

    def refuse(path, text):
        program.command('ID_NEXT')
        program.answer_file_dialog(SAVE_TITLE, path)
        program.answer_box(text, OK)
        program.answer_file_dialog(SAVE_TITLE, None)
        expect(program.page(), 'review', 'page after a refused name')

    longest = folder + 'n' * (245 - len(folder) - 4) + '.mdb'
    refuse(longest[:-4] + 'n.mdb', 'File name should be less than 245 characters.')
    refuse(folder + '.mdb', 'Please provide a valid file name.')
    before = open(desk.damaged, 'rb').read()
    program.command('ID_NEXT')
    program.answer_file_dialog(SAVE_TITLE, windows_path(desk.damaged))
    program.close_box(program.wait_for_box(EXISTS), YES)
    program.answer_box('The repaired database cannot be saved over the file that it is made from.', OK, exactly=False)
    program.answer_file_dialog(SAVE_TITLE, None)
    expect(open(desk.damaged, 'rb').read() == before, True, 'the damaged file is as it was')

    sources, damage = desk.sources(desk.healthy, desk.healthy_path), desk.sample_damage()
    desk.save(program, '/' + longest[3:].replace('\\', '/'))
    desk.check_saved('/' + longest[3:].replace('\\', '/'), damage, sources)
    program.command('ID_BACK')
    program.wait_for_page('review')
    existing = desk.path('existing.mdb')
    with open(existing, 'wb') as file:
        file.write(b'something else')
    program.command('ID_NEXT')
    dialog = program.wait_for_dialog(SAVE_TITLE)
    program.file_name(dialog).write(windows_path(existing))
    dialog.press(OK)
    question = program.wait_for_other_box(dialog, EXISTS)
    desk.shoot('overwrite', question)
    program.close_box(question, NO)
    expect(open(existing, 'rb').read(), b'something else', 'file not to be overwritten')
    dialog.press(OK)
    desk.session.ask('hold', windows_path(existing))
    program.close_box(program.wait_for_other_box(dialog, EXISTS), YES)
    program.answer_box('File%s cannot be overwritten.\n' % windows_path(existing), OK, exactly=False)
    desk.session.ask('hold', '')
    expect((program.page(), open(existing, 'rb').read()), ('review', b'something else'), 'after a file in use')
    program.command('ID_NEXT')
    program.answer_file_dialog(SAVE_TITLE, windows_path(existing))
    program.close_box(program.wait_for_box(EXISTS), YES)
    program.wait_for_page('saved')
    desk.check_saved(existing, damage, sources)
    program.command('ID_BACK')
    program.wait_for_page('review')
    program.command('ID_NEXT')
    program.answer_file_dialog(SAVE_TITLE, folder + 'other ending.accdb')
    program.wait_for_page('saved')
    expect(program.text('IDC_OUTPUT'), folder + 'other ending.accdb.mdb', 'output')
    desk.check_saved(desk.path('other ending.accdb.mdb'), damage, sources)
    program.close()


def stop_repair(desk):
    """Stop, answered No and then Yes; close, answered No and Yes, while a repair runs."""
    program = desk.start(windows_path(desk.big()))

    def begin():
        program.command('ID_NEXT')
        program.wait_for_page('repairing')

    begin()
    program.command('ID_STOP')
    program.answer_box(STOP, NO)
    expect(program.page(), 'repairing', 'page after No')
    desk.shoot('3-repairing-big')
    program.command('ID_STOP')
    program.answer_box(STOP, YES)
    program.answer_box(STOPPED, OK)
    expect(program.page(), 'chosen', 'page after a stop')
    expect((program.text('IDC_HINT'), program.text('IDC_FILE')), (FIRST_HINT, ''), 'hint and file after a stop')
    program.command('ID_NEXT')
    program.answer_file_dialog(OPEN_TITLE, windows_path(desk.big()))
    program.wait_for_page('repairing')
    program.frame.post(window.WM_CLOSE)
    program.answer_box(STOP, NO)
    expect(program.page(), 'repairing', 'page after closing was given up')
    program.frame.post(window.WM_CLOSE)
    program.answer_box(STOP, YES)
    program.answer_box(STOPPED, OK)
    program.answer_box(CLOSE, YES)
    program.wait_for_end('0')
    expect(desk.run_folders(), [], 'folders left behind')


def stop_save(desk):
    """A stopped save leaves no file and what was recovered can be saved again; closing while saving."""
    program = desk.repair(desk.big())
    output = desk.path('stopped.mdb')

    def begin():
        program.command('ID_NEXT')
        program.answer_file_dialog(SAVE_TITLE, windows_path(output))
        program.wait_for_page('saving')

    begin()
    expect([program.control(name).is_shown() for name in ('ID_STOP', 'IDC_PROGRESS', 'ID_NEXT')], [True, True, False],
           'controls while saving')
    desk.shoot('5-saving')
    program.command('ID_STOP')
    program.answer_box(STOP, NO)
    expect(program.page(), 'saving', 'page after No')
    program.command('ID_STOP')
    program.answer_box(STOP, YES)
    program.answer_box(STOPPED, OK)
    program.wait_for_page('review')
    expect(os.path.exists(output), False, 'the unfinished database is there')
    expect_text(program.text('IDC_LOG'), 'Stopped. The unfinished database was deleted: ' + windows_path(output), 'log')
    expect([name for name in os.listdir(desk.folder) if name.startswith('stopped')], [], 'what a stopped save left')
    begin()
    program.frame.post(window.WM_CLOSE)
    program.answer_box(STOP, YES)
    program.answer_box(STOPPED, OK)
    program.answer_box(CLOSE, NO)
    expect(program.page(), 'review', 'page after closing was given up')
    program.close()
    expect((os.path.exists(output), desk.run_folders()), (False, []), 'what is left')


def wrong_files(desk):
    """Files that are gone, in use or no databases; a second copy of the program."""
    gone, text = windows_path(desk.path('gone.mdb')), desk.path('text.mdb')
    with open(text, 'w', encoding='ascii') as file:
        file.write('no database\n' * 1000)
    program = desk.start(gone)
    program.wait_for_page('chosen')
    program.command('ID_NEXT')
    program.answer_box("File '%s' does not exist or access is denied." % gone, OK)
    expect(program.page(), 'chosen', 'page after a missing file')
    held = shutil.copy(desk.damaged, desk.path('held.mdb'))
    desk.session.ask('hold', windows_path(held))
    program.command('ID_CHOOSE_FILE')
    program.answer_file_dialog(OPEN_TITLE, windows_path(held))
    wait_for(lambda: program.text('IDC_FILE') == windows_path(held), 'the file that is in use')
    program.command('ID_NEXT')
    program.answer_box("File '%s' does not exist or access is denied." % windows_path(held), OK)
    desk.session.ask('hold', '')
    second = Program(desk.session, desk.executable)
    second.answer_box('Tolvane for Access is already running.', OK)
    second.wait_for_end('1')
    expect([name for _, name, *_ in program.windows()], ['TolvaneForAccessFrame'], 'windows of the first copy')
    program.command('ID_CHOOSE_FILE')
    program.answer_file_dialog(OPEN_TITLE, windows_path(text))
    wait_for(lambda: program.text('IDC_FILE') == windows_path(text), 'the other file')
    program.command('ID_NEXT')
    program.wait_for_page('review')
    expect_text(program.text('IDC_SUMMARY'), 'Nothing could be recovered.', 'summary')
    desk.shoot('4-nothing')
    program.close()


def settings(desk):
    """The prefix, the engine, the box about the program and the start dialog."""
    program = desk.start()
    program.command('ID_SETTINGS')
    dialog = program.wait_for_dialog('Settings')
    prefix, engine = dialog.item(ID['IDC_SETTINGS_PREFIX']), dialog.item(ID['IDC_SETTINGS_ENGINE'])
    expect(prefix.text(), 'Rep', 'prefix')
    expect((engine.send(window.CB_GETCOUNT), engine.send(window.CB_GETCURSEL)), (1, 0), 'engines')
    desk.shoot('settings', dialog)

    def refuse(text, message):
        prefix.write(text)
        dialog.press(OK)
        box = program.wait_for_other_box(dialog, message)
        expect(program.box_text(box), message, 'message about the prefix')
        program.close_box(box, OK)

    refuse('', 'Please fill prefix')
    for character in '/\\|*:?<>\'':
        refuse('Re' + character, 'Illegal character found in file pre fix ')
    prefix.write(' "')
    program.close_box(dialog, OK)
    program.command('ID_SETTINGS')
    dialog = program.wait_for_dialog('Settings')
    expect(dialog.item(ID['IDC_SETTINGS_PREFIX']).text(), ' "', 'prefix kept')
    program.close_box(dialog, CANCEL)
    for command in ('ID_ABOUT', 'ID_HELP_GUIDE'):  # no guide lies beside this copy
        program.command(command)
        dialog = program.wait_for_dialog('About Tolvane for Access')
        desk.shoot('about', dialog)
        program.close_box(dialog, CANCEL)
    start_dialog(desk, program)
    program.close()


def start_dialog(desk, program):
    program.command('ID_NEW_REPAIR')
    dialog = program.wait_for_dialog('New Repair')
    dialog.press(OK)
    box = program.wait_for_other_box(dialog, 'the message about no file')
    expect(program.box_text(box), 'Please Select Corrupted MS Access Database File.', 'message')
    program.close_box(box, OK)
    dialog.press(ID['IDC_START_CHOOSE_FILE'])
    program.wait_for_other_box(dialog, 'the file dialog')
    program.answer_file_dialog('Select Corrupted MS Access file...', windows_path(desk.damaged))
    wait_for(lambda: dialog.item(ID['IDC_START_FILE']).text() == windows_path(desk.damaged), 'the chosen file')
    desk.shoot('start-dialog', dialog)
    dialog.press(OK)
    program.wait_for_page('review')


def recent_files(desk):
    """A repaired file is offered at the next start; one that has gone is taken from the list."""
    copy = shutil.copy(desk.damaged, desk.path('R\u00e9cent & \u03b4\u03b9\u03c0\u03bb\u03cc \u65e5\u672c.mdb'))
    desk.repair(copy).close()
    program = desk.start()
    recent = program.control('IDC_RECENT_LIST')
    expect(recent.is_shown(), True, 'list of recent files')
    count = recent.send(window.LB_GETCOUNT)
    desk.shoot('1-recent')
    program.command('ID_RECENT_FIRST')
    wait_for(lambda: program.text('IDC_FILE') == windows_path(copy), 'the recent file')
    os.unlink(copy)
    program.command('ID_RECENT_FIRST')
    program.answer_box("File '%s' does not exist or access is denied." % windows_path(copy), OK)
    wait_for(lambda: recent.send(window.LB_GETCOUNT) == count - 1, 'a shorter list')
    program.close()


def crash_note(desk):
    """An unexpected failure is told, with a note; the next start sweeps what the run left."""
    program = desk.repair(desk.damaged)
    desk.session.ask('fail', program.process)
    box = program.wait_for_box('the message about the failure')
    text = program.box_text(box)
    expect_text(text, 'Tolvane for Access has met an unexpected failure and must end. The damaged database was not changed.',
                'message')
    desk.shoot('failure', box)
    path = text.rsplit('\n', 1)[1].strip()
    expect(path.startswith(windows_path(desk.path('TolvaneforAccess')) + '\\crash-'), True, 'place of the note ' + path)
    program.close_box(box, OK)
    program.wait_for_end('3')
    with open('/' + path[3:].replace('\\', '/'), encoding='utf-8') as file:
        note = file.read()
    expect_text(note, 'Exception C0000005', 'note')
    expect_text(note, 'Doing: page 3', 'note')
    expect(len(desk.run_folders()), 1, 'folders of a run that failed')
    desk.start().close()
    expect(desk.run_folders(), [], 'folders after the next start')


def real_files(desk):
    """Healthy files of other formats come out as they were."""
    if not os.path.isdir(desk.options.corpus):
        return 'skipped: no folder of real databases at ' + desk.options.corpus
    for name in ('V1997/testIndexCodesV1997.mdb', 'V2010/binIdxTestV2010.accdb'):
        path = os.path.join(desk.options.corpus, name)
        output = desk.path('Tolvane_' + os.path.basename(name))
        program = desk.repair(path)
        desk.save(program, output, default='Tolvane_' + os.path.basename(name))
        healthy = corpus.open_pages(path)
        desk.check_saved(output, corpus.Damage(healthy), desk.sources(healthy, path))
        program.close()
    return None


def other_bits(desk):
    """The 32-bit program, where a Wine runs it."""
    if not os.path.exists('/usr/lib/wine/wine') or not os.path.exists(desk.options.program_x86):
        return 'skipped: no 32-bit Wine (/usr/lib/wine/wine) or no ' + os.path.relpath(desk.options.program_x86, ROOT)
    folder = desk.path('x86')
    os.mkdir(folder)
    program = desk.repair(desk.damaged, shutil.copy(desk.options.program_x86, folder))
    desk.save(program, os.path.join(folder, 'saved.mdb'))
    desk.check_saved(os.path.join(folder, 'saved.mdb'), desk.sample_damage(), desk.sources(desk.healthy, desk.healthy_path))
    program.close()
    return None


def every_page(desk):
    """Pictures only: every page once."""
    program = desk.start()
    desk.shoot('1-choose')
    program.command('ID_CHOOSE_FILE')
    program.answer_file_dialog(OPEN_TITLE, windows_path(desk.big()))
    program.wait_for_page('chosen')
    desk.shoot('2-chosen')
    program.command('ID_MODE_TEMPLATE')
    wait_for(lambda: program.control('IDC_TEMPLATE_FILE').is_shown(), 'the line of the template')
    desk.shoot('2-template')
    program.command('ID_MODE_STANDARD')
    program.command('ID_NEXT')
    program.wait_for_page('repairing')
    desk.shoot('3-repairing')
    program.wait_for_page('review')
    desk.shoot('4-review')
    program.select_table(0)
    wait_for(lambda: program.text('IDC_RECORDS_LABEL').endswith(' rows'), 'the records')
    desk.shoot('5-table')
    program.command('ID_NEXT')
    program.answer_file_dialog(SAVE_TITLE, windows_path(desk.path('pictures.mdb')))
    program.wait_for_page('saving')
    desk.shoot('5-saving')
    program.wait_for_page('saved')
    desk.shoot('6-saved')
    program.command('ID_SETTINGS')
    dialog = program.wait_for_dialog('Settings')
    desk.shoot('settings', dialog)
    program.close_box(dialog, CANCEL)
    program.close()


def guide_pictures(desk):
    """The pictures of the user guide: small, with few colours and paths as a user has them."""
    folder = os.path.join(desk.options.build, 'wine', 'drive_c', 'Databases')
    os.makedirs(folder, exist_ok=True)
    names = ('Trade.mdb', 'Trade backup.mdb')
    for source, name in zip((desk.damaged, desk.healthy_path), names):
        shutil.copy(source, os.path.join(folder, name))
    if os.path.exists(os.path.join(folder, 'Tolvane_Trade.mdb')):
        os.unlink(os.path.join(folder, 'Tolvane_Trade.mdb'))
    damaged, template = ('C:\\Databases\\' + name for name in names)
    program = desk.start(damaged)
    desk.picture('choose')
    program.command('ID_MODE_TEMPLATE')
    program.command('ID_CHOOSE_TEMPLATE')
    program.answer_file_dialog(TEMPLATE_TITLE, template)
    wait_for(lambda: program.text('IDC_TEMPLATE_FILE') == template, 'the template')
    desk.picture('template')
    program.command('ID_MODE_STANDARD')
    program.command('ID_NEXT')
    program.wait_for_page('repairing')
    wait_for(lambda: program.text('IDC_LOG'), 'the first lines of the log')
    desk.picture('repair')
    program.wait_for_page('review')
    desk.picture('review')
    program.select_table(0)
    program.control('IDC_FIND').write('Harbour')
    program.command('ID_FIND_NEXT')
    wait_for(program.notice, 'a hit')
    desk.picture('records')
    program.command('ID_NEXT')
    program.answer_file_dialog(SAVE_TITLE, 'C:\\Databases\\Tolvane_Trade.mdb')
    program.wait_for_page('saved')
    desk.picture('saved')
    program.close()


STORIES = [standard_repair, preview, template_repair, output_names, stop_repair, stop_save, wrong_files, settings,
           recent_files, crash_note, real_files, other_bits]


def tell(desk, story, name):
    """Runs one story and prints its line. True when it went as told."""
    started, problem = time.monotonic(), None
    try:
        note = story(desk)
    except (Failed, corpus.Failure, subprocess.SubprocessError, OSError, KeyError, ValueError) as failure:
        problem = '%s: %s' % (type(failure).__name__, failure)
        note = None
        try:
            subprocess.run(['import', '-window', 'root', os.path.join(desk.shots, 'FAILED-%s.png' % name)],
                           env=desk.session.environment, check=False)
            desk.program.end()
        except (Failed, OSError, AttributeError) as other:
            problem += ' (%s)' % other
    print('%-24s %5.1f s  %s' % (name, time.monotonic() - started, note or ('FAILED ' + problem if problem else 'passed')))
    sys.stdout.flush()
    return problem is None


def arguments():
    build = os.path.join(ROOT, 'build')
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--program', default=os.path.join(build, 'windows-x64', 'ui', 'TolvaneForAccess.exe'))
    parser.add_argument('--program-x86', default=os.path.join(build, 'windows-x86', 'ui', 'TolvaneForAccess.exe'))
    parser.add_argument('--drive', default=os.path.join(build, 'windows-x64', 'tests', 'ui', 'drive.exe'))
    parser.add_argument('--tolvane', default=os.path.join(build, 'release', 'tolvane'))
    parser.add_argument('--make-sample', default=os.path.join(build, 'release', 'samples', 'make_sample'))
    parser.add_argument('--build', default=os.path.join(build, 'ui-stories'), help='where everything is made')
    parser.add_argument('--corpus', default=os.environ.get('TOLVANE_CORPUS', os.path.join(ROOT, '..', 'shared', 'corpus')))
    parser.add_argument('--only', default='', help='stories whose name holds this text')
    parser.add_argument('--images', help='makes only the pictures of the user guide, in this folder')
    return parser.parse_args()


def main():
    options = arguments()
    lacks = ', '.join(filter(None, (window.missing(), readers.missing())))
    if lacks:
        print('skipped: missing ' + lacks)
        return SKIPPED
    stories = [(96, story, story.__name__) for story in STORIES] + [(192, every_page, 'every_page_192_dpi')]
    stories = [story for story in stories if options.only in story[2]]
    if options.images:
        stories = [(96, guide_pictures, 'guide_pictures')]
    # Whoever ends this script ends the display and the program with it.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    desk, failed = Desk(options), 0
    for dpi in sorted({story[0] for story in stories}):
        desk.open_session(dpi)
        try:
            for _, story, name in (story for story in stories if story[0] == dpi):
                failed += not tell(desk, story, name)
        finally:
            desk.close_session()
    print('%d stories, %d failed; pictures in %s' % (len(stories), failed, os.path.relpath(desk.shots, ROOT)))
    return 1 if failed or not stories else 0


if __name__ == '__main__':
    sys.exit(main())
