// Lays out the page in one folder that needs no server. Browsers refuse modules, workers and fetches from files, so the
// modules are joined into one classic script, and the worker and the library become texts in another.
// usage: node web/bundle.mjs BUILT SITE     BUILT holds dibstream_web.js and dibstream_web.wasm
import {copyFileSync, mkdirSync, readFileSync, writeFileSync} from 'node:fs';
import {dirname, join, resolve} from 'node:path';
import {fileURLToPath} from 'node:url';
import {gzipSync} from 'node:zlib';

const root = dirname(dirname(fileURLToPath(import.meta.url)));
const IMPORT = /^import \{[^}]*\} from '(\.[^']*)';\n/gm;
const EXPORT = /^export (?=(async function|function|class|const) )/gm;

// The text of a module after those that it imports, each once. Names at the top of modules are unique.
function joined(path, seen = new Set()) {
    if (seen.has(path)) return '';
    seen.add(path);
    const text = readFileSync(path, 'utf8');
    const before = [...text.matchAll(IMPORT)].map(found => joined(resolve(dirname(path), found[1]), seen));
    const own = text.replace(IMPORT, '').replace(EXPORT, '');
    if (/^(import|export)\b/m.test(own)) throw new Error(`${path}: an import or export that cannot be joined`);
    return before.join('') + own;
}

const [built, site] = process.argv.slice(2);
const classic = (text, after = '') => `(() => {\n'use strict';\n${text}${after}})();\n`;
const glue = readFileSync(join(built, 'dibstream_web.js'), 'utf8');
const worker = `${glue}\nself.createDibstream = createDibstream;\n${classic(joined(join(root, 'web/page/worker.js')))}`;
const wasm = gzipSync(readFileSync(join(built, 'dibstream_web.wasm')), {level: 9}).toString('base64');
const LIBRARY = `const dibstreamParts = {
    worker: ${JSON.stringify(worker).replaceAll('</', '<\\/')},
    get wasm() {
        const packed = Uint8Array.from(atob(this.packed), letter => letter.charCodeAt(0));
        const unpacked = new Blob([packed]).stream().pipeThrough(new DecompressionStream('gzip'));
        return new Response(unpacked).arrayBuffer().then(bytes => new Uint8Array(bytes));
    },
    packed: '${wasm}',
};
`;

mkdirSync(site, {recursive: true});
writeFileSync(join(site, 'library.js'), LIBRARY);
writeFileSync(join(site, 'page.js'), classic(joined(join(root, 'web/page/main.js')), 'begin(dibstreamParts);\n'));
writeFileSync(join(site, 'page.css'), readFileSync(join(root, 'gallery/page/Base.css'), 'utf8') +
    readFileSync(join(root, 'web/page/page.css'), 'utf8'));
copyFileSync(join(root, 'web/page/index.html'), join(site, 'index.html'));
