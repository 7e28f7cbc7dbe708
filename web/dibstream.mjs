// The library for programs in JavaScript: pictures, image files and operations by name. It calls the functions of
// dibstream.h, compiled to WebAssembly. dibstream.d.ts describes what is exported here.

/** Why a call failed. */
export class DibError extends Error {
    constructor(result) {
        super(result.reason);
        this.name = 'DibError';
        for (const key of ['code', 'operation', 'parameter', 'suggestion', 'step', 'notes']) this[key] = result[key];
    }
}

const NOTE_KINDS = ['warning', 'assumption', 'loss'];
const DEPTHS = [1, 4, 8, 16, 24, 32];
const INTERRUPTED = 9;
const PLUGINS = '/plugins';
const FILES = '/files';  // of programs; relative paths begin there

/**
 * Makes the library ready.
 * @param create  the function of dibstream-glue.js
 * @param wasm    the bytes of dibstream.wasm, or the module compiled from them
 */
export async function loadLibrary(create, wasm) {
    const instantiateWasm = (imports, use) => {
        WebAssembly.instantiate(wasm, imports).then(made => use(made.instance ?? made));
        return {};
    };
    const options = wasm instanceof WebAssembly.Module ? {instantiateWasm} : {wasmBinary: wasm};
    return new Library(await create({...options, print() {}, printErr() {}}));
}

class Library {
    #wasm;
    #layout;
    #progress = null;  // of the call that runs
    #open = null;

