// Steps as the page holds them, and as text: what the address has, and what programs are given.

/** A new step of an operation, with what must be said taken from its example. */
export function newStep(operation) {
    const [example] = parseChain(operation.example, [operation]);
    return example ?? {name: operation.name, values: {}, isOn: true};
}

const escaped = value => value.replace(/[\\,\s]/g, '\\$&');

/** A step as chains have it; values that are the defaults are left out. */
export function stepText(step, operation) {
    const said = [];
    let isPositional = true;
    for (const parameter of operation.parameters) {
        const value = step.values[parameter.name] ?? '';
        if (value === '' || (!parameter.required && value === parameter.default)) {
            isPositional = false;
        } else if (parameter.type === 'switch') {
            if (value === 'yes') said.push(parameter.name);
        } else {
            said.push(isPositional && parameter.required ? escaped(value) : `${parameter.name}=${escaped(value)}`);
        }
    }
    return said.length > 0 ? `${step.name}:${said.join(',')}` : step.name;
}

// Splits at separators that no backslash stands before.
function split(text, separator) {
    const parts = [''];
    for (let i = 0; i < text.length; ++i) {
        if (text[i] === '\\' && i + 1 < text.length) {
            parts[parts.length - 1] += text[i] + text[++i];
        } else if (separator.test(text[i])) {
            parts.push('');
        } else {
            parts[parts.length - 1] += text[i];
        }
    }
    return parts;
}

const plain = text => text.replace(/\\(.)/gs, '$1');

function readValues(text, operation) {
    const values = {};
    let next = 0;
    for (const part of split(text, /,/)) {
        const equals = part.indexOf('=');
        const named = operation.parameters.find(p => p.name === part.slice(0, Math.max(equals, 0)));
        const alone = operation.parameters.find(p => p.type === 'switch' && p.name === part);
        if (named) {
            values[named.name] = plain(part.slice(equals + 1));
        } else if (alone) {
            values[alone.name] = 'yes';
        } else if (next < operation.parameters.length) {
            values[operation.parameters[next++].name] = plain(part);
        }
    }
    return values;
}

/** The steps of a chain; those of operations that are not known are left out. */
export function parseChain(text, operations) {
    const steps = [];
    for (const part of split(text, /\s/).filter(Boolean)) {
        const colon = part.indexOf(':');
        const name = colon < 0 ? part : part.slice(0, colon);
        const operation = operations.find(known => known.name === name);
        if (!operation) continue;
        const values = colon < 0 ? {} : readValues(part.slice(colon + 1), operation);
        steps.push({name, values, isOn: true});
    }
    return steps;
}

const cString = text => `"${text.replace(/[\\"]/g, '\\$&').replace(/\n/g, '\\n')}"`;
const shellWord = text => /^[\w@%+=:,./-]+$/.test(text) ? text : `'${text.replace(/'/g, `'\\''`)}'`;

/** The same work in other languages. */
export function programs(steps, fileName, format) {
    const chain = steps.join(' ');
    const dot = fileName.lastIndexOf('.');
    const out = `${dot > 0 ? fileName.slice(0, dot) : fileName}-out.${format}`;
    return {
        Command: ['dib run', shellWord(fileName), ...steps.map(shellWord), shellWord(out)].join(' '),
        'C++': `DibStream image;
DibFileResult result;
if (!DibLoadFile(${cString(fileName)}, &image, nullptr, &result)) return 1;
if (!DibApply(&image, ${cString(chain)})) return 1;
if (!DibSaveFile(${cString(out)}, &image, nullptr, &result)) return 1;`,
        C: `dib_image* image;
dib_result result = DIB_C_RESULT_INIT;
if (dib_load_file(${cString(fileName)}, &image, NULL, &result, NULL, NULL) != DIB_C_OK) return 1;
if (dib_apply(image, ${cString(chain)}, NULL, &result, NULL, NULL) != DIB_C_OK) return 1;
if (dib_save_file(${cString(out)}, image, NULL, &result, NULL, NULL) != DIB_C_OK) return 1;
dib_image_release(image);`,
        Python: `import dibstream

image = dibstream.open(${cString(fileName)})
image.apply(${cString(chain)})
image.save(${cString(out)})`,
    };
}
