"""The models: species in three levels of detail and buildings in one, with their textures.

Files: NAME_near.glb, NAME_mid.glb, NAME_far.glb, NAME.png (colour) and, where leaves are cut out of
cards, NAME_mask.png (opacity). `models.json` lists them with their sizes. A building is NAME.glb and
NAME.png.
"""

import json
import os

import numpy as np

import ground
import leaves
import props
import trees
from images import write_png
from meshes import write_glb
from painting import bark


def _tree_atlas(seed, bark_image, twig, spray, size=384):
    return trees.leaf_atlas(seed, size, bark_image, twig, spray)


def tree_species():
    dome = lambda f: np.sin(np.pi * (0.18 + 0.78 * f)) ** 0.6
    tall = lambda f: np.sin(np.pi * (0.12 + 0.84 * f)) ** 0.8 * (1.1 - 0.45 * f)
    flat = lambda f: 0.55 + 0.45 * np.sin(np.pi * f)
    yield 'spruce', trees.Conifer(11, 21, 0.24, 0.04, 3.4, 40, 8, 0.42, hanging=0.6), _tree_atlas(
        101, bark((58, 48, 42), (112, 96, 84), 1, 'scaly'), (70, 58, 44),
        trees.needle_spray([(58, 88, 48), (72, 104, 54), (52, 80, 54)], 0.11, 210, 10))
    yield 'larch', trees.Conifer(12, 18, 0.2, 0.1, 3.0, 34, 8, 0.12, hanging=0.6, upsweep=0.7), \
        _tree_atlas(102, bark((76, 58, 48), (142, 116, 96), 2, 'scaly'), (98, 78, 56),
                    trees.needle_spray([(128, 138, 58), (150, 146, 62), (112, 130, 58)], 0.095, 170,
                                       9))
    yield 'pine', trees.BroadTree(13, 17, 0.23, 0.58, 3.6, flat, 19, 8, 5, 1.15, droop=-0.06,
                                  limb_rise=0.5, limb_angle=1.1, bend=0.12), _tree_atlas(
        103, bark((92, 60, 44), (176, 122, 84), 3, 'scaly'), (110, 80, 58),
        trees.tuft_spray([(62, 88, 54), (78, 104, 58), (54, 80, 56)], 0.30, 110))
    yield 'birch', trees.BroadTree(14, 16, 0.13, 0.26, 2.7, tall, 25, 7, 4, 1.15, droop=0.42,
                                   limb_rise=0.5, limb_angle=0.75), _tree_atlas(
        104, bark((52, 48, 46), (222, 218, 210), 4, 'birch'), (84, 62, 50),
        trees.broad_spray([(118, 146, 52), (134, 158, 58), (104, 134, 50), (158, 164, 60)], 0.15,
                          0.66, 24, shape=0.75, teeth=0.2))
    yield 'oak', trees.BroadTree(15, 14, 0.36, 0.24, 5.6, dome, 18, 8, 5, 1.5, droop=0.05,
                                 limb_rise=0.35, limb_angle=1.25, bend=0.13), _tree_atlas(
        105, bark((60, 54, 46), (122, 112, 98), 5), (84, 70, 52),
        trees.broad_spray([(82, 112, 46), (94, 124, 48), (72, 102, 46), (110, 130, 52)], 0.22, 0.56,
                          22, shape=1.15, teeth=0.5))
    yield 'maple', trees.BroadTree(16, 13, 0.24, 0.22, 4.2, dome, 19, 8, 5, 1.3, droop=0.08,
                                   limb_rise=0.55, limb_angle=0.95, bend=0.09), _tree_atlas(
        106, bark((82, 74, 66), (140, 130, 118), 6), (92, 64, 50),
        trees.broad_spray([(206, 132, 44), (222, 158, 52), (190, 100, 42), (172, 150, 58)], 0.24,
                          0.82, 18, shape=0.8, teeth=0.7))
    yield 'bush', trees.BroadTree(17, 2.3, 0.035, 0.1, 1.15, dome, 9, 5, 5, 0.6, droop=0.06,
                                  limb_rise=0.5, limb_angle=0.8, stems=3), _tree_atlas(
        107, bark((78, 66, 54), (134, 118, 98), 7), (98, 80, 58),
        trees.broad_spray([(98, 124, 50), (112, 138, 56), (86, 114, 50)], 0.21, 0.7, 20), size=256)


