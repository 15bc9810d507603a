"""Installs a build into a folder, moves that, and uses what stands there: the program, the Python
package with its helper and its module for images, and the plug-in module.

    check_install.py BUILD
"""

import ctypes
import os
import pathlib
import subprocess
import sys
import tempfile

from check_wheel import MODEL, USE

# The build folder's own would serve as well, were the installed one not found.
LOADED = '''
with open('/proc/self/maps') as maps:
    loaded = {line.split()[-1] for line in maps if 'dravin_images' in line}
assert loaded == {sys.argv[3]}, loaded
'''


def main():
    with tempfile.TemporaryDirectory() as folder:
        first, tree = pathlib.Path(folder) / 'first', pathlib.Path(folder) / 'tree'
        subprocess.run(['cmake', '--install', sys.argv[1], '--prefix', str(first)], check=True,
                       stdout=subprocess.DEVNULL)
        first.rename(tree)
        model = os.path.join(folder, 'rock.dxf')
        pathlib.Path(model).write_text(MODEL, encoding='utf-8')
        packages = str(tree / ('lib/python%d.%d/dist-packages' % sys.version_info[:2]))
        clean = {key: value for key, value in os.environ.items() if not key.startswith('DRAVIN')}
        subprocess.run([sys.executable, '-c', USE + LOADED, packages, model,
                        str(tree / 'lib/dravin/dravin_images.so')], check=True,
                       env={**clean, 'PYTHONPATH': packages})
        left = sorted(path.name for path in pathlib.Path(packages, 'dravin').iterdir())
        assert left.count('py.typed') == 1 and 'CMakeLists.txt' not in left, left
        subprocess.run([str(tree / 'bin/dravin'), 'schema'], check=True, env=clean,
                       stdout=subprocess.DEVNULL)
        plugin = ctypes.CDLL(str(tree / 'lib/dravin/dravin_plugin.so'))
        plugin.LibDescription.restype = ctypes.c_char_p
        assert plugin.LibDescription(), 'the plug-in module does not say what it is'


if __name__ == '__main__':
    main()
