"""A program as users write it, for the type checker alone."""

from typing import Any, Optional

import dravin


def average_height(path: str) -> float:
    scene = dravin.Scene.load(path)
    wood = scene['Wood']
    assert isinstance(wood, dravin.Dravin)
    wood['seed'] = 7
    wood.geometry.append({'name': 'oak', 'object': scene['oak']})
    result: dravin.Result = wood.build(threads=2, progress=print)
    heights: Any = result.items.height
    version, flag, level = dravin.pack.setEngineFeatures(scene, (512, 0, 0))
    wood.render_begin(version + flag + level)
    address, count = wood.trees.getRenderNodes()
    node: Optional[dravin.Node] = wood.trees.getRenderNode(address * count)
    data: Optional[dravin.RenderData] = wood.trees.getRenderData(0, 0)
    assert node is not None and data is not None and data.visible
    wood.render_end()
    wood.ui.setRollup(0)
    picture: dravin.Picture = dravin.render(scene, size=(64, 36), samples=1)
    assert picture.shape == (36, 64, 3)
    return float(heights.mean())
