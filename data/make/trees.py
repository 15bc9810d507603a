"""Trees and shrubs: branching skeletons with bark, and leaf cards on their twigs.

One function grows broad-leaved trees and pines from a crown's outline, another conifers from whorls
of branches. A level of detail is the same tree with fewer, larger cards and coarser tubes: the same
seed walks through the same branches and leaves out some.
"""

import numpy as np

from meshes import MeshBuilder, frame, unit
from painting import Canvas, bark

# Where the atlas of a tree keeps its parts: (u0, v0, u1, v1).
BARK = (0.0, 0.0, 0.125, 1.0)
SPRAYS = [(0.125, 0.0, 0.5625, 1.0), (0.5625, 0.0, 1.0, 1.0)]


class Level:
    """How much of a tree a level of detail keeps."""

    def __init__(self, cards, card_size, sides, depth, segments):
        self.cards, self.card_size = cards, card_size
        self.sides, self.depth, self.segments = sides, depth, segments


LEVELS = [Level(1.0, 1.0, 7, 2, 2), Level(0.34, 1.62, 5, 1, 1), Level(0.09, 2.9, 4, 0, 1)]


def inset(rect, margin=0.004):
    u0, v0, u1, v1 = rect
    return (u0 + margin, v0 + margin, u1 - margin, v1 - margin)


def leaf_atlas(seed, size, bark_image, twig, paint_spray):
    canvas = Canvas(size, size, seed)
    canvas.use(*BARK)
    canvas.fill(bark_image)
    for i, rect in enumerate(SPRAYS):
        canvas.use(*rect)
        paint_spray(canvas, i, twig)
    return canvas.finish()


def broad_spray(leaf_colors, length, width, count, shape=0.85, teeth=0.0, spread=0.9, side_twigs=7):
    """A twig with leaves on both sides and smaller twigs; the rectangle is 0.44 as wide as high."""
    def paint(canvas, which, twig):
        r = canvas.random
        stems = [((0.5, 0.0), (0.5 + 0.08 * (which - 0.5), 0.9))]
        for i in range(side_twigs):
            side = 1 if (i + which) % 2 else -1
            y = 0.06 + 0.64 * i / side_twigs
            reach = 0.40 - 0.12 * i / side_twigs
            stems.append(((0.5, y), (0.5 + side * reach * r.uniform(0.75, 1.0),
                                     y + r.uniform(0.10, 0.20))))
        for (x0, y0), (x1, y1) in stems:
            canvas.stroke(x0, y0, x1, y1, 0.022, 0.008, twig)
        leaves = []
        for k, ((x0, y0), (x1, y1)) in enumerate(stems):
            n = count if k == 0 else count * 3 // 5
            aspect = canvas.py / canvas.px
            heading = np.arctan2((x1 - x0), (y1 - y0) * aspect)
            for i in range(n):
                t = (i + 0.5) / n
                if k == 0 and t < 0.12:
                    continue
                side = 1 if i % 2 else -1
                angle = heading + side * spread * r.uniform(0.5, 1.2) * (1.1 - 0.5 * t)
                leaves.append((x0 + (x1 - x0) * t, y0 + (y1 - y0) * t, angle,
                               length * r.uniform(0.75, 1.15)))
            leaves.append((x1, y1, heading, length))
        r.shuffle(leaves)
        for x, y, angle, size in leaves:
            color = canvas.vary(leaf_colors[r.randint(len(leaf_colors))])
            canvas.leaf(x, y, angle, size, size * width, color, shape, teeth=teeth)
    return paint


def needle_spray(colors, length, density, side_twigs):
    """A flat conifer spray: twigs like a feather, needles along all of them."""
    def paint(canvas, which, twig):
        r = canvas.random
        aspect = canvas.py / canvas.px
        stems = [(0.5, 0.0, 0.5, 0.97)]
        for i in range(side_twigs):
            t = 0.04 + 0.86 * i / side_twigs
            reach = 0.44 * (1 - t) ** 0.75 + 0.05
            for side in (-1, 1):
                stems.append((0.5, t, 0.5 + side * reach * r.uniform(0.8, 1.05),
                              t + reach / aspect * r.uniform(0.8, 1.2)))
        for x0, y0, x1, y1 in stems:
            canvas.stroke(x0, y0, x1, y1, 0.016, 0.006, twig)
        for x0, y0, x1, y1 in stems:
            heading = np.arctan2(x1 - x0, (y1 - y0) * aspect)
            run = np.hypot(x1 - x0, (y1 - y0) * aspect)
            for i in range(int(density * run)):
                t = r.uniform(0.02, 1)
                side = 1 if i % 2 else -1
                color = canvas.vary(colors[r.randint(len(colors))], 0.16) * (0.75 + 0.4 * t)
                canvas.leaf(x0 + (x1 - x0) * t, y0 + (y1 - y0) * t,
                            heading + side * r.uniform(0.35, 1.0), length * r.uniform(0.7, 1.2),
                            length * 0.17, color, shape=0.7, rib=0.05)
    return paint


