"""Whether released programs are built so that a damaged input is the end of the program at most: at a
random address (PIE), with read-only relocations that are all bound at the start, a stack that holds no
code, guards on the stack and checked library calls.

    check_hardening.py PROGRAM...
"""

import subprocess
import sys


def readelf(option, program):
    return subprocess.run(['readelf', '--wide', option, program], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


def faults(program):
    """What the program lacks, a text each."""
    stack = [line for line in readelf('--program-headers', program).splitlines()
             if 'GNU_STACK' in line]
    dynamic, symbols = readelf('--dynamic', program), readelf('--dyn-syms', program)
    checks = {
        'position independent': 'Type:                              DYN' in readelf('-h', program),
        'read-only relocations': 'GNU_RELRO' in readelf('--program-headers', program),
        'bound at the start': 'BIND_NOW' in dynamic or 'NOW' in dynamic,
        'no code on the stack': bool(stack) and 'RWE' not in stack[0],
        'guards on the stack': '__stack_chk_fail' in symbols,
        'checked library calls': '_chk@' in symbols,
    }
    return [name for name, good in checks.items() if not good]


if __name__ == '__main__':
    bad = False
    for path in sys.argv[1:]:
        for fault in faults(path):
            bad = True
            print('%s: %s: missing' % (path, fault))
    sys.exit(1 if bad else 0)
