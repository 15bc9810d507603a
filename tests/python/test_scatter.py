"""Parameters and builds of scatter objects."""

import unittest
import warnings

import numpy

import dravin
from scenes import TestCase, field


class Parameters(TestCase):
    def setUp(self):
        super().setUp()
        self.scene = field()
        self.field = self.scene['Field']

    def test_are_read_and_written_by_internal_name(self):
        self.field['seed'] = 7
        self.assertEqual(self.field['seed'], 7)
        self.field['units_x'] = numpy.float32(2.5)
        self.assertEqual(self.field['units_x'], 2.5)
        self.field['seed'] = numpy.int64(9)
        self.assertEqual(self.field['seed'], 9)
        self.assertIs(type(self.field['collision']), bool)

    def test_nodes_go_by_name_or_as_nodes(self):
        self.field['surflist'] = []
        self.assertEqual(self.field['surflist'], [])
        for ground in ('ground', self.scene['ground']):
            self.field['surflist'] = [ground]
            self.assertEqual(self.field['surflist'], [self.scene['ground']])
        self.assertEqual(self.field['distmap'], 'white')
        self.field['distmap'] = None
        self.assertIsNone(self.field['distmap'])

    def test_unknown_names_are_refused_as_the_command_line_words_it(self):
        with self.assertRaisesRegex(KeyError, 'unknown parameter "sed", did you mean "seed"'):
            self.field['sed'] = 1
        with self.assertRaisesRegex(KeyError, 'unknown parameter "sed"'):
            self.field['sed']
        with self.assertRaisesRegex(dravin.MalformedInputError, 'Field: surflist: element 1: .*nobody'):
            self.field['surflist'] = ['ground', 'nobody']
        self.assertEqual(self.field['surflist'], [self.scene['ground']])

    def test_wrong_types_change_nothing(self):
        for wrong in ('text', None, [1], 2.5, object(), {'keys': 1}):
            with self.assertRaises((dravin.MalformedInputError, TypeError)):
                self.field['seed'] = wrong
        self.assertEqual(self.field['seed'], 3)

    def test_clamps_warn(self):
        with self.assertWarnsRegex(dravin.DravinWarning, 'outside .*clamped to 2'):
            self.field['distmode'] = 3
        self.assertEqual(self.field['distmode'], 2)

    def test_keys_animate(self):
        self.field.set_param_keys('units_x', [(0, 10), (4800, 20)])
        self.scene.time = 2400
        self.assertAlmostEqual(self.field['units_x'], 15, places=4)

    def test_nodes_that_are_no_scatter_objects_have_none(self):
        self.assertNotIsInstance(self.scene['ground'], dravin.Dravin)
        with self.assertRaises(TypeError):
            self.scene['ground']['seed']

    def test_nodes_of_another_scene_do_not_come_in(self):
        other = field()
        with self.assertRaises(ValueError):
            self.scene.delete(other['ground'])
        with self.assertRaises(ValueError):
            self.field['surflist'] = [other['ground']]


class Builds(TestCase):
    def test_give_the_items_of_the_command_line_bit_for_bit(self):
        scene = field()
        items = scene['Field'].build().items
        expected = self.built_by_program(scene)
        self.assertEqual(len(items), len(expected['position']))
        for name in expected.files:
            found = items[name]
            if isinstance(found, numpy.ndarray):
                self.assertEqual(found.tobytes(), expected[name].tobytes(), name)
                self.assertEqual(found.shape, expected[name].shape, name)
            else:
                self.assertEqual(list(found), list(expected[name]), name)

    def test_are_the_same_with_any_number_of_threads(self):
        field_ = field()['Field']
        one = field_.build(threads=1).items.position.copy()
        numpy.testing.assert_array_equal(one, field_.build(threads=4).items.position)

    def test_tell_their_status_and_statistics(self):
        result = field()['Field'].build()
        self.assertEqual((result.status, result.time, result.render), (0, 0, True))
        self.assertEqual(result.statistics['item_count'], 1600)
        self.assertEqual(result.statistics['rejected']['map'], 0)
        self.assertIn('1600', repr(result))
        self.assertIn('<td>item_count</td><td>1600</td>', result._repr_html_())

    def test_without_an_area_have_a_status_and_a_warning(self):
        scene = field()
        scene['Field']['surflist'] = []
        with self.assertWarnsRegex(dravin.DravinWarning, 'Field: status 1: .*\n.*surflist'):
            result = scene['Field'].build()
        self.assertEqual(result.status, 1)
        self.assertNotEqual(result.message[0], '')
        self.assertEqual(len(result.items), 0)
        self.assertEqual(result.items.position.shape, (0, 3))

    def test_that_are_all_well_warn_of_nothing(self):
        with warnings.catch_warnings():
            warnings.simplefilter('error')
            self.assertEqual(field()['Field'].build().status, 0)

    def test_for_a_viewport_thin(self):
        scene = field()
        scene['Field']['vmaxitems'] = 400
        self.assertLess(len(scene['Field'].build(viewport=True)), 1600)
        self.assertEqual(len(scene['Field'].build()), 1600)
        self.assertEqual(len(scene['Field'].build(viewport=True, no_limit=True)), 1600)

    def test_at_other_times_and_of_whole_scenes(self):
        scene = field()
        scene['Field'].set_param_keys('seed', [(0, 3), (4800, 9)], interpolation='step')
        self.assertEqual(scene['Field'].build(time=4800).time, 4800)
        self.assertEqual(set(scene.build()), {'Field'})

    def test_wrong_arguments_are_refused(self):
        field_ = field()['Field']
        for wrong in ({'threads': -1}, {'time': 'now'}, {'progress': 3}, {'time': 2 ** 40}):
            with self.assertRaises((TypeError, ValueError)):
                field_.build(**wrong)
        self.assertEqual(field_.build().status, 0)

    def test_maps_come_from_arrays(self):
        """White in the quarter below on the right, which the ground shows at x > 0, y < 0. On the seams
        (x = 0, y = -20, as the map repeats) two pixels mix to a half, which is too dark."""
        scene = field()
        image = numpy.zeros((10, 10), numpy.uint8)
        image[5:, 5:] = 255
        scene['Field']['distmap'] = image
        position = scene['Field'].build().items.position
        self.assertEqual(len(position), 19 * 19)
        self.assertEqual((position[:, 0].min(), position[:, 0].max()), (1, 19))
        self.assertEqual((position[:, 1].min(), position[:, 1].max()), (-19, -1))
        for wrong in (numpy.zeros((2, 2, 5)), numpy.zeros((0, 2)), numpy.zeros((2, 2), complex)):
            with self.assertRaises((ValueError, TypeError)):
                scene['Field']['distmap'] = wrong

    def test_maps_from_arrays_are_saved_beside_the_scene(self):
        scene = field()
        image = numpy.linspace(0, 1, 400, dtype=numpy.float32).reshape(20, 20)
        scene['Field']['distmap'] = image
        scene.save(self.file('s.json'))
        before = scene['Field'].build().items.position.copy()
        again = dravin.Scene.load(self.file('s.json'))
        numpy.testing.assert_array_equal(again['Field'].build().items.position, before)


if __name__ == '__main__':
    unittest.main()
