"""Opening, saving and changing scenes."""

import json
import math
import os
import unittest

import numpy

import dravin
from scenes import FIELD, TestCase, field


class Loading(TestCase):
    def test_file_and_dictionary_give_the_same_scene(self):
        path = self.write('s.json', FIELD)
        self.assertEqual(dravin.Scene.load(path).to_dict(), field().to_dict())

    def test_saved_scene_reads_back_as_it_was(self):
        scene = field()
        scene['Field']['units_x'] = 4.5
        scene.save(self.file('a.json'))
        again = dravin.Scene.load(self.file('a.json'))
        again.save(self.file('b.json'))
        self.assertEqual((self.folder / 'a.json').read_bytes(), (self.folder / 'b.json').read_bytes())

    def test_errors_have_the_text_and_kind_of_the_command_line(self):
        path = self.write('bad.json', '{"dravin_scene": 1,\n "nodes": [{"name": "a", "type": "shpere"}]}')
        with self.assertRaises(dravin.MalformedInputError) as raised:
            dravin.Scene.load(path)
        self.assertIn('bad.json:2:', str(raised.exception))
        self.assertIn('unknown type "shpere", did you mean "sphere"?', str(raised.exception))
        self.assertEqual(raised.exception.code, 4)
        with self.assertRaises(FileNotFoundError) as raised:
            dravin.Scene.load(self.file('none.json'))
        self.assertIsInstance(raised.exception, dravin.MissingInputError)
        self.assertIn('none.json', str(raised.exception))

    def test_refuses_what_no_description_holds(self):
        for wrong in ({'dravin_scene': math.nan}, {'dravin_scene': object()}, {'dravin_scene': 2}):
            with self.assertRaises((ValueError, TypeError)):
                dravin.Scene.from_dict(wrong)

    def test_many_scenes_go_in_any_order(self):
        first, second, third = field(), field(), field()
        second['Field']['seed'] = 8
        del first
        self.assertEqual(second['Field'].build().status, 0)
        del second
        self.assertEqual(third['Field']['seed'], 3)
        self.assertEqual(len(third['Field'].build()), 1600)


