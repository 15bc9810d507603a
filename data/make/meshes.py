"""Triangle meshes under construction, and their way into binary glTF.

Z is up, lengths are metres, v = 0 is the bottom edge of an image. A tube is a branch, a card a flat
picture of leaves with normals of its own, which may follow the crown instead of the card.
"""

import json
import struct

import numpy as np


def unit(v):
    v = np.asarray(v, float)
    return v / max(np.linalg.norm(v), 1e-12)


def frame(direction):
    """Two unit vectors across a direction."""
    d = unit(direction)
    helper = np.array([0, 0, 1.0]) if abs(d[2]) < 0.9 else np.array([1.0, 0, 0])
    s = unit(np.cross(d, helper))
    return s, np.cross(s, d)


class MeshBuilder:
    def __init__(self):
        self.positions, self.normals, self.uvs, self.faces = [], [], [], []
        self.count = 0

    def add(self, positions, normals, uvs, faces):
        positions = np.asarray(positions, float)
        self.positions.append(positions)
        self.normals.append(np.asarray(normals, float))
        self.uvs.append(np.asarray(uvs, float))
        self.faces.append(np.asarray(faces, int) + self.count)
        self.count += len(positions)

    def add_tube(self, path, radii, sides, rect, repeat=1.0):
        """A branch along the points of `path`. `rect` (u0, v0, u1, v1) holds the bark; it is walked
        up and down alternately, `repeat` times over the whole length."""
        path = np.asarray(path, float)
        u0, v0, u1, v1 = rect
        angles = np.arange(sides + 1) * (2 * np.pi / sides)
        lengths = np.r_[0, np.cumsum(np.linalg.norm(np.diff(path, axis=0), axis=1))]
        rows, normals, uvs = [], [], []
        s = None
        for i, point in enumerate(path):
            ahead = path[min(i + 1, len(path) - 1)] - path[max(i - 1, 0)]
            if s is None:
                s, t = frame(ahead)
            else:  # carry the frame on, so that the tube does not twist
                t = unit(np.cross(s, unit(ahead)))
                s = unit(np.cross(unit(ahead), t))
            ring = np.cos(angles)[:, None] * s + np.sin(angles)[:, None] * t
            rows.append(point + ring * radii[i])
            normals.append(ring)
            v = lengths[i] / max(lengths[-1], 1e-9) * repeat
            v = abs((v + 1) % 2 - 1)
            across = np.abs((np.arange(sides + 1) / sides * 2 + 1) % 2 - 1)
            uvs.append(np.c_[u0 + (u1 - u0) * across, np.full(sides + 1, v0 + (v1 - v0) * v)])
        n = sides + 1
        faces = []
        for i in range(len(path) - 1):
            for j in range(sides):
                a, b, c, d = i * n + j, i * n + j + 1, (i + 1) * n + j, (i + 1) * n + j + 1
                faces += [[a, d, b], [a, c, d]]
        # The ring runs clockwise seen from the tip when s, t, ahead is left-handed; test one face.
        rows = np.concatenate(rows)
        a, b, c = rows[faces[0]]
        if np.dot(np.cross(b - a, c - a), normals[0][0]) < 0:
            faces = [[x, z, y] for x, y, z in faces]
        self.add(rows, np.concatenate(normals), np.concatenate(uvs), faces)

    def add_card(self, base, direction, across, length, width, rect, normal=None, bend=0.0,
                 segments=1):
        """A leaf card from `base` along `direction`; bent down by `bend` of its length at the tip."""
        d, a = unit(direction), unit(across)
        a = unit(a - d * np.dot(a, d))
        flat = np.cross(a, d)
        u0, v0, u1, v1 = rect
        positions, uvs = [], []
        for i in range(segments + 1):
            t = i / segments
            middle = np.asarray(base) + d * (length * t) - np.array([0, 0, bend * length * t * t])
            positions += [middle - a * width / 2, middle + a * width / 2]
            uvs += [[u0, v0 + (v1 - v0) * t], [u1, v0 + (v1 - v0) * t]]
        faces = []
        for i in range(segments):
            k = 2 * i
            faces += [[k, k + 1, k + 3], [k, k + 3, k + 2]]
        n = flat if normal is None else unit(normal)
        self.add(positions, np.tile(n, (len(positions), 1)), uvs, faces)

    def add_blade(self, base, direction, across, length, width, rect, bend, segments, normal):
        """A tapering blade of grass that ends in a point."""
        d, a = unit(direction), unit(across)
        u0, v0, u1, v1 = rect
        u = (u0 + u1) / 2
        positions, uvs = [], []
        for i in range(segments):
            t = i / segments
            middle = np.asarray(base) + d * (length * t) + np.asarray(bend) * (length * t * t)
            half = width / 2 * (1 - t ** 1.6)
            positions += [middle - a * half, middle + a * half]
            uvs += [[u0, v0 + (v1 - v0) * t], [u1, v0 + (v1 - v0) * t]]
        positions.append(np.asarray(base) + d * length + np.asarray(bend) * length)
        uvs.append([u, v1])
        faces = []
        for i in range(segments - 1):
            k = 2 * i
            faces += [[k, k + 1, k + 3], [k, k + 3, k + 2]]
        k = 2 * (segments - 1)
        faces.append([k, k + 1, k + 2])
        self.add(positions, np.tile(unit(normal), (len(positions), 1)), uvs, faces)

    def arrays(self):
        return (np.concatenate(self.positions), np.concatenate(self.normals),
                np.concatenate(self.uvs), np.concatenate(self.faces))

    def num_faces(self):
        return sum(len(f) for f in self.faces)


