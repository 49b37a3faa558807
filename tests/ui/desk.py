"""What every story finds: the session, the sample's files, a place for output, and the words that many stories meet."""
import contextlib
import shutil
import struct
import subprocess
import sys

from win32 import OK
from window import Program
from wine import ROOT, Failed, Session, windows_path

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
EXACT_RULES, STANDARD_RULES, PLAIN_VALUES = 0, 1, 1  # in the lists of the settings
CSV, JSON_LINES, SQL_MYSQL = 1, 2, 6  # in that of the export
EXISTS = 'the question about an existing file'
BIG_COPIES = 120  # of the sample's rows, for a repair and a save that take seconds


class Desk:
    """What every story finds: the session, the files, and a place for output."""

    def __init__(self, options, display, lane):
        """Of desks that are used at a time each has a lane of its own."""
        self.options, self.program = options, None
        self.shots, self.folder = options.build / 'screenshots', options.build / ('desk-' + lane)
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        self.shots.mkdir(parents=True, exist_ok=True)
        self.executable = shutil.copy(options.program, self.folder)
        self.healthy_path, self.damaged = self.folder / 'healthy.mdb', self.folder / 'damaged.mdb'
        subprocess.run([options.make_sample, self.healthy_path, self.damaged], check=True, stdout=subprocess.DEVNULL)
        self.healthy = pages.Pages(self.healthy_path)
        # Colours stay with a Wine: other ones have a Wine of their own.
        prefix = options.build / ('wine-' + (display.name if display.colours else lane))
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

    @contextlib.contextmanager
    def disk(self, name, size):
        """A disk of `size` bytes, where this user may mount one: its folder, or nothing."""
        folder = self.folder / name
        folder.mkdir()
        mounted = subprocess.run(['mount', '-t', 'tmpfs', '-o', 'size=%d' % size, 'tmpfs', folder], stderr=subprocess.DEVNULL)
        try:
            yield folder if mounted.returncode == 0 else None
        finally:
            if mounted.returncode == 0:
                subprocess.run(['umount', '--lazy', folder], check=True)

    def run_folders(self):
        """Folders of temporary files that a run left."""
        return [path for path in (self.folder / 'TolvaneforAccess').glob('*') if path.is_dir()]


def brightness(path):
    """Of a picture, from 0 to 1."""
    done = subprocess.run(['convert', path, '-colorspace', 'Gray', '-format', '%[fx:mean]', 'info:'], check=True,
                          capture_output=True, encoding='ascii')
    return float(done.stdout)
