"""Runs what the documentation shows, and compares what it prints.

    check_docs.py PROGRAM PAGE…

The blocks of a page run in order in one new folder, which holds a link to the project's `data`, as the
examples run from the project's own folder. What a block is says its language; every block has one:

    json     a scene: it builds, and is saved under the name that stands before its block as "Save this
             as `NAME`". Without "dravin_scene" it is a row of a geometry list or of an effect list: a
             scene around it builds
    sh       commands: each ends with exit code 0. Lines that start with `make` are left out
    effect   a program: what it prints stands beside each of its `print` lines as a comment, or in an
             output block
    output   what the block before it prints on standard output (of a scene: its statistics); `…` stands
             for any text of a line, on a line of its own for any lines
    python   a program: the blocks of a page run one after the other in one interpreter, after all others
    text     not to be run: the form of a command, a picture, commands that change the machine

Links lead to something, and files of the repository that the text names are there. Code in running text
and tables that ends with a semicolon is a program too: it compiles. A comment
`<!-- run first: COMMAND -->` makes what the page takes for granted. Pictures whose size a page does not
state are drawn small.
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BLOCK = re.compile(r'^```(\w*)\n(.*?)^```$', re.S | re.M)
SNIPPET = re.compile(r'`([^`\n]+;)`')
PRINTED = re.compile(r'^print .*;\s*# (.*)$', re.M)
LINK = re.compile(r'\]\(([^)#\s]+)')
# A file or folder of the repository as running text names it.
NAMED = re.compile(r'`((?:host|common|Dravin|apps|bench|cmake|data|docs|fuzz|python|scripts|tests)/[\w./-]+)`')
RUN_FIRST = re.compile(r'<!-- run first: (.*?) -->')
SAVED_AS = re.compile(r'Save\s+this\s+as\s+`([^`]+)`')
LANGUAGES = {'json', 'sh', 'effect', 'output', 'python', 'text'}
# Parameters that snippets use without saying so.
SNIPPET_PARAMETERS = '''<effects><effect version="1"><expression><![CDATA[%s]]></expression>
<parameter name="map" kind="texmap"/><parameter name="curve" kind="curve"/></effect></effects>'''
# A picture of a page's own size takes long and shows no more mistakes than a small one.
SHELL_PROGRAM = '''#!/bin/sh
if [ "$1" = render ]; then
    case " $* " in *" --size "*) ;; *) set -- "$@" --size 64x36 --samples 1 ;; esac
fi
exec '%s' "$@"
'''


# Runs the programs that stand as a list in a file, and writes what each printed; ends with the first
# that fails.
PYTHON_RUNNER = '''
import contextlib, io, json, traceback
printed, names = [], {'__name__': 'page'}
with open('programs.json', encoding='utf-8') as file:
    programs = json.load(file)
for program in programs:
    out = io.StringIO()
    try:
        with contextlib.redirect_stdout(out):
            exec(compile(program, '<page>', 'exec'), names)
    except BaseException:
        printed.append(out.getvalue() + traceback.format_exc())
        break
    printed.append(out.getvalue())
with open('printed.json', 'w', encoding='utf-8') as file:
    json.dump(printed, file)
'''


class Page:
    def __init__(self, program, path, folder):
        self.program, self.path, self.folder = program, path, folder
        self.text = path.read_text(encoding='utf-8')
        self.count, self.good = 0, True
        self.programs = []  # in Python: where, the text, what it prints
        (folder / 'data').symlink_to(ROOT / 'data')
        (folder / 'bin').mkdir()
        shell_program = folder / 'bin' / 'dravin'
        shell_program.write_text(SHELL_PROGRAM % program, encoding='utf-8')
        shell_program.chmod(0o755)

    def fail(self, place, what):
        line = self.text.count('\n', 0, place) + 1
        print('%s:%d: %s' % (self.path.name, line, what))
        self.good = False

    def environment(self):
        path = '%s:%s' % (self.folder / 'bin', os.environ['PATH'])
        return dict(os.environ, DRAVIN_HOME=str(ROOT / 'data'), PATH=path)

    def shell(self, place, script, expected):
        lines = [line for line in script.splitlines() if not line.startswith('make')]
        if not any(line.split('#')[0].strip() for line in lines):
            return
        done = subprocess.run(['bash', '-euo', 'pipefail', '-c', '\n'.join(lines)], cwd=self.folder,
                              env=self.environment(), text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE)
        self.count += 1
        if done.returncode:
            self.fail(place, 'exit code %d of\n%s\n%s' % (done.returncode, script, done.stderr))
        elif expected is not None and not matches(expected, done.stdout):
            self.fail(place, 'prints\n%s\ninstead of\n%s' % (done.stdout, expected))

    def scene(self, place, content, name, expected):
        if '"dravin_scene"' not in content:
            content = scene_around(json.loads(content))
        (self.folder / name).write_text(content, encoding='utf-8')
        self.shell(place, "dravin build '%s'" % name, expected)

    def effect(self, verb, text):
        (self.folder / 'program.txt').write_text(text, encoding='utf-8')
        return subprocess.run([self.program, 'effect', verb, 'program.txt'], cwd=self.folder, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT).stdout

    def effect_program(self, place, text, name, expected):
        """The program prints what is expected, and no error besides."""
        if name:
            (self.folder / name).write_text(text, encoding='utf-8')
        if expected is None:
            expected = ''.join(line.strip() + '\n' for line in PRINTED.findall(text))
        found = self.effect('run', text)
        self.count += 1
        if expected == '' or found != expected:
            self.fail(place, 'the program prints\n%s\ninstead of\n%s' % (found, expected))

    def run_programs(self):
        """The Python programs; each prints what is shown, or nothing where nothing is."""
        if not self.programs:
            return
        (self.folder / 'programs.json').write_text(json.dumps([text for _, text, _ in self.programs]),
                                                   encoding='utf-8')
        subprocess.run([sys.executable, '-W', 'error', '-c', PYTHON_RUNNER], cwd=self.folder,
                       env=self.environment(), check=True)
        found = json.loads((self.folder / 'printed.json').read_text(encoding='utf-8'))
        for (place, text, expected), printed in zip(self.programs, found):
            if not matches(expected or '', printed):
                self.fail(place, 'prints\n%s\ninstead of\n%s' % (printed, expected))
        self.count += len(found)

    def files_are_there(self, text):
        for link in LINK.finditer(text):
            target = link.group(1)
            if '://' not in target and not (self.path.parent / target).exists():
                self.fail(link.start(), 'the link to %s leads nowhere' % target)
        for name in NAMED.finditer(text):
            if not (ROOT / name.group(1)).exists():
                self.fail(name.start(), 'there is no %s' % name.group(1))

    def snippets_compile(self, text):
        for snippet in SNIPPET.finditer(text):
            error = self.effect('check', SNIPPET_PARAMETERS % snippet.group(1))
            self.count += 1
            if error:
                self.fail(snippet.start(), '%s does not compile: %s' % (snippet.group(1), error))

    def check(self):
        for first in RUN_FIRST.finditer(self.text):
            self.shell(first.start(), first.group(1), None)
        end, blocks = 0, list(BLOCK.finditer(self.text))
        for block, following in zip(blocks, blocks[1:] + [None]):
            language, content = block.groups()
            names = SAVED_AS.findall(self.text[end:block.start()])
            shown = following.group(2) if following and following.group(1) == 'output' else None
            end = block.end()
            if language not in LANGUAGES:
                self.fail(block.start(), 'a block of the language "%s"' % language)
            elif language == 'json':
                name = names[-1] if names else 'scene%d.json' % self.count
                self.scene(block.start(), content, name, shown)
            elif language == 'sh':
                self.shell(block.start(), content, shown)
            elif language == 'python':
                self.programs.append((block.start(), content, shown))
            elif language == 'effect':
                self.effect_program(block.start(), content, names[-1] if names else None, shown)
        self.run_programs()
        # The text around the blocks, at the same lines.
        text = BLOCK.sub(lambda block: re.sub(r'.', ' ', block[0]), self.text)
        self.files_are_there(text)
        if '```effect' in self.text:
            self.snippets_compile(text)
        print('%s: %d scenes, commands and programs' % (self.path.name, self.count))
        return self.good


def matches(expected, found):
    """Whether the text is the expected one, where `…` stands for anything."""
    def line_pattern(line):
        if line == '…\n':
            return '(?:.*\n)*?'
        return '.*?'.join(re.escape(part) for part in line.split('…'))

    pattern = ''.join(line_pattern(line) for line in expected.splitlines(keepends=True))
    return re.fullmatch(pattern, found) is not None


def values(node):
    """All texts in a JSON value."""
    if isinstance(node, str):
        yield node
    for child in node.values() if isinstance(node, dict) else node if isinstance(node, list) else []:
        yield from values(child)


def scene_around(row):
    """A scene in which the row can work: whatever it names as a value stands for a node and a map."""
    nodes = [{'name': 'ground', 'type': 'plane'},
             {'name': 'cube', 'type': 'box', 'width': 1, 'length': 1, 'height': 1, 'hidden': True}]
    scatter = {'name': 'Scatter', 'type': 'dravin',
               'params': {'surflist': ['ground'], 'mapname': 'dense.bmp', 'units_x': 9, 'units_y': 9}}
    scene = {'dravin_scene': 1, 'time': 48000, 'texmaps': {}, 'nodes': nodes}
    if 'library' in row:
        for name in values([p['value'] for p in row.get('parameters', [])]):
            nodes.append({'name': name, 'type': 'dummy'})
            scene['texmaps'][name] = {'type': 'noise'}
        scatter.update(geometry=[{'name': 'cube', 'object': 'cube'}], effects=[row])
    else:
        scatter.update(geometry=[row])
    nodes.append(scatter)
    return json.dumps(scene)


def check_page(program, path):
    with tempfile.TemporaryDirectory() as folder:
        return Page(program, path, pathlib.Path(folder)).check()


if __name__ == '__main__':
    program = os.path.abspath(sys.argv[1])
    results = [check_page(program, pathlib.Path(page)) for page in sys.argv[2:]]
    sys.exit(0 if all(results) else 1)
