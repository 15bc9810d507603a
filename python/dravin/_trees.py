"""The published functions of one object: over its items, for its renderers, of its panel."""

from __future__ import annotations

from collections.abc import Callable, Sequence
from typing import TYPE_CHECKING, Any, NamedTuple, Optional

from . import _engine
from ._display import Array

if TYPE_CHECKING:
    from ._nodes import Node

Point = tuple[float, float, float]


class RenderData(NamedTuple):
    """What is told of a face of an item: the mesh's element that holds it, the bits of the item's
    random 3, both in one number, and whether the item draws the element."""

    element: int
    random: int
    combined: int
    visible: bool


class Trees:
    """Items that are edited by hand, by number from 0; rows of the geometry list count from 1.

    What changes items acts in custom edit mode only (`obj['mode'] = 1`, which freezes the items
    that the rules gave) and on items that exist; else it does nothing, and questions get zeros
    (getGeomID -1, getSeed 4294967295). Positions are in the object's space, angles in degrees about
    X, then Y, then Z. Sizes are those of the items as built.

    The functions with "Render" in their names are what renderers call, between the object's
    render_begin and render_end. Addresses are those of this process."""

    def __init__(self, node: _engine.Node, wrap: Callable[[_engine.Node], Node]) -> None:
        self._node, self._wrap = node, wrap

    def _call(self, name: str, *arguments: Any) -> Any:
        return self._node.call('trees', name, *arguments)

    def create(self, p: Sequence[float], width: float, height: float, geomid: int) -> None:
        """Adds an item. A width or height of 0 leaves the specimen's own."""
        self._call('create', _point(p), width, height, geomid)

    def delete(self, n: int) -> None:
        """Removes item n; those behind it move up."""
        self._call('delete', n)

    def edit(self, n: int, width: float, height: float, geomid: int, seed: int) -> None:
        """Changes an item's size, specimen and seed."""
        self._call('edit', n, width, height, geomid, seed)

    def count(self) -> int:
        """How many items there are, in either mode."""
        answer: int = self._call('count')
        return answer

    def move(self, n: int, p: Sequence[float]) -> None:
        """Puts item n at p."""
        self._call('move', n, _point(p))

    setPosition = move

    def setRotation(self, n: int, angle: Sequence[float]) -> None:
        """Turns item n so that getRotation gives these angles."""
        self._call('setRotation', n, _point(angle))

    def setWidth(self, n: int, width: float) -> None:
        """The depth keeps its proportion to the width."""
        self._call('setWidth', n, width)

    def setHeight(self, n: int, height: float) -> None:
        """Stretches item n along its own z axis."""
        self._call('setHeight', n, height)

    def setSize(self, n: int, size: Sequence[float]) -> None:
        """Width, depth and height."""
        self._call('setSize', n, _point(size))

    def setGeomID(self, n: int, geomid: int) -> None:
        """Shows another row of the geometry list; below 1 the first."""
        self._call('setGeomID', n, geomid)

    def setSeed(self, n: int, seed: int) -> None:
        """Draws the item's random values anew."""
        self._call('setSeed', n, seed)

    def getPosition(self, n: int) -> Point:
        """Where item n is kept."""
        answer: Point = self._call('getPosition', n)
        return answer

    def getWidth(self, n: int) -> float:
        """The item's width as built."""
        return self.getSize(n)[0]

    def getHeight(self, n: int) -> float:
        """The item's height as built."""
        return self.getSize(n)[2]

    def getSize(self, n: int) -> Point:
        """Width, depth and height as built."""
        answer: Point = self._call('getSize', n)
        return answer

    def getRotation(self, n: int) -> Point:
        """The item's turn as built."""
        answer: Point = self._call('getRotation', n)
        return answer

    def getGeomID(self, n: int) -> int:
        """The row of the geometry list, from 1."""
        answer: int = self._call('getGeomID', n)
        return answer

    def getSeed(self, n: int) -> int:
        """The seed of the item's random values."""
        answer: int = self._call('getSeed', n)
        return answer

    def getFullTransform(self, n: int) -> Array:
        """From the specimen to the object's space, four rows of three numbers."""
        answer: Array = self._call('getFullTransform', n)
        return answer

    def getSelected(self) -> list[int]:
        """The numbers of the selected items."""
        answer: list[int] = self._call('getSelected')
        return answer

    def getRenderID(self, face: int) -> tuple[bool, int, int]:
        """Of a face of the object's render mesh, as a renderer that hits it asks: whether an item
        is there, the bits of its random 3, and the number that it and its element have together."""
        answer: tuple[bool, int, int] = self._node.render_id(face)
        return answer

    def getRenderNode(self, n: int) -> Optional[Node]:
        """The node that item n shows; None where it shows none and where there is no such item.
        Builds where there are no items yet."""
        node = self._node.render_node(n)
        return None if node is None else self._wrap(node)

    def getRenderNodes(self) -> tuple[int, int]:
        """The address of the instance records and how many there are; (0, 0) without render_begin.
        They are of the version that pack.setEngineFeatures asked for and stay until the next call,
        until clearRenderNodes or render_end."""
        answer: tuple[int, int] = self._call('getRenderNodes')
        return answer

    def clearRenderNodes(self) -> None:
        """Gives the memory of the records back."""
        self._call('clearRenderNodes')

    def getRenderData(self, record: int, face: int) -> Optional[RenderData]:
        """Of a face of the mesh that the item of an instance record shows. None without records,
        after another build, and where there is no such record."""
        words = self._node.render_data(record, face)
        return None if words is None else RenderData(*words[:3], bool(words[3]))

    def update(self) -> None:
        """Builds the items as they are now."""
        self._call('update')

    def update_ui(self) -> None:
        """Tells panels that show the object to look again."""
        self._call('update_ui')


class Ui:
    """The object's panel."""

    def __init__(self, node: _engine.Node) -> None:
        self._node = node

    def setRollup(self, state: int) -> None:
        """Bit i is the flag of rollout i of the panel among the user's options, which are saved."""
        self._node.call('ui', 'setRollup', state)


def _point(p: Sequence[float]) -> Point:
    x, y, z = (float(c) for c in p)
    return x, y, z
