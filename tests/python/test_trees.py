"""The published functions over items, and those of the pack."""

import unittest

import numpy

import dravin
from scenes import TestCase, field

NOTHING = 0xffffffff


class GenerateMode(TestCase):
    def test_changes_nothing_and_answers_invalid(self):
        scatter = field()['Field']
        result = scatter.build()
        trees = scatter.trees
        self.assertEqual(trees.count(), 1600)
        trees.setSeed(0, 5)
        trees.move(0, (9, 9, 9))
        trees.create((0, 0, 0), 1, 1, 1)
        trees.delete(0)
        self.assertEqual((trees.getSeed(0), trees.getGeomID(0)), (NOTHING, -1))
        self.assertEqual((trees.getPosition(0), trees.getWidth(0)), ((0, 0, 0), 0))
        self.assertEqual((trees.count(), trees.getSelected(), len(result)), (1600, [], 1600))


class EditMode(TestCase):
    def setUp(self):
        super().setUp()
        self.scene = field()
        self.field = self.scene['Field']
        self.field.geometry.append({'name': 'half', 'object': 'cube', 'scale': 50})
        self.field['mode'] = 1
        self.field.stored_items = [{'stored_position': [1, 2, 0], 'seed': 5},
                                   {'stored_position': [3, 4, 0], 'seed': 6, 'specimen_index': 1}]
        self.trees = self.field.trees

    def test_freezes_what_the_rules_gave(self):
        scatter = field()['Field']
        position = scatter.build().items.position.copy()
        scatter['mode'] = 1
        self.assertEqual(scatter.trees.count(), 1600)
        numpy.testing.assert_allclose(scatter.trees.getPosition(7), position[7], atol=1e-4)

    def test_items_are_read(self):
        self.assertEqual(self.trees.count(), 2)
        self.assertEqual(self.trees.getPosition(1), (3, 4, 0))
        self.assertEqual([self.trees.getGeomID(n) for n in (0, 1, 2, -1)], [1, 2, -1, -1])
        self.assertEqual(self.trees.getSeed(0), 5)
        numpy.testing.assert_allclose(self.trees.getSize(0), (1, 1, 1), rtol=1e-5)
        numpy.testing.assert_allclose(self.trees.getSize(1), (0.5, 0.5, 0.5), rtol=1e-5)
        self.assertEqual(self.trees.getSize(2), (0, 0, 0))

    def test_items_are_changed(self):
        self.trees.move(0, (7, 8, 0))
        self.trees.setSeed(0, 77)
        self.trees.setGeomID(1, 0)
        self.assertEqual((self.trees.getPosition(0), self.trees.getSeed(0)), ((7, 8, 0), 77))
        self.assertEqual(self.trees.getGeomID(1), 1)
        self.trees.setPosition(5, (1, 1, 1))  # there is none: nothing happens
        numpy.testing.assert_allclose(self.field.build().items.position[0], (7, 8, 0), atol=1e-5)

    def test_sizes_are_those_of_the_built_item(self):
        self.trees.setWidth(1, 2)
        numpy.testing.assert_allclose(self.trees.getSize(1), (2, 2, 0.5), rtol=1e-5)
        self.trees.setHeight(1, 3)
        self.trees.setSize(0, (4, 5, 6))
        numpy.testing.assert_allclose(self.trees.getSize(1), (2, 2, 3), rtol=1e-5)
        numpy.testing.assert_allclose(self.trees.getSize(0), (4, 5, 6), rtol=1e-5)
        self.assertAlmostEqual(self.trees.getHeight(0), 6, places=4)

    def test_turns_are_read_as_they_were_set(self):
        for angles in ((0, 0, 30), (0, 0, -120), (0, 0, 0)):
            self.trees.setRotation(0, angles)
            numpy.testing.assert_allclose(self.trees.getRotation(0), angles, atol=1e-2)
        # A quarter turn about z takes x to y.
        self.trees.setRotation(0, (0, 0, 90))
        matrix = self.trees.getFullTransform(0)
        numpy.testing.assert_allclose(matrix[0], (0, 1, 0), atol=1e-4)
        numpy.testing.assert_allclose(matrix[3], (1, 2, 0), atol=1e-4)

    def test_items_come_and_go(self):
        self.trees.create((0, 0, 0), 3, 2, 2)
        self.assertEqual((self.trees.count(), self.trees.getGeomID(2)), (3, 2))
        numpy.testing.assert_allclose(self.trees.getSize(2), (3, 3, 2), rtol=1e-5)
        self.trees.delete(0)
        self.assertEqual([self.trees.getSeed(0), self.trees.count()], [6, 2])
        self.trees.edit(0, 1, 1, 1, 42)
        self.assertEqual((self.trees.getSeed(0), self.trees.getGeomID(0)), (42, 1))
        numpy.testing.assert_allclose(self.trees.getSize(0), (1, 1, 1), rtol=1e-5)
        self.trees.update()
        self.trees.update_ui()
        for wrong in ((1, 2), 'abc', None):
            with self.assertRaises((TypeError, ValueError)):
                self.trees.move(0, wrong)


class Pack(TestCase):
    def test_version_lister_and_data(self):
        scene = field()
        self.assertEqual(dravin.pack.version(), 600)
        self.assertEqual(dravin.pack.openLister(scene)[0]['Object'], 'Field')
        self.assertEqual(dravin.pack.exportData(scene, '', ''), 1)
        self.assertEqual(dravin.pack.exportData(scene, self.file('a.csv'), 'position,seed'), 0)
        header = (self.folder / 'a.csv').read_text().splitlines()[0]
        self.assertEqual(header, 'object,position.x,position.y,position.z,seed')
        with self.assertWarns(dravin.DravinWarning):
            self.assertEqual(dravin.pack.exportData(scene, self.file('a.csv'), 'sead'), 2)


if __name__ == '__main__':
    unittest.main()
