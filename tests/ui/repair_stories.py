"""Stories of the way from a damaged file to the saved one, and of what may go wrong on it."""
import json
import pathlib
import shutil

import win32
from desk import (CHOSEN_HINT, CLOSE, EXISTS, FIRST_HINT, LEAVE, NOT_THERE, OPEN_TITLE, SAVE_TITLE, SAVED_HINT, STOP,
                  STOPPED, TEMPLATE_TITLE, corpus, damage_repair, pages)
from win32 import NO, OK, YES
from window import PROGRAM, Program
from wine import expect, expect_text, unix_path, wait_for, windows_path


def standard_repair(desk):
    """From choosing a file to the saved database, with every text on the way."""
    program, output = desk.start(), desk.folder / 'Tolvane_damaged.mdb'
    expect(program.page(), 'start', 'first page')
    expect(program.frame.text(), PROGRAM, 'title')
    expect(program.text('IDC_HINT'), FIRST_HINT, 'first hint')
    expect(program.shown('IDC_TEMPLATE_FILE'), [False], 'template line in standard mode')
    desk.shoot('1-choose')
    program.choose('ID_NEXT', OPEN_TITLE, None)
    expect(program.page(), 'start', 'page after a cancelled dialog')
    desk.choose(desk.damaged)
    program.wait_for_page('chosen')
    expect(program.text('IDC_FILE_LABEL'), 'Selected database &path :', 'label of the file')
    expect(program.text('IDC_HINT'), CHOSEN_HINT, 'hint')
    expect(program.frame.text(), 'damaged.mdb - ' + PROGRAM, 'title')
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


def template_repair(desk):
    """A table whose definition is gone is named; it comes back by a template, and only by one that fits."""
    damage, template = corpus.Damage(desk.healthy), windows_path(desk.healthy_path)
    rescued = damage_repair.one_definition(damage, desk.healthy, pages.local_tables(desk.healthy))
    program = desk.repair(desk.write('no definition.mdb', damage.bytes))
    expect_text(program.text('IDC_SUMMARY'), rescued, 'name of the lost table')
    program.command('ID_BACK', (LEAVE, YES), page='chosen')
    program.control('IDC_MODE_TEMPLATE').post(win32.BM_CLICK)
    wait_for(lambda: program.shown('IDC_TEMPLATE_FILE') == [True], 'the line of the template')
    program.command('ID_NEXT', ('Please Select Template MS Access Database File.', OK))
    expect(program.page(), 'chosen', 'page without a template')
    unfit = windows_path(desk.write('unfit.mdb', desk.healthy.data[:12 * 4096] + bytes(100 * 4096)))
    program.choose('ID_CHOOSE_TEMPLATE', TEMPLATE_TITLE, unfit)
    program.wait_for_text('IDC_TEMPLATE_FILE', unfit)
    program.command('ID_NEXT', page='review')
    expect_text(program.text('IDC_SUMMARY'), 'Template ' + unfit + ': ', 'cause')
    expect(program.control('ID_NEXT').is_enabled(), False, 'whether what does not fit can be saved')
    desk.shoot('4-unfit')
    program.command('ID_BACK', page='chosen')
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
        box = program.wait_for_dialog(PROGRAM)
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
    desk.session.choose('Rules', 'standard')
    program, output = desk.start(windows_path(desk.big())), desk.folder / 'stopped.mdb'
    desk.session.choose('Rules', 'exact')  # of the next start
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
    last, looks = 0, 40  # long before the work ends
    while (looks := looks - 1) and program.page() == page:
        bar, note, title = (program.control('IDC_OVERALL').send(win32.PBM_GETPOS), program.text('IDC_OVERALL_NOTE'),
                            program.frame.text())
        shown = int(note.split(' %')[0])
        expect(last <= bar <= shown <= int(title.split('%')[0]) < 100, True, 'progress %r' % ((last, bar, note, title),))
        last = bar


def full_disks(desk):
    """Room for neither the recovered rows nor the new database: said so, nothing half saved, and a way on."""
    with desk.disk('full', 16 << 20) as disk:
        if not disk:
            print('skipped full_disks: this user may mount no disk')
            return
        executable, desk.executable = desk.executable, shutil.copy(desk.executable, disk)
        filler = disk / 'filler'
        try:
            fill(filler, shutil.disk_usage(disk).free - (24 << 10))
            program = desk.repair(desk.damaged)  # the folder of recovered rows lies beside the program
            summary = program.text('IDC_SUMMARY')
            for part in ('could not be kept in the folder for temporary files:', windows_path(disk), 'Free some space there'):
                expect_text(summary, part, 'summary')
            expect_text(program.text('IDC_LOG'), 'Disk full.', 'log')
            desk.shoot('4-full')
            expect_text(program.text('IDC_HINT'), 'There was no room for all rows', 'hint')
            expect_text(summary, 'A save would lack rows of these tables:', 'summary')
            part = desk.folder / 'part.mdb'
            desk.save(part)
            expect_text(program.text('IDC_HINT'), 'not all of its rows had room', 'hint of a save')
            saved = json.loads(corpus.tolvane(desk.options, 'tables', '--json', part))['tables']
            expect_text(summary, '%d tables, %d rows' % (len(saved), sum(table['rows'] for table in saved)), 'summary')
            filler.unlink()
            program.command('ID_BACK', page='review')
            program.command('ID_BACK', page='chosen')
            program.command('ID_NEXT', page='review')
            expect_text(program.text('IDC_SUMMARY'), '6 tables, ', 'summary with room')
            output = disk / 'new.mdb'
            fill(filler, shutil.disk_usage(disk).free - (96 << 10))
            desk.ask_to_save(output)
            program.wait_for_page('saved')
            expect(program.text('IDC_HINT'), 'The database could not be saved. Nothing was written.', 'hint')
            for part in (windows_path(output), ' has room for ', 'Save it to another disk, or free some space.'):
                expect_text(program.text('IDC_SUMMARY'), part, 'summary of a save')
            desk.shoot('6-full')
            expect(sorted(path.name for path in disk.iterdir() if path.is_file()),
                   sorted([filler.name, pathlib.Path(desk.executable).name]), 'files on the full disk')
            program.command('ID_BACK', page='review')
            desk.save(desk.folder / 'elsewhere.mdb')
            desk.check_saved(desk.folder / 'elsewhere.mdb')
            program.close()
        finally:
            desk.program.end()
            desk.executable = executable


def fill(path, size):
    """So much of a disk."""
    with open(path, 'wb') as file:
        for _ in range(size >> 12):
            file.write(bytes(1 << 12))


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
        box = program.wait_for_dialog(PROGRAM)
        expect_text(box.message(), 'File: %s\nIf another program has it open' % windows_path(held), 'message')
        expect('does not exist' in box.message(), False, 'whether a file in use is told to be missing')
        program.close_box(box, OK)
    for words, message, code in (((), 'Tolvane for Access is already running.', 1),
                                 (('--help',), 'TolvaneForAccess [DATABASE]', 0)):
        second = Program(desk.session, desk.executable, *words)
        box = second.wait_for_dialog(PROGRAM)
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
    wait_for(lambda: ' pages, ' in program.text('IDC_MAP_NOTE'), 'the map in words')
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
    expect(program.frame.text(), 'damaged.mdb - ' + PROGRAM, 'title')
    desk.save(desk.folder / 'left.mdb', default='Tolvane_damaged.mdb')
    desk.check_saved(desk.folder / 'left.mdb')
    program.command('ID_BACK', page='review')
    program.command('ID_BACK', page='chosen')
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
