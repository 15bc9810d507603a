"""Paints leaves, twigs, bark and stone into small images with an alpha channel.

A Canvas works in units of its width and height (x to the right, y up, both 0..1 of the rectangle in
use) at twice the final resolution, and is averaged down at the end. What no leaf covers keeps the
mean colour of all that is covered, so that coarse levels of a texture get no dark fringe.
"""

import numpy as np

from noise import tiling_noise


class Canvas:
    def __init__(self, width, height, seed):
        self.scale = 2
        self.w, self.h = width * self.scale, height * self.scale
        self.color = np.zeros((self.h, self.w, 3))
        self.alpha = np.zeros((self.h, self.w))
        self.random = np.random.RandomState(seed)
        self.use(0, 0, 1, 1)

    def use(self, u0, v0, u1, v1):
        """Further strokes go to this rectangle of the image."""
        self.rect = (u0, v0, u1, v1)
        self.px = (u1 - u0) * self.w
        self.py = (v1 - v0) * self.h

    def _window(self, x0, y0, x1, y1):
        """Pixel indices and coordinates (in pixels of the rectangle) of a part of the rectangle."""
        u0, v0, _, _ = self.rect
        ox, oy = u0 * self.w, v0 * self.h
        c0, c1 = int(max(0, np.floor(x0))), int(min(self.px, np.ceil(x1) + 1))
        r0, r1 = int(max(0, np.floor(y0))), int(min(self.py, np.ceil(y1) + 1))
        if c1 <= c0 or r1 <= r0:
            return None
        columns = slice(int(ox) + c0, int(ox) + c1)
        rows = slice(self.h - int(oy) - r1, self.h - int(oy) - r0)
        x, y = np.meshgrid(np.arange(c0, c1) + 0.5, np.arange(r0, r1)[::-1] + 0.5)
        return rows, columns, x, y

    def leaf(self, x, y, angle, length, width, color, shape=0.8, rib=0.12, teeth=0.0):
        """A leaf from its stalk at (x, y); angle 0 points up. Length and width in parts of the
        rectangle's width."""
        length, width = length * self.px, width * self.px / 2
        x, y = x * self.px, y * self.py
        d = np.array([np.sin(angle), np.cos(angle)])
        tip = (x + d[0] * length, y + d[1] * length)
        window = self._window(min(x, tip[0]) - width, min(y, tip[1]) - width,
                              max(x, tip[0]) + width, max(y, tip[1]) + width)
        if window is None:
            return
        rows, columns, gx, gy = window
        t = ((gx - x) * d[0] + (gy - y) * d[1]) / length
        s = (gx - x) * d[1] - (gy - y) * d[0]
        inside = (t > 0) & (t < 1)
        profile = np.zeros_like(t)
        profile[inside] = np.sin(np.pi * t[inside] ** shape) ** 0.85
        if teeth:
            profile *= 1 + teeth * (np.abs((t * 9) % 1 - 0.5) * 2 - 0.5)
        across = s / max(width, 1e-6)
        mask = inside & (np.abs(across) < profile)
        shade = 1 + 0.10 * np.sign(across) + 0.12 * (t - 0.5)
        shade = np.where(np.abs(across) < 0.10, shade + rib, shade)
        self.color[rows, columns][mask] = (np.asarray(color) * shade[..., None])[mask]
        self.alpha[rows, columns][mask] = 1

    def stroke(self, x0, y0, x1, y1, w0, w1, color):
        """A twig between two points, w0 to w1 thick (parts of the rectangle's width)."""
        x0, x1, y0, y1 = x0 * self.px, x1 * self.px, y0 * self.py, y1 * self.py
        w0, w1 = w0 * self.px / 2, w1 * self.px / 2
        pad = max(w0, w1) + 1
        window = self._window(min(x0, x1) - pad, min(y0, y1) - pad, max(x0, x1) + pad,
                              max(y0, y1) + pad)
        if window is None:
            return
        rows, columns, gx, gy = window
        d = np.array([x1 - x0, y1 - y0])
        length = max(np.hypot(*d), 1e-6)
        t = np.clip(((gx - x0) * d[0] + (gy - y0) * d[1]) / length ** 2, 0, 1)
        distance = np.hypot(gx - x0 - t * d[0], gy - y0 - t * d[1])
        mask = distance < w0 + (w1 - w0) * t
        self.color[rows, columns][mask] = np.asarray(color) * 1.0
        self.alpha[rows, columns][mask] = 1

    def fill(self, image):
        """Covers the rectangle with an image (height x width x 3, stretched by nearest pixels)."""
        rows, columns, gx, gy = self._window(0, 0, self.px, self.py)
        iy = ((1 - gy / self.py) * image.shape[0]).astype(int).clip(0, image.shape[0] - 1)
        ix = (gx / self.px * image.shape[1]).astype(int).clip(0, image.shape[1] - 1)
        self.color[rows, columns] = image[iy, ix]
        self.alpha[rows, columns] = 1

    def vary(self, color, amount=0.12):
        """A colour near this one: lighter or darker, warmer or cooler."""
        c = np.asarray(color, float) * (1 + self.random.normal(0, amount))
        warm = self.random.normal(0, amount * 0.5)
        return c * np.array([1 + warm, 1, 1 - warm])

    def finish(self):
        """(rgb, mask) as uint8 arrays."""
        k = self.scale
        blocks = lambda a: a.reshape(self.h // k, k, self.w // k, k, -1).mean(axis=(1, 3))
        alpha = blocks(self.alpha)
        color = blocks(self.color * self.alpha[..., None])
        mean = (color.sum(axis=(0, 1)) / max(alpha.sum(), 1e-9))
        color = np.where(alpha > 0.02, color / np.maximum(alpha, 0.02), mean)
        # Fewer shades compress to half the size and cannot be told from all of them.
        rgb = (np.clip(color, 0, 255) / 4).round() * 4
        mask = (np.clip(alpha[..., 0] * 16, 0, 16).round() / 16 * 255)
        return rgb.clip(0, 255).astype(np.uint8), mask.astype(np.uint8)


def bark(dark, light, seed, kind='furrowed', size=128):
    """Bark as a size x size x 3 image that tiles."""
    if kind == 'birch':
        base = tiling_noise(size, 3, 4, seed)
        lines = tiling_noise(size, 2, 4, seed + 1, stretch=8)
        amount = np.clip((lines - 0.66) * 6, 0, 1) * 0.9 + 0.15 * base
        amount = 1 - np.clip(amount, 0, 1)
    elif kind == 'scaly':
        amount = np.abs(tiling_noise(size, 5, 3, seed) * 2 - 1) ** 0.6
    else:
        ridges = tiling_noise(size, 10, 3, seed).T
        stretched = np.repeat(ridges[::4], 4, axis=0)[:size]
        amount = np.abs(stretched * 2 - 1) ** 0.7 * 0.8 + 0.2 * tiling_noise(size, 8, 3, seed + 2)
    a = amount[..., None]
    return np.asarray(dark) * (1 - a) + np.asarray(light) * a
