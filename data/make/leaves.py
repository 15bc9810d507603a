"""Single leaves, ivy, roses and moss: what grows on walls and stones, and what falls from trees.

A leaf is an outline around its middle, cupped and curled, with a picture of its veins. Ivy and roses
lie in the xy plane and look along +z, as items on a wall do; y points up the wall.
"""

import numpy as np

from ground import column, palette
from meshes import MeshBuilder, unit

# Right halves of outlines from the stalk (0, 0) to the tip (0, 1).
MAPLE = [(0.0, 0.0), (0.20, -0.07), (0.44, -0.02), (0.33, 0.13), (0.31, 0.20), (0.50, 0.24),
         (0.54, 0.33), (0.72, 0.45), (0.53, 0.49), (0.49, 0.57), (0.24, 0.47), (0.21, 0.55),
         (0.30, 0.73), (0.17, 0.77), (0.0, 1.02)]
IVY = [(0.0, 0.0), (0.16, -0.12), (0.44, -0.06), (0.38, 0.15), (0.58, 0.34), (0.33, 0.48),
       (0.20, 0.68), (0.0, 1.0)]
OVAL = [(0.0, 0.0), (0.16, 0.10), (0.28, 0.32), (0.29, 0.52), (0.18, 0.80), (0.0, 1.0)]

MIDDLE = np.array([0.0, 0.33])


def outline(half, step=1):
    """The closed outline, counter-clockwise; every `step`-th point of a half, both ends kept."""
    inner = half[1:-1][::step]
    return np.array([half[0]] + inner + [half[-1]] + [(-x, y) for x, y in inner[::-1]])


def leaf_image(half, dark, light, vein, size=128):
    """A leaf's colour over the square that reaches 0.8 to both sides and from -0.2 to 1.1: darker
    in the middle, with veins that run to the lobes."""
    y, x = np.mgrid[0:size, 0:size]
    x, y = (x + 0.5) / size * 1.6 - 0.8, 1.1 - (y + 0.5) / size * 1.3
    points = outline(half)
    away = np.hypot(points[:, 0], points[:, 1])
    tips = [p for i, p in enumerate(points)
            if away[i] > 0.4 and away[i] >= away[i - 1] and away[i] >= away[(i + 1) % len(points)]]
    nearest = np.full(x.shape, 1.0)
    for tip in tips:
        t = np.clip((x * tip[0] + y * tip[1]) / (tip @ tip), 0, 1)
        nearest = np.minimum(nearest, np.hypot(x - t * tip[0], y - t * tip[1]) * (0.8 + 0.7 * t))
    edge = np.clip(np.hypot(x, y - 0.3) / 0.75, 0, 1)[..., None]
    image = np.asarray(dark) * (1 - edge) + np.asarray(light) * edge
    ribs = 0.5 + 0.5 * np.sin(np.arctan2(x, y + 0.1) * 26 + 9 * np.hypot(x, y))
    image = image * (0.93 + 0.1 * ribs[..., None])
    amount = np.clip(1 - nearest / 0.022, 0, 1)[..., None] * 0.75
    image = image * (1 - amount) + np.asarray(vein) * amount
    return ((image / 4).round() * 4).clip(0, 255).astype(np.uint8)


def add_leaf(mesh, half, base, along, normal, length, cup, curl, step=1, rect=(0, 0, 1, 1)):
    """A leaf from its stalk at `base`. The rims rise by `cup`, the tip sinks by `curl` lengths."""
    along = unit(along)
    across = unit(np.cross(along, normal))
    up = np.cross(across, along)
    flat = np.vstack([MIDDLE, outline(half, step)])
    height = cup * flat[:, 0] ** 2 - curl * (flat[:, 1] - 0.2).clip(0) ** 2
    points = np.asarray(base) + length * (
        flat[:, :1] * across + flat[:, 1:] * along + height[:, None] * up)
    u0, v0, u1, v1 = rect
    uv = np.c_[u0 + (u1 - u0) * (flat[:, 0] + 0.8) / 1.6, v0 + (v1 - v0) * (flat[:, 1] + 0.2) / 1.3]
    n = len(flat) - 1
    faces = [[0, 1 + i, 1 + (i + 1) % n] for i in range(n)]
    slope = 2 * cup * flat[:, :1] * across - 2 * curl * (flat[:, 1:] - 0.2).clip(0) * along
    mesh.add(points, up - slope * 0.8, uv, faces)


