"""What renderers call: the beginning and the end of a render, instance records, their data."""

import ctypes
import os
import pathlib
import struct
import subprocess
import sys
import unittest

import numpy

import dravin
from scenes import TestCase, field

FIRST = [('transform', 'f4', (4, 3)), ('flags', 'u4'), ('padding1', 'u4'), ('node', 'u8'),
         ('material', 'u8'), ('seed', 'u4'), ('tint', 'f4', 3), ('tint_blend', 'f4'),
         ('padding2', 'u4')]
V1 = numpy.dtype(FIRST)
V512 = numpy.dtype(FIRST + [('time', 'i4'), ('randoms', 'f4', 3), ('mask', 'u8'),
                            ('reserved', 'u1', 24)])


def records(address, count, kind):
    """A copy of the records at an address."""
    return numpy.frombuffer(ctypes.string_at(address, count * kind.itemsize), kind)


def bits(number):
    return struct.unpack('i', struct.pack('f', number))[0]


class Records(TestCase):
    def setUp(self):
        super().setUp()
        self.scene = field()
        self.field = self.scene['Field']
        self.trees = self.field.trees
        self.items = field()['Field'].build().items  # the same, in a scene of its own

    def test_stand_between_begin_and_end(self):
        self.assertEqual(self.trees.getRenderNodes(), (0, 0))
        self.assertIsNone(self.trees.getRenderData(0, 0))
        self.field.render_begin(0)
        address, count = self.trees.getRenderNodes()
        self.assertEqual(count, 1600)
        made = records(address, count, V1)
        # A unit cube is of unit size already.
        numpy.testing.assert_allclose(made['transform'], self.items.full_transform, atol=1e-6)
        numpy.testing.assert_array_equal(made['seed'], self.items.seed)
        self.assertEqual(len(set(made['node'])), 1)
        self.assertEqual((made['flags'].any(), made['padding1'].any(), made['padding2'].any()),
                         (False, False, False))
        self.field.render_end(0)
        self.assertEqual(self.trees.getRenderNodes(), (0, 0))

    def test_are_of_the_version_that_was_asked_for(self):
        version, flag, level = dravin.pack.setEngineFeatures(self.scene, (512, 0, 0))
        self.assertEqual((version, flag), (512, 0))
        self.assertGreater(level, 0)
        self.field.render_begin()
        made = records(*self.trees.getRenderNodes(), V512)
        for i, name in enumerate(('random1', 'random2', 'random3')):
            numpy.testing.assert_array_equal(made['randoms'][:, i], self.items[name])
        self.assertFalse(made['reserved'].any())

    def test_go_when_they_are_cleared(self):
        self.field.render_begin()
        self.trees.getRenderNodes()
        self.assertIsNotNone(self.trees.getRenderData(0, 0))
        self.trees.clearRenderNodes()
        self.assertIsNone(self.trees.getRenderData(0, 0))

    def test_tell_of_the_faces_of_their_meshes(self):
        self.field.render_begin()
        self.trees.getRenderNodes()
        data = self.trees.getRenderData(7, 3)
        random = bits(self.items.random3[7]) & 0xffffffff
        # A box is one element, and the first one's number is the item's own.
        self.assertEqual(data, (0, random, random, True))
        self.assertIsInstance(data, dravin.RenderData)
        self.assertIsNone(self.trees.getRenderData(1600, 0))
        self.assertIsNone(self.trees.getRenderData(-1, 0))
        self.field.build()
        self.assertIsNone(self.trees.getRenderData(7, 3))  # they are another build's

    def test_name_nodes(self):
        self.assertEqual(self.trees.getRenderNode(3), self.scene['cube'])  # builds
        self.assertIsNone(self.trees.getRenderNode(1600))
        self.assertIsNone(self.trees.getRenderNode(-1))

    def test_leave_results_as_they_are(self):
        result = self.field.build()
        position = result.items.position.copy()
        self.field.render_begin()
        self.trees.getRenderNodes()
        self.field.render_end()
        numpy.testing.assert_array_equal(result.items.position, position)
        numpy.testing.assert_array_equal(result.items.seed, self.items.seed)

    def test_questions_keep_what_a_result_works_out(self):
        items = self.field.build().items
        self.trees.count()
        self.trees.getSeed(0)
        self.trees.getRenderNode(0)
        numpy.testing.assert_array_equal(items.random1, self.items.random1)

    def test_hits_of_the_mesh_name_items(self):
        self.field['rendermode'] = 1
        self.assertEqual(self.trees.getRenderID(0), (False, 0, 0))
        self.field.render_begin()
        for face, item in ((0, 0), (11, 0), (12, 1)):  # a cube has twelve
            random = bits(self.items.random3[item])
            self.assertEqual(self.trees.getRenderID(face), (True, random, random))
        self.assertFalse(self.trees.getRenderID(12 * 1600)[0])
        self.assertFalse(self.trees.getRenderID(-1)[0])

    def test_what_makes_no_sense_raises(self):
        for call in (lambda: self.trees.getRenderNode('a'), lambda: self.trees.setSeed(0, None),
                     lambda: self.trees.getRenderID(None), lambda: self.field.render_begin('now'),
                     lambda: dravin.pack.setEngineFeatures(self.scene, (1, 2)),
                     lambda: self.field._handle.call('trees', 'getSeed'),
                     lambda: self.field._handle.call('trees', 'getRenderData', 4096, 0, 0)):
            with self.assertRaises(TypeError):
                call()
        with self.assertRaises(ValueError):
            self.trees.setSeed(0, 2 ** 33)
        with self.assertRaisesRegex(KeyError, 'did you mean "getSeed"'):
            self.field._handle.call('trees', 'getSeeed', 0)
        with self.assertRaises(KeyError):
            self.field._handle.call('forest', 'count')
        trees, gone = self.trees, self.field
        self.scene.delete(gone)
        for call in (trees.getRenderNodes, trees.count, gone.render_begin, gone.render_end,
                     lambda: trees.getRenderID(0), lambda: gone.ui.setRollup(0)):
            with self.assertRaises(dravin.UsageError):
                call()


