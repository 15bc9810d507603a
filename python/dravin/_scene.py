"""Scenes: files, nodes, materials, outputs, pictures."""

from __future__ import annotations

import json
import os
from collections.abc import Iterator, Mapping, Sequence
from typing import Any, Optional, Union, overload

import numpy

from . import _engine
from ._display import Array, Picture, make_picture, table
from ._nodes import Dravin, Node, Path, Progress
from ._results import Result
from ._values import to_json


class Nodes(Sequence[Node]):
    """The nodes of a scene as it is now, in the order in which they came."""

    def __init__(self, scene: Scene) -> None:
        self._scene = scene

    def _all(self) -> list[Node]:
        return [self._scene._node(handle) for handle in self._scene._engine.nodes()]

    @overload
    def __getitem__(self, index: int) -> Node: ...
    @overload
    def __getitem__(self, index: slice) -> list[Node]: ...
    def __getitem__(self, index: Union[int, slice]) -> Any:
        return self._all()[index]

    def __len__(self) -> int:
        return len(self._all())

    def __iter__(self) -> Iterator[Node]:
        return iter(self._all())

    def __contains__(self, node: object) -> bool:
        return node in self._all()

    def __repr__(self) -> str:
        return repr(self._all())

    def _repr_html_(self) -> str:
        return table(['name', 'type', 'hidden'], [[n.name, n.type, n.hidden] for n in self])


