/** The image of a file, frame by frame, through a window. */
import { useEffect, useRef, useState } from "preact/hooks";
import { windowed } from "./pixels.js";
import type { Frame, ImageFacts, Window } from "./protocol.js";
import { type Store, wordsOf } from "./store.js";

function draw(canvas: HTMLCanvasElement, image: ImageFacts, frame: Frame, window: Window): void {
    const { width, height } = image;
    const pixels = frame.kind === "grey" ? windowed(frame, window) : frame.pixels;
    canvas.width = width;
    canvas.height = height;
    canvas.getContext("2d")!.putImageData(new ImageData(pixels, width, height), 0, 0);
}

function Slider(properties: {
    label: string;
    value: number;
    least: number;
    most: number;
    step: number | "any";
    onChange(value: number): void;
}) {
    const { label, value, least, most, step, onChange } = properties;
    return (
        <div class="slider">
            <span>
                {label} <output>{Number.isInteger(value) ? value : value.toFixed(1)}</output>
            </span>
            <input
                type="range"
                aria-label={label}
                min={least}
                max={most}
                step={step}
                value={value}
                onInput={(event) => onChange(Number(event.currentTarget.value))}
            />
        </div>
    );
}

export function Image({ store, image }: { store: Store; image: ImageFacts }) {
    const canvas = useRef<HTMLCanvasElement>(null);
    const [number, setNumber] = useState(0);
    const [frame, setFrame] = useState<Frame | null>(null);
    const [window, setWindow] = useState<Window | null>(image.window);
    const isShown = !image.mayIdentify || store.state.reveal;

    useEffect(() => {
        let isWanted = true;
        if (isShown) {
            store.client.ask("frame", number).then(
                (answer) => isWanted && setFrame(answer),
                (error: unknown) =>
                    store.tell(`The image cannot be shown: ${wordsOf(error)}`, true),
            );
        }
        return () => {
            isWanted = false;
        };
    }, [number, image, isShown]);

    const all: Window =
        frame?.kind === "grey"
            ? {
                  center: (frame.least + frame.most) / 2,
                  width: Math.max(frame.most - frame.least, 1),
              }
            : { center: 128, width: 256 };
    const used = window ?? all;
    useEffect(() => {
        if (frame && canvas.current && isShown) {
            draw(canvas.current, image, frame, used);
        }
    }, [frame, used.center, used.width, isShown]);

    if (!isShown) {
        return (
            <section class="image" aria-label="Image">
                <p class="none">The image is hidden, for texts in it may identify a person.</p>
                <button type="button" onClick={() => void store.reveal(true)}>
                    Show personal values
                </button>
            </section>
        );
    }
    const [least, most] = frame?.kind === "grey" ? [frame.least, frame.most] : [0, 255];
    const name = `Frame ${number + 1} of ${image.frames}, ${image.width} by ${image.height} pixels`;
    return (
        <section class="image" aria-label="Image">
            <canvas ref={canvas} role="img" aria-label={name} />
            {image.frames > 1 && (
                <Slider
                    label={`Frame of ${image.frames}`}
                    value={number + 1}
                    least={1}
                    most={image.frames}
                    step={1}
                    onChange={(value) => setNumber(value - 1)}
                />
            )}
            {frame?.kind === "grey" && (
                <>
                    <Slider
                        label="Window centre"
                        value={used.center}
                        least={Math.min(least, used.center)}
                        most={Math.max(most, used.center)}
                        step="any"
                        onChange={(center) => setWindow({ ...used, center })}
                    />
                    <Slider
                        label="Window width"
                        value={used.width}
                        least={1}
                        most={Math.max(all.width * 2, used.width)}
                        step="any"
                        onChange={(width) => setWindow({ ...used, width })}
                    />
                </>
            )}
        </section>
    );
}
