// node check.mjs BROWSER FOLDER: opens FOLDER/page.html, which shows scene.glb, in a headless browser
// with a software renderer, and compares its picture with our own, ours.png, region by region. The
// two are lit and toned differently; what must agree is where things stand and which hue they have.
import { createServer } from 'node:http';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join, normalize } from 'node:path';
import { chromium } from 'playwright-core';

const [browserPath, folder] = process.argv.slice(2);
const columns = 8, rows = 6;
let failures = 0;
function check(condition, text) {
    if (condition) return;
    failures++;
    console.error('FAILED: ' + text);
}

const types = { html: 'text/html', js: 'text/javascript', png: 'image/png' };
const server = createServer((request, response) => {
    const path = normalize(decodeURIComponent(new URL(request.url, 'http://x').pathname));
    try {
        const bytes = readFileSync(join(folder, path));
        const type = types[path.split('.').pop()] ?? 'application/octet-stream';
        response.writeHead(200, { 'content-type': type }).end(bytes);
    } catch {
        response.writeHead(404).end();
    }
});
await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));

// For each region of a picture: the share of pixels that are leaves (green, yellow or red; the ground
// is grey, its shadows blue), and their mean red, green and blue as shares of their sum.
function regionsOf({ columns, rows }) {
    return new Promise((resolve) => {
        const image = new Image();
        image.onload = () => {
            const canvas = document.createElement('canvas');
            canvas.width = image.width, canvas.height = image.height;
            const context = canvas.getContext('2d');
            context.drawImage(image, 0, 0);
            const { data } = context.getImageData(0, 0, image.width, image.height);
            const regions = Array.from({ length: columns * rows },
                                       () => ({ pixels: 0, coloured: 0, sum: [0, 0, 0] }));
            for (let y = 0; y < image.height; y++)
                for (let x = 0; x < image.width; x++) {
                    const region = regions[Math.floor(y * rows / image.height) * columns +
                                           Math.floor(x * columns / image.width)];
                    const c = data.slice(4 * (y * image.width + x), 4 * (y * image.width + x) + 3);
                    const most = Math.max(...c), least = Math.min(...c);
                    region.pixels++;
                    if (most - least < 0.25 * most || most < 16 || least < c[2]) continue;
                    region.coloured++;
                    const total = c[0] + c[1] + c[2];
                    for (let k = 0; k < 3; k++) region.sum[k] += c[k] / total;
                }
            resolve(regions.map((r) => ({ share: r.coloured / r.pixels,
                                          hue: r.sum.map((s) => s / Math.max(1, r.coloured)) })));
        };
        image.src = document.body.dataset.picture;
    });
}
async function measure(page, file) {
    await page.goto(`http://127.0.0.1:${server.address().port}/empty.html`);
    await page.evaluate((name) => { document.body.dataset.picture = name; }, '/' + file);
    return page.evaluate(regionsOf, { columns, rows });
}

const profile = mkdtempSync(join(tmpdir(), 'dravin-viewer-'));
const browser = await chromium.launchPersistentContext(profile, {
    executablePath: browserPath,
    headless: true,
    args: ['--no-sandbox', '--use-gl=angle', '--use-angle=swiftshader',
           '--enable-unsafe-swiftshader', '--disable-quic', '--no-first-run',
           '--disable-background-networking', '--disable-component-update', '--disable-sync'],
    viewport: { width: 320, height: 240 },
});
try {
    const page = await browser.newPage();
    page.on('pageerror', (error) => check(false, `the page: ${error}`));
    await page.goto(`http://127.0.0.1:${server.address().port}/page.html`);
    await page.waitForFunction(() => window.result, null, { timeout: 300000 });
    const result = await page.evaluate(() => window.result);
    console.log(JSON.stringify(result));
    check(!result.error, result.error);
    check(result.instances > 40, `${result.instances} instances`);
    check(result.tinted > 4 && result.tinted < result.instances, `${result.tinted} tinted`);
    check(result.negative === 0, `${result.negative} mirroring transforms`);
    writeFileSync(join(folder, 'theirs.png'), await page.locator('canvas').screenshot());

    const ours = await measure(page, 'ours.png'), theirs = await measure(page, 'theirs.png');
    let covered = 0, difference = 0, hue = 0, hues = 0;
    for (let i = 0; i < ours.length; i++) {
        covered += ours[i].share;
        difference += Math.abs(ours[i].share - theirs[i].share);
        if (Math.min(ours[i].share, theirs[i].share) < 0.1) continue;
        hues++;
        hue += Math.max(...[0, 1, 2].map((k) => Math.abs(ours[i].hue[k] - theirs[i].hue[k])));
    }
    console.log(`covered ${(covered / ours.length).toFixed(3)}, mean difference of a region ` +
                `${(difference / ours.length).toFixed(3)}, of hues ${(hue / hues).toFixed(3)} in ${hues}`);
    check(covered / ours.length > 0.15, 'our own picture shows little');
    check(difference / ours.length < 0.06, 'things stand elsewhere');
    check(hues >= 8 && hue / hues < 0.08, 'things have other colours');
} finally {
    await browser.close();
    server.close();
    rmSync(profile, { recursive: true, force: true });
}
console.log(failures ? `${failures} failures` : 'the viewer agrees');
process.exit(failures ? 1 : 0);