class Scene:
    """A scene with its nodes, materials and texture maps. `Scene()` is an empty one; several may
    be open side by side. One call works at a time; calls from other threads wait."""

    def __init__(self) -> None:
        self._engine = _engine.Scene.parse('{"dravin_scene": 1}', 'scene', '', None)

    @classmethod
    def _of(cls, engine: _engine.Scene) -> Scene:
        scene = cls.__new__(cls)
        scene._engine = engine
        return scene

    @classmethod
    def load(cls, path: Path, *, progress: Optional[Progress] = None) -> Scene:
        """Opens a scene description (.json). Whole, or an error that names file, line and column."""
        return cls._of(_engine.Scene.open(os.fspath(path), progress))

    @classmethod
    def from_dict(cls, description: Mapping[str, Any], *, folder: Path = '',
                  progress: Optional[Progress] = None) -> Scene:
        """A scene from the content of a scene description. Arrays may stand for lists of numbers;
        files are looked for from `folder` on (the current one)."""
        text = to_json(dict(description))
        return cls._of(_engine.Scene.parse(text, 'scene', os.fspath(folder), progress))

    def to_dict(self) -> dict[str, Any]:
        """The content of the scene's description."""
        content: dict[str, Any] = json.loads(self._engine.describe())
        return content

    def save(self, path: Path) -> None:
        """Writes the scene, whole or not at all: as a description where the path ends with
        ".json", else as a scene file. Maps that were made of arrays become
        image files beside it, named after the scene and the map."""
        path = os.fspath(path)
        for name in self._engine.texmaps():
            if self._engine.bitmap_without_file(name):
                safe = ''.join(c if c.isalnum() or c in '-_' else '_' for c in name)
                self._engine.write_bitmap(name, '%s.%s.exr' % (os.path.splitext(path)[0], safe))
        self._engine.save(path)

    @property
    def time(self) -> int:
        """The current time in ticks, 4800 a second."""
        return self._engine.time

    @time.setter
    def time(self, time: int) -> None:
        self._engine.time = time

    @property
    def nodes(self) -> Nodes:
        """All nodes."""
        return Nodes(self)

    @property
    def objects(self) -> list[Dravin]:
        """The scatter objects among the nodes."""
        return [node for node in self.nodes if isinstance(node, Dravin)]

    def _node(self, handle: _engine.Node) -> Node:
        return (Dravin if handle.is_scatter else Node)(self, handle)

    def __getitem__(self, name: str) -> Any:
        """The node of that name: a Dravin for scatter objects, else a Node. A KeyError, with a
        suggestion, where there is none."""
        return self._node(self._engine.find(name))

    def __contains__(self, name: object) -> bool:
        if isinstance(name, Node):
            return name in self.nodes
        return any(node.name == name for node in self.nodes)

    def __iter__(self) -> Iterator[Node]:
        return iter(self.nodes)

    def __len__(self) -> int:
        return len(self.nodes)

    def __delitem__(self, name: str) -> None:
        self.delete(self[name])

    def delete(self, node: Union[Node, str]) -> None:
        """Takes a node out; whatever names it loses it, its children move up to its parent."""
        chosen: Node = self[node] if isinstance(node, str) else node
        self._engine.delete(chosen._handle)

    def add(self, name: str, type: str, **keys: Any) -> Any:
        """Adds a node of a type of the scene description, with that type's keys: `scene.add('eye',
        'camera', position=[0, -50, 20], fov=60)`. Nodes may be given as nodes."""
        self._engine.add(to_json({'nodes': [{'name': name, 'type': type, **keys}]}), name)
        return self[name]

    def add_plane(self, name: str, width: float, length: float, **keys: Any) -> Node:
        """Adds a plane in XY, centred on its pivot, with mapping channel 1 over [0, 1] x [0, 1]."""
        node: Node = self.add(name, 'plane', width=width, length=length, **keys)
        return node

    def add_box(self, name: str, width: float, length: float, height: float, **keys: Any) -> Node:
        """Adds a box that stands on its pivot."""
        node: Node = self.add(name, 'box', width=width, length=length, height=height, **keys)
        return node

    def add_mesh(self, name: str, vertices: Any, faces: Any, *, uvs: Any = None,
                 smooth: bool = False) -> Node:
        """Adds a mesh of triangles: vertices (n, 3), faces (m, 3) counter-clockwise from outside,
        uvs (n, 2) for mapping channel 1."""
        return self._node(self._engine.add_mesh(name, vertices, faces, uvs, int(smooth)))

    def add_dravin(self, name: str, *, params: Optional[Mapping[str, Any]] = None,
                   **keys: Any) -> Dravin:
        """Adds a scatter object. params: parameters by internal name. keys: `geometry`, `areas`,
        `effects` and what every node takes."""
        node: Dravin = self.add(name, 'dravin', params=dict(params or {}), **keys)
        return node

    @property
    def materials(self) -> list[str]:
        """The names of the materials."""
        return self._engine.materials()

    def add_material(self, name: str, type: str = 'standard', **keys: Any) -> str:
        """Adds a material, or replaces the one of that name: `scene.add_material('leaf',
        diffuse=[0.2, 0.5, 0.1])`. Gives the name, by which nodes and rows take it."""
        self._engine.add(to_json({'materials': {name: {'type': type, **keys}}}), name)
        return name

    @property
    def texmaps(self) -> list[str]:
        """The names of the texture maps."""
        return self._engine.texmaps()

    def add_texmap(self, name: str, type: str, **keys: Any) -> str:
        """Adds a texture map, or replaces the one of that name. Gives the name."""
        self._engine.add(to_json({'texmaps': {name: {'type': type, **keys}}}), name)
        return name

    def add_bitmap(self, name: str, image: Any) -> str:
        """Adds a texture map that shows an array: rows x columns, or with 1 to 4 channels; the
        first row is the top (v = 1). Floats are taken as they are, of bytes and 16-bit numbers the
        largest is 1. The array is copied. Gives the name."""
        self._engine.set_bitmap(name, numpy.asarray(image))
        return name

    def _map_of(self, node: Node, parameter: str, image: Array) -> str:
        name = '%s %s' % (node.name, parameter)
        taken = set(self._engine.texmaps())
        number = 2
        while name in taken and not self._engine.bitmap_without_file(name):
            name = '%s %s %d' % (node.name, parameter, number)
            number += 1
        return self.add_bitmap(name, image)

    def build(self, outputs: Sequence[Path] = (), *, object: str = '', time: Optional[int] = None,
              viewport: bool = False, threads: int = 0, no_limit: bool = False,
              fields: Sequence[str] = (), flat: bool = False, surfaces: bool = False,
              keep_going: bool = False, progress: Optional[Progress] = None) -> dict[str, Result]:
        """Builds all scatter objects, or the one named, and writes the outputs by their endings, as
        `dravin build` does with the options of the same names; nothing is written when a build
        fails. Without outputs it gives the results by the objects' names."""
        options: dict[str, Any] = dict(time=time, viewport=viewport, threads=threads, no_limit=no_limit,
                       progress=progress)
        if outputs:
            self._write(outputs, object, fields=fields, flat=flat, surfaces=surfaces,
                        keep_going=keep_going, **options)
            return {}
        chosen = [self[object]] if object else self.objects
        return {node.name: node.build(**options) for node in chosen}

    def _write(self, outputs: Sequence[Path], object: str, *,
               progress: Optional[Progress] = None, **options: Any) -> None:
        chosen = _engine.BuildOptions()
        chosen.object = object
        chosen.outputs = [os.fspath(path) for path in outputs]
        for name, value in options.items():
            if not hasattr(chosen, name) or name == 'object':
                raise TypeError('unexpected option "%s"' % name)
            setattr(chosen, name, list(value) if name == 'fields' else value)
        _engine.build(self._engine, chosen, progress)

    def render(self, path: Optional[Path] = None, *, size: Optional[tuple[int, int]] = None,
               samples: Optional[int] = None, renderer: str = '', camera: str = '',
               time: Optional[int] = None, threads: int = 0, no_limit: bool = False,
               allow_empty: bool = False, progress: Optional[Progress] = None) -> Picture:
        """Renders the scene; see dravin.render."""
        options = _engine.RenderOptions()
        options.output = '' if path is None else os.fspath(path)
        if size is not None:
            options.width, options.height = (int(n) for n in size)
            if options.width < 1 or options.height < 1:
                raise ValueError('size: expected (width, height) of at least 1')
        if samples is not None and samples < 1:
            raise ValueError('samples: expected at least 1')
        options.samples = samples
        options.renderer, options.camera, options.time = renderer, camera, time
        options.threads, options.no_limit, options.allow_empty = threads, no_limit, allow_empty
        light, display = _engine.render(self._engine, options, progress)
        return make_picture(display, light)

    def run(self, command: str, object: Union[str, Node] = '', *, yes: bool = True,
            progress: Optional[Progress] = None, **arguments: Any) -> Any:
        """Runs a command by its name, as `dravin edit` and menus do, and gives what it gives back.
        object: the node that it works on, or its name; without it the only scatter object. yes: the
        answer to questions that the command asks. dravin.pack.commands() tells which there are."""
        name = object.name if isinstance(object, Node) else object
        return _engine.run(self._engine, command, name, arguments, yes, progress)

    def undo(self) -> None:
        """Takes back the last command. An Error when there is none."""
        self.run('scene.undo')

    def redo(self) -> None:
        """Does again what was taken back last. An Error when there is nothing."""
        self.run('scene.redo')

    def lister(self) -> list[dict[str, str]]:
        """What `dravin info` shows: a row of short texts an object."""
        header, *rows = _engine.lister(self._engine)
        return [dict(zip(header, row)) for row in rows]

    def __repr__(self) -> str:
        return '<dravin.Scene: %d nodes%s>' % (
            len(self), ', "%s"' % self._engine.path if self._engine.path else '')

    def _repr_html_(self) -> str:
        return self.nodes._repr_html_()
