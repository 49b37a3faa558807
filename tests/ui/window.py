"""The program's windows, worked through the driver from outside."""
import itertools
import os
import re
import struct
import time

import win32
from win32 import CANCEL, OK, YES
from wine import PATIENCE, ROOT, Failed, expect, wait_for, windows_path

FILE_NAME = (0x47C, 0x480)  # of a file dialog: the combo box or the line
MENUS = ['&File', '&Edit', 'Repa&ir', '&Help']
NOWHERE = 0x10  # below the first page that any program has
PROGRAM = 'Tolvane for Access'
ID = {name: int(value) for name, value in re.findall(
    r'^#define (ID\w+) (\d+)$', (ROOT / 'ui' / 'Resource.h').read_text('utf-8'), re.M)}


class Window:
    """A frame, a dialog, a message box or a control."""

    def __init__(self, session, handle):
        self.session, self.handle = session, handle

    def item(self, identifier):
        handle = self.session.call('GetDlgItem', self.handle, identifier)[0]
        if handle == 0:
            raise Failed('no control %d' % identifier)
        return Window(self.session, handle)

    def _ask(self, message, w, l):
        """The window's answer and the memory that it was given."""
        answered, *memory = self.session.call('SendMessageTimeoutW', self.handle, message, w, l, 0, PATIENCE * 1000, bytes(8))
        if not answered:
            raise Failed('the window has gone or does not answer')
        return int.from_bytes(memory.pop(), 'little', signed=True), *memory

    def send(self, message, w=0, l=0):
        return self._ask(message, w, l)[0]

    def post(self, message, w=0, l=0):
        expect(self.session.call('PostMessageW', self.handle, message, w, l)[0] != 0, True, 'whether a message is taken')

    def text(self):
        room = self.send(win32.WM_GETTEXTLENGTH) + 1
        length, memory = self._ask(win32.WM_GETTEXT, room, bytes(2 * room))
        return memory[:2 * length].decode('utf-16le')

    def write(self, text):
        self.send(win32.WM_SETTEXT, 0, text)

    def is_shown(self):
        return self.session.call('IsWindowVisible', self.handle)[0] != 0

    def is_enabled(self):
        return self.session.call('IsWindowEnabled', self.handle)[0] != 0

    def kind(self):
        length, memory = self.session.call('GetClassNameW', self.handle, bytes(160), 80)
        return memory[:2 * length].decode('utf-16le')

    def style(self):
        return self.session.call('GetWindowLongPtrW', self.handle, win32.GWL_STYLE)[0]

    def accessible(self):
        """Name, role and value as the system tells them to readers of screens."""
        found, *memory = self.session.call('AccessibleObjectFromWindow', self.handle, win32.OBJID_CLIENT, win32.IID_IACCESSIBLE, bytes(8))
        expect(found, 0, 'whether a reader of screens finds the control')
        accessible, itself = struct.unpack('<Q', memory[-1])[0], struct.pack('<HHHHQQ', win32.VT_I4, 0, 0, 0, 0, 0)
        def text(method):
            address = struct.unpack('<Q', self.session.call(method, accessible, itself, bytes(8))[-1])[0]
            return self.session.string(address) if address else ''

        name, value = text('method:10'), text('method:11')
        role = self.session.call('method:13', accessible, itself, bytes(24))[-1]
        self.session.call('method:2', accessible)
        return name, struct.unpack('<8xI12x', role)[0], value

    def press(self, identifier):
        self.post(win32.WM_COMMAND, identifier)

    def children(self, name=0, title=0):
        """Windows inside it of a class and a title or of any; of the desktop, those without a parent."""
        found, handle = [], 0
        while handle := self.session.call('FindWindowExW', self.handle, handle, name, title)[0]:
            found.append(Window(self.session, handle))
        return found

    def message(self):
        """What a box says, or its title."""
        return next((text for text in (child.text() for child in self.children('Static')) if text), '') or self.text()

    def area(self):
        """(left, top, right, bottom) on the screen."""
        return struct.unpack('<4i', self.session.call('GetWindowRect', self.handle, bytes(16))[1])


