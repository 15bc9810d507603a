"""A small z-buffer: draws a textured mesh from the side, for billboards and thumbnails."""

import numpy as np

from meshes import unit

SUN = unit([-0.55, -0.6, 0.75])


def draw(positions, normals, uvs, faces, texture, mask, size, box=None, oversample=2, yaw=0.0,
         pitch=0.0):
    """rgb (height x width x 3, float 0..255) and alpha (0..1). The mesh is seen along +y, turned by
    yaw and tilted by pitch, and fills the picture, or the box (x0, x1, z0, z1)."""
    w, h = size[0] * oversample, size[1] * oversample
    c, s = np.cos(yaw), np.sin(yaw)
    turn = np.array([[c, s, 0], [-s, c, 0], [0, 0, 1]]).T
    c, s = np.cos(pitch), np.sin(pitch)
    tilt = np.array([[1, 0, 0], [0, c, s], [0, -s, c]]).T
    p = positions @ turn @ tilt
    n = normals / np.maximum(np.linalg.norm(normals, axis=1), 1e-9)[:, None] @ turn
    light = np.clip(n @ SUN, 0, 1) * 0.75 + np.clip(n[:, 2] * 0.5 + 0.5, 0, 1) * 0.3 + 0.12
    if box is None:
        low, high = p.min(axis=0), p.max(axis=0)
        scale = max((high[0] - low[0]) / w, (high[2] - low[2]) / h) * 1.04
        middle = (low[0] + high[0]) / 2
        bottom = low[2] - scale * h * 0.02 if (high[2] - low[2]) / h * 1.04 >= scale * 0.999 else (
            (low[2] + high[2]) / 2 - scale * h / 2)
        x, y = (p[:, 0] - middle) / scale + w / 2, h - (p[:, 2] - bottom) / scale
    else:
        x = (p[:, 0] - box[0]) / (box[1] - box[0]) * w
        y = h - (p[:, 2] - box[2]) / (box[3] - box[2]) * h
    color, alpha = np.zeros((h, w, 3)), np.zeros((h, w))
    depth = np.full((h, w), np.inf)
    th, tw = texture.shape[:2]
    for a, b, c in faces:
        x0, x1 = int(min(x[a], x[b], x[c])), int(max(x[a], x[b], x[c])) + 1
        y0, y1 = int(min(y[a], y[b], y[c])), int(max(y[a], y[b], y[c])) + 1
        x0, y0, x1, y1 = max(x0, 0), max(y0, 0), min(x1, w), min(y1, h)
        area = (x[b] - x[a]) * (y[c] - y[a]) - (y[b] - y[a]) * (x[c] - x[a])
        if x1 <= x0 or y1 <= y0 or abs(area) < 1e-9:
            continue
        gx, gy = np.arange(x0, x1)[None, :] + 0.5, np.arange(y0, y1)[:, None] + 0.5
        wb = ((gx - x[a]) * (y[c] - y[a]) - (gy - y[a]) * (x[c] - x[a])) / area
        wc = ((x[b] - x[a]) * (gy - y[a]) - (y[b] - y[a]) * (gx - x[a])) / area
        wa = 1 - wb - wc
        z = wa * p[a, 1] + wb * p[b, 1] + wc * p[c, 1]
        hit = (wa >= 0) & (wb >= 0) & (wc >= 0) & (z < depth[y0:y1, x0:x1])
        if not hit.any():
            continue
        u = wa * uvs[a, 0] + wb * uvs[b, 0] + wc * uvs[c, 0]
        v = wa * uvs[a, 1] + wb * uvs[b, 1] + wc * uvs[c, 1]
        tx = (np.mod(u, 1) * tw).astype(int).clip(0, tw - 1)
        ty = ((1 - np.mod(v, 1)) * th).astype(int).clip(0, th - 1)
        if mask is not None:
            hit &= mask[ty, tx] > 110
        shade = wa * light[a] + wb * light[b] + wc * light[c]
        depth[y0:y1, x0:x1][hit] = z[hit]
        color[y0:y1, x0:x1][hit] = (texture[ty, tx] * shade[..., None])[hit]
        alpha[y0:y1, x0:x1][hit] = 1
    k = oversample
    blocks = lambda a: a.reshape(h // k, k, w // k, k, -1).mean(axis=(1, 3))
    small = blocks(alpha)
    rgb = blocks(color) / np.maximum(small, 1e-6)
    mean = color.sum(axis=(0, 1)) / max(alpha.sum(), 1)
    rgb = np.where(small > 0.02, rgb, mean)
    return rgb.clip(0, 255), small[..., 0]