def write_glb(path, name, builder, texture=None, cut=False):
    """One mesh, one material. glTF has Y up and v = 0 at the top edge."""
    positions, normals, uvs, faces = builder.arrays()
    turn = lambda p: np.c_[p[:, 0], p[:, 2], -p[:, 1]].astype('<f4')
    normals = normals / np.maximum(np.linalg.norm(normals, axis=1), 1e-12)[:, None]
    uv = np.c_[uvs[:, 0], 1 - uvs[:, 1]].astype('<f4')
    index_type = '<u2' if len(positions) < 65535 else '<u4'
    parts = [turn(positions), turn(normals), uv, faces.reshape(-1).astype(index_type)]
    blobs, views, offset = [], [], 0
    for i, part in enumerate(parts):
        data = part.tobytes()
        views.append({'buffer': 0, 'byteOffset': offset, 'byteLength': len(data),
                      'target': 34963 if i == 3 else 34962})
        data += b'\0' * (-len(data) % 4)
        blobs.append(data)
        offset += len(data)
    accessors = [
        {'bufferView': 0, 'componentType': 5126, 'count': len(positions), 'type': 'VEC3',
         'min': parts[0].min(axis=0).tolist(), 'max': parts[0].max(axis=0).tolist()},
        {'bufferView': 1, 'componentType': 5126, 'count': len(positions), 'type': 'VEC3'},
        {'bufferView': 2, 'componentType': 5126, 'count': len(positions), 'type': 'VEC2'},
        {'bufferView': 3, 'componentType': 5123 if index_type == '<u2' else 5125,
         'count': faces.size, 'type': 'SCALAR'}]
    material = {'name': name, 'pbrMetallicRoughness': {'metallicFactor': 0, 'roughnessFactor': 1}}
    document = {
        'asset': {'version': '2.0', 'generator': 'Dravin Pack data/make'},
        'scene': 0, 'scenes': [{'nodes': [0]}], 'nodes': [{'name': name, 'mesh': 0}],
        'meshes': [{'name': name, 'primitives': [
            {'attributes': {'POSITION': 0, 'NORMAL': 1, 'TEXCOORD_0': 2}, 'indices': 3,
             'material': 0}]}],
        'materials': [material], 'accessors': accessors, 'bufferViews': views,
        'buffers': [{'byteLength': offset}]}
    if texture:
        document['images'] = [{'uri': texture}]
        document['textures'] = [{'source': 0}]
        material['pbrMetallicRoughness']['baseColorTexture'] = {'index': 0}
    if cut:
        material.update({'alphaMode': 'MASK', 'alphaCutoff': 0.5, 'doubleSided': True})
    text = json.dumps(document, separators=(',', ':')).encode()
    text += b' ' * (-len(text) % 4)
    body = b''.join(blobs)
    with open(path, 'wb') as file:
        file.write(struct.pack('<III', 0x46546c67, 2, 12 + 8 + len(text) + 8 + len(body)))
        file.write(struct.pack('<II', len(text), 0x4e4f534a) + text)
        file.write(struct.pack('<II', len(body), 0x004e4942) + body)
