"""A million instances on a terrain of a million triangles by Blender's geometry nodes: random places, turned
to the normal, turned and scaled at random. All processors.

    blender --background --factory-startup --python scatter_blender.py

The time is that of an update after the seed changed, as in an interactive session; the terrain's own
evaluation, measured with no points, is left out."""

import time

import bpy
import numpy as np

LENGTH, WIDTH, ITEMS = 1000, 500, 1000000


def make_terrain():
    x, y = np.meshgrid(np.arange(LENGTH + 1.0), np.arange(WIDTH + 1.0))
    z = (18 * np.sin(0.013 * x) * np.cos(0.017 * y) + 5 * np.sin(0.061 * x + 0.047 * y)
         + 1.2 * np.sin(0.31 * x) * np.sin(0.27 * y) + 0.3 * np.sin(1.1 * x + 2 * np.sin(0.9 * y)))
    first = (np.arange(WIDTH)[:, None] * (LENGTH + 1) + np.arange(LENGTH)).ravel()
    faces = np.stack([first, first + 1, first + LENGTH + 2, first + LENGTH + 1], axis=1)
    mesh = bpy.data.meshes.new('terrain')
    mesh.from_pydata(np.stack([x, y, z], axis=2).reshape(-1, 3).tolist(), [], faces.tolist())
    terrain = bpy.data.objects.new('terrain', mesh)
    bpy.context.scene.collection.objects.link(terrain)
    return terrain, sum(face.area for face in mesh.polygons)


def make_card():
    mesh = bpy.data.meshes.new('card')
    mesh.from_pydata([(-.1, 0, 0), (.1, 0, 0), (.1, 0, .3), (-.1, 0, .3)], [], [(0, 1, 2, 3)])
    card = bpy.data.objects.new('card', mesh)
    bpy.context.scene.collection.objects.link(card)
    return card


def make_scatter(card):
    group = bpy.data.node_groups.new('scatter', 'GeometryNodeTree')
    group.inputs.new('NodeSocketGeometry', 'Geometry')
    group.outputs.new('NodeSocketGeometry', 'Geometry')
    node, link = group.nodes.new, group.links.new
    source, result = node('NodeGroupInput'), node('NodeGroupOutput')
    points = node('GeometryNodeDistributePointsOnFaces')
    link(source.outputs[0], points.inputs['Mesh'])
    angles, sizes = node('FunctionNodeRandomValue'), node('FunctionNodeRandomValue')
    angles.data_type, sizes.data_type = 'FLOAT_VECTOR', 'FLOAT'
    angles.inputs[0].default_value = (-0.09, -0.09, 0)
    angles.inputs[1].default_value = (0.09, 0.09, 6.2832)
    sizes.inputs[2].default_value, sizes.inputs[3].default_value = 0.8, 1.2
    turn = node('FunctionNodeRotateEuler')
    turn.space = 'LOCAL'
    link(points.outputs['Rotation'], turn.inputs[0])
    link(angles.outputs[0], turn.inputs[1])
    shape, instances = node('GeometryNodeObjectInfo'), node('GeometryNodeInstanceOnPoints')
    shape.inputs['Object'].default_value = card
    link(points.outputs['Points'], instances.inputs['Points'])
    link(shape.outputs['Geometry'], instances.inputs['Instance'])
    link(turn.outputs[0], instances.inputs['Rotation'])
    link(sizes.outputs[1], instances.inputs['Scale'])
    link(instances.outputs['Instances'], result.inputs[0])
    return group, points


def seconds(points, density, seed):
    points.inputs['Density'].default_value = density
    points.inputs['Seed'].default_value = seed
    bpy.context.view_layer.update()
    points.inputs['Seed'].default_value = seed + 1
    start = time.perf_counter()
    bpy.context.view_layer.update()
    return time.perf_counter() - start


def count_instances(terrain):
    instances = bpy.context.evaluated_depsgraph_get().object_instances
    return sum(1 for i in instances if i.is_instance and i.parent and i.parent.original == terrain)


for thing in list(bpy.data.objects):
    bpy.data.objects.remove(thing)
terrain, area = make_terrain()
group, points = make_scatter(make_card())
terrain.modifiers.new('scatter', 'NODES').node_group = group
empty = seconds(points, 0, 1)
full = seconds(points, ITEMS / area, 3)
count = count_instances(terrain)
assert 0.98 * ITEMS < count < 1.02 * ITEMS, count
print('PEER\tnode scatter\tBlender %s\t%g' % (bpy.app.version_string, count / (full - empty) / 1e6))