class Program:
    """One run of the program. Commands are posted, as what they open is modal."""

    TITLES = {'Repairing the database': 'repairing', 'Recovered tables and records': 'review',
              'Saving the repaired database': 'saving', 'Saving has finished': 'saved',
              'The database was not saved': 'saved'}
    BUTTONS = {'&Repair...': 'start', '&Repair': 'chosen'}
    STARTUP = struct.pack('<I100x', 104)  # of which the first field is the length

    def __init__(self, session, executable, *arguments):
        self.session, self.frame, self.view = session, None, None
        words = [windows_path(executable), *arguments]
        started, *memory = session.call('CreateProcessW', 0, ' '.join('"%s"' % word for word in words), 0, 0, 0, 0, 0,
                                        windows_path(os.path.dirname(executable)), self.STARTUP, bytes(24))
        expect(started, 1, 'whether the program starts')
        self.process, _, self.identifier, _ = struct.unpack('<QQII', memory[-1])

    def wait_for_frame(self):
        self.frame = wait_for(lambda: self.windows('TolvaneForAccessFrame'), 'the main window')[0]
        self.view = self.frame.item(ID['IDC_VIEW'])
        return self

    # --- what is there ---

    def windows(self, name=0, title=0):
        """Visible windows without a parent."""
        def owner(window):
            return struct.unpack('<I', self.session.call('GetWindowThreadProcessId', window.handle, bytes(4))[1])[0]
        return [window for window in Window(self.session, 0).children(name, title)
                if owner(window) == self.identifier and window.is_shown()]

    def exit_code(self):
        return struct.unpack('<I', self.session.call('GetExitCodeProcess', self.process, bytes(4))[1])[0]

    def control(self, name):
        return self.view.item(ID[name])

    def text(self, name):
        return self.control(name).text()

    def shown(self, *names):
        return [self.control(name).is_shown() for name in names]

    def page(self):
        """Nothing while the pages change."""
        return self.TITLES.get(self.text('IDC_TITLE')) or self.BUTTONS.get(self.text('ID_NEXT'))

    def wait_for_page(self, page):
        wait_for(lambda: self.page() == page, 'the page ' + page)

    def wait_for_text(self, name, text):
        wait_for(lambda: self.text(name) == text, '%s to be %r' % (name, text))

    def wait_for_notice(self, part):
        wait_for(lambda: part in self.frame.item(ID['IDC_STATUS_BAR']).text(), 'the notice ' + part)

    # --- what is done ---

    def command(self, name, *boxes, page=None, notice=None):
        """And what follows: messages and the buttons that answer them, a page, a notice."""
        self.frame.press(ID[name])
        self.answer(*boxes)
        if page:
            self.wait_for_page(page)
        if notice:
            self.wait_for_notice(notice)

    def choose(self, name, title, path, default=None):
        """A command that opens a file dialog."""
        self.command(name)
        self.answer_file_dialog(title, path, default)

    def wait_for_box(self, what, over=None, title=0):
        """The dialog that waits for an answer; `over`: a dialog that stays behind it."""
        boxes = wait_for(lambda: [box for box in self.windows('#32770', title) if box.is_enabled() and (
            over is None or box.handle != over.handle)], what)
        if title:
            expect(boxes[0].text(), title, 'title')  # they are looked for without regard to case
        return boxes[0]

    def wait_for_dialog(self, title):
        return self.wait_for_box('the dialog ' + title, title=title)

    def answer(self, *boxes):
        """Waits for each (message, button), checks the message and presses the button."""
        for message, button in boxes:
            box = self.wait_for_box('the message ' + message, title=PROGRAM)
            expect(box.message(), message, 'message')
            self.close_box(box, button)

    def close_box(self, box, button):
        box.press(button)
        wait_for(lambda: not box.is_shown(), 'the end of a dialog')

    def file_name(self, dialog):
        """The line of a file dialog in which the name is."""
        for identifier in FILE_NAME:
            handle = self.session.call('GetDlgItem', dialog.handle, identifier)[0]
            if handle and Window(self.session, handle).is_shown():
                return Window(self.session, handle)
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
        wait_for(lambda: not (dialog.is_shown() and dialog.is_enabled()), 'the end of the file dialog')

    def select_table(self, index):
        """By its place below the root of the tree; -1 is the root. False when there are fewer."""
        tree = self.control('IDC_TREE')
        item = tree.send(win32.TVM_GETNEXTITEM, win32.TVGN_ROOT)
        if index >= 0:
            item = tree.send(win32.TVM_GETNEXTITEM, win32.TVGN_CHILD, item)
        for _ in range(index):
            item = tree.send(win32.TVM_GETNEXTITEM, win32.TVGN_NEXT, item) if item else 0
        if item:
            tree.send(win32.TVM_SELECTITEM, win32.TVGN_CARET, item)
        return item != 0

    def select_object(self, group, index):
        """What stands below a heading behind the tables."""
        tree = self.control('IDC_TREE')
        item = tree.send(win32.TVM_GETNEXTITEM, win32.TVGN_ROOT)
        for _ in range(1 + group):
            item = tree.send(win32.TVM_GETNEXTITEM, win32.TVGN_NEXT, item)
        item = tree.send(win32.TVM_GETNEXTITEM, win32.TVGN_CHILD, item)
        for _ in range(index):
            item = tree.send(win32.TVM_GETNEXTITEM, win32.TVGN_NEXT, item)
        expect(item != 0, True, 'whether the tree has the item')
        tree.send(win32.TVM_SELECTITEM, win32.TVGN_CARET, item)

    def tables(self):
        """{name: rows} as the summary of each tells."""
        found = {}
        for index in itertools.count():
            if not self.select_table(index):
                return found
            lines = dict(line.split(' : ', 1) for line in self.text('IDC_SUMMARY').split('\r\n'))
            found[lines['Table Name']] = int(lines['Total Row(s)'])

    def ask_to_close(self, *boxes):
        self.frame.post(win32.WM_CLOSE)
        self.answer(*boxes)

    def close(self):
        self.ask_to_close(('Are you sure, you want to close the application?', YES))
        self.wait_for_end(0)

    def wait_for_end(self, code):
        wait_for(lambda: self.exit_code() != win32.STILL_ACTIVE, 'the end of the program')
        expect(self.exit_code(), code, 'exit code')

    def end(self):
        self.session.call('TerminateProcess', self.process, 1)

    def fail(self):
        """Makes it jump to where nothing is, in a thread of its own."""
        expect(self.session.call('CreateRemoteThread', self.process, 0, 0, NOWHERE, 0, 0, 0)[0] != 0, True, 'a thread')

    def type(self, *keys, to=None):
        """Keys of the keyboard, held down together; `to`: a dialog."""
        window = (to or self.frame).handle
        self.session.call('SetForegroundWindow', window)
        # A menu that is open stays in front of its window.
        wait_for(lambda: self.session.call('GetForegroundWindow')[0] == window, 'the window to be in front')
        for flags, held in ((0, keys), (win32.KEYEVENTF_KEYUP, reversed(keys))):
            for key in held:
                self.session.call('keybd_event', key, 0, flags, 0)

    def type_until(self, key, condition, what):
        """A key that does no harm when it is typed again: a first one may come before the control listens."""
        def is_done():
            self.type(key)
            return any(condition() or time.sleep(0.02) for _ in range(50))
        wait_for(is_done, what)

    def focus(self):
        """The control that has the keyboard."""
        thread = self.session.call('GetWindowThreadProcessId', self.frame.handle, bytes(4))[0]
        state = self.session.call('GetGUIThreadInfo', thread, struct.pack('<I68x', 72))[1]
        return self.session.call('GetDlgCtrlID', struct.unpack('<8x8xQ48x', state)[0])[0]

    def wait_for_focus(self, name):
        wait_for(lambda: self.focus() == ID[name], 'the keyboard at ' + name)

    def drop(self, path):
        """A file on the window. The list of files lies in the program's memory, as the system puts it there."""
        files = struct.pack('<5I', 20, 0, 0, 0, 1) + (path + '\0\0').encode('utf-16le')
        self.frame.post(win32.WM_DROPFILES, self._memory(files))

    def _memory(self, content):
        """Its address in the program."""
        memory = self.session.call('VirtualAllocEx', self.process, 0, len(content), win32.MEM_COMMIT, win32.PAGE_READWRITE)[0]
        self.session.call('WriteProcessMemory', self.process, memory, content, len(content), 0)
        return memory

    def follow_settings(self):
        self.frame.send(win32.WM_SETTINGCHANGE)

    def change_resolution(self, dpi, area):
        """As on the way to another screen."""
        self.frame.send(win32.WM_DPICHANGED, dpi << 16 | dpi, self._memory(struct.pack('<4i', *area)))

    def move(self, left, top, width, height):
        self.session.call('SetWindowPos', self.frame.handle, 0, left, top, width, height, 0)

    def check_access_keys(self):
        """No two menus, labels and buttons of the page share a key."""
        controls = self.view.children('Static') + self.view.children('Button')
        texts = MENUS + [control.text() for control in controls if control.is_shown()]
        keys = sorted(key.upper() for text in texts for key in re.findall(r'&(\w)', text))
        expect(keys, sorted(set(keys)), 'access keys')

    def check_layout(self):
        """Every control of the page has room of its own, inside the window, and that on the screen."""
        left, top, right, bottom = self.frame.area()
        width, height = self.session.display.size
        expect(left >= 0 and top >= 0 and right <= width and bottom <= height, True, 'window on the screen')
        shown = [(control.text(), control.area()) for control in self.view.children() if control.is_shown()]
        left, top, right, bottom = self.view.area()
        for index, (text, area) in enumerate(shown):
            least = 12 * self.session.display.dpi // 96
            inside = left <= area[0] and area[2] <= right and top <= area[1] and area[3] <= bottom
            if not inside or area[2] - area[0] < least or area[3] - area[1] < least:
                raise Failed('%r has no room: %r in %r' % (text, area, (left, top, right, bottom)))
            for other, taken in shown[:index]:
                if area[0] < taken[2] and taken[0] < area[2] and area[1] < taken[3] and taken[1] < area[3]:
                    raise Failed('%r lies over %r' % (text, other))

    def shoot(self, path, dialog=None):
        """A picture of the window, or of a dialog over it."""
        left, top, right, bottom = (dialog or self.frame).area()
        time.sleep(0.3)  # until the last paint is on the screen
        self.session.run('import', '-window', 'root', '-crop', '%dx%d+%d+%d' % (right - left, bottom - top, left, top),
                         '+repage', path, check=True)
