"""A Wine of its own on a display of its own, the driver in it (drive_win.cpp), through which functions of Windows are
called, and what the stories judge by."""
import collections
import contextlib
import os
import pathlib
import shutil
import struct
import subprocess
import time

import win32

ROOT = pathlib.Path(__file__).resolve().parents[2]
WINE = shutil.which('wine64') or shutil.which('wine64', path='/usr/lib/wine') or 'wine'
WINE_SERVER = shutil.which('wineserver') or '/usr/lib/wine/wineserver'
PATIENCE = 90  # seconds for anything to happen; the end of a hang, never a measure
HIGH_CONTRAST = tuple({'Window': '0 0 0', 'WindowText': '255 255 255', 'WindowFrame': '255 255 255', 'Menu': '0 0 0',
                 'MenuText': '255 255 255', 'MenuBar': '0 0 0', 'ButtonFace': '0 0 0', 'ButtonText': '255 255 255',
                 'ButtonShadow': '255 255 255', 'ButtonHilight': '192 192 192', 'ButtonDkShadow': '255 255 255',
                 'ButtonLight': '255 255 255', 'GrayText': '63 242 63', 'Hilight': '26 235 255', 'HilightText': '0 0 0'}.items())


# A screen, or what a taskbar leaves of one, and how it is called in the names of pictures.
Display = collections.namedtuple('Display', 'name dpi size colours', defaults=((),))


class Failed(Exception):
    """The program did not do what a story expects."""


def expect(found, wanted, what):
    if found != wanted:
        raise Failed('%s: %r, expected %r' % (what, found, wanted))


def expect_text(found, part, what):
    if part not in found:
        raise Failed('%s: %r, expected in it %r' % (what, found, part))


def wait_for(condition, what):
    """The first answer of `condition` that is something."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        found = condition()
        if found:
            return found
        time.sleep(0.02)
    raise Failed('waited in vain for ' + what)


def missing():
    """What must be there and is not; empty when all is there."""
    return ', '.join(tool for tool in ('Xvfb', 'import', WINE, WINE_SERVER) if not shutil.which(tool))


def windows_path(path):
    return 'Z:' + os.path.abspath(path).replace('/', '\\')


def unix_path(path):
    return path[2:].replace('\\', '/')


class Session:
    """A display and a Wine of their own, and the driver in it. The prefix stays for the next run."""

    SETTINGS = ('REGEDIT4\n\n'
                '[HKEY_CURRENT_USER\\Software\\Wine\\Explorer]\n"Desktop"="Default"\n\n'
                '[HKEY_CURRENT_USER\\Software\\Wine\\Explorer\\Desktops]\n"Default"="%dx%d"\n\n'
                '[HKEY_CURRENT_USER\\Control Panel\\Desktop]\n"LogPixels"=dword:%08x\n"FontSmoothing"="2"\n'
                '"FontSmoothingType"=dword:00000002\n\n'
                '[-HKEY_CURRENT_USER\\Software\\Local AppWizard-Generated Applications]\n')

    COLOURS = ('\n[HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\ThemeManager]\n"ThemeActive"="0"\n\n'
               '[HKEY_CURRENT_USER\\Control Panel\\Colors]\n')

    def __init__(self, folder, prefix, drive, display):
        self.display = display
        prefix.mkdir(parents=True, exist_ok=True)
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ['Xvfb', '-displayfd', str(write), '-screen', '0', '%dx%dx24' % display.size, '-nolisten', 'tcp'],
            pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as answer:
            number = ':' + answer.readline().strip()
        self.environment = dict(os.environ, DISPLAY=number, WINEPREFIX=prefix.resolve(), WINEDEBUG='-all',
                                WINEDLLOVERRIDES='winemenubuilder.exe,mscoree,mshtml=d', LC_ALL='C.UTF-8')
        # A desktop as large as the screen, so that windows have frames; the resolution; no recent files.
        settings = folder / 'settings.reg'
        settings.write_text(self.SETTINGS % (*display.size, display.dpi) + self.colours())
        self.run(WINE, 'regedit', '/S', windows_path(settings), check=True)
        self.run(WINE_SERVER, '-k', '-w')
        self.driver = subprocess.Popen([WINE, drive], env=self.environment, stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, encoding='ascii')

    def colours(self):
        """Those of the display, in place of a theme's."""
        names = ''.join('"%s"="%s"\n' % colour for colour in self.display.colours)
        return names and self.COLOURS + names

    def run(self, *command, check=False):
        """With time to make a new prefix, too."""
        subprocess.run(command, env=self.environment, check=check, timeout=600, stdin=subprocess.DEVNULL,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def call(self, function, *arguments):
        """What the function returns, and all memory that it was given, as it left it. Bytes are memory, and so are texts,
        in UTF-16; the rest are numbers."""
        def word(argument):
            memory = (argument + '\0').encode('utf-16le') if isinstance(argument, str) else argument
            return 'x' + memory.hex() if isinstance(memory, bytes) else str(memory)

        self.driver.stdin.write(' '.join([function, *map(word, arguments)]) + '\n')
        self.driver.stdin.flush()
        answer = self.driver.stdout.readline().split()
        if not answer:
            raise Failed('the driver does not answer to %s%r' % (function, arguments))
        return [bytes.fromhex(word[1:]) if word[0] == 'x' else int(word) for word in answer]

    def string(self, address):
        """A text of the driver's memory."""
        length = self.call('lstrlenW', address)[0]
        memory = self.call('lstrcpynW', bytes(2 * length + 2), address, length + 1)[1]
        return memory[:2 * length].decode('utf-16le')

    def choose_dark(self, is_dark):
        """In the settings of the system; 0 stands for dark programs."""
        key = 'Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize'
        value = struct.pack('<I', not is_dark)
        self.call('RegSetKeyValueW', win32.HKEY_CURRENT_USER, key, 'AppsUseLightTheme', win32.REG_DWORD, value, 4)

    def choose(self, name, word):
        """A setting as the program remembers it."""
        self.write_setting('Software\\Local AppWizard-Generated Applications\\TolvaneForAccess\\Settings', name, word)

    def write_setting(self, key, name, text):
        self.call('RegSetKeyValueW', win32.HKEY_CURRENT_USER, key, name, win32.REG_SZ, text, 2 * len(text) + 2)

    @contextlib.contextmanager
    def region(self, **values):
        """How the user writes dates and numbers, for programs that start meanwhile."""
        key = 'Control Panel\\International'
        for name, text in values.items():
            self.write_setting(key, name, text)
        try:
            yield
        finally:
            for name in values:
                self.call('RegDeleteKeyValueW', win32.HKEY_CURRENT_USER, key, name)

    def clipboard(self):
        if not self.call('OpenClipboard', 0)[0]:
            raise Failed('the clipboard is in use')
        text = self.call('GlobalLock', self.call('GetClipboardData', win32.CF_UNICODETEXT)[0])[0]
        text = self.string(text)
        self.call('CloseClipboard')
        return text

    @contextlib.contextmanager
    def holding(self, path):
        """Opens a file so that nobody else can."""
        file = self.call('CreateFileW', windows_path(path), win32.GENERIC_READ, 0, 0, win32.OPEN_EXISTING, 0, 0)[0]
        expect(file > 0, True, 'whether %s opens' % path)
        yield
        self.call('CloseHandle', file)

    def end(self):
        self.driver.kill()
        self.run(WINE_SERVER, '-k', '-w')
        self.server.terminate()
        self.server.wait()