    constructor(wasm) {
        this.#wasm = wasm;
        this.#layout = JSON.parse(wasm.UTF8ToString(wasm._dib_web_layout()));
        this.version = this.#layout.version;
        this.progressPointer = wasm.addFunction((fraction) => this.#report(fraction), 'ifi');
        this.openPointer = wasm.addFunction((context, name, image) => this.#openSecond(name, image), 'iiii');
        this.#linkPlugins();
        wasm.FS.mkdir(FILES);
        wasm.FS.chdir(FILES);
        this.formats = this.#listFormats();
        this.operations = JSON.parse(this.#describe()).operations;
        Object.freeze(this);
    }

    // Plug-ins are found where files with their names lie.
    #linkPlugins() {
        this.#wasm.FS.mkdir(PLUGINS);
        for (const name of ['dds', 'gif', 'webp']) this.#wasm.FS.writeFile(`${PLUGINS}/vexlib${name}.bundle`, '');
        this.#scoped(memory => this.#wasm._dib_set_plugin_folder(memory.text(PLUGINS)));
    }

    #listFormats() {
        const depths = bits => DEPTHS.filter((_, i) => bits & (1 << i));
        return this.#scoped(memory => {
            const format = memory.structure('format');
            return Array.from({length: this.#wasm._dib_format_count()}, (_, i) => {
                this.#wasm._dib_format_at(i, format.address);
                return {
                    name: format.get('name'),
                    title: format.get('title'),
                    extensions: memory.list(format.get('extensions')),
                    mimeTypes: memory.list(format.get('mime_types')),
                    readDepths: depths(format.get('read_depths')),
                    writeDepths: depths(format.get('write_depths')),
                    hasLayers: format.get('has_layers') === 1,
                    hasPages: format.get('has_pages') === 1,
                    isAvailable: this.#wasm._dib_is_format_available(memory.text(format.get('name'))) !== 0,
                };
            });
        });
    }

    #describe() {
        return this.#scoped(memory => {
            const text = memory.word();
            this.#check(this.#wasm._dib_describe_operation(0, 2, text), null);
            return memory.takeText(memory.wordAt(text));
        });
    }

    /** Opens a file from its bytes. */
    open(bytes, options = {}, {progress} = {}) {
        return this.#scoped(memory => {
            const result = memory.structure('result');
            const metadata = this.#wasm._malloc(this.#layout.metadata.bytes);
            memory.fill(metadata, 'metadata');
            result.set('metadata', metadata);
            const image = memory.word();
            const code = this.#during(progress, null, () => this.#wasm._dib_load_memory(
                memory.bytes(bytes), bytes.length, image, memory.options('load_options', LOAD_OPTIONS, options),
                result.address, this.progressPointer, 0));
            if (code !== 0) this.#releaseMetadata(metadata);
            this.#check(code, result);
            const facts = {format: result.get('format'), notes: readNotes(result)};
            return new Picture(this, memory.wordAt(image), metadata, facts);
        });
    }

    /** What the headers of a file say. */
    probe(bytes, options = {}) {
        return this.#scoped(memory => {
            const result = memory.structure('result');
            const info = memory.structure('file_info');
            this.#check(this.#wasm._dib_probe_memory(memory.bytes(bytes), bytes.length, info.address,
                memory.options('load_options', LOAD_OPTIONS, options), result.address), result);
            return {
                format: info.get('format'), width: info.get('width'), height: info.get('height'),
                bitCount: info.get('bit_count'), storedBits: info.get('stored_bits'),
                compression: info.get('compression'), colors: info.get('colors'), pages: info.get('pages'),
                layers: info.get('layers'), levels: info.get('levels'), paletteSize: info.get('palette_size'),
                hasAlpha: info.get('has_alpha') === 1, notes: readNotes(result),
            };
        });
    }

    /** Makes a picture of pixels: red, green, blue and alpha, four bytes each, from the top left. */
    fromPixels(pixels, width, height) {
        return this.#scoped(memory => {
            const image = memory.word();
            this.#check(this.#wasm._dib_image_new(width, height, 32, 1, image), null);
            const address = memory.wordAt(image);
            // Blue comes first in the library's pixels.
            const swapped = new Uint8Array(pixels.length);
            for (let i = 0; i < pixels.length; ++i) swapped[i] = pixels[i % 4 === 3 ? i : i + 2 - 2 * (i % 4)];
            this.#wasm.HEAPU8.set(swapped, this.#wasm._dib_image_row(address, 0));
            return new Picture(this, address, 0, {format: null, notes: []});
        });
    }

    /** Checks a chain without applying it; fails as `apply` would. */
    check(chain) {
        this.#scoped(memory => {
            const result = memory.structure('result');
            this.#check(this.#wasm._dib_check_chain(memory.text(chain), result.address), result);
        });
    }

    /** Gives the library a file that chains name: a picture, a palette or a font. */
    addFile(name, bytes) {
        this.#wasm.FS.writeFile(`${FILES}/${name}`, bytes);
    }

    // What follows is for Picture.

    info(image) {
        const names = ['width', 'height', 'bit_count'];
        return names.map(name => this.#wasm[`_dib_image_${name}`](image));
    }

    clone(image) {
        return this.#scoped(memory => {
            const copy = memory.word();
            this.#check(this.#wasm._dib_image_clone(image, copy), null);
            return memory.wordAt(copy);
        });
    }

    pixels(image, width, height) {
        const size = 4 * width * height;
        const block = this.#wasm._malloc(size);
        if (block === 0) throw new DibError({code: 2, reason: 'out of memory'});
        this.#wasm._dib_web_pixels(image, block);
        const copy = new Uint8ClampedArray(this.#wasm.HEAPU8.slice(block, block + size).buffer);
        this.#wasm._free(block);
        return copy;
    }

    apply(image, chain, {classic = false, inPlace = false, open = null, progress = null}) {
        return this.#scoped(memory => {
            const result = memory.structure('result');
            const options = memory.structure('apply_options');
            options.set('classic', Number(classic));
            options.set('in_place', Number(inPlace));
            if (open) options.set('open', this.openPointer);
            this.#check(this.#during(progress, open, () => this.#wasm._dib_apply(
                image, memory.text(chain), options.address, result.address, this.progressPointer, 0)), result);
            return {notes: readNotes(result)};
        });
    }

    save(image, metadata, format, options, progress) {
        return this.#scoped(memory => {
            const result = memory.structure('result');
            const bytes = memory.word();
            const size = memory.word();
            const how = memory.options('save_options', SAVE_OPTIONS, {...options, format, metadata});
            this.#check(this.#during(progress, null, () => this.#wasm._dib_save_memory(
                bytes, size, image, how, result.address, this.progressPointer, 0)), result);
            const block = memory.wordAt(bytes);
            const file = this.#wasm.HEAPU8.slice(block, block + memory.wordAt(size));
            this.#wasm._dib_free(block);
            return {bytes: file, notes: readNotes(result)};
        });
    }

    losses(image, metadata, format, options) {
        return this.#scoped(memory => {
            const result = memory.structure('result');
            const how = memory.options('save_options', SAVE_OPTIONS, {...options, metadata});
            this.#check(this.#wasm._dib_save_losses(image, memory.text(format), how, memory.word(), result.address),
                result);
            return readNotes(result).map(note => note.text);
        });
    }

    release(image, metadata) {
        this.#wasm._dib_image_release(image);
        this.#releaseMetadata(metadata);
    }

    #releaseMetadata(metadata) {
        this.#wasm._dib_metadata_clear(metadata);
        this.#wasm._free(metadata);
    }

    #scoped(work) {
        const memory = new Memory(this.#wasm, this.#layout);
        try {
            return work(memory);
        } finally {
            memory.release();
        }
    }

    #check(code, result) {
        if (code === 0) return;
        const reason = result?.get('reason') || this.#wasm.UTF8ToString(this.#wasm._dib_code_text(code));
        const about = {code, reason, notes: [], operation: null, parameter: null, suggestion: null, step: -1};
        if (result) {
            for (const name of ['operation', 'parameter', 'suggestion', 'step']) about[name] = result.get(name);
            about.notes = readNotes(result);
        }
        throw new DibError(about);
    }

    // Calls with these functions; what they throw ends the call and is thrown here.
    #during(progress, open, call) {
        this.#progress = {report: progress ?? null, thrown: null};
        this.#open = open;
        try {
            const code = call();
            if (this.#progress.thrown) throw this.#progress.thrown.error;
            return code;
        } finally {
            this.#progress = null;
            this.#open = null;
        }
    }

    #guarded(failure, work) {
        try {
            return work();
        } catch (error) {
            this.#progress.thrown ??= {error};
            return failure;
        }
    }

    #report(fraction) {
        if (!this.#progress.report) return 1;
        return this.#guarded(0, () => this.#progress.report(fraction) === false ? 0 : 1);
    }

    // A second picture belongs to the library, which gets a copy.
    #openSecond(name, image) {
        return this.#guarded(INTERRUPTED, () => {
            const asked = this.#wasm.UTF8ToString(name);
            const picture = this.#open?.(asked);
            if (!picture) throw new DibError({code: 3, reason: `there is no picture named ${asked}`});
            this.#wasm.HEAPU32[image >> 2] = this.clone(picture.address);
            return 0;
        });
    }
}

