"""Effect programs outside scenes."""

import os
import subprocess
import unittest

import dravin
from scenes import TestCase


class Programs(TestCase):
    def test_are_checked(self):
        dravin.expr.check('dpItem.visible = 0;')
        with self.assertRaises(dravin.FailedError) as raised:
            dravin.expr.check('dpItem.visible = ;')
        path = self.write('p.txt', 'dpItem.visible = ;')
        done = subprocess.run([os.environ['DRAVIN_PROGRAM'], 'effect', 'check', path],
                              capture_output=True, text=True)
        self.assertEqual(str(raised.exception), done.stdout.rstrip('\n'))

    def test_run_on_one_item(self):
        run = dravin.expr.run('print a * 2; dpItem.tintMult = 0.5;', a=3)
        self.assertEqual(run.output, '6\n')
        self.assertEqual(run.attributes, {'tintMult': '0.5'})
        self.write('p.txt', 'print a * 2; dpItem.tintMult = 0.5;')
        self.assertEqual(str(run) + '\n', self.program('effect', 'run', 'p.txt', '--set', 'a=3'))

    def test_take_numbers_and_vectors(self):
        self.assertEqual(dravin.expr.run('print p.y;', p=(1, 2.5, 3)).output, '2.5\n')
        self.assertEqual(dravin.expr.run('print 1;').output, '1\n')
        for wrong in ({'a': 'x y'}, {'a': (1, 2)}, {'dpItem': 3}):
            with self.assertRaises(dravin.UsageError):
                dravin.expr.run('print 1;', **wrong)

    def test_run_time_errors_say_where(self):
        with self.assertRaisesRegex(dravin.FailedError, 'run-time error'):
            dravin.expr.run('int x = round(1.0 / 0.0);')


if __name__ == '__main__':
    unittest.main()
