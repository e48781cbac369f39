// Who watches, as the machine tells it.

export class Viewers {
    // `makeLink(viewer, name)` makes a ViewerLink; `onChange()` hears that the list or a tally changed.
    constructor({ makeLink, onChange }) {
        this.makeLink = makeLink;
        this.onChange = onChange;
        this.instance = null;
        this.links = new Map();
    }

    take(name, data) {
        switch (name) {
            case 'hello':
                this.takeHello(data);
                break;
            case 'viewer':
                this.linkOf(data.viewer).name = String(data.name ?? '');
                break;
            case 'offer':
                this.linkOf(data.viewer).takeOffer(String(data.sdp ?? ''));
                break;
            case 'candidate':
                this.links.get(data.viewer)?.takeCandidate(data);
                break;
            case 'tally':
                this.linkOf(data.viewer).onAir = data.onAir === true;
                break;
            case 'gone':
                this.drop(data.viewer);
                break;
            default:
                return;
        }
        this.onChange();
    }

    // The machine's program was started anew: it knows nobody of before, though the numbers begin again.
    takeHello({ instance = null, viewers = [] }) {
        if (instance !== this.instance) this.clear();
        this.instance = instance;
        const known = new Set(viewers.map((entry) => entry.viewer));
        for (const viewer of [...this.links.keys()]) {
            if (!known.has(viewer)) this.drop(viewer);
        }
        for (const entry of viewers) {
            const link = this.linkOf(entry.viewer);
            link.name = String(entry.name ?? '');
            link.onAir = entry.onAir === true;
            link.expectOffer();
            link.retryNow();
        }
    }

    linkOf(viewer) {
        let link = this.links.get(viewer);
        if (!link) {
            link = this.makeLink(viewer, '');
            this.links.set(viewer, link);
        }
        return link;
    }

    drop(viewer) {
        this.links.get(viewer)?.close();
        this.links.delete(viewer);
    }

    clear() {
        for (const viewer of [...this.links.keys()]) this.drop(viewer);
    }

    list() {
        return [...this.links.values()];
    }
}
