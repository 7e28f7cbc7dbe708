// The npm package `dibstream`.
import {loadLibrary} from './dibstream.mjs';
import createDibstream from './glue.mjs';

export {DibError} from './dibstream.mjs';

/**
 * Makes the library ready.
 * @param wasm the bytes of dibstream.wasm, or the module compiled from them; in Node they need not be given
 */
export async function load(wasm) {
    return loadLibrary(createDibstream, wasm ?? await ownBytes());
}

async function ownBytes() {
    const url = new URL('./dibstream.wasm', import.meta.url);
    if (url.protocol === 'file:') return (await import('node:fs/promises')).readFile(url);
    return new Uint8Array(await (await fetch(url)).arrayBuffer());
}
