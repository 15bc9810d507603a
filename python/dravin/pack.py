"""The published functions that belong to no object."""

from __future__ import annotations

from collections.abc import Sequence

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


def registerEngine(scene: Scene) -> None:
    """Enters the scene's current renderer in the list of engines, with version 0."""
    _engine.call_pack(scene._engine, 'registerEngine')


def setEngineFeatures(scene: Scene, features: Sequence[int]) -> tuple[int, int, int]:
    """What the scene's current renderer reads: the version of instance records (1 or 512), its flag
    (0 or 1), and a third number that is not read. Gives all three back, with the level of these
    interfaces as the third."""
    version, flag, level = _engine.set_engine_features(scene._engine, list(features))
    return version, flag, level


def getRenderDataRaw(scene: Scene) -> int:
    """The address of the table of all that the objects' last builds show, filled anew. It stays
    until clearRenderDataRaw, the next call or the end of the scene."""
    address: int = _engine.call_pack(scene._engine, 'getRenderDataRaw')
    return address


def clearRenderDataRaw(scene: Scene) -> None:
    """Empties the table."""
    _engine.call_pack(scene._engine, 'clearRenderDataRaw')


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
