"""Values on their way into scene descriptions."""

from __future__ import annotations

import json
from typing import Any

import numpy

from . import _engine


def plain(value: Any) -> Any:
    """The value as parameters take it: nodes as handles, arrays as lists."""
    handle = getattr(value, '_handle', None)
    if isinstance(handle, _engine.Node):
        return handle
    if isinstance(value, (numpy.ndarray, numpy.generic)):
        return value.tolist()
    if isinstance(value, (list, tuple)):
        return [plain(one) for one in value]
    return value


def _described(value: Any) -> Any:
    handle = getattr(value, '_handle', None)
    if isinstance(handle, _engine.Node):
        return handle.name
    if isinstance(value, (numpy.ndarray, numpy.generic)):
        return value.tolist()
    if hasattr(value, 'keys') and hasattr(value, '__getitem__'):
        return {key: value[key] for key in value.keys()}
    if hasattr(value, '__fspath__'):
        return value.__fspath__()
    raise TypeError('a value of the type %s has no place in a scene description'
                    % type(value).__name__)


def to_json(value: Any) -> str:
    """The value as the text of a scene description: nodes by name, arrays as lists."""
    return json.dumps(value, default=_described, allow_nan=False)
