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
import concurrent.futures
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

import repair_stories
import review_stories
import window_stories
import wine
from desk import Desk, corpus, readers
from wine import ROOT, Display, Failed

STORIES = [
    repair_stories.standard_repair, review_stories.preview, review_stories.copy_many_rows, repair_stories.template_repair,
    repair_stories.overwrite, repair_stories.stop_save, repair_stories.wrong_files, repair_stories.full_disks,
    repair_stories.leave_review, repair_stories.encrypted, review_stories.exports, review_stories.objects,
    review_stories.page_map, window_stories.colours, window_stories.readers_of_screens, window_stories.keyboard,
    window_stories.settings, window_stories.region, window_stories.installed_engine, window_stories.start_dialog,
    window_stories.recent_files, window_stories.window_place, repair_stories.crash_note,
]
DESKTOP, FINE = Display('96', 96, (2100, 1560)), Display('192', 192, (2100, 1560))
# 800x600 and 1280x720 at 150 %, with a taskbar.
SMALL = [Display('small-96', 96, (800, 560)), Display('small-144', 144, (1280, 648))]
# Colours of a high contrast, white on black.
CONTRAST = Display('contrast', 144, (1800, 1200), wine.HIGH_CONTRAST)
EVERYWHERE = [(DESKTOP, story) for story in STORIES] + [(FINE, story) for story in (
    window_stories.every_page, review_stories.preview, window_stories.settings)] + [
    (display, window_stories.every_page) for display in [*SMALL, CONTRAST]]


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


SESSIONS = []  # that are open


def tell_all(options, wanted, stories):
    """Those of one display; how many failed."""
    desk = Desk(options, wanted, 'desktop' if wanted == DESKTOP else 'others')
    SESSIONS.append(desk.session)
    try:
        return sum(not tell(desk, story) for display, story in stories if display == wanted)
    finally:
        SESSIONS.remove(desk.session)
        desk.session.end()


def stop(*_):
    """Whoever ends this script ends the displays and the programs with it."""
    for session in list(SESSIONS):
        session.end()
    os._exit(1)


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
    lacks = ', '.join(filter(None, (wine.missing(), readers.missing())))
    if lacks:
        print('skipped: missing ' + lacks)
        return corpus.SKIPPED
    signal.signal(signal.SIGTERM, stop)
    stories = [(display, story) for display, story in stories if options.only in display.name + ' ' + story.__name__]
    shutil.rmtree(options.build / 'screenshots', ignore_errors=True)
    # Most of the time stories wait for windows: what is told on other screens goes on beside them.
    lanes = [[display for display in dict.fromkeys(display for display, _ in stories) if (display == DESKTOP) == is_desktop]
             for is_desktop in (True, False)]
    with concurrent.futures.ThreadPoolExecutor(len(lanes)) as pool:
        failed = sum(pool.map(lambda lane: sum(tell_all(options, display, stories) for display in lane), lanes))
    print('%d stories, %d failed; pictures in %s' % (len(stories), failed, options.build / 'screenshots'))
    return 1 if failed or not stories else 0


if __name__ == '__main__':
    sys.exit(run(__doc__, EVERYWHERE))
