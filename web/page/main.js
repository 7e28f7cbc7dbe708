// The page: what is open, its chain of steps and their history.
import {newStep, parseChain, programs, stepText} from './chain.js';
import {byId, element} from './elements.js';
import {Cancelled, Engine} from './engine.js';
import {drawHistogram} from './histogram.js';
import {paintSample} from './sample.js';
import {SaveForm, download} from './save.js';
import {StepList} from './steps.js';
import {View} from './view.js';

const ADDRESS = '#chain=';

class Page {
    #engine;
    #view = new View();
    #operations = [];
    #list;
    #save;
    #history = [[]];
    #now = 0;
    #shown = null;  // the steps that the picture shows
    #name = null;
    #isBusy = false;
    #isStale = false;
    #timer = 0;

    constructor(parts) {
        this.#engine = new Engine(parts);
    }

    async start() {
        const {version, operations, formats} = await this.#engine.start();
        this.#operations = operations;
        this.#list = new StepList(operations, steps => this.#change(steps), file => this.#addFile(file));
        this.#save = new SaveForm(formats, () => this.#tellLosses());
        byId('file').accept = formats.flatMap(f => [...f.mimeTypes, ...f.extensions.map(e => `.${e}`)]).join();
        this.#listen();
        this.#history = [this.#stepsOfAddress()];
        this.#render();
        this.#say(`Version ${version} is ready: open a picture.`);
    }

    #stepsOfAddress() {
        if (!location.hash.startsWith(ADDRESS)) return [];
        try {
            return parseChain(decodeURIComponent(location.hash.slice(ADDRESS.length)), this.#operations);
        } catch {
            return [];  // not written by this page
        }
    }

