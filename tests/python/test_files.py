"""Exports: every ending of the command line, whole or not at all."""

import os
import unittest

import dravin
from scenes import TestCase, field


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


if __name__ == '__main__':
    unittest.main()
