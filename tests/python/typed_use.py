"""A program as users write it, for the type checker alone."""

from typing import Any

import dravin


def average_height(path: str) -> float:
    scene = dravin.Scene.load(path)
    wood = scene['Wood']
    assert isinstance(wood, dravin.Dravin)
    wood['seed'] = 7
    wood.geometry.append({'name': 'oak', 'object': scene['oak']})
    result: dravin.Result = wood.build(threads=2, progress=print)
    heights: Any = result.items.height
    picture: dravin.Picture = dravin.render(scene, size=(64, 36), samples=1)
    assert picture.shape == (36, 64, 3)
    return float(heights.mean())
