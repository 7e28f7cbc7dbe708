/** A picture to try things on: a file of PNG with colours, edges, fine lines and letters. */
export async function paintSample() {
    const canvas = new OffscreenCanvas(640, 420);
    const paint = canvas.getContext('2d');
    const sky = paint.createLinearGradient(0, 0, 0, 420);
    ['#23407a', '#e08a5b', '#f6d9a8', '#2d4a37', '#16281c'].forEach((color, i) => sky.addColorStop(i / 4, color));
    paint.fillStyle = sky;
    paint.fillRect(0, 0, 640, 420);
    paint.fillStyle = '#fff3c4';
    paint.beginPath();
    paint.arc(460, 150, 48, 0, 2 * Math.PI);
    paint.fill();
    ['#d7263d', '#1b998b', '#f4d35e', '#2e294e', '#f46036'].forEach((color, i) => {
        paint.fillStyle = color;
        paint.fillRect(40 + 76 * i, 300, 60, 80);
    });
    paint.strokeStyle = '#ffffff';
    for (let i = 0; i < 40; ++i) {
        paint.beginPath();
        paint.moveTo(440, 400);
        paint.lineTo(440 + 190 * Math.cos(-i * Math.PI / 80), 400 + 190 * Math.sin(-i * Math.PI / 80));
        paint.stroke();
    }
    paint.fillStyle = '#ffffff';
    paint.font = '52px serif';
    paint.fillText('Sample', 48, 110);
    const blob = await canvas.convertToBlob({type: 'image/png'});
    return new Uint8Array(await blob.arrayBuffer());
}
