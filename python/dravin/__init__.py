"""Scatters millions of instances over scenes: scenes, scatter objects, builds, pictures.

    import dravin
    scene = dravin.Scene.load('wood.json')
    wood = scene['Wood']
    wood['seed'] = 7
    result = wood.build()
    print(result.items.position.mean(axis=0))

The guide with worked examples is docs/python.md of the distribution.
"""

from __future__ import annotations

from typing import Any, Optional

from . import expr, pack
from ._display import Picture
from ._errors import (DravinWarning, Error, FailedError, LimitError, MalformedInputError,
                      MissingInputError, OutputError, UsageError)
from ._nodes import Dravin, Node, Path
from ._results import Items, Result
from ._rows import Row, RowList
from ._scene import Scene
from ._trees import RenderData, Trees, Ui

__version__ = '6.3.1'


def render(scene: Scene, path: Optional[Path] = None, *, size: Optional[tuple[int, int]] = None,
           samples: Optional[int] = None, renderer: str = '', **options: Any) -> Picture:
    """Renders the scene with its scatter objects, and writes the picture where a path is given.

    size: width and height in pixels; samples: rays a pixel; renderer: "raytrace", "scanline"
    or "viewport". What is left out is as the scene says. Further options: camera, time, threads, no_limit,
    allow_empty, progress. Gives rows x columns x 3 bytes as a screen shows them."""
    return scene.render(path, size=size, samples=samples, renderer=renderer, **options)


__all__ = ['Dravin', 'DravinWarning', 'Error', 'FailedError', 'Items', 'LimitError',
           'MalformedInputError', 'MissingInputError', 'Node', 'OutputError', 'Picture',
           'RenderData', 'Result', 'Row', 'RowList', 'Scene', 'Trees', 'Ui', 'UsageError', 'expr',
           'pack', 'render']
