"""The geometry library: templates of plants and stones, their images and their index.

A template is a mesh in a scene file under objects/, which the program makes of its description, drawn
with images that are pictures of the modelled species. Billboards stand on their base; sizes are in
metres. index.dat names them: display name; scene file without ending; object; thumbnail.
"""

import json
import os
import subprocess

import numpy as np

import ground
import models
import raster
import trees
from images import write_jpeg, write_png
from meshes import MeshBuilder

PAPER = np.array([236, 238, 230.0])


def picture_of(mesh, image, size, yaw):
    rgb, mask = image if isinstance(image, tuple) else (image, None)
    positions, normals, uvs, faces = mesh.arrays()
    low, high = positions.min(axis=0), positions.max(axis=0)
    half = max(-low[0], high[0], -low[1], high[1]) * 1.02
    box = (-half, half, 0, high[2] * 1.01)
    color, alpha = raster.draw(positions, normals, uvs, faces, rgb, mask, size, box, 2, yaw)
    return color, alpha, (2 * half, high[2] * 1.01)


def patch_of(model, image, size, width, count, seed):
    """A strip of several plants of the ground, `width` metres wide."""
    random = np.random.RandomState(seed)
    plant, strip = model.grow(0).arrays(), MeshBuilder()
    for _ in range(count):
        grow = random.uniform(0.7, 1.1)
        a = random.uniform(0, 6.28)
        c, s = np.cos(a), np.sin(a)
        turn = np.array([[c, s, 0], [-s, c, 0], [0, 0, 1]])
        place = [random.uniform(-0.42, 0.42) * width, random.uniform(-0.1, 0.1), 0]
        strip.add(plant[0] @ turn * grow + place, plant[1] @ turn, plant[2], plant[3])
    positions, normals, uvs, faces = strip.arrays()
    height = positions[:, 2].max() * 1.02
    color, alpha = raster.draw(positions, normals, uvs, faces, image, None, size,
                               (-width / 2, width / 2, 0, height), 2)
    return color, alpha, (width, height)


def planes(count, width, height):
    """`count` upright rectangles through the axis, at equal angles, with mapping over [0, 1]."""
    vertices, faces, uvs, uv_faces = [], [], [[0, 0, 0], [1, 0, 0], [1, 1, 0], [0, 1, 0]], []
    for i in range(count):
        a = np.pi * i / count
        x, y = width / 2 * np.cos(a), width / 2 * np.sin(a)
        k = len(vertices)
        vertices += [[-x, -y, 0], [x, y, 0], [x, y, height], [-x, -y, height]]
        faces += [[k, k + 1, k + 2], [k, k + 2, k + 3]]
        uv_faces += [[0, 1, 2], [0, 2, 3]]
    return {'vertices': vertices, 'faces': faces,
            'channels': {'1': {'vertices': uvs, 'faces': uv_faces}}}


class Shapes:
    """A low-polygon mesh with flat faces; every part has a material id."""

    def __init__(self):
        self.vertices, self.faces, self.ids = [], [], []

    def add(self, vertices, faces, material):
        k = len(self.vertices)
        self.vertices += [list(map(float, v)) for v in vertices]
        self.faces += [[i + k for i in f] for f in faces]
        self.ids += [material] * len(faces)

    def cone(self, radius, low, high, sides, material, turn=0.0, top=0.0):
        angles = np.arange(sides) * 2 * np.pi / sides + turn
        rim = np.c_[np.cos(angles) * radius, np.sin(angles) * radius, np.full(sides, low)]
        if top:
            upper = np.c_[np.cos(angles) * top, np.sin(angles) * top, np.full(sides, high)]
            faces = []
            for i in range(sides):
                j = (i + 1) % sides
                faces += [[i, j, sides + j], [i, sides + j, sides + i]]
            self.add(np.vstack([rim, upper]), faces, material)
            return
        faces = [[i, (i + 1) % sides, sides] for i in range(sides)]
        faces += [[0, i + 1, i] for i in range(1, sides - 1)]
        self.add(np.vstack([rim, [[0, 0, high]]]), faces, material)

    def blob(self, center, size, seed, level, rough, material):
        points, faces = ground.icosphere(level)
        random = np.random.RandomState(seed)
        points = points * (1 + random.uniform(-rough, rough, (len(points), 1)))
        self.add(points * size + center, faces.tolist(), material)

    def json(self):
        return {'vertices': [[round(x, 3) for x in v] for v in self.vertices], 'faces': self.faces,
                'material_ids': self.ids, 'smoothing': [0] * len(self.faces)}


