// node check.mjs FOLDER: every sample passes the validator without errors or warnings, and an outside
// reader finds each instance's transform, id and colour as expected.json has them.
import { readFileSync, existsSync } from 'node:fs';
import { join } from 'node:path';
import { NodeIO } from '@gltf-transform/core';
import { ALL_EXTENSIONS } from '@gltf-transform/extensions';
import validator from 'gltf-validator';

const folder = process.argv[2];
let failures = 0;
function check(condition, text) {
    if (condition) return;
    failures++;
    if (failures < 20) console.error('FAILED: ' + text);
}

async function validate(file) {
    const report = await validator.validateBytes(new Uint8Array(readFileSync(join(folder, file))), {
        uri: file,
        externalResourceFunction: (uri) =>
            Promise.resolve(new Uint8Array(readFileSync(join(folder, decodeURIComponent(uri))))),
    });
    check(report.issues.numErrors === 0 && report.issues.numWarnings === 0,
          `${file}: ${JSON.stringify(report.issues.messages.filter((m) => m.severity < 2).slice(0, 5))}`);
    for (const image of (report.info.resources ?? []).filter((r) => r.image))
        check(image.image.width > 0, `${file}: image without size`);
}

// Rows of the matrix of translation, rotation and scale, for row vectors.
function compose(t, [x, y, z, w], s) {
    return [
        s[0] * (1 - 2 * (y * y + z * z)), s[0] * 2 * (x * y + z * w), s[0] * 2 * (x * z - y * w),
        s[1] * 2 * (x * y - z * w), s[1] * (1 - 2 * (x * x + z * z)), s[1] * 2 * (y * z + x * w),
        s[2] * 2 * (x * z + y * w), s[2] * 2 * (y * z - x * w), s[2] * (1 - 2 * (x * x + y * y)),
        ...t];
}

// `mirrored` things show a mirrored mesh: the x axis of their matrix is turned.
function compare(file, expected, id, t, q, s, mirrored) {
    check(Math.abs(Math.hypot(...q) - 1) < 1e-6, `${file}: ${id}: rotation ${q}`);
    check(s.every((f) => f >= 0), `${file}: ${id}: scale ${s}`);
    const matrix = compose(t, q, s);
    if (mirrored) for (let k = 0; k < 3; k++) matrix[k] = -matrix[k];
    for (let k = 0; k < 12; k++)
        check(Math.abs(matrix[k] - Math.fround(expected.matrix[k])) <= (k < 9 ? 4e-6 : 0),
              `${file}: ${id}: matrix[${k}] ${matrix[k]}, expected ${expected.matrix[k]}`);
}

// The tint is kept as it is; the colour that multiplies is white mixed with it.
function compareTint(file, expected, id, color, tint) {
    const blend = expected.color[3];
    tint.forEach((c, k) => check(c === Math.fround(expected.color[k]), `${file}: ${id}: ${tint}`));
    check(color.length === 3, `${file}: ${id}: color ${color}`);
    color.forEach((c, k) => check(Math.abs(c - (1 - blend + blend * expected.color[k])) < 1e-6,
                                  `${file}: ${id}: color ${color}`));
}

function isMirrored([a, b, c, d, e, f, g, h, i]) {
    return a * (e * i - f * h) - b * (d * i - f * g) + c * (d * h - e * g) < 0;
}

function row(attribute, i, n) {
    return Array.from(attribute.getArray().slice(i * n, i * n + n));
}

