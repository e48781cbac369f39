// One tab of the phone's browser.

// The page's clock against the steady one of this machine, as exactly as a question and its answer allow.
async function clockOffsetMs(page) {
    let best = { trip: Infinity, offset: 0 };
    for (let round = 0; round < 30; round += 1) {
        const before = Number(process.hrtime.bigint()) / 1e6;
        const inPage = await page.evaluate(() => performance.timeOrigin + performance.now());
        const after = Number(process.hrtime.bigint()) / 1e6;
        if (after - before < best.trip) best = { trip: after - before, offset: (before + after) / 2 - inPage };
    }
    return best.offset;
}

export class PageTab {
    // `say(event)` hears what happens; `suffix` is put behind the events' names.
    constructor({ page, suffix, origin, isStamped, say }) {
        this.page = page;
        this.origin = origin;
        this.isStamped = isStamped;
        this.say = (event) => say({ ...event, event: event.event + suffix });
    }

    async prepare(scripts) {
        this.listen();
        await this.page.exposeFunction('report', (event) => this.say(event));
        for (const script of scripts) await this.page.addInitScript(script);
    }

    // What should not happen on any page of ours.
    listen() {
        const { page, say } = this;
        page.on('pageerror', (error) => say({ event: 'trouble', text: String(error.stack ?? error) }));
        page.on('console', (message) => {
            if (/Content Security Policy|Refused to/.test(message.text())) {
                say({ event: 'trouble', text: message.text() });
            }
        });
        page.on('request', (request) => {
            const url = new URL(request.url());
            const isOwn = url.origin === this.origin || url.protocol === 'data:' || url.protocol === 'blob:';
            if (!isOwn) say({ event: 'outside', text: request.url() });
        });
        page.on('requestfailed', (request) => {
            const path = new URL(request.url()).pathname;
            if (path.startsWith('/page/')) say({ event: 'trouble', text: `${path}: ${request.failure()?.errorText}` });
        });
        page.on('response', (response) => {
            const path = new URL(response.url()).pathname;
            if (path.startsWith('/page/') && response.status() >= 400) {
                say({ event: 'trouble', text: `${path}: ${response.status()}` });
            }
        });
        page.on('dialog', (dialog) => dialog.accept());
    }

    async open(url) {
        this.say({ event: 'opening', atMs: Date.now() });
        await this.page.goto(url);
        await this.setClock();
        this.say({ event: 'opened', url: this.page.url() });
    }

    async reload() {
        this.say({ event: 'opening', atMs: Date.now() });
        await this.page.reload();
        await this.setClock();
    }

    async setClock() {
        if (!this.isStamped) return;
        const offsetMs = await clockOffsetMs(this.page);
        await this.page.evaluate((offset) => setStampOffset(offset), offsetMs);
        this.say({ event: 'clock', offsetMs });
    }

    // The screen goes dark: the page is hidden, the phone takes the camera away, and the page stands still.
    async lock() {
        const context = this.page.context();
        this.cover = await context.newPage();
        await this.cover.bringToFront();
        await this.page.waitForFunction(() => document.visibilityState === 'hidden', null, { polling: 50 });
        if (this.isStamped) await this.page.evaluate(() => endStampedCamera());
        this.session = await context.newCDPSession(this.page);
        await this.session.send('Page.setWebLifecycleState', { state: 'frozen' });
    }

    async unlock() {
        await this.session.send('Page.setWebLifecycleState', { state: 'active' });
        await this.session.detach();
        await this.page.bringToFront();
        await this.cover.close();
    }
}