class Leaf:
    """One fallen leaf with its stalk, lying on the ground with its tip along +y."""

    def __init__(self, seed, half, length, cup, curl, stalk=0.6):
        self.__dict__.update(locals())

    def grow(self, level):
        mesh = MeshBuilder()
        lift = self.length * self.curl * 0.5
        base = np.array([0, -0.4 * self.length, lift])
        add_leaf(mesh, self.half, base, [0, 1, 0], [0, 0, 1], self.length, self.cup, self.curl,
                 [1, 2, 4][level])
        if level == 0:
            mesh.add_blade(base, [0, -1, 0.1], [1, 0, 0], self.length * self.stalk,
                           self.length * 0.03, (0.49, 0.4, 0.51, 0.6), [0.1, 0, 0.05], 2, [0, 0, 1])
        return mesh


class Ivy:
    """A sprig on a wall: leaves lie over each other like shingles, tips down and a little away."""

    def __init__(self, seed, leaves, radius, length):
        self.__dict__.update(locals())

    def grow(self, level):
        random = np.random.RandomState(self.seed)
        mesh = MeshBuilder()
        count, grow, step = [(self.leaves, 1, 1), (self.leaves // 2, 1.35, 2),
                             (self.leaves // 4, 1.9, 4)][level]
        for i in range(count):
            a, r = i * 2.39996, self.radius * np.sqrt((i + 0.5) / count)
            base = np.array([r * np.cos(a), r * np.sin(a), random.uniform(0.015, 0.075)])
            turn = random.normal(0, 0.55)
            along = [np.sin(turn), -np.cos(turn), random.uniform(-0.05, 0.55)]
            normal = unit([random.normal(0, 0.22), random.uniform(0.1, 0.65), 1])
            length = self.length * grow * random.uniform(0.6, 1.2)
            which = random.randint(3) / 3
            add_leaf(mesh, IVY, base, along, normal, length, random.uniform(-0.25, 0.15), 0.18, step,
                     (which, 0, which + 1 / 3, 1))
            if level == 0:
                mesh.add_blade([base[0], base[1], 0.0], base - [base[0], base[1], 0] + [0, 0.02, 0],
                               [1, 0, 0], 0.05, 0.004, (0.15, 0.4, 0.17, 0.5), [0, 0, 0], 1,
                               [0, 0, 1])
        return mesh


class Rose:
    """Open roses on a wall, with a few leaves behind each."""

    def __init__(self, seed, flowers, radius, size):
        self.__dict__.update(locals())

    def grow(self, level):
        random = np.random.RandomState(self.seed)
        mesh = MeshBuilder()
        flowers = max(1, int(self.flowers * [1, 1, 0.5][level]))
        for i in range(flowers):
            a, r = i * 2.39996 + 0.4, self.radius * np.sqrt(i / max(flowers, 1))
            base = np.array([r * np.cos(a), r * np.sin(a), random.uniform(0.07, 0.12)])
            facing = unit([random.normal(0, 0.35), random.uniform(-0.1, 0.55), 1])
            self.add_flower(mesh, base, facing, self.size * random.uniform(0.75, 1.15), level, random)
            for _ in range([5, 3, 2][level]):
                turn = random.uniform(-np.pi, np.pi)
                add_leaf(mesh, OVAL, base - facing * 0.045, [np.sin(turn), np.cos(turn), 0.15],
                         facing, self.size * random.uniform(0.9, 1.3), -0.3, 0.2, [1, 2, 4][level],
                         (0.76, 0.1, 0.99, 0.9))
        return mesh

    def add_flower(self, mesh, base, facing, size, level, random):
        s = unit(np.cross(facing, [1, 0.3, 0.1]))
        t = np.cross(facing, s)
        rings = [[(6, 1.0, 0.25, 0), (5, 0.8, 0.6, 0), (5, 0.56, 1.1, 1), (4, 0.34, 2.2, 2)],
                 [(5, 1.0, 0.25, 0), (4, 0.7, 0.8, 1)], [(5, 1.0, 0.3, 0)]][level]
        for count, reach, rise, tone in rings:
            start = random.uniform(0, 2 * np.pi)
            rect = column(tone, 4)
            for k in range(count):
                a = start + 2 * np.pi * k / count + random.normal(0, 0.1)
                out = s * np.cos(a) + t * np.sin(a)
                side = np.cross(facing, out)
                along = unit(out + facing * rise)
                self.add_petal(mesh, base, along, side, facing, size * 0.55 * reach,
                               size * 1.1 * reach * 3.2 / count, rect)

    def add_petal(self, mesh, base, along, side, facing, length, width, rect):
        """Five points wide at its end, whose rim rolls back."""
        u = (rect[0] + rect[2]) / 2
        rows = [(0.0, 0.12, 0.0), (0.55, 0.5, -0.04), (0.9, 0.42, 0.0), (1.02, 0.2, -0.1)]
        points, uvs, normals = [], [], []
        back = np.cross(side, along)
        for reach, half, lift in rows:
            middle = base + along * length * reach + back * lift * length
            points += [middle - side * half * width, middle + side * half * width]
            uvs += [[u, 0.02 + 0.95 * reach / 1.02]] * 2
            normals += [facing + along * 0.3 - side * 0.3, facing + along * 0.3 + side * 0.3]
        faces = []
        for k in range(0, 6, 2):
            faces += [[k, k + 1, k + 3], [k, k + 3, k + 2]]
        mesh.add(points, normals, uvs, faces)


class Moss:
    """A cushion: a low dome, and short blades all over it."""

    def __init__(self, seed, radius, height, blades, columns):
        self.__dict__.update(locals())

    def grow(self, level):
        random = np.random.RandomState(self.seed)
        mesh = MeshBuilder()
        rings, sides = [(3, 12), (2, 8), (1, 6)][level]
        points, uvs, normals = [[0, 0, self.height]], [], []
        for i in range(1, rings + 1):
            t = i / rings
            for k in range(sides):
                a = 2 * np.pi * (k + 0.5 * (i % 2)) / sides
                r = self.radius * t * (1 + 0.12 * np.sin(3 * a + self.seed))
                points.append([r * np.cos(a), r * np.sin(a),
                               self.height * (1 - t ** 2.2) - 0.3 * self.height * (t == 1)])
        points = np.array(points)
        normals = points / self.radius * [0.7, 0.7, 0] + [0, 0, 0.75]
        n = len(self.columns)
        u = (random.randint(n) + 0.5) / n
        uvs = np.c_[np.full(len(points), u), 0.08 + 0.35 * points[:, 2] / self.height]
        faces = [[0, 1 + k, 1 + (k + 1) % sides] for k in range(sides)]
        for i in range(rings - 1):
            a, b = 1 + i * sides, 1 + (i + 1) * sides
            for k in range(sides):
                l = (k + 1) % sides
                faces += [[a + k, b + k, b + l], [a + k, b + l, a + l]]
        mesh.add(points, normals, uvs.clip(0.02, 0.98), faces)
        count, grow = [(self.blades, 1), (self.blades // 3, 1.7), (self.blades // 10, 2.6)][level]
        for _ in range(count):
            a, t = random.uniform(0, 2 * np.pi), np.sqrt(random.random_sample())
            out = np.array([np.cos(a), np.sin(a), 0])
            base = out * self.radius * t + [0, 0, self.height * (1 - t ** 2.2) * 0.96]
            way = unit(out * t * 0.9 + [0, 0, 0.75] + random.normal(0, 0.22, 3))
            side = unit(np.cross(way, [out[1], out[0], 0.3]))
            mesh.add_blade(base, way, side, self.height * random.uniform(0.3, 0.7) * grow ** 0.4,
                           self.radius * 0.055 * grow, column(random.randint(n), n), out * 0.15, 1,
                           way)
        return mesh


def ivy_image():
    """Three leaves side by side: old, middling, young."""
    shades = [((24, 52, 24), (44, 80, 34), (110, 136, 84)), ((36, 68, 28), (64, 102, 40),
                                                             (132, 156, 92)),
              ((58, 92, 34), (104, 136, 54), (160, 178, 108))]
    return np.hstack([leaf_image(IVY, *s) for s in shades])


def rose_image():
    petal = [((178, 62, 84), (216, 96, 116), (238, 150, 158)),
             ((168, 46, 72), (204, 76, 100), (230, 126, 138)),
             ((150, 36, 58), (190, 60, 76), (214, 96, 96))]
    image = palette(petal + [((52, 84, 34), (70, 106, 42), (88, 122, 52))], 128)
    image[:, 96:] = leaf_image(OVAL, (40, 72, 30), (72, 108, 44), (124, 148, 84))[:, ::4]
    return image


MOSS = [((30, 40, 16), (78, 98, 30), (128, 142, 52)), ((34, 46, 18), (92, 112, 36), (150, 158, 66)),
        ((28, 42, 18), (66, 92, 32), (112, 134, 52))]


def species():
    """Name, model and picture of each, as models.py lists them."""
    yield 'mapleleaf', Leaf(41, MAPLE, 0.15, 0.55, 0.22), leaf_image(
        MAPLE, (206, 120, 38), (226, 160, 52), (240, 200, 110))
    yield 'ivy', Ivy(42, 16, 0.17, 0.105), ivy_image()
    yield 'rose', Rose(43, 3, 0.16, 0.105), rose_image()
    yield 'moss', Moss(44, 0.11, 0.05, 150, MOSS), palette(MOSS)
