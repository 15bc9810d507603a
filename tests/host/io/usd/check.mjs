// node check.mjs FOLDER: an outside reader takes the layer as it is, with its materials and meshes, and
// finds each instance's transform and number as expected_small.json has them.
//
// The reader is made for browsers, so it is given what it takes for one. What it read of a PointInstancer
// it tells only as a layer that it prints itself; of 64-bit integers it prints the first digit, so that
// numbers are compared by `primvars:id`.
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';

Object.assign(globalThis, { window: globalThis, document: { currentScript: null } });
process.type = 'renderer';
const wasmBinary = readFileSync(createRequire(import.meta.url).resolve('tinyusdz/tinyusdz.wasm'));
const { TinyUSDZLoaderNative } = await (await import('tinyusdz')).default({ wasmBinary });

const folder = process.argv[2];
let failures = 0;
function check(condition, text) {
    if (condition) return;
    failures++;
    if (failures < 20) console.error('FAILED: ' + text);
}

const bytes = readFileSync(join(folder, 'small.usda'));
const layer = new TinyUSDZLoaderNative();
check(layer.loadAsLayerFromBinary(bytes, 'small.usda'), 'layer: ' + layer.error());
const printed = layer.layerToString();

// The numbers of an attribute of the instancer, a list an element.
function numbers(attribute) {
    const found = printed.match(new RegExp(`\\] ${attribute} = \\[([^\\]]*)\\]`));
    check(found, 'attribute ' + attribute);
    return found[1].match(/\([^)]*\)|[^,\s]+/g).map((e) => e.replace(/[()]/g, '').split(',').map(Number));
}
const targets = printed.match(/rel prototypes = \[([^\]]*)\]/)[1].split(',');

// Rows of the matrix of translation, rotation (real part first) and scale, for row vectors.
function compose(t, [w, x, y, z], s) {
    const turned = [
        [1 - 2 * (y * y + z * z), 2 * (x * y + w * z), 2 * (x * z - w * y)],
        [2 * (x * y - w * z), 1 - 2 * (x * x + z * z), 2 * (y * z + w * x)],
        [2 * (x * z + w * y), 2 * (y * z - w * x), 1 - 2 * (x * x + y * y)]];
    return [...turned.map((row, k) => row.map((v) => v * s[k])).flat(), ...t];
}

const expected = JSON.parse(readFileSync(join(folder, 'expected_small.json')));
const positions = numbers('positions'), scales = numbers('scales'), ids = numbers('primvars:id');
const floats = numbers('orientationsf'), halves = numbers('orientations');
const prototypes = numbers('protoIndices');
check(positions.length === expected.length, `${positions.length} instances of ${expected.length}`);
expected.forEach((item, i) => {
    check(ids[i][0] === item.id, `id ${ids[i]} is ${item.id}`);
    const target = targets[prototypes[i]];
    check(target.includes(`/plant${item.prototype}`), `${target} is prototype ${item.prototype}`);
    const sign = target.includes('_mirrored') ? -1 : 1;
    for (const [turns, tolerance] of [[floats, 1e-4], [halves, 5e-3]]) {
        const matrix = compose(positions[i], turns[i], scales[i]);
        for (let k = 0; k < 3; k++) matrix[k] *= sign;
        const worst = Math.max(...matrix.map((v, k) => Math.abs(v - item.matrix[k])));
        check(worst < tolerance, `instance ${i} is off by ${worst}`);
    }
});

const scene = new TinyUSDZLoaderNative();
scene.setLoadTextureInNative(false);
check(scene.loadFromBinary(bytes, 'small.usda'), 'scene: ' + scene.error());
// Three prototypes that show faces, each mirrored and not, and two placed meshes.
check(scene.numMeshes() === 8, scene.numMeshes() + ' meshes');
for (let m = 0; m < scene.numMeshes(); m++) {
    const mesh = scene.getMesh(m);
    check(mesh.points.length > 0 && mesh.faceVertexCounts.length > 0, 'mesh ' + mesh.absPath);
}
console.log(failures ? `${failures} failures` : 'ok');
process.exit(failures ? 1 : 0);
