"""The published functions over the items of one object."""

from __future__ import annotations

from collections.abc import Sequence

from . import _engine
from ._display import Array

Point = tuple[float, float, float]


class Trees:
    """Items that are edited by hand, by number from 0; rows of the geometry list count from 1.

    What changes items acts in custom edit mode only (`obj['mode'] = 1`, which freezes the items
    that the rules gave) and on items that exist; else it does nothing, and questions get zeros
    (getGeomID and getSeed 4294967295). Positions are in the object's space, angles in degrees about
    X, then Y, then Z. Sizes are those of the items as built."""

    def __init__(self, node: _engine.Node) -> None:
        self._node = node

    def create(self, p: Sequence[float], width: float, height: float, geomid: int) -> None:
        """Adds an item. A width or height of 0 leaves the specimen's own."""
        self._node.trees_create(_point(p), width, height, geomid)

    def delete(self, n: int) -> None:
        """Removes item n; those behind it move up."""
        self._node.trees_delete(n)

    def edit(self, n: int, width: float, height: float, geomid: int, seed: int) -> None:
        """Changes an item's size, specimen and seed."""
        self._node.trees_edit(n, width, height, geomid, seed)

    def count(self) -> int:
        """How many items there are, in either mode."""
        return self._node.trees_count()

    def move(self, n: int, p: Sequence[float]) -> None:
        """Puts item n at p."""
        self._node.trees_move(n, _point(p))

    setPosition = move

    def setRotation(self, n: int, angle: Sequence[float]) -> None:
        """Turns item n so that getRotation gives these angles."""
        self._node.trees_set_rotation(n, _point(angle))

    def setWidth(self, n: int, width: float) -> None:
        """The depth keeps its proportion to the width."""
        self._node.trees_set_width(n, width)

    def setHeight(self, n: int, height: float) -> None:
        """Stretches item n along its own z axis."""
        self._node.trees_set_height(n, height)

    def setSize(self, n: int, size: Sequence[float]) -> None:
        """Width, depth and height."""
        self._node.trees_set_size(n, _point(size))

    def setGeomID(self, n: int, geomid: int) -> None:
        """Shows another row of the geometry list; below 1 the first."""
        self._node.trees_set_geometry(n, geomid)

    def setSeed(self, n: int, seed: int) -> None:
        """Draws the item's random values anew."""
        self._node.trees_set_seed(n, seed)

    def getPosition(self, n: int) -> Point:
        """Where item n is kept."""
        return _triple(self._node.trees_position(n))

    def getWidth(self, n: int) -> float:
        """The item's width as built."""
        return self.getSize(n)[0]

    def getHeight(self, n: int) -> float:
        """The item's height as built."""
        return self.getSize(n)[2]

    def getSize(self, n: int) -> Point:
        """Width, depth and height as built."""
        return _triple(self._node.trees_size(n))

    def getRotation(self, n: int) -> Point:
        """The item's turn as built."""
        return _triple(self._node.trees_rotation(n))

    def getGeomID(self, n: int) -> int:
        """The row of the geometry list, from 1."""
        return self._node.trees_geometry(n)

    def getSeed(self, n: int) -> int:
        """The seed of the item's random values."""
        return self._node.trees_seed(n)

    def getFullTransform(self, n: int) -> Array:
        """From the specimen to the object's space, four rows of three numbers."""
        return self._node.trees_full_transform(n)

    def getSelected(self) -> list[int]:
        """The numbers of the selected items."""
        return self._node.trees_selected()

    def update(self) -> None:
        """Builds the items as they are now."""
        self._node.trees_update()

    def update_ui(self) -> None:
        """Tells panels that show the object to look again."""
        self._node.trees_update_ui()


def _point(p: Sequence[float]) -> Point:
    x, y, z = (float(c) for c in p)
    return x, y, z


def _triple(p: Sequence[float]) -> Point:
    return p[0], p[1], p[2]
