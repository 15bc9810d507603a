"""Whether the house stands as its plan says: includes lead down the storeys of docs/architecture.md, and
what was parted stays parted.

    check_includes.py ROOT
"""

import os
import re
import sys

# Units (a header with its source) of one folder: those that begin with the first name must not know the
# second, through whatever others.
BELOW = [
    ('host/scene/object', 'host/scene/node'),
    ('host/scene/node', 'host/scene/scene'),
    ('host/scene/scene', 'host/scene/host_context'),
    ('host/scene/external_object', 'host/scene/host_context'),
    ('Dravin/engine/item_lanes', 'Dravin/engine/item_steps'),
    ('Dravin/engine/item_steps', 'Dravin/engine/produce_items'),
    ('Dravin/engine/areas/', 'Dravin/engine/build_input'),
    ('Dravin/engine/areas/', 'Dravin/engine/item_lanes'),
    ('Dravin/engine/areas/', 'Dravin/engine/point_input'),
]


def storeys(root):
    """Folder -> storey, from the ground up, as the plan draws them."""
    with open(os.path.join(root, 'docs/architecture.md')) as page:
        plan = re.search(r'```text\n(.*?)```', page.read(), re.S).group(1)
    folders = re.findall(r'^ ((?:host|common|Dravin|apps|python)(?:/\w+)?) ', plan, re.M)
    return {folder: height for height, folder in enumerate(reversed(folders))}


def includes(root):
    """File -> files of the project that it includes."""
    found = {}
    for top in ('host', 'common', 'Dravin', 'apps', 'python'):
        for folder, _, names in os.walk(os.path.join(root, top)):
            for name in names:
                if not name.endswith(('.h', '.cpp')):
                    continue
                path = os.path.join(folder, name)
                with open(path) as text:
                    lines = re.findall(r'^#include "([^"]+)"', text.read(), re.M)
                found[os.path.relpath(path, root)] = [
                    line for line in lines if os.path.exists(os.path.join(root, line))]
    return found


def storey_of(plan, path):
    folder = os.path.dirname(path)
    while folder and folder not in plan:
        folder = os.path.dirname(folder)
    return plan.get(folder)


def upward(plan, graph):
    for path, targets in sorted(graph.items()):
        own = storey_of(plan, path)
        if own is None:
            yield '%s stands on no storey of the plan' % path
            continue
        for target in targets:
            theirs = storey_of(plan, target)
            if theirs is not None and theirs > own:
                yield '%s includes %s, which stands above it' % (path, target)


def reaches(graph, start):
    """What the units of a name's beginning include, through whatever others."""
    units = {}
    for path, targets in graph.items():
        unit = os.path.splitext(path)[0]
        units.setdefault(unit, set()).update(os.path.splitext(t)[0] for t in targets)
    seen, open_units = set(), [unit for unit in units if unit.startswith(start)]
    if not open_units:
        return {'(nothing of this name)'}
    while open_units:
        for target in units.get(open_units.pop(), ()):
            if target not in seen:
                seen.add(target)
                open_units.append(target)
    return seen


def circles(graph):
    for below, above in BELOW:
        known = reaches(graph, below)
        if above in known or '(nothing of this name)' in known:
            yield '%s knows %s, which stands on it, or is gone' % (below, above)


if __name__ == '__main__':
    root = sys.argv[1]
    graph = includes(root)
    faults = list(upward(storeys(root), graph)) + list(circles(graph))
    print('\n'.join(faults))
    sys.exit(1 if faults else 0)
