"""What a build gives: status, statistics, and the items as arrays."""

from __future__ import annotations

from collections.abc import Iterator, Mapping
from typing import Any

import numpy

from . import _engine
from ._display import table


class Items(Mapping[str, Any]):
    """The items of one build, one NumPy array a field: `items.position` is (n, 3) float32, as is
    `items['position']`. Fields that the build keeps in one piece are views of its own memory, the
    others are made when they are asked for. Nobody writes to them. Arrays stay as they are when the
    object is built again or goes away; fields that are worked out on demand must be read before
    then."""

    def __init__(self, built: _engine.BuiltItems) -> None:
        self._built = built

    @property
    def fields(self) -> list[str]:
        """The names of all fields."""
        return _engine.item_fields()

    def is_view(self, name: str) -> bool:
        """Whether the array of a field lies in the build's own memory, so that it costs nothing."""
        return self._built.is_view(name)

    def __getitem__(self, name: str) -> Any:
        return self._built.field(name)

    def __getattr__(self, name: str) -> Any:
        if name.startswith('_'):
            raise AttributeError(name)
        try:
            return self._built.field(name)
        except KeyError as error:
            raise AttributeError(error.args[0]) from None

    def __dir__(self) -> list[str]:
        return [*super().__dir__(), *self.fields]

    def __iter__(self) -> Iterator[str]:
        return iter(self.fields)

    def __len__(self) -> int:
        """How many items there are, discarded ones included."""
        return len(self._built)

    def __bool__(self) -> bool:
        return len(self._built) > 0

    def __eq__(self, other: object) -> bool:
        return self is other

    __hash__ = object.__hash__

    def __repr__(self) -> str:
        return '<dravin.Items: %d items, %d fields>' % (len(self), len(self.fields))

    def _repr_html_(self) -> str:
        names = ['position', 'width', 'height', 'seed', 'specimen_index', 'discarded']
        shown = min(len(self), 10)
        columns = [numpy.asarray(self[name])[:shown] for name in names]
        rows = [[i, *(column[i] for column in columns)] for i in range(shown)]
        return table(['item', *names], rows) + '<p>%d items</p>' % len(self)


class Result:
    """The outcome of one build. It keeps what it tells, whatever is built afterwards."""

    def __init__(self, built: _engine.BuiltItems) -> None:
        self._built = built
        self._items = Items(built)

    @property
    def status(self) -> int:
        """0: all is well; 11: the object is off; the others are told in `message`."""
        return self._built.status

    @property
    def message(self) -> tuple[str, str]:
        """The two lines that a panel shows; empty where there is nothing to say."""
        return self._built.message

    @property
    def statistics(self) -> dict[str, Any]:
        """Counts and times, with the keys of the result files."""
        return self._built.statistics

    @property
    def time(self) -> int:
        """The time of the build in ticks."""
        return self._built.time

    @property
    def render(self) -> bool:
        """Whether this is what a render shows, not a viewport."""
        return self._built.render

    @property
    def items(self) -> Items:
        """The items; none when the build failed."""
        return self._items

    def __len__(self) -> int:
        return len(self._items)

    def __bool__(self) -> bool:
        return True

    def __repr__(self) -> str:
        text = ' '.join(line for line in self.message if line)
        return '<dravin.Result: status %d, %d items%s>' % (
            self.status, len(self), ', "%s"' % text if text else '')

    def _repr_html_(self) -> str:
        rows: list[list[Any]] = [['status', self.status], ['message', ' '.join(self.message)],
                                 *([key, value] for key, value in self.statistics.items() if key != 'rejected')]
        return table(['build', ''], rows)
