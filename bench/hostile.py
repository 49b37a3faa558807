#!/usr/bin/env python3
"""Shows that work and memory stay linear in the file, whatever its bytes say.

    python3 bench/hostile.py --tolvane build/release/tolvane --make-big build/release/bench/make_big [--megabytes 4]

Makes files that lie in ways that cost most, of one, two and four times that size, and repairs each. Prints the processor's
time and the peak memory of each size; fails where the memory passes the bound that the program promises, or a run ends
otherwise than with a status of its own.
"""
import argparse
import multiprocessing
import os
import random
import resource
import subprocess
import sys
import tempfile

PAGE = 4096
BOUND = 256  # MiB
ROWS, DEFINITION, LONG_VALUES = 1, 2, b'LVAL'


def pages_of(data):
    return range(PAGE, len(data), PAGE)


def random_bytes(data):
    data[:] = random.Random(1).randbytes(len(data))


def heads_everywhere(data):
    data[PAGE:] = b'\x01\x01' * ((len(data) - PAGE) // 2)


def definitions_everywhere(data):
    """Each goes on with the one before, and all with each other."""
    first = next(at for at in pages_of(data) if data[at] == DEFINITION and at > 2 * PAGE)
    page = bytes(data[first:first + PAGE])
    for at in pages_of(data):
        data[at:at + PAGE] = page
        data[at + 4:at + 8] = (at // PAGE - 1).to_bytes(4, 'little')


def for_row_pages(data, change):
    for at in pages_of(data):
        if data[at] == ROWS and data[at + 4:at + 8] != LONG_VALUES:
            change(at, int.from_bytes(data[at + 12:at + 14], 'little'))


def pointers_everywhere(data):
    """Every row says that it moved, all to one page."""
    def change(at, slots):
        for slot in range(slots):
            data[at + 15 + 2 * slot] |= 0x40
    for_row_pages(data, change)


def rows_over_rows(data):
    """As many slots as fit, every other one with nearly the whole page."""
    def change(at, _):
        data[at + 12:at + 14] = (2000).to_bytes(2, 'little')
        for slot in range(2000):
            place = (4016, 4090)[slot % 2]
            data[at + 14 + 2 * slot:at + 16 + 2 * slot] = place.to_bytes(2, 'little')
    for_row_pages(data, change)


def chains_in_one(data):
    """Every long value is the longest there can be, and its chain goes through the first page of all."""
    values = [at for at in pages_of(data) if data[at:at + 1] == b'\x01' and data[at + 4:at + 8] == LONG_VALUES]
    pointer = (values[0] // PAGE << 8).to_bytes(4, 'little')
    for at in values:
        start = int.from_bytes(data[at + 14:at + 16], 'little') & 0x1FFF
        data[at + start:at + start + 4] = pointer
    for at in pages_of(data):
        if data[at] != ROWS:
            continue
        for place in range(at + 64, at + PAGE - 12):
            if data[place + 3] == 0x40 and data[place + 2] == 0 and data[place + 8:place + 12] == bytes(4):
                data[place:place + 4] = (0x3FFFFFFF).to_bytes(4, 'little')


KINDS = [random_bytes, heads_everywhere, definitions_everywhere, pointers_everywhere, rows_over_rows, chains_in_one]


def make(sound, path, kind):
    with open(sound, 'rb') as file:
        data = bytearray(file.read())
    kind(data)
    with open(path, 'wb') as file:
        file.write(data)


def measure(tolvane, path, folder):
    output = os.path.join(folder, 'output.mdb')
    process = subprocess.Popen([tolvane, 'repair', path, '-o', output, '--overwrite', '-q'], stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    return process.returncode, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--tolvane', required=True)
    parser.add_argument('--make-big', required=True)
    parser.add_argument('--megabytes', type=int, default=4)
    arguments = parser.parse_args()
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    sizes = [arguments.megabytes * factor for factor in (1, 2, 4)]
    failed = False
    print('%-26s %s' % ('CPU seconds, peak MiB', ''.join('%17d MB' % size for size in sizes)))
    with tempfile.TemporaryDirectory(prefix='tolvane-hostile-') as folder:
        sound, path = os.path.join(folder, 'sound.mdb'), os.path.join(folder, 'hostile.mdb')
        cells = {kind: [] for kind in KINDS}
        for size in sizes:
            subprocess.run([arguments.make_big, sound, str(size)], stdout=subprocess.DEVNULL, check=True)
            for kind in KINDS:
                # In a process of its own: what is measured later counts the memory of the one that starts it.
                maker = multiprocessing.Process(target=make, args=(sound, path, kind))
                maker.start()
                maker.join()
                status, seconds, peak = measure(arguments.tolvane, path, folder)
                wrong = status not in (0, 2, 3, 4) or peak > BOUND
                failed = failed or wrong
                cells[kind].append('%9.2f %6.0f %2d%s' % (seconds, peak, status, '!' if wrong else ' '))
        for kind in KINDS:
            print('%-26s %s' % (kind.__name__.replace('_', ' '), ''.join(cells[kind])))
    sys.exit(1 if failed else 0)


if __name__ == '__main__':
    main()