    #listen() {
        const on = (id, work, event = 'click') => byId(id).addEventListener(event, work);
        on('file', event => this.#takeFile(event.target), 'change');
        on('sample', async () => this.#open('sample.png', await paintSample()));
        on('undo', () => this.#travel(-1));
        on('redo', () => this.#travel(1));
        on('cancel', () => this.#cancel());
        on('add', () => this.#change([...this.#steps, newStep(this.#operation(byId('operation').value))]));
        on('smaller', () => this.#view.step(-1));
        on('larger', () => this.#view.step(1));
        on('fit', () => this.#view.fit());
        on('pixels', () => this.#view.zoomTo(1));
        on('save', () => this.#saveFile());
        window.addEventListener('hashchange', () => this.#followAddress());
        document.addEventListener('keydown', event => this.#key(event));
        const stage = byId('stage');
        const drop = (type, isOver) => document.addEventListener(type, event => {
            event.preventDefault();
            stage.classList.toggle('dropping', isOver);
        });
        drop('dragover', true);
        drop('dragleave', false);
        drop('drop', false);
        document.addEventListener('drop', event => event.dataTransfer.files[0] && this.#openFile(event.dataTransfer.files[0]));
    }

    #key(event) {
        const isText = event.target.matches?.('input[type="text"]');
        if (!(event.ctrlKey || event.metaKey) || isText) return;
        const key = event.key.toLowerCase();
        if (key === 'z' || key === 'y') {
            event.preventDefault();
            this.#travel(key === 'y' || event.shiftKey ? 1 : -1);
        }
    }

    get #steps() { return this.#history[this.#now]; }
    #operation(name) { return this.#operations.find(operation => operation.name === name); }
    #texts(steps) { return steps.filter(step => step.isOn).map(step => stepText(step, this.#operation(step.name))); }

    // A new state; several changes of one value in a row are one.
    #change(steps, isSameField = false) {
        if (isSameField && this.#now > 0 && this.#steps !== this.#shown) --this.#now;
        this.#history.splice(this.#now + 1, Infinity, steps);
        this.#now = this.#history.length - 1;
        this.#render(isSameField);
        this.#applySoon();
    }

    #travel(by) {
        const to = this.#now + by;
        if (to < 0 || to >= this.#history.length) return;
        this.#now = to;
        this.#render();
        this.#applySoon(0);
    }

    #followAddress() {
        const steps = this.#stepsOfAddress();
        if (this.#texts(steps).join(' ') !== this.#texts(this.#steps).join(' ')) this.#change(steps);
    }

    #render(keepsForms = false) {
        if (!keepsForms) this.#list.render(this.#steps);
        byId('undo').disabled = this.#now === 0;
        byId('redo').disabled = this.#now === this.#history.length - 1;
        const texts = this.#texts(this.#steps);
        history.replaceState(null, '', texts.length > 0 ? ADDRESS + encodeURIComponent(texts.join(' ')) : '#');
        this.#writePrograms(texts);
    }

    #writePrograms(texts) {
        const all = programs(texts, this.#name ?? 'photo.jpg', this.#save.extensions[this.#save.format]);
        byId('programs').replaceChildren(...Object.entries(all).map(([language, text]) =>
            element('details', {open: language === 'Command'}, element('summary', {}, language),
                element('pre', {tabindex: 0, 'aria-label': language}, text),
                element('button', {type: 'button', 'aria-label': `Copy: ${language}`, onclick: () => this.#copy(text)}, 'Copy'))));
    }

    async #copy(text) {
        await navigator.clipboard.writeText(text);
        this.#say('Copied.');
    }

    async #addFile(file) {
        await this.#engine.addFile(file.name, new Uint8Array(await file.arrayBuffer()));
        return file.name;
    }

    // Emptied, so that the same file can be chosen again.
    #takeFile(field) {
        const [file] = field.files;
        field.value = '';
        if (file) this.#openFile(file);
    }

    async #openFile(file) { await this.#open(file.name, new Uint8Array(await file.arrayBuffer())); }

    async #open(name, bytes) {
        await this.#run(`Opening ${name}.`, async progress => {
            const opened = await this.#engine.open(name, bytes, progress);
            this.#name = name;
            byId('pair').hidden = false;
            byId('drop').hidden = true;
            byId('save').disabled = false;
            this.#view.show('before', opened);
            this.#showResult(opened);
            this.#view.fit();
            this.#tellFacts(opened);
        });
        this.#render();
        this.#applySoon(0);
    }

    #tellFacts({info, format, width, height, bitCount}) {
        const pages = info?.pages > 1 ? `, ${info.pages} pages` : '';
        const layers = info?.layers > 0 ? `, ${info.layers} layers` : '';
        byId('facts').textContent = `${this.#name}: ${format}, ${width} x ${height} pixels, ${bitCount} bits${pages}${layers}`;
    }

    #showResult(result) {
        this.#view.show('after', result);
        drawHistogram(byId('histogram'), result.counts);
        byId('notes').replaceChildren(...result.notes.map(note => element('li', {}, `${note.kind}: ${note.text}`)));
    }

    // While a call runs, changes only mark it as out of date; the last one is applied at its end.
    #applySoon(delay = 120) {
        clearTimeout(this.#timer);
        this.#isStale = true;
        if (this.#name !== null) byId('picture').ariaBusy = 'true';
        this.#timer = setTimeout(() => this.#apply(), delay);
    }

    async #apply() {
        if (this.#isBusy || this.#name === null || !this.#isStale) return;
        this.#isStale = false;
        const state = this.#steps;
        await this.#run('Applying the operations.', async progress => {
            const result = await this.#engine.apply(this.#texts(state), progress);
            this.#shown = state;
            this.#showResult(result);
            this.#list.mark(-1, '');
            this.#say(`${result.width} x ${result.height} pixels, ${result.bitCount} bits.`);
        });
        if (this.#isStale) this.#apply();
    }

    // Runs something that takes time; what goes wrong is told.
    async #run(what, work) {
        this.#isBusy = true;
        byId('picture').ariaBusy = 'true';
        byId('cancel').disabled = false;
        byId('progress').hidden = false;
        this.#say(what);
        try {
            await work(fraction => { byId('progress').value = fraction; });
            this.#tellLosses();
        } catch (error) {
            if (!(error instanceof Cancelled)) this.#tellError(error);
        } finally {
            this.#isBusy = false;
            byId('cancel').disabled = true;
            byId('progress').hidden = true;
            byId('progress').value = 0;
            byId('picture').ariaBusy = String(this.#isStale);
        }
    }

    #tellError(error) {
        const on = this.#steps.map((step, index) => ({step, index})).filter(({step}) => step.isOn);
        if (error.step >= 0 && on[error.step]) this.#list.mark(on[error.step].index, error.message);
        this.#say(error.message, true);
    }

    // Goes back to what is shown.
    async #cancel() {
        if (!this.#isBusy) return;
        clearTimeout(this.#timer);
        this.#isStale = false;
        this.#now = Math.max(0, this.#history.indexOf(this.#shown));
        const restart = this.#engine.cancel();
        this.#render();
        this.#say('Cancelled.');
        await restart;
    }

    async #tellLosses() {
        if (this.#name === null) return;
        const tell = texts => byId('losses').replaceChildren(...texts.map(text => element('li', {}, text)));
        try {
            tell(await this.#engine.losses(this.#save.format, this.#save.options));
        } catch (error) {
            if (!(error instanceof Cancelled)) tell([error.message]);
        }
    }

    async #saveFile() {
        await this.#run('Saving.', async progress => {
            const {format, options, extensions} = this.#save;
            const {bytes} = await this.#engine.save(format, options, progress);
            const name = `${this.#name.replace(/\.[^.]*$/, '')}-out.${extensions[format]}`;
            download(name, bytes);
            this.#say(`Saved ${name}: ${bytes.length} bytes.`);
        });
    }

    #say(text, isWrong = false) {
        byId('message').textContent = text;
        byId('message').classList.toggle('wrong', isWrong);
    }
}

/** Begins. @param parts {worker: source text, wasm: a promise of bytes} */
export async function begin(parts) {
    try {
        await new Page({worker: parts.worker, wasm: await WebAssembly.compile(await parts.wasm)}).start();
    } catch (error) {
        byId('message').textContent = `The library cannot be loaded: ${error.message}`;
    }
}
