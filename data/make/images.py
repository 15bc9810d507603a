"""Writers for the image files that ship: PNG, BMP and baseline JPEG, from numpy arrays alone.

Arrays are height x width (grey) or height x width x channels, top row first, uint8 (PNG: uint16
too). The same array gives the same bytes on every machine.
"""

import struct
import zlib

import numpy as np


def write_png(path, image):
    image = np.ascontiguousarray(image)
    if image.ndim == 2:
        image = image[:, :, None]
    height, width, channels = image.shape
    depth = image.dtype.itemsize * 8
    color_type = {1: 0, 2: 4, 3: 2, 4: 6}[channels]
    rows = image.astype('>u2' if depth == 16 else 'u1').reshape(height, -1)
    rows = np.frombuffer(rows.tobytes(), np.uint8).reshape(height, -1)
    # Row filter 2 (difference to the row above) for smooth images, 0 where that is no gain.
    up = np.vstack([rows[:1], rows[1:] - rows[:-1]])
    plain = zlib.compress(np.hstack([np.zeros((height, 1), np.uint8), rows]).tobytes(), 9)
    kinds = np.full((height, 1), 2, np.uint8)
    filtered = zlib.compress(np.hstack([kinds, np.vstack([rows[:1], up[1:]])]).tobytes(), 9)
    data = min(plain, filtered, key=len)

    def chunk(kind, body):
        return (struct.pack('>I', len(body)) + kind + body +
                struct.pack('>I', zlib.crc32(kind + body)))

    header = struct.pack('>IIBBBBB', width, height, depth, color_type, 0, 0, 0)
    with open(path, 'wb') as file:
        file.write(b'\x89PNG\r\n\x1a\n' + chunk(b'IHDR', header) + chunk(b'IDAT', data) +
                   chunk(b'IEND', b''))


def write_bmp(path, gray):
    """8-bit grey with a palette."""
    height, width = gray.shape
    stride = (width + 3) // 4 * 4
    rows = np.zeros((height, stride), np.uint8)
    rows[:, :width] = gray[::-1]
    palette = b''.join(struct.pack('BBBB', i, i, i, 0) for i in range(256))
    offset = 14 + 40 + len(palette)
    with open(path, 'wb') as file:
        file.write(b'BM' + struct.pack('<IHHI', offset + rows.size, 0, 0, offset))
        file.write(struct.pack('<IiiHHIIiiII', 40, width, height, 1, 8, 0, rows.size, 2835, 2835,
                               256, 0))
        file.write(palette + rows.tobytes())


# --- JPEG (ITU T.81, baseline, with the example tables of its annex K) ---

_LUMINANCE = np.array([
    16, 11, 10, 16, 24, 40, 51, 61, 12, 12, 14, 19, 26, 58, 60, 55,
    14, 13, 16, 24, 40, 57, 69, 56, 14, 17, 22, 29, 51, 87, 80, 62,
    18, 22, 37, 56, 68, 109, 103, 77, 24, 35, 55, 64, 81, 104, 113, 92,
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99]).reshape(8, 8)
_DC_COUNTS = [0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0]
_DC_VALUES = list(range(12))
_AC_COUNTS = [0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d]
_AC_VALUES = list(bytes.fromhex(
    '01020300041105122131410613516107227114328191a1082342b1c11552d1f02433627282090a161718191a25'
    '262728292a3435363738393a434445464748494a535455565758595a636465666768696a737475767778797a83'
    '8485868788898a92939495969798999aa2a3a4a5a6a7a8a9aab2b3b4b5b6b7b8b9bac2c3c4c5c6c7c8c9cad2d3'
    'd4d5d6d7d8d9dae1e2e3e4e5e6e7e8e9eaf1f2f3f4f5f6f7f8f9fa'))


def _huffman_codes(counts, values):
    codes, code, k = {}, 0, 0
    for length, count in enumerate(counts, 1):
        for _ in range(count):
            codes[values[k]] = (code, length)
            code, k = code + 1, k + 1
        code <<= 1
    return codes


