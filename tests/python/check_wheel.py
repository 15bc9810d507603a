"""Packs the wheel of a build, installs it into a folder of its own, and uses it there.

    check_wheel.py SOURCES BUILD

What is used is the installed package alone: its data, its import helper, its module for images.
"""

import os
import pathlib
import subprocess
import sys
import tempfile

USE = '''
import os, sys
import dravin
assert dravin.__file__.startswith(sys.argv[1]), dravin.__file__
scene = dravin.Scene()
scene.add_plane('ground', 20, 20)
# A model of the format that only the helper reads, and one of the shipped distribution maps.
scene.add('rock', 'mesh', file=sys.argv[2], hidden=True)
field = scene.add_dravin('Field', params={'surflist': ['ground'], 'mapname': 'dense.bmp'},
                         geometry=[{'name': 'rock', 'object': 'rock'}])
result = field.build()
assert result.status == 0 and len(result.items) > 0, result
picture = dravin.render(scene, os.path.join(sys.argv[1], 'p.png'), size=(16, 8), samples=1)
assert picture.shape == (8, 16, 3)
'''
# An outline in the DXF format: one triangle.
MODEL = '\n'.join('0 SECTION 2 ENTITIES 0 3DFACE 8 0 10 0 20 0 30 0 11 1 21 0 31 0 12 0 22 1 32 0 '
                  '13 0 23 1 33 0 0 ENDSEC 0 EOF'.split()) + '\n'


def main():
    sources, build = (pathlib.Path(path) for path in sys.argv[1:3])
    with tempfile.TemporaryDirectory() as folder:
        packed = subprocess.run([str(sources / 'scripts/make-wheel'), str(build), '--out', folder],
                                check=True, capture_output=True, text=True)
        target = os.path.join(folder, 'installed')
        subprocess.run([sys.executable, '-m', 'pip', 'install', '--quiet', '--no-index', '--no-deps',
                        '--root-user-action', 'ignore', '--target', target,
                        packed.stdout.strip()], check=True)
        model = os.path.join(folder, 'rock.dxf')
        pathlib.Path(model).write_text(MODEL, encoding='utf-8')
        clean = {key: value for key, value in os.environ.items() if not key.startswith('DRAVIN')}
        clean['PYTHONPATH'] = target
        subprocess.run([sys.executable, '-c', USE, target, model], check=True, env=clean)


if __name__ == '__main__':
    main()
