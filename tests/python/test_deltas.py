"""Changes of single generated items."""

import unittest

import dravin
from scenes import TestCase, field


class Deltas(TestCase):
    def test_change_items_by_id(self):
        forest = field()['Field']
        before = forest.build()
        ids = before.items.id
        self.assertEqual(len(set(ids)), 1600)
        positions = before.items.position.copy()
        forest.deltas = [{'id': ids[3], 'move': [0, 0, 2], 'scale': [1, 1, 3]},
                         {'id': ids[5], 'delete': True}]
        after = forest.build()
        self.assertEqual(len(after.items), 1599)
        self.assertEqual(after.items.position[3][2], positions[3][2] + 2)
        self.assertEqual(after.items.height[3], 3)
        self.assertEqual(after.statistics['deltas'], {'changed': 1, 'deleted': 1, 'missing': []})
        self.assertEqual(forest.deltas[0], {'id': ids[3], 'move': [0, 0, 2], 'scale': [1, 1, 3]})
        forest.deltas = []
        self.assertNotIn('deltas', forest.build().statistics)

    def test_tell_whose_items_are_gone(self):
        forest = field()['Field']
        forest.deltas = [{'id': 'g1.500.1.500/00000001', 'move': [1, 0, 0]}]
        with self.assertWarnsRegex(UserWarning, 'no longer exist'):
            result = forest.build()
        self.assertEqual(result.statistics['deltas']['missing'], ['g1.500.1.500/00000001'])

    def test_mistakes_change_nothing(self):
        forest = field()['Field']
        for delta in ({'id': 'oak'}, {}, {'id': 'p1.0/00000001', 'geometry': 1},
                      {'id': 'p1.0/00000001', 'delete': True, 'move': [1, 0, 0]}):
            with self.assertRaises(dravin.Error):
                forest.deltas = [delta]
        self.assertEqual(forest.deltas, [])

    def test_travel_with_the_scene(self):
        scene = field()
        forest = scene['Field']
        forest.deltas = [{'id': forest.build().items.id[0], 'geometry': 'cube', 'rotate': [0, 0, 9]}]
        scene.save(self.file('field.json'))
        self.assertEqual(dravin.Scene.load(self.file('field.json'))['Field'].deltas,
                         [{'id': forest.deltas[0]['id'], 'rotate': [0, 0, 9], 'geometry': 0}])

    def test_items_are_edited_by_commands(self):
        scene = field()
        forest = scene['Field']
        forest['mode'] = 1
        scene.run('items.select', forest, items=[0, 1])
        scene.run('items.move', forest, by=[0, 0, 4])
        self.assertEqual(forest.stored_items[1]['stored_position'][2], 4)
        scene.undo()
        self.assertEqual(forest.stored_items[1]['stored_position'][2], 0)


if __name__ == '__main__':
    unittest.main()
