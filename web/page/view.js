// The picture before and after, with a divider between them, at any size.
import {byId} from './elements.js';

const ZOOMS = [1 / 16, 1 / 8, 1 / 4, 1 / 2, 1, 2, 4, 8, 16, 32];

export class View {
    #stage = byId('stage');
    #pair = byId('pair');
    #divider = byId('divider');
    #canvases = {before: byId('before'), after: byId('after')};
    #zoom = 1;
    #fits = true;

    constructor() {
        this.#divider.addEventListener('input', () => this.#split());
        new ResizeObserver(() => this.#fits && this.fit()).observe(this.#stage);
        this.#pair.addEventListener('pointerdown', event => this.#drag(event));
        this.#stage.addEventListener('wheel', event => {
            if (!event.ctrlKey) return;
            event.preventDefault();
            this.step(event.deltaY < 0 ? 1 : -1);
        }, {passive: false});
    }

    show(which, {width, height, pixels}) {
        const canvas = this.#canvases[which];
        canvas.width = width;
        canvas.height = height;
        canvas.getContext('2d').putImageData(new ImageData(pixels, width, height), 0, 0);
        this.#fits ? this.fit() : this.#resize();
    }

    /** As large as the room for it allows, but no larger than it is. */
    fit() {
        const [width, height] = this.#size();
        const room = this.#stage.getBoundingClientRect();
        this.#zoom = Math.min(1, (room.width - 2) / width, (room.height - 2) / height);
        this.#resize();
        this.#fits = true;
    }

    zoomTo(zoom) {
        this.#zoom = zoom;
        this.#resize();
        this.#fits = false;
    }

    step(direction) {
        const next = direction > 0 ? ZOOMS.find(zoom => zoom > this.#zoom * 1.01)
                                   : ZOOMS.findLast(zoom => zoom < this.#zoom * 0.99);
        if (next) this.zoomTo(next);
    }

    #size() {
        const {before, after} = this.#canvases;
        return [Math.max(before.width, after.width), Math.max(before.height, after.height)];
    }

    #resize() {
        const [width, height] = this.#size();
        this.#pair.style.width = `${width * this.#zoom}px`;
        this.#pair.style.height = `${height * this.#zoom}px`;
        for (const canvas of Object.values(this.#canvases)) {
            canvas.style.width = `${canvas.width * this.#zoom}px`;
            canvas.style.height = `${canvas.height * this.#zoom}px`;
            canvas.classList.toggle('crisp', this.#zoom >= 1);
        }
        byId('zoom').textContent = `${Math.round(this.#zoom * 100)} %`;
        this.#split();
    }

    // Left of the divider lies what was, right of it what is.
    #split() {
        const share = Number(this.#divider.value);
        this.#canvases.after.parentElement.style.clipPath = `inset(0 0 0 ${share}%)`;
        this.#canvases.before.parentElement.style.clipPath = `inset(0 ${100 - share}% 0 0)`;
        byId('line').style.left = `${share}%`;
    }

    // The divider follows the pointer.
    #drag(down) {
        const follow = event => {
            const box = this.#pair.getBoundingClientRect();
            this.#divider.value = 100 * (event.clientX - box.left) / box.width;
            this.#split();
        };
        follow(down);
        this.#pair.setPointerCapture(down.pointerId);
        this.#pair.addEventListener('pointermove', follow);
        const end = () => this.#pair.removeEventListener('pointermove', follow);
        this.#pair.addEventListener('pointerup', end, {once: true});
        this.#pair.addEventListener('pointercancel', end, {once: true});
    }
}
