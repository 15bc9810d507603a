"""Row lists of scatter objects."""

import unittest

import dravin
from scenes import TestCase, field


class Rows(TestCase):
    def setUp(self):
        super().setUp()
        self.scene = field()
        self.field = self.scene['Field']

    def test_read_and_write_keys(self):
        row = self.field.geometry[0]
        self.assertEqual((row['name'], row['kind'], row['object']), ('cube', 'custom', 'cube'))
        self.assertEqual(row['scale'], 100)  # a default
        row['scale'] = 50
        self.assertEqual(self.field['scalelist'], [50])
        self.assertAlmostEqual(self.field.build().items.height[0], 0.5, places=5)
        del row['scale']
        self.assertEqual(row['scale'], 100)
        row.update(width=2, height=3)
        self.assertEqual((row['width'], row['height']), (2, 3))

    def test_grow_and_shrink_like_lists(self):
        rows = self.field.geometry
        rows.append({'name': 'second', 'object': self.scene['cube'], 'probability': 25})
        rows.insert(0, {'name': 'first', 'object': 'cube'})
        self.assertEqual([row['name'] for row in rows], ['first', 'cube', 'second'])
        self.assertEqual(rows[-1]['probability'], 25)
        del rows[0]
        rows[0] = {'name': 'other', 'object': 'cube'}
        self.assertEqual([row['name'] for row in self.field.geometry], ['other', 'second'])
        rows.pop()
        rows.extend([{'object': 'cube'}, {'object': 'cube'}])
        self.assertEqual(len(rows), 3)
        self.field.geometry = []
        self.assertEqual(list(self.field.geometry), [])
        with self.assertRaises(IndexError):
            rows[0]

    def test_wrong_keys_change_nothing(self):
        before = repr(self.field.geometry)
        row = self.field.geometry[0]
        with self.assertRaisesRegex(dravin.MalformedInputError, 'unknown key "widht", did you mean "width"'):
            row['widht'] = 1
        with self.assertRaises(dravin.MalformedInputError):
            row['width'] = 'broad'
        with self.assertRaises(dravin.MalformedInputError):
            self.field.geometry.append({'object': 'nobody'})
        with self.assertRaises(KeyError):
            row['nothing']
        self.assertEqual(repr(self.field.geometry), before)

    def test_areas_decide_where_items_stand(self):
        self.scene.add('ring', 'spline', lines=[{'closed': True, 'points': [
            [0, 0, 0], [10, 0, 0], [10, 10, 0], [0, 10, 0]]}])
        self.field.areas.append({'name': 'ring', 'type': 'spline', 'node': 'ring', 'include': True})
        position = self.field.build().items.position
        self.assertEqual(len(position), 100)
        self.assertTrue(((position[:, :2] >= 0) & (position[:, :2] <= 10)).all())
        self.field.areas[0]['include'] = False
        self.assertEqual(len(self.field.build()), 1500)

    def test_effects_run(self):
        self.field.effects.append({'name': 'tall', 'program': 'dpItem.scale = dpItem.scale * 4;'})
        self.assertEqual(self.field.effects[0]['enabled'], True)
        tall = self.field.build().items.height[0]
        self.field.effects[0]['enabled'] = False
        self.assertNotEqual(self.field.build().items.height[0], tall)
        self.field.effects[0].update(enabled=True, program='dpItem.scale = ;')
        with self.assertWarnsRegex(dravin.DravinWarning, 'effect "tall" at line 1'):
            self.field.build()

    def test_curves_and_stored_items(self):
        self.field.curves = {'camdenscurve': [1, 0]}
        self.assertEqual(self.field.curves, {'camdenscurve': [1, 0]})
        with self.assertRaises(dravin.MalformedInputError):
            self.field.curves = {'camdencurve': [1, 0]}
        with self.assertRaises(dravin.MalformedInputError):
            self.field.stored_items = [{'seed': 'x'}]
        self.field['mode'] = 1
        self.field.stored_items = [{'stored_position': [1, 2, 0], 'seed': 5}]
        self.assertEqual(self.field.stored_items[0]['seed'], 5)
        self.assertEqual(len(self.field.build()), 1)

    def test_notebooks_show_a_table(self):
        self.assertIn('<th>object</th>', self.field.geometry._repr_html_())


if __name__ == '__main__':
    unittest.main()
