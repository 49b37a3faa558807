#!/usr/bin/env python3
"""Damages databases in many ways, repairs them, and prints what came back of each kind of damage.

    python3 tests/corpus/damage_matrix.py --tolvane build/release/tolvane --make-sample PROGRAM [--corpus FOLDER]
                                          [--seeds N] [--kinds A,B] [--only TEXT] [--keep FOLDER]

The files are the sample in all three formats and, where they are there, some real ones. A repair must end in time with
status 0, 3 or 4; what it writes passes `tolvane check`; status 0 is right only where every row of the healthy file came
back and no other; bytes within a value may have changed. Rows are those that `tolvane export` shows of the repaired healthy file. Of each kind the
table counts rows that came back, those that did not, rows that are another one changed in less than half of its values,
and rows that never were. KINDS says which kinds must bring back how many of the rows, and no row that never was.
"""
import argparse
import collections
import json
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile

import corpus
import pages

FILES = ['V1997/testIndexCodesV1997.mdb', 'V2000/test2V2000.mdb', 'V2003/compIndexTestV2003.mdb',
         'V2003/overflowTestV2003.mdb', 'V2007/numeric.accdb', 'V2010/binIdxTestV2010.accdb']
SECTOR = 512
TIME = 60  # seconds that a run may take


class Damaged(pages.Pages):
    """A copy of a healthy file to be damaged, with what the kinds of damage choose from."""

    def __init__(self, path, rng, others):
        super().__init__(path)
        self.rng, self.others, self.bytes = rng, others, bytearray(self.data)
        tables = {owner for n in self.pages_of_type(pages.DATA) if isinstance(owner := self.owner_of(n), int) and owner > 5}
        self.definitions = sorted(n for n in tables if self.type_of(n) == pages.DEFINITION)
        self.rows = [n for n in self.pages_of_type(pages.DATA) if self.owner_of(n) in self.definitions]

    def at(self, number):
        return slice(number * self.size, (number + 1) * self.size)

    def some(self, numbers, count):
        return self.rng.sample(numbers, min(count, len(numbers)))

    def anywhere(self):
        return self.rng.randrange(3, self.count)

    def other(self):
        """Another file of the same page size."""
        return pages.Pages(self.rng.choice([path for path in self.others if pages.Pages(path).size == self.size]))


def zeroed(pick):
    def damage(file):
        for number in pick(file):
            file.bytes[file.at(number)] = bytes(file.size)
    return damage


def flipped(count):
    def damage(file):
        for at in file.rng.sample(range(len(file.bytes)), count):
            file.bytes[at] ^= file.rng.randrange(1, 256)
    return damage


def noise_in_header(file):
    file.bytes[:file.size] = file.rng.randbytes(file.size)


def put_in(whole):
    def damage(file):
        at = file.anywhere() * file.size
        more = file.other().page(3) if whole else file.rng.randbytes(file.rng.randrange(1, 3000))
        file.bytes[at:at] = more
    return damage


