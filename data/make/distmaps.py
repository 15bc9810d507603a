"""The distribution-map library: small grey images, white where items stand, and their index.

Each map tiles the plane. One pixel is one possible item, so the images are a few pixels for regular
patterns and up to 128 for random ones.
"""

import os

import numpy as np

from images import write_bmp
from noise import tiling_noise


def _points(size, positions):
    image = np.zeros((size[1], size[0]), np.uint8)
    for x, y in positions:
        image[y % size[1], x % size[0]] = 255
    return image


def _spaced(size, distance, seed, tries=6000):
    """Points of a torus no closer than `distance`, by throwing darts."""
    random = np.random.RandomState(seed)
    kept = np.zeros((0, 2))
    for candidate in random.randint(0, size, (tries, 2)):
        d = np.abs(kept - candidate)
        d = np.minimum(d, size - d)
        if not len(kept) or (np.hypot(d[:, 0], d[:, 1]) >= distance).all():
            kept = np.vstack([kept, candidate])
    return _points((size, size), kept.astype(int))


def _chance(probability, seed):
    random = np.random.RandomState(seed)
    return ((random.random_sample(probability.shape) < probability) * 255).astype(np.uint8)


def _clumps(seed, size=96, count=9, spread=6.0, per_clump=26):
    random = np.random.RandomState(seed)
    centers = random.randint(0, size, (count, 2))
    offsets = random.normal(0, spread, (count, per_clump, 2))
    return _points((size, size), (centers[:, None] + offsets).round().astype(int).reshape(-1, 2))


def make_maps():
    size = 64
    ramp = np.linspace(0, 1, size)
    y, x = np.mgrid[0:size, 0:size]
    radius = np.hypot(x - (size - 1) / 2, y - (size - 1) / 2) / (size / 2)
    soft = tiling_noise(128, 4, 4, seed=31)
    fine = tiling_noise(128, 16, 3, seed=32)
    white = np.full((32, 32), 255, np.uint8)
    return [
        ('Dense', 'dense.bmp', white),
        ('Sparse', 'sparse.bmp', _spaced(64, 8, 1)),
        ('Very Sparse', 'sparse_very.bmp', _spaced(96, 22, 2)),
        ('Random 25%', 'random_25.bmp', _chance(np.full((size, size), 0.25), 3)),
        ('Random 50%', 'random_50.bmp', _chance(np.full((size, size), 0.5), 4)),
        ('Even Spacing', 'even_spacing.bmp', _spaced(96, 4, 5, tries=20000)),
        ('Checker', 'checker.bmp', _points((2, 2), [(0, 0), (1, 1)])),
        ('Grid', 'grid.bmp', _points((4, 4), [(0, 0)])),
        ('Rows', 'rows.bmp', _points((4, 4), [(i, 0) for i in range(4)])),
        ('Double Rows', 'rows_double.bmp',
         _points((8, 8), [(i, j) for i in range(8) for j in (0, 2)])),
        ('Staggered Rows', 'rows_staggered.bmp', _points((4, 4), [(0, 0), (2, 2)])),
        # Places 8 apart in rows 7 apart, every other row shifted by 4: within 1 % of equal
        # distances, and square, so that a locked aspect keeps them.
        ('Hexagonal', 'hexagonal.bmp',
         _points((56, 56), [(8 * i + 4 * (j % 2), 7 * j) for i in range(7) for j in range(8)])),
        ('Orchard', 'orchard.bmp', _points((6, 6), [(0, 0), (3, 0), (0, 3)])),
        ('Vineyard', 'vineyard.bmp', _points((12, 12), [(i, j) for i in range(10) for j in (0, 4, 8)])),
        ('Border', 'border.bmp',
         _points((32, 32), [(i, 0) for i in range(32)] + [(0, i) for i in range(32)])),
        ('Clumps', 'clumps.bmp', _clumps(11)),
        ('Tight Clumps', 'clumps_tight.bmp', _clumps(12, count=16, spread=2.4, per_clump=20)),
        ('Patches', 'patches.bmp', ((soft > 0.52) * 255).astype(np.uint8)),
        ('Glades', 'glades.bmp', ((soft < 0.62) * 255).astype(np.uint8)),
        ('Gradient', 'gradient.bmp', np.repeat((ramp[None, :] * 255).round().astype(np.uint8),
                                               size, axis=0)),
        ('Gradient Scatter', 'gradient_scatter.bmp', _chance(np.tile(ramp, (size, 1)), 13)),
        ('Radial', 'radial.bmp', _chance(np.clip(1 - radius, 0, 1), 14)),
        ('Noise', 'noise.bmp', (soft * 255).round().astype(np.uint8)),
        ('Fine Noise', 'noise_fine.bmp', (fine * 255).round().astype(np.uint8)),
        ('Streaks', 'streaks.bmp',
         _chance(np.clip(tiling_noise(96, 3, 4, seed=33, stretch=6) * 2 - 0.7, 0, 1), 15)),
    ]


def write_library(folder):
    os.makedirs(folder, exist_ok=True)
    lines = ['Dravin Pack distribution maps: display name;file']
    for name, file, image in make_maps():
        write_bmp(os.path.join(folder, file), image)
        lines.append(name + ';' + file)
    with open(os.path.join(folder, 'index.dat'), 'w', encoding='utf-8', newline='\n') as index:
        index.write('\n'.join(lines) + '\n')
