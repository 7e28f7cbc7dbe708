// Steps as text and back, as the page has them in its address. Needs nothing but Node.
// usage: node --test tests/web/chain.test.mjs
import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {test} from 'node:test';

// A module for browsers, beside which no package says what its files are.
const source = readFileSync(new URL('../../web/page/chain.js', import.meta.url), 'utf8');
const {newStep, parseChain, programs, stepText} = await import(`data:text/javascript,${encodeURIComponent(source)}`);

const ROTATE = {
    name: 'rotate', example: 'rotate:30,wrap=xy',
    parameters: [
        {name: 'angle', type: 'angle', required: true},
        {name: 'wrap', type: 'flags', required: false, default: 'none'},
        {name: 'classic', type: 'switch', required: false, default: 'no'},
    ],
};
const TEXT = {
    name: 'text', example: 'text:Sample',
    parameters: [{name: 'text', type: 'text', required: true}, {name: 'size', type: 'length', required: false, default: '14'}],
};
const FLIP = {name: 'flip', example: 'flip', parameters: []};
const ALL = [ROTATE, TEXT, FLIP];

test('a chain becomes steps with named values', () => {
    assert.deepEqual(parseChain('rotate:30,wrap=xy,classic  flip', ALL), [
        {name: 'rotate', values: {angle: '30', wrap: 'xy', classic: 'yes'}, isOn: true},
        {name: 'flip', values: {}, isOn: true},
    ]);
    assert.deepEqual(parseChain('unknown:1 flip', ALL).map(step => step.name), ['flip']);
    assert.deepEqual(parseChain('', ALL), []);
});

test('values that are the defaults are left out', () => {
    assert.equal(stepText({name: 'rotate', values: {angle: '45', wrap: 'none', classic: 'no'}}, ROTATE), 'rotate:45');
    assert.equal(stepText({name: 'rotate', values: {angle: '-5deg', wrap: 'x', classic: 'yes'}}, ROTATE),
        'rotate:-5deg,wrap=x,classic');
    assert.equal(stepText({name: 'flip', values: {}}, FLIP), 'flip');
});

test('letters that separate are masked, and come back', () => {
    const step = {name: 'text', values: {text: 'a, b\\c\nz', size: '20'}, isOn: true};
    const text = stepText(step, TEXT);
    assert.equal(text, 'text:a\\,\\ b\\\\c\\\nz,size=20');
    assert.deepEqual(parseChain(`flip ${text}`, ALL)[1], step);
});

test('a new step is the example of its operation', () => {
    assert.deepEqual(newStep(ROTATE), {name: 'rotate', values: {angle: '30', wrap: 'xy'}, isOn: true});
});

test('programs quote what their languages need', () => {
    const made = programs(['text:it\'s\\ "so"', 'flip'], 'my photo.jpg', 'png');
    assert.equal(made.Command, `dib run 'my photo.jpg' 'text:it'\\''s\\ "so"' flip 'my photo-out.png'`);
    assert.ok(made['C++'].includes('DibApply(&image, "text:it\'s\\\\ \\"so\\" flip")'));
    assert.ok(made.C.includes('dib_save_file("my photo-out.png", image'));
    assert.ok(made.Python.endsWith('image.save("my photo-out.png")'));
});
