"""The published functions that belong to no object."""

from __future__ import annotations

from . import _engine
from ._errors import Error
from ._nodes import Path
from ._scene import Scene


def version() -> int:
    """The version of the published functions."""
    return 600


def commands() -> dict[str, str]:
    """What Scene.run takes: the name of each command, and what it does and takes."""
    targets = ('the scene', 'a node', 'a scatter object')
    texts = {}
    for name, (target, meaning, arguments) in _engine.commands().items():
        lines = ['%s Works on %s.' % (meaning, targets[target])]
        lines += ['  %s: %s%s. %s' % (argument, takes, '' if required else ' (may be left out)', what)
                  for argument, takes, required, what in arguments]
        texts[name] = '\n'.join(lines)
    return texts


def openLister(scene: Scene) -> list[dict[str, str]]:
    """The table of the lister, a row an object."""
    return scene.lister()


def exportData(scene: Scene, filename: Path, fieldlist: str = '') -> int:
    """Builds all objects of the scene and writes their items. fieldlist: names of item fields with
    commas between them; empty: the default ones. 0: done; 1: no file is named; 2: it failed, and a
    warning says why."""
    if not filename:
        return 1
    import warnings

    from ._errors import DravinWarning
    try:
        scene.build([filename], fields=[name for name in fieldlist.split(',') if name])
    except Error as error:
        warnings.warn(str(error), DravinWarning, stacklevel=2)
        return 2
    return 0
