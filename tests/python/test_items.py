"""Items as arrays: what they hold, where they lie, how long they live."""

import gc
import unittest

import numpy

import dravin
from scenes import TestCase, field


class Fields(TestCase):
    def test_have_the_shapes_and_types_of_the_record(self):
        items = field()['Field'].build().items
        for name, shape, kind in (('position', (1600, 3), numpy.float32),
                                  ('transform', (1600, 4, 3), numpy.float32),
                                  ('seed', (1600,), numpy.uint32),
                                  ('specimen_index', (1600,), numpy.int32),
                                  ('discarded', (1600,), numpy.int32),
                                  ('map_uvws', (1600, 7, 3), numpy.float32)):
            self.assertEqual((items[name].shape, items[name].dtype), (shape, kind), name)
        self.assertEqual(len(items), 1600)
        self.assertEqual(items.fields[0], 'discarded')
        self.assertEqual(set(items), set(items.fields))

    def test_are_reached_by_either_form(self):
        items = field()['Field'].build().items
        numpy.testing.assert_array_equal(items.height, items['height'])
        with self.assertRaisesRegex(KeyError, 'no item field "positon", did you mean "position"'):
            items['positon']
        with self.assertRaisesRegex(AttributeError, 'did you mean "position"'):
            items.positon
        self.assertIn('position', dir(items))

    def test_of_unit_cubes_are_ones(self):
        items = field()['Field'].build().items
        numpy.testing.assert_allclose(items.width, 1, rtol=1e-6)
        numpy.testing.assert_allclose(items.position[:, 2], 0, atol=1e-6)
        self.assertEqual(numpy.unique(numpy.floor(items.position[:, :2]), axis=0).shape, (1600, 2))


def edited():
    """Five items that are kept by hand, which lie in one piece."""
    scatter = field()['Field']
    scatter['mode'] = 1
    scatter.stored_items = [{'stored_position': [i, 0, 0], 'seed': i + 1} for i in range(5)]
    return scatter


class Levels(TestCase):
    def test_tell_what_they_were_chosen_by(self):
        # A plane of 20 by 20, which counts as 1 high, 100 below a camera of 90 degrees.
        scene = dravin.Scene.from_dict({'dravin_scene': 1, 'render': {'camera': 'above'}, 'nodes': [
            {'name': 'above', 'type': 'camera', 'fov': 90, 'position': [0, 0, 100]},
            {'name': 'big', 'type': 'plane', 'width': 20, 'length': 20},
            {'name': 'tree', 'type': 'lod', 'params': {'mode': 1}, 'levels': [{'object': 'big'}]},
            {'name': 'Wood', 'type': 'dravin', 'geometry': [{'object': 'tree'}],
             'items': [{'stored_position': [0, 0, 0]}], 'params': {'mode': 1, 'camlod': 1}}]})
        result = scene['Wood'].build()
        numpy.testing.assert_allclose(result.statistics['lod_span'],
                                      ((-10 / 200, 0), (10 / 198, 0)), atol=1e-6)
        self.assertNotIn('lod_span', field()['Field'].build().statistics)


