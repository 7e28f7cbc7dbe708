// The worker as the page sees it: calls that take time, with progress, and an end to them.

/** Why a call ended without a result. */
export class Cancelled extends Error {}

export class Engine {
    #parts;
    #worker = null;
    #calls = new Map();
    #next = 0;
    #files = [];  // what a new worker needs to know
    #picture = null;
    #ready = null;  // when the worker knows all that the last one knew

    /** @param parts {worker: source text, wasm: compiled module} */
    constructor(parts) {
        this.#parts = parts;
    }

    /** What the library can do: its version, operations and formats. */
    start() {
        // A worker from a file is refused where the page itself is a file; one from a text is not.
        const url = URL.createObjectURL(new Blob([this.#parts.worker], {type: 'text/javascript'}));
        this.#worker = new Worker(url);
        URL.revokeObjectURL(url);
        this.#worker.onmessage = ({data}) => this.#receive(data);
        return this.#call('start', {wasm: this.#parts.wasm});
    }

    async addFile(name, bytes) {
        this.#files.push({name, bytes});
        await this.#ask('addFile', {name, bytes});
    }

    async open(name, bytes, progress) {
        const answer = await this.#ask('open', {name, bytes}, progress);
        this.#picture = {name, bytes};
        return answer;
    }

    apply(steps, progress) { return this.#ask('apply', {steps}, progress); }
    losses(format, options) { return this.#ask('losses', {format, options}); }
    save(format, options, progress) { return this.#ask('save', {format, options}, progress); }

    /** Ends what is going on. A worker that calculates hears nothing: a new one takes its place. */
    cancel() {
        const calls = [...this.#calls.values()];
        this.#calls.clear();
        this.#worker.terminate();
        for (const call of calls) call.reject(new Cancelled());
        this.#ready = this.#startAnew();
        return this.#ready;
    }

    async #startAnew() {
        await this.start();
        for (const file of this.#files) await this.#call('addFile', file);
        if (this.#picture) await this.#call('open', this.#picture);
    }

    async #ask(call, request, progress) {
        await this.#ready;
        return this.#call(call, request, progress);
    }

    #call(call, request, progress = () => {}) {
        const id = ++this.#next;
        return new Promise((resolve, reject) => {
            this.#calls.set(id, {resolve, reject, progress});
            this.#worker.postMessage({id, call, ...request});
        });
    }

    #receive({id, progress, answer, error}) {
        const call = this.#calls.get(id);
        if (!call) return;
        if (progress !== undefined) return call.progress(progress);
        this.#calls.delete(id);
        if (error) {
            call.reject(Object.assign(new Error(error.message), error));
        } else {
            call.resolve(answer);
        }
    }
}
