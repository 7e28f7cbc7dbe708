// What works beside the page: the library, the picture, and what the steps of the chain made of it.
import {loadLibrary} from '../dibstream.mjs';
import {countColors} from './histogram.js';

const MOST_BYTES_KEPT = 512 << 20;  // of pictures after a step

let library = null;
let original = null;
let stages = [];  // {chain, picture}: after each step of the last chain, as far as memory allows

const bytesOf = picture => 4 * picture.width * picture.height;

function dropStages(from) {
    for (const stage of stages.splice(from)) stage.picture.release();
}

// The pixels for the page, and what it tells of them.
function show(picture) {
    const {width, height, bitCount} = picture;
    const pixels = picture.pixels();
    return {width, height, bitCount, pixels, counts: countColors(pixels)};
}

const work = {
    async start({create, wasm}) {
        library = await loadLibrary(create ?? self.createDibstream, wasm);
        return {version: library.version, operations: library.operations, formats: library.formats};
    },

    // A picture, palette or font that steps name.
    addFile({name, bytes}) {
        library.addFile(name, bytes);
        dropStages(0);
    },

    open({bytes, name}, progress) {
        const opened = library.open(bytes, {name, keepsDamaged: true}, {progress});
        dropStages(0);
        original?.release();
        original = opened;
        return {...show(original), info: describe(bytes, name), notes: original.notes, format: original.format};
    },

    // Begins with what an earlier chain made by the same first steps.
    apply({steps}, progress) {
        let known = 0;
        while (known < steps.length && stages[known]?.chain === steps[known]) ++known;
        dropStages(known);
        const notes = [];
        for (let i = known; i < steps.length; ++i) {
            const picture = (stages[i - 1]?.picture ?? original).clone();
            try {
                const report = fraction => progress((i - known + fraction) / (steps.length - known));
                const applied = picture.apply(steps[i], {inPlace: true, progress: report});
                stages.push({chain: steps[i], picture, notes: applied.notes});
            } catch (error) {
                picture.release();
                error.step = i;
                throw error;
            }
            keepWithinMemory(i);
        }
        for (const stage of stages) notes.push(...(stage.notes ?? []));
        return {...show(result()), notes};
    },

    losses({format, options}) { return result().losses(format, options); },

    save({format, options}, progress) { return result().save(format, options, {progress}); },
};

const result = () => stages.at(-1)?.picture ?? original;

function describe(bytes, name) {
    try {
        return library.probe(bytes, {name});
    } catch {
        return null;  // a damaged file, of which the rows that could be read are shown
    }
}

// A picture between two steps costs time when it is gone; the last one is always kept.
function keepWithinMemory(last) {
    let bytes = 0;
    for (let i = last; i >= 0; --i) {
        bytes += bytesOf(stages[i].picture);
        if (bytes > MOST_BYTES_KEPT && i < last) return dropFirst(i + 1);
    }
}

function dropFirst(count) {
    for (const stage of stages.slice(0, count)) {
        stage.picture.release();
        stage.chain = null;
    }
}

self.onmessage = async ({data: {id, call, ...request}}) => {
    let told = 0;
    const progress = fraction => {
        const now = performance.now();
        if (now - told > 50 || fraction === 1) {
            told = now;
            self.postMessage({id, progress: fraction});
        }
    };
    try {
        const answer = await work[call](request, progress);
        const moved = [answer?.pixels?.buffer, answer?.bytes?.buffer].filter(Boolean);
        self.postMessage({id, answer}, moved);
    } catch (error) {
        const {message, code, step, operation, parameter, suggestion} = error;
        self.postMessage({id, error: {message, code, step, operation, parameter, suggestion}});
    }
};