def _zigzag():
    return sorted(range(64), key=lambda i: (
        i // 8 + i % 8, (i // 8 if (i // 8 + i % 8) % 2 else i % 8)))


def write_jpeg(path, rgb, quality=92):
    """Baseline, three components at full resolution, all with the luminance tables."""
    height, width, _ = rgb.shape
    scale = 5000 / quality if quality < 50 else 200 - 2 * quality
    quant = np.clip((_LUMINANCE * scale + 50) // 100, 1, 255).astype(int)
    zigzag = _zigzag()
    x = rgb.astype(float)
    planes = [0.299 * x[..., 0] + 0.587 * x[..., 1] + 0.114 * x[..., 2] - 128,
              -0.168736 * x[..., 0] - 0.331264 * x[..., 1] + 0.5 * x[..., 2],
              0.5 * x[..., 0] - 0.418688 * x[..., 1] - 0.081312 * x[..., 2]]
    pad = ((0, -height % 8), (0, -width % 8))
    planes = [np.pad(p, pad, 'edge') for p in planes]
    n = np.arange(8)
    basis = np.cos((2 * n[None, :] + 1) * n[:, None] * np.pi / 16) * 0.5
    basis[0] *= np.sqrt(0.5)
    dc_codes = _huffman_codes(_DC_COUNTS, _DC_VALUES)
    ac_codes = _huffman_codes(_AC_COUNTS, _AC_VALUES)
    bits = []

    def put(code, length):
        bits.append(format(code, '0%db' % length) if length else '')

    def put_number(value, size):
        put(value if value > 0 else value + (1 << size) - 1, size)

    previous = [0, 0, 0]
    for by in range(0, planes[0].shape[0], 8):
        for bx in range(0, planes[0].shape[1], 8):
            for c, plane in enumerate(planes):
                block = basis @ plane[by:by + 8, bx:bx + 8] @ basis.T
                values = np.rint(block / quant).astype(int).reshape(64)[zigzag].tolist()
                difference, previous[c] = values[0] - previous[c], values[0]
                size = abs(difference).bit_length()
                put(*dc_codes[size])
                put_number(difference, size)
                run = 0
                last = max([i for i in range(1, 64) if values[i]], default=0)
                for value in values[1:last + 1]:
                    if value == 0:
                        run += 1
                        continue
                    while run > 15:
                        put(*ac_codes[0xf0])
                        run -= 16
                    size = abs(value).bit_length()
                    put(*ac_codes[run << 4 | size])
                    put_number(value, size)
                    run = 0
                if last < 63:
                    put(*ac_codes[0])
    text = ''.join(bits)
    text += '1' * (-len(text) % 8)
    data = int(text, 2).to_bytes(len(text) // 8, 'big').replace(b'\xff', b'\xff\x00')

    def segment(marker, body):
        return struct.pack('>BBH', 0xff, marker, len(body) + 2) + body

    table = bytes([0]) + bytes(quant.reshape(64)[zigzag].tolist())
    frame = struct.pack('>BHHB', 8, height, width, 3) + b''.join(
        bytes([i, 0x11, 0]) for i in (1, 2, 3))
    scan = bytes([3, 1, 0, 2, 0, 3, 0, 0, 63, 0])
    with open(path, 'wb') as file:
        file.write(b'\xff\xd8' + segment(0xe0, b'JFIF\0\1\1\0\0\1\0\1\0\0') + segment(0xdb, table) +
                   segment(0xc0, frame) +
                   segment(0xc4, bytes([0]) + bytes(_DC_COUNTS) + bytes(_DC_VALUES)) +
                   segment(0xc4, bytes([0x10]) + bytes(_AC_COUNTS) + bytes(_AC_VALUES)) +
                   segment(0xda, scan) + data + b'\xff\xd9')
