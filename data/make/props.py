"""What people built: a split-rail fence, a log cabin, and a garden wall with an arched door.

Each has one picture for all its parts; `rect` says where in it a part's surface lies. The wall's
mapping covers the whole wall with [0, 1]^2, so that plants can be scattered over it.
"""

import numpy as np

from meshes import MeshBuilder, unit
from noise import fractal3, tiling_noise

UP = np.array([0, 0, 1.0])


def weathered_wood(size, seed, dark, light, planks=0):
    """Grey grain that runs up the image, in planks if asked."""
    fine = np.repeat(tiling_noise(size, 24, 3, seed)[::8], 8, axis=0)[:size]
    broad = tiling_noise(size, 5, 4, seed + 1)
    grain = np.repeat(tiling_noise(size, 48, 2, seed + 2)[:1], size, axis=0)
    t = 0.35 * fine + 0.3 * broad + 0.35 * grain
    if planks:
        x = np.arange(size) * planks / size
        gap = np.clip(np.abs(x % 1 - 0.5) * 2 * 14 - 12.6, 0, 1)
        tone = np.random.RandomState(seed).uniform(-0.16, 0.16, planks)[x.astype(int)]
        t = (t + tone[None, :]) * (1 - 0.9 * gap[None, :])
    t = t.clip(0, 1)[..., None]
    return np.asarray(dark) * (1 - t) + np.asarray(light) * t


def quantized(image):
    return ((image / 4).round() * 4).clip(0, 255).astype(np.uint8)


def add_box(mesh, low, high, rect, frame=None):
    """An upright box between two corners; `frame` (3 x 3 rows) turns it about the origin."""
    low, high = np.asarray(low, float), np.asarray(high, float)
    u0, v0, u1, v1 = rect
    for axis in range(3):
        a, b = (axis + 1) % 3, (axis + 2) % 3
        if axis == 1:
            a, b = b, a  # v runs up on all sides
        for side in (0, 1):
            n = np.zeros(3)
            n[axis] = 2 * side - 1
            points, uv = [], []
            for s, t in ((0, 0), (1, 0), (1, 1), (0, 1)):
                p = np.where(side, high, low).astype(float)
                p[a] = high[a] if s else low[a]
                p[b] = high[b] if t else low[b]
                points.append(p)
                uv.append((u0 + (u1 - u0) * s, v0 + (v1 - v0) * t))
            add_polygon(mesh, np.array(points), n, uv, frame)


def add_polygon(mesh, points, normal, uv, frame=None):
    """A flat convex polygon that looks along `normal` whatever its order."""
    points, normal = np.asarray(points, float), np.asarray(normal, float)
    if frame is not None:
        points, normal = points @ frame, normal @ frame
    faces = [[0, i, i + 1] for i in range(1, len(points) - 1)]
    if np.dot(np.cross(points[1] - points[0], points[2] - points[0]), normal) < 0:
        faces = [[a, c, b] for a, b, c in faces]
    mesh.add(points, np.tile(unit(normal), (len(points), 1)), uv, faces)


class Post:
    """A hewn post, tapered to a slanted head; 0.35 m of it stand in the ground."""

    def __init__(self, seed, height, radius):
        self.__dict__.update(locals())

    def grow(self, level):
        mesh = MeshBuilder()
        sides = [9, 6, 4][level]
        rows = [(-0.35, 1.0), (0.05, 1.06), (0.5, 0.97), (1.0, 0.92)] if level == 0 else [
            (-0.35, 1.0), (1.0, 0.92)]
        path = [[0.012 * np.sin(5 * z), 0.01 * np.cos(4 * z), z * self.height] for z, _ in rows]
        mesh.add_tube(path, [self.radius * r for _, r in rows], sides, (0.02, 0.02, 0.98, 0.98))
        top = np.array(path[-1])
        angles = np.arange(sides) * 2 * np.pi / sides
        rim = top + np.c_[np.cos(angles), np.sin(angles), 0 * angles] * self.radius * 0.92
        head = top + [0, 0, self.radius * 0.55]
        ring = np.vstack([head, rim])
        mesh.add(ring, np.vstack([UP, (rim - top) + UP * self.radius]),
                 np.c_[0.5 + ring[:, 0], 0.5 + ring[:, 1]],
                 [[0, 1 + k, 1 + (k + 1) % sides] for k in range(sides)])
        return mesh


