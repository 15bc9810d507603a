"""Progress, cancelling, and several Python threads."""

import signal
import threading
import unittest

import numpy

import dravin
from scenes import TestCase, field


def large():
    """A field of four million cells."""
    scene = field()
    scene['Field']['pixels_x'] = scene['Field']['pixels_y'] = 500
    scene['Field']['maxdensity'] = 0
    return scene


class Progress(TestCase):
    def test_ends_at_one_and_never_falls(self):
        heard = []
        self.assertEqual(large()['Field'].build(no_limit=True, progress=heard.append).status, 0)
        self.assertEqual(heard[-1], 1)
        self.assertEqual(heard, sorted(heard))

    def test_what_it_raises_cancels(self):
        class Enough(Exception):
            pass

        def stop(fraction):
            raise Enough

        scene = large()
        with self.assertRaises(Enough):
            scene['Field'].build(no_limit=True, progress=stop)
        scene['Field']['pixels_x'] = scene['Field']['pixels_y'] = 10
        self.assertEqual(len(scene['Field'].build()), 1600)
        with self.assertRaises(Enough):
            dravin.render(scene, size=(1000, 1000), samples=64, progress=stop)

    def test_may_not_call_back_into_the_engine(self):
        scene = large()
        result = field()['Field'].build()
        position = result.items.position

        def look(fraction):
            self.assertEqual(position.shape, (1600, 3))
            scene['Field']['seed']

        with self.assertRaisesRegex(dravin.UsageError, 'while other work'):
            scene['Field'].build(no_limit=True, progress=look)

    def test_ctrl_c_cancels_a_build(self):
        def interrupt(fraction):
            signal.raise_signal(signal.SIGINT)

        scene = large()
        with self.assertRaises(KeyboardInterrupt):
            scene['Field'].build(no_limit=True, progress=interrupt)
        with self.assertRaises(KeyboardInterrupt):
            scene['Field'].export(self.file('a.csv'), no_limit=True, progress=interrupt)
        self.assertEqual(list(self.folder.iterdir()), [])


class Threads(TestCase):
    def test_run_while_one_builds(self):
        """The progress function hears what another thread counts during the build."""
        counted, done = [0], threading.Event()

        def count():
            while not done.is_set():
                counted[0] += 1

        heard = []
        worker = threading.Thread(target=count)
        worker.start()
        large()['Field'].build(no_limit=True, progress=lambda f: heard.append(counted[0]))
        done.set()
        worker.join()
        self.assertGreater(counted[0], 0)

    def test_build_one_after_the_other(self):
        expected = field()['Field'].build().items.position.copy()
        wrong = []

        def build(number):
            scene = field()
            for _ in range(5):
                if not numpy.array_equal(scene['Field'].build().items.position, expected):
                    wrong.append(number)

        workers = [threading.Thread(target=build, args=(number,)) for number in range(4)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        self.assertEqual(wrong, [])

    def test_share_a_scene(self):
        scene = field()

        def change(seed):
            for _ in range(20):
                scene['Field']['seed'] = seed
                scene['Field'].build()

        workers = [threading.Thread(target=change, args=(seed,)) for seed in (1, 2, 3)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        self.assertIn(scene['Field']['seed'], (1, 2, 3))


if __name__ == '__main__':
    unittest.main()
