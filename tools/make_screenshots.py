#!/usr/bin/env python3
"""Makes the pictures of docs/user-guide.md anew from the program that ./test.sh built (build/windows-x64) under Wine:
small, with few colours and paths as a user has them.

    tools/make_screenshots.py [OPTIONS of tests/ui/run_stories.py]
"""
import pathlib
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / 'tests' / 'ui'))
# Behind the line that tells where it is.
import run_stories  # noqa: E402
from desk import SAVE_TITLE, TEMPLATE_TITLE  # noqa: E402
from wine import wait_for  # noqa: E402


def picture(desk, name):
    subprocess.run(['convert', desk.shoot('guide-' + name), '-strip', '+dither', '-colors', '64', '-define',
                    'png:compression-level=9', '-define', 'png:exclude-chunks=date,time',
                    'PNG8:%s' % (ROOT / 'docs' / 'images' / (name + '.png'))], check=True)


def guide_pictures(desk):
    folder = desk.options.build / 'wine' / 'drive_c' / 'Databases'
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for source, name in ((desk.damaged, 'Trade.mdb'), (desk.healthy_path, 'Trade backup.mdb')):
        shutil.copy(source, folder / name)
    damaged, template = 'C:\\Databases\\Trade.mdb', 'C:\\Databases\\Trade backup.mdb'
    program = desk.start(damaged)
    picture(desk, 'choose')
    program.command('ID_MODE_TEMPLATE')
    program.choose('ID_CHOOSE_TEMPLATE', TEMPLATE_TITLE, template)
    program.wait_for_text('IDC_TEMPLATE_FILE', template)
    picture(desk, 'template')
    program.command('ID_MODE_STANDARD')
    program.command('ID_NEXT', page='repairing')
    wait_for(lambda: program.text('IDC_LOG'), 'the first lines of the log')
    picture(desk, 'repair')
    program.wait_for_page('review')
    picture(desk, 'review')
    program.select_table(0)
    program.control('IDC_FIND').write('Harbour')
    program.command('ID_FIND_NEXT', notice='Found ')
    picture(desk, 'records')
    program.choose('ID_NEXT', SAVE_TITLE, 'C:\\Databases\\Tolvane_Trade.mdb')
    program.wait_for_page('saved')
    picture(desk, 'saved')
    program.close()


if __name__ == '__main__':
    sys.exit(run_stories.run(__doc__, [(run_stories.DESKTOP, guide_pictures)]))