def lost(whole):
    def damage(file):
        number = file.rng.choice([n for n in range(3, file.count) if n not in file.definitions])
        at = number * file.size + (0 if whole else file.size // 2)
        del file.bytes[at:at + (file.size if whole else file.rng.randrange(1, file.size // 2))]
    return damage


def swapped(pick):
    def damage(file):
        numbers = file.some(pick(file), 4)
        for a, b in zip(numbers[::2], numbers[1::2]):
            file.bytes[file.at(a)], file.bytes[file.at(b)] = file.page(b), file.page(a)
    return damage


def swapped_halves(file):
    numbers, half = file.some(file.rows, 4), file.size // 2
    for a, b in zip(numbers[::2], numbers[1::2]):
        file.bytes[a * file.size + half:(a + 1) * file.size] = file.page(b)[half:]
        file.bytes[b * file.size + half:(b + 1) * file.size] = file.page(a)[half:]


def copied(file):
    """A page of rows over another one of the same table."""
    owners = collections.defaultdict(list)
    for number in file.rows:
        owners[file.owner_of(number)].append(number)
    many = [numbers for numbers in owners.values() if len(numbers) > 1]
    if many:
        a, b = file.rng.sample(file.rng.choice(many), 2)
        file.bytes[file.at(a)] = file.page(b)


def foreign_pages(file):
    other = file.other()
    for number in file.some(range(6, file.count), 3):
        file.bytes[file.at(number)] = other.page(file.rng.randrange(3, other.count))


def foreign_tail(file):
    other = file.other()
    file.bytes += other.data[other.count // 2 * other.size:]


def interleaved(file):
    other, chunk = file.other().data, 8 * file.size
    file.bytes = bytearray(b''.join(file.data[at:at + chunk] + other[at:at + chunk]
                                    for at in range(0, len(file.data), chunk)))


def wrong_owners(file):
    for number in file.some(file.rows, 3):
        struct.pack_into('<I', file.bytes, number * file.size + 4, file.rng.choice(file.definitions))


def scrambled_slots(file):
    for number in file.some(file.rows, 3):
        for slot in range(len(file.slots(number))):
            at = number * file.size + file.format.slots + 2 * slot
            file.bytes[at:at + 2] = file.rng.randbytes(2)


def sectors(file):
    for sector in file.rng.sample(range(len(file.bytes) // SECTOR), max(1, len(file.bytes) // SECTOR // 50)):
        file.bytes[sector * SECTOR:(sector + 1) * SECTOR] = bytes(SECTOR)


def cut(file):
    del file.bytes[file.rng.randrange(len(file.bytes) // 2, len(file.bytes)):]


def wrong_counts(file):
    for number in file.definitions:
        struct.pack_into('<I', file.bytes, number * file.size + (12 if file.format.is_jet3 else 16), file.rng.randrange(2000))


def maps_and_indexes(file):
    return file.pages_of_type(pages.INDEX_NODE, pages.INDEX_LEAF, pages.BITMAP) + [
        n for n in file.pages_of_type(pages.DATA) if n == 1 or file.owner_of(n) == 0]


Kind = collections.namedtuple('Kind', 'damage least pure')  # least share of rows; whether no row may be there that never was
KINDS = {
    'nothing': Kind(lambda file: None, 1, True),
    'header: noise': Kind(noise_in_header, 1, True),
    'catalogue definition: zeros': Kind(zeroed(lambda file: [2]), 1, True),
    'maps and indexes: zeros': Kind(zeroed(maps_and_indexes), 1, True),
    'a definition: zeros': Kind(zeroed(lambda file: file.some(file.definitions, 1)), 0, True),
    'a page of rows: zeros': Kind(zeroed(lambda file: file.some(file.rows, 1)), 0, True),
    'sectors: zeros': Kind(sectors, 0, False),
    'cut off': Kind(cut, 0, True),
    '10 bytes: flipped': Kind(flipped(10), 0.5, False),
    '300 bytes: flipped': Kind(flipped(300), 0.3, False),
    'slots: noise': Kind(scrambled_slots, 0.95, False),
    'row counts: noise': Kind(wrong_counts, 1, True),
    'owners: other tables': Kind(wrong_owners, 0.95, False),
    'bytes: put in': Kind(put_in(False), 0.9, False),
    'bytes: lost': Kind(lost(False), 0.9, False),
    'a page: put in': Kind(put_in(True), 0.9, False),
    'a page: lost': Kind(lost(True), 0.9, False),
    'pages of rows: swapped': Kind(swapped(lambda file: file.rows), 1, True),
    'any pages: swapped': Kind(swapped(lambda file: range(6, file.count)), 0.3, False),
    'halves of pages: swapped': Kind(swapped_halves, 0, False),
    'a page of rows: copied over another': Kind(copied, 0, True),
    'foreign pages inside': Kind(foreign_pages, 0, False),
    'foreign pages behind': Kind(foreign_tail, 1, True),
    'interleaved with another file': Kind(interleaved, 0, False),
}


# --- what came back ---


class Repairer:
    def __init__(self, program, folder):
        self.program, self.folder = program, folder

    def run(self, *command):
        try:
            done = subprocess.run([self.program, *command], stdin=subprocess.DEVNULL, capture_output=True, timeout=TIME,
                                  check=False)
        except subprocess.TimeoutExpired:
            raise corpus.Failure('tolvane %s: no end after %d s' % (command[0], TIME)) from None
        return done.returncode

    def rows(self, path):
        """Table -> multiset of its rows, each as the texts of its values."""
        folder = os.path.join(self.folder, 'rows')
        shutil.rmtree(folder, ignore_errors=True)
        self.run('export', path, '--to', folder, '--format', 'jsonl')
        found = {}
        for name in sorted(os.listdir(folder)) if os.path.isdir(folder) else []:
            if name.endswith('.jsonl'):
                with open(os.path.join(folder, name), encoding='utf-8') as file:
                    found[name] = collections.Counter(tuple(line.rstrip('\n').split(',"')) for line in file)
        return found

    def repair(self, source):
        """Status, and the rows of the new database."""
        output = os.path.join(self.folder, 'output' + os.path.splitext(source)[1])
        if os.path.exists(output):
            os.remove(output)
        status = self.run('repair', source, '-o', output, '--overwrite')
        if status not in (0, 3, 4):
            raise corpus.Failure('repair: status %d' % status)
        if not os.path.exists(output):
            return status, {}
        if (proved := self.run('check', output)) != 0:
            raise corpus.Failure('check of the new database: status %d' % proved)
        return status, self.rows(output)


class Tally:
    def __init__(self):
        self.runs = self.rows = self.back = self.changed = self.never = 0
        self.statuses, self.errors = collections.Counter(), []

    def add(self, status, want, have, kind):
        self.runs += 1
        self.statuses[status] += 1
        rows = back = changed = never = 0
        for table, healthy in want.items():
            missing, extra = healthy - have.get(table, collections.Counter()), have.get(table, collections.Counter()) - healthy
            rows += healthy.total()
            back += healthy.total() - missing.total()
            for row in extra.elements():
                like = max(missing, default=(), key=lambda other: sum(map(str.__eq__, row, other)))
                if like and 2 * sum(map(str.__eq__, row, like)) >= len(row):
                    changed += 1
                    missing -= collections.Counter([like])
                else:
                    never += 1
        self.rows, self.back = self.rows + rows, self.back + back
        self.changed, self.never = self.changed + changed, self.never + never
        if status == 0 and (back + changed < rows or never):
            self.errors.append('status 0: %d of %d rows, %d changed, %d that never were' % (back, rows, changed, never))
        if never and kind.pure:
            self.errors.append('%d rows that never were' % never)


def judge(repairer, kind, paths, others, healthy, seeds, keep):
    tally = Tally()
    for path in paths:
        for seed in range(seeds):
            damaged = Damaged(path, random.Random('%s %d' % (os.path.basename(path), seed)),
                              [p for p in paths + others if p != path])
            KINDS[kind].damage(damaged)
            copy = os.path.join(repairer.folder, 'damaged' + os.path.splitext(path)[1])
            with open(copy, 'wb') as file:
                file.write(damaged.bytes)
            before = len(tally.errors)
            try:
                status, have = repairer.repair(copy)
                tally.add(status, healthy[path], have, KINDS[kind])
            except corpus.Failure as failure:
                tally.errors.append(str(failure))
            for i in range(before, len(tally.errors)):
                tally.errors[i] = '%s, seed %d: %s' % (os.path.basename(path), seed, tally.errors[i])
            if keep and len(tally.errors) > before:
                shutil.copy(copy, os.path.join(keep, '%s-%d-%s' % (kind.replace(' ', '_').replace(':', ''), seed, os.path.basename(path))))
    if tally.back < KINDS[kind].least * tally.rows:
        tally.errors.append('of all files less than %d %% of the rows' % (100 * KINDS[kind].least))
    return tally


def show(kind, tally):
    print('%-36s %5d %7d %7d %6d %7d %6d  %-18s %s' % (
        kind, tally.runs, tally.rows, tally.back, tally.rows - tally.back, tally.changed, tally.never,
        ' '.join('%d:%d' % item for item in sorted(tally.statuses.items())), 'WRONG' if tally.errors else 'good'))
    for error in tally.errors[:12]:
        print('    ' + error)
    sys.stdout.flush()


def arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--tolvane', required=True, type=os.path.abspath)
    parser.add_argument('--make-sample', required=True, help='the generator of the bundled sample')
    parser.add_argument('--corpus', default=os.environ.get('TOLVANE_CORPUS') or os.path.join(corpus.ROOT, '..', 'shared', 'corpus'))
    parser.add_argument('--seeds', type=int, default=1, help='runs of each kind and file')
    parser.add_argument('--kinds', default='', help='texts that the kinds hold, with commas between')
    parser.add_argument('--only', default='', help='files whose name holds this text')
    parser.add_argument('--keep', help='an existing folder for damaged files that went wrong')
    return parser.parse_args()


def main():
    options = arguments()
    with tempfile.TemporaryDirectory(prefix='tolvane-') as folder:
        repairer = Repairer(options.tolvane, folder)
        sample = os.path.join(folder, 'sample-jet4.mdb')
        made = os.path.join(folder, 'made.mdb')
        subprocess.run([options.make_sample, sample, made], check=True, stdout=subprocess.DEVNULL)
        # Each format in two states, of which the second is only what pages of another file are taken from.
        paths, others = [sample], []
        for source, found, target, ending in ((sample, paths, 'jet3', 'mdb'), (sample, paths, 'ace', 'accdb'),
                                              (made, others, 'jet3', 'mdb'), (made, others, 'jet4', 'mdb')):
            found.append(os.path.join(folder, '%s-%s.%s' % (os.path.basename(source)[:-4], target, ending)))
            if repairer.run('repair', source, '-o', found[-1], '--to', target) not in (0, 3):
                raise corpus.Failure('the sample cannot be made as ' + target)
        real = [os.path.join(options.corpus, name) for name in FILES]
        paths += [path for path in real if os.path.exists(path)]
        if len(paths) == 3:
            print('the sample only: no real databases at ' + options.corpus)
        paths = [path for path in paths if options.only in os.path.basename(path)]
        healthy = {path: repairer.rows(path) for path in paths}
        print('%-36s %5s %7s %7s %6s %7s %6s  %-18s' % ('damage', 'runs', 'rows', 'back', 'lost', 'changed', 'never', 'statuses'))
        wanted = [kind for kind in KINDS if any(text in kind for text in options.kinds.split(','))]
        failed = 0
        for kind in wanted:
            tally = judge(repairer, kind, paths, others, healthy, options.seeds, options.keep)
            show(kind, tally)
            failed += bool(tally.errors)
    print('\n%d kinds of damage, %d with errors' % (len(wanted), failed))
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
