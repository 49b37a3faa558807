"""Stories of the window itself: keys, colours, names for readers of screens, settings, and its place on the screen."""
import shutil

import win32
import wine
from desk import EXACT_RULES, LEAVE, NOT_THERE, PLAIN_VALUES, SAVE_TITLE, STANDARD_RULES, brightness, corpus
from win32 import CANCEL, OK, YES
from window import ID
from wine import expect, expect_text, wait_for, windows_path


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
        program.type(win32.VK_MENU, ord('D'))
        program.type(win32.VK_DOWN)
        desk.shoot('5-table-dark')
        program.type(win32.VK_MENU, ord('I'))
        menu = wait_for(lambda: program.windows(win32.MENU_CLASS), 'an open menu')[0]
        expect(brightness(desk.shoot('menu-dark', menu)) < 0.4, True, 'whether the menu is dark')
        desk.shoot('5-menu-dark', program.frame)
        program.type(ord('E'))
        program.close_box(program.wait_for_dialog('Settings'), CANCEL)
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
        if kind == 'Static' and control.style() & win32.WS_TABSTOP == 0:
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


def keyboard(desk):
    """The whole way without a mouse; keys do only what the page offers."""
    program = desk.start(windows_path(desk.damaged))
    program.wait_for_page('chosen')
    program.wait_for_focus('ID_NEXT')
    program.type(win32.VK_LEFT)
    program.type(win32.VK_CONTROL, ord('S'))
    program.type(win32.VK_MENU, ord('T'))
    program.wait_for_focus('IDC_MODE_TEMPLATE')
    wait_for(lambda: program.shown('IDC_TEMPLATE_FILE') == [True], 'the line of the template')
    for key, name in ((win32.VK_DOWN, 'IDC_MODE_STANDARD'), (win32.VK_UP, 'IDC_MODE_TEMPLATE'),
                      (win32.VK_UP, 'IDC_MODE_STANDARD')):
        program.type(key)
        program.wait_for_focus(name)
    wait_for(lambda: program.shown('IDC_TEMPLATE_FILE') == [False], 'standard mode')
    expect(program.page(), 'chosen', 'page')
    program.type(win32.VK_F5)
    program.wait_for_page('review')
    program.wait_for_focus('IDC_TREE')
    program.type(win32.VK_F5)
    program.type(win32.VK_DOWN)
    wait_for(lambda: program.shown('IDC_RECORDS') == [True], 'the records')
    reached = []
    for _ in range(7):
        program.type(win32.VK_TAB)
        wait_for(lambda: program.focus() != (reached or [ID['IDC_TREE']])[-1], 'the next control')
        reached.append(program.focus())
    expect([ID[name] for name in ('IDC_SUMMARY', 'IDC_FIND', 'ID_FIND_NEXT', 'IDC_RECORDS', 'IDC_CELL', 'ID_BACK', 'ID_NEXT')],
           reached, 'the way of Tab')
    program.type(win32.VK_MENU, ord('D'))
    program.wait_for_focus('IDC_RECORDS')
    program.type_until(win32.VK_HOME, lambda: program.text('IDC_CELL_LABEL').startswith('&Value - row 1,'), 'the first row')
    program.type(win32.VK_RIGHT)
    program.wait_for_text('IDC_CELL_LABEL', '&Value - row 1, Company')
    program.type(win32.VK_RETURN)
    dialog = program.wait_for_box('the whole value')
    program.type(win32.VK_ESCAPE, to=dialog)
    wait_for(lambda: not dialog.is_shown(), 'the end of the dialog')
    program.type(win32.VK_CONTROL, ord('S'))
    program.answer_file_dialog(SAVE_TITLE, None)
    program.type(win32.VK_MENU, win32.VK_LEFT)
    program.answer((LEAVE, YES))
    program.wait_for_page('chosen')
    program.type(win32.VK_MENU, win32.VK_RIGHT)
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
    expect((rules.send(win32.CB_GETCOUNT), rules.send(win32.CB_GETCURSEL)), (2, EXACT_RULES), 'rules')
    desk.shoot('settings', dialog)
    for text in ('', 'Re:'):
        prefix.write(text)
        dialog.press(OK)
        box = program.wait_for_box('a message about the prefix', dialog)
        expect(box.message(), 'Illegal character found in file pre fix ' if text else 'Please fill prefix', 'message')
        program.close_box(box, OK)
    prefix.write(' "')
    rules.send(win32.CB_SETCURSEL, STANDARD_RULES)
    program.close_box(dialog, OK)
    program.command('ID_SETTINGS')
    dialog = program.wait_for_dialog('Settings')
    expect((dialog.item(ID['IDC_SETTINGS_PREFIX']).text(), dialog.item(ID['IDC_SETTINGS_RULES']).send(win32.CB_GETCURSEL)),
           (' "', STANDARD_RULES), 'what was kept')
    program.close_box(dialog, CANCEL)
    program.close()
    program = desk.start()
    program.command('ID_SETTINGS')
    dialog = program.wait_for_dialog('Settings')
    rules = dialog.item(ID['IDC_SETTINGS_RULES'])
    expect((dialog.item(ID['IDC_SETTINGS_PREFIX']).text(), rules.send(win32.CB_GETCURSEL)), ('Rep', STANDARD_RULES),
           'what the next run knows')
    rules.send(win32.CB_SETCURSEL, EXACT_RULES)
    program.close_box(dialog, OK)
    for command in ('ID_ABOUT', 'ID_HELP_GUIDE'):  # no guide lies beside this copy
        program.command(command)
        dialog = program.wait_for_dialog('About Tolvane for Access')
        desk.shoot('about', dialog)
        program.close_box(dialog, CANCEL)
    program.close()


