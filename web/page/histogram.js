// How often each brightness of red, green and blue occurs.

/** Three lists of 256 counts; pixels that nobody sees do not count. */
export function countColors(pixels) {
    const counts = [new Uint32Array(256), new Uint32Array(256), new Uint32Array(256)];
    const [red, green, blue] = counts;
    for (let i = 0; i < pixels.length; i += 4) {
        if (pixels[i + 3] === 0) continue;
        ++red[pixels[i]];
        ++green[pixels[i + 1]];
        ++blue[pixels[i + 2]];
    }
    return counts;
}

const mean = counts => {
    let sum = 0;
    let pixels = 0;
    counts.forEach((count, value) => { sum += count * value; pixels += count; });
    return pixels > 0 ? sum / pixels : 0;
};

/** Draws the counts; a label tells the means to those who do not see it. */
export function drawHistogram(canvas, counts) {
    const context = canvas.getContext('2d');
    const {width, height} = canvas;
    context.clearRect(0, 0, width, height);
    // Single values that fill the picture, such as a white background, would flatten all others.
    const all = counts.flatMap(channel => [...channel]).sort((a, b) => a - b);
    const most = Math.max(1, all[Math.floor(all.length * 0.995)]);
    context.globalCompositeOperation = 'source-over';
    ['#d33', '#2a2', '#46f'].forEach((color, channel) => {
        context.fillStyle = color;
        context.globalAlpha = 0.55;
        counts[channel].forEach((count, value) => {
            const top = Math.min(1, count / most) * height;
            context.fillRect(value * width / 256, height - top, width / 256, top);
        });
    });
    context.globalAlpha = 1;
    const [red, green, blue] = counts.map(channel => mean(channel).toFixed(1));
    canvas.setAttribute('aria-label', `Histogram; means: red ${red}, green ${green}, blue ${blue}`);
}