def tuft_spray(colors, length, density):
    """Pine: brushes of long needles at the ends of a forked twig."""
    def paint(canvas, which, twig):
        r = canvas.random
        aspect = canvas.py / canvas.px
        ends = [(0.5, 0.72), (0.22, 0.55), (0.78, 0.5), (0.36, 0.34), (0.66, 0.28)]
        for x, y in ends:
            canvas.stroke(0.5, max(0.0, y - 0.32), x, y, 0.03, 0.014, twig)
        for x, y in ends:
            for _ in range(density):
                canvas.leaf(x + r.normal(0, 0.02), y - r.uniform(0, 0.12),
                            r.normal(0, 1.0) + (x - 0.5) * 1.5, length * r.uniform(0.7, 1.15),
                            length * 0.075, canvas.vary(colors[r.randint(len(colors))], 0.18),
                            shape=0.8, rib=0.04)
    return paint


def wobble(start, direction, length, steps, random, rise, bend):
    """A branch's path: turns up by `rise` over its length and wanders by `bend`."""
    points = [np.asarray(start, float)]
    d = unit(direction)
    for _ in range(steps):
        d = unit(d + np.array([0, 0, rise / steps]) + random.normal(0, bend, 3))
        points.append(points[-1] + d * (length / steps))
    return np.array(points)


def at(path, t):
    x = t * (len(path) - 1)
    i = min(int(x), len(path) - 2)
    return path[i] + (path[i + 1] - path[i]) * (x - i)


class BroadTree:
    """height, trunk radius, crown_base (part of the height), crown_radius, outline(t) -> part of
    the radius at part t of the crown, limbs, twigs a limb, cards a twig, card length, droop."""

    def __init__(self, seed, height, trunk, crown_base, crown_radius, outline, limbs, twigs, cards,
                 card, droop=0.15, limb_rise=0.5, limb_angle=0.9, bend=0.07, stems=1, puff=0.75):
        self.__dict__.update(locals())

    def grow(self, level):
        random = np.random.RandomState(self.seed)
        mesh = MeshBuilder()
        center = np.array([0, 0, self.height * (self.crown_base * 0.55 + 0.45)])
        for stem in range(self.stems):
            lean = random.normal(0, 0.03, 3) if self.stems == 1 else np.array(
                [np.cos(stem * 2.4), np.sin(stem * 2.4), 0]) * 0.45
            trunk = wobble([0, 0, -0.15], [lean[0], lean[1], 1], self.height * 0.93, 8, random, 0.1,
                           0.035)
            radii = self.trunk * (1 - np.linspace(0, 1, 9)) ** 0.8 + 0.012
            radii[0] *= 1.5
            mesh.add_tube(trunk, radii, level.sides + 1, inset(BARK), self.height / 2.5)
            self.add_limbs(mesh, trunk, center, level, random)
        return mesh

    def add_limbs(self, mesh, trunk, center, level, random):
        for i in range(self.limbs):
            f = (i + 0.5) / self.limbs
            t = self.crown_base + (0.98 - self.crown_base) * f
            azimuth = i * 2.39996 + random.uniform(-0.3, 0.3)
            reach = self.crown_radius * self.outline(f) * random.uniform(0.8, 1.15)
            out = np.array([np.cos(azimuth), np.sin(azimuth), 0])
            tilt = self.limb_angle * (1 - 0.65 * f)
            start = at(trunk, t)
            limb = wobble(start, out * np.sin(tilt + 0.35) + [0, 0, np.cos(tilt + 0.35)], reach, 5,
                          random, self.limb_rise, self.bend)
            radius = self.trunk * 0.42 * (1 - t) ** 0.5 + 0.02
            if level.depth >= 1:
                mesh.add_tube(limb, radius * (1 - np.linspace(0, 1, 6)) ** 0.8 + 0.008,
                              max(3, level.sides - 3), inset(BARK), reach)
            self.add_twigs(mesh, limb, radius, reach, center, level, random)

    def add_twigs(self, mesh, limb, radius, reach, center, level, random):
        for j in range(self.twigs):
            t = 0.22 + 0.78 * (j + random.uniform(0.2, 0.9)) / self.twigs
            along = unit(at(limb, min(1, t + 0.1)) - at(limb, max(0, t - 0.1)))
            s, up = frame(along)
            side = 1 if j % 2 else -1
            d = unit(along * 0.7 + s * side * random.uniform(0.5, 1.0) + up * random.normal(0.1, 0.4))
            length = self.card * random.uniform(0.9, 1.5) * (0.6 + 0.4 * min(1, reach / 2.5))
            twig = wobble(at(limb, min(t, 1)), d, length, 3, random, 0.1 - self.droop, 0.06)
            if level.depth >= 2:
                mesh.add_tube(twig, radius * 0.3 * np.array([1, 0.8, 0.6, 0.3]) + 0.004, 3,
                              inset(BARK), length)
            for _ in range(self.cards):
                draw = random.random_sample(8)
                spread = random.normal(0, 1, 3)
                if draw[0] > level.cards:
                    continue
                p = at(twig, 0.25 + 0.75 * draw[1])
                direction = unit(d + spread * 0.55 + [0, 0, -self.droop])
                across, _ = frame(direction)
                n = np.cross(across, direction)
                across = across * np.cos(draw[2] * 2.2 - 1.1) + n * np.sin(draw[2] * 2.2 - 1.1)
                size = self.card * (0.8 + 0.45 * draw[3]) * level.card_size
                p = p - direction * size * 0.2 * (level.card_size - 1)
                outward = p - center
                outward = unit(outward * [1, 1, 0.8]) * self.puff + unit(n if n[2] > 0 else -n) * (
                    1 - self.puff)
                mesh.add_card(p, direction, across, size, size * 0.46,
                              inset(SPRAYS[int(draw[4] * 2)]), outward + [0, 0, 0.25],
                              bend=self.droop, segments=1)