def low_polygon_shapes():
    conifer = Shapes()
    conifer.cone(0.22, 0, 1.4, 6, 0, top=0.15)
    for i, (r, low, high) in enumerate([(1.9, 1.0, 3.4), (1.5, 2.4, 4.8), (1.05, 3.8, 6.2),
                                        (0.6, 5.2, 7.4)]):
        conifer.cone(r, low, high, 8, 1, i * 0.4)
    broad = Shapes()
    broad.cone(0.3, 0, 2.6, 6, 0, top=0.18)
    for i, (c, s) in enumerate([((0, 0, 4.2), (1.9, 1.9, 1.7)), ((1.1, 0.4, 3.4), (1.2, 1.1, 1.0)),
                                ((-0.9, -0.6, 3.5), (1.2, 1.3, 1.0)),
                                ((0.1, -0.4, 5.4), (1.1, 1.1, 1.0))]):
        broad.blob(c, s, 40 + i, 1, 0.1, 1)
    bush = Shapes()
    for i, (c, s) in enumerate([((0, 0, 0.5), (0.8, 0.75, 0.62)), ((0.55, 0.2, 0.35), (0.5, 0.5, 0.42)),
                                ((-0.45, 0.3, 0.38), (0.5, 0.55, 0.45))]):
        bush.blob(c, s, 50 + i, 1, 0.12, 0)
    stone, rock = Shapes(), Shapes()
    stone.blob((0, 0, 0.16), (0.32, 0.26, 0.2), 60, 1, 0.18, 0)
    rock.blob((0, 0, 0.6), (1.3, 1.05, 0.85), 61, 2, 0.09, 0)
    plant = Shapes()
    for i in range(9):
        a, tilt = i * 2.39996, 0.35 + 0.12 * (i % 4)
        out, side = np.array([np.cos(a), np.sin(a), 0]), np.array([-np.sin(a), np.cos(a), 0])
        middle = out * 0.32 * tilt * 2 + [0, 0, 0.34]
        tip = out * 0.75 * tilt * 2 + [0, 0, 0.42]
        plant.add([out * 0.02, middle - side * 0.09, middle + side * 0.09, tip],
                  [[0, 1, 2], [1, 3, 2]], 0)
    return {'Conifer Low Polygon': (conifer, ['wood', 'needles'], 'low_conifer'),
            'Broadleaf Low Polygon': (broad, ['wood', 'leaves'], 'low_broadleaf'),
            'Bush Low Polygon': (bush, ['leaves'], 'low_bush'),
            'Leafy Plant Low Polygon': (plant, ['leaves'], 'low_plant'),
            'Stone Low Polygon': (stone, ['stone'], 'low_stone'),
            'Rock Low Polygon': (rock, ['stone'], 'low_rock')}


LOW_COLORS = {'wood': (104, 82, 62), 'needles': (58, 92, 56), 'leaves': (104, 136, 58),
              'stone': (146, 140, 130)}


