"""Plants of the ground, and stones: blades and petals as real triangles, fronds as cards."""

import numpy as np

from meshes import MeshBuilder, unit
from noise import fractal3, tiling_noise
from painting import Canvas

UP = np.array([0, 0, 1.0])


def palette(columns, size=64):
    """An image of vertical colour ramps: one column a (bottom, middle, top) triple."""
    image = np.zeros((size, size, 3))
    t = np.linspace(1, 0, size)[:, None]
    width = size // len(columns)
    for i, (low, middle, high) in enumerate(columns):
        low, middle, high = (np.asarray(c, float) for c in (low, middle, high))
        ramp = np.where(t < 0.5, low + (middle - low) * t * 2, middle + (high - middle) * (2 * t - 1))
        image[:, i * width:(i + 1) * width if i + 1 < len(columns) else size] = ramp[:, None]
    return image.clip(0, 255).astype(np.uint8)


def column(i, n):
    """The rectangle of one column of a palette, its edges left out."""
    return ((i + 0.25) / n, 0.01, (i + 0.75) / n, 0.99)


def add_blades(mesh, random, count, radius, height, width, lean, rect_of, segments, curve=0.35):
    for _ in range(count):
        a, r = random.uniform(0, 2 * np.pi), radius * np.sqrt(random.random_sample())
        out = np.array([np.cos(a), np.sin(a), 0])
        tilt = random.normal(0, lean)
        face = random.uniform(0, np.pi)
        h = height * random.uniform(0.55, 1.1)
        bend_way = np.array([np.cos(face + np.pi / 2), np.sin(face + np.pi / 2), 0])
        mesh.add_blade(out * r, unit(UP + out * (0.25 * r / max(radius, 1e-6)) + bend_way * tilt),
                       [np.cos(face), np.sin(face), 0], h, width * random.uniform(0.7, 1.3),
                       rect_of(random), bend_way * random.uniform(0.1, 1) * curve - UP * curve * 0.35,
                       segments, UP + out * 0.25 + bend_way * 0.15)


class Grass:
    def __init__(self, seed, blades, radius, height, width, columns, lean=0.22, curve=0.35,
                 heads=0, head_column=0, head_width=2.2):
        self.__dict__.update(locals())

    def grow(self, level):
        random = np.random.RandomState(self.seed)
        mesh = MeshBuilder()
        share, grow, segments = [(1, 1, 4), (0.4, 1.7, 2), (0.14, 2.8, 1)][level]
        n = len(self.columns)
        plain = n - (1 if self.heads else 0)
        add_blades(mesh, random, max(3, int(self.blades * share)), self.radius, self.height,
                   self.width * grow, self.lean, lambda r: column(r.randint(plain), n), segments,
                   self.curve)
        # Seed heads on stalks above the blades.
        for _ in range(max(1, int(self.heads * share)) if self.heads else 0):
            a = random.uniform(0, 2 * np.pi)
            out = np.array([np.cos(a), np.sin(a), 0])
            base, h = out * self.radius * random.uniform(0, 0.8), self.height * random.uniform(1, 1.4)
            way = unit(UP + out * random.uniform(0, 0.3))
            side = np.array([-out[1], out[0], 0])
            mesh.add_blade(base, way, side, h, self.width * 0.6 * grow, column(0, n), out * 0.06, 2,
                           UP)
            mesh.add_card(base + way * h * 0.72 + out * h * 0.04, way, side, h * 0.3,
                          self.width * self.head_width * grow, column(self.head_column, n), UP + out * 0.3)
        return mesh


