// The library under Node beside the program of this machine: the same files from the same files.
// usage: DIB=... MAKE_SAMPLE_PICTURE=... PACKAGE=... node --test tests/web/library.test.mjs
import assert from 'node:assert/strict';
import {execFileSync, spawnSync} from 'node:child_process';
import {existsSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {extname, join} from 'node:path';
import {after, before, test} from 'node:test';

const {DIB, MAKE_SAMPLE_PICTURE, PACKAGE} = process.env;
const SEEDS = new URL('../../fuzz/seeds/', import.meta.url).pathname;
const folder = mkdtempSync(join(tmpdir(), 'dib-web-'));
const {DibError, load} = await import(join(PACKAGE, 'index.mjs'));
const library = await load();
let sample;

before(() => {
    execFileSync(MAKE_SAMPLE_PICTURE, ['160', '120', join(folder, 'sample.bmp')]);
    execFileSync(DIB, ['run', 'sample.bmp', 'mirror', 'resize:50%', 'other.bmp'], {cwd: folder});
    sample = readFileSync(join(folder, 'sample.bmp'));
    library.addFile('other.bmp', readFileSync(join(folder, 'other.bmp')));
});
after(() => rmSync(folder, {recursive: true}));

/** The bytes of the file that the program makes, or null when it refuses. */
function byProgram(input, steps, extension, options = []) {
    const out = join(folder, `out.${extension}`);
    rmSync(out, {force: true});
    const {status} = spawnSync(DIB, ['run', ...options, input, ...steps, out], {cwd: folder, encoding: 'utf8'});
    return status === 0 ? readFileSync(out) : null;
}

// The program writes run lengths only when it is asked to.
function byLibrary(bytes, chain, format, name) {
    const picture = library.open(bytes, {name});
    try {
        if (chain) picture.apply(chain);
        return Buffer.from(picture.save(format, {runLengths: false}).bytes);
    } finally {
        picture.release();
    }
}

// The C libraries of this machine and of browsers have generators and sines of their own.
const OTHER_RANDOM = new Set(['noise', 'color-noise', 'diffuse']);

test('every operation gives the bytes of the program', t => {
    let compared = 0;
    const unequal = [];
    for (const {name, samples} of library.operations) {
        for (const chain of samples) {
            const expected = byProgram('sample.bmp', chain.split(' '), 'bmp');
            assert.ok(expected, chain);
            const made = byLibrary(sample, chain, 'bmp');
            if (OTHER_RANDOM.has(name)) {
                assert.equal(made.length, expected.length, chain);
                continue;
            }
            ++compared;
            if (!made.equals(expected)) unequal.push(chain);
        }
    }
    assert.deepEqual(unequal, []);
    assert.ok(compared > 100, `${compared} chains`);
    t.diagnostic(`${compared} chains`);
});

test('every seed of a format opens as by the program', t => {
    const folders = readdirSync(SEEDS).filter(name => !/^(chain|convert|effects|font|geometry|palette|save)$|py$/.test(name));
    let opened = 0;
    const unequal = [];
    for (const seeds of folders.filter(name => name !== 'exr')) {
        for (const file of readdirSync(join(SEEDS, seeds))) {
            const path = join(SEEDS, seeds, file);
            const expected = byProgram(path, [], 'bmp');
            let made = null;
            try {
                made = byLibrary(readFileSync(path), '', 'bmp', file);
            } catch (error) {
                if (!(error instanceof DibError)) throw error;
            }
            if (expected === null ? made !== null : !made?.equals(expected)) unequal.push(`${seeds}/${file}`);
            if (made) ++opened;
        }
    }
    assert.deepEqual(unequal, []);
    assert.ok(opened > 150, `${opened} files`);
    t.diagnostic(`${opened} files opened`);
});

// PNG and TIFF files are packed by another library on this machine, so their pixels are compared.
test('files of every format that is written are those of the program', () => {
    const written = library.formats.filter(({writeDepths, isAvailable}) => writeDepths.length > 0 && isAvailable);
    for (const {name, extensions} of written) {
        const expected = byProgram('sample.bmp', [], extensions[0]);
        const made = byLibrary(sample, '', name);
        if (name === 'png' || name === 'tiff') {
            assert.ok(byLibrary(made, '', 'bmp').equals(byLibrary(expected, '', 'bmp')), name);
        } else {
            assert.ok(made.equals(expected), name);
        }
    }
    assert.ok(written.length >= 9);
});

test('losses are told before and after a save', () => {
    const picture = library.open(sample);
    picture.apply('bpp:32');
    assert.deepEqual(picture.losses('png'), []);
    assert.equal(picture.losses('tga').length, 0);
    assert.deepEqual(picture.losses('jpeg'), ['32 bits a pixel become 24', 'pixels change a little, as JPEG packs them (quality 90)']);
    assert.deepEqual(picture.save('jpeg', {quality: 50}).notes.map(note => note.kind), picture.losses('jpeg').map(() => 'loss'));
    assert.throws(() => picture.save('jpeg', {refusesLosses: true}), {code: 8});
    picture.release();
});

test('failures say why and where', () => {
    const picture = library.open(sample);
    assert.throws(() => picture.apply('soften rotate:30,wrp=xy'),
        {name: 'DibError', code: 6, step: 1, operation: 'rotate', suggestion: 'wrap'});
    assert.throws(() => picture.apply('compose:missing.bmp'), {code: 3});
    assert.throws(() => library.open(new Uint8Array([1, 2, 3])), {name: 'DibError'});
    assert.throws(() => library.open(sample, {pages: 1}), TypeError);
    assert.throws(() => picture.save('hdr'), {code: 7});
    assert.equal(picture.width, 160);
    picture.release();
});

test('a progress function hears fractions and cancels', () => {
    const picture = library.open(sample);
    const before = picture.pixels();
    const heard = [];
    picture.apply('gaussian:20', {progress: fraction => void heard.push(fraction)});
    assert.equal(heard.at(0), 0);
    assert.equal(heard.at(-1), 1);
    assert.deepEqual(heard, heard.slice().sort((a, b) => a - b));
    const blurred = picture.pixels();
    assert.notDeepEqual(before, blurred);
    assert.throws(() => picture.apply('gaussian:30', {progress: () => false}), {code: 9});
    assert.throws(() => picture.apply('gaussian:30', {progress: () => { throw new RangeError('mine'); }}), RangeError);
    assert.deepEqual(picture.pixels(), blurred);
    picture.release();
});

test('pixels go in and out, and second pictures come from the program', () => {
    const picture = library.fromPixels(new Uint8Array([255, 0, 0, 255, 0, 128, 0, 7]), 2, 1);
    assert.deepEqual([...picture.pixels()], [255, 0, 0, 255, 0, 128, 0, 7]);
    const copy = picture.clone();
    copy.apply('mirror');
    assert.deepEqual([...copy.pixels()], [0, 128, 0, 7, 255, 0, 0, 255]);
    const asked = [];
    picture.apply('join:second', {open: name => { asked.push(name); return copy; }});
    assert.deepEqual(asked, ['second']);
    assert.deepEqual([picture.width, picture.height], [4, 1]);
    for (const depth of [1, 4, 8, 16, 24]) {
        const reduced = library.fromPixels(new Uint8Array([255, 255, 255, 255, 0, 0, 0, 255]), 2, 1);
        reduced.apply(`bpp:${depth}`);
        assert.equal(reduced.bitCount, depth);
        assert.deepEqual([...reduced.pixels()], [255, 255, 255, 255, 0, 0, 0, 255], `${depth} bits`);
        reduced.release();
    }
    picture.release();
    copy.release();
});