class Rails:
    """Two split rails that run from the post at the origin along +x to the next one."""

    def __init__(self, seed, length, heights, radius):
        self.__dict__.update(locals())

    def grow(self, level):
        mesh = MeshBuilder()
        random = np.random.RandomState(self.seed)
        for height in self.heights:
            sag, tilt = random.uniform(0.01, 0.035), random.uniform(-0.03, 0.03)
            path = [[x * self.length, random.normal(0, 0.008) - 0.02,
                     height + tilt * (x - 0.5) - sag * np.sin(np.pi * x)]
                    for x in np.linspace(-0.05, 1.05, [7, 4, 2][level])]
            radii = [self.radius * random.uniform(0.85, 1.1) for _ in path]
            mesh.add_tube(path, radii, [7, 5, 3][level], (0.02, 0.02, 0.98, 0.98), repeat=2)
        return mesh


# Parts of the cabin's picture.
LOGS, ROOF = (0.0, 0.5, 0.5, 1.0), (0.5, 0.5, 1.0, 1.0)
STONES, PLANKS, GLASS = (0.0, 0.0, 0.5, 0.5), (0.5, 0.0, 0.9, 0.5), (0.92, 0.02, 0.98, 0.48)


def inner(rect, margin=0.006):
    return (rect[0] + margin, rect[1] + margin, rect[2] - margin, rect[3] - margin)