async function checkInstances(file, expectedFile, scale) {
    const expected = new Map(
        JSON.parse(readFileSync(join(folder, expectedFile))).map((e) => [e.id, e]));
    const io = new NodeIO().registerExtensions(ALL_EXTENSIONS);
    const root = (await io.read(join(folder, file))).getRoot();
    const top = root.getDefaultScene().listChildren()[0];
    check(Math.abs(top.getScale()[0] - scale) < 1e-12, `${file}: scale ${top.getScale()}`);
    let seen = 0;
    for (const node of root.listNodes()) {
        const instances = node.getExtension('EXT_mesh_gpu_instancing');
        const extras = node.getExtras();
        if (instances) {
            const get = (name) => instances.getAttribute(name);
            const mirrored = node.getName().endsWith(' mirrored');
            const name = node.getName().replace(' mirrored', '');
            const ids = Array.from(get('_ID').getArray());
            const isTinted = ids.some((id) => expected.get(id)?.color[3] > 0);
            check((get('_COLOR_0') !== null) === isTinted, `${file}: ${name}: colours`);
            check((get('_TINT') !== null) === isTinted, `${file}: ${name}: tints`);
            for (let i = 0; i < get('_ID').getCount(); i++, seen++) {
                const id = get('_ID').getArray()[i], e = expected.get(id);
                if (!e) { check(false, `${file}: unexpected id ${id}`); continue; }
                check(name.endsWith('/plant' + e.prototype), `${file}: ${node.getName()}`);
                check(mirrored === isMirrored(e.matrix), `${file}: ${id}: mirrored`);
                compare(file, e, id, row(get('TRANSLATION'), i, 3), row(get('ROTATION'), i, 4),
                        row(get('SCALE'), i, 3), mirrored);
                if (isTinted)
                    compareTint(file, e, id, row(get('_COLOR_0'), i, 3), row(get('_TINT'), i, 4));
            }
        } else if ('id' in extras) {
            const e = expected.get(extras.id);
            check(node.getName() === `plant${e.prototype}_${extras.id}`, `${file}: ${node.getName()}`);
            compare(file, e, extras.id, node.getTranslation().map(Math.fround),
                    node.getRotation().map(Math.fround), node.getScale().map(Math.fround),
                    isMirrored(e.matrix));
            const isTinted = e.color[3] > 0;
            check((extras.color !== undefined) === isTinted, `${file}: ${extras.id}: colour`);
            check(node.getMesh().getName().endsWith(' mirrored') === isMirrored(e.matrix),
                  `${file}: ${extras.id}: mesh ${node.getMesh().getName()}`);
            if (isTinted)
                compareTint(file, e, extras.id, extras.color, extras.tint.map(Math.fround));
            seen++;
        }
    }
    check(seen === expected.size, `${file}: ${seen} instances, expected ${expected.size}`);
    checkMaterials(file, root);
}

function checkMaterials(file, root) {
    const material = (name) => root.listMaterials().find((m) => m.getName() === name);
    const leaf = material('leaf'), glass = material('');
    check(leaf.getAlphaMode() === 'MASK', `${file}: leaf is ${leaf.getAlphaMode()}`);
    check(leaf.getBaseColorTexture().getMimeType() === 'image/png', `${file}: leaf image`);
    const original = readFileSync(join(folder, 'leaf a.png'));
    check(Buffer.compare(original, Buffer.from(leaf.getBaseColorTexture().getImage())) === 0,
          `${file}: the leaf's image is not kept byte for byte`);
    check(material('bark').getBaseColorTexture().getMimeType() === 'image/jpeg', `${file}: bark image`);
    check(material('bark').getBaseColorTextureInfo().getExtension('KHR_texture_transform')
              .getScale()[1] === 3, `${file}: bark tiling`);
    check(material('stone ä').getAlphaMode() === 'MASK', `${file}: stone`);
    check(material('checker').getBaseColorTexture().getSize()[0] === 512, `${file}: checker`);
    const blended = root.listMaterials().filter((m) => m.getAlphaMode() === 'BLEND');
    check(blended.length === 1 && blended[0].getDoubleSided(), `${file}: glass`);
    const box = root.listMeshes().find((m) => m.getName() === 'plant0');
    check(box.listPrimitives().length === 6, `${file}: ${box.listPrimitives().length} primitives`);
    check(box.listPrimitives().every((p) => p.getIndices().getCount() === 6), `${file}: indices`);
}

for (const file of ['instanced.gltf', 'instanced.glb', 'embedded.gltf', 'flat.gltf', 'flat.glb',
                    'none.glb', 'empty.gltf'])
    await validate(file);
await checkInstances('instanced.gltf', 'expected_large.json', 0.01);
await checkInstances('instanced.glb', 'expected_large.json', 1);
await checkInstances('embedded.gltf', 'expected_small.json', 1);
await checkInstances('flat.gltf', 'expected_small.json', 1);
await checkInstances('flat.glb', 'expected_small.json', 2.5);
check(!existsSync(join(folder, 'empty.bin')), 'an empty scene needs no buffer');
console.log(failures ? `${failures} failures` : 'all samples agree');
process.exit(failures ? 1 : 0);
