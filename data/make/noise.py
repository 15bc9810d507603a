"""Gradient-free value noise that tiles, in two and three dimensions."""

import numpy as np


def _fade(t):
    return t * t * t * (t * (t * 6 - 15) + 10)


def tiling_noise(size, cells, octaves, seed, stretch=1):
    """size x size values in [0, 1], stretched to the full range; `stretch` repeats cells along y."""
    random = np.random.RandomState(seed)
    total = np.zeros((size, size))
    amplitude = 1.0
    for octave in range(octaves):
        nx, ny = cells << octave, (cells * stretch) << octave
        lattice = random.random_sample((ny, nx))
        x = np.arange(size) * nx / size
        y = np.arange(size) * ny / size
        ix, iy = x.astype(int), y.astype(int)
        u, v = _fade(x - ix)[None, :], _fade(y - iy)[:, None]
        a = lattice[np.ix_(iy % ny, ix % nx)]
        b = lattice[np.ix_(iy % ny, (ix + 1) % nx)]
        c = lattice[np.ix_((iy + 1) % ny, ix % nx)]
        d = lattice[np.ix_((iy + 1) % ny, (ix + 1) % nx)]
        total += amplitude * ((a * (1 - u) + b * u) * (1 - v) + (c * (1 - u) + d * u) * v)
        amplitude *= 0.5
    low, high = total.min(), total.max()
    return (total - low) / (high - low)


def noise3(points, seed):
    """Value noise in about [-1, 1] at n x 3 points."""
    base = np.floor(points).astype(np.int64)
    f = _fade(points - base)

    def lattice(dx, dy, dz):
        h = ((base[:, 0] + dx) * 73856093 ^ (base[:, 1] + dy) * 19349663 ^
             (base[:, 2] + dz) * 83492791 ^ seed * 2654435761) & 0xffffffff
        for shift, factor in ((16, 0x7feb352d), (15, 0x846ca68b)):
            h = ((h ^ (h >> shift)) * factor) & 0xffffffff
        return (h ^ (h >> 16)) / 2147483648.0 - 1

    result = 0
    for dx in (0, 1):
        for dy in (0, 1):
            for dz in (0, 1):
                weight = ((f[:, 0] if dx else 1 - f[:, 0]) * (f[:, 1] if dy else 1 - f[:, 1]) *
                          (f[:, 2] if dz else 1 - f[:, 2]))
                result = result + weight * lattice(dx, dy, dz)
    return result


def fractal3(points, octaves, seed):
    total, amplitude, scale = 0, 1.0, 1.0
    for octave in range(octaves):
        total = total + amplitude * noise3(points * scale, seed + octave)
        amplitude, scale = amplitude * 0.5, scale * 2.03
    return total