def region(desk):
    """Dates and numbers as the user's region writes them; for other programs, and where the user wants it, as all do."""
    lines = corpus.tolvane(desk.options, 'export', '--format', 'csv', desk.damaged, 'Customers').decode('utf-8-sig').split('\n')
    headings, row = (line.strip().split(',') for line in lines[:2])
    plain = dict(zip(headings, row))
    year, month, day = plain['Since'].split('-')
    local = {'Since': '%d.%d.%s' % (int(day), int(month), year), 'Credit': plain['Credit'].replace('.', ',')}
    with desk.session.region(sDecimal=',', sThousand='.', sShortDate='d.M.yyyy', sTimeFormat='H:mm:ss'):
        program = desk.repair(desk.damaged)
        program.select_table(0)
        wait_for(lambda: program.shown('IDC_RECORDS') == [True], 'the records')
        program.type(win32.VK_MENU, ord('D'))
        program.wait_for_focus('IDC_RECORDS')
        program.type_until(win32.VK_HOME, lambda: program.text('IDC_CELL_LABEL') == '&Value - row 1, ID', 'the first row')
        for heading in headings[1:headings.index('Credit') + 1]:
            program.type(win32.VK_RIGHT)
            program.wait_for_text('IDC_CELL_LABEL', '&Value - row 1, ' + heading)
            if heading in local:
                expect(program.text('IDC_CELL'), local[heading], 'shown value')
                program.command('ID_COPY', notice='The value was copied.')
                expect(desk.session.clipboard(), plain[heading], 'copied value')
        desk.shoot('5-region')
        program.control('IDC_FIND').write(local['Since'])
        program.command('ID_FIND_NEXT', notice='Found "%s" in row 1.' % local['Since'])
        program.command('ID_SETTINGS')
        dialog = program.wait_for_dialog('Settings')
        desk.shoot('settings-region', dialog)
        dialog.item(ID['IDC_SETTINGS_VALUES']).send(win32.CB_SETCURSEL, PLAIN_VALUES)
        program.close_box(dialog, OK)
        program.wait_for_text('IDC_CELL', plain['Since'])
        program.close()
        program = desk.start()
        program.command('ID_SETTINGS')
        dialog = program.wait_for_dialog('Settings')
        values = dialog.item(ID['IDC_SETTINGS_VALUES'])
        expect(values.send(win32.CB_GETCURSEL), PLAIN_VALUES, 'what the next run knows')
        values.send(win32.CB_SETCURSEL, 0)
        program.close_box(dialog, OK)
        program.close()


def installed_engine(desk):
    """Chosen where there is one, with the reason where not: the stand-in of tests/automation writes the database."""
    classes = '[%sHKEY_CLASSES_ROOT\\DAO.DBEngine.120%s]\n'
    server = '[HKEY_CLASSES_ROOT\\CLSID\\{6B1D3F0A-52C4-4E0B-9B4E-70A1C5D2E911}%s]\n%s\n'

    def register(text):
        desk.session.run(wine.WINE, 'regedit', '/S', windows_path(desk.write('engine.reg', ('REGEDIT4\n\n' + text).encode())))

    def look(choice):
        desk.program.command('ID_SETTINGS')
        dialog = desk.program.wait_for_dialog('Settings')
        engine = dialog.item(ID['IDC_SETTINGS_ENGINE'])
        seen = (engine.send(win32.CB_GETCOUNT), dialog.item(ID['IDC_SETTINGS_ENGINE_NOTE']).text(),
                engine.send(win32.CB_GETCURSEL))
        engine.send(win32.CB_SETCURSEL, choice)
        desk.shoot('settings-engine-%d' % seen[0], dialog)
        desk.program.close_box(dialog, OK)
        return seen

    calls = desk.folder / 'calls.txt'
    desk.session.call('SetEnvironmentVariableW', 'TOLVANE_STANDIN_CALLS', windows_path(calls))
    desk.start()
    expect(look(0), (1, 'No DAO engine is installed.', 0), 'without an engine')
    path = windows_path(desk.options.standin.resolve()).replace('\\', '\\\\')
    register(classes % ('', '\\CLSID') + '@="{6B1D3F0A-52C4-4E0B-9B4E-70A1C5D2E911}"\n\n' + server % ('', '') +
             server % ('\\InprocServer32', '@="%s"\n"ThreadingModel"="Apartment"\n' % path))
    try:
        expect(look(1), (2, 'It writes the repaired database.', 0), 'with an engine')
        desk.program.close()
        desk.start()
        expect(look(1), (2, 'It writes the repaired database.', 1), 'what the next run knows')
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
        desk.session.choose('Engine', 'built-in')


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
    count = recent.send(win32.LB_GETCOUNT)
    desk.shoot('1-recent')
    program.drop(windows_path(desk.damaged))
    program.wait_for_text('IDC_FILE', windows_path(desk.damaged))
    program.command('ID_RECENT_FIRST')
    program.wait_for_text('IDC_FILE', windows_path(copy))
    copy.unlink()
    program.command('ID_RECENT_FIRST', (NOT_THERE % windows_path(copy), OK))
    wait_for(lambda: recent.send(win32.LB_GETCOUNT) == count - 1, 'a shorter list')
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
