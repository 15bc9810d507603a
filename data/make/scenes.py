"""What the demo scenes need beside the models: maps, a height image, and leaves in a gust of wind.

The scenes themselves are written by hand, except the list of flying leaves, which this puts between
the two lines that mark it in `autumn.json`.
"""

import os
import re

import numpy as np

from images import write_png
from noise import fractal3, tiling_noise
from props import Wall


def ivy_map(width=512, seed=71):
    """Where ivy grows on the wall: white on and around shoots that climb from the ground, meet over
    the door and hang from the upper edge; black over the doorway."""
    height = int(width * Wall.height / Wall.length)
    random = np.random.RandomState(seed)
    cover = np.zeros((height, width))
    px = width / Wall.length
    y, x = np.mgrid[0:height, 0:width]
    wx, wz = (x + 0.5) / px - Wall.length / 2, (height - y - 0.5) / px

    def stroke(px0, pz0, px1, pz1, radius):
        dx, dz = px1 - px0, pz1 - pz0
        t = (((wx - px0) * dx + (wz - pz0) * dz) / max(dx * dx + dz * dz, 1e-9)).clip(0, 1)
        near = 1 - np.hypot(wx - px0 - t * dx, wz - pz0 - t * dz) / radius
        np.maximum(cover, near, out=cover)

    def climb(start_x, start_z, heading, length, radius, depth):
        p, step = np.array([start_x, start_z]), 0.12
        for i in range(int(length / step)):
            heading += random.normal(0, 0.2)
            heading += 0.10 * np.sin(-heading)  # upwards again
            if Wall.height - p[1] < 0.5:
                heading += 0.3 * np.sign(heading)  # along the upper edge
            q = p + step * np.array([np.sin(heading), np.cos(heading)])
            stroke(p[0], p[1], q[0], q[1], radius * (1 - 0.55 * i * step / length))
            if depth and random.random_sample() < 0.23:
                side = random.choice([-1, 1])
                climb(q[0], q[1], heading + side * random.uniform(0.5, 1.2),
                      length * random.uniform(0.25, 0.5), radius * 0.75, depth - 1)
            p = q

    for start in (-4.3, -3.0, -1.3):
        climb(start, 0.0, random.uniform(-0.15, 0.35), random.uniform(2.6, 4.4), 0.2, 3)
    for start in (1.9, 3.0, 4.0):
        climb(start, 0.0, random.uniform(-0.4, 0.1), random.uniform(1.8, 3.0), 0.17, 2)
    for _ in range(9):  # from the garden behind, over the edge
        at = random.uniform(-4.4, 1.2)
        climb(at, 2.95, np.pi + random.normal(0, 0.2), random.uniform(0.3, 1.0), 0.22, 1)
    ragged = tiling_noise(512, 24, 3, seed)[:height, :width] - 0.5
    cover = np.clip(cover * 1.9 + 0.55 * ragged, 0, 1)
    inside = (np.abs(wx) < Wall.half_door - 0.05)
    arch = Wall.spring + np.sqrt(np.clip((Wall.half_door - 0.05) ** 2 - wx ** 2, 0, None))
    cover[inside & (wz < arch)] = 0
    return (cover * 31).round().astype(np.uint8) * 8


def bank_heights(size=160):
    """A pool's bed in front, its winding shore, and the bank behind, over 32 m x 32 m; black is
    1 m below the water, white 5 m above."""
    y, x = np.mgrid[0:size, 0:size]
    x, y = (x / (size - 1) - 0.5) * 32, (0.5 - y / (size - 1)) * 32
    points = np.c_[x.ravel(), y.ravel(), 0 * x.ravel()]
    rough = fractal3(points * 0.45, 4, 73).reshape(size, size)
    inland = y - 0.5 - 0.5 * np.sin(0.7 * x) - 0.9 * np.exp(-((x - 3.2) / 1.6) ** 2) - 0.3 * rough
    bed = -0.7 * (1 - np.exp(np.minimum(inland, 0) * 0.8))
    bank = 0.42 * (1 - np.exp(-np.maximum(inland, 0) / 0.9)) + 0.085 * np.maximum(inland - 1.5, 0)
    heights = bed + bank + 0.09 * rough * (inland > 0)
    return ((heights + 1) / 6 * 65535).clip(0, 65535).round().astype(np.uint16)


def flying_leaves(count=640, seed=72):
    """Leaves on their way down through a gust: position, turn in degrees, size, age in ticks."""
    random = np.random.RandomState(seed)
    lines = []
    while len(lines) < count:
        # A stream that crosses the avenue from the right, and strays around it.
        t = random.random_sample()
        if random.random_sample() < 0.62:
            x = 4.6 - 8.5 * t + random.normal(0, 0.6)
            y = -1.8 + 4 * t + 1.2 * np.sin(5 * t) + random.normal(0, 0.9)
            z = 3.9 - 3.3 * t ** 0.9 + 0.5 * np.sin(6 * t + 0.6) + random.normal(0, 0.4)
        else:
            x, y = random.uniform(-7, 7), random.uniform(-4, 34)
            z = random.uniform(0.2, 8) * random.random_sample() ** 0.5
        if z < 0.12 or y < -4.6:
            continue
        turn = random.uniform(-180, 180, 3)
        size = random.uniform(0.8, 1.45)
        age = random.randint(1, 4800)
        lines.append('            {"position": [%.2f, %.2f, %.2f], "rotation": [%d, %d, %d], '
                     '"scale": [%.2f, %.2f, %.2f], "age": %d}' % (
                         x, y, z, *turn.round(), size, size, size, age))
    return ',\n'.join(lines)


def write_scenes(folder):
    os.makedirs(os.path.join(folder, 'images'), exist_ok=True)
    write_png(os.path.join(folder, 'images', 'ivy_map.png'), ivy_map())
    write_png(os.path.join(folder, 'images', 'bank.png'), bank_heights())
    path = os.path.join(folder, 'autumn.json')
    with open(path, encoding='utf-8') as file:
        text = file.read()
    begin, end = '// Flying leaves.\n', '            // As many'
    text = re.sub(re.escape(begin) + '.*?' + re.escape(end),
                  lambda _: begin + flying_leaves() + '\n' + end, text, flags=re.S)
    with open(path, 'w', encoding='utf-8', newline='\n') as file:
        file.write(text)


if __name__ == '__main__':
    write_scenes(os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'scenes'))