class Conifer:
    """A straight trunk with whorls of drooping branches that carry flat sprays."""

    def __init__(self, seed, height, trunk, crown_base, crown_radius, whorls, per_whorl, droop,
                 hanging=0.5, taper=0.85, upsweep=0.25):
        self.__dict__.update(locals())

    def grow(self, level):
        random = np.random.RandomState(self.seed)
        mesh = MeshBuilder()
        trunk = wobble([0, 0, -0.15], [0, 0, 1], self.height, 7, random, 0, 0.008)
        radii = self.trunk * (1 - np.linspace(0, 1, 8)) + 0.012
        radii[0] *= 1.35
        mesh.add_tube(trunk, radii, level.sides, inset(BARK), self.height / 2.5)
        for w in range(self.whorls):
            f = (w + 0.5) / self.whorls
            t = self.crown_base + (0.985 - self.crown_base) * f ** 0.92
            for k in range(self.per_whorl):
                self.add_branch(mesh, at(trunk, min(t + random.uniform(-0.008, 0.008), 1)), f,
                                k * 2 * np.pi / self.per_whorl + w * 0.9, level, random)
        top = at(trunk, 0.93)
        for k in range(3):
            a = k * 2.1
            mesh.add_card(top, [0, 0, 1], [np.cos(a), np.sin(a), 0], self.height * 0.08,
                          self.height * 0.022, inset(SPRAYS[0]), [np.cos(a), np.sin(a), 0.6])
        return mesh

    def add_branch(self, mesh, start, f, azimuth, level, random):
        draw = random.random_sample(8)
        reach = self.crown_radius * ((1 - f) ** self.taper + 0.04) * (0.75 + 0.4 * draw[0])
        if f < 0.12:
            reach *= 0.55 + 3.5 * f  # the lowest branches are old and broken
        azimuth += (draw[1] - 0.5) * 0.8
        if draw[2] > level.cards ** 0.45:
            return
        size = level.card_size ** 0.65
        out = np.array([np.cos(azimuth), np.sin(azimuth), 0])
        slope = 0.5 * f - self.droop * (1 - f) * 0.9
        direction = unit(out + [0, 0, slope])
        side = np.array([-np.sin(azimuth), np.cos(azimuth), 0])
        normal = out * 0.8 + [0, 0, 0.75]
        width = min(reach * 0.8, 0.55 + reach * 0.42) * size
        bend = self.droop * 0.35 - self.upsweep * 0.2
        roll = (draw[3] - 0.5) * 0.7
        across = side * np.cos(roll) + np.array([0, 0, np.sin(roll)])
        mesh.add_card(start, direction, across, reach, width, inset(SPRAYS[0]), normal, bend,
                      level.segments)
        if draw[4] < self.hanging:
            # Branchlets hang below the branch like a curtain.
            down = unit(np.array([0, 0, -1]) + out * 0.25)
            p = start + direction * reach * 0.3 - [0, 0, bend * reach * 0.1]
            mesh.add_card(p, unit(direction + [0, 0, -0.15]), down, reach * 0.66, width * 0.6,
                          inset(SPRAYS[1]), out + [0, 0, 0.15], bend, 1)
        if draw[5] < 0.7 and level.cards > 0.5:
            a = azimuth + (draw[6] - 0.5) * 1.3
            out2 = np.array([np.cos(a), np.sin(a), 0])
            p = start + direction * reach * 0.28
            mesh.add_card(p, unit(out2 + [0, 0, slope - 0.1]),
                          np.array([-out2[1], out2[0], 0.3]), reach * 0.62, width * 0.75,
                          inset(SPRAYS[1]), out2 * 0.8 + [0, 0, 0.75], bend, 1)
