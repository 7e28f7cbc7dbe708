/** A new element: its attributes and listeners ("onclick"), and what it holds. */
export function element(name, attributes = {}, ...content) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) {
        if (key.startsWith('on')) {
            made.addEventListener(key.slice(2), value);
        } else if (value === true) {
            made.setAttribute(key, '');
        } else if (value !== false && value !== undefined && value !== null) {
            made.setAttribute(key, value);
        }
    }
    made.append(...content);
    return made;
}

export const byId = id => document.getElementById(id);
