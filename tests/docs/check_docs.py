"""Runs what the documentation shows: every scene in a ```json block that opens a scene builds, and
every `dravin` line of a ```sh block ends with exit code 0, and every ```effect block compiles.

    check_docs.py PROGRAM PAGE

The blocks of a page run in order in one new folder. A scene is saved there under the name that
stands before its block as "Save this as `NAME`"; the folder holds a link to the project's `data`, as
the examples run from the project's own folder. Lines that start with `make` are left out.
"""

import os
import pathlib
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BLOCK = re.compile(r'^```(\w*)\n(.*?)^```$', re.S | re.M)
SAVED_AS = re.compile(r'Save\s+this\s+as\s+`([^`]+)`')


def run(program, arguments, folder):
    environment = dict(os.environ, DRAVIN_HOME=str(ROOT / 'data'))
    done = subprocess.run([program] + arguments, cwd=folder, env=environment, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode == 0:
        return True
    print('exit code %d of: dravin %s\n%s' % (done.returncode, shlex.join(arguments), done.stdout))
    return False


def commands(text):
    for line in text.replace('\\\n', ' ').splitlines():
        words = shlex.split(line, comments=True)
        if words and words[0] == 'dravin':
            # A redirection is the shell's; what the program writes is thrown away either way.
            yield words[1:words.index('>')] if '>' in words else words[1:]


def check_page(program, page, folder):
    (folder / 'data').symlink_to(ROOT / 'data')
    text = page.read_text(encoding='utf-8')
    good, count, end = True, 0, 0
    for block in BLOCK.finditer(text):
        language, content = block.groups()
        if language == 'json' and '"dravin_scene"' in content:
            names = SAVED_AS.findall(text[end:block.start()])
            scene = names[-1] if names else 'scene%d.json' % count
            (folder / scene).write_text(content, encoding='utf-8')
            good &= run(program, ['build', scene], folder)
            count += 1
        elif language == 'effect':
            names = SAVED_AS.findall(text[end:block.start()])
            effect = names[-1] if names else 'effect%d.expr' % count
            (folder / effect).write_text(content, encoding='utf-8')
            good &= run(program, ['effect', 'check', effect], folder)
            count += 1
        elif language == 'sh':
            for arguments in commands(content):
                good &= run(program, arguments, folder)
                count += 1
        end = block.end()
    print('%s: %d scenes and commands' % (page.name, count))
    return good and count > 0


if __name__ == '__main__':
    with tempfile.TemporaryDirectory() as temporary:
        succeeded = check_page(os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2]),
                               pathlib.Path(temporary))
    sys.exit(0 if succeeded else 1)
