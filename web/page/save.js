// Saving: the formats that can be written, their options, and what a file would lose.
import {byId, element} from './elements.js';
import {formOf} from './forms.js';

const QUALITY = {name: 'quality', type: 'integer', help: 'larger files are nearer to the picture', min: 1, max: 100, default: '90'};
const LEVEL = {name: 'compression', type: 'integer', help: '0 is fast, 9 small, -1 a good compromise', min: -1, max: 9, default: '-1'};
const LOSSY = {name: 'lossy', type: 'switch', help: 'smaller files that change pixels a little, by the quality', default: 'no'};
const PACKING = {
    name: 'packing', type: 'choice', help: 'how rows are packed', default: 'deflate',
    choices: ['deflate', 'lzw', 'packbits', 'none'].map(name => ({name})),
};
const OPTIONS = {jpeg: [QUALITY], png: [LEVEL], tiff: [PACKING, LEVEL], webp: [LOSSY, QUALITY, LEVEL]};
const READ = {
    quality: value => ['quality', Number(value)],
    compression: value => ['compressionLevel', Number(value)],
    lossy: value => ['isLossy', value === 'yes'],
    packing: value => ['tiffCompression', PACKING.choices.findIndex(choice => choice.name === value)],
};

export class SaveForm {
    #values = {};
    #changed;

    /** @param changed called when the format or one of its options has changed */
    constructor(formats, changed) {
        this.#changed = changed;
        const written = formats.filter(format => format.writeDepths.length > 0 && format.isAvailable);
        byId('format').append(...written.map(format =>
            element('option', {value: format.name, selected: format.name === 'png'}, format.title)));
        this.extensions = Object.fromEntries(written.map(format => [format.name, format.extensions[0]]));
        byId('format').addEventListener('change', () => this.#choose());
        this.#choose();
    }

    get format() { return byId('format').value; }
    get options() { return Object.fromEntries(Object.entries(this.#values).map(([name, text]) => READ[name](text))); }

    #choose() {
        this.#values = {};
        const form = formOf({values: {}}, {parameters: OPTIONS[this.format] ?? []}, (name, value) => {
            this.#values[name] = value;
            this.#changed();
        });
        byId('save-options').replaceChildren(...form);
        this.#changed();
    }
}

/** Hands a file to the person before the screen. */
export function download(name, bytes) {
    const url = URL.createObjectURL(new Blob([bytes]));
    element('a', {href: url, download: name}).click();
    setTimeout(() => URL.revokeObjectURL(url), 10000);
}