const LOAD_OPTIONS = {
    name: 'name', format: 'format', mostPixels: 'most_pixels', mostBytes: 'most_bytes', keepsDamaged: 'damage',
    alphaAsStored: 'alpha', page: 'page', layer: 'layer', level: 'level', appliesOrientation: 'applies_orientation',
    keepsPalette: 'keeps_palette', atLeastWidth: 'at_least_width', atLeastHeight: 'at_least_height',
};
const SAVE_OPTIONS = {
    format: 'format', metadata: 'metadata', refusesLosses: 'refuses_losses', quality: 'quality',
    compressionLevel: 'compression_level', runLengths: 'run_lengths', tiffCompression: 'tiff_compression',
    isLossy: 'is_lossy',
};

function readNotes(result) {
    const notes = result.member('notes');
    const kinds = result.member('note_kinds');
    const room = notes.bytes / (kinds.bytes / 4);
    return Array.from({length: result.get('note_count')}, (_, i) => ({
        kind: NOTE_KINDS[result.memory.intAt(kinds.at + 4 * i)],
        text: result.memory.readText(notes.at + room * i),
    }));
}

// What a call needs in the library's memory; released at its end. Addresses stay, views of the heap may not.
class Memory {
    #wasm;
    #layout;
    #blocks = [];

    constructor(wasm, layout) {
        this.#wasm = wasm;
        this.#layout = layout;
    }

    release() {
        for (const block of this.#blocks) this.#wasm._free(block);
    }

    #allocate(size) {
        const block = this.#wasm._malloc(Math.max(1, size));
        if (block === 0) throw new DibError({code: 2, reason: 'out of memory'});
        this.#blocks.push(block);
        return block;
    }

    text(text) {
        const size = this.#wasm.lengthBytesUTF8(text) + 1;
        const block = this.#allocate(size);
        this.#wasm.stringToUTF8(text, block, size);
        return block;
    }