class Cabin:
    """A log cabin with a shingled roof, a stone chimney and a porch, centred on its floor. The door
    looks along -y."""

    length, width, wall, ridge, log = 7.6, 5.4, 2.5, 2.5, 0.16

    def grow(self):
        mesh = MeshBuilder()
        hx, hy = self.length / 2, self.width / 2
        for x in np.linspace(-hx - 0.15, hx - 1.8, 4):
            add_box(mesh, [x, -hy - 0.15, -1.2], [x + 1.95, hy + 0.15, 0.1], inner(STONES))
        self.add_walls(mesh, hx, hy)
        self.add_roof(mesh, hx, hy)
        self.add_chimney(mesh)
        self.add_openings(mesh, hx, hy)
        self.add_porch(mesh, hx, hy)
        return mesh

    def add_walls(self, mesh, hx, hy):
        """Round logs, crossing at the corners; shorter ones fill the gables."""
        rows = int(self.wall / (2 * self.log)) + 1
        for i in range(rows):
            z = 0.1 + self.log * (2 * i + 1)
            for s in (-1, 1):
                self.add_log(mesh, [-hx - 0.3, s * hy, z], [hx + 0.3, s * hy, z], 3)
                low = z - self.log
                self.add_log(mesh, [s * hx, -hy - 0.3, low], [s * hx, hy + 0.3, low], 2)
        z = self.wall + self.log
        while z < self.wall + self.ridge - 0.3:
            half = hy * (1 - (z - self.wall) / self.ridge)
            for s in (-1, 1):
                self.add_log(mesh, [s * hx, -half, z], [s * hx, half, z], 1)
            z += 2 * self.log

    def add_log(self, mesh, start, end, repeat):
        """A log with sawn ends."""
        start, end = np.array(start, float), np.array(end, float)
        radius, sides = self.log * 1.04, 8
        mesh.add_tube([start, end], [radius] * 2, sides, inner(LOGS), repeat)
        along = unit(end - start)
        across = np.cross(along, UP)
        a = np.arange(sides) * 2 * np.pi / sides
        ring = radius * (np.cos(a)[:, None] * across + np.sin(a)[:, None] * UP)
        uv = np.c_[0.7 + 0.02 * np.cos(a), 0.25 + 0.02 * np.sin(a)]
        for point, normal in ((start, -along), (end, along)):
            add_polygon(mesh, point + ring, normal, uv)

    def add_roof(self, mesh, hx, hy):
        out, over, thick = 0.75, 0.7, 0.12
        drop = self.ridge / hy
        top = self.wall + self.ridge + 0.22
        for s in (-1, 1):
            eave = top - (hy + out) * drop
            edge = lambda x, y, z: [x, s * y, z]
            n = unit([0, s * drop, 1])
            corners = [edge(-hx - over, hy + out, eave), edge(hx + over, hy + out, eave),
                       edge(hx + over, 0, top), edge(-hx - over, 0, top)]
            u0, v0, u1, v1 = inner(ROOF)
            # The picture repeats along the roof by strips of their own.
            strips = 3
            for k in range(strips):
                a, b = k / strips, (k + 1) / strips
                c = np.array(corners)
                quad = [c[0] + (c[1] - c[0]) * a, c[0] + (c[1] - c[0]) * b,
                        c[3] + (c[2] - c[3]) * b, c[3] + (c[2] - c[3]) * a]
                uv = [(u0, v0), (u1, v0), (u1, v1), (u0, v1)]
                add_polygon(mesh, quad, n, uv)
                add_polygon(mesh, np.array(quad) - n * thick, -n, uv)
            for x in (-hx - over, hx + over):
                a, b = np.array(edge(x, hy + out, eave)), np.array(edge(x, 0, top))
                add_polygon(mesh, [a, b, b - n * thick, a - n * thick], [np.sign(x), 0, 0],
                            [(0.6, 0.1), (0.6, 0.4), (0.62, 0.4), (0.62, 0.1)])
            a, b = np.array(corners[0]), np.array(corners[1])
            add_polygon(mesh, [a, b, b - n * thick, a - n * thick], [0, s, 0],
                        [(0.6, 0.1), (0.6, 0.4), (0.62, 0.4), (0.62, 0.1)])

    def add_chimney(self, mesh):
        top = self.wall + self.ridge + 1.1
        add_box(mesh, [1.5, 0.5, 0], [2.35, 1.35, top], inner(STONES))
        add_box(mesh, [1.42, 0.42, top], [2.43, 1.43, top + 0.14], inner(STONES, 0.1))

    def add_openings(self, mesh, hx, hy):
        def opening(center, size, axis, side, part):
            half = np.array([size[0] / 2, 0.06, size[1] / 2])
            frame = np.eye(3) if axis == 1 else np.array([[0, 1, 0], [-1, 0, 0], [0, 0, 1.0]])
            middle = np.array(center)
            for scale, depth, rect in ((1.16, 0.17, inner(PLANKS, 0.03)), (1.0, 0.22, part)):
                h = half * [scale, 1, scale if rect is part else 1.1]
                flip = np.diag([1.0, side, 1.0])
                box = MeshBuilder()
                add_box(box, [-h[0], 0, -h[2]], [h[0], depth, h[2]], rect)
                p, n, uv, f = box.arrays()
                turn = flip @ frame
                f = f if np.linalg.det(turn) > 0 else f[:, [0, 2, 1]]
                mesh.add(p @ turn + middle, n @ turn, uv, f)
        opening([-0.6, -hy, 1.15], (1.0, 2.0), 1, -1, inner(PLANKS, 0.05))
        for x in (-2.6, 1.8):
            opening([x, -hy, 1.45], (1.0, 0.9), 1, -1, GLASS)
            opening([x, hy, 1.45], (1.0, 0.9), 1, 1, GLASS)
        for s in (-1, 1):
            opening([s * hx, 0.0, 1.45], (1.1, 0.9), 0, -s, GLASS)

    def add_porch(self, mesh, hx, hy):
        wood = inner(PLANKS, 0.01)
        add_box(mesh, [-2.4, -hy - 1.7, -1.0], [1.2, -hy - 0.15, 0.08], wood)
        for x in (-2.3, 1.1):
            mesh.add_tube([[x, -hy - 1.6, -0.2], [x, -hy - 1.6, 2.15]], [0.08, 0.08], 7, inner(LOGS))
        n = unit([0, -0.28, 1])
        quad = np.array([[-2.7, -hy - 2.0, 2.1], [1.5, -hy - 2.0, 2.1], [1.5, -hy + 0.1, 2.62],
                         [-2.7, -hy + 0.1, 2.62]])
        u0, v0, u1, v1 = inner(ROOF)
        uv = [(u0, v0), (u1, v0), (u1, v1), (u0, v1)]
        add_polygon(mesh, quad, n, uv)
        add_polygon(mesh, quad - n * 0.08, -n, uv)


