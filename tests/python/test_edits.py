"""Commands by name, and what takes them back."""

import unittest

import dravin
from scenes import TestCase, field


class Edits(TestCase):
    def test_do_what_they_say_and_are_taken_back(self):
        scene = field()
        scene.run('param.set', name='seed', value=77)
        self.assertEqual(scene['Field']['seed'], 77)
        scene.undo()
        self.assertEqual(scene['Field']['seed'], 3)
        scene.redo()
        self.assertEqual(scene['Field']['seed'], 77)
        with self.assertRaisesRegex(dravin.Error, 'cannot be done now'):
            scene.redo()

    def test_work_on_nodes_and_give_values(self):
        scene = field()
        name = scene.run('node.clone', scene['ground'])
        self.assertEqual(name, 'ground001')
        scene.run('node.transform', name, by=[0, 0, 5])
        self.assertEqual(scene[name].transform[3][2], 5)
        self.assertEqual(scene['ground'].transform[3][2], 0)

    def test_errors_name_the_nearest(self):
        scene = field()
        with self.assertRaisesRegex(dravin.Error, 'did you mean "param.set"'):
            scene.run('param.sett', name='seed', value=1)
        with self.assertRaisesRegex(dravin.Error, '"value" is missing'):
            scene.run('param.set', name='seed')
        with self.assertRaisesRegex(dravin.Error, 'takes no "valeu", did you mean "value"'):
            scene.run('param.set', name='seed', value=1, valeu=2)
        with self.assertRaisesRegex(dravin.Error, 'no scatter object "Feild"'):
            scene.run('param.set', 'Feild', name='seed', value=1)
        with self.assertRaises(TypeError):
            scene.run('param.set', name='seed', value=object())
        self.assertEqual(scene['Field']['seed'], 3)

    def test_are_described(self):
        texts = dravin.pack.commands()
        self.assertIn('Works on a scatter object', texts['param.set'])


if __name__ == '__main__':
    unittest.main()
