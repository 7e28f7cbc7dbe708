"use strict";
(() => {
    const element = (id) => document.getElementById(id);
    const viewer = element("viewer");
    const stage = element("stage");
    const divider = element("divider");
    const original = element("original");
    const before = element("stage-before");
    const after = element("stage-after");
    const samples = [...document.querySelectorAll(".sample")];
    let shown = 0;

    // Copying.

    const copy = async (text) => {
        try {
            await navigator.clipboard.writeText(text);
            return true;
        } catch {
            // Some browsers refuse it to pages that no server sent.
            const area = document.createElement("textarea");
            area.value = text;
            (viewer.open ? viewer : document.body).append(area);
            area.select();
            const isDone = document.execCommand("copy");
            area.remove();
            return isDone;
        }
    };

    const addCopyButton = (code, what) => {
        const button = document.createElement("button");
        const say = (text, name) => {
            button.textContent = text;
            button.setAttribute("aria-label", name);
        };
        const rest = () => say("Copy", `Copy the ${what}`);
        let timer;
        button.type = "button";
        button.className = "copy";
        rest();
        button.addEventListener("click", async () => {
            const isDone = await copy(code.textContent);
            button.focus({preventScroll: true});
            say(isDone ? "Copied" : "Not copied", isDone ? "Copied" : "The browser refuses to copy");
            clearTimeout(timer);
            timer = setTimeout(rest, 1600);
        });
        const line = document.createElement("span");
        line.className = "line";
        code.replaceWith(line);
        line.append(code, button);
    };

    document.querySelectorAll(".command").forEach((code) => addCopyButton(code, "command"));
    document.querySelectorAll(".call").forEach((code) => addCopyButton(code, "C++ call"));

    // Comparing.

    const moveDivider = () => stage.style.setProperty("--at", `${divider.value}%`);

    // The largest size in a room at which each pixel has whole screen pixels; where there is none, the largest one.
    const sizeIn = (picture, width, height) => {
        const room = Math.min(width / picture.naturalWidth, height / picture.naturalHeight) * devicePixelRatio;
        const scale = (room >= 1 ? Math.floor(room) : room) / devicePixelRatio;
        return {width: picture.naturalWidth * scale, height: picture.naturalHeight * scale, isWhole: room >= 1};
    };

    const layOut = () => {
        if (!viewer.open || ![original, before, after].every((picture) => picture.naturalWidth > 0)) return;
        const room = sizeIn(original, viewer.querySelector("form").clientWidth, innerHeight * 0.62);
        stage.style.width = `${room.width}px`;
        stage.style.height = `${room.height}px`;
        for (const picture of [before, after]) {
            const size = sizeIn(picture, room.width, room.height);
            picture.style.width = `${size.width}px`;
            picture.style.height = `${size.height}px`;
            picture.style.imageRendering = size.isWhole ? "pixelated" : "auto";
        }
    };

    const show = (index) => {
        shown = (index + samples.length) % samples.length;
        const sample = samples[shown];
        const picture = sample.querySelector("img");
        before.src = sample.dataset.before ?? original.src;
        before.alt = sample.dataset.before ? "The picture before the operation" : original.alt;
        after.src = picture.src;
        after.alt = picture.alt;
        element("viewer-title").textContent = sample.dataset.chain;
        element("viewer-place").textContent = `${shown + 1} of ${samples.length}`;
        for (const part of ["command", "call"]) {
            element(`viewer-${part}`).replaceChildren(...sample.querySelector(`.${part}`).cloneNode(true).childNodes);
        }
        layOut();
    };

    moveDivider();
    samples.forEach((sample, index) => sample.querySelector(".compare").addEventListener("click", () => {
        divider.value = 50;
        moveDivider();
        viewer.showModal();
        show(index);
    }));
    for (const picture of [original, before, after]) picture.addEventListener("load", layOut);
    addEventListener("resize", layOut);
    divider.addEventListener("input", moveDivider);
    element("previous").addEventListener("click", () => show(shown - 1));
    element("next").addEventListener("click", () => show(shown + 1));
    // Whoever turned pages comes back to the picture that was shown last.
    viewer.addEventListener("close", () => samples[shown].querySelector(".compare").focus());
    viewer.addEventListener("click", (event) => {
        if (event.target === viewer) viewer.close();
    });
})();
