"""The window program under Wine on a display of its own, worked through the driver (drive_win.cpp)."""
import itertools
import os
import re
import shutil
import subprocess
import time

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
SCREEN = (2100, 1560)
PATIENCE = 90  # seconds for anything to happen; the end of a hang, never a measure

WM_CLOSE, WM_SETTEXT, WM_KEYDOWN, WM_COMMAND = 0x10, 0x0C, 0x100, 0x111
BM_CLICK, LB_GETCOUNT, LB_SETCURSEL, CB_GETCOUNT, CB_GETCURSEL = 0xF5, 0x18B, 0x186, 0x146, 0x147
TVM_GETNEXTITEM, TVM_SELECTITEM, LVM_GETITEMCOUNT = 0x110A, 0x110B, 0x1004
TVGN_ROOT, TVGN_NEXT, TVGN_CHILD, TVGN_CARET = 0, 1, 4, 9
VK_RETURN, VK_HOME, VK_RIGHT, VK_DOWN = 0x0D, 0x24, 0x27, 0x28
OK, CANCEL, YES, NO = 1, 2, 6, 7
BOX_TEXT = 0xFFFF
FILE_NAME = (0x47C, 0x480)  # of a file dialog: the combo box or the line
PROGRAM = 'Tolvane for Access'


def _numbers():
    with open(os.path.join(ROOT, 'ui', 'Resource.h'), encoding='utf-8') as header:
        return {name: int(value) for name, value in re.findall(r'^#define (ID\w+) (\d+)$', header.read(), re.M)}


ID = _numbers()


class Failed(Exception):
    """The program did not do what a story expects."""


def expect(found, wanted, what):
    if found != wanted:
        raise Failed('%s: %r, expected %r' % (what, found, wanted))


def expect_text(found, part, what):
    if part not in found:
        raise Failed('%s: %r, expected in it %r' % (what, found, part))


def missing():
    """What must be there and is not; empty when all is there."""
    lacks = [tool for tool in ('Xvfb', 'import', 'convert') if not shutil.which(tool)]
    if not wine():
        lacks.append('wine64')
    return ', '.join(lacks)


def wine():
    places = (shutil.which('wine64'), '/usr/lib/wine/wine64', shutil.which('wine'))
    return next((place for place in places if place and os.path.exists(place)), None)


def windows_path(path):
    return 'Z:' + os.path.abspath(path).replace('/', '\\')


def _escape(field):
    return str(field).replace('\\', '\\\\').replace('\t', '\\t').replace('\n', '\\n').replace('\r', '\\r')


def _unescape(field):
    return re.sub(r'\\(.)', lambda found: {'t': '\t', 'n': '\n', 'r': '\r'}.get(found[1], found[1]), field)


def chunks(fields, size):
    return [tuple(fields[i:i + size]) for i in range(0, len(fields), size)]