class Nodes(TestCase):
    def test_are_found_by_name_with_a_suggestion(self):
        scene = field()
        self.assertEqual([node.name for node in scene.nodes], ['ground', 'cube', 'Field'])
        self.assertEqual(scene['ground'].type, 'plane')
        self.assertIn('ground', scene)
        with self.assertRaisesRegex(KeyError, 'no node is named .*groud.*did you mean .*ground'):
            scene['groud']

    def test_have_a_place_a_parent_and_switches(self):
        scene = field()
        ground, cube = scene['ground'], scene['cube']
        ground.transform = [[0, 1, 0], [-1, 0, 0], [0, 0, 1], [5, 6, 7]]
        numpy.testing.assert_allclose(ground.transform[3], [5, 6, 7])
        cube.parent = ground
        self.assertEqual(cube.parent, ground)
        numpy.testing.assert_allclose(cube.transform[3], [0, 0, 0], atol=1e-5)  # it stays
        ground.position = [6, 6, 7]
        numpy.testing.assert_allclose(cube.transform[3], [1, 0, 0], atol=1e-5)
        with self.assertRaises(ValueError):
            ground.parent = cube
        cube.hidden = False
        self.assertFalse(cube.hidden)
        cube.name = 'block'
        self.assertEqual(scene['block'], cube)
        with self.assertRaises(ValueError):
            cube.name = 'ground'
        for wrong in ([[1, 2, 3]], numpy.full((4, 3), numpy.nan), 'x', None):
            with self.assertRaises((ValueError, TypeError)):
                ground.transform = wrong

    def test_are_made_and_deleted(self):
        scene = dravin.Scene()
        plane = scene.add_plane('plane', 4, 2)
        box = scene.add_box('box', 1, 2, 3, hidden=True, parent=plane, position=[1, 0, 0])
        self.assertTrue(box.hidden)
        vertices, faces = box.mesh()
        numpy.testing.assert_allclose(vertices.max(axis=0) - vertices.min(axis=0), [1, 2, 3])
        self.assertEqual(faces.shape, (12, 3))
        plane.delete()
        self.assertFalse(plane.alive)
        self.assertIsNone(box.parent)
        with self.assertRaisesRegex(dravin.Error, 'has been deleted'):
            plane.hidden = True
        with self.assertRaises(dravin.Error):
            scene.delete(plane)

    def test_meshes_come_from_arrays(self):
        scene = dravin.Scene()
        corners = numpy.array([[0, 0, 0], [2, 0, 0], [0, 2, 0]], float)
        node = scene.add_mesh('tri', corners, [[0, 1, 2]], uvs=[[0, 0], [1, 0], [0, 1]])
        numpy.testing.assert_array_equal(node.mesh()[0], corners)
        self.assertEqual(dravin.Scene.from_dict(scene.to_dict())['tri'].mesh()[1].tolist(), [[0, 1, 2]])
        for vertices, faces in ((corners, [[0, 1, 3]]), (corners, [[0, 1]]), (corners[0], [[0, 1, 2]]),
                                (corners + math.inf, [[0, 1, 2]]), (corners, [[0, 1, -1]])):
            with self.assertRaises(ValueError):
                scene.add_mesh('bad', vertices, faces)
        self.assertNotIn('bad', scene)

    def test_a_node_that_cannot_be_added_leaves_the_scene_alone(self):
        scene = field()
        before = scene.to_dict()
        with self.assertRaisesRegex(dravin.MalformedInputError, 'no node is named'):
            scene.add('eye', 'camera', target='nobody')
        with self.assertRaises(dravin.MalformedInputError):
            scene.add('ground', 'box')
        with self.assertRaises(dravin.MalformedInputError):
            scene.add_material('m', 'stnadard')
        self.assertEqual(scene.to_dict(), before)

    def test_outlines_of_splines_become_nodes(self):
        # A square with a point in the middle of one side, which lies on it.
        points = [[0, 0, 0], [5, 0, 0], [10, 0, 0], [10, 10, 0], [0, 10, 0]]
        scene = dravin.Scene.from_dict({'dravin_scene': 1, 'nodes': [
            {'name': 'leaf', 'type': 'spline', 'steps': 0,
             'lines': [{'closed': True, 'points': points}],
             'modifiers': [{'type': 'DravinLeaf', 'angle': 0.5}]},
            {'name': 'plain', 'type': 'dummy'}]})
        first, second = scene['leaf'].extract_outline(), scene['leaf'].extract_outline()
        self.assertEqual(first.type, 'spline')
        self.assertEqual(first.name, 'Outline')
        self.assertNotEqual(second.name, first.name)
        nodes = {node['name']: node for node in scene.to_dict()['nodes']}
        line = nodes['Outline']['lines'][0]
        self.assertTrue(line['closed'])
        self.assertEqual(line['points'], [p for p in points if p != [5, 0, 0]])
        with self.assertRaisesRegex(ValueError, 'no modifier of the type "DravinLeaf"'):
            scene['plain'].extract_outline()

    def test_keys_move_a_node(self):
        scene = field()
        cube = scene['cube']
        cube.set_keys('position', [(0, [0, 0, 0]), (4800, [10, 0, 0])])
        scene.time = 2400
        numpy.testing.assert_allclose(cube.position, [5, 0, 0], atol=1e-5)
        self.assertEqual(scene.to_dict()['nodes'][1]['position']['keys'][1], [4800, [10, 0, 0]])
        with self.assertRaises(dravin.MalformedInputError):
            cube.set_keys('scale', [(4800, [1, 1, 1]), (0, [1, 1, 1])])
        with self.assertRaises(ValueError):
            cube.set_keys('colour', [(0, 1)])

    def test_materials_are_made_and_assigned(self):
        scene = field()
        scene['cube'].material = scene.add_material('leaf', diffuse=[0.2, 0.5, 0.1])
        self.assertEqual(scene['cube'].material, 'leaf')
        self.assertEqual(scene.materials, ['leaf'])
        with self.assertRaisesRegex(KeyError, 'did you mean .*leaf'):
            scene['cube'].material = 'lef'
        scene['cube'].material = None
        self.assertIsNone(scene['cube'].material)

    def test_notebooks_show_a_table(self):
        scene = dravin.Scene()
        scene.add('<b>', 'dummy')
        self.assertIn('<td>&lt;b&gt;</td><td>dummy</td>', scene._repr_html_())


class Data(TestCase):
    def test_is_found_from_the_package(self):
        """Without DRAVIN_HOME, as the build folder stands below the sources."""
        self.assertNotIn('DRAVIN_HOME', os.environ)
        scene = field()
        scene['Field']['distmap'] = None
        scene['Field']['mapname'] = 'dense.bmp'
        self.assertEqual(scene['Field'].build().status, 0)


if __name__ == '__main__':
    unittest.main()