def rubble(width, height, seed, dark, light, mortar, px):
    """Stones laid in courses, width x height pixels with px to the metre; also their relief, 0 in the
    joints."""
    random = np.random.RandomState(seed)
    y, x = np.mgrid[0:height, 0:width].astype(float)
    wobble = fractal3(np.c_[x.ravel() / px * 1.3, y.ravel() / px * 1.3, 0 * x.ravel()], 3,
                      seed).reshape(height, width)
    wobble2 = fractal3(np.c_[x.ravel() / px * 1.3 + 40, y.ravel() / px * 1.3, 0 * x.ravel()], 3,
                       seed).reshape(height, width)
    sx, sy = x + wobble * 0.09 * px, y + wobble2 * 0.07 * px
    distance = np.full((height, width), 1e9)
    tone = np.zeros((height, width))
    warm = np.zeros((height, width))
    top = -0.3 * px
    while top < height + 0.3 * px:
        course = random.uniform(0.17, 0.34) * px
        left = -random.uniform(0, 0.5) * px
        while left < width:
            length = course * random.uniform(1.0, 2.4)
            inside = np.minimum(np.minimum(sx - left, left + length - sx),
                                np.minimum(sy - top, top + course - sy))
            here = inside > 0
            distance[here] = inside[here]
            tone[here] = random.uniform(0, 1)
            warm[here] = random.normal(0, 0.05)
            left += length
        top += course
    relief = np.clip(distance / (0.045 * px), 0, 1) ** 0.6
    grain = tiling_noise(1024, 40, 5, seed + 3)[:height, :width]
    blotch = tiling_noise(1024, 9, 4, seed + 4)[:height, :width]
    t = (0.45 * tone + 0.3 * grain + 0.25 * blotch)[..., None]
    stone = np.asarray(dark) * (1 - t) + np.asarray(light) * t
    stone = stone * (1 + np.stack([warm, 0 * warm, -warm], -1))
    joint = np.asarray(mortar) * (0.75 + 0.4 * grain[..., None])
    m = np.clip(relief * 1.6 - 0.25, 0, 1)[..., None]
    return joint * (1 - m) + stone * m, relief * (0.75 + 0.5 * tone)


