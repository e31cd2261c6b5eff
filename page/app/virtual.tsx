/** Lists of which only the rows in sight exist. */
import type { ComponentChildren } from "preact";
import { useEffect, useLayoutEffect, useRef, useState } from "preact/hooks";

/** Browsers draw nothing beyond some height: taller lists are scrolled in larger steps. */
const MOST_HEIGHT = 8_000_000;

export interface Scrolled {
    /** The first row that exists, and how many do. */
    first: number;
    count: number;
    /** Where the first one stands, in pixels. */
    top: number;
    height: number;
    viewport: preact.RefObject<HTMLDivElement>;
    show(row: number): void;
    /** Shows a row again that was in sight before the list became lower or higher. */
    keep(row: number): void;
}

/**
 * What of a list with rows of one height is in sight.
 *
 * @param head  the height of what stands above the rows and stays there
 */
export function useScrolled(rows: number, rowHeight: number, head = 0): Scrolled {
    const viewport = useRef<HTMLDivElement>(null);
    const [place, setPlace] = useState({ top: 0, view: 600 });
    const total = rows * rowHeight;
    const height = Math.min(total, MOST_HEIGHT);

    useLayoutEffect(() => {
        const element = viewport.current;
        if (!element) {
            return;
        }
        const look = () => setPlace({ top: element.scrollTop, view: element.clientHeight - head });
        const observer = new ResizeObserver(look);
        observer.observe(element);
        element.addEventListener("scroll", look, { passive: true });
        look();
        return () => {
            observer.disconnect();
            element.removeEventListener("scroll", look);
        };
    }, []);

    const range = Math.max(height - place.view, 1);
    const scale = Math.max(total - place.view, 1) / range;
    const begin = height < total ? place.top * scale : place.top;
    const margin = 8;
    const first = Math.max(Math.floor(begin / rowHeight) - margin, 0);
    const last = Math.min(Math.ceil((begin + place.view) / rowHeight) + margin, rows);

    const show = (row: number) => {
        const element = viewport.current;
        if (!element || row < 0) {
            return;
        }
        const [from, to] = [row * rowHeight, (row + 1) * rowHeight];
        const view = element.clientHeight - head;
        const now = height < total ? element.scrollTop * scale : element.scrollTop;
        if (from < now || to > now + view) {
            const wanted = Math.max(from - view / 3, 0);
            element.scrollTop = height < total ? wanted / scale : wanted;
        }
    };
    const kept = useRef(-1);
    const before = useRef(place.view);
    useEffect(() => {
        const from = kept.current * rowHeight;
        if (from + rowHeight > begin && from < begin + before.current) {
            show(kept.current);
        }
        before.current = place.view;
    }, [place.view]);
    const keep = (row: number) => {
        kept.current = row;
    };
    const top = place.top + (first * rowHeight - begin);
    return { first, count: Math.max(last - first, 0), top, height, viewport, show, keep };
}

/** The room of all rows, with those in sight at their place. */
export function Room(properties: { scrolled: Scrolled; children: ComponentChildren }) {
    const { scrolled, children } = properties;
    const room = useRef<HTMLDivElement>(null);
    const rows = useRef<HTMLDivElement>(null);
    useLayoutEffect(() => {
        room.current!.style.height = `${scrolled.height}px`;
        rows.current!.style.transform = `translateY(${scrolled.top}px)`;
    });
    return (
        <div class="room" role="presentation" ref={room}>
            <div class="rows" role="presentation" ref={rows}>
                {children}
            </div>
        </div>
    );
}

/** Runs when what it depends on has changed, and not before it was drawn once. */
export function useChange(work: () => void, on: unknown[]): void {
    const isFirst = useRef(true);
    useEffect(() => {
        if (isFirst.current) {
            isFirst.current = false;
        } else {
            work();
        }
    }, on);
}
