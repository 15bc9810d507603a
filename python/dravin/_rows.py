"""Lists of a scatter object as lists of rows, a row like a dictionary."""

from __future__ import annotations

import json
from collections.abc import Iterable, Iterator, Mapping, MutableMapping, MutableSequence
from typing import Any, Union, overload

from . import _engine
from ._display import table
from ._values import to_json


class Row(MutableMapping[str, Any]):
    """One row. Reading gives what the object holds now, keys with their defaults included; writing
    changes the object at once, or raises and changes nothing. A row keeps its number: after rows
    were inserted or deleted above it, take it from the list again."""

    def __init__(self, rows: RowList, index: int) -> None:
        self._rows, self._index = rows, index

    def _own(self, complete: bool) -> dict[str, Any]:
        rows = self._rows._read(complete)
        if self._index >= len(rows):
            raise IndexError('the row %d is no longer there' % self._index)
        return rows[self._index]

    def __getitem__(self, key: str) -> Any:
        return self._own(True)[key]

    def __setitem__(self, key: str, value: Any) -> None:
        self.update({key: value})

    def __delitem__(self, key: str) -> None:
        rows = self._rows._read(False)
        self._own(True)[key]  # a key that no row has is a mistake
        rows[self._index].pop(key, None)
        self._rows._write(rows)

    def update(self, *args: Any, **keys: Any) -> None:
        """Changes several keys at once."""
        self._own(False)
        rows = self._rows._read(False)
        rows[self._index].update(*args, **keys)
        self._rows._write(rows)

    def __iter__(self) -> Iterator[str]:
        return iter(self._own(True))

    def __len__(self) -> int:
        return len(self._own(True))

    def __repr__(self) -> str:
        return repr(self._own(False))


class RowList(MutableSequence[Any]):
    """The rows of `geometry`, `areas` or `effects`. Rows go in as dictionaries with the keys of the
    scene description."""

    def __init__(self, node: _engine.Node, name: str) -> None:
        self._node, self._name = node, name

    def _read(self, complete: bool) -> list[dict[str, Any]]:
        rows: list[dict[str, Any]] = json.loads(self._node.rows(self._name, complete)) or []
        return rows

    def _write(self, rows: Iterable[Mapping[str, Any]]) -> None:
        self._node.set_rows(self._name, to_json([dict(row) for row in rows]))

    def _index(self, index: int) -> int:
        count = len(self)
        at = index + count if index < 0 else index
        if not 0 <= at < count:
            raise IndexError('row %d of %d' % (index, count))
        return at

    @overload
    def __getitem__(self, index: int) -> Row: ...
    @overload
    def __getitem__(self, index: slice) -> list[Row]: ...
    def __getitem__(self, index: Union[int, slice]) -> Any:
        if isinstance(index, slice):
            return [Row(self, i) for i in range(*index.indices(len(self)))]
        return Row(self, self._index(index))

    def __setitem__(self, index: Any, value: Any) -> None:
        rows = self._read(False)
        if isinstance(index, slice):
            rows[index] = [dict(row) for row in value]
        else:
            rows[self._index(index)] = dict(value)
        self._write(rows)

    def __delitem__(self, index: Union[int, slice]) -> None:
        rows = self._read(False)
        if not isinstance(index, slice):
            index = self._index(index)
        del rows[index]
        self._write(rows)

    def __len__(self) -> int:
        return len(self._read(False))

    def insert(self, index: int, value: Mapping[str, Any]) -> None:
        """Puts a row before the one of that number."""
        rows = self._read(False)
        rows.insert(index, dict(value))
        self._write(rows)

    def __eq__(self, other: object) -> bool:
        if isinstance(other, (RowList, list)):
            return [dict(row) for row in self] == [dict(row) for row in other]
        return NotImplemented

    def __repr__(self) -> str:
        return repr(self._read(False))

    def _repr_html_(self) -> str:
        rows = self._read(False)
        keys = list(dict.fromkeys(key for row in rows for key in row))
        return table(keys, [[row.get(key, '') for key in keys] for row in rows])