def thumbnail(path, color, alpha):
    """35 x 50, the picture standing on the lower edge of pale paper."""
    out = np.tile(PAPER, (50, 35, 1))
    h, w = alpha.shape
    out[50 - h:, (35 - w) // 2:(35 - w) // 2 + w] = (
        color * alpha[..., None] +
        out[50 - h:, (35 - w) // 2:(35 - w) // 2 + w] * (1 - alpha[..., None]))
    write_jpeg(path, out.clip(0, 255).astype(np.uint8))


def shrink(color, alpha, size):
    """Averages a picture down to at most size, keeping its shape."""
    h, w = alpha.shape
    scale = min(size[0] / w, size[1] / h)
    nw, nh = max(1, int(w * scale)), max(1, int(h * scale))
    rows = np.add.reduceat
    ys, xs = (np.arange(nh) * h // nh), (np.arange(nw) * w // nw)
    count = rows(rows(np.ones((h, w)), ys, 0), xs, 1)
    a = rows(rows(alpha, ys, 0), xs, 1)
    c = rows(rows(color * alpha[..., None], ys, 0), xs, 1) / np.maximum(a, 1e-6)[..., None]
    return c, a / count


# The program that turns descriptions into scene files.
PROGRAM = os.environ.get('DRAVIN_PROGRAM') or os.path.join(
    os.path.dirname(os.path.abspath(__file__)), '../../build/release/apps/dravin/dravin')


def write_scene(path, texmaps, materials, nodes):
    """A scene file, by way of its description."""
    description = path + '.json'
    write_description(description, texmaps, materials, nodes)
    subprocess.run([PROGRAM, '--quiet', 'convert', description, path], check=True)
    os.remove(description)


def write_description(path, texmaps, materials, nodes):
    """One value a line; a number list stays on its line."""
    lines = ['{', '    "dravin_scene": 1,']
    for key, table in (('texmaps', texmaps), ('materials', materials)):
        rows = ['        %s: %s' % (json.dumps(k), json.dumps(v)) for k, v in table.items()]
        lines.append('    "%s": {\n%s\n    },' % (key, ',\n'.join(rows)))
    rows = ['        {' + ',\n         '.join('%s: %s' % (json.dumps(k), json.dumps(v))
                                              for k, v in node.items()) + '}' for node in nodes]
    lines.append('    "nodes": [\n%s\n    ]' % ',\n'.join(rows))
    with open(path, 'w', newline='\n') as file:
        file.write('\n'.join(lines) + '\n}\n')


def add_item_material(materials, name, shadow=None):
    """What the nodes show: the material with the item's tint, not seen on shadow planes."""
    item = {'type': 'DravinMat', 'material1': name}
    if shadow:
        item['vshadowmap'] = shadow
    materials[name + ' item'] = item
    return name + ' item'


class Library:
    def __init__(self, folder):
        self.folder = folder
        self.index = []
        for name in ('objects', 'images'):
            os.makedirs(os.path.join(folder, name), exist_ok=True)

    def image(self, name):
        return os.path.join(self.folder, 'images', name)

    def add_billboards(self, file, picture, variants):
        """One picture, several templates: (display name, number of planes)."""
        color, alpha, (width, height) = picture
        write_png(self.image(file + '.png'), ((color / 4).round() * 4).clip(0, 255).astype(np.uint8))
        write_png(self.image(file + '_mask.png'),
                  ((alpha * 15).round() / 15 * 255).astype(np.uint8))
        texmaps = {'color': {'type': 'bitmap', 'file': '../images/%s.png' % file, 'wrap': 'clamp'},
                   'mask': {'type': 'bitmap', 'file': '../images/%s_mask.png' % file,
                            'wrap': 'clamp'}}
        materials = {file: {'type': 'standard', 'diffuse_map': 'color', 'opacity_map': 'mask',
                            'two_sided': True}}
        material = add_item_material(materials, file, 'mask')
        nodes = []
        for name, count in variants:
            mesh = planes(count, round(width, 2), round(height, 2))
            mesh['vertices'] = [[round(x, 3) for x in v] for v in mesh['vertices']]
            nodes.append({'name': name, 'type': 'mesh', 'material': material, **mesh})
            thumb = '%s_%d.jpg' % (file, count)
            self.index.append((name, file, name, thumb))
            thumbnail(self.image(thumb), *shrink(color, alpha, (33 - 2 * (count == 1), 48)))
        write_scene(os.path.join(self.folder, 'objects', file + '.max'), texmaps, materials, nodes)

    def add_shapes(self, name, shapes, parts, file):
        materials = {p: {'type': 'standard',
                         'diffuse': [round(c / 255, 3) for c in LOW_COLORS[p]]} for p in parts}
        material = parts[0]
        if len(parts) > 1:
            material = file
            materials[file] = {'type': 'multi', 'sub': parts}
        material = add_item_material(materials, material)
        node = {'name': name, 'type': 'mesh', 'material': material, **shapes.json()}
        write_scene(os.path.join(self.folder, 'objects', file + '.max'), {}, materials, [node])
        self.index.append((name, file, name, file + '.jpg'))
        vertices, faces = np.array(shapes.vertices), np.array(shapes.faces)
        corners = vertices[faces]
        flat = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
        texture = np.array([[LOW_COLORS[p] for p in parts]], float)
        u = (np.array(shapes.ids) + 0.5) / len(parts)
        color, alpha = raster.draw(corners.reshape(-1, 3), np.repeat(flat, 3, axis=0),
                                   np.c_[np.repeat(u, 3), np.full(3 * len(u), 0.5)],
                                   np.arange(3 * len(faces)).reshape(-1, 3), texture, None,
                                   (32, 46), None, 4, 0.5, 0.25)
        thumbnail(self.image(file + '.jpg'), color, alpha)

    def add_symbols(self):
        """Thumbnails of rows without a template: a crossed circle, and a cube."""
        y, x = np.mgrid[0:50, 0:35] + 0.5
        r = np.hypot(x - 17.5, y - 25)
        ring = (np.abs(r - 11) < 1.6) | ((np.abs((x - 17.5) - (y - 25)) < 2) & (r < 11))
        out = np.where(ring[..., None], np.array([176, 60, 52.0]), PAPER)
        write_jpeg(self.image('disabled.jpg'), out.astype(np.uint8))
        box = np.array([[-1, -1, -1], [1, -1, -1], [1, 1, -1], [-1, 1, -1],
                        [-1, -1, 1], [1, -1, 1], [1, 1, 1], [-1, 1, 1]], float)
        quads = [(0, 3, 2, 1), (4, 5, 6, 7), (0, 1, 5, 4), (1, 2, 6, 5), (2, 3, 7, 6), (3, 0, 4, 7)]
        corners = np.array([[box[a], box[b], box[c]] for q in quads
                            for a, b, c in ((q[0], q[1], q[2]), (q[0], q[2], q[3]))])
        flat = np.cross(corners[:, 1] - corners[:, 0], corners[:, 2] - corners[:, 0])
        color, alpha = raster.draw(corners.reshape(-1, 3), np.repeat(flat, 3, axis=0),
                                   np.zeros((36, 2)), np.arange(36).reshape(-1, 3),
                                   np.array([[[126, 148, 172.0]]]), None, (32, 46), None, 4, 0.6, 0.5)
        thumbnail(self.image('custom.jpg'), color, alpha)

    def finish(self):
        path = os.path.join(self.folder, 'index.dat')
        with open(path, 'w', encoding='utf-8', newline='\n') as file:
            file.write('Dravin Pack templates: name;scene file;object;thumbnail\n')
            for row in self.index:
                file.write(';'.join(row) + '\n')


def write_library(folder):
    library = Library(folder)
    species = {name: (model, image) for name, model, image in models.tree_species()}
    plants = {name: (model, image) for name, model, image in models.ground_species()}

    def tree(name, size, yaw=0.4):
        model, image = species[name]
        return picture_of(model.grow(trees.LEVELS[0]), image, size, yaw)

    library.add_billboards('oak', tree('oak', (192, 256)),
                           [('One Plane', 1), ('Two Planes', 2), ('Three Planes', 3)])
    library.add_billboards('spruce', tree('spruce', (96, 288)),
                           [('Spruce One Plane', 1), ('Spruce Two Planes', 2)])
    library.add_billboards('larch', tree('larch', (96, 272)), [('Larch Two Planes', 2)])
    library.add_billboards('pine', tree('pine', (128, 256)), [('Pine Two Planes', 2)])
    library.add_billboards('birch', tree('birch', (112, 256)), [('Birch Two Planes', 2)])
    library.add_billboards('maple', tree('maple', (176, 256)), [('Maple Three Planes', 3)])
    library.add_billboards('bush', tree('bush', (160, 128)), [('Bush Two Planes', 2),
                                                              ('Bush Three Planes', 3)])
    fern, image = plants['fern']
    library.add_billboards('fern', picture_of(fern.grow(0), image, (128, 64), 0.3),
                           [('Fern Two Planes', 2)])
    for name, title, size, width, count in (
            ('grass', 'Grass', (160, 96), 0.8, 7), ('tallgrass', 'Tall Grass', (128, 128), 0.8, 7),
            ('reed', 'Reed', (96, 192), 1.2, 3), ('daisy', 'Daisies', (128, 96), 0.7, 6),
            ('poppy', 'Poppies', (128, 96), 0.7, 6)):
        model, image = plants[name]
        variants = [(title + ' Two Planes', 2)]
        if name == 'grass':
            variants = [(title + ' One Plane', 1)] + variants + [(title + ' Three Planes', 3)]
        library.add_billboards(name, patch_of(model, image, size, width, count, 70), variants)
    for name, (shapes, parts, file) in low_polygon_shapes().items():
        library.add_shapes(name, shapes, parts, file)
    library.add_symbols()
    library.finish()
