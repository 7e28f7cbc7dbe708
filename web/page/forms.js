// The form of a step, made from what the table says of its operation.
import {element} from './elements.js';

// Ranges that a slider can be moved through; others get a field alone.
const MOST_SLIDER_STEPS = 2000;
const SLIDERS = {angle: [-180, 180], fraction: [0, 1]};

let fieldNumber = 0;

/**
 * @param changed  called with the name of a parameter and the text of its value
 * @param addFile  called with a chosen file; gives the name by which steps know it
 */
export function formOf(step, operation, changed, addFile) {
    return operation.parameters.map(parameter => {
        const id = `field-${++fieldNumber}`;
        const value = step.values[parameter.name] ?? parameter.default ?? '';
        const tell = text => changed(parameter.name, text);
        const make = FIELDS[parameter.type] ?? textField;
        const field = make(id, parameter, value, tell, addFile);
        const unit = parameter.unit ? element('span', {class: 'unit'}, ` (${parameter.unit})`) : '';
        const help = element('small', {id: `${id}-help`}, parameter.help);
        const isGroup = parameter.type === 'flags';
        const label = element(isGroup ? 'span' : 'label', isGroup ? {id: `${id}-label`} : {for: id}, parameter.name, unit);
        return element('div', {class: `field ${parameter.type}`}, label, field, help);
    });
}

const described = id => ({id, 'aria-describedby': `${id}-help`});

function textField(id, parameter, value, tell) {
    return element('input', {...described(id), type: 'text', value, spellcheck: 'false', autocomplete: 'off',
        oninput: event => tell(event.target.value)});
}

function choiceField(id, parameter, value, tell) {
    const options = parameter.choices.map(choice =>
        element('option', {value: choice.name, selected: choice.name === value},
            choice.help ? `${choice.name}: ${choice.help}` : choice.name));
    return element('select', {...described(id), onchange: event => tell(event.target.value)}, ...options);
}

function switchField(id, parameter, value, tell) {
    return element('input', {...described(id), type: 'checkbox', checked: value === 'yes',
        onchange: event => tell(event.target.checked ? 'yes' : 'no')});
}

function flagsField(id, parameter, value, tell) {
    const chosen = new Set(value === 'none' ? '' : value);
    const boxes = parameter.choices.map(choice => {
        const box = element('input', {type: 'checkbox', checked: chosen.has(choice.name), onchange: event => {
            chosen[event.target.checked ? 'add' : 'delete'](choice.name);
            tell(parameter.choices.map(c => c.name).filter(name => chosen.has(name)).join('') || 'none');
        }});
        return element('label', {title: choice.help}, box, ` ${choice.name}`);
    });
    return element('span', {role: 'group', 'aria-labelledby': `${id}-label`, 'aria-describedby': `${id}-help`}, ...boxes);
}

// A slider where the range is small enough to be moved through, and always a field, which takes every text.
function numberField(id, parameter, value, tell) {
    const [min, max] = SLIDERS[parameter.type] ?? [parameter.min, parameter.max];
    const step = parameter.type === 'integer' || parameter.type === 'angle' ? 1 : (max - min) / 200;
    const field = textField(id, parameter, value, text => {
        if (slider) slider.value = parseFloat(text);
        tell(text);
    });
    const isSlider = min !== undefined && max - min > 0 && (max - min) / step <= MOST_SLIDER_STEPS;
    const slider = isSlider && element('input', {type: 'range', min, max, step, 'aria-label': `${parameter.name}, slider`,
        oninput: event => {
            field.value = String(Number(Number(event.target.value).toPrecision(6)));
            tell(field.value);
        }});
    if (!slider) return field;
    slider.value = parseFloat(value);
    return element('span', {class: 'slider'}, slider, field);
}

function colorField(id, parameter, value, tell) {
    const field = textField(id, parameter, value, text => {
        if (/^#[0-9a-f]{6}/i.test(text)) picker.value = text.slice(0, 7);
        tell(text);
    });
    const picker = element('input', {type: 'color', 'aria-label': `${parameter.name}, palette`,
        value: /^#[0-9a-f]{6}/i.test(value) ? value.slice(0, 7) : '#000000',
        oninput: event => {
            field.value = event.target.value;
            tell(field.value);
        }});
    return element('span', {class: 'slider'}, picker, field);
}

function pathField(id, parameter, value, tell, addFile) {
    const field = textField(id, parameter, value, tell);
    const chooser = element('input', {type: 'file', 'aria-label': `${parameter.name}, choose a file`, onchange: async event => {
        const [file] = event.target.files;
        if (!file) return;
        const name = await addFile(file);
        if (!field.isConnected) return;  // the step is gone
        field.value = name;
        tell(field.value);
    }});
    return element('span', {class: 'path'}, field, chooser);
}

const FIELDS = {
    choice: choiceField, switch: switchField, flags: flagsField, color: colorField, fill: colorField, path: pathField,
    integer: numberField, number: numberField, angle: numberField, fraction: numberField,
};