class Views(TestCase):
    def test_of_items_in_one_piece_copy_nothing(self):
        """The same address twice, in memory that no array owns; random values are not stored."""
        items = edited().build().items
        for name in ('position', 'seed', 'width', 'specimen_index'):
            array = items[name]
            self.assertTrue(items.is_view(name), name)
            self.assertFalse(array.flags.owndata, name)
            self.assertEqual(array.__array_interface__['data'],
                             items[name].__array_interface__['data'], name)
        numpy.testing.assert_array_equal(items.seed, [1, 2, 3, 4, 5])
        self.assertFalse(items.is_view('random1'))
        self.assertFalse(items.is_view('discarded'))  # one bit of an item's marks

    def test_of_parts_of_an_entry_step_over_the_rest(self):
        items = edited().build().items
        self.assertTrue(items.is_view('outer_radius'))
        self.assertGreater(items.outer_radius.strides[0], 4)
        self.assertEqual(len(numpy.unique(items.outer_radius)), 1)  # of equal cubes

    def test_stay_when_edited_items_are_built_again(self):
        scatter = edited()
        position = scatter.build().items.position
        kept = position.copy()
        scatter.trees.move(0, (9, 9, 0))
        scatter.trees.create((7, 7, 0), 2, 2, 1)
        self.assertEqual(len(scatter.build()), 6)
        numpy.testing.assert_array_equal(position, kept)

    def test_are_made_once_of_several_pieces(self):
        items = field()['Field'].build().items
        self.assertEqual(items.position.__array_interface__['data'],
                         items.position.__array_interface__['data'])

    def test_cannot_be_written(self):
        items = field()['Field'].build().items
        for name in ('position', 'random1'):
            with self.assertRaises(ValueError):
                items[name][0] = 1

    def test_stay_as_they_are_when_the_object_is_built_again(self):
        scene = field()
        result = scene['Field'].build()
        position, kept = result.items.position, result.items.position.copy()
        random1 = result.items.random1.copy()
        scene['Field']['seed'] = 99
        scene['Field']['units_x'] = 7
        again = scene['Field'].build()
        numpy.testing.assert_array_equal(position, kept)
        numpy.testing.assert_array_equal(result.items.position, kept)
        numpy.testing.assert_array_equal(result.items.random1, random1)  # read before
        self.assertNotEqual(len(again), len(result))
        with self.assertRaisesRegex(dravin.Error, 'read it before the next build'):
            result.items.random2
        self.assertEqual(len(again.items.random2), len(again))

    def test_outlive_result_object_and_scene(self):
        scene = field()
        position = scene['Field'].build().items.position
        expected = position.copy()
        scene.delete('Field')
        del scene
        gc.collect()
        other = [field()['Field'].build().items.position for _ in range(5)]
        numpy.testing.assert_array_equal(position, expected)
        numpy.testing.assert_array_equal(other[0], expected)

    def test_stay_when_a_render_or_an_export_builds(self):
        scene = field()
        position = scene['Field'].build(viewport=True).items.position
        expected = position.copy()
        scene['Field']['units_y'] = 6
        scene['Field'].export(self.file('a.csv'))
        dravin.render(scene, size=(8, 8), samples=1)
        scene['Field']['mode'] = 1
        numpy.testing.assert_array_equal(position, expected)

    def test_notebooks_show_the_first_items(self):
        html = field()['Field'].build().items._repr_html_()
        self.assertIn('<th>position</th>', html)
        self.assertIn('1600 items', html)


class Pictures(TestCase):
    def test_are_arrays_that_notebooks_show(self):
        scene = field()
        picture = dravin.render(scene, self.file('p.png'), size=(32, 16), samples=1)
        self.assertEqual((picture.shape, picture.dtype), ((16, 32, 3), numpy.uint8))
        self.assertEqual(picture.light.dtype, numpy.float32)
        self.assertGreater(int(picture.max()), 0)
        png = picture._repr_png_()
        self.assertEqual(png[:8], b'\x89PNG\r\n\x1a\n')
        # A map made of it holds the same pixels as the file that the engine wrote.
        self.assertGreater((self.folder / 'p.png').stat().st_size, 100)
        self.assertIsNone(picture[0]._repr_png_())

    def test_repeat_bit_for_bit_with_either_renderer(self):
        scene = field()
        for renderer in ('raytrace', 'scanline'):
            one, two = (dravin.render(scene, size=(16, 16), samples=2, renderer=renderer)
                        for _ in range(2))
            numpy.testing.assert_array_equal(one, two)

    def test_refusals_name_what_is_wrong(self):
        scene = field()
        with self.assertRaisesRegex(ValueError, 'no renderer is named "raytracer", did you mean "raytrace"'):
            dravin.render(scene, renderer='raytracer')
        with self.assertRaisesRegex(dravin.UsageError, 'no camera "eye"'):
            dravin.render(scene, camera='eye')
        with self.assertRaises(dravin.UsageError):
            dravin.render(scene, self.file('p.txt'))
        with self.assertRaises(dravin.LimitError):
            dravin.render(scene, size=(10 ** 6, 10 ** 6))
        with self.assertRaises(ValueError):
            dravin.render(scene, size=(0, 5))


if __name__ == '__main__':
    unittest.main()
