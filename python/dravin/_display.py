"""How notebooks show tables and pictures."""

from __future__ import annotations

import html
import struct
import zlib
from collections.abc import Iterable, Sequence
from typing import Any

import numpy

Array = numpy.ndarray[Any, Any]


def table(header: Sequence[str], rows: Iterable[Iterable[Any]]) -> str:
    """An HTML table; everything in it is text."""
    def line(cells: Iterable[Any], tag: str) -> str:
        return '<tr>%s</tr>' % ''.join('<%s>%s</%s>' % (tag, html.escape(str(cell)), tag)
                                       for cell in cells)

    body = ''.join(line(row, 'td') for row in rows)
    return '<table><thead>%s</thead><tbody>%s</tbody></table>' % (line(header, 'th'), body)


def png(pixels: Array) -> bytes:
    """A PNG file of rows x columns x 3 bytes: each row unfiltered, all of them deflated."""
    def chunk(kind: bytes, data: bytes) -> bytes:
        return (struct.pack('>I', len(data)) + kind + data
                + struct.pack('>I', zlib.crc32(kind + data)))

    height, width, _ = pixels.shape
    rows = numpy.zeros((height, 1 + width * 3), numpy.uint8)
    rows[:, 1:] = pixels.reshape(height, width * 3)
    return (b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 2, 0, 0, 0))
            + chunk(b'IDAT', zlib.compress(rows.tobytes())) + chunk(b'IEND', b''))


class Picture(numpy.ndarray):  # type: ignore[type-arg]
    """A rendered picture: rows x columns x 3 bytes as a screen shows them, top row first. An array
    like any other; notebooks show it. `light` holds the same pixels as linear light (float32)."""

    light: Array

    def __array_finalize__(self, source: Any) -> None:
        self.light = getattr(source, 'light', None)  # type: ignore[assignment]

    def _repr_png_(self) -> Any:
        if self.ndim != 3 or self.shape[2] != 3 or self.dtype != numpy.uint8:
            return None  # a part, or what arithmetic made of it
        return png(numpy.asarray(self))


def make_picture(display: Array, light: Array) -> Picture:
    """The picture with its linear light."""
    picture = display.view(Picture)
    picture.light = light
    return picture
