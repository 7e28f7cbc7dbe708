// The steps of the chain, each with its form.
import {byId, element} from './elements.js';
import {formOf} from './forms.js';

export class StepList {
    #operations;
    #changed;
    #addFile;
    #newest = [];  // the steps with the values of the forms

    /** @param changed called with the new steps, and whether only a value of a step is new */
    constructor(operations, changed, addFile) {
        this.#operations = operations;
        this.#changed = changed;
        this.#addFile = addFile;
        const areas = [...new Set(operations.map(operation => operation.area))];
        byId('operation').append(...areas.map(area => element('optgroup', {label: area},
            ...operations.filter(operation => operation.area === area).map(({name, help}) =>
                element('option', {value: name, title: help}, name)))));
    }

    render(steps) {
        this.#newest = steps;
        const focused = document.activeElement?.dataset?.control;
        byId('steps').replaceChildren(...steps.map((step, index) => this.#item(steps, step, index)));
        if (focused) document.querySelector(`[data-control="${focused}"]`)?.focus();
    }

    /** Shows what is wrong with a step; -1 with none. */
    mark(index, message) {
        document.querySelectorAll('.step .wrong').forEach((place, i) => { place.textContent = i === index ? message : ''; });
    }

    #item(steps, step, index) {
        const operation = this.#operations.find(known => known.name === step.name);
        const setValue = (name, value) => {
            const list = this.#newest.slice();
            list[index] = {...list[index], values: {...list[index].values, [name]: value}};
            this.#newest = list;
            this.#changed(list, true);
        };
        const place = `${step.name}, step ${index + 1}`;
        const button = (text, label, isOff, change) => element('button', {type: 'button', 'aria-label': `${label}: ${place}`,
            'data-control': `${label}-${index}`, disabled: isOff, onclick: () => change(this.#newest.slice())}, text);
        const move = by => list => {
            const [moved] = list.splice(index, 1);
            list.splice(index + by, 0, moved);
            this.#changed(list);
        };
        const box = element('input', {type: 'checkbox', checked: step.isOn, 'aria-label': `On: ${place}`, 'data-control': `on-${index}`,
            onchange: event => {
                const list = this.#newest.slice();
                list[index] = {...list[index], isOn: event.target.checked};
                this.#changed(list);
            }});
        return element('li', {class: step.isOn ? 'step' : 'step off'},
            element('header', {}, box, element('strong', {}, step.name),
                button('↑', 'Up', index === 0, move(-1)),
                button('↓', 'Down', index === steps.length - 1, move(1)),
                button('×', 'Remove', false, list => { list.splice(index, 1); this.#changed(list); })),
            element('p', {}, operation.help),
            element('p', {class: 'wrong', role: 'alert'}),
            element('div', {class: 'fields'}, ...formOf(step, operation, setValue, this.#addFile)));
    }
}