class Flowers:
    """Stalks with a round flower each, and low leaves between them."""

    def __init__(self, seed, stalks, radius, height, petals, petal, cup, columns, eye=0.3,
                 leaves=24):
        self.__dict__.update(locals())

    def grow(self, level):
        random = np.random.RandomState(self.seed)
        mesh = MeshBuilder()
        share, grow, petals = [(1, 1, self.petals), (0.5, 1.35, 6), (0.25, 1.9, 4)][level]
        stem, leaf, flower, eye = (column(i, 4) for i in range(4))
        add_blades(mesh, random, max(2, int(self.leaves * share)), self.radius, self.height * 0.55,
                   0.012 * grow, 0.35, lambda r: leaf, [3, 2, 1][level])
        for _ in range(max(1, int(self.stalks * share))):
            a, r = random.uniform(0, 2 * np.pi), self.radius * np.sqrt(random.random_sample())
            out = np.array([np.cos(a), np.sin(a), 0])
            h = self.height * random.uniform(0.7, 1.1)
            way = unit(UP + out * random.uniform(0, 0.35))
            mesh.add_blade(out * r, way, [-out[1], out[0], 0], h, 0.006 * grow, stem, out * 0.03, 2,
                           UP + out * 0.4)
            self.add_flower(mesh, out * r + way * h + out * 0.03 * h, random, petals, grow, flower,
                            eye)
        return mesh

    def add_flower(self, mesh, center, random, petals, grow, flower, eye):
        facing = unit(UP + random.normal(0, 0.35, 3))
        s = unit(np.cross(facing, [1, 0.3, 0.1]))
        t = np.cross(facing, s)
        size = self.petal * grow * random.uniform(0.8, 1.15)
        for k in range(petals):
            a = 2 * np.pi * k / petals + 0.3
            out = s * np.cos(a) + t * np.sin(a)
            mesh.add_blade(center, unit(out + facing * self.cup), np.cross(out, facing), size,
                           size * 4.6 / petals, flower, facing * 0.1, 2, facing + out * 0.3)
        if self.eye:
            ring = [center + facing * size * 0.12]
            for k in range(5):
                a = 2 * np.pi * k / 5
                ring.append(center + (s * np.cos(a) + t * np.sin(a)) * size * self.eye)
            uv = ((eye[0] + eye[2]) / 2, 0.6)
            mesh.add(ring, np.tile(facing, (6, 1)), [uv] * 6,
                     [[0, k + 1, (k + 1) % 5 + 1] for k in range(5)])


