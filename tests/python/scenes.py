"""Scenes that the tests of the package share."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

import numpy

import dravin

# Forty by forty units of ground, cells of one unit and a map that is white everywhere: an item a
# cell, so 1600 of them, each a unit cube.
FIELD = {
    'dravin_scene': 1,
    'texmaps': {'white': {'type': 'color', 'color': [1, 1, 1]}},
    'nodes': [
        {'name': 'ground', 'type': 'plane', 'width': 40, 'length': 40},
        {'name': 'cube', 'type': 'box', 'width': 1, 'length': 1, 'height': 1, 'hidden': True},
        {'name': 'Field', 'type': 'dravin',
         'params': {'surflist': ['ground'], 'distmap': 'white', 'units_x': 10, 'units_y': 10,
                    'pixels_x': 10, 'pixels_y': 10, 'seed': 3},
         'geometry': [{'name': 'cube', 'object': 'cube'}]}]}


def field():
    """A fresh scene of that kind."""
    return dravin.Scene.from_dict(FIELD)


class TestCase(unittest.TestCase):
    """A test with a folder of its own."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def file(self, name):
        return str(self.folder / name)

    def program(self, *arguments):
        """Runs the command line, which must end well; what it printed."""
        done = subprocess.run([os.environ['DRAVIN_PROGRAM'], *arguments], cwd=self.folder,
                              capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def built_by_program(self, scene, *options):
        """The items that the command line builds, as arrays."""
        scene.save(self.file('by_program.json'))
        self.program('build', 'by_program.json', '--fields', 'all', '-o', 'items.npz', *options)
        return numpy.load(self.file('items.npz'))

    def write(self, name, content):
        path = self.file(name)
        with open(path, 'w', encoding='utf-8') as file:
            file.write(content if isinstance(content, str) else json.dumps(content))
        return path