    bytes(bytes) {
        const block = this.#allocate(bytes.length);
        this.#wasm.HEAPU8.set(bytes, block);
        return block;
    }

    word() {
        const block = this.#allocate(4);
        this.#wasm.HEAPU32[block >> 2] = 0;
        return block;
    }

    wordAt(address) { return this.#wasm.HEAPU32[address >> 2]; }
    intAt(address) { return this.#wasm.HEAP32[address >> 2]; }
    readText(address) { return address === 0 ? null : this.#wasm.UTF8ToString(address); }

    // A list of texts that a null ends.
    list(address) {
        const texts = [];
        for (; this.wordAt(address) !== 0; address += 4) texts.push(this.readText(this.wordAt(address)));
        return texts;
    }

    // A text that the library gives away.
    takeText(address) {
        const text = this.readText(address);
        this.#wasm._dib_free(address);
        return text;
    }

    fill(address, name) {
        const {bytes, defaults} = this.#layout[name];
        this.#wasm.HEAPU8.copyWithin(address, defaults, defaults + bytes);
    }

    structure(name) {
        const address = this.#allocate(this.#layout[name].bytes);
        this.fill(address, name);
        return new Structure(this, this.#wasm, this.#layout[name], address);
    }

    options(structure, names, options) {
        const made = this.structure(structure);
        for (const [key, value] of Object.entries(options)) {
            if (!(key in names)) throw new TypeError(`there is no option ${key}`);
            if (value !== undefined && value !== null) made.set(names[key], value);
        }
        return made.address;
    }
}

class Structure {
    #wasm;
    #layout;

    constructor(memory, wasm, layout, address) {
        this.memory = memory;
        this.#wasm = wasm;
        this.#layout = layout;
        this.address = address;
    }

    member(name) {
        const {offset, kind, bytes} = this.#layout[name];
        return {at: this.address + offset, kind, bytes};
    }

    get(name) {
        const {at, kind} = this.member(name);
        if (kind === 'int') return this.#wasm.HEAP32[at >> 2];
        if (kind === 'double') return this.#wasm.HEAPF64[at >> 3];
        if (kind === 'text') return this.memory.readText(this.memory.wordAt(at));
        if (kind === 'array') return this.memory.readText(at);
        return this.memory.wordAt(at);
    }

    set(name, value) {
        const {at, kind} = this.member(name);
        if (kind === 'text') {
            this.#wasm.HEAPU32[at >> 2] = this.memory.text(String(value));
        } else if (kind === 'long') {
            this.#wasm.HEAPU32.set([value % 2 ** 32, Math.floor(value / 2 ** 32)], at >> 2);
        } else {
            this.#wasm.HEAP32[at >> 2] = Number(value);
        }
    }
}

/** A picture. It holds memory until `release`. */
class Picture {
    #library;
    #metadata;

    constructor(library, address, metadata, {format, notes}) {
        this.#library = library;
        this.#metadata = metadata;
        this.address = address;
        this.format = format;
        this.notes = notes;
    }

    get width() { return this.#library.info(this.address)[0]; }
    get height() { return this.#library.info(this.address)[1]; }
    get bitCount() { return this.#library.info(this.address)[2]; }

    /** An independent copy, without what the file held beside the pixels. */
    clone() {
        return new Picture(this.#library, this.#library.clone(this.address), 0, {format: this.format, notes: []});
    }

    /** Applies a chain of operations: "rotate:30,wrap=xy gaussian:4". The picture is unchanged when it fails. */
    apply(chain, options = {}) { return this.#library.apply(this.address, chain, options); }

    /** Its pixels from the top left: red, green, blue and alpha, four bytes each. */
    pixels() { return this.#library.pixels(this.address, this.width, this.height); }

    /** What a file of that format cannot hold of it, in words. */
    losses(format, options = {}) { return this.#library.losses(this.address, this.#metadata, format, options); }

    /** The bytes of a file, with what it could not hold. */
    save(format, options = {}, {progress} = {}) {
        return this.#library.save(this.address, this.#metadata, format, options, progress);
    }

    release() {
        this.#library.release(this.address, this.#metadata);
        this.address = 0;
        this.#metadata = 0;
    }
}
