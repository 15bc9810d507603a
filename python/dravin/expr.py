"""Effect programs outside any scene: checking them, and running them on one item."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any, Union

from . import _engine
from ._errors import FailedError

Value = Union[int, float, tuple[float, float, float]]


@dataclass
class Run:
    """What a program did: what it printed, and the attributes of the item that it assigned, with
    their values as `print` writes them."""

    output: str
    attributes: dict[str, str] = field(default_factory=dict)

    def __str__(self) -> str:
        """The text that `dravin effect run` prints."""
        lines = self.output.splitlines()
        lines += ['dpItem.%s = %s' % pair for pair in self.attributes.items()]
        return '\n'.join(lines)


def check(text: str) -> None:
    """Compiles a program or an effect definition in XML. Raises FailedError with the place, the
    line and a caret where it does not compile."""
    _run(text, True, [], 0)


def run(text: str, *, seed: int = 123456, **values: Any) -> Run:
    """Runs a program on one default item whose generator starts with `seed`. values: of parameters
    by name: numbers, or three of them for a vector."""
    return _run(text, False, ['%s=%s' % (name, _text(value)) for name, value in values.items()],
                seed)


def _text(value: Any) -> str:
    if isinstance(value, str):
        return value
    if hasattr(value, '__len__'):
        return '[%s]' % ','.join(_text(part) for part in value)
    return repr(int(value)) if isinstance(value, (bool, int)) else repr(float(value))


def _run(text: str, check_only: bool, values: list[str], seed: int) -> Run:
    output, attributes, error = _engine.effect(text, check_only, values, seed)
    if error:
        raise FailedError(error.decode('utf-8', 'replace').rstrip('\n'))
    return Run(output.decode('utf-8', 'replace'), dict(attributes))
