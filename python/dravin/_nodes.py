"""Nodes of a scene, and scatter objects among them."""

from __future__ import annotations

import json
import os
from collections.abc import Callable, Mapping, Sequence
from typing import TYPE_CHECKING, Any, Optional, Union

import numpy

from . import _engine
from ._display import Array
from ._results import Result
from ._rows import RowList
from ._trees import Trees, Ui
from ._values import plain, to_json

if TYPE_CHECKING:
    from ._scene import Scene

Progress = Callable[[float], Any]
Path = Union[str, 'os.PathLike[str]']


class Node:
    """A named place in a scene that shows an object. Nodes are made by their scene; two handles of
    one node are equal."""

    def __init__(self, scene: Scene, handle: _engine.Node) -> None:
        self._scene, self._handle = scene, handle

    @property
    def scene(self) -> Scene:
        """The scene that the node belongs to."""
        return self._scene

    @property
    def alive(self) -> bool:
        """False once the node has been deleted; everything else then raises."""
        return self._handle.alive

    @property
    def name(self) -> str:
        """The name, unique in its scene."""
        return self._handle.name

    @name.setter
    def name(self, name: str) -> None:
        self._handle.name = name

    @property
    def type(self) -> str:
        """The type as scene descriptions name it: "mesh", "plane", "dravin"."""
        return self._handle.type

    @property
    def transform(self) -> Array:
        """The place in the world at the scene's time: four rows of three numbers (x axis, y axis, z
        axis, translation; points are rows, point times matrix). A copy: assign to change it."""
        return self._handle.transform(self._scene.time)

    @transform.setter
    def transform(self, rows: Any) -> None:
        self._handle.set_transform(rows)

    @property
    def position(self) -> Array:
        """The translation of `transform`. A copy: assign to change it."""
        place: Array = self.transform[3]
        return place

    @position.setter
    def position(self, position: Any) -> None:
        rows = self.transform
        rows[3] = position
        self.transform = rows

    @property
    def hidden(self) -> bool:
        """The node's own switch at the scene's time."""
        return self._handle.hidden

    @hidden.setter
    def hidden(self, hidden: bool) -> None:
        self._handle.hidden = hidden

    @property
    def renderable(self) -> bool:
        """Whether pictures show the node."""
        return self._handle.renderable

    @renderable.setter
    def renderable(self, renderable: bool) -> None:
        self._handle.renderable = renderable

    @property
    def parent(self) -> Optional[Node]:
        """The node above; assigning keeps the place in the world."""
        above = self._handle.parent
        return None if above is None else self._scene._node(above)

    @parent.setter
    def parent(self, parent: Union[Node, str, None]) -> None:
        above: Optional[Node] = self._scene[parent] if isinstance(parent, str) else parent
        self._handle.parent = None if above is None else above._handle

    @property
    def material(self) -> Optional[str]:
        """The name of the node's material in its scene; None for none of its own."""
        return self._handle.material

    @material.setter
    def material(self, name: Optional[str]) -> None:
        self._handle.material = name

    def set_keys(self, part: str, keys: Sequence[Sequence[Any]], *, interpolation: str = 'linear',
                 before: str = 'hold', after: str = 'hold') -> None:
        """Animates "position", "rotation" (degrees about X, then Y, then Z), "scale" or "hidden".
        keys: (ticks, value) pairs with rising times, or (ticks, value, in, out) with the
        interpolation "bezier"; 4800 ticks are a second."""
        if part not in ('position', 'rotation', 'scale', 'hidden'):
            raise ValueError('"%s" has no keys; expected "position", "rotation", "scale" or "hidden"'
                             % part)
        self._handle.set_keys(part, _keys(keys, interpolation, before, after))

    def mesh(self, time: Optional[int] = None) -> tuple[Array, Array]:
        """Vertices (n, 3) and faces (m, 3) that the node shows, in its own space; copies. Empty
        where it shows no mesh."""
        return self._handle.mesh(self._scene.time if time is None else time)

    def extract_outline(self) -> Node:
        """A new node "Outline", or that with a number, with the simplified outline that the node's
        uppermost "DravinLeaf" modifier makes of its spline at the scene's time."""
        return self._scene._node(self._handle.extract_outline())

    def delete(self) -> None:
        """Takes the node out of its scene; its children move up to its parent."""
        self._scene.delete(self)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Node) and self._handle == other._handle

    def __hash__(self) -> int:
        return hash(self._handle)

    def __repr__(self) -> str:
        state = '' if self.alive else ' (deleted)'
        return '<dravin.%s "%s"%s>' % (type(self).__name__, self.name, state)


def _keys(keys: Sequence[Sequence[Any]], interpolation: str, before: str, after: str) -> str:
    return to_json({'keys': list(keys), 'interpolation': interpolation, 'before': before,
                    'after': after})


