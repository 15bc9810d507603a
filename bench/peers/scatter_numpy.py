"""A scatter as one writes it in NumPy: a million items on a hilly land, with the transforms of the
benchmark GridRebuild. One thread.

It has less to do: the land is a height image, not a mesh, and there is one stream of random numbers
instead of one an item. Places are read bilinearly, normals are those of the image's slope."""

import time

import numpy as np

LENGTH, WIDTH, ITEMS = 1000, 500, 1000000
SIZE = 1.0  # of the model


def land():
    x, y = np.meshgrid(np.arange(LENGTH + 1.0), np.arange(WIDTH + 1.0))
    return (18 * np.sin(0.013 * x) * np.cos(0.017 * y) + 5 * np.sin(0.061 * x + 0.047 * y)
            + 1.2 * np.sin(0.31 * x) * np.sin(0.27 * y)
            + 0.3 * np.sin(1.1 * x + 2 * np.sin(0.9 * y))).astype(np.float32)


def places(random):
    """Cell centres, moved by up to a fifth of the size."""
    cell = np.sqrt(LENGTH * WIDTH / ITEMS)
    columns, rows = int(LENGTH / cell), int(WIDTH / cell)
    x, y = np.meshgrid((np.arange(columns, dtype=np.float32) + 0.5) * np.float32(cell),
                       (np.arange(rows, dtype=np.float32) + 0.5) * np.float32(cell))
    p = np.stack([x.ravel(), y.ravel()], axis=1)
    p += (random.random(p.shape, dtype=np.float32) - np.float32(0.5)) * np.float32(0.4 * SIZE)
    return np.clip(p, 0, np.float32([LENGTH - 0.01, WIDTH - 0.01]), out=p)


def project(heights, p):
    """Height and upward normal."""
    i = p.astype(np.int32)
    u, v = (p - i).T
    a, b = heights[i[:, 1], i[:, 0]], heights[i[:, 1], i[:, 0] + 1]
    c, d = heights[i[:, 1] + 1, i[:, 0]], heights[i[:, 1] + 1, i[:, 0] + 1]
    z = (a * (1 - u) + b * u) * (1 - v) + (c * (1 - u) + d * u) * v
    normal = np.stack([-((b - a) * (1 - v) + (d - c) * v), -((c - a) * (1 - u) + (d - b) * u),
                       np.ones_like(z)], axis=1)
    return z, normal / np.sqrt((normal * normal).sum(axis=1))[:, None]


def turned(angles):
    """Rows of the rotations about x, then y, then z."""
    (sx, sy, sz), (cx, cy, cz) = np.sin(angles).T, np.cos(angles).T
    r = np.empty((len(angles), 3, 3), np.float32)
    r[:, 0] = np.stack([cy * cz, cy * sz, -sy], axis=1)
    r[:, 1] = np.stack([sx * sy * cz - cx * sz, sx * sy * sz + cx * cz, sx * cy], axis=1)
    r[:, 2] = np.stack([cx * sy * cz + sx * sz, cx * sy * sz - sx * cz, cx * cy], axis=1)
    return r


def aligned(r, normal):
    """The rotations tilted halfway to the normals: about the axis from the vertical to halfway."""
    half = normal + np.float32([0, 0, 1])
    half /= np.sqrt((half * half).sum(axis=1))[:, None]
    x, y, c = half.T
    k = 1 / (1 + c)
    tilt = np.empty_like(r)
    tilt[:, 0] = np.stack([1 - x * x * k, -x * y * k, -x], axis=1)
    tilt[:, 1] = np.stack([-x * y * k, 1 - y * y * k, -y], axis=1)
    tilt[:, 2] = np.stack([x, y, c], axis=1)
    return np.matmul(r, tilt)


def scatter(heights, seed):
    random = np.random.default_rng(seed)
    p = places(random)
    count = len(p)
    z, normal = project(heights, p)
    span = np.float32(np.radians([10, 10, 359]))
    low = np.float32(np.radians([-5, -5, 0]))
    rotation = aligned(turned(low + span * random.random((count, 3), dtype=np.float32)), normal)
    scale = np.float32(0.8) + np.float32(0.4) * random.random((count, 1), dtype=np.float32)
    scale = np.repeat(scale, 3, axis=1)
    scale[random.random(count, dtype=np.float32) < 0.5, 0] *= -1  # mirrored
    transform = np.empty((count, 4, 3), np.float32)
    transform[:, :3] = rotation * scale[:, :, None]
    transform[:, 3, :2] = p
    transform[:, 3, 2] = z
    tint = random.random(count, dtype=np.float32) * np.float32(0.5)
    specimen = random.integers(0, 2, count, dtype=np.int32)
    return transform, tint, specimen


def check(heights):
    transform, _, _ = scatter(heights, 1)
    lengths = np.linalg.norm(transform[::1000, :3], axis=2)
    assert lengths.min() > 0.79 and lengths.max() < 1.21  # rotations keep lengths
    assert abs(np.linalg.det(transform[::1000, :3])).min() > 0.79 ** 3
    return len(transform)


heights = land()
count = check(heights)
start = time.perf_counter()
scatter(heights, 2)
print('scatter script\tNumPy %s\t%g' % (np.__version__, count / (time.perf_counter() - start) / 1e6))