def shingles(size, seed, dark, light):
    random = np.random.RandomState(seed)
    image = np.zeros((size, size, 3))
    rows = 14
    grain = np.repeat(tiling_noise(size, 40, 2, seed)[::8], 8, axis=0)[:size]
    for r in range(rows):
        y0, y1 = r * size // rows, (r + 1) * size // rows
        x = -random.randint(12)
        while x < size:
            w = random.randint(size // 22, size // 11)
            t = (0.55 * random.random_sample() + 0.45 * grain[y0:y1, max(x, 0):x + w])[..., None]
            part = np.asarray(dark) * (1 - t) + np.asarray(light) * t
            part[:2] *= 0.55  # the shadow of the row above
            part[:, -1:] *= 0.6
            image[y0:y1, max(x, 0):x + w] = part
            x += w
    return image


def cabin_image(size=512):
    half = size // 2
    image = np.zeros((size, size, 3))
    # Logs lie along v: the grain of the tube runs with the log.
    image[:half, :half] = weathered_wood(half, 61, (96, 70, 46), (186, 142, 98))
    image[:half, half:] = shingles(half, 62, (92, 84, 76), (170, 158, 142))
    image[half:, :half] = rubble(half, half, 63, (84, 80, 74), (160, 154, 144), (96, 90, 80),
                                 half / 1.6)[0]
    image[half:, half:] = weathered_wood(half, 64, (50, 36, 26), (128, 94, 64), planks=6)
    image[half:, half + int(0.41 * size):] = (40, 50, 58)
    return quantized(image)


class Wall:
    """A garden wall along x with an arched doorway in its middle, its face at y = 0 looking along
    -y. Relief follows the picture of its stones; the jambs go back to the wall's other side."""

    length, height, depth = 9.0, 3.3, 0.45
    half_door, spring = 0.75, 1.5  # half the doorway's width, height where the arch begins
    relief = 0.034

    def __init__(self):
        w, h = 1024, int(1024 * self.height / self.length)
        self.image, self.bumps = rubble(w, h, 51, (98, 90, 78), (196, 184, 160), (120, 110, 94),
                                        w / self.length)
        self.paint_arch(w, h)
        # The mesh is coarser than the picture: what it cannot hold would only be torn.
        for axis in (0, 1):
            self.bumps = sum(np.roll(self.bumps, k, axis) for k in range(-4, 5)) / 9

    def paint_arch(self, w, h):
        """Wedge stones around the arch, lighter than the rest."""
        y, x = np.mgrid[0:h, 0:w]
        x = (x + 0.5) / w * self.length - self.length / 2
        z = (1 - (y + 0.5) / h) * self.height
        r = np.where(z > self.spring, np.hypot(x, z - self.spring), np.abs(x)) - self.half_door
        along = np.where(z > self.spring, np.arctan2(z - self.spring, x) / 0.24, z / 0.27)
        edge = np.minimum(np.abs(along % 1 - 0.5) * 2, 1)
        stone = (r > 0) & (r < 0.3)
        joint = np.clip((1 - edge) / 0.12, 0, 1) * np.clip((0.3 - r) / 0.03, 0, 1)
        tone = np.random.RandomState(7).uniform(0.8, 1.05, 200)[(np.floor(along).astype(int)) % 200]
        grain = tiling_noise(1024, 48, 4, 8)[:h, :w]
        light = np.array([200, 190, 168]) * (tone * (0.8 + 0.3 * grain))[..., None]
        m = joint[..., None]
        self.image = np.where(stone[..., None], np.array([112, 104, 90]) * (1 - m) + light * m,
                              self.image)
        self.bumps = np.where(stone, joint * 1.5, self.bumps)

    def top(self, x):
        """The wall's upper edge rises a little over the door and is worn."""
        return self.height - 0.42 + 0.34 * np.exp(-(x / 1.5) ** 2) + 0.03 * np.sin(5 * x)

    def opening(self, x):
        """Height of the doorway at x, 0 beside it."""
        inside = np.clip(self.half_door ** 2 - x ** 2, 0, None)
        return np.where(np.abs(x) < self.half_door, self.spring + np.sqrt(inside), 0)

    def bump(self, x, z):
        h, w = self.bumps.shape
        i = ((x / self.length + 0.5) * w).astype(int).clip(0, w - 1)
        j = ((1 - z / self.height) * h).astype(int).clip(0, h - 1)
        return self.bumps[j, i]

    def grow(self):
        mesh = MeshBuilder()
        d = self.half_door
        xs = np.unique(np.round(np.r_[np.linspace(-4.5, -d, 64), -d + 2 * d * (
            0.5 - 0.5 * np.cos(np.pi * np.linspace(0, 1, 25))), np.linspace(d, 4.5, 64)], 5))
        left, right = xs[xs <= -d + 1e-6], xs[xs >= d - 1e-6]
        over = xs[np.abs(xs) <= d + 1e-6]
        low = self.opening(over)
        low[0] = low[-1] = self.spring
        self.add_face(mesh, left, 0 * left, 54)
        self.add_face(mesh, right, 0 * right, 54)
        self.add_face(mesh, over, low, 20)
        self.add_top(mesh, xs)
        self.add_jambs(mesh, over, low)
        for x in (-4.5, 4.5):
            add_polygon(mesh, [[x, 0, 0], [x, self.depth, 0], [x, self.depth, self.top(x)],
                               [x, 0, self.top(x)]], [np.sign(x), 0, 0],
                        [(0.01, 0.0), (0.06, 0.0), (0.06, 0.85), (0.01, 0.85)])
        return mesh

    def uv(self, x, z):
        return np.c_[x.ravel() / self.length + 0.5, z.ravel() / self.height]

    def add_face(self, mesh, xs, low, rows):
        """A sheet of the front between the heights low and top."""
        t = np.linspace(0, 1, rows)[:, None]
        x = np.tile(xs, (rows, 1))
        z = low + (self.top(xs) - low) * t
        y = -self.relief * self.bump(x, z)
        points = np.stack([x, y, z], -1)
        du, dv = np.gradient(points, axis=1), np.gradient(points, axis=0)
        normals = np.cross(du, dv).reshape(-1, 3)
        n = len(xs)
        faces = []
        for i in range(rows - 1):
            for j in range(n - 1):
                a = i * n + j
                faces += [[a, a + 1, a + n + 1], [a, a + n + 1, a + n]]
        mesh.add(points.reshape(-1, 3), normals, self.uv(x, z), faces)

    def add_top(self, mesh, xs):
        front = np.c_[xs, -self.relief * self.bump(xs, self.top(xs)), self.top(xs)]
        back = np.c_[xs, 0 * xs + self.depth, self.top(xs)]
        self.add_strip(mesh, front, back, UP, 0.03)

    def add_jambs(self, mesh, over, low):
        d = self.half_door
        rise = np.linspace(0, self.spring, 12)[:-1]
        side = lambda x: np.c_[0 * rise + x, -self.relief * self.bump(0 * rise + x, rise), rise]
        arch = np.c_[over, -self.relief * self.bump(over, low), low]
        edge = np.vstack([side(-d), arch, side(d)[::-1]])
        back = edge * [1, 0, 1] + [0, self.depth, 0]
        middle = np.array([0, 0, 1.0])
        self.add_strip(mesh, edge, back, middle - edge.mean(axis=0), -0.04, middle)

    def add_strip(self, mesh, front, back, normal, shift, center=None):
        """Quads between two rows of points; normals along `normal` or towards `center`."""
        n = len(front)
        points = np.vstack([front, back])
        if center is None:
            normals = np.tile(normal, (2 * n, 1))
        else:
            above = np.maximum(points[:, 2] - self.spring, 0)
            normals = np.c_[center[0] - points[:, 0], 0 * above, -above]
        uv = np.vstack([self.uv(front[:, 0], front[:, 2]),
                        self.uv(front[:, 0], front[:, 2] - shift * 4)])
        faces = []
        for i in range(n - 1):
            quad = [[i, i + 1, n + i + 1], [i, n + i + 1, n + i]]
            a, b, c = points[quad[0]]
            if np.dot(np.cross(b - a, c - a), normals[i] + normals[i + 1]) < 0:
                quad = [[p, r, q] for p, q, r in quad]
            faces += quad
        mesh.add(points, normals, uv.clip(0, 1), faces)


class Door:
    """The door of the wall: planks, two iron bands and a ring."""

    def grow(self):
        mesh = MeshBuilder()
        d, spring = Wall.half_door + 0.02, Wall.spring
        a = np.linspace(0, np.pi, 25)
        rim = np.c_[d * np.cos(a), 0 * a, spring + d * np.sin(a)]
        points = np.vstack([[[-d, 0, 0], [d, 0, 0]], rim])
        uv = np.c_[0.02 + 0.76 * (points[:, 0] / d + 1) / 2, points[:, 2] / 2.3]
        add_polygon(mesh, points, [0, -1, 0], uv)
        iron = (0.84, 0.1, 0.96, 0.9)
        for z in (0.45, 1.5):
            add_box(mesh, [-d + 0.05, -0.02, z], [d - 0.25, 0.0, z + 0.08], iron)
        ring = np.linspace(0, 2 * np.pi, 13)
        path = np.c_[0.48 + 0.075 * np.sin(ring), 0 * ring - 0.03, 1.0 + 0.075 * np.cos(ring)]
        mesh.add_tube(path, [0.014] * 13, 5, iron)
        return mesh


def door_image(size=256):
    image = weathered_wood(size, 53, (34, 58, 62), (92, 128, 124), planks=6)
    # All planks stand on the left four fifths; the rest is iron.
    squeezed = image[:, (np.arange(int(size * 0.8)) / 0.8).astype(int)]
    return quantized(np.hstack([squeezed, np.full((size, size - squeezed.shape[1], 3), 42.0)]))


def species():
    """Name, model and picture of what is scattered, as models.py lists it."""
    wood = quantized(weathered_wood(128, 60, (92, 84, 74), (184, 174, 158)))
    yield 'post', Post(45, 1.15, 0.075), wood
    yield 'rails', Rails(46, 2.5, (0.48, 0.92), 0.052), wood


def buildings():
    """Name, mesh and picture of what stands once."""
    wall = Wall()
    yield 'cabin', Cabin().grow(), cabin_image()
    yield 'wall', wall.grow(), quantized(wall.image)
    yield 'door', Door().grow(), door_image()