class Dravin(Node):
    """A scatter object. Parameters are read and written by their internal names (`dravin schema`
    lists them): `forest['seed'] = 7`, `forest['surflist'] = ['ground']`."""

    def __getitem__(self, name: str) -> Any:
        """The parameter's value at the scene's time: lists as lists, nodes as nodes, maps and
        materials by name, None for none. A KeyError, with a suggestion, for an unknown name."""
        return self._wrapped(self._handle.get(name))

    def _wrapped(self, value: Any) -> Any:
        if isinstance(value, _engine.Node):
            return self._scene._node(value)
        return [self._wrapped(one) for one in value] if isinstance(value, list) else value

    def __setitem__(self, name: str, value: Any) -> None:
        """Nodes may be given by name or as nodes, None empties them. A number outside the range is
        clamped with a warning, a value of the wrong type raises and changes nothing. An image as an
        array becomes a texture map where one is expected (Scene.add_bitmap)."""
        if isinstance(value, dict):
            self._handle.set_param_keys(name, to_json(value))
        elif isinstance(value, numpy.ndarray) and value.ndim >= 2:
            self._handle.set(name, self._scene._map_of(self, name, value))
        else:
            self._handle.set(name, plain(value))

    def set_param_keys(self, name: str, keys: Sequence[Sequence[Any]], *,
                       interpolation: str = 'linear', before: str = 'hold',
                       after: str = 'hold') -> None:
        """Animates a parameter, as `set_keys` does a place."""
        self._handle.set_param_keys(name, _keys(keys, interpolation, before, after))

    @property
    def geometry(self) -> RowList:
        """What is scattered, a row a specimen."""
        return RowList(self._handle, 'geometry')

    @geometry.setter
    def geometry(self, rows: Sequence[Any]) -> None:
        self.geometry._write(rows)

    @property
    def areas(self) -> RowList:
        """Where items stand, a row an area."""
        return RowList(self._handle, 'areas')

    @areas.setter
    def areas(self, rows: Sequence[Any]) -> None:
        self.areas._write(rows)

    @property
    def effects(self) -> RowList:
        """The programs that run over the items."""
        return RowList(self._handle, 'effects')

    @effects.setter
    def effects(self, rows: Sequence[Any]) -> None:
        self.effects._write(rows)

    @property
    def curves(self) -> dict[str, Any]:
        """The falloff curves by name, each a list of points. Assigned curves replace those of their
        names; two numbers stand for a straight line."""
        curves: dict[str, Any] = json.loads(self._handle.rows('curves', False)) or {}
        return curves

    @curves.setter
    def curves(self, curves: Mapping[str, Any]) -> None:
        self._handle.set_rows('curves', to_json(dict(curves)))

    @property
    def stored_items(self) -> list[dict[str, Any]]:
        """The hand-edited items, which count while `mode` is 1. A copy: assign to change them."""
        items: list[dict[str, Any]] = json.loads(self._handle.rows('items', False)) or []
        return items

    @stored_items.setter
    def stored_items(self, items: Sequence[Mapping[str, Any]]) -> None:
        self._handle.set_rows('items', to_json([dict(item) for item in items]))

    @property
    def deltas(self) -> list[dict[str, Any]]:
        """Changes of single generated items, which count while `mode` is 0: dictionaries with the
        item field `id`, and "delete": True or any of "move", "rotate" (degrees), "scale" and
        "geometry" (a row by number or name). A copy: assign to change them. What became of them
        stands in a result's `statistics['deltas']`."""
        deltas: list[dict[str, Any]] = json.loads(self._handle.rows('deltas', False)) or []
        return deltas

    @deltas.setter
    def deltas(self, deltas: Sequence[Mapping[str, Any]]) -> None:
        self._handle.set_rows('deltas', to_json([dict(delta) for delta in deltas]))

    @property
    def trees(self) -> Trees:
        """The published functions over the items of this object, and for its renderers."""
        return Trees(self._handle, self._scene._node)

    @property
    def ui(self) -> Ui:
        """The published functions of the object's panel."""
        return Ui(self._handle)

    def render_begin(self, t: Optional[int] = None) -> None:
        """A renderer of instances begins: builds the object at time t (the scene's when left out)
        with render settings. Afterwards trees.getRenderNodes has its records."""
        self._handle.render_begin(self._scene.time if t is None else t)

    def render_end(self, t: Optional[int] = None) -> None:
        """The render ends; its records go, and views show the object by their settings again."""
        self._handle.render_end(self._scene.time if t is None else t)

    def build(self, time: Optional[int] = None, viewport: bool = False, threads: int = 0, *,
              no_limit: bool = False, progress: Optional[Progress] = None) -> Result:
        """Builds the items: those of a render, or those that a viewport shows.

        time: ticks; the scene's when left out. threads: 0 as the parameters say; the items are the
        same with any number. no_limit: as the command line's --no-limit. progress: called with
        0..1 now and then; what it raises cancels the build, and so does Ctrl-C. Other Python
        threads run meanwhile.

        A build that ends with nothing to show has a result too: its `status` is not 0, and a
        warning says why. What a limit refuses raises LimitError."""
        return Result(self._handle.build(time, viewport, threads, no_limit, progress))

    def export(self, path: Path, **options: Any) -> None:
        """Builds the object and writes it, by the ending of the path: items (.json, .csv, .npz),
        instances (.gltf, .glb, .usda) or the mesh (.obj, .ply). Options as Scene.build."""
        self._scene._write([path], self.name, **options)


__all__ = ['Dravin', 'Node', 'Path', 'Progress']
