"""Runs what the documentation shows: every scene in a ```json block that opens a scene builds, every
`dravin` line of a ```sh block ends with exit code 0, and every program of an ```effect block says what
the page says it does.

A program's output stands in an ```output block behind it, or beside each of its `print` lines as a
comment. Code in running text and tables that ends with a semicolon is a program too: it compiles.

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
SNIPPET = re.compile(r'`([^`\n]+;)`')
PRINTED = re.compile(r'^print .*;\s*# (.*)$', re.M)
# Parameters that snippets use without saying so.
SNIPPET_PARAMETERS = '''<effects><effect version="1"><expression><![CDATA[%s]]></expression>
<parameter name="map" kind="texmap"/><parameter name="curve" kind="curve"/></effect></effects>'''
SAVED_AS = re.compile(r'Save\s+this\s+as\s+`([^`]+)`')


def run(program, arguments, folder):
    environment = dict(os.environ, DRAVIN_HOME=str(ROOT / 'data'))
    done = subprocess.run([program] + arguments, cwd=folder, env=environment, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode == 0:
        return True
    print('exit code %d of: dravin %s\n%s' % (done.returncode, shlex.join(arguments), done.stdout))
    return False


def effect(program, verb, text, folder):
    (folder / 'program.txt').write_text(text, encoding='utf-8')
    return subprocess.run([program, 'effect', verb, 'program.txt'], cwd=folder, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT).stdout


def says(program, text, expected, folder):
    """Whether an effect's program prints what is expected, and no error besides."""
    found = effect(program, 'run', text, folder)
    if found == expected:
        return True
    print('the program\n%s\nprints\n%s\ninstead of\n%s' % (text, found, expected))
    return False


def snippets_compile(program, text, folder):
    good, count = True, 0
    for snippet in SNIPPET.findall(BLOCK.sub('', text)):
        error = effect(program, 'check', SNIPPET_PARAMETERS % snippet, folder)
        if error:
            print(error)
        good &= not error
        count += 1
    return good, count


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
    blocks = list(BLOCK.finditer(text))
    for block, following in zip(blocks, blocks[1:] + [None]):
        language, content = block.groups()
        if language == 'json' and '"dravin_scene"' in content:
            names = SAVED_AS.findall(text[end:block.start()])
            scene = names[-1] if names else 'scene%d.json' % count
            (folder / scene).write_text(content, encoding='utf-8')
            good &= run(program, ['build', scene], folder)
            count += 1
        elif language == 'sh':
            for arguments in commands(content):
                good &= run(program, arguments, folder)
                count += 1
        elif language == 'effect':
            names = SAVED_AS.findall(text[end:block.start()])
            if names:
                (folder / names[-1]).write_text(content, encoding='utf-8')
            printed = ''.join(line.strip() + '\n' for line in PRINTED.findall(content))
            shown = following.group(2) if following and following.group(1) == 'output' else printed
            good &= shown != '' and says(program, content, shown, folder)
            count += 1
        end = block.end()
    if '```effect' in text:
        compiled, snippets = snippets_compile(program, text, folder)
        good, count = good and compiled, count + snippets
    print('%s: %d scenes, commands and programs' % (page.name, count))
    return good and count > 0


if __name__ == '__main__':
    with tempfile.TemporaryDirectory() as temporary:
        succeeded = check_page(os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2]),
                               pathlib.Path(temporary))
    sys.exit(0 if succeeded else 1)
