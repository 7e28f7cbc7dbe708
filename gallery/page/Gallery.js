"use strict";
(() => {
    const element = (id) => document.getElementById(id);
    const viewer = element("viewer");
    const stage = element("stage");
    const divider = element("divider");
    const samples = [...document.querySelectorAll(".sample")];
    let shown = 0;

    const moveDivider = () => stage.style.setProperty("--at", `${divider.value}%`);

    const show = (index) => {
        shown = (index + samples.length) % samples.length;
        const sample = samples[shown];
        const picture = sample.querySelector("img");
        element("stage-after").src = picture.src;
        element("stage-after").alt = picture.alt;
        element("viewer-title").textContent = sample.dataset.chain;
        element("viewer-place").textContent = `${shown + 1} of ${samples.length}`;
        for (const part of ["command", "call"]) {
            element(`viewer-${part}`).replaceChildren(...sample.querySelector(`.${part}`).cloneNode(true).childNodes);
        }
    };

    const original = element("original");
    element("stage-before").src = original.src;
    element("stage-before").alt = original.alt;
    document.documentElement.style.setProperty("--aspect", `${original.width} / ${original.height}`);
    document.documentElement.style.setProperty("--ratio", original.width / original.height);
    show(0);
    moveDivider();

    samples.forEach((sample, index) => sample.querySelector("button").addEventListener("click", () => {
        show(index);
        divider.value = 50;
        moveDivider();
        viewer.showModal();
    }));
    divider.addEventListener("input", moveDivider);
    element("previous").addEventListener("click", () => show(shown - 1));
    element("next").addEventListener("click", () => show(shown + 1));
    // Whoever turned pages comes back to the picture that was shown last.
    viewer.addEventListener("close", () => samples[shown].querySelector("button").focus());
    viewer.addEventListener("click", (event) => {
        if (event.target === viewer) viewer.close();
    });
})();
