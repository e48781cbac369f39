// Who watches, as the machine tells it.

export class Viewers {
    // `makeLink(viewer)` makes a ViewerLink; `onChange()` hears that the list or a tally changed.
    constructor({ makeLink, onChange }) {
        this.makeLink = makeLink;
        this.onChange = onChange;
        this.links = new Map();
        // Connections that still deliver, though the machine's program was started anew and does not know them:
        // a host keeps its own until it offers again, and so nobody sees the restart.
        this.orphans = [];
    }

    take(name, data) {
        switch (name) {
            case 'hello':
                this.takeHello(data);
                break;
            case 'viewer':
                this.describe(data);
                break;
            case 'offer':
                this.takeOffer(data);
                break;
            case 'candidate':
                this.links.get(data.viewer)?.takeCandidate(data);
                break;
            case 'tally':
                this.linkOf(data.viewer).onAir = data.onAir === true;
                this.forgetOrphan(this.linkOf(data.viewer).session, { closing: false });
                break;
            case 'gone':
                this.drop(data.viewer);
                break;
            default:
                return;
        }
        this.onChange();
    }

    // A line that is not resumed comes from a machine that was started anew, or that takes the page for a new
    // one: connections of before have no number any more, though the numbers may begin again.
    takeHello({ resumed = false, viewers = [] }) {
        if (!resumed) this.orphanAll();
        const known = new Set(viewers.map((entry) => entry.viewer));
        for (const viewer of [...this.links.keys()]) {
            if (!known.has(viewer)) this.drop(viewer);
        }
        for (const entry of viewers) {
            const link = this.describe(entry);
            link.onAir = entry.onAir === true || (!resumed && this.inheritedTally(link.session));
            if (!link.retryNow()) link.expectOffer();
        }
    }

    // Hosts tell changes of the tally only: one that comes back to a machine that forgot it says nothing.
    describe({ viewer, name, session }) {
        const isNew = !this.links.has(viewer);
        const link = this.linkOf(viewer);
        link.name = String(name ?? '');
        link.session = session ?? null;
        if (isNew) link.onAir = this.inheritedTally(link.session);
        return link;
    }

    takeOffer({ viewer, offer, sdp }) {
        const link = this.linkOf(viewer);
        this.forgetOrphan(link.session, { closing: true });
        link.takeOffer(String(sdp ?? ''), offer);
    }

    orphanAll() {
        for (const link of this.links.values()) {
            if (link.connected && link.session) this.orphans.push(link);
            else link.close();
        }
        this.links.clear();
    }

    inheritedTally(session) {
        return this.orphans.some((orphan) => orphan.session === session && orphan.onAir);
    }

    // Its host speaks again: its tally counts no more, and with a new offer its connection neither.
    forgetOrphan(session, { closing }) {
        for (const orphan of this.orphans) {
            if (orphan.session !== session) continue;
            orphan.onAir = false;
            if (closing) orphan.close();
        }
        if (closing) this.orphans = this.orphans.filter((orphan) => orphan.session !== session);
    }

    linkOf(viewer) {
        let link = this.links.get(viewer);
        if (!link) {
            link = this.makeLink(viewer);
            this.links.set(viewer, link);
        }
        return link;
    }

    drop(viewer) {
        this.links.get(viewer)?.close();
        this.links.delete(viewer);
    }

    clear() {
        this.orphanAll();
        for (const orphan of this.orphans.splice(0)) orphan.close();
    }

    list() {
        for (const orphan of this.orphans) {
            if (!orphan.connected) orphan.close();
        }
        this.orphans = this.orphans.filter((orphan) => orphan.connected);
        return [...this.links.values(), ...this.orphans];
    }

    names() {
        const named = this.list().filter((link) => link.name !== '');
        const bySession = new Map(named.map((link) => [link.session ?? link, link.name]));
        return [...bySession.values()];
    }
}