class Session:
    """A display and a Wine of their own, and the driver in it. The prefix stays for the next run."""

    def __init__(self, folder, prefix, drive, dpi=96):
        self.folder, self.dpi = folder, dpi
        os.makedirs(prefix, exist_ok=True)
        read, write = os.pipe()
        self.display = subprocess.Popen(
            ['Xvfb', '-displayfd', str(write), '-screen', '0', '%dx%dx24' % SCREEN, '-nolisten', 'tcp'],
            pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as answer:
            number = answer.readline().strip()
        self.environment = dict(os.environ, DISPLAY=':' + number, WINEPREFIX=os.path.abspath(prefix), WINEDEBUG='-all',
                                WINEDLLOVERRIDES='winemenubuilder.exe,mscoree,mshtml=d', LC_ALL='C.UTF-8')
        self._set_up()
        self.driver = subprocess.Popen([wine(), drive], env=self.environment, stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, encoding='utf-8')

    def _run(self, *command):
        subprocess.run([wine(), *command], env=self.environment, check=True, timeout=600,  # makes a new prefix, too
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def _set_up(self):
        """A desktop as large as the screen, so that windows have frames; the resolution; no recent files."""
        settings = os.path.join(self.folder, 'settings.reg')
        with open(settings, 'w', encoding='ascii') as file:
            file.write('REGEDIT4\n\n'
                       '[HKEY_CURRENT_USER\\Software\\Wine\\Explorer]\n"Desktop"="Default"\n\n'
                       '[HKEY_CURRENT_USER\\Software\\Wine\\Explorer\\Desktops]\n"Default"="%dx%d"\n\n'
                       '[HKEY_CURRENT_USER\\Control Panel\\Desktop]\n"LogPixels"=dword:%08x\n"FontSmoothing"="2"\n'
                       '"FontSmoothingType"=dword:00000002\n\n'
                       '[-HKEY_CURRENT_USER\\Software\\Local AppWizard-Generated Applications]\n' % (*SCREEN, self.dpi))
        self._run('regedit', '/S', windows_path(settings))
        self.end_server()

    def end_server(self):
        server = shutil.which('wineserver') or '/usr/lib/wine/wineserver'
        subprocess.run([server, '-k', '-w'], env=self.environment, timeout=PATIENCE, check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def ask(self, *fields):
        """The fields of the driver's answer."""
        self.driver.stdin.write('\t'.join(_escape(field) for field in fields) + '\n')
        self.driver.stdin.flush()
        answer = self.driver.stdout.readline()
        if not answer:
            raise Failed('the driver has ended')
        status, *values = [_unescape(field) for field in answer.rstrip('\r\n').split('\t')]
        if status != 'ok':
            raise Failed('%s: %s' % (' '.join(str(field) for field in fields), values[0]))
        return values

    def end(self):
        self.driver.stdin.close()
        try:
            self.driver.wait(20)
        except subprocess.TimeoutExpired:
            self.driver.kill()
        self.end_server()
        self.display.terminate()
        self.display.wait()


def wait_for(condition, what, patience=PATIENCE):
    """The first answer of `condition` that is something."""
    end = time.monotonic() + patience
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.02)
    raise Failed('waited in vain for ' + what)


class Window:
    """A dialog, a message box or a control."""

    def __init__(self, session, handle):
        self.session, self.handle = session, int(handle)

    def item(self, identifier):
        found = Window(self.session, self.session.ask('item', self.handle, identifier)[0])
        if found.handle == 0:
            raise Failed('no control %d' % identifier)
        return found

    def state(self):
        return self.session.ask('state', self.handle)

    def text(self):
        return self.state()[2]

    def is_shown(self):
        return self.state()[0] == '1'

    def is_enabled(self):
        return self.state()[1] == '1'

    def write(self, text):
        self.session.ask('write', self.handle, text)

    def send(self, message, w=0, l=0):
        return int(self.session.ask('send', self.handle, message, w, l)[0])

    def post(self, message, w=0, l=0):
        self.session.ask('post', self.handle, message, w, l)

    def press(self, identifier):
        self.post(WM_COMMAND, identifier)

    def controls(self):
        return chunks(self.session.ask('controls', self.handle), 5)


class Program:
    """One run of the program. Commands are posted, as what they open is modal."""

    TITLES = {'Repairing the database': 'repairing', 'Recovered tables and records': 'review',
              'Saving the repaired database': 'saving', 'Saving has finished': 'saved'}

    def __init__(self, session, executable, *arguments):
        self.session = session
        words = [windows_path(executable), *arguments]
        self.process = session.ask('start', ' '.join('"%s"' % word for word in words),
                                   windows_path(os.path.dirname(executable)))[0]
        self.frame = self.view = None

    def wait_for_frame(self):
        self.frame = Window(self.session, wait_for(
            lambda: next((handle for handle, name, *_ in self.windows() if name == 'TolvaneForAccessFrame'), None),
            'the main window'))
        self.view = self.frame.item(ID['IDC_VIEW'])
        return self

    # --- what is there ---

    def windows(self):
        return chunks(self.session.ask('windows', self.process), 4)

    def exit_code(self):
        return next(iter(self.session.ask('exit-code', self.process)), None)

    def control(self, name):
        return self.view.item(ID[name])

    def text(self, name):
        return self.control(name).text()

    def page(self):
        title = self.text('IDC_TITLE')
        return self.TITLES.get(title) or {'&Repair...': 'start', '&Repair': 'chosen'}[self.text('ID_NEXT')]

    def notice(self):
        return self.frame.item(ID['IDC_STATUS_BAR']).text()

    def wait_for_page(self, *pages):
        """Boxes that nobody expects fail here, too."""
        def look():
            page = self.page()
            if page in pages:
                return page
            box = self.find_box()
            if box:
                raise Failed('on the page %s: %s' % (page, self.box_text(box)))
            return None
        return wait_for(look, 'the page ' + ' or '.join(pages))

    # --- what is done ---

    def command(self, name, offset=0):
        self.frame.press(ID[name] + offset)

    def find_box(self):
        """The dialog that waits for an answer."""
        for handle, name, enabled, _ in self.windows():
            if name == '#32770' and enabled == '1':
                return Window(self.session, handle)
        return None

    def box_text(self, box):
        texts = [text for _, identifier, _, _, text in box.controls() if int(identifier) & 0xFFFF == BOX_TEXT and text]
        return texts[0] if texts else box.text()

    def wait_for_box(self, what):
        return wait_for(self.find_box, what)

    def answer_box(self, text, button, exactly=True):
        """Waits for the message, checks it and presses the button."""
        box = self.wait_for_box('the message ' + text)
        expect(box.text(), PROGRAM, 'title of the message')
        found = self.box_text(box)
        if exactly:
            expect(found, text, 'message')
        else:
            expect_text(found, text, 'message')
        self.close_box(box, button)

    def close_box(self, box, button):
        box.press(button)
        wait_for(lambda: str(box.handle) not in [window[0] for window in self.windows()], 'the end of a dialog')

    def wait_for_other_box(self, dialog, what):
        """The box over a dialog that stays."""
        def look():
            box = self.find_box()
            return box if box and box.handle != dialog.handle else None
        return wait_for(look, what)

    def wait_for_dialog(self, title):
        box = self.wait_for_box('the dialog ' + title)
        expect(box.text(), title, 'title of the dialog')
        return box

    def file_name(self, dialog):
        """The line of a file dialog in which the name is."""
        for identifier in FILE_NAME:
            found = self.session.ask('item', dialog.handle, identifier)[0]
            if found != '0' and Window(self.session, found).is_shown():
                return Window(self.session, found)
        raise Failed('the file dialog has no line for a name')

    def answer_file_dialog(self, title, path, default=None):
        """No path: cancels. Returns when the dialog has gone or asks something itself."""
        dialog = self.wait_for_dialog(title)
        name = self.file_name(dialog)
        if default is not None:
            expect(name.text(), default, 'name that is offered')
        if path is None:
            self.close_box(dialog, CANCEL)
            return
        name.write(path)
        dialog.press(OK)

        def is_answered():
            box = self.find_box()
            return box is None or box.handle != dialog.handle
        wait_for(is_answered, 'the end of the file dialog')

    def select_table(self, index):
        """By its place below the root of the tree; -1 is the root. False when there are fewer."""
        tree = self.control('IDC_TREE')
        item = tree.send(TVM_GETNEXTITEM, TVGN_ROOT)
        if index >= 0:
            item = tree.send(TVM_GETNEXTITEM, TVGN_CHILD, item)
        for _ in range(index):
            item = tree.send(TVM_GETNEXTITEM, TVGN_NEXT, item) if item else 0
        if item:
            tree.send(TVM_SELECTITEM, TVGN_CARET, item)
        return item != 0

    def tables(self):
        """{name: rows} as the summary of each tells."""
        found = {}
        for index in itertools.count():
            if not self.select_table(index):
                return found
            lines = dict(line.split(' : ', 1) for line in self.text('IDC_SUMMARY').split('\r\n'))
            found[lines['Table Name']] = int(lines['Total Row(s)'])

    def wait_for_rows(self, count):
        records = self.control('IDC_RECORDS')
        wait_for(lambda: records.send(LVM_GETITEMCOUNT) == count, '%d rows in the list' % count)

    def close(self):
        self.frame.post(WM_CLOSE)
        self.answer_box('Are you sure, you want to close the application?', YES)
        self.wait_for_end('0')

    def wait_for_end(self, code):
        expect(wait_for(self.exit_code, 'the end of the program'), code, 'exit code')

    def end(self):
        if self.exit_code() is None:
            self.session.ask('end', self.process)

    def shoot(self, path, dialog=None):
        """A picture of the window, or of a dialog over it."""
        left, top, width, height = self.session.ask('area', (dialog or self.frame).handle)
        time.sleep(0.3)  # until the last paint is on the screen
        subprocess.run(['import', '-window', 'root', '-crop', '%sx%s+%s+%s' % (width, height, left, top), '+repage', path],
                       env=self.session.environment, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