def frond_atlas(seed, colors, size=256):
    """A fern's frond: leaflets along a midrib, shorter to both ends."""
    canvas = Canvas(size // 2, size, seed)
    canvas.stroke(0.5, 0, 0.5, 0.99, 0.03, 0.008, (96, 110, 50))
    n = 34
    for i in range(n):
        t = 0.07 + 0.91 * i / n
        reach = 0.47 * np.sin(np.pi * (0.1 + 0.9 * t) ** 0.62) ** 0.8 + 0.03
        for side in (-1, 1):
            color = canvas.vary(colors[canvas.random.randint(len(colors))], 0.09)
            canvas.leaf(0.5, t, side * (1.22 - 0.45 * t), reach, 0.062, color, shape=0.6, teeth=0.6)
    return canvas.finish()


class Fern:
    def __init__(self, seed, fronds, length, width):
        self.__dict__.update(locals())

    def grow(self, level):
        random = np.random.RandomState(self.seed)
        mesh = MeshBuilder()
        count, segments, grow = [(self.fronds, 5, 1), (self.fronds * 2 // 3, 3, 1.25),
                                 (max(4, self.fronds // 3), 1, 1.7)][level]
        for i in range(count):
            a = i * 2.39996 + random.uniform(-0.3, 0.3)
            out = np.array([np.cos(a), np.sin(a), 0])
            rise = random.uniform(0.65, 1.5) if i % 3 else random.uniform(1.6, 2.6)
            length = self.length * random.uniform(0.7, 1.1)
            mesh.add_card(out * 0.03, unit(out + UP * rise),
                          [-np.sin(a), np.cos(a), random.normal(0, 0.12)], length,
                          self.width * grow * random.uniform(0.85, 1.1), (0.01, 0.0, 0.99, 1.0),
                          UP + out * 0.5, bend=0.3 * rise ** 0.5, segments=segments)
        return mesh


def icosphere(levels):
    g = (1 + 5 ** 0.5) / 2
    v = [(-1, g, 0), (1, g, 0), (-1, -g, 0), (1, -g, 0), (0, -1, g), (0, 1, g), (0, -1, -g),
         (0, 1, -g), (g, 0, -1), (g, 0, 1), (-g, 0, -1), (-g, 0, 1)]
    f = [(0, 11, 5), (0, 5, 1), (0, 1, 7), (0, 7, 10), (0, 10, 11), (1, 5, 9), (5, 11, 4),
         (11, 10, 2), (10, 7, 6), (7, 1, 8), (3, 9, 4), (3, 4, 2), (3, 2, 6), (3, 6, 8), (3, 8, 9),
         (4, 9, 5), (2, 4, 11), (6, 2, 10), (8, 6, 7), (9, 8, 1)]
    points = [unit(p) for p in v]
    for _ in range(levels):
        middle, finer = {}, []
        for a, b, c in f:
            m = []
            for i, j in ((a, b), (b, c), (c, a)):
                key = (min(i, j), max(i, j))
                if key not in middle:
                    middle[key] = len(points)
                    points.append(unit(points[i] + points[j]))
                m.append(middle[key])
            finer += [(a, m[0], m[2]), (b, m[1], m[0]), (c, m[2], m[1]), tuple(m)]
        f = finer
    return np.array(points), np.array(f)


class Rock:
    """A sphere cut flat by random planes, roughened by noise, and sunk a little into the ground."""

    def __init__(self, seed, size, cuts=14, rough=0.06, sink=0.25, tile=1.2):
        self.__dict__.update(locals())

    def grow(self, level):
        points, faces = icosphere([4, 3, 2][level])
        random = np.random.RandomState(self.seed)
        radius = np.ones(len(points))
        for _ in range(self.cuts):
            n = unit(random.normal(0, 1, 3) * [1, 1, 0.8])
            d = random.uniform(0.55, 0.85)
            radius = np.minimum(radius, d / np.maximum(points @ n, 1e-3))
        radius = radius + self.rough * fractal3(points * 2.2 + self.seed, 4, self.seed)
        p = points * radius[:, None] * np.asarray(self.size) / 2
        p[:, 2] += np.asarray(self.size)[2] / 2 * (1 - 2 * self.sink) * 0.8
        corners = p[faces]
        flat = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
        normals = np.zeros_like(p)
        for k in range(3):
            np.add.at(normals, faces[:, k], flat)
        # Each face takes its mapping from the axis that it looks along most.
        axis = np.abs(flat).argmax(axis=1)
        uv = np.stack([np.stack([c[:, (a + 1) % 3], c[:, (a + 2) % 3]], -1)
                       for c, a in zip(corners, axis)]) / self.tile
        mesh = MeshBuilder()
        # Vertices are shared by faces of one axis, so that a stone stays small.
        keys, inverse = np.unique(np.c_[faces.reshape(-1), np.repeat(axis, 3)], axis=0,
                                  return_inverse=True)
        uvs = np.zeros((len(keys), 2))
        uvs[inverse] = uv.reshape(-1, 2)
        mesh.add(p[keys[:, 0]], normals[keys[:, 0]], uvs, inverse.reshape(-1, 3))
        return mesh


def stone_image(seed, dark, light, lichen, size=256):
    base = tiling_noise(size, 4, 6, seed)
    cracks = np.abs(tiling_noise(size, 6, 4, seed + 1) * 2 - 1) ** 0.5
    spots = np.clip((tiling_noise(size, 9, 4, seed + 2) - 0.62) * 7, 0, 1)[..., None]
    t = (0.65 * base + 0.35 * cracks)[..., None]
    image = np.asarray(dark) * (1 - t) + np.asarray(light) * t
    image = image * (1 - 0.75 * spots) + np.asarray(lichen) * 0.75 * spots
    return ((image / 4).round() * 4).clip(0, 255).astype(np.uint8)