def ground_species():
    grass = [((52, 66, 30), (98, 122, 46), (146, 158, 76)),
             ((58, 72, 32), (112, 132, 50), (166, 170, 86)),
             ((70, 74, 36), (136, 138, 64), (190, 178, 110)),
             ((46, 62, 30), (84, 112, 44), (126, 146, 66))]
    yield 'grass', ground.Grass(21, 76, 0.28, 0.42, 0.014, grass), ground.palette(grass)
    tall = [((84, 82, 42), (150, 142, 74), (198, 180, 120)),
            ((72, 78, 38), (128, 132, 62), (180, 168, 104)),
            ((120, 96, 60), (176, 142, 92), (204, 178, 128))]
    yield 'tallgrass', ground.Grass(22, 40, 0.24, 0.62, 0.010, tall, lean=0.16, curve=0.45, heads=16,
                                    head_column=2, head_width=1.1), ground.palette(tall)
    stem = ((60, 82, 36), (92, 120, 48), (110, 136, 56))
    yield 'daisy', ground.Flowers(23, 15, 0.24, 0.40, 12, 0.034, 0.1, None), ground.palette(
        [stem, stem, ((226, 226, 214), (246, 246, 240), (250, 250, 246)),
         ((214, 160, 30), (236, 190, 40), (240, 200, 60))])
    yield 'poppy', ground.Flowers(24, 9, 0.22, 0.48, 6, 0.052, 0.7, None, eye=0.25), ground.palette(
        [stem, stem, ((120, 16, 12), (206, 36, 22), (226, 62, 36)),
         ((30, 26, 24), (40, 34, 30), (52, 44, 38))])
    yield 'bellflower', ground.Flowers(25, 16, 0.24, 0.46, 6, 0.036, 0.9, None, eye=0), \
        ground.palette([stem, stem, ((104, 92, 168), (140, 124, 196), (176, 160, 216)),
                        ((200, 196, 120),) * 3])
    reed = [((74, 80, 42), (110, 126, 58), (164, 160, 92)),
            ((84, 84, 46), (128, 134, 66), (180, 166, 104)),
            ((70, 46, 30), (96, 62, 38), (112, 76, 48))]
    yield 'reed', ground.Grass(26, 34, 0.34, 1.9, 0.022, reed, lean=0.07, curve=0.16, heads=7,
                               head_column=2), ground.palette(reed)
    yield 'fern', ground.Fern(27, 13, 0.85, 0.34), ground.frond_atlas(
        108, [(92, 128, 48), (108, 144, 56), (82, 118, 48)])
    stone = ground.stone_image(31, (92, 88, 82), (168, 162, 150), (128, 132, 92))
    yield 'boulder', ground.Rock(28, (2.4, 1.9, 1.7)), stone
    yield 'slab', ground.Rock(29, (2.6, 2.0, 0.9), cuts=18, rough=0.05), stone
    yield 'stone', ground.Rock(30, (0.5, 0.42, 0.3), cuts=10, tile=0.5), stone


def write_models(folder):
    os.makedirs(folder, exist_ok=True)
    catalogue = []
    small = (0, 1, 2)
    for source, levels in ((tree_species(), trees.LEVELS), (ground_species(), small),
                           (leaves.species(), small), (props.species(), small)):
        for name, model, image in source:
            rgb, mask = image if isinstance(image, tuple) else (image, None)
            write_png(os.path.join(folder, name + '.png'), rgb)
            if mask is not None:
                write_png(os.path.join(folder, name + '_mask.png'), mask)
            entry = {'name': name, 'texture': name + '.png'}
            if mask is not None:
                entry['mask'] = name + '_mask.png'
            for suffix, level in zip(('near', 'mid', 'far'), levels):
                mesh = model.grow(level)
                file = '%s_%s.glb' % (name, suffix)
                write_glb(os.path.join(folder, file), name, mesh, name + '.png', mask is not None)
                points = mesh.arrays()[0]
                entry[suffix] = {'file': file, 'faces': mesh.num_faces(),
                                 'height': round(float(points[:, 2].max()), 2)}
            catalogue.append(entry)
    for name, mesh, image in props.buildings():
        write_png(os.path.join(folder, name + '.png'), image)
        write_glb(os.path.join(folder, name + '.glb'), name, mesh, name + '.png')
    with open(os.path.join(folder, 'models.json'), 'w', newline='\n') as file:
        file.write('[\n' + ',\n'.join('    ' + json.dumps(e) for e in catalogue) + '\n]\n')


if __name__ == '__main__':
    write_models(os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'models'))