class RawTable(TestCase):
    def test_lists_what_the_objects_show(self):
        scene = field()
        scene['Field'].build()
        address = dravin.pack.getRenderDataRaw(scene)
        entries, count = struct.unpack('QQ', ctypes.string_at(address, 16))
        self.assertEqual(count, 1)
        numbers = struct.unpack('IIQQQQQQ', ctypes.string_at(entries, 56))
        self.assertEqual((numbers[1], numbers[6]), (1, 1600))  # elements, items
        dravin.pack.clearRenderDataRaw(scene)
        self.assertEqual(struct.unpack('IIQQQQQQ', ctypes.string_at(entries, 56))[6], 0)

    def test_engines_are_registered_without_a_version(self):
        scene = field()
        dravin.pack.registerEngine(scene)
        scene['Field'].render_begin()
        made = records(*scene['Field'].trees.getRenderNodes(), V1)
        self.assertEqual(set(made['seed']), set(scene['Field'].build().items.seed))


class Panel(TestCase):
    def test_states_of_rollouts_are_kept(self):
        """By another process: the settings belong to the user who runs the tests."""
        use = ('import sys; sys.path.insert(0, sys.argv[1]); from scenes import field; '
               'field()["Field"].ui.setRollup(5)')
        done = subprocess.run([sys.executable, '-c', use, os.path.dirname(__file__)],
                              env={**os.environ, 'XDG_CONFIG_HOME': str(self.folder)},
                              capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ''))
        text = '\n'.join(path.read_text(errors='replace')
                         for path in pathlib.Path(self.folder).rglob('*') if path.is_file())
        states = [line.split('=')[1].strip() for line in text.splitlines()
                  if line.lower().startswith('rollup')]
        self.assertEqual(sum(state == '1' for state in states), 2, text)


if __name__ == '__main__':
    unittest.main()
