"""Exports: every ending of the command line, whole or not at all."""

import copy
import json
import os
import unittest

import dravin
from scenes import FIELD, TestCase, field


class Exports(TestCase):
    def test_write_what_the_command_line_writes(self):
        scene = field()
        scene.save(self.file('s.json'))
        endings = ('csv', 'npz', 'glb', 'gltf', 'usda', 'obj', 'ply')
        scene.build([self.file('here.' + ending) for ending in endings])
        self.program('build', 's.json', *(part for e in endings for part in ('-o', 'there.' + e)))
        for ending in endings:
            if ending in ('gltf', 'obj'):  # they name the file beside them
                self.assertTrue(os.path.getsize(self.file('here.' + ending)))
                continue
            here, there = ((self.folder / (name + ending)).read_bytes()
                           for name in ('here.', 'there.'))
            self.assertEqual(here, there, ending)

    def test_options_and_fields(self):
        scene = field()
        scene['Field'].export(self.file('a.csv'), fields=['seed'])
        lines = (self.folder / 'a.csv').read_text().splitlines()
        self.assertEqual((lines[0], len(lines)), ('object,seed', 1601))
        with self.assertRaisesRegex(dravin.UsageError, 'no item field "sead", did you mean "seed"'):
            scene['Field'].export(self.file('b.csv'), fields=['sead'])
        with self.assertRaises(TypeError):
            scene['Field'].export(self.file('b.csv'), feelds=['seed'])
        with self.assertRaisesRegex(dravin.UsageError, 'unknown kind of output'):
            scene['Field'].export(self.file('b.txt'))
        with self.assertRaises(dravin.OutputError):
            scene['Field'].export(self.file('none/b.csv'))
        with self.assertRaises(ValueError):
            scene['Field'].export('-')
        self.assertFalse(os.path.exists(self.file('b.csv')))

    def test_of_a_build_that_fails_write_nothing(self):
        scene = field()
        scene['Field']['surflist'] = []
        with self.assertRaisesRegex(dravin.FailedError, 'Field: status 1'):
            scene.build([self.file('a.csv')])
        self.assertEqual(os.listdir(self.folder), [])

    def test_never_take_the_place_of_an_input(self):
        field().save(self.file('s.json'))
        first = dravin.Scene.load(self.file('s.json'))
        second = field()  # another scene in between
        with self.assertRaisesRegex(dravin.UsageError, 'is an input of this scene'):
            first.build([self.file('s.json')])
        second['Field'].export(self.file('t.json'))


class OtherScenes(TestCase):
    def test_are_read_again_while_the_scene_is_open(self):
        library = {'dravin_scene': 1, 'nodes': [
            {'name': 'oak', 'type': 'box', 'width': 1, 'length': 1, 'height': 2}]}
        write = lambda text: (self.folder / 'library.json').write_text(text)
        write(json.dumps(library))
        description = copy.deepcopy(FIELD)
        description['nodes'][1] = {'name': 'cube', 'type': 'external', 'hidden': True,
                                   'file': self.file('library.json'), 'object': 'oak'}
        scene = dravin.Scene.from_dict(description)
        height = lambda: float(scene['Field'].build().items.height[0])
        before = height()
        library['nodes'][0]['height'] = 6
        write(json.dumps(library))
        self.assertAlmostEqual(height(), before)
        self.assertEqual(scene.run('scene.reread_externals'), 1)
        self.assertAlmostEqual(height() / before, 3, places=4)
        scene.run('scene.undo')
        self.assertAlmostEqual(height(), before)
        scene.run('scene.redo')
        write('nonsense')
        with self.assertRaisesRegex(dravin.Error, 'library.json'):
            scene.run('scene.reread_externals')
        self.assertAlmostEqual(height() / before, 3, places=4)
        with self.assertRaisesRegex(dravin.Error, 'no object of the file "none.json"'):
            scene.run('scene.reread_externals', file='none.json')


class Saving(TestCase):
    def test_writes_either_form(self):
        scene = field()
        scene.save(self.file('s.dravin'))
        again = dravin.Scene.load(self.file('s.dravin'))
        self.assertEqual(len(again['Field'].build().items.position), 1600)
        with self.assertRaises(dravin.OutputError):
            scene.save(self.file('none/s.json'))


if __name__ == '__main__':
    unittest.main()
