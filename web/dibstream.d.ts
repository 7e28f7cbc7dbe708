/** Something that a call noted. */
export interface Note {
    kind: 'warning' | 'assumption' | 'loss';
    text: string;
}

/** Why a call failed: a code of `dib_code` in dibstream.h, and the reason in words as `message`. */
export class DibError extends Error {
    readonly name: 'DibError';
    readonly code: number;
    /** Of a chain: the operation that failed. */
    readonly operation: string | null;
    /** The parameter that is wrong. */
    readonly parameter: string | null;
    /** The name that may have been meant. */
    readonly suggestion: string | null;
    /** The step that failed, from 0; -1 when it was none. */
    readonly step: number;
    readonly notes: Note[];
}

/** Called with the fraction of the work that is done, from 0 to 1. Returning false cancels the call (code 9). */
export type Progress = (fraction: number) => boolean | void;

/** How to open a file. */
export interface LoadOptions {
    /** A file name that says the format where the content does not. */
    name?: string;
    /** Name of the format that the file has for certain. */
    format?: string;
    /** Larger pictures are refused. */
    mostPixels?: number;
    mostBytes?: number;
    /** Keeps the rows of a damaged file that could be read. */
    keepsDamaged?: boolean;
    /** Alpha that is 0 everywhere stays as it is. */
    alphaAsStored?: boolean;
    page?: number;
    /** From 0; -1 is the merged picture. */
    layer?: number;
    level?: number;
    /** Turns the picture by the file's orientation, which is the default. */
    appliesOrientation?: boolean;
    /** A PNG palette with transparency stays one. */
    keepsPalette?: boolean;
    /** Columns that are enough: large JPEG files open faster. */
    atLeastWidth?: number;
    atLeastHeight?: number;
}

/** How to save a file. */
export interface SaveOptions {
    /** Fails when the file cannot hold all of the picture. */
    refusesLosses?: boolean;
    /** JPEG and lossy WebP: 1 to 100. */
    quality?: number;
    /** PNG, TIFF and lossless WebP: 0 (fast) to 9 (small); -1 is a good compromise. */
    compressionLevel?: number;
    runLengths?: boolean;
    /** 0 Deflate, 1 LZW, 2 PackBits, 3 none. */
    tiffCompression?: 0 | 1 | 2 | 3;
    /** WebP: changes pixels a little for smaller files. */
    isLossy?: boolean;
}

/** What the headers of a file say. */
export interface FileInfo {
    format: string;
    width: number;
    height: number;
    bitCount: number;
    storedBits: number;
    compression: string;
    colors: string;
    pages: number;
    layers: number;
    levels: number;
    paletteSize: number;
    hasAlpha: boolean;
    notes: Note[];
}

export interface Format {
    name: string;
    title: string;
    extensions: string[];
    mimeTypes: string[];
    /** Depths that a load gives. */
    readDepths: number[];
    /** Depths that a file holds as they are; none when nothing can be saved. */
    writeDepths: number[];
    hasLayers: boolean;
    hasPages: boolean;
    isAvailable: boolean;
}

export interface Choice {
    name: string;
    value: number;
    help: string;
}

export interface Parameter {
    name: string;
    type: string;
    help: string;
    required: boolean;
    default?: string;
    unit?: string;
    min?: number;
    max?: number;
    limits: string;
    choices?: Choice[];
}

/** An operation, as `dib ops --json` describes it. */
export interface Operation {
    name: string;
    area: string;
    help: string;
    synopsis: string;
    example: string;
    samples: string[];
    depths: number[];
    movesPixels: boolean;
    parameters: Parameter[];
}

/** How to apply a chain. */
export interface ApplyOptions {
    /** All steps work exactly as the classic functions. */
    classic?: boolean;
    /** Saves the memory of a working copy; after a failure the picture holds what was reached. */
    inPlace?: boolean;
    /** Gives the picture that a step names, which stays the caller's. Without it steps name files of `addFile`. */
    open?: (name: string) => Picture | null;
    progress?: Progress;
}

/** A picture. It holds memory until `release`. */
export interface Picture {
    readonly width: number;
    readonly height: number;
    /** Bits per pixel: 1, 4, 8, 16, 24 or 32. */
    readonly bitCount: number;
    /** Of the file that it was opened from. */
    readonly format: string | null;
    readonly notes: Note[];
    /** An independent copy, without what the file held beside the pixels. */
    clone(): Picture;
    /** Applies operations, as "rotate:30,wrap=xy gaussian:4". The picture is unchanged when it fails. */
    apply(chain: string, options?: ApplyOptions): {notes: Note[]};
    /** From the top left: red, green, blue and alpha, four bytes each. */
    pixels(): Uint8ClampedArray;
    /** What a file of that format cannot hold of it. */
    losses(format: string, options?: SaveOptions): string[];
    /** The bytes of a file; what it could not hold is noted. */
    save(format: string, options?: SaveOptions, more?: {progress?: Progress}): {bytes: Uint8Array; notes: Note[]};
    release(): void;
}

export interface Library {
    readonly version: string;
    readonly formats: Format[];
    readonly operations: Operation[];
    /** Opens a file from its bytes; their content decides the format. */
    open(bytes: Uint8Array, options?: LoadOptions, more?: {progress?: Progress}): Picture;
    /** Reads what the headers of a file say. */
    probe(bytes: Uint8Array, options?: LoadOptions): FileInfo;
    /** Makes a picture of 32 bits from red, green, blue and alpha, four bytes each, from the top left. */
    fromPixels(pixels: Uint8Array | Uint8ClampedArray, width: number, height: number): Picture;
    /** Checks a chain; throws what `apply` would. */
    check(chain: string): void;
    /** Gives the library a file that chains name: a picture, a palette or a font. */
    addFile(name: string, bytes: Uint8Array): void;
}

/**
 * Makes the library ready.
 * @param wasm the bytes of dibstream.wasm, or the module compiled from them; in Node they need not be given
 */
export function load(wasm?: Uint8Array | ArrayBuffer | WebAssembly.Module): Promise<Library>;
